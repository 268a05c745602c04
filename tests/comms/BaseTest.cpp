#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <set>
#include <thread>

#include "comms/Log.h"
#include "comms/RenderState.h"
#include "comms/Str.h"
#include "comms/TextureFormat.h"
#include "comms/Vec.h"

using namespace comms;

TEST(Str, FoldsTheCaseOfLatinLettersAlone) {
  for (int a = 0; a < 256; a++)
    for (int b = 0; b < 256; b++) {
      const bool letters = std::isalpha(a) && a < 128 && (a ^ b) == 32;
      const cStr first(1, char(a)), second(1, char(b));
      ASSERT_EQ(EqualsNoCase(first, second), a == b || letters) << a << " " << b;
    }
  EXPECT_FALSE(EqualsNoCase("obj", "objx"));
  EXPECT_LT(CompareNoCase("Ab", "aBc"), 0);
  EXPECT_GT(CompareNoCase("b", "ABC"), 0);
  EXPECT_GT(CompareNoCase("\xC3", "z"), 0);  // bytes compare without a sign
  EXPECT_TRUE(StartsWithNoCase("NewInstance|a", "newinstance|"));
  EXPECT_TRUE(EndsWithNoCase("HEAD.OBJ", ".obj"));
  EXPECT_FALSE(EndsWithNoCase("j", ".obj"));
}

TEST(Str, TakesPathsOfBothKindsApart) {
  const struct {
    const char *Path, *Folder, *Name, *Base, *Extension;
  } cases[] = {{"a/b\\Head.tar.Obj", "a/b\\", "Head.tar.Obj", "Head.tar", "Obj"},
               {"a.b/head", "a.b/", "head", "head", ""},
               {"C:\\x.y\\", "C:\\x.y\\", "", "", ""},
               {"head.", "", "head.", "head", ""},
               {".obj", "", ".obj", "", "obj"},
               {"", "", "", "", ""}};
  for (const auto& c : cases) {
    EXPECT_EQ(GetFolder(c.Path), c.Folder) << c.Path;
    EXPECT_EQ(GetFileName(c.Path), c.Name) << c.Path;
    EXPECT_EQ(GetBaseName(c.Path), c.Base) << c.Path;
    EXPECT_EQ(GetExtension(c.Path), c.Extension) << c.Path;
  }
  EXPECT_EQ(JoinPath("a", "b"), "a/b");
  EXPECT_EQ(JoinPath("a/", "b"), "a/b");
  EXPECT_EQ(JoinPath("", "b"), "b");
}

TEST(Str, FormatsLongTextsAndAnyLocaleAlike) {
  const cStr longText(5000, 'x');
  EXPECT_EQ(Format("%s%d", longText.c_str(), 7), longText + "7");
  EXPECT_EQ(Format("%s", cStr(511, 'a').c_str()).size(), 511u);
  EXPECT_EQ(Format("%s", cStr(512, 'a').c_str()).size(), 512u);
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8"})  // whichever are installed
    if (std::setlocale(LC_ALL, name)) {
      EXPECT_EQ(Format("%.2f", 1.5), "1.50") << name;
    }
  std::setlocale(LC_ALL, "C");
}

static cMat4 RandomMatrix(std::mt19937& random) {
  std::uniform_real_distribution<float> value(-2, 2);
  cMat4 matrix;
  for (auto& row : matrix.m)
    for (float& element : row) element = value(random);
  return matrix;
}

TEST(Mat4, ProductsInversesAndDeterminantsAgree) {
  const cMat4 move = cMat4::Translation({1, 2, 3}), grow = cMat4::Scale(2);
  EXPECT_EQ((move * grow).TransformPoint({1, 1, 1}), (cVec3{4, 6, 8})) << "the left one comes first";
  std::mt19937 random(5);
  for (int round = 0; round < 500; round++) {
    const cMat4 a = RandomMatrix(random);
    cMat4 b = RandomMatrix(random), inverse;
    ASSERT_TRUE(Invert(a, inverse));
    const cMat4 unit = a * inverse;
    float largest = 1;
    for (const auto& row : inverse.m)
      for (float element : row) largest = std::max(largest, std::fabs(element));
    for (int row = 0; row < 4; row++)  // rounding of the inverse, amplified by the entries of both factors
      for (int column = 0; column < 4; column++) ASSERT_NEAR(unit.m[row][column], row == column, 4e-6f * largest);
    cMat4 linear = a;
    for (int i = 0; i < 3; i++) linear.m[i][3] = b.m[i][3] = 0;
    ASSERT_NEAR(Determinant3(linear * b), Determinant3(linear) * Determinant3(b), 1e-3);
  }
}

TEST(Mat4, RefusesWhatHasNoInverse) {
  cMat4 inverse = cMat4::Scale(3);
  EXPECT_FALSE(Invert(cMat4{{{1, 2, 3, 0}, {2, 4, 6, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}, inverse));
  EXPECT_EQ(inverse, cMat4());
  cMat4 broken;
  broken.m[1][2] = NAN;
  EXPECT_FALSE(Invert(broken, inverse));
  EXPECT_FALSE(Invert(cMat4::Scale(1e-42f), inverse)) << "the inverse is not finite in 32 bits";
  EXPECT_EQ(inverse, cMat4());
  EXPECT_TRUE(Invert(cMat4::Scale(1e-30f), inverse)) << "small is not singular";
}

TEST(Log, EntriesOfThreadsStayWholeAndSinksComeBack) {
  std::string outer;
  LogSink before =
      SetLogSink([&](LogLevel level, const std::string& text) { outer += (level == LogLevel::Error ? "E" : "-") + text; });
  {
    LogRecorder recorder;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
      threads.emplace_back([t] {
        for (int i = 0; i < 200; i++) LogInfo("%d%s\n", t, cStr(40, char('a' + t)).c_str());
      });
    for (std::thread& thread : threads) thread.join();
    const std::string text = recorder.Text();
    size_t entries = 0;
    for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1, entries++) {
      const int t = text[at] - '0';
      ASSERT_EQ(text.substr(at + 1, end - at - 1), std::string(40, char('a' + t)));
    }
    EXPECT_EQ(entries, 800u);
  }
  LogError("x");
  SetLogSink(before);
  EXPECT_EQ(outer, "Ex");
}

// --- standard uniforms -------------------------------------------------------------------------------------------------------

static cVec3 AsPoint(const UniformValue& value) { return {value.Floats[0], value.Floats[1], value.Floats[2]}; }
static cMat4 AsMatrix(const UniformValue& value) {
  cMat4 matrix;
  std::copy_n(value.Floats, 16, &matrix.m[0][0]);
  return matrix;
}
static void ExpectNear(const cVec3& a, const cVec3& b, float tolerance) {
  EXPECT_LT(Length(a - b), tolerance) << a.x << " " << b.x;
}

TEST(StandardUniforms, AgreeWithEachOther) {
  RenderState state;
  state.World = cMat4{{{2, 0, 0, 0}, {0, 0, 1, 0}, {0, -0.5f, 0, 0}, {3, 1, -2, 1}}};
  state.View = LookAt({4, 5, 6}, {1, 0, -1}, {0, 1, 0});
  state.Projection = Perspective(40, 1.5f, 0.5f, 20);
  state.ViewportWidth = 300;
  state.ViewportHeight = 200;

  std::set<std::string> names;
  for (int i = 0; i < StandardUniformCount; i++) {
    EXPECT_TRUE(names.insert(StandardUniformNames[i]).second);
    EXPECT_GT(Evaluate(StandardUniform(i), state).Count, 0) << StandardUniformNames[i];
  }
  using enum StandardUniform;
  ExpectNear(AsPoint(Evaluate(ViewerPos, state)), {4, 5, 6}, 1e-5f);
  ExpectNear(state.World.TransformPoint(AsPoint(Evaluate(LocalViewPos, state))), {4, 5, 6}, 1e-5f);
  const cVec3 direction = state.World.TransformDirection(AsPoint(Evaluate(LocalViewDir, state)));
  ExpectNear(Normalized(direction), Normalized(cVec3{1, 0, -1} - cVec3{4, 5, 6}), 1e-5f);

  // A normal stays at right angles to its surface under a matrix that is not a rotation.
  const cVec3 tangent{1, 2, -1}, normal = Cross(tangent, {0, 1, 3});
  const cMat4 normalMatrix = AsMatrix(Evaluate(NormalMatrix, state));
  EXPECT_NEAR(Dot(state.World.TransformDirection(tangent), normalMatrix.TransformDirection(normal)), 0, 1e-5f);

  const cMat4 screen = AsMatrix(Evaluate(ScreenMatrix, state));
  ExpectNear(screen.TransformPoint({0, 0, 0}), {-1, 1, 0}, 1e-6f);
  ExpectNear(screen.TransformPoint({300, 200, 0}), {1, -1, 0}, 1e-6f);
}

TEST(StandardUniforms, PerspectiveMeetsTheClipPlanes) {
  const cMat4 projection = Perspective(60, 2, 0.25f, 8);
  const auto clip = [&](const cVec3& p) {
    const float w = p.z * projection.m[2][3] + projection.m[3][3];
    return projection.TransformPoint(p) * (1 / w);
  };
  const float top = std::tan(float(M_PI) / 6);
  ExpectNear(clip({top * 2 * 0.25f, top * 0.25f, -0.25f}), {1, 1, -1}, 1e-5f);
  ExpectNear(clip({-top * 2 * 8, -top * 8, -8}), {-1, -1, 1}, 1e-5f);
}

TEST(TextureFormats, NamesFindTheirValues) {
  for (int i = 0; i < int(TextureFormat::Count); i++) EXPECT_EQ(int(FindTextureFormat(GetName(TextureFormat(i)))), i);
  for (int i = 0; i < int(TextureFilter::Count); i++) EXPECT_EQ(int(FindTextureFilter(GetName(TextureFilter(i)))), i);
  for (int i = 0; i < int(AddressMode::Count); i++) EXPECT_EQ(int(FindAddressMode(GetName(AddressMode(i)))), i);
  EXPECT_EQ(FindTextureFormat("Rgba9"), TextureFormat::Count);
  EXPECT_EQ(GetImageBytes(TextureFormat::Dxt1, 8, 8), 32u);  // four blocks of eight bytes
  EXPECT_EQ(GetImageBytes(TextureFormat::Dxt5, 4, 8), 32u);
  EXPECT_EQ(GetImageBytes(TextureFormat::Rgb16f, 3, 5), 90u);
}
