#include "MC/room/RoomCommands.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <sstream>

#include "ClassEngine/ClassHelp.h"
#include "MC/StrokeFile.h"
#include "MC/VolumeChecks.h"
#include "comms/Image.h"
#include "comms/Log.h"
#include "shell/JsonReader.h"
#include "shell/core/BatchRunner.h"
#include "shell/core/GeneralCommands.h"

namespace fs = std::filesystem;
using namespace volumechecks;

namespace {

/// A scene with all commands on it, in a folder of its own.
class RoomCommandsTest : public testing::Test {
 protected:
  RoomCommandsTest()
      : m_Folder(fs::path(testing::TempDir()) /
                 ("Room" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()))),
        m_Scene(MORVANE_DATA_DIR) {
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder);
    SetEngineHost(&m_Messages);
    AddGeneralCommands(m_Table);
    AddRoomCommands(m_Table, m_Scene, m_Messages);
  }
  ~RoomCommandsTest() override {
    SetEngineHost(nullptr);
    fs::remove_all(m_Folder);
  }

  /// Runs lines; the last answer is in m_Answer. "@name" stands for a path in the test's folder.
  int Run(std::string text) {
    for (size_t at = text.find('@'); at != std::string::npos; at = text.find('@')) text.replace(at, 1, m_Folder.string() + "/");
    comms::LogRecorder log;
    std::ostringstream answers;
    std::istringstream input(text);
    const int code = BatchRunner(m_Table, m_Messages, answers).RunStream(input, "job");
    std::istringstream lines(answers.str());
    for (std::string line; std::getline(lines, line);) {
      m_Answer = {};
      EXPECT_TRUE(JsonReader::Read(line, m_Answer)) << line;
    }
    return code;
  }
  void WriteText(const char* name, const std::string& text) { std::ofstream(m_Folder / name, std::ios::binary) << text; }
  std::string ReadText(const char* name) {
    std::ifstream file(m_Folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /// Everything that a command can change.
  auto Content() const {
    std::map<std::string, SampleDump> volumes;
    for (const auto& volume : m_Scene.Volumes()) volumes[volume->Name] = DumpSamples(*volume, false);
    return std::pair(volumes, m_Scene.Current());
  }

  fs::path m_Folder;
  BatchMessages m_Messages;
  CommandTable m_Table;
  VoxelScene m_Scene;
  JsonValue m_Answer;
};

// A closed box as OBJ text, from -1 to 1.
constexpr char BoxObj[] =
    "v -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n"
    "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

TEST_F(RoomCommandsTest, HelpOfEveryCommandIsComplete) {
  std::string all = m_Table.DescribeAll();
  for (const Command& command : m_Table.All()) {
    SCOPED_TRACE(command.Name);
    EXPECT_TRUE(std::isupper(command.Name[0]));
    EXPECT_EQ(command.Name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"), std::string::npos);
    EXPECT_EQ(command.Help.back(), '.');
    EXPECT_NE(all.find("\n" + command.Name + "\n"), all.find(command.Name) == 0 ? 0 : std::string::npos);
    const auto parameters = command.MakeParameters();
    const std::vector<MemberInfo> members = DescribeMembers(*parameters);
    for (const MemberInfo& member : members) {
      SCOPED_TRACE(member.Name);
      EXPECT_FALSE(member.Hint.empty());
      EXPECT_NE(m_Table.DescribeCommand(command).find(" " + member.Name + "="), std::string::npos);
      EXPECT_EQ(m_Table.ListCommand(command).Text().find("\"type\": \"value\""), std::string::npos)
          << "a type without a word for it";
      std::string error;
      EXPECT_TRUE(SetMemberFromText(*parameters, member.Name, member.Default, error)) << "the default is refused: " << error;
    }
    for (const std::string& name : command.Required)
      EXPECT_TRUE(std::any_of(members.begin(), members.end(), [&](const MemberInfo& m) { return m.Name == name; })) << name;
    JsonValue listed;
    EXPECT_TRUE(JsonReader::Read(m_Table.ListCommand(command).Text(), listed));
    EXPECT_EQ(listed["parameters"].Items.size(), members.size());
  }
}

// A value that its declaration does not allow ends in exit code 2 with the parameter's name, and the scene is as it was.
TEST_F(RoomCommandsTest, BadValuesOfEveryParameterAreRefused) {
  ASSERT_EQ(Run("NewVolume Name=v VoxelSize=0.1\nDab Center=\"1 0 0\" Radius=1"), 0);
  const auto before = Content();
  for (const Command& command : m_Table.All()) {
    std::string required;
    for (const std::string& name : command.Required) required += " " + name + "=" + (name == "Center" ? "\"0 0 0\"" : "1");
    for (const MemberInfo& member : DescribeMembers(*command.MakeParameters())) {
      std::vector<std::string> bad;
      if (member.Type == "_bool") bad = {"maybe", "2", ""};
      if (member.Type == "_index") bad = {"bogus", ""};
      if (member.Type == "_int") bad = {"x", "1.5", "99999999999", "", "0x10"};
      if (member.Type == "_float") bad = {"x", "nan", "inf", "-inf", "1e999", "1,5", "1 2", ""};
      if (member.Type == "_cFloat3") bad = {"1 2", "1 2 3 4", "1 2 nan", "a b c", ""};
      if (member.HasRange) {
        bad.push_back(JsonNumber(member.MinValue - 1));
        bad.push_back(JsonNumber(member.MaxValue * 2 + 1));
      }
      for (const std::string& value : bad) {
        std::string line = command.Name;
        for (const std::string& name : command.Required)
          if (name != member.Name) line += " " + name + "=" + (name == "Center" ? "\"0 0 0\"" : "1");
        line += " " + member.Name + "=" + (value.empty() ? "\"\"" : QuoteBatchValue(value));
        EXPECT_EQ(Run(line), 2) << line;
        EXPECT_NE(m_Answer["error"].String.find(member.Name), std::string::npos) << line << ": " << m_Answer["error"].String;
      }
    }
    if (!command.Required.empty()) {
      EXPECT_EQ(Run(command.Name), 2) << "without what it needs";
    }
    EXPECT_EQ(Run(command.Name + required + " Bogus=1"), 2);
  }
  EXPECT_TRUE(Content() == before);
}

// Whatever can't be done or read or written leaves the scene, and the files that were there, as they were.
TEST_F(RoomCommandsTest, FailuresChangeNothing) {
  WriteText("box.obj", BoxObj);
  WriteText("empty.obj", "");
  WriteText("garbage.obj", std::string("\x01\x02\xFF\x00obj\n\xFEv f", 12));
  WriteText("nopolygons.obj", "v 1 2 3\n");
  WriteText("wild.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n");
  WriteText("bad.stroke", "tool Segment\nsample 1 2\n");
  WriteText("stamp.stroke", "tool Stamp\nstamp v\nsample 0 0 0 0 0 1 1 1 1\n");
  WriteText("far.stroke", "sample 1e8 0 0 0 0 1 1 1 1\n");
  WriteText("old.obj", "old");
  WriteText("file", "");
  ASSERT_EQ(Run("ImportMesh File=@box.obj\nNewVolume Name=v VoxelSize=0.1\nDab Center=\"1 0 0\" Radius=1\nNewVolume Name=empty\n"
                "SelectVolume Name=v"),
            0);
  const auto before = Content();
  const struct {
    const char* Line;
    int Code;
  } cases[] = {
      {"ImportMesh File=@none.obj", 3},
      {"ImportMesh File=@empty.obj", 3},
      {"ImportMesh File=@garbage.obj", 3},
      {"ImportMesh File=@nopolygons.obj", 3},
      {"ImportMesh File=@wild.obj", 3},
      {"ImportMesh File=@box.unknown", 3},
      {"ImportMesh File=@", 3},
      {"Validate File=@none.obj", 3},
      {"Stroke File=@none.stroke", 3},
      {"Stroke File=@bad.stroke", 3},
      {"Stroke File=@stamp.stroke", 1},
      {"Stroke File=@far.stroke", 1},
      {"Stroke File=@far.stroke Volume=none", 1},
      {"Stroke File=@stamp.stroke Volume=empty Project=true", 1},
      {"Dab Center=\"0 0 0\" Radius=1 Volume=none", 1},
      {"Dab Center=\"0 0 0\" Radius=1e5", 1},
      {"Dab Center=\"1e9 0 0\" Radius=1", 1},
      {"Dab Center=\"0 0 0\" Radius=90 Tool=Sphere", 1},
      {"Dab Center=\"0 0 0\" Radius=1 Tool=Sphere End=\"1 1 1\"", 2},
      {"Dab Center=\"0 0 0\" Radius=1 Tool=Carve Normal=\"0 0 0\"", 2},
      {"NewVolume Name=v", 1},
      {"NewVolume Name=\"\"", 1},
      {"NewVolume Name=a/b", 1},
      {"SelectVolume Name=none", 1},
      {"DeleteVolume Name=none", 1},
      {"DeleteVolume Name=\"\"", 1},
      {"Report Volume=none", 1},
      {"Polygonize Volume=none", 1},
      {"Render File=@none.png Volume=empty", 1},
      {"ExportMesh File=@old.obj Volume=empty", 1},
      {"ExportStl File=@old.obj Volume=empty", 1},
      {"ExportMesh File=@no/such/folder/a.obj", 4},
      {"ExportMesh File=@file/a.obj", 4},
      {"ExportMesh File=@a.unknown", 4},
      {"ExportStl File=@no/such/folder/a.stl", 4},
      {"ExportStl File=@", 4},
      {"Render File=@no/such/folder/a.png Width=64 Height=64", 4},
      {"Help Command=Bogus", 1},
      {"Voxelize Name=w Resolution=16384", 1},
      {"Voxelize Name=v Resolution=32", 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Run(c.Line), c.Code) << c.Line << ": " << m_Answer["error"].String;
    EXPECT_FALSE(m_Answer["error"].String.empty()) << c.Line;
  }
  EXPECT_TRUE(Content() == before);
  EXPECT_LT(m_Scene.Current()->Cells.Count(), 1000u) << "a dab that was too large left its cells behind";
  EXPECT_EQ(ReadText("old.obj"), "old");
  EXPECT_FALSE(fs::exists(m_Folder / "no"));
  ASSERT_TRUE(m_Scene.Mesh());
  EXPECT_EQ(m_Scene.MeshName(), "box") << "the mesh that was there is still the one";
}

// A ball by a dab: the figures of Report are in world units, and what they count is what there is.
TEST_F(RoomCommandsTest, DabsHaveTheFiguresThatTheirShapesTell) {
  constexpr double voxel = 0.05, pi = std::numbers::pi;
  ASSERT_EQ(Run("NewVolume Name=ball VoxelSize=0.05\nDab Center=\"0.3 0 0\" Radius=1\nReport"), 0) << m_Answer["error"].String;
  EXPECT_NEAR(m_Answer["volume"].Number, 4 / 3.0 * pi, pi * voxel);
  EXPECT_NEAR(m_Answer["bounds"]["max"].Items[0].Number, 1.3, voxel / 2);
  EXPECT_EQ(m_Answer["genus"].Number + m_Answer["boundaryEdges"].Number + m_Answer["nonManifoldEdges"].Number, 0);
  // A closed surface of triangles without handles has V - F / 2 = 2.
  EXPECT_EQ(m_Answer["vertices"].Number - m_Answer["triangles"].Number / 2, 2);
  double bytes = 0;
  for (const auto& [name, value] : m_Answer["bytes"].Fields) bytes += name == "total" ? 0 : value.Number;
  EXPECT_EQ(bytes, m_Answer["bytes"]["total"].Number);

  // Subtract, symmetry and intersection on the same ball.
  ASSERT_EQ(Run("Dab Center=\"0 0 0\" Radius=0.3 Mode=1\nReport"), 0);
  EXPECT_EQ(m_Answer["components"].Number, 2) << "a hollow has a surface of its own";
  ASSERT_EQ(Run("NewVolume Name=two VoxelSize=0.05\nDab Center=\"2 0 0\" Radius=0.5 Symmetry=xy\nReport"), 0);
  EXPECT_EQ(m_Answer["components"].Number, 2);
  EXPECT_EQ(m_Answer["bounds"]["min"].Items[0].Number, -m_Answer["bounds"]["max"].Items[0].Number) << "to the last bit";
  ASSERT_EQ(Run("Dab Center=\"2 0 0\" Radius=0.7 Mode=2\nReport"), 0);
  EXPECT_EQ(m_Answer["components"].Number, 1);
}

// A box and a ball whose common volume is known: a new volume, then merged into the ball in the three modes.
TEST_F(RoomCommandsTest, MeshBecomesAVolumeOrIsMergedIntoOne) {
  WriteText("box.obj", BoxObj);
  ASSERT_EQ(Run("ImportMesh File=@box.obj"), 0) << m_Answer["error"].String;
  EXPECT_EQ(m_Answer["polygons"].Number, 6);
  EXPECT_EQ(m_Answer["triangles"].Number, 12);
  EXPECT_EQ(m_Answer["bounds"]["max"].Items[2].Number, 1);
  ASSERT_EQ(Run("Voxelize VoxelSize=0.05"), 0) << m_Answer["error"].String;
  EXPECT_EQ(m_Answer["name"].String, "box");
  EXPECT_EQ(m_Answer["resolution"].Number, 40);
  EXPECT_EQ(m_Answer["raysSkipped"].Number, 0);
  ASSERT_EQ(Run("Voxelize Name=other Resolution=40\nReport"), 0);
  EXPECT_NEAR(m_Answer["voxelSize"].Number, 0.05, 1e-6);
  EXPECT_NEAR(m_Answer["volume"].Number, 8, 24 * 0.05 / 4);

  constexpr double radius = 1.2, pi = std::numbers::pi, depth = radius - 1;
  constexpr double ball = 4 / 3.0 * pi * radius * radius * radius, caps = 6 * pi * depth * depth * (3 * radius - depth) / 3;
  const double expected[] = {8 + caps, caps, ball - caps};
  const double pieces[] = {1, 6, 1};
  for (int mode = 0; mode < 3; ++mode) {
    ASSERT_EQ(Run("NewVolume Name=ball VoxelSize=0.05 Replace=true\nDab Center=\"0 0 0\" Radius=1.2\nVoxelize Into=ball Mode=" +
                  std::to_string(mode) + "\nReport"),
              0)
        << m_Answer["error"].String;
    EXPECT_NEAR(m_Answer["volume"].Number, expected[mode], 0.25) << mode;
    EXPECT_EQ(m_Answer["components"].Number, pieces[mode]) << mode;
    EXPECT_EQ(m_Answer["boundaryEdges"].Number, 0);
    ASSERT_EQ(Run("Undo\nReport"), 0) << "merging is a step of its own";
    EXPECT_NEAR(m_Answer["volume"].Number, ball, 0.25) << mode;
    ASSERT_EQ(Run("Undo\nReport"), 0);
    EXPECT_EQ(m_Answer["triangles"].Number, 0);
  }
  for (const char* line : {"Voxelize Into=ball Name=x", "Voxelize Into=ball Resolution=64", "Voxelize Mode=1",
                           "Voxelize Name=x VoxelSize=1 Resolution=64"})
    EXPECT_EQ(Run(line), 2) << line;

  // The same box without its lid is still solid, and tells that rays were lost.
  WriteText("open.obj", std::string(BoxObj).substr(0, std::string(BoxObj).find("f 4 3 2 1")) +
                            "f 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n");
  ASSERT_EQ(Run("ImportMesh File=@open.obj\nVoxelize Resolution=40"), 0) << m_Answer["error"].String;
  EXPECT_GT(m_Answer["raysSkipped"].Number, 1000);
  ASSERT_EQ(Run("Report"), 0);
  EXPECT_EQ(m_Answer["boundaryEdges"].Number, 0);
}

// Every line of every sample is understood by the commands as they are now, and the strokes that it names can be read.
TEST_F(RoomCommandsTest, SamplesAreUnderstood) {
  size_t lines = 0;
  for (const auto& entry : fs::directory_iterator(MORVANE_DATA_DIR "/Samples")) {
    if (entry.path().extension() != ".batch") continue;
    std::ifstream file(entry.path());
    for (std::string text; std::getline(file, text);) {
      SCOPED_TRACE(entry.path().filename().string() + ": " + text);
      BatchLine line;
      std::string error;
      ASSERT_TRUE(ParseBatchLine(text, line, error)) << error;
      if (line.Name.empty()) continue;
      const Command* command = m_Table.Find(line.Name);
      ASSERT_TRUE(command);
      EXPECT_TRUE(m_Table.ReadParameters(*command, line.Arguments, error)) << error;
      ++lines;
      if (line.Name != "Stroke") continue;
      std::vector<Stroke> strokes;
      EXPECT_TRUE(ReadStrokeFile((entry.path().parent_path() / line.Arguments[0].Value).string(), strokes, error)) << error;
    }
  }
  EXPECT_GE(lines, 10u);
}

TEST_F(RoomCommandsTest, VolumesAreNamedSelectedAndDeleted) {
  ASSERT_EQ(Run("NewVolume Name=a\nNewVolume Name=b\nDab Volume=a Center=\"0 0 0\" Radius=0.1\nReport"), 0);
  EXPECT_EQ(m_Answer["cells"].Number, 0) << "b is current and empty";
  ASSERT_EQ(Run("SelectVolume Name=a\nReport"), 0);
  EXPECT_GT(m_Answer["cells"].Number, 0);
  ASSERT_EQ(Run("NewVolume Name=a Replace=true VoxelSize=2\nListVolumes"), 0);
  ASSERT_EQ(m_Answer["volumes"].Items.size(), 2u);
  EXPECT_EQ(m_Answer["volumes"].Items[0]["voxelSize"].Number, 2);
  ASSERT_EQ(Run("DeleteVolume Name=a\nListVolumes"), 0);
  ASSERT_EQ(m_Answer["volumes"].Items.size(), 1u);
  EXPECT_TRUE(m_Answer["volumes"].Items[0]["current"].Bool);
  EXPECT_EQ(Run("NewVolume Name=b"), 1);
  EXPECT_EQ(m_Answer["messages"].Items.size(), 1u) << "replacing is asked for, and refused without a person";
  ASSERT_EQ(Run("DeleteVolume Name=b"), 0);
  EXPECT_EQ(Run("Report"), 1);
}

// A stroke written for the unit box lands on the surface of any volume; what misses it is counted.
TEST_F(RoomCommandsTest, ProjectedStrokeLandsOnTheSurface) {
  WriteText("bumps.stroke", "tool Sphere\nsample 0 0 0  0 0 1  0.2 1 1\nstroke\nsample 0.99 0.99 0  0 0 1  0.2 1 1\n");
  ASSERT_EQ(Run("NewVolume Name=ball VoxelSize=0.5\nDab Center=\"40 10 -70\" Radius=20\n"
                "Stroke File=@bumps.stroke Space=Box Project=true"),
            0)
      << m_Answer["error"].String;
  EXPECT_EQ(m_Answer["samplesMissed"].Number, 1);
  ASSERT_EQ(Run("Report"), 0);
  // A ball of radius 0.2 * 20 about the foremost point.
  EXPECT_NEAR(m_Answer["bounds"]["max"].Items[2].Number, -70 + 20 + 4, 0.5);
  EXPECT_NEAR(m_Answer["bounds"]["max"].Items[0].Number, 40 + 20, 0.5);
}

// The picture shows the solid: bright and varied in the middle, background at the corners.
TEST_F(RoomCommandsTest, RenderShowsTheSolid) {
  ASSERT_EQ(Run("NewVolume Name=ball VoxelSize=0.1\nDab Center=\"5 0 0\" Radius=1"), 0);
  if (Run("Render File=@{Name}.png Width=96 Height=64") == 1 && m_Answer["error"].String.find("EGL") != std::string::npos)
    GTEST_SKIP() << m_Answer["error"].String;
  ASSERT_TRUE(m_Answer["ok"].Bool) << m_Answer["error"].String;
  comms::cImage image;
  std::string error;
  ASSERT_TRUE(comms::LoadPng((m_Folder / "ball.png").string(), image, error)) << error;
  ASSERT_EQ(image.Width(), 96);
  ASSERT_EQ(image.Height(), 64);
  const auto brightness = [&](int x, int y) { return image.Pixel(x, y)[0] + image.Pixel(x, y)[1] + image.Pixel(x, y)[2]; };
  for (const auto& [x, y] : {std::pair{2, 2}, {93, 2}, {2, 61}, {93, 61}}) EXPECT_LT(brightness(x, y), brightness(48, 32) / 2);
  // Framed: the ball of known place fills the height and leaves the sides free.
  EXPECT_GT(brightness(48, 6), brightness(2, 6));
  EXPECT_NEAR(m_Answer["target"].Items[0].Number, 5, 0.1);
}

}  // namespace
