// The program from outside: command line, standard streams, exit codes, files.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "shell/JsonReader.h"

namespace fs = std::filesystem;

namespace {

struct Outcome {
  int Code = -1;  ///< exit code; 128 + n where signal n ended it
  std::string Out, Err;
  std::vector<JsonValue> Answers;
};

class AppTest : public testing::Test {
 protected:
  AppTest()
      : m_Folder(fs::path(testing::TempDir()) /
                 ("App" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()))) {
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder);
  }
  ~AppTest() override { fs::remove_all(m_Folder); }

  std::string Path(const std::string& name) const { return (m_Folder / name).string(); }
  void WriteText(const std::string& name, const std::string& text) { std::ofstream(Path(name), std::ios::binary) << text; }
  std::string ReadText(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /// Runs the program in the test's folder with `options`, `input` on standard input. `shell`: put before the command.
  Outcome Run(const std::string& options, const std::string& input = "", const std::string& shell = "") {
    WriteText(".in", input);
    const std::string command =
        "cd '" + m_Folder.string() + "' && " + shell + " '" MORVANE_BINARY "' " + options + " <.in >.out 2>.err";
    const int status = std::system(command.c_str());
    Outcome outcome;
    outcome.Code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.Out = ReadText(".out");
    outcome.Err = ReadText(".err");
    size_t start = 0;
    for (size_t end; (end = outcome.Out.find('\n', start)) != std::string::npos; start = end + 1) {
      JsonValue answer;
      if (!JsonReader::Read(outcome.Out.substr(start, end - start), answer)) break;
      outcome.Answers.push_back(std::move(answer));
    }
    return outcome;
  }

  /// A closed mesh of one handle: a torus about y, radii 1 and 0.4, as OBJ text.
  static std::string MakeTorus() {
    constexpr int around = 48, across = 24;
    std::string text;
    for (int i = 0; i < around; ++i)
      for (int j = 0; j < across; ++j) {
        const double a = 2 * M_PI * i / around, b = 2 * M_PI * j / across, r = 1 + 0.4 * std::cos(b);
        char line[100];
        std::snprintf(line, sizeof line, "v %.6f %.6f %.6f\n", r * std::cos(a), 0.4 * std::sin(b), r * std::sin(a));
        text += line;
      }
    for (int i = 0; i < around; ++i)
      for (int j = 0; j < across; ++j) {
        const auto at = [](int p, int q) { return std::to_string((p % around) * across + q % across + 1); };
        text += "f " + at(i, j) + " " + at(i, j + 1) + " " + at(i + 1, j + 1) + " " + at(i + 1, j) + "\n";
      }
    return text;
  }

  fs::path m_Folder;
};

TEST_F(AppTest, CommandLine) {
  const Outcome help = Run("--help");
  EXPECT_EQ(help.Code, 0);
  for (const char* word : {"--batch FILE", "--threads N", "Voxelize", "Resolution=", "8 to 16384", "default 256", "required"})
    EXPECT_NE(help.Out.find(word), std::string::npos) << word;
  EXPECT_EQ(Run("--version").Out.rfind("morvane ", 0), 0u);
  EXPECT_EQ(Run("--bogus").Code, 2);
  EXPECT_EQ(Run("--threads 0 --batch -").Code, 2);
  EXPECT_EQ(Run("--batch none.batch").Code, 3);
  EXPECT_EQ(Run("--data /no/such/folder --batch -").Code, 3);
  EXPECT_EQ(Run("--mesh-job none.obj").Code, 3);
  EXPECT_EQ(Run("--batch -").Code, 0) << "no commands, no failure";
}

// The whole way, on one and on two threads: the same bytes.
TEST_F(AppTest, MeshBecomesSculptureBecomesMesh) {
  WriteText("torus.obj", MakeTorus());
  WriteText("cut.stroke",
            "tool Segment\nmode subtract\nsymmetry x\nsample 1 0.5 0  0 1 0  0.15 1 1\nsample 0 0.5 1  0 1 0  0.1 1 0.7\n");
  const std::string job =
      "ImportMesh File=torus.obj\nVoxelize Resolution=120\nReport\nDab Center=\"1 0.3 0\" Radius=0.3 Symmetry=xz\n"
      "Stroke File=cut.stroke\nPolygonize\nReport\nExportMesh File=out/{Name}.obj\nExportStl File=out/{Name}.stl\n"
      "Validate File=out/torus.obj\nImportMesh File=out/torus.obj\nVoxelize Name=again VoxelSize=0.05\nReport\n";
  std::string obj, stl;
  for (const char* threads : {"1", "2"}) {
    const Outcome outcome = Run(std::string("--batch - --threads ") + threads, job);
    ASSERT_EQ(outcome.Code, 0) << outcome.Out << outcome.Err;
    ASSERT_EQ(outcome.Answers.size(), 13u);
    const JsonValue &voxelize = outcome.Answers[1], &before = outcome.Answers[2], &after = outcome.Answers[6];
    EXPECT_EQ(voxelize["raysSkipped"].Number, 0) << "the mesh is closed";
    EXPECT_EQ(voxelize["name"].String, "torus");
    EXPECT_EQ(before["genus"].Number, 1);
    EXPECT_EQ(before["boundaryEdges"].Number, 0);
    // The polygons of the mesh lie within the torus of radii 1 and 0.4; theirs is the volume, to the size of the step.
    const double volume =
        2 * M_PI * M_PI * 0.16 * (std::sin(2 * M_PI / 24) / (2 * M_PI / 24)) * (std::sin(2 * M_PI / 48) / (2 * M_PI / 48));
    EXPECT_NEAR(before["volume"].Number, volume, 0.01 * volume);
    EXPECT_NE(after["volume"].Number, before["volume"].Number);
    EXPECT_EQ(after["nonManifoldEdges"].Number, 0);
    EXPECT_EQ(outcome.Answers[7]["vertices"].Number, after["vertices"].Number);
    EXPECT_EQ(outcome.Answers[9]["faults"].Number, 0) << "what is written passes the validator";
    EXPECT_NEAR(outcome.Answers[12]["volume"].Number, after["volume"].Number, 0.02 * volume) << "and comes back";
    const std::string newObj = ReadText("out/torus.obj"), newStl = ReadText("out/torus.stl");
    EXPECT_EQ(newStl.size(), 84 + 50 * size_t(after["triangles"].Number));
    if (!obj.empty()) {
      EXPECT_TRUE(newObj == obj) << "the OBJ file depends on the thread count";
      EXPECT_TRUE(newStl == stl) << "the STL file depends on the thread count";
    }
    obj = newObj, stl = newStl;
  }
}

// `morvane MESH` works without a batch file, whatever the mesh is called.
TEST_F(AppTest, MeshJob) {
  WriteText("my torus.obj", MakeTorus());
  const Outcome outcome = Run("--mesh-job 'my torus.obj'");
  if (outcome.Code == 1 && outcome.Err.find("EGL") != std::string::npos) GTEST_SKIP() << outcome.Err;
  EXPECT_EQ(outcome.Code, 0) << outcome.Err;
  for (const char* name : {"out/my torus-sculpted.png", "out/my torus-sculpted.obj", "out/my torus-sculpted.stl"})
    EXPECT_GT(fs::file_size(Path(name)), 1000u) << name;
}

TEST_F(AppTest, FullDiskLeavesTheOldFile) {
  WriteText("old.obj", "old");
  const std::string make = "NewVolume Name=v VoxelSize=0.02\nDab Center=\"0 0 0\" Radius=1\n";
  const Outcome outcome = Run("--batch -", make + "ExportMesh File=old.obj\n", "ulimit -f 100; trap '' XFSZ;");
  EXPECT_EQ(outcome.Code, 4) << outcome.Err;
  EXPECT_EQ(ReadText("old.obj"), "old");
  for (const auto& entry : fs::directory_iterator(m_Folder))
    EXPECT_TRUE(std::string(".in .out .err old.obj").find(entry.path().filename()) != std::string::npos)
        << "left behind: " << entry.path();
}

TEST_F(AppTest, ClosedAnswersEndTheRun) {
  std::string lines;
  for (int i = 0; i < 2000; ++i) lines += "ListVolumes\n";
  WriteText("many.batch", lines);
  const std::string command =
      "cd '" + m_Folder.string() + "' && ('" MORVANE_BINARY "' --batch many.batch 2>.err; echo $? >.code) | head -1 >.out";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(ReadText(".code"), "4\n");
}

// Ctrl-C in the middle: one more answer, no file half written, soon.
TEST_F(AppTest, InterruptStopsCleanly) {
  std::string strokes = "tool Segment\n";
  for (int i = 0; i < 200000; ++i) strokes += "stroke\nsample 0 0 0  0 0 1  1 1 1\nsample 1 1 1  0 0 1  0.5 1 1\n";
  WriteText("long.stroke", strokes);
  WriteText("job.batch", "NewVolume Name=v VoxelSize=0.01\nStroke File=long.stroke\nExportMesh File=v.obj\n");
  const pid_t child = fork();
  if (child == 0) {
    if (chdir(m_Folder.c_str()) == 0 && std::freopen(".out", "w", stdout) && std::freopen(".err", "w", stderr))
      execl(MORVANE_BINARY, "morvane", "--batch", "job.batch", "--keep-going", nullptr);
    _exit(99);
  }
  ASSERT_GT(child, 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  kill(child, SIGINT);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_NE(ReadText(".out").find("cancelled"), std::string::npos) << ReadText(".out");
  EXPECT_FALSE(fs::exists(Path("v.obj")));
}

}  // namespace
