// Textures: every format from memory to the shader and back, filters, addresses, refusals.
#include <gmock/gmock.h>

#include <array>
#include <map>

#include "comms/render/BackendFixture.h"

using namespace comms;
using testing::HasSubstr;

TEST_F(Backend, RefusesTexturesAndTargetsThatCanNotBe) {
  for (const TextureFormat format : {TextureFormat::Dxt1, TextureFormat::Dxt3, TextureFormat::Dxt5})
    EXPECT_EQ(m_Render.CreateTexture({format, 6, 8}, nullptr), -1);
  EXPECT_THAT(m_Log.Text(), HasSubstr("Compressed images must have dimensions that are multiples of 4"));
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::Rgba8, 0, 8}, nullptr), -1);
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::None, 8, 8}, nullptr), -1);
  const auto isRefused = [&](TextureFormat format, int height, TextureKind kind, int depth = 1) {
    return m_Render.CreateTexture({format, 8, height, TextureFilter::Linear, AddressMode::Wrap, kind, depth}, nullptr) == -1;
  };
  EXPECT_TRUE(isRefused(TextureFormat::Rgba8, 2, TextureKind::Line));
  EXPECT_TRUE(isRefused(TextureFormat::Rgba8, 2, TextureKind::Volume, 0));
  EXPECT_TRUE(isRefused(TextureFormat::Rgba8, 4, TextureKind::Cube));
  EXPECT_TRUE(isRefused(TextureFormat::Dxt1, 8, TextureKind::Cube));
  EXPECT_EQ(m_Render.CreateTarget({m_Render.MaxTargetSize() + 1, 8}), -1);
  EXPECT_EQ(m_Render.CreateTarget({8, 8, TextureFormat::Depth16}), -1);
  EXPECT_EQ(m_Render.LoadTexture(m_Folder.Path("none.png")), -1);
}

// --- formats -----------------------------------------------------------------------------------------------------------------

namespace {

// Two colours in memory, A = (1, 0, 1, 0) and B = (0, 1, 0, 1), as bytes in hexadecimal, and how many channels a shader gets.
struct Encoding {
  TextureFormat Format;
  int Channels;
  cStr Bytes[2];
  cVec4 Read(int color) const {
    cVec4 read{0, 0, 0, 1};
    for (int i = 0; i < Channels; i++) (&read.x)[i] = float((i ^ color ^ 1) & 1);
    return read;
  }
  cList<uint8_t> Memory(int color) const {
    cList<uint8_t> memory;
    for (size_t i = 0; i < Bytes[color].size(); i += 2)
      memory.push_back(uint8_t(std::stoi(Bytes[color].substr(i, 2), nullptr, 16)));
    return memory;
  }
  friend void PrintTo(const Encoding& encoding, std::ostream* out) { *out << GetName(encoding.Format); }
};

// Of all formats but None and those of depth.
cList<Encoding> MakeEncodings() {
  // Blocks of one colour; the exponent of Rgbe8 is that of 1 = 128 / 256 * 2; see Ward 1991, "Real pixels".
  cList<Encoding> encodings = {
      {TextureFormat::Rgbe8, 3, {"80008081", "00800081"}},
      {TextureFormat::Rgb565, 3, {"1FF8", "E007"}},
      {TextureFormat::Rgba4, 4, {"F0F0", "0F0F"}},
      {TextureFormat::Rgb10a2, 4, {"FF03F03F", "00FC0FC0"}},
      {TextureFormat::Dxt1, 3, {"1FF81FF800000000", "E007E00700000000"}},
      {TextureFormat::Dxt3, 4, {"00000000000000001FF81FF800000000", "FFFFFFFFFFFFFFFFE007E00700000000"}},
      {TextureFormat::Dxt5, 4, {"00000000000000001FF81FF800000000", "FFFF000000000000E007E00700000000"}}};
  // The names of the others say how many channels there are and of which type.
  const std::map<cStr, cStr> ones = {{"8", "FF"}, {"16", "FFFF"}, {"16f", "003C"}, {"32f", "0000803F"}};
  for (TextureFormat format = TextureFormat::Rgb8; format < TextureFormat::Rgbe8; format = TextureFormat(int(format) + 1)) {
    const cStr name = GetName(format);
    const size_t channels = name.find_first_of("0123456789");
    const cStr one = ones.at(name.substr(channels)), zero(one.size(), '0');
    encodings.push_back({format, int(channels), {}});
    for (size_t i = 0; i < channels; i++)
      for (const size_t color : {0, 1}) encodings.back().Bytes[color] += i % 2 == color ? one : zero;
  }
  return encodings;
}

class Formats : public Backend, public testing::WithParamInterface<Encoding> {};

}  // namespace

// 3 x 2 units, a unit being a pixel or a block: rows of odd length show padding that is not there.
TEST_P(Formats, ArriveInShadersAreUpdatedInPartsAndComeBack) {
  const TextureFormat format = GetParam().Format;
  const int block = IsCompressed(format) ? 4 : 1;
  const auto memory = [&](std::initializer_list<int> colors) {
    cList<uint8_t> bytes;
    for (const int color : colors)
      for (const uint8_t byte : GetParam().Memory(color)) bytes.push_back(byte);
    return bytes;
  };
  const cList<uint8_t> picture = memory({0, 0, 1, 1, 0, 0});
  ASSERT_EQ(picture.size(), 6 * GetImageBytes(format, block, block));
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
    m_Render.SetConstant("c_A", GetParam().Read(0));
    m_Render.SetConstant("c_B", GetParam().Read(1));
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
  m_Render.UpdateTexture(texture, block, block, 2 * block, block, memory({1, 0}).data());
  m_Render.UpdateTexture(texture, 0, 0, block, block, memory({1}).data());
  EXPECT_EQ(wrongPixels(texture, 0b011101), 0);
  m_Render.UpdateTexture(open, 0, 0, 3 * block, 2 * block, picture.data());
  ChangeDevice();
  EXPECT_EQ(wrongPixels(texture, 0b011101), 0);
  EXPECT_EQ(wrongPixels(open, 0b001100), 0) << "one that was made without content and filled later";
}

INSTANTIATE_TEST_SUITE_P(OfColour, Formats, testing::ValuesIn(MakeEncodings()),
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
  // By the texture itself and by a sampler over another one.
  const auto eachWay = [&](TextureFilter filter, AddressMode address, auto&& check) {
    const int own = m_Render.CreateTexture({TextureFormat::Rgba8, 2, 2, filter, address}, checker);
    const int sampler = m_Render.CreateSampler(filter, address);
    EXPECT_EQ(m_Render.CreateSampler(filter, address), sampler);
    check([&](float x, float level) { return sample(own, -1, {x, 0.25f}, level); });
    check([&](float x, float level) { return sample(levels, sampler, {x, 0.25f}, level); });
  };
  const struct {
    TextureFilter Filter;
    float Between, Near, Far;  // between two texels; on a black one a quarter and a whole level away
  } filters[] = {{TextureFilter::Nearest, 1, 0, 0},
                 {TextureFilter::Linear, 0.5f, 0, 0},
                 {TextureFilter::Bilinear, 0.5f, 0, 0.5f},
                 {TextureFilter::BilinearAniso, 0.5f, 0, 0.5f},
                 {TextureFilter::Trilinear, 0.5f, 0.125f, 0.5f},
                 {TextureFilter::TrilinearAniso, 0.5f, 0.125f, 0.5f}};
  for (const auto& filter : filters)
    eachWay(filter.Filter, AddressMode::Clamp, [&](auto&& at) {
      EXPECT_NEAR(at(0.5001f, 0), filter.Between, 0.01f) << GetName(filter.Filter);
      const bool isAnisotropic = filter.Filter >= TextureFilter::BilinearAniso;  // drivers choose its level in their own ways
      EXPECT_NEAR(isAnisotropic ? filter.Near : at(0.25f, 0.25f), filter.Near, 0.01f) << GetName(filter.Filter);
      EXPECT_NEAR(at(0.25f, 1), filter.Far, 0.01f) << GetName(filter.Filter);
    });
  const std::pair<AddressMode, std::array<float, 3>> addresses[] = {// at 1.25, -0.25, 1.75; black is the left half
                                                                    {AddressMode::Wrap, {0, 1, 1}},
                                                                    {AddressMode::Clamp, {1, 0, 1}},
                                                                    {AddressMode::Mirror, {1, 0, 0}}};
  for (const auto& [address, wanted] : addresses)
    eachWay(TextureFilter::Nearest, address, [&, address = address, wanted = wanted](auto&& at) {
      EXPECT_EQ((std::array{at(1.25f, 0), at(-0.25f, 0), at(1.75f, 0)}), wanted) << GetName(address);
    });
}

TEST_F(Backend, PictureFilesAreLoadedOnceAndReadAnewOnANewDevice) {
  cStr error;
  const cStr path = m_Folder.Path("p.png");
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
