// Devices that go and come, and what the back end leaves out because the context has it already.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <random>

#include "comms/render/BackendFixture.h"

using namespace comms;
using testing::ContainsRegex;

namespace {

struct Corner {
  cVec3 Position;
  uint8_t Color[4];
};
const VertexLayout CornerLayout{
    16, {{VertexUsage::Position, VertexFormat::Float3, 0}, {VertexUsage::Color, VertexFormat::Color8, 12}}};

class Devices : public Backend {
 protected:
  // A triangle over the half of the target on the left (-1) or on the right (1).
  static void StageHalf(BaseMesh& mesh, float side, uint8_t red, uint8_t green, uint8_t blue) {
    Corner corners[3] = {{{side * 3, -3, 0}, {}}, {{side * 3, 3, 0}, {}}, {{0, 0, 0}, {}}};
    for (Corner& corner : corners) corner.Color[0] = red, corner.Color[1] = green, corner.Color[2] = blue, corner.Color[3] = 255;
    const uint32_t indices[3] = {0, 1, 2};
    mesh.StageVertices(corners, 3, CornerLayout);
    mesh.StageIndices32(indices, 3);
  }
  static void StageHalves(BaseMesh& left, BaseMesh& right) {
    StageHalf(left, -1, 255, 0, 0);
    StageHalf(right, 1, 0, 0, 255);
  }
  cList<uint8_t> Picture(const cList<BaseMesh*>& meshes) {
    m_Render.SetTarget(m_Target);
    m_Render.Clear({0, 0, 0, 1}, 1);
    m_Render.SetShader(m_Render.GetShaderID("Colored", ""));
    for (BaseMesh* mesh : meshes) mesh->Draw(&m_Render);
    cImage image;
    EXPECT_TRUE(m_Render.ReadTarget(m_Target, image));
    return {image.Row(0), image.Row(Size - Bottom)};
  }
  static constexpr int Bottom = 4;                          // rows that pictures leave out
  int m_Left = 2, m_Right = Size - 3, m_Middle = Size / 2;  // pixels in the halves
};

}  // namespace

// Where the device is gone before anybody could save what was on it, the owners of the buffers hear of it.
TEST_F(Devices, SamePictureOnTheNextOneOrWhatWasKept) {
  BaseMesh kept, other;
  kept.KeepStaged = true;
  StageHalves(kept, other);
  const uint8_t pixel[4] = {1, 2, 3, 4};
  m_Render.CreateTexture({TextureFormat::Rgba8, 1, 1}, pixel);
  const uint16_t numbers[3] = {0, 1, 2};
  const int buffer = m_Render.CreateBuffer(BufferKind::Index, 2, 3, numbers);
  m_Render.SetScissor(0, Bottom, Size, Size);
  for (const bool isLost : {false, true}) {
    const cList<uint8_t> before = Picture({&kept, &other});
    EXPECT_FALSE(other.StagedVertices) << "the device alone has it";
    cStr error;
    if (isLost) m_Context = EglContext::Create(error);
    ChangeDevice();
    EXPECT_EQ(m_Render.Generation(), 1 + int(isLost));
    EXPECT_EQ(m_Render.HasBuffer(buffer), !isLost);
    EXPECT_EQ(Picture({&kept, &other}) == before, !isLost) << "viewport included";
    EXPECT_NE(PixelAt(0, Size - 2), 0xFF0000u) << "and the scissor";
    EXPECT_EQ(PixelAt(m_Left, m_Middle), 0xFF0000u);
    EXPECT_EQ(PixelAt(m_Right, m_Middle), isLost ? 0u : 0x0000FFu);
    EXPECT_EQ(other.HasBuffers(), !isLost);
  }
  m_Render.UpdateBuffer(buffer, 3, numbers);
  EXPECT_TRUE(m_Render.HasBuffer(buffer)) << "filled again under its handle";
  EXPECT_THAT(m_Log.Text(), ContainsRegex("Unloaded 1 Textures(.|\n)*Reloaded 1 textures(.|\n)*Reloaded 1 Shaders."));
}

TEST_F(Devices, WorkGoesOnBetweenThem) {
  BaseMesh left, right;
  StageHalves(left, right);
  Picture({&left});
  const int gone = m_Render.CreateTexture({TextureFormat::Rgba8, 4, 4}, nullptr);
  m_Render.Unload();
  m_Context.reset();

  m_Render.BeginFrame(1);
  m_Render.Clear({1, 1, 1, 1}, 1);
  m_Render.SetShader(m_Render.GetShaderID("Colored", ""));
  left.ReleaseBuffers();
  StageHalf(left, -1, 0, 255, 0);
  left.Draw(&m_Render);
  right.Flush(&m_Render);
  EXPECT_TRUE(m_Render.HasBuffer(right.VertexBuffer));
  const uint8_t pixel[4] = {9, 8, 7, 255};
  const int texture = m_Render.CreateTexture({TextureFormat::Rgba8, 1, 1}, nullptr);
  m_Render.UpdateTexture(texture, 0, 0, 1, 1, pixel);
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::Dxt1, 5, 4}, nullptr), -1) << "what can't be is refused at once";
  m_Render.DeleteTexture(gone);
  const int sampler = m_Render.CreateSampler(TextureFilter::Linear, AddressMode::Clamp);
  const int target = m_Render.CreateTarget({8, 8});
  const int fill = m_Render.GetShaderID("Fill", "");
  cImage image;
  EXPECT_FALSE(m_Render.ReadTarget(m_Target, image));
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  m_Render.SetTarget(target);
  m_Render.SetTexture(0, texture, sampler);
  m_Render.DrawGrid({});
  m_Render.EndFrame();

  cStr error;
  m_Context = EglContext::Create(error);
  m_Render.Reload();
  const cList<uint8_t> picture = Picture({&left, &right});
  EXPECT_EQ(PixelAt(m_Left, m_Middle), 0x00FF00u);
  EXPECT_EQ(PixelAt(m_Right, m_Middle), 0x0000FFu);
  m_Render.SetTarget(target);
  m_Render.Clear({}, 1);
  Fill(fill);
  EXPECT_TRUE(m_Render.ReadTarget(target, image));
  EXPECT_EQ(image.Pixel(4, 4)[1], 255);
  m_Render.SetTarget(m_Target);
  EXPECT_EQ(Show(texture, sampler), 0x090807u);
}

// --- nothing is set twice, and nothing is missed ----------------------------------------------------------------------------

// Steps by chance; what each side of the target shows is known.
TEST_F(Devices, ChangesBetweenDrawsAllArrive) {
  BaseMesh halves[2];
  StageHalves(halves[0], halves[1]);
  const unsigned colors[2] = {0xFF0000, 0x0000FF};
  const struct {
    float Space;
    cVec3 Position;
  } whole[3] = {{0, {-3, -3, 0}}, {0, {-3, 3, 0}}, {0, {3, 0, 0}}};
  const VertexLayout wholeLayout{16, {{VertexUsage::Position, VertexFormat::Float3, 4}}};
  const uint16_t all[3] = {0, 1, 2}, none[3] = {};
  int vertices = -1;
  const int indices[2] = {m_Render.CreateBuffer(BufferKind::Index, 2, 3, all),
                          m_Render.CreateBuffer(BufferKind::Index, 2, 3, none)};
  const int colored = m_Render.GetShaderID("Colored", ""), fill = m_Render.GetShaderID("Fill", "");
  std::array<unsigned, 2> wanted = {0, 0};
  std::mt19937 random(1);
  for (int step = 0; step < 300; step++) {
    const unsigned kind = random() % 5, which = random() % 2, turned = random() % 2;
    m_Render.State.World = turned ? cMat4{{{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}} : cMat4();
    m_Render.SetShader(colored);
    if (kind == 0) {  // new buffers under the handles of old ones, of another content and layout
      m_Render.ReleaseBuffer(vertices);
      halves[which].ReleaseBuffers();
      StageHalves(halves[0], halves[1]);
      m_Render.BeginFrame(step);
      vertices = m_Render.CreateBuffer(BufferKind::Vertex, 16, 3, whole);
    } else if (kind == 1) {
      Fill(fill, {0, 1, float(which), 1});
      wanted.fill(which ? 0x00FFFF : 0x00FF00);
    } else if (kind == 2) {
      halves[which].Draw(&m_Render);
      wanted[which ^ turned] = colors[which];
    } else {
      m_Render.SetVertexBuffer(vertices, wholeLayout);
      m_Render.SetIndexBuffer(indices[which]);
      kind == 3 ? m_Render.Draw(BaseMesh::TriangleList, 0, 3) : m_Render.DrawIndexed(BaseMesh::TriangleList, 0, 3);
      if (vertices >= 0 && (kind == 3 || which == 0)) wanted.fill(0xFFFFFF);  // vertices without colour are white
    }
    ASSERT_EQ((std::array{PixelAt(m_Left, m_Middle), PixelAt(m_Right, m_Middle)}), wanted) << step << " " << kind;
  }
  m_Render.SetVertexBuffer(vertices, wholeLayout);
  m_Render.ReleaseBuffer(vertices);
  m_Render.BeginFrame(1000);
  m_Render.Clear({}, 1);
  m_Render.Draw(BaseMesh::TriangleList, 0, 3);
  EXPECT_EQ(PixelAt(m_Left, m_Middle), 0u) << "a buffer that is gone draws nothing";
}

TEST_F(Devices, TexturesThatAreSetStaySet) {
  const uint8_t red[4] = {255, 0, 0, 255}, blue[4] = {0, 0, 255, 255};
  const TextureDesc desc{TextureFormat::Rgba8, 1, 1};
  const int texture = m_Render.CreateTexture(desc, red);
  Show(texture);
  const int other = m_Render.CreateTexture(desc, blue);
  m_Render.UpdateTexture(other, 0, 0, 1, 1, blue);
  DrawWhole();
  EXPECT_EQ(PixelAt(5, 5), 0xFF0000u) << "making another one in between changes nothing";
  // A driver may give a new texture the name of a deleted one.
  m_Render.DeleteTexture(texture);
  m_Render.DeleteTexture(other);
  EXPECT_EQ(Show(m_Render.CreateTexture(desc, blue)), 0x0000FFu);
}

// --- lines and the ground ------------------------------------------------------------------------------------------------------

TEST_F(Devices, LinesRunBetweenTheirPoints) {
  m_Render.Clear({0, 0, 0, 1}, 1);
  const float y = 1.0f / Size;  // the middle of a row of pixels
  const ColoredPoint points[6] = {{{-1, y, 0}, {0xFFFF8000}}, {{0, y, 0}, {0xFFFF8000}}, {{y, -1, 0}, {0xFF0000FF}},
                                  {{y, 0, 0}, {0xFF0000FF}},  {{0, 0.5f + y, 0}, {~0u}}, {{1, 0.5f + y, 0}, {~0u}}};
  m_Render.DrawLines(points, 2);
  m_Render.DrawLines(points + 2, 4);
  m_Render.DrawLines(nullptr, 0);
  EXPECT_EQ(PixelAt(4, Size / 2 - 1), 0xFF8000u);
  EXPECT_EQ(PixelAt(Size / 2, Size - 4), 0x0000FFu);
  EXPECT_EQ(PixelAt(Size - 4, Size / 4 - 1), 0xFFFFFFu);
  EXPECT_EQ(PixelAt(Size - 4, Size / 2 - 1), 0u) << "the first line ends in the middle";
  EXPECT_EQ(PixelAt(4, 4), 0u);
}

TEST_F(Devices, GridHasLinesEverySpacingAndTheAxes) {
  // Straight from above, 8 pixels a unit: x runs to the right, z downwards.
  m_Render.State.View = LookAt({0.0625f, 5, 0.0625f}, {0.0625f, 0, 0.0625f}, {0, 0, -1});
  m_Render.State.Projection = Orthographic(4, 4, 1, 9);
  m_Render.SetBlendState(m_Render.CreateBlendState({BlendMode::PremultipliedAlpha}));
  m_Render.Clear({0, 0, 0, 1}, 1);
  m_Render.DrawGrid(
      {.Center = {}, .Half = {100, 100}, .Spacing = 0.1f, .Color = {0, 1, 0}, .AxisX = {1, 0, 0}, .AxisZ = {0, 0, 1}});
  const auto strongest = [&](int x, int y) {
    const unsigned pixel = PixelAt(x, y), parts[3] = {pixel >> 16, pixel >> 8 & 255, pixel & 255};
    const unsigned* most = std::max_element(parts, parts + 3);
    return *most < 8 ? '-' : "rgb"[most - parts];
  };
  cStr alongZ, alongX;
  for (int i = 4; i < 28; i += 4) alongX += strongest(i - 1, 11), alongZ += strongest(11, i - 1);
  EXPECT_EQ(strongest(15, 11), 'b') << "the axis z at x = 0";
  EXPECT_EQ(strongest(11, 15), 'r') << "the axis x at z = 0";
  EXPECT_EQ(alongX, "-g-b-g");
  EXPECT_EQ(alongZ, "-g-r-g");
}
