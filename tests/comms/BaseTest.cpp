#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <sstream>
#include <thread>

#include "comms/Log.h"
#include "comms/RenderState.h"
#include "comms/Str.h"
#include "comms/Vec.h"

using namespace comms;

TEST(Str, FoldsTheCaseOfLatinLettersAlone) {
  for (int a = 0; a < 256; a++)
    for (int b = 0; b < 256; b++) {
      const bool letters = std::isalpha(a) && a < 128 && (a ^ b) == 32;
      ASSERT_EQ(EqualsNoCase(cStr(1, char(a)), cStr(1, char(b))), a == b || letters) << a << " " << b;
    }
  EXPECT_FALSE(EqualsNoCase("obj", "objx"));
  EXPECT_TRUE(StartsWithNoCase("NewInstance|a", "newinstance|"));
  EXPECT_TRUE(EndsWithNoCase("HEAD.OBJ", ".obj"));
  EXPECT_FALSE(EndsWithNoCase("j", ".obj"));
}

TEST(Str, TakesPathsOfBothKindsApart) {
  const struct {
    const char *Path, *Folder, *Base, *Extension;
  } cases[] = {{"a/b\\Head.tar.Obj", "a/b\\", "Head.tar", "Obj"},
               {"a.b/head", "a.b/", "head", ""},
               {"C:\\x.y\\", "C:\\x.y\\", "", ""},
               {"head.", "", "head", ""},
               {".obj", "", "", "obj"}};
  for (const auto& c : cases) {
    EXPECT_EQ(GetFolder(c.Path), c.Folder) << c.Path;
    EXPECT_EQ(GetFolder(c.Path) + GetFileName(c.Path), c.Path);
    EXPECT_EQ(GetBaseName(c.Path), c.Base) << c.Path;
    EXPECT_EQ(GetExtension(c.Path), c.Extension) << c.Path;
  }
  for (const char* folder : {"a", "a/"}) EXPECT_EQ(JoinPath(folder, "b"), "a/b");
  EXPECT_EQ(JoinPath("", "b"), "b");
}

TEST(Str, FormatsTextsOfAnyLength) {
  for (const size_t size : {510, 511, 512, 5000}) EXPECT_EQ(Format("%s%d", cStr(size, 'x').c_str(), 7), cStr(size, 'x') + "7");
}

TEST(Mat4, ProductsInversesAndDeterminantsAgree) {
  const cMat4 move = cMat4::Translation({1, 2, 3}), grow = cMat4::Scale(2);
  EXPECT_EQ((move * grow).TransformPoint({1, 1, 1}), (cVec3{4, 6, 8})) << "the left one comes first";
  std::mt19937 random(5);
  std::uniform_real_distribution<float> value(-2, 2);
  for (int round = 0; round < 500; round++) {
    cMat4 a, b, inverse;
    for (cMat4* matrix : {&a, &b})
      for (int i = 0; i < 16; i++) matrix->m[i / 4][i % 4] = value(random);
    ASSERT_TRUE(Invert(a, inverse));
    const cMat4 unit = a * inverse;
    float largest = 1;
    for (int i = 0; i < 16; i++) largest = std::max(largest, std::fabs(inverse.m[i / 4][i % 4]));
    for (int i = 0; i < 16; i++)  // rounding of the inverse, amplified by the entries of both factors
      ASSERT_NEAR(unit.m[i / 4][i % 4], i / 4 == i % 4, 4e-6f * largest);
    cMat4 linear = a;
    for (int i = 0; i < 3; i++) linear.m[i][3] = b.m[i][3] = 0;
    ASSERT_NEAR(Determinant3(linear * b), Determinant3(linear) * Determinant3(b), 1e-3);
  }
}

TEST(Mat4, RefusesWhatHasNoInverse) {
  cMat4 broken;
  broken.m[1][2] = NAN;
  for (const cMat4& matrix : {cMat4{{{1, 2, 3, 0}, {2, 4, 6, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}, broken, cMat4::Scale(1e-42f)}) {
    cMat4 inverse = cMat4::Scale(3);
    EXPECT_FALSE(Invert(matrix, inverse));
    EXPECT_EQ(inverse, cMat4());
  }
  cMat4 inverse;
  EXPECT_TRUE(Invert(cMat4::Scale(1e-30f), inverse)) << "small is not singular";
}

TEST(Log, EntriesOfThreadsStayWholeAndSinksComeBack) {
  cStr outer;
  const LogSink before =
      SetLogSink([&](LogLevel level, const cStr& text) { outer += (level == LogLevel::Error ? "E" : "-") + text; });
  {
    LogRecorder recorder;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
      threads.emplace_back([t] {
        for (int i = 0; i < 200; i++) LogInfo("%s", cStr(40, char('a' + t)).c_str());
      });
    for (std::thread& thread : threads) thread.join();
    std::istringstream lines(recorder.Text());
    int entries = 0;
    for (cStr line; std::getline(lines, line); entries++) ASSERT_EQ(line, cStr(40, line[0]));
    EXPECT_EQ(entries, 800);
  }
  LogError("x");
  SetLogSink(before);
  EXPECT_EQ(outer, "Ex");
}

// --- standard uniforms -------------------------------------------------------------------------------------------------------

static cVec3 AsPoint(const UniformValue& value) { return {value.Floats[0], value.Floats[1], value.Floats[2]}; }
static cMat4 AsMatrix(const UniformValue& value) { return std::bit_cast<cMat4>(value.Floats); }
static void ExpectNear(const cVec3& a, const cVec3& b) { EXPECT_LT(Length(a - b), 1e-5f) << a.x << " " << b.x; }

TEST(StandardUniforms, AgreeWithEachOther) {
  RenderState state;
  state.World = cMat4{{{2, 0, 0, 0}, {0, 0, 1, 0}, {0, -0.5f, 0, 0}, {3, 1, -2, 1}}};
  state.View = LookAt({4, 5, 6}, {1, 0, -1}, {0, 1, 0});
  state.ViewportWidth = 300;
  state.ViewportHeight = 200;
  using enum StandardUniform;
  ExpectNear(AsPoint(Evaluate(ViewerPos, state)), {4, 5, 6});
  ExpectNear(state.World.TransformPoint(AsPoint(Evaluate(LocalViewPos, state))), {4, 5, 6});
  const cVec3 direction = state.World.TransformDirection(AsPoint(Evaluate(LocalViewDir, state)));
  ExpectNear(Normalized(direction), Normalized(cVec3{1, 0, -1} - cVec3{4, 5, 6}));

  // A normal stays at right angles to its surface under a matrix that is not a rotation.
  const cVec3 tangent{1, 2, -1}, normal = Cross(tangent, {0, 1, 3});
  const cMat4 normalMatrix = AsMatrix(Evaluate(NormalMatrix, state));
  EXPECT_NEAR(Dot(state.World.TransformDirection(tangent), normalMatrix.TransformDirection(normal)), 0, 1e-5f);

  const cMat4 screen = AsMatrix(Evaluate(ScreenMatrix, state));
  ExpectNear(screen.TransformPoint({0, 0, 0}), {-1, 1, 0});
  ExpectNear(screen.TransformPoint({300, 200, 0}), {1, -1, 0});
}

TEST(StandardUniforms, PerspectiveMeetsTheClipPlanes) {
  const cMat4 projection = Perspective(60, 2, 0.25f, 8);
  const float top = std::tan(float(M_PI) / 6);
  for (const auto& [distance, sign] : {std::pair(0.25f, -1.0f), std::pair(8.0f, 1.0f)}) {
    const cVec3 corner{sign * top * 2 * distance, sign * top * distance, -distance};
    ExpectNear(projection.TransformPoint(corner) * (1 / distance), {sign, sign, sign});
  }
}
