// The off-screen pictures on whatever device the machine has; its software renderer serves. Skipped without one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>

#include "comms/Log.h"
#include "comms/RenderState.h"
#include "comms/render/EglContext.h"
#include "comms/render/OffscreenPicture.h"
#include "comms/render/SoftShadow.h"

using namespace comms;
using testing::HasSubstr;

// --- fixtures ----------------------------------------------------------------------------------------------------------------

namespace {

struct Vertex {
  cVec3 Position, Normal;
  uint32_t Rest = 0;
};
const VertexLayout Layout{28,
                          {{VertexUsage::Position, VertexFormat::Float3, 0}, {VertexUsage::Normal, VertexFormat::Float3, 12}}};

constexpr int Rings = 96;
// Normals point into the sphere.
void StageSphere(BaseMesh& mesh) {
  cList<Vertex> vertices;
  cList<uint32_t> indices;
  for (int i = 0; i <= Rings; i++)
    for (int j = 0; j <= 2 * Rings; j++) {
      const float t = float(M_PI) * float(i) / Rings, p = float(M_PI) * float(j) / Rings;
      const cVec3 direction{std::sin(t) * std::cos(p), std::cos(t), std::sin(t) * std::sin(p)};
      vertices.push_back({direction, -direction});
      const uint32_t a = uint32_t(i * (2 * Rings + 1) + j), c = a + 2 * Rings + 1;
      if (i < Rings && j < 2 * Rings)
        for (const uint32_t index : {a, a + 1, c, a + 1, c + 1, c}) indices.push_back(index);
    }
  mesh.StageVertices(vertices.data(), vertices.size(), Layout);
  mesh.StageIndices32(indices.data(), indices.size());
}

int Brightness(const uint8_t* pixel) { return pixel[0] + pixel[1] + pixel[2]; }

// Calls visit(x, y) for the pixels that differ.
void ForEachChange(const cImage& a, const cImage& b, const std::function<void(int, int)>& visit) {
  const auto differ = [](int m, int n) { return std::abs(m - n) > 4; };
  for (int y = 0; y < a.Height(); y++)
    for (int x = 0; x < a.Width(); x++)
      if (!std::equal(a.Pixel(x, y), a.Pixel(x, y) + 3, b.Pixel(x, y), std::not_fn(differ))) visit(x, y);
}

double MeanBrightness(const cImage& image, int x0, int y0, int x1, int y1) {
  double sum = 0;
  for (int y = y0; y < y1; y++)
    for (int x = x0; x < x1; x++) sum += Brightness(image.Pixel(x, y));
  return sum / ((x1 - x0) * (y1 - y0));
}

PictureOptions MakeOptions(int width, int height, const PictureCamera& camera = {{0, 0, 4}, {0, 0, 0}, {0, 1, 0}, 40}) {
  return {.Width = width, .Height = height, .Camera = camera};
}

class Picture : public testing::Test {
 protected:
  void SetUp() override {
    cStr error;
    if (!EglContext::Create(error)) GTEST_SKIP() << error;
    ASSERT_TRUE(m_Picture.Init(MORVANE_DATA_DIR, "", error)) << error << m_Log.Text();
    StageSphere(m_Sphere);
  }
  PictureItem Sphere(const cVec3& place = {}) { return {&m_Sphere, cMat4::Translation(place)}; }
  cImage Draw(const cList<PictureItem>& items, const PictureOptions& options) {
    cImage image;
    cStr error;
    EXPECT_TRUE(m_Picture.Render(items, options, image, error)) << error;
    return image;
  }
  // The background alone: the sphere is behind the viewer.
  cImage DrawNothing(const PictureOptions& options) { return Draw({Sphere({0, 0, 50})}, options); }
  LogRecorder m_Log;
  OffscreenPicture m_Picture;
  BaseMesh m_Sphere;
};

}  // namespace

// --- pictures ----------------------------------------------------------------------------------------------------------------

TEST_F(Picture, OutlineOfASphereIsTheDiscThatGeometrySays) {
  PictureOptions options = MakeOptions(400, 300);
  options.AmbientOcclusion = false;
  for (const cVec3& place : {cVec3{0, 0, 0}, cVec3{0, 0, -2}}) {
    double area = 0, sumX = 0, sumY = 0;
    ForEachChange(Draw({Sphere(place)}, options), DrawNothing(options),
                  [&](int x, int y) { area++, sumX += x + 0.5, sumY += y + 0.5; });
    const double radius = std::tan(std::asin(1 / (4.0 - place.z))) / std::tan(20 * M_PI / 180) * 150;
    // Half a pixel along the edge, where pixels are part disc, and what the chords of the rings cut off.
    const double edge = 2 * M_PI * radius * 0.5, chords = M_PI * radius * radius * std::pow(M_PI / (2 * Rings), 2);
    EXPECT_NEAR(area, M_PI * radius * radius, edge + chords);
    EXPECT_NEAR(sumX / area, 200, 0.5);
    EXPECT_NEAR(sumY / area, 150, 0.5);
  }
}

TEST_F(Picture, WithoutACameraTheMeshesFillNineTenths) {
  for (const auto& [width, height] : {std::pair(100, 300), std::pair(200, 200), std::pair(300, 100)}) {
    PictureOptions options = MakeOptions(width, height);
    options.AmbientOcclusion = false;
    const cImage empty = DrawNothing(options);
    options.Camera.reset();
    const cImage image = Draw({Sphere({40, 5, -3}), Sphere({41, 7, -3})}, options);
    double outermost = 0;
    ForEachChange(image, empty, [&, w = width, h = height](int x, int y) {
      outermost = std::max({outermost, std::fabs(2 * x + 1.0 - w) / w, std::fabs(2 * y + 1.0 - h) / h});
    });
    EXPECT_NEAR(outermost, 0.9, 3.0 / std::min(width, height)) << width;  // a pixel and a half
  }
}

TEST_F(Picture, LightComesFromTheUpperLeftOntoOutsides) {
  PictureOptions options = MakeOptions(200, 200);
  const cImage image = Draw({Sphere()}, options);
  EXPECT_GT(MeanBrightness(image, 50, 50, 90, 90), 1.3 * MeanBrightness(image, 110, 110, 150, 150));
  options.OutwardNormals = true;  // wrong for this mesh: it is lit as if from within
  const cImage inside = Draw({Sphere()}, options);
  EXPECT_LT(MeanBrightness(inside, 50, 50, 90, 90), MeanBrightness(inside, 110, 110, 150, 150));
}

TEST_F(Picture, OcclusionDarkensCreasesAndNothingElse) {
  PictureOptions options = MakeOptions(300, 200);
  const cList<PictureItem> pair = {Sphere({-0.8f, 0, -1}), Sphere({0.8f, 0, -1})};
  options.AmbientOcclusion = false;
  const cImage plain = Draw(pair, options);
  options.AmbientOcclusion = true;
  const cImage occluded = Draw(pair, options);
  int brighter = 0;
  for (int y = 0; y < 200; y++)
    for (int x = 0; x < 300; x++) brighter += Brightness(occluded.Pixel(x, y)) > Brightness(plain.Pixel(x, y)) + 3;
  EXPECT_EQ(brighter, 0);
  EXPECT_LT(MeanBrightness(occluded, 146, 92, 154, 108), 0.8 * MeanBrightness(plain, 146, 92, 154, 108)) << "between the spheres";
  EXPECT_GT(MeanBrightness(occluded, 104, 80, 114, 90), 0.95 * MeanBrightness(plain, 104, 80, 114, 90)) << "on the open side";
  EXPECT_NEAR(MeanBrightness(occluded, 0, 0, 20, 20), MeanBrightness(plain, 0, 0, 20, 20), 0.01) << "the background";
}

TEST_F(Picture, ShadowFallsAwayFromTheLampAndNowhereElse) {
  PictureOptions options = MakeOptions(300, 300), without = options;
  without.SoftShadow = false;
  int changes = 0;
  ForEachChange(Draw({Sphere()}, options), Draw({Sphere()}, without), [&](int, int) { changes++; });
  EXPECT_EQ(changes, 0) << "a ball throws none on itself";
  // A small ball on the way to the lamp, outside of the picture's view of the place below it.
  const cVec3 toLamp = Normalized(KeyLampDirection);
  const cList<PictureItem> pair = {Sphere(), {&m_Sphere, cMat4::Scale(0.2f) * cMat4::Translation(toLamp * 1.7f)}};
  const cImage lit = Draw(pair, without), shaded = Draw(pair, options);
  const auto ratioAt = [&](const cVec3& place) {
    const float scale = 150 / (std::tan(20 * float(M_PI) / 180) * (4 - place.z));
    const int x = int(150 + place.x * scale), y = int(150 - place.y * scale);
    return MeanBrightness(shaded, x - 1, y - 1, x + 2, y + 2) / MeanBrightness(lit, x - 1, y - 1, x + 2, y + 2);
  };
  EXPECT_LT(ratioAt(toLamp), 0.7);
  EXPECT_NEAR(ratioAt(Normalized(cVec3{0.5f, 0.4f, 0.8f})), 1, 0.01);
  EXPECT_NEAR(ratioAt(Normalized(cVec3{0.2f, -0.6f, 0.8f})), 1, 0.01) << "the side away from the lamp is as dark as it was";
}

TEST_F(Picture, DrawingLeavesMeshesAsTheyWereAndRepeats) {
  PictureOptions options = MakeOptions(161, 97);
  const cImage first = Draw({Sphere()}, options);
  EXPECT_TRUE(m_Sphere.StagedVertices && m_Sphere.StagedIndices32);
  EXPECT_FALSE(m_Sphere.HasBuffers());
  EXPECT_FALSE(m_Sphere.KeepStaged);
  EXPECT_EQ(Draw({Sphere()}, options).Pixels(), first.Pixels());
  EXPECT_EQ(std::pair(first.Width(), first.Height()), std::pair(161, 97));
  options.Supersampling = 1;
  EXPECT_NEAR(MeanBrightness(Draw({Sphere()}, options), 0, 0, 161, 97), MeanBrightness(first, 0, 0, 161, 97), 3)
      << "finer sampling is the same picture";
}

TEST_F(Picture, RefusesWithASentence) {
  BaseMesh empty(0, 0, Layout), broken;
  const Vertex vertices[3] = {{{0, 0, 0}, {}}, {{INFINITY, 0, 0}, {}}, {{0, 1, 0}, {}}};
  broken.StageVertices(vertices, 3, Layout);
  const PictureOptions good = MakeOptions(64, 64);
  const struct {
    cList<PictureItem> Items;
    PictureOptions Options;
    const char* Reason;
  } cases[] = {{{}, good, "no mesh has vertices"},
               {{{&empty, {}}, {nullptr, {}}}, good, "no mesh has vertices"},
               {{{&broken, {}}}, good, "not finite"},
               {{Sphere()}, MakeOptions(0, 64), "0 x 64 pixels"},
               {{Sphere()}, MakeOptions(64, -5), "64 x -5 pixels"},
               {{Sphere()}, MakeOptions(1 << 30, 64), "1073741824 x 64 pixels"},
               {{Sphere()}, MakeOptions(64, 64, {{0, 0, 4}, {0, 0, 4}}), "stands on its target"},
               {{Sphere()}, MakeOptions(64, 64, {{0, 0, 4}, {}, {0, 0, 2}}), "up direction"},
               {{Sphere()}, MakeOptions(64, 64, {{0, 0, 4}, {}, {0, 1, 0}, 180}), "180 degrees"}};
  cImage image;
  cStr error;
  for (const auto& c : cases) {
    EXPECT_FALSE(m_Picture.Render(c.Items, c.Options, image, error));
    EXPECT_TRUE(image.Empty());
    EXPECT_THAT(error, HasSubstr(c.Reason));
  }
  OffscreenPicture none;
  EXPECT_FALSE(none.Render({Sphere()}, good, image, error));
  EXPECT_TRUE(none.Init("/none", "", error)) << "the program has its shaders with it: " << error;
}
