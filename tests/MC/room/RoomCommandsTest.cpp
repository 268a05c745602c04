#include "MC/room/RoomCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <numbers>
#include <sstream>

#include "ClassEngine/ClassHelp.h"
#include "MC/StrokeFile.h"
#include "MC/VolumeChecks.h"
#include "comms/Image.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "shell/ParseJson.h"
#include "shell/TestFolder.h"
#include "shell/core/BatchRunner.h"
#include "shell/core/GeneralCommands.h"

using volumechecks::DumpSamples;

namespace {

/// A scene with all commands on it, in a folder of its own.
class RoomCommandsTest : public testing::Test {
 protected:
  RoomCommandsTest() {
    SetEngineHost(&m_Messages);
    AddGeneralCommands(m_Table);
    AddRoomCommands(m_Table, m_Scene, m_Messages);
  }
  ~RoomCommandsTest() override { SetEngineHost(nullptr); }

  /// Runs lines; the last answer is in m_Answer. "@name" stands for a path in the test's folder.
  int Run(std::string text) {
    for (size_t at = text.find('@'); at != std::string::npos; at = text.find('@')) text.replace(at, 1, m_Folder.Path());
    comms::LogRecorder log;
    std::ostringstream answers;
    std::istringstream input(text);
    const int code = BatchRunner(m_Table, m_Messages, answers).RunStream(input, "job");
    std::istringstream lines(answers.str());
    for (std::string line; std::getline(lines, line);) m_Answer = ParseJson(line);
    return code;
  }
  std::string Error() const { return m_Answer.value("error", ""); }
  /// One line whose command is cancelled at its question number `asked`, from 0.
  CommandResult RunCancelled(const std::string& text, int asked) {
    BatchLine line;
    std::string error;
    EXPECT_TRUE(ParseBatchLine(text, line, error)) << error;
    const Command* command = m_Table.Find(line.Name);
    const auto parameters = m_Table.ReadParameters(*command, line.Arguments, error);
    const volumechecks::Canceller canceller(asked);
    return command->Run(*parameters);
  }

  /// Everything that a command can change.
  auto Content() const {
    std::map<std::string, volumechecks::SampleDump> volumes;
    for (const auto& volume : m_Scene.Volumes()) volumes[volume->Name] = DumpSamples(*volume, false);
    return std::pair(volumes, m_Scene.Current());
  }

  TestFolder m_Folder{"Room"};
  BatchMessages m_Messages;
  CommandTable m_Table;
  VoxelScene m_Scene{MORVANE_DATA_DIR};
  nlohmann::json m_Answer;
};

// A closed box as OBJ text, from -1 to 1.
constexpr char BoxObj[] =
    "v -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n"
    "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

// What every parameter of every command takes, and what it refuses. That a refusal stops the command and names the parameter
// shows in BatchRunnerTest.KindOfFailureDecidesTheExitCode.
TEST_F(RoomCommandsTest, CommandsAreToldAndTakeWhatTheyTell) {
  const std::map<std::string, std::vector<std::string>> badOf = {
      {"_bool", {"maybe", "2", ""}},
      {"_index", {"bogus", ""}},
      {"_int", {"x", "1.5", "99999999999", "", "0x10"}},
      {"_float", {"x", "nan", "inf", "-inf", "1e999", "1,5", "1 2", ""}},
      {"_cFloat3", {"1 2", "1 2 3 4", "1 2 nan", "a b c", ""}},
  };
  for (const Command& command : m_Table.All()) {
    SCOPED_TRACE(command.Name);
    EXPECT_THAT(command.Name, testing::MatchesRegex("[A-Z][A-Za-z]*"));
    EXPECT_EQ(command.Help.back(), '.');
    const auto parameters = command.MakeParameters();
    const std::vector<MemberInfo> members = DescribeMembers(*parameters);
    const std::string listed = m_Table.ListCommand(command).Text();
    EXPECT_EQ(ParseJson(listed)["parameters"].size(), members.size());
    EXPECT_THAT(listed, testing::Not(testing::HasSubstr("\"type\": \"value\""))) << "a type without a word for it";
    for (const MemberInfo& member : members) {
      SCOPED_TRACE(member.Name);
      EXPECT_FALSE(member.Hint.empty());
      EXPECT_THAT(m_Table.DescribeCommand(command), testing::HasSubstr(" " + member.Name + "="));
      std::vector<std::string> bad;
      if (const auto kind = badOf.find(member.Type); kind != badOf.end()) bad = kind->second;
      if (member.HasRange) bad.insert(bad.end(), {JsonNumber(member.MinValue - 1), JsonNumber(member.MaxValue * 2 + 1)});
      std::string error;
      for (const std::string& value : bad) EXPECT_FALSE(SetMemberFromText(*parameters, member.Name, value, error)) << value;
      EXPECT_TRUE(SetMemberFromText(*parameters, member.Name, member.Default, error)) << "the default is refused: " << error;
    }
    if (!command.Required.empty()) {
      EXPECT_EQ(Run(command.Name), 2) << "without what it needs";
    }
  }
}

// Whatever can't be done or read or written leaves the scene, and the files that were there, as they were.
TEST_F(RoomCommandsTest, FailuresChangeNothing) {
  m_Folder.Write("box.obj", BoxObj);
  m_Folder.Write("wild.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n");
  m_Folder.Write("nan.obj", "v 0 0 0\nv 1 nan 0\nv 0 1 0\nf 1 2 3\n");
  m_Folder.Write("bad.stroke", "tool Segment\nsample 1 2\n");
  m_Folder.Write("stamp.stroke", "tool Stamp\nstamp v\nsample 0 0 0 0 0 1 1 1 1\n");
  m_Folder.Write("far.stroke", "sample 1e8 0 0 0 0 1 1 1 1\n");
  m_Folder.Write("long.stroke", "tool Sphere\nsample 0 0 1 0 0 1 0.1 1 0\nsample 450000 0 1 0 0 1 0.1 1 0\n");
  m_Folder.Write("old.obj", "old");
  ASSERT_EQ(Run("ImportMesh File=@box.obj\nNewVolume Name=v VoxelSize=0.1\nDab Center=\"1 0 0\" Radius=1\nNewVolume Name=empty\n"
                "SelectVolume Name=v"),
            0);
  const auto before = Content();
  const std::pair<const char*, int> cases[] = {
      {"ImportMesh File=@none.obj", 3},
      {"ImportMesh File=@wild.obj", 3},
      {"ImportMesh File=@wild.obj;@box.obj", 3},
      {"ImportMesh File=@box.obj;@nan.obj", 3},
      {"Stroke File=@bad.stroke", 3},
      {"Stroke File=@stamp.stroke", 1},
      {"Stroke File=@far.stroke", 1},
      {"Stroke File=@long.stroke", 1},
      {"Stroke File=@stamp.stroke Volume=empty Project=true", 1},
      {"Dab Center=\"0 0 0\" Radius=1 Volume=none", 1},
      {"Dab Center=\"0 0 0\" Radius=1e5", 1},
      {"Dab Center=\"1e9 0 0\" Radius=1", 1},
      {"Dab Center=\"0 0 0\" Radius=90 Tool=Sphere", 1},
      {"Dab Center=\"0 0 0\" Radius=1 Tool=Sphere End=\"1 1 1\"", 2},
      {"Dab Center=\"0 0 0\" Radius=1 Tool=Sphere Radius2=0.4", 2},
      {"Dab Center=\"0 0 0\" Radius=1 Tool=Segment End=\"1 1 1\" Height=3", 2},
      {"Dab Center=\"0 0 0\" Radius=1 Tool=Carve Radius2=2", 2},
      {"Dab Center=\"0 0 0\" Radius=1 Tool=Carve Normal=\"0 0 0\"", 2},
      {"NewVolume Name=v", 1},
      {"NewVolume Name=a/b", 1},
      {"SelectVolume Name=none", 1},
      {"Report Volume=none", 1},
      {"Render File=@none.png Volume=empty", 1},
      {"ExportMesh File=@old.obj Volume=empty", 1},
      {"ExportMesh File=@old.obj/in/a.obj", 4},
      {"ExportMesh File=@a.unknown", 4},
      {"ExportStl File=@none.stl Volume=empty", 1},
      {"ExportStl File=@old.obj/in/a.stl", 4},
      {"ExportStl File=@none.obj", 2},
      {"Render File=@none.jpg", 2},
      {"Voxelize Name=w Resolution=16384", 1},
      {"Voxelize Name=v Resolution=32", 1},
      {"Voxelize Into=v Name=x", 2},
      {"Voxelize Into=v Resolution=64", 2},
      {"Voxelize Mode=1", 2},
      {"Voxelize Name=x VoxelSize=1 Resolution=64", 2},
  };
  for (const auto& [line, code] : cases) {
    EXPECT_EQ(Run(line), code) << line << ": " << Error();
    EXPECT_NE(Error(), "") << line;
  }
  EXPECT_TRUE(Content() == before);
  EXPECT_LT(m_Scene.Current()->Cells.Count(), 1000u) << "a dab that was too large left its cells behind";
  EXPECT_EQ(m_Folder.Read("old.obj"), "old");
  EXPECT_FALSE(m_Folder.Has("none.obj") || m_Folder.Has("none.stl") || m_Folder.Has("none.jpg"));
  EXPECT_TRUE(m_Scene.Mesh() && m_Scene.MeshName() == "box") << "the mesh that was there is still the one";
  Run("ImportMesh File=@box.obj;@nan.obj");
  EXPECT_EQ(Error(), m_Folder.Path("nan.obj") + ", line 2: the vertex is \"1 nan 0\", three finite numbers are expected");
  m_Folder.Write("words.obj", "v nan 0 0\nv 0 0 x\n");
  m_Folder.Write("zero.obj", std::string(5000, '\0'));
  const struct {
    const char* Files;
    int Faults;
    const char* First;
  } faulty[] = {{"@nan.obj;@wild.obj", 2, "nan.obj, line 2"},
                {"@words.obj", 2, "words.obj, line 1"},
                {"@zero.obj", 1, "holds neither vertices nor polygons"},
                {"@box.obj;@none.obj", 1, "none.obj"}};
  for (const auto& c : faulty) {
    ASSERT_EQ(Run(std::string("Validate File=") + c.Files), 0);
    EXPECT_EQ(m_Answer["faults"], c.Faults) << c.Files;
    EXPECT_THAT(m_Answer["first"], testing::HasSubstr(c.First));
  }
}

// A box and a ball whose common volume is known: a new volume, then merged into the ball in the three modes.
TEST_F(RoomCommandsTest, MeshBecomesAVolumeOrIsMergedIntoOne) {
  m_Folder.Write("box.obj", BoxObj);
  ASSERT_EQ(Run("ImportMesh File=@box.obj"), 0) << Error();
  EXPECT_EQ(m_Answer["bounds"]["max"][2], 1);
  ASSERT_EQ(Run("Voxelize VoxelSize=0.05"), 0) << Error();
  EXPECT_EQ(m_Answer["resolution"], 40);
  m_Folder.Write("..obj", std::string(BoxObj) + "v 900 0 0\n");  // a vertex that no polygon uses is no part of its size
  ASSERT_EQ(Run("ImportMesh File=@..obj\nVoxelize Resolution=64"), 0) << Error();
  EXPECT_EQ(m_Answer["resolution"], 64);
  EXPECT_EQ(m_Answer["name"], "mesh") << "where the file's can't be a volume's";
  std::string umlauts;
  for (int i = 0; i < 120; ++i) umlauts += "\u00E4";
  m_Folder.Write("x" + umlauts + ".obj", BoxObj);
  ASSERT_EQ(Run("ImportMesh File=@x" + umlauts + ".obj\nVoxelize Name=coarse VoxelSize=1e6"), 0) << Error();
  EXPECT_EQ(m_Scene.MeshName(), "x" + umlauts.substr(0, 198)) << "as long as a volume's name may be, in whole characters";
  EXPECT_EQ(m_Answer["resolution"], 1);
  ASSERT_EQ(Run("Voxelize Name=other Resolution=40\nReport"), 0);
  EXPECT_NEAR(m_Answer["voxelSize"], 0.05, 1e-6);
  EXPECT_NEAR(m_Answer["volume"], 8, 24 * 0.05 / 4);

  constexpr double radius = 1.2, pi = std::numbers::pi, depth = radius - 1;
  constexpr double ball = 4 / 3.0 * pi * radius * radius * radius, caps = 6 * pi * depth * depth * (3 * radius - depth) / 3;
  const double expected[] = {8 + caps, caps, ball - caps};
  const double pieces[] = {1, 6, 1};
  for (int mode = 0; mode < 3; ++mode) {
    ASSERT_EQ(Run("NewVolume Name=ball VoxelSize=0.05 Replace=true\nDab Center=\"0 0 0\" Radius=1.2\nVoxelize Into=ball Mode=" +
                  std::to_string(mode) + "\nReport"),
              0)
        << Error();
    EXPECT_NEAR(m_Answer["volume"], expected[mode], 0.25) << mode;
    EXPECT_EQ(m_Answer["components"], pieces[mode]) << mode;
    EXPECT_EQ(m_Answer["boundaryEdges"], 0);
    ASSERT_EQ(Run("Undo\nReport"), 0) << "merging is a step of its own";
    EXPECT_NEAR(m_Answer["volume"], ball, 0.25) << mode;
    ASSERT_EQ(Run("Undo\nReport"), 0);
    EXPECT_EQ(m_Answer["triangles"], 0);
  }
}

TEST_F(RoomCommandsTest, ReportCountsAllBytesAndMirroredDabs) {
  ASSERT_EQ(Run("NewVolume Name=two VoxelSize=0.05\nDab Center=\"2 0 0\" Radius=0.5 Symmetry=xy\nReport"), 0);
  EXPECT_EQ(m_Answer["components"], 2);
  EXPECT_EQ(m_Answer["bounds"]["min"][0], -m_Answer["bounds"]["max"][0].get<double>()) << "to the last bit";
  double bytes = 0;
  for (const auto& [name, value] : m_Answer["bytes"].items()) bytes += name == "total" ? 0 : value.get<double>();
  EXPECT_EQ(bytes, m_Answer["bytes"]["total"]);
}

// Every line of every sample is understood by the commands as they are now, and the strokes that it names can be read.
TEST_F(RoomCommandsTest, SamplesAreUnderstood) {
  size_t lines = 0;
  for (const auto& entry : std::filesystem::directory_iterator(MORVANE_DATA_DIR "/Samples")) {
    if (entry.path().extension() != ".batch") continue;
    std::ifstream file(entry.path());
    for (std::string text; std::getline(file, text);) {
      SCOPED_TRACE(entry.path().filename().string() + ": " + text);
      BatchLine line;
      std::string error;
      ASSERT_TRUE(ParseBatchLine(text, line, error)) << error;
      if (line.Name.empty()) continue;
      const Command* command = m_Table.Find(line.Name);
      ASSERT_TRUE(command && m_Table.ReadParameters(*command, line.Arguments, error)) << error;
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
  EXPECT_EQ(m_Answer["cells"], 0) << "b is current and empty";
  ASSERT_EQ(Run("SelectVolume Name=a\nReport"), 0);
  EXPECT_GT(m_Answer["cells"], 0);
  ASSERT_EQ(Run("NewVolume Name=a Replace=true VoxelSize=2\nListVolumes"), 0);
  ASSERT_EQ(m_Answer["volumes"].size(), 2u);
  EXPECT_EQ(m_Answer["volumes"][0]["voxelSize"], 2);
  ASSERT_EQ(Run("DeleteVolume Name=a\nListVolumes"), 0);
  ASSERT_EQ(m_Answer["volumes"].size(), 1u);
  EXPECT_TRUE(m_Answer["volumes"][0]["current"]);
  EXPECT_EQ(Run("NewVolume Name=b"), 1);
  EXPECT_EQ(m_Answer["messages"].size(), 1u) << "replacing is asked for, and refused without a person";
  ASSERT_EQ(Run("DeleteVolume Name=b"), 0);
  EXPECT_EQ(Run("Report"), 1);
  ASSERT_EQ(Run("NewVolume Name=c\nDab Center=\"0 0 0\" Radius=0.1\nClearScene"), 0);
  EXPECT_EQ(m_Answer["volumes"], 1);
  EXPECT_EQ(Run("Report") + Run("Undo"), 2) << "nothing is left, of the history either";
}

// Wherever a command is cancelled, the scene and the files are as they were, and it can be run again.
TEST_F(RoomCommandsTest, CancelledCommandsChangeNothing) {
  m_Folder.Write("box.obj", BoxObj);
  m_Folder.Write("old.obj", "old");
  m_Folder.Write("old.stl", "old");
  ASSERT_EQ(Run("ImportMesh File=@box.obj\nNewVolume Name=v VoxelSize=0.05\nDab Center=\"1 0 0\" Radius=1"), 0);
  for (const std::string line : {"Report", "Polygonize Whole=true", "Voxelize Name=w Resolution=40", "Voxelize Into=w Mode=1",
                                 "ExportMesh Volume=v File=", "ExportStl Volume=v File="}) {
    const auto before = Content();
    const std::string file = line.back() != '=' ? "" : m_Folder.Path(line.starts_with("ExportMesh") ? "old.obj" : "old.stl");
    m_Scene.Find("v")->MarkAllChanged();
    int asked = 0;
    for (; asked < 10000; ++asked) {
      const CommandResult result = RunCancelled(line + file, asked);
      if (result.Ok()) break;
      ASSERT_THAT(result.Message, testing::HasSubstr("cancelled")) << line;
      ASSERT_TRUE(Content() == before) << line;
      ASSERT_TRUE(file.empty() || m_Folder.Read(comms::GetFileName(file)) == "old") << line;
    }
    EXPECT_GT(asked, 1) << line;
  }
  ASSERT_EQ(Run("SelectVolume Name=v\nReport"), 0);
  EXPECT_NEAR(double(m_Answer["volume"]), 4 * std::numbers::pi / 3, 0.1) << "no part of the surface is missing";
}

// A stroke written for the unit box lands on the surface of any volume; what misses it is counted.
TEST_F(RoomCommandsTest, ProjectedStrokeLandsOnTheSurface) {
  m_Folder.Write("bumps.stroke", "tool Sphere\nsample 0 0 0  0 0 1  0.2 1 1\nstroke\nsample 0.99 0.99 0  0 0 1  0.2 1 1\n");
  ASSERT_EQ(Run("NewVolume Name=ball VoxelSize=0.5\nDab Center=\"40 10 -70\" Radius=20\n"
                "Stroke File=@bumps.stroke Space=Box Project=true"),
            0)
      << Error();
  EXPECT_EQ(m_Answer["samplesMissed"], 1);
  ASSERT_EQ(Run("Report"), 0);
  // A ball of radius 0.2 * 20 about the foremost point.
  EXPECT_NEAR(m_Answer["bounds"]["max"][2], -70 + 20 + 4, 0.5);
  EXPECT_NEAR(m_Answer["bounds"]["max"][0], 40 + 20, 0.5);
}

TEST_F(RoomCommandsTest, RenderShowsTheSolid) {
  ASSERT_EQ(Run("NewVolume Name=ball VoxelSize=0.1\nDab Center=\"5 0 0\" Radius=1"), 0);
  if (Run("Render File=@{Name}.png Width=96 Height=64") == 1 && Error().find("EGL") != std::string::npos) GTEST_SKIP() << Error();
  ASSERT_TRUE(m_Answer["ok"]) << Error();
  comms::cImage image;
  std::string error;
  ASSERT_TRUE(comms::LoadPng(m_Folder.Path("ball.png"), image, error)) << error;
  ASSERT_TRUE(image.Width() == 96 && image.Height() == 64);
  const auto green = [&](int x, int y) { return int(image.Pixel(x, y)[1]); };
  for (const int x : {2, 93}) EXPECT_LT(green(x, 6), green(48, 6)) << "the ball fills the height and leaves the sides free";
  EXPECT_NEAR(m_Answer["target"][0], 5, 0.1);

  for (const std::string view : {"Elevation=90", "Elevation=-90", "Position=\"5 9 0\"", "Position=\"5 -9 0\" Target=\"5 0 0\""}) {
    ASSERT_EQ(Run("Render File=@a/b/c.png Width=96 Height=64 " + view), 0) << Error();
    ASSERT_TRUE(comms::LoadPng(m_Folder.Path("a/b/c.png"), image, error)) << error;
    EXPECT_LT(green(2, 6), green(48, 6)) << view;
  }
  EXPECT_EQ(Run("Render File=@c.png Position=\"1e30 0 0\""), 1);
  EXPECT_THAT(Error(), testing::HasSubstr("1e+30 units away from what is drawn"));
  int asked = 0;
  for (CommandResult result; !result.Ok() || asked == 0; ++asked) {
    result = RunCancelled("Render Width=96 Height=64 File=" + m_Folder.Path("c.png"), asked);
    ASSERT_TRUE(result.Ok() == m_Folder.Has("c.png") && asked < 1000) << result.Message;
  }
  EXPECT_GT(asked, 4) << "the surface, the passes, the file";
}

}  // namespace
