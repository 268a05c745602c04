#include "MC/StlExport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "MC/Dabs.h"
#include "MC/VolumeObject.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"

using comms::cVec3;

namespace {

struct StlFile {
  std::vector<uint8_t> Bytes;
  uint32_t Count = 0;
  struct Triangle {
    cVec3 Normal, Corners[3];
  };
  std::vector<Triangle> Triangles;
};

class StlExport : public testing::Test {
 protected:
  void SetUp() override {
    m_Folder = std::filesystem::temp_directory_path() / ("stl" + std::to_string(getpid()));
    std::filesystem::create_directories(m_Folder);
    ApplySphereDab(m_Volume, {3, 4, 5}, 20, {});
    ApplySphereDab(m_Volume, {20, 4, 5}, 9, {ApplySubtract, false, 0});
    m_Volume.EndStroke(false);
    m_Volume.RefreshChanges();
  }
  void TearDown() override { std::filesystem::remove_all(m_Folder); }
  std::string Path(const char* name) const { return (m_Folder / name).string(); }

  StlFile Write(const std::vector<const VolumeObject*>& volumes, bool swap = false) {
    std::string error;
    EXPECT_TRUE(ExportStl(volumes, Path("out.stl"), {swap}, error)) << error;
    StlFile stl;
    EXPECT_TRUE(comms::ReadWholeFile(Path("out.stl"), stl.Bytes, error)) << error;
    std::memcpy(&stl.Count, stl.Bytes.data() + 80, 4);
    EXPECT_EQ(stl.Bytes.size(), 84 + size_t(stl.Count) * 50) << "nothing follows the triangles";
    for (size_t at = 84; at + 50 <= stl.Bytes.size(); at += 50) {
      StlFile::Triangle triangle;
      std::memcpy(&triangle, &stl.Bytes[at], 48);
      stl.Triangles.push_back(triangle);
      EXPECT_EQ(stl.Bytes[at + 48] | stl.Bytes[at + 49] << 8, 2);
    }
    return stl;
  }

  std::filesystem::path m_Folder;
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
  const std::string header(stl.Bytes.begin(), stl.Bytes.begin() + 80);
  EXPECT_EQ(header.substr(0, 47), "BINARY STL WITH VOXEL DATA EXPORTD FROM Morvane");
  EXPECT_EQ(header.substr(47), std::string(32, '.') + "\n");

  for (const auto& t : stl.Triangles) {
    EXPECT_NEAR(Length(t.Normal), 1, 1e-5);
    // Normals of the file point outward, with the winding.
    const cVec3 flat = Cross(t.Corners[1] - t.Corners[0], t.Corners[2] - t.Corners[0]);
    if (Length(flat) > 0.02f) {
      EXPECT_GT(Dot(flat, t.Normal), 0);
    }
  }
  const double ball = 4.0 / 3 * M_PI * 20 * 20 * 20 / 8;
  EXPECT_GT(SignedVolume(stl), ball * 0.9);
  EXPECT_LT(SignedVolume(stl), ball);

  const StlFile swapped = Write({&m_Volume}, true);
  ASSERT_EQ(swapped.Count, stl.Count);
  for (size_t i = 0; i < stl.Triangles.size(); i++) {
    const auto& a = stl.Triangles[i];
    EXPECT_EQ(swapped.Triangles[i].Normal, (cVec3{a.Normal.x, a.Normal.z, -a.Normal.y}));
    EXPECT_EQ(swapped.Triangles[i].Corners[2], (cVec3{a.Corners[2].x, a.Corners[2].z, -a.Corners[2].y}));
  }
  EXPECT_NEAR(SignedVolume(swapped), SignedVolume(stl), 1e-3 * ball) << "turned, not mirrored";

  // A volume that came to be in another order gives the same bytes, and one without a surface none.
  m_Volume.SpaceMatrix = {};
  VolumeObject empty, grown;
  ApplySphereDab(grown, {3, 4, 5}, 8, {});
  ApplySphereDab(grown, {3, 4, 5}, 20, {});
  ApplySphereDab(grown, {20, 4, 5}, 9, {ApplySubtract, false, 0});
  grown.RefreshChanges();
  EXPECT_EQ(Write({&empty, &m_Volume}).Bytes, Write({&grown}).Bytes);
  EXPECT_EQ(Write({}).Count, 0u);
}

TEST_F(StlExport, FailureAndCancelLeaveTheOldFile) {
  const std::string path = Path("old.stl");
  std::ofstream(path) << "old content";
  const auto content = [&] {
    std::vector<uint8_t> bytes;
    std::string ignored;
    comms::ReadWholeFile(path, bytes, ignored);
    return std::string(bytes.begin(), bytes.end());
  };
  std::string error;
  struct Cancel : comms::ProgressSink {
    bool Show(double value, double maximum, const char*) override {
      EXPECT_LE(value, maximum);
      return false;
    }
  } cancel;
  comms::ProgressSink* sink = comms::SetProgressSink(&cancel);
  EXPECT_FALSE(ExportStl({&m_Volume}, path, {}, error));
  comms::SetProgressSink(sink);
  EXPECT_EQ(content(), "old content");

  EXPECT_FALSE(ExportStl({&m_Volume}, Path("no/such/folder/a.stl"), {}, error));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_Folder), {}), 1) << "no temporary file stays";
}
