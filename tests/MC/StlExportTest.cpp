#include "MC/StlExport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "MC/Dabs.h"
#include "MC/VolumeChecks.h"
#include "shell/TestFolder.h"

using comms::cVec3;

namespace {

struct Triangle {
  cVec3 Normal, Corners[3];
};
struct StlFile {
  std::string Bytes;
  std::vector<Triangle> Triangles;
};

class StlExport : public testing::Test {
 protected:
  StlExport() {
    ApplySphereDab(m_Volume, {3, 4, 5}, 20, {});
    ApplySphereDab(m_Volume, {20, 4, 5}, 9, {ApplySubtract, false, 0});
    m_Volume.EndStroke(false);
    m_Volume.RefreshChanges();
  }
  StlFile Write(const std::vector<const VolumeObject*>& volumes, bool swap = false) {
    std::string error;
    EXPECT_TRUE(ExportStl(volumes, m_Folder.Path("out.stl"), {swap}, error)) << error;
    StlFile stl{m_Folder.Read("out.stl"), {}};
    uint32_t count = 0;
    std::memcpy(&count, stl.Bytes.data() + 80, 4);
    EXPECT_EQ(stl.Bytes.size(), 84 + size_t(count) * 50) << "nothing follows the triangles";
    for (size_t at = 84; at + 50 <= stl.Bytes.size(); at += 50) {
      std::memcpy(&stl.Triangles.emplace_back(), &stl.Bytes[at], 48);
      EXPECT_EQ(stl.Bytes.substr(at + 48, 2), std::string("\2\0", 2));
    }
    return stl;
  }

  TestFolder m_Folder{"stl"};
  VolumeObject m_Volume;
};

double SignedVolume(const StlFile& stl) {
  double volume = 0;
  for (const auto& t : stl.Triangles) volume += double(Dot(t.Corners[0], Cross(t.Corners[1], t.Corners[2]))) / 6;
  return volume;
}

}  // namespace

TEST_F(StlExport, FileHoldsTheClosedSurfaceInWorldUnits) {
  m_Volume.SpaceMatrix = {{{0, 0.5f, 0, 0}, {-0.5f, 0, 0, 0}, {0, 0, 0.5f, 0}, {10, 20, 30, 1}}};
  const StlFile stl = Write({&m_Volume});
  EXPECT_EQ(stl.Bytes.substr(0, 80), "BINARY STL WITH VOXEL DATA EXPORTD FROM Morvane" + std::string(32, '.') + "\n");
  for (const auto& t : stl.Triangles) {
    EXPECT_NEAR(Length(t.Normal), 1, 1e-5);
    // Normals of the file point outward, with the winding.
    const cVec3 flat = Cross(t.Corners[1] - t.Corners[0], t.Corners[2] - t.Corners[0]);
    EXPECT_TRUE(Length(flat) <= 0.02f || Dot(flat, t.Normal) > 0);
  }
  const double ball = 4.0 / 3 * M_PI * 20 * 20 * 20 / 8;
  EXPECT_GT(SignedVolume(stl), ball * 0.9);
  EXPECT_LT(SignedVolume(stl), ball);

  const StlFile swapped = Write({&m_Volume}, true);
  ASSERT_EQ(swapped.Triangles.size(), stl.Triangles.size());
  for (size_t i = 0; i < stl.Triangles.size(); i++) {
    const auto& a = stl.Triangles[i];
    EXPECT_EQ(swapped.Triangles[i].Normal, (cVec3{a.Normal.x, a.Normal.z, -a.Normal.y}));
    EXPECT_EQ(swapped.Triangles[i].Corners[2], (cVec3{a.Corners[2].x, a.Corners[2].z, -a.Corners[2].y}));
  }

  const VolumeObject empty;
  EXPECT_EQ(Write({&empty, &m_Volume}).Bytes, stl.Bytes);
  EXPECT_TRUE(Write({}).Triangles.empty());
}

TEST_F(StlExport, FailureAndCancelLeaveTheOldFile) {
  m_Folder.Write("old.stl", "old content");
  std::string error;
  {
    const volumechecks::Canceller atOnce(0);
    EXPECT_FALSE(ExportStl({&m_Volume}, m_Folder.Path("old.stl"), {}, error));
  }
  EXPECT_EQ(m_Folder.Read("old.stl"), "old content");
  EXPECT_FALSE(ExportStl({&m_Volume}, m_Folder.Path("no/such/folder/a.stl"), {}, error));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_Folder.Path()), {}), 1) << "no temporary file stays";
}
