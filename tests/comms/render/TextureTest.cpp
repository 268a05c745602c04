// Textures: every format from memory to the shader and back, filters, addresses, refusals.
#include <gmock/gmock.h>

#include <array>

#include "comms/render/BackendFixture.h"

using namespace comms;
using testing::HasSubstr;

TEST_F(Backend, RefusesTexturesAndTargetsThatCanNotBe) {
  for (const TextureFormat format : {TextureFormat::Dxt1, TextureFormat::Dxt3, TextureFormat::Dxt5})
    EXPECT_EQ(m_Render.CreateTexture({format, 6, 8}, nullptr), -1);
  EXPECT_THAT(m_Log.Text(), HasSubstr("Compressed images must have dimensions that are multiples of 4"));
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::Rgba8, 0, 8}, nullptr), -1);
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::None, 8, 8}, nullptr), -1);
  const TextureFilter filter = TextureFilter::Linear;
  const AddressMode wrap = AddressMode::Wrap;
  for (const TextureDesc& desc : {TextureDesc{TextureFormat::Rgba8, 8, 2, filter, wrap, TextureKind::Line},
                                  TextureDesc{TextureFormat::Rgba8, 8, 2, filter, wrap, TextureKind::Volume, 0},
                                  TextureDesc{TextureFormat::Rgba8, 8, 4, filter, wrap, TextureKind::Cube},
                                  TextureDesc{TextureFormat::Dxt1, 8, 8, filter, wrap, TextureKind::Cube}})
    EXPECT_EQ(m_Render.CreateTexture(desc, nullptr), -1);
  EXPECT_EQ(m_Render.CreateTarget({m_Render.MaxTargetSize() + 1, 8}), -1);
  EXPECT_EQ(m_Render.CreateTarget({8, 8, TextureFormat::Depth16}), -1);
  EXPECT_EQ(m_Render.LoadTexture((m_Folder / "none.png").string()), -1);
  for (int i = 1; i < int(TextureFormat::Dxt1); i++) {
    const int texture = m_Render.CreateTexture({TextureFormat(i), 8, 4}, nullptr);
    EXPECT_GE(texture, 0) << GetName(TextureFormat(i));
    m_Render.DeleteTexture(texture);
  }
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::Rgba8, 4, 4}, nullptr) >= 0, true);
}

// --- formats -----------------------------------------------------------------------------------------------------------------

namespace {

// Two colours in memory, A = (1, 0, 1, 0) and B = (0, 1, 0, 1), and how many of the channels a shader gets.
struct Encoding {
  TextureFormat Format;
  int Channels;
  cList<uint8_t> One;   // of formats with channels apart: the bytes of 1
  cList<uint8_t> A, B;  // of the others
};
// Blocks of one colour; the exponent of Rgbe8 is that of 1 = 128 / 256 * 2; see Ward 1991, "Real pixels".
const Encoding Encodings[] = {
    {TextureFormat::Rgb8, 3, {255}, {}, {}},
    {TextureFormat::Rgba8, 4, {255}, {}, {}},
    {TextureFormat::Rg16, 2, {255, 255}, {}, {}},
    {TextureFormat::Rgb16, 3, {255, 255}, {}, {}},
    {TextureFormat::Rgba16, 4, {255, 255}, {}, {}},
    {TextureFormat::R16f, 1, {0, 0x3C}, {}, {}},
    {TextureFormat::Rg16f, 2, {0, 0x3C}, {}, {}},
    {TextureFormat::Rgb16f, 3, {0, 0x3C}, {}, {}},
    {TextureFormat::Rgba16f, 4, {0, 0x3C}, {}, {}},
    {TextureFormat::R32f, 1, {0, 0, 0x80, 0x3F}, {}, {}},
    {TextureFormat::Rg32f, 2, {0, 0, 0x80, 0x3F}, {}, {}},
    {TextureFormat::Rgb32f, 3, {0, 0, 0x80, 0x3F}, {}, {}},
    {TextureFormat::Rgba32f, 4, {0, 0, 0x80, 0x3F}, {}, {}},
    {TextureFormat::Rgbe8, 3, {}, {128, 0, 128, 129}, {0, 128, 0, 129}},
    {TextureFormat::Rgb565, 3, {}, {0x1F, 0xF8}, {0xE0, 0x07}},
    {TextureFormat::Rgba4, 4, {}, {0xF0, 0xF0}, {0x0F, 0x0F}},
    {TextureFormat::Rgb10a2, 4, {}, {0xFF, 0x03, 0xF0, 0x3F}, {0x00, 0xFC, 0x0F, 0xC0}},
    {TextureFormat::Dxt1, 3, {}, {0x1F, 0xF8, 0x1F, 0xF8, 0, 0, 0, 0}, {0xE0, 0x07, 0xE0, 0x07, 0, 0, 0, 0}},
    {TextureFormat::Dxt3,
     4,
     {},
     {0, 0, 0, 0, 0, 0, 0, 0, 0x1F, 0xF8, 0x1F, 0xF8, 0, 0, 0, 0},
     {255, 255, 255, 255, 255, 255, 255, 255, 0xE0, 0x07, 0xE0, 0x07, 0, 0, 0, 0}},
    {TextureFormat::Dxt5,
     4,
     {},
     {0, 0, 0, 0, 0, 0, 0, 0, 0x1F, 0xF8, 0x1F, 0xF8, 0, 0, 0, 0},
     {255, 255, 0, 0, 0, 0, 0, 0, 0xE0, 0x07, 0xE0, 0x07, 0, 0, 0, 0}}};

static_assert(std::size(Encodings) == size_t(TextureFormat::Count) - 4, "all but None and those of depth");

struct Encoded {
  cList<uint8_t> Bytes;
  cVec4 Read;
};
Encoded Encode(const Encoding& encoding, bool isB) {
  Encoded encoded{isB ? encoding.B : encoding.A, {0, 0, 0, 1}};
  for (int i = 0; i < encoding.Channels; i++) {
    const bool isOne = (i & 1) == int(isB);
    (&encoded.Read.x)[i] = isOne;
    for (const uint8_t byte : encoding.One) encoded.Bytes.push_back(isOne ? byte : 0);
  }
  return encoded;
}

class Formats : public Backend, public testing::WithParamInterface<Encoding> {};

}  // namespace

// 3 x 2 units, a unit being a pixel or a block: rows of odd length show padding that is not there.
TEST_P(Formats, ArriveInShadersAreUpdatedInPartsAndComeBack) {
  const TextureFormat format = GetParam().Format;
  const int block = IsCompressed(format) ? 4 : 1;
  const Encoded a = Encode(GetParam(), false), b = Encode(GetParam(), true);
  ASSERT_EQ(a.Bytes.size(), GetImageBytes(format, block, block));
  cList<uint8_t> picture;
  for (const Encoded* unit : {&a, &a, &b, &b, &a, &a}) picture.insert(picture.end(), unit->Bytes.begin(), unit->Bytes.end());
  const int texture =
      m_Render.CreateTexture({format, 3 * block, 2 * block, TextureFilter::Nearest, AddressMode::Clamp}, picture.data());
  if (texture < 0 && block == 4) GTEST_SKIP() << "the driver can't unpack it";
  ASSERT_GE(texture, 0) << m_Log.Text();
  if (block == 4) m_Render.UpdateTexture(texture, 2, 0, 4, 4, picture.data());
  EXPECT_EQ(m_Log.Errors(), block == 4 ? "Compressed images must have dimensions that are multiples of 4" : "");
  const int open = m_Render.CreateTexture({format, 3 * block, 2 * block}, nullptr);
  const int shader =
      MakeShader("Compare", "uniform sampler2D s_Decal; uniform vec4 c_A, c_B; uniform float c_Block, c_Bits, c_Rgbe;",
                 "ivec2 unit = ivec2(v_Place * vec2(3.0, 2.0)); vec4 got = texelFetch(s_Decal, unit * int(c_Block), 0);"
                 "if (c_Rgbe > 0.0) got = vec4(got.rgb * 255.0 * exp2(got.a * 255.0 - 136.0), 1.0);"
                 "vec4 wanted = (int(c_Bits) >> (unit.y * 3 + unit.x) & 1) == 1 ? c_B : c_A;"
                 "o_Color = all(lessThan(abs(got - wanted), vec4(0.012))) ? vec4(0.0, 1.0, 0.0, 1.0) : got;");
  const auto wrongPixels = [&](int id, int unitsOfB) {
    m_Render.SetTarget(m_Target);
    m_Render.Clear({0, 0, 0, 1}, 1);
    m_Render.SetShader(shader);
    m_Render.SetTexture(m_Render.GetTextureParam("s_Decal"), id, -1);
    m_Render.SetConstant("c_A", a.Read);
    m_Render.SetConstant("c_B", b.Read);
    m_Render.SetConstant("c_Block", float(block));
    m_Render.SetConstant("c_Bits", float(unitsOfB));
    m_Render.SetConstant("c_Rgbe", format == TextureFormat::Rgbe8 ? 1.0f : 0.0f);
    DrawWhole();
    cImage image;
    EXPECT_TRUE(m_Render.ReadTarget(m_Target, image));
    int wrong = 0;
    for (int i = 0; i < Size * Size; i++)
      wrong += image.Pixel(i % Size, i / Size)[1] != 255 || image.Pixel(i % Size, i / Size)[0];
    return wrong;
  };
  EXPECT_EQ(wrongPixels(texture, 0b001100), 0);
  cList<uint8_t> part = b.Bytes;
  part.insert(part.end(), a.Bytes.begin(), a.Bytes.end());
  m_Render.UpdateTexture(texture, block, block, 2 * block, block, part.data());
  m_Render.UpdateTexture(texture, 0, 0, block, block, b.Bytes.data());
  EXPECT_EQ(wrongPixels(texture, 0b011101), 0);
  m_Render.UpdateTexture(open, 0, 0, 3 * block, 2 * block, picture.data());
  ChangeDevice();
  EXPECT_EQ(wrongPixels(texture, 0b011101), 0);
  EXPECT_EQ(wrongPixels(open, 0b001100), 0) << "one that was made without content and filled later";
}

INSTANTIATE_TEST_SUITE_P(OfColour, Formats, testing::ValuesIn(Encodings),
                         [](const auto& test) { return cStr(GetName(test.param.Format)); });

TEST_F(Backend, DepthFormatsAreDrawnIntoAndSampled) {
  const int shader = MakeShader("Depth", "uniform sampler2D s_Depth; uniform float c_Wanted;",
                                "o_Color = vec4(abs(texture(s_Depth, v_Place).r - c_Wanted) < 0.0001 ? 1.0 : 0.0);");
  for (const TextureFormat format : {TextureFormat::Depth16, TextureFormat::Depth24, TextureFormat::Depth24Stencil8}) {
    const int target = m_Render.CreateTarget({8, 8, TextureFormat::Rgba8, format});
    ASSERT_GE(target, 0) << GetName(format);
    for (const float depth : {0.25f, 0.75f}) {
      m_Render.SetTarget(target);
      m_Render.Clear({}, depth);
      m_Render.SetTarget(m_Target);
      m_Render.Clear({}, 1);
      m_Render.SetShader(shader);
      m_Render.SetTexture(m_Render.GetTextureParam("s_Depth"), m_Render.GetTargetDepth(target), -1);
      m_Render.SetConstant("c_Wanted", depth);
      DrawWhole();
      EXPECT_EQ(PixelAt(5, 5), 0xFFFFFFu) << GetName(format);
      ChangeDevice();
    }
    m_Render.UpdateTexture(m_Render.GetTargetDepth(target), 0, 0, 1, 1, "");
    EXPECT_THAT(m_Log.Errors(), HasSubstr(GetName(format)));
    m_Render.DeleteTarget(target);
  }
}

// --- sampling ----------------------------------------------------------------------------------------------------------------

TEST_F(Backend, FiltersAndAddressesDoWhatTheirNamesSay) {
  const int shader = MakeShader("Sample", "uniform sampler2D s_Decal; uniform vec2 c_At; uniform float c_Level;",
                                "o_Color = textureLod(s_Decal, c_At, c_Level);");
  const uint32_t black = 0xFF000000, white = 0xFFFFFFFF, checker[4] = {black, white, white, black};
  const auto sample = [&](int texture, int sampler, const cVec2& at, float level) {
    m_Render.SetShader(shader);
    m_Render.SetTexture(m_Render.GetTextureParam("s_Decal"), texture, sampler);
    m_Render.SetConstant("c_At", at);
    m_Render.SetConstant("c_Level", level);
    DrawWhole();
    return float(PixelAt(5, 5) & 255) / 255;
  };
  const int levels = m_Render.CreateTexture({TextureFormat::Rgba8, 2, 2, TextureFilter::Trilinear, AddressMode::Wrap}, checker);
  const struct {
    TextureFilter Filter;
    float Between, Near, Far;  // between two texels; on a black one a quarter and a whole level away
  } filters[] = {{TextureFilter::Nearest, 1, 0, 0},
                 {TextureFilter::Linear, 0.5f, 0, 0},
                 {TextureFilter::Bilinear, 0.5f, 0, 0.5f},
                 {TextureFilter::BilinearAniso, 0.5f, 0, 0.5f},
                 {TextureFilter::Trilinear, 0.5f, 0.125f, 0.5f},
                 {TextureFilter::TrilinearAniso, 0.5f, 0.125f, 0.5f}};
  for (const auto& filter : filters) {
    const int own = m_Render.CreateTexture({TextureFormat::Rgba8, 2, 2, filter.Filter, AddressMode::Clamp}, checker);
    const int sampler = m_Render.CreateSampler(filter.Filter, AddressMode::Clamp);
    EXPECT_EQ(m_Render.CreateSampler(filter.Filter, AddressMode::Clamp), sampler);
    for (const auto& [texture, by] : {std::pair(own, -1), std::pair(levels, sampler)}) {
      EXPECT_NEAR(sample(texture, by, {0.5001f, 0.25f}, 0), filter.Between, 0.01f) << GetName(filter.Filter);
      if (filter.Filter < TextureFilter::BilinearAniso) {  // drivers choose the level of the others in their own ways
        EXPECT_NEAR(sample(texture, by, {0.25f, 0.25f}, 0.25f), filter.Near, 0.01f) << GetName(filter.Filter);
      }
      EXPECT_NEAR(sample(texture, by, {0.25f, 0.25f}, 1), filter.Far, 0.01f) << GetName(filter.Filter);
    }
  }
  const struct {
    AddressMode Address;
    std::array<float, 3> Wanted;  // at 1.25, -0.25, 1.75; black is the left half
  } addresses[] = {{AddressMode::Wrap, {0, 1, 1}}, {AddressMode::Clamp, {1, 0, 1}}, {AddressMode::Mirror, {1, 0, 0}}};
  for (const auto& address : addresses) {
    const int own = m_Render.CreateTexture({TextureFormat::Rgba8, 2, 1, TextureFilter::Nearest, address.Address}, checker);
    const int sampler = m_Render.CreateSampler(TextureFilter::Nearest, address.Address);
    for (const auto& [texture, by] : {std::pair(own, -1), std::pair(levels, sampler)})
      EXPECT_EQ((std::array{sample(texture, by, {1.25f, 0.25f}, 0), sample(texture, by, {-0.25f, 0.25f}, 0),
                            sample(texture, by, {1.75f, 0.25f}, 0)}),
                address.Wanted)
          << GetName(address.Address);
  }
}

TEST_F(Backend, PictureFilesAreLoadedOnceAndReadAnewOnANewDevice) {
  cStr error;
  const cStr path = (m_Folder / "p.png").string();
  cImage image(1, 1);
  image.Pixel(0, 0)[3] = image.Pixel(0, 0)[0] = 255;
  ASSERT_TRUE(SavePng(image, path, error)) << error;
  const int texture = m_Render.LoadTexture(path);
  ASSERT_GE(texture, 0) << m_Log.Text();
  EXPECT_EQ(m_Render.LoadTexture(path), texture);
  EXPECT_EQ(Show(texture), 0xFF0000u);
  image.Pixel(0, 0)[2] = 255;
  ASSERT_TRUE(SavePng(image, path, error)) << error;
  ChangeDevice();
  EXPECT_EQ(Show(texture), 0xFF00FFu);
}
