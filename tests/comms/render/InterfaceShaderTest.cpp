// The shaders of the interface as they are shipped: every variant compiles, takes its constants by name and draws what it says.
#include <array>
#include <cstddef>
#include <functional>

#include "comms/render/BackendFixture.h"

using namespace comms;

namespace {

// A colour over the blue ground.
unsigned OverBlue(float red, float green, float blue, float alpha) {
  const auto byte = [&](float value, float ground) { return unsigned((value * alpha + ground * (1 - alpha)) * 255 + 0.5f); };
  return byte(red, 0) << 16 | byte(green, 0) << 8 | byte(blue, 1);
}

class InterfaceShaders : public Backend {
 protected:
  struct Look {
    int X, Y;
    unsigned Wanted;
  };
  // A square between the middles of the outermost pixels, with texture coordinates from -4 to 4 and 3/4 in depth; as lines its
  // upper and lower edge and a diagonal, as points its corners.
  void Check(const cStr& name, const cStr& defines, const std::function<void()>& prepare, const cList<Look>& looks,
             int mode = BaseMesh::TriangleList, std::array<uint8_t, 4> color = {255, 255, 255, 255}) {
    struct Corner {
      cVec2 Place;
      std::array<uint8_t, 4> Color;
      cVec3 At;
    };
    const VertexLayout layout{sizeof(Corner),
                              {{VertexUsage::Position, VertexFormat::Float2, offsetof(Corner, Place)},
                               {VertexUsage::Color, VertexFormat::Color8, offsetof(Corner, Color)},
                               {VertexUsage::TexCoord0, VertexFormat::Float3, offsetof(Corner, At)}}};
    cList<Corner> corners;
    for (const auto& [x, y] : cList<std::pair<float, float>>{{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}})
      corners.push_back({{x * (Size - 1) + 0.5f, y * (Size - 1) + 0.5f}, color, {x * 8 - 4, y * 8 - 4, 0.75f}});
    const int buffer = m_Render.CreateBuffer(BufferKind::Vertex, sizeof(Corner), corners.size(), corners.data());
    m_Render.Clear({0, 0, 1, 1}, 1);
    m_Render.SetDepthState(m_Render.CreateDepthState({.Test = false, .Write = false}));
    m_Render.SetBlendState(m_Render.CreateBlendState({BlendMode::PremultipliedAlpha}));
    const int shader = m_Render.GetShaderID(name, defines);
    EXPECT_TRUE(m_Render.IsShaderSound(shader)) << m_Log.Errors();
    m_Render.SetShader(shader);
    prepare();
    m_Render.SetVertexBuffer(buffer, layout);
    m_Render.Draw(mode, 0, 6);
    m_Render.ReleaseBuffer(buffer);
    for (const Look& look : looks)
      for (const int shift : {0, 8, 16})
        EXPECT_NEAR(PixelAt(look.X, look.Y) >> shift & 255, look.Wanted >> shift & 255, 2)
            << name << " " << defines
            << Format(" at %d, %d: %06x, not %06x", look.X, look.Y, PixelAt(look.X, look.Y), look.Wanted);
  }
  void Set(std::initializer_list<std::pair<const char*, float>> constants) {
    for (const auto& [name, value] : constants) m_Render.SetConstant(name, value);
  }
  static constexpr unsigned Blue = 0x0000FF;
};

}  // namespace

TEST_F(InterfaceShaders, DrawFlatShapesAndIcons) {
  const unsigned mixed = OverBlue(1, 0, 0, 0.6f);
  Check("SolidUI", "", [&] { m_Render.SetConstant("c_Color", cVec4{1, 0, 0, 0.6f}); }, {{5, 5, mixed}, {20, 25, mixed}});
  const auto nothing = [] {};
  Check("LinesPointsUI", "", nothing, {{16, 0, mixed}, {9, 31, mixed}, {4, 16, Blue}}, BaseMesh::LineList, {255, 0, 0, 153});
  Check("LinesPointsUI", "", nothing, {{0, 0, mixed}, {31, 31, mixed}, {16, 0, Blue}}, BaseMesh::PointList, {255, 0, 0, 153});
  Check("DitherUI", "",
        [&] {
          m_Render.SetConstant("c_Orig", cVec2{2, 3});
          m_Render.SetConstant("c_Color0", cVec4{1, 0, 0, 0.6f});
        },
        {{2, 3, mixed}, {3, 3, Blue}, {3, 4, mixed}, {5, 2, mixed}, {1, 3, Blue}});

  const uint8_t texels[8] = {255, 0, 0, 255, 0, 255, 0, 128};
  const int icon = m_Render.CreateTexture({TextureFormat::Rgba8, 2, 1, TextureFilter::Nearest, AddressMode::Clamp}, texels);
  const auto icons = [&](float disabled, float hot, float alpha) {
    return [=, this] {
      m_Render.SetTexture(m_Render.GetTextureParam("s_Decal"), icon, -1);
      Set({{"c_Disabled", disabled}, {"c_Hot", hot}, {"c_Alpha", alpha}});
    };
  };
  Check("IconUI", "", icons(0, 0, 1), {{3, 5, 0xFF0000}, {28, 5, OverBlue(0, 1, 0, 0.5f)}});
  Check("IconUI", "", icons(0, 0.5f, 0.5f), {{3, 5, OverBlue(1, 0.5f, 0.5f, 0.5f)}, {28, 5, OverBlue(0.5f, 1, 0.5f, 0.25f)}});
  Check("IconUI", "", icons(1, 0, 1), {{3, 5, OverBlue(0.2126f, 0.2126f, 0.2126f, 0.5f)}});
}

TEST_F(InterfaceShaders, DrawGradientsAroundALine) {
  using Constants = std::initializer_list<std::pair<const char*, float>>;
  const auto check = [&](const cStr& defines, Constants stretches, const cList<Look>& looks) {
    const auto prepare = [&] {
      m_Render.SetConstant("c_SegFrom", cVec2{8.5f, 16.5f});
      m_Render.SetConstant("c_SegTo", cVec2{24.5f, 16.5f});
      m_Render.SetConstant("c_CenterColor", cVec4{1, 0, 0, 1});
      m_Render.SetConstant("c_BoundColor", cVec4{0, 1, 0, 0.5f});
      Set({{"c_SegRadius", 6.0f}, {"c_GradRadius", 8.0f}, {"c_Power", 2.0f}});
      Set(stretches);
    };
    Check("RadialGradientUI", defines, prepare, looks);
  };
  // `away` pixels from the line, or with that tone.
  const auto tone = [](float t) { return OverBlue(1 - t, t, 0, 1 - 0.5f * t); };
  const auto at = [&](float away) { return tone(away * away / 64); };
  check("", {},
        {{16, 16, at(0)}, {16, 12, at(4)}, {4, 16, at(4)}, {28, 16, at(4)}, {16, 8, Blue}, {0, 16, Blue}, {5, 13, at(4.243f)}});
  const auto cave = {std::pair("c_CaveFrom", 15.0f), {"c_CaveTo", 18.0f}};
  check("", cave, {{16, 16, Blue}, {9, 16, Blue}, {16, 12, at(4)}, {16, 20, at(4)}});
  const auto all = {std::pair("c_CaveFrom", 15.0f), {"c_CaveTo", 18.0f}, {"c_FlatFrom", 20.0f}, {"c_FlatTo", 24.0f},
                    {"c_HalfFrom", 8.0f},           {"c_HalfTo", 12.0f}, {"c_HalfFlat", 1.0f}};
  check("#define HORIZONTAL", all,
        {{16, 16, Blue}, {16, 12, Blue}, {22, 12, tone(0)}, {10, 12, tone(0.5f * (0.25f + 1))}, {13, 12, at(4)}});
}

TEST_F(InterfaceShaders, ShowTexturesOfEveryKindOnAnyDevice) {
  const uint8_t texels[8][4] = {{255, 0, 0, 255},   {0, 255, 0, 128},  {255, 255, 0, 64},    {255, 255, 255, 255},
                                {0, 255, 255, 192}, {255, 0, 255, 32}, {128, 128, 128, 255}, {0, 0, 0, 255}};
  const struct {
    TextureKind Kind;
    const char* Define;
    int Width, Height, Depth;
    size_t Left, Right, Top, Bottom;  // the texels that are seen there
  } kinds[] = {{TextureKind::Line, "#define SRC_1D", 2, 1, 1, 0, 3, 0, 0},
               {TextureKind::Flat, "#define SRC_2D", 2, 2, 1, 0, 1, 0, 2},
               {TextureKind::Volume, "#define SRC_3D", 2, 2, 2, 4, 5, 4, 6},
               {TextureKind::Cube, "#define SRC_CUBE", 1, 1, 1, 1, 0, 3, 2}};
  cList<int> textures;
  for (const auto& kind : kinds) {
    textures.push_back(m_Render.CreateTexture(
        {TextureFormat::Rgba8, kind.Width, kind.Height, TextureFilter::Nearest, AddressMode::Clamp, kind.Kind, kind.Depth},
        texels));
    ASSERT_GE(textures.back(), 0) << m_Log.Errors();
  }
  m_Render.UpdateTexture(textures[0], 1, 0, 1, 1, texels[3]);
  for (size_t i = 0; i < 2 * textures.size(); i++) {
    if (i == textures.size()) ChangeDevice();
    const auto& kind = kinds[i % textures.size()];
    for (int variant = 0; variant < 4; variant++) {
      const bool isGrey = variant & 1, isOverridden = variant & 2;
      const cStr defines = cStr(kind.Define) + (isGrey ? "\n#define ALPHA_CHANNEL_AS_COLOR" : "") +
                           (isOverridden ? "\n#define OVERRIDE_ALPHA" : "");
      const auto seen = [&](size_t texel) {
        const auto channel = [&](int k) { return float(texels[texel][isGrey ? 3 : k]) / 255; };
        return OverBlue(channel(0), channel(1), channel(2), isOverridden ? 0.25f : isGrey ? 1 : channel(3));
      };
      const auto prepare = [&] {
        m_Render.SetTexture(m_Render.GetTextureParam("s_Src"), textures[i % textures.size()], -1);
        m_Render.SetConstant("c_Alpha", 0.25f);
      };
      Check("TexturedUI", defines, prepare,
            {{2, 16, seen(kind.Left)}, {29, 16, seen(kind.Right)}, {16, 2, seen(kind.Top)}, {16, 29, seen(kind.Bottom)}});
    }
  }
  m_Render.UpdateTexture(textures[3], 0, 0, 1, 1, texels);
  EXPECT_NE(m_Log.Errors().find("Can't update 1 x 1 pixels"), cStr::npos);
  EXPECT_FALSE(m_Render.IsShaderSound(m_Render.GetShaderID("TexturedUI", ""))) << "the kind must be said";
  EXPECT_NE(UnknownShaders().find("SRC_CUBE must be defined"), cStr::npos);
}
