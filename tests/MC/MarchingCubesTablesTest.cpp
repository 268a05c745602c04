// The tables are held against geometry, so that a slip of one number in 4096 shows.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "MC/MarchingCubesTables.h"

namespace {

using Point = std::array<int, 3>;  // doubled coordinates: edge middles are whole
using Segment = std::pair<Point, Point>;

Point Middle(int edge) {
  const int8_t* a = CornerOffset[EdgeCorners[edge][0]];
  const int8_t* b = CornerOffset[EdgeCorners[edge][1]];
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

std::vector<int> Row(int cubeCase) {
  std::vector<int> row;
  for (const int8_t* e = triTable[cubeCase]; *e >= 0; e++) row.push_back(*e);
  return row;
}

/// Directed border of a case's patch: the triangle sides without a partner.
std::multiset<Segment> Border(int cubeCase) {
  std::multiset<Segment> sides;
  const std::vector<int> row = Row(cubeCase);
  for (size_t t = 0; t < row.size(); t += 3)
    for (size_t i = 0; i < 3; i++) sides.insert({Middle(row[t + i]), Middle(row[t + (i + 1) % 3])});
  std::multiset<Segment> border;
  for (const Segment& s : sides)
    if (!sides.count({s.second, s.first})) border.insert(s);
  return border;
}

/// Part of the border on the face where coordinate `axis` is `at` (0 or 2), as if the case stood mirrored along `mirror` (-1:
/// not). The face coordinate is taken out, so that the two sides of a shared face compare.
std::multiset<Segment> OnFace(int cubeCase, int axis, int at, int mirror) {
  std::multiset<Segment> found;
  for (Segment s : Border(cubeCase)) {
    if (mirror >= 0) {
      s.first[mirror] = 2 - s.first[mirror];
      s.second[mirror] = 2 - s.second[mirror];
      std::swap(s.first, s.second);  // the mirrored traversal turns triangles over
    }
    if (s.first[axis] != at || s.second[axis] != at) continue;
    s.first[axis] = s.second[axis] = 0;
    found.insert(s);
  }
  return found;
}

int Corner(int x, int y, int z) {
  for (int i = 0; i < 8; i++)
    if (CornerOffset[i][0] == x && CornerOffset[i][1] == y && CornerOffset[i][2] == z) return i;
  return -1;
}

/// Outside bits of the four corners on a face, mirrored or not.
int FaceBits(int cubeCase, int axis, int at, int mirror) {
  int bits = 0;
  for (int i = 0; i < 4; i++) {
    int p[3];
    p[axis] = at;
    p[(axis + 1) % 3] = i & 1;
    p[(axis + 2) % 3] = i >> 1;
    if (mirror >= 0) p[mirror] = 1 - p[mirror];
    bits |= (cubeCase >> Corner(p[0], p[1], p[2]) & 1) << i;
  }
  return bits;
}

}  // namespace

TEST(MarchingCubesTables, EveryCaseCutsExactlyTheCrossedEdgesAndFacesOutwards) {
  for (int cubeCase = 0; cubeCase < 256; cubeCase++) {
    int crossed = 0;
    for (int e = 0; e < 12; e++) crossed |= ((cubeCase >> EdgeCorners[e][0] ^ cubeCase >> EdgeCorners[e][1]) & 1) << e;
    ASSERT_EQ(edgeTable[cubeCase], crossed) << cubeCase;
    const std::vector<int> row = Row(cubeCase);
    ASSERT_EQ(row.size(), numVertsTable[cubeCase]) << cubeCase;
    int used = 0;
    for (int e : row) used |= 1 << e;
    ASSERT_EQ(used, crossed) << cubeCase;
  }
  // One outside corner: the triangle looks at it.
  const std::vector<int> row = Row(1);
  const Point a = Middle(row[0]), b = Middle(row[1]), c = Middle(row[2]);
  const int nx = (b[1] - a[1]) * (c[2] - a[2]) - (b[2] - a[2]) * (c[1] - a[1]);
  EXPECT_LT(nx, 0);
}

TEST(MarchingCubesTables, PatchesAreOrientedDisksWithTheirBorderOnTheFaces) {
  for (int cubeCase = 0; cubeCase < 256; cubeCase++) {
    const std::vector<int> row = Row(cubeCase);
    std::set<std::pair<int, int>> sides;
    for (size_t t = 0; t < row.size(); t += 3)
      for (size_t i = 0; i < 3; i++)
        ASSERT_TRUE(sides.insert({row[t + i], row[t + (i + 1) % 3]}).second) << "a side twice in case " << cubeCase;
    std::map<Point, int> leaving, entering;
    for (const auto& [from, to] : Border(cubeCase)) {
      bool onFace = false;
      for (int axis = 0; axis < 3; axis++) onFace |= from[axis] == to[axis] && from[axis] != 1;
      ASSERT_TRUE(onFace) << "case " << cubeCase;
      leaving[from]++;
      entering[to]++;
    }
    for (int e = 0; e < 12; e++)
      if (edgeTable[cubeCase] >> e & 1) {
        ASSERT_EQ(leaving[Middle(e)], 1) << "case " << cubeCase << " edge " << e;
        ASSERT_EQ(entering[Middle(e)], 1) << "case " << cubeCase << " edge " << e;
      }
  }
}

// Two voxels that share a face draw the same segments on it, in opposite directions; also across an origin plane, where one of
// the two is traversed mirrored. This is what keeps the surface of any volume closed.
TEST(MarchingCubesTables, SegmentsOnASharedFaceCancel) {
  for (int axis = 0; axis < 3; axis++)
    for (int mirror : {-1, axis}) {
      std::map<int, std::multiset<Segment>> lowSide;  // by the bits of the shared corners
      for (int low = 0; low < 256; low++) {
        const int bits = FaceBits(low, axis, 1, mirror);
        const std::multiset<Segment> segments = OnFace(low, axis, 2, mirror);
        const auto [known, added] = lowSide.emplace(bits, segments);
        ASSERT_TRUE(added || known->second == segments) << "case " << low << " axis " << axis;
      }
      for (int high = 0; high < 256; high++) {
        std::multiset<Segment> reversed;
        for (const Segment& s : OnFace(high, axis, 0, -1)) reversed.insert({s.second, s.first});
        ASSERT_EQ(lowSide[FaceBits(high, axis, 0, -1)], reversed) << "case " << high << " axis " << axis << " mirror " << mirror;
      }
    }
}
