#include "MC/Fields.h"

#include <gtest/gtest.h>

#include <random>

#include "MC/ApplyField.h"
#include "MC/Dabs.h"

using comms::cVec3;

namespace {

constexpr int Ramp = 4;

struct RandomDab {
  explicit RandomDab(unsigned seed) : m_Random(seed) {}
  float At(float low, float high) { return std::uniform_real_distribution<float>(low, high)(m_Random); }
  cVec3 Point(float reach) { return {At(-reach, reach), At(-reach, reach), At(-reach, reach)}; }
  Dab Next() {
    const cVec3 n = Normalized(Point(1), {0, 0, 1});
    return {Point(20), Point(20), n, Normalized(n + Point(0.4f), n), At(1, 20), At(1, 20), At(0.1f, 1), At(0.1f, 1)};
  }

 private:
  std::mt19937 m_Random;
};

}  // namespace

TEST(Fields, KnownValues) {
  // One voxel of distance is 1 / ramp near the surface; the ball's profile is quadratic, exact on the surface and in the centre.
  const SphereField sphere({1, 2, 3}, 16, Ramp);
  EXPECT_FLOAT_EQ(sphere(17, 2, 3), 0.5f);
  EXPECT_FLOAT_EQ(sphere(1, 2, 3), 0.5f + 16.0f / (2 * Ramp));
  EXPECT_NEAR(sphere(1, 2, 3 + 17), 0.5f - 1.0f / Ramp, 1.0f / (2 * Ramp * 16) + 1e-6);  // the quadratic term is d^2 / (2 K r)

  // Lens on the plane z = 5: depth is pen * r * h + base about it, the rim is where the pen ends.
  Dab dab{{0, 0, 5}, {10, 0, 5}, {0, 0, 1}, {0, 0, 1}, 8, 8, 0.5f, 0.5f};
  const CarveField carve(MakeStrokeConstants(dab, false), {0, 0.25f}, Ramp);
  for (const float u : {0.0f, 1.5f, 3.0f, 4.25f, 6.0f})
    for (const float side : {u, -u})
      EXPECT_NEAR(carve(4, 0, 5 + side), std::min((8 * 0.5f + 0.25f - u) / Ramp, 8.0f / Ramp) + 0.5f, 1e-5) << u;
  EXPECT_EQ(carve(4, 8.01f, 5), 0);
  EXPECT_EQ(carve(4, 7.9f, 5), 0) << "the rounded edge ends before the rim";
  EXPECT_GT(carve(4, 7.5f, 5), 0);
  dab.H1 = dab.H2 = -1;
  EXPECT_NEAR(CarveField(MakeStrokeConstants(dab, false), {0, 0.25f}, Ramp)(4, 0, 5), 0.5f + 0.25f / Ramp, 1e-5)
      << "height is at least 0";
  dab.R1 = dab.R2 = 0;
  EXPECT_EQ(CarveField(MakeStrokeConstants(dab, false), {0, 5}, Ramp)(0, 0, 5), 0);

  for (float x = -1; x <= 2; x += 0.01f) {
    const double a = 2 * (double(x) - 0.5);
    const double expected = a < -M_PI / 2 ? 0 : a > M_PI / 2 ? 1 : (std::sin(a) + 1) / 2;
    EXPECT_NEAR(SmoothFalloff(x), expected, 3e-7) << x;
  }
}

// The shape of Segment: Stroke.RadiiAreInWorldUnits, and VoxelSculptToolTest.DepthIsTheHeightOverTheSurface for a single point.
TEST(Fields, InverseSquareRootTakesOneNewtonStep) {
  float worst = 0;
  for (uint32_t bits = 0x00800000; bits < 0x7F000000; bits += 9973) {
    const float x = std::bit_cast<float>(bits);
    worst = std::max(worst, float(std::fabs(FastInverseSqrt(x) * std::sqrt(double(x)) - 1)));
  }
  EXPECT_LT(worst, 0.001753f);  // the known bound of one step from this start value
  EXPECT_GT(worst, 0.0017f) << "a second step would change the shape of brushes";
}

// A cover that claims too much would fill cells that the field only grazes.
TEST(Fields, CoverIsNeverTooLarge) {
  RandomDab random(4);
  int full = 0;
  const auto check = [&](const auto& field) {
    const CellKey key{int(random.At(-2, 2)), int(random.At(-2, 2)), int(random.At(-2, 2))};
    if (FieldEvaluatorOf(field).CoverOf(key) != FieldCover::Full) return;
    full++;
    for (int i = 0; i < CellSamples; i++)
      ASSERT_GE(field(float(key.x * 8 + i % 9), float(key.y * 8 + i / 9 % 9), float(key.z * 8 + i / 81)), 1);
  };
  for (int i = 0; i < 20000; i++) {
    const Dab dab = random.Next();
    check(SphereField(dab.P1, dab.R1, Ramp));
    check(SegmentField(MakeStrokeConstants(dab, false), Ramp));
  }
  EXPECT_GT(full, 300);
}
