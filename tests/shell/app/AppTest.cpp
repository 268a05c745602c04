// The program from outside: command line, standard streams, exit codes, files.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

#include "shell/ParseJson.h"
#include "shell/TestFolder.h"
#include "shell/app/ProgramTest.h"

namespace fs = std::filesystem;

namespace {

struct Outcome {
  int Code = -1;  ///< exit code; 128 + n where signal n ended it
  std::string Out, Err;
  std::vector<nlohmann::json> Answers;
};

class AppTest : public testing::Test {
 protected:
  /// Runs the program in the test's folder with `options`, `input` on standard input. `shell`: put before the command.
  Outcome Run(const std::string& options, const std::string& input = "", const std::string& shell = "") {
    Files.Write(".in", input);
    const std::string command =
        "cd '" + Files.Path() + "' && " + shell + " '" MORVANE_BINARY "' " + options + " <.in >.out 2>.err";
    const int status = std::system(command.c_str());
    Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), Files.Read(".out"), Files.Read(".err"), {}};
    std::istringstream lines(outcome.Out);
    for (std::string line; std::getline(lines, line);)
      if (line.starts_with('{')) outcome.Answers.push_back(ParseJson(line));
    return outcome;
  }

  TestFolder Files{"AppTest"};
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
  // What the display's libraries keep to the end is theirs.
  for (const char* display : {"-u DISPLAY SDL_VIDEODRIVER=x11", "-u DISPLAY", "-u SDL_VIDEODRIVER DISPLAY=:977"}) {
    const Outcome window =
        Run("", "", std::string("env -u WAYLAND_DISPLAY ") + display + " MORVANE_FILES_PATH=files ASAN_OPTIONS=detect_leaks=0");
    EXPECT_EQ(window.Code, 2) << window.Err;
    EXPECT_NE(window.Err.find("display"), std::string::npos) << window.Err;
    EXPECT_EQ(std::count(window.Err.begin(), window.Err.end(), '\n'), 1) << window.Err;
  }
}

// The whole way, on one and on two threads: the same bytes.
TEST_F(AppTest, MeshBecomesSculptureBecomesMesh) {
  Files.Write("post.obj", MakePost());
  Files.Write("cut.stroke",
              "tool Segment\nmode subtract\nsymmetry x\nsample 0.3 0.5 0  0 1 0  0.15 1 1\nsample 0 0.5 0.3  0 1 0  0.1 1 0.7\n");
  const std::string job =
      "ImportMesh File=post.obj\nVoxelize Resolution=120\nReport\nDab Center=\"0.3 -0.3 0.3\" Radius=0.3 Symmetry=xz\n"
      "Stroke File=cut.stroke\nPolygonize\nReport\nExportMesh File=out/{Name}.obj\nExportStl File=out/{Name}.stl\n"
      "Validate File=out/post.obj\nImportMesh File=out/post.obj\nVoxelize Name=again VoxelSize=0.03\nReport\n";
  std::string obj, stl;
  for (const char* threads : {"1", "2"}) {
    const Outcome outcome = Run(std::string("--batch - --threads ") + threads, job);
    ASSERT_EQ(outcome.Code, 0) << outcome.Out << outcome.Err;
    ASSERT_EQ(outcome.Answers.size(), 13u);
    const nlohmann::json &before = outcome.Answers[2], &after = outcome.Answers[6];
    EXPECT_EQ(outcome.Answers[1]["raysSkipped"], 0) << "the mesh is closed";
    EXPECT_EQ(before["genus"], 0);
    EXPECT_EQ(before["boundaryEdges"], 0);
    EXPECT_NEAR(before["volume"], 0.72, 0.01);
    EXPECT_NE(after["volume"], before["volume"]);
    EXPECT_EQ(after["nonManifoldEdges"], 0);
    EXPECT_EQ(outcome.Answers[7]["vertices"], after["vertices"]);
    EXPECT_EQ(outcome.Answers[9]["faults"], 0) << "what is written passes the validator";
    EXPECT_NEAR(outcome.Answers[12]["volume"], after["volume"], 0.02) << "and comes back";
    const std::string newObj = Files.Read("out/post.obj"), newStl = Files.Read("out/post.stl");
    EXPECT_EQ(newStl.size(), 84 + 50 * after["triangles"].get<size_t>());
    if (!obj.empty()) {
      EXPECT_TRUE(newObj == obj) << "the OBJ file depends on the thread count";
      EXPECT_TRUE(newStl == stl) << "the STL file depends on the thread count";
    }
    obj = newObj, stl = newStl;
  }
}

// `morvane MESH` works without a batch file, whatever the mesh is called.
TEST_F(AppTest, MeshJob) {
  Files.Write("my;a post\xE4\n.obj", MakePost());  // no list, no text, no line
  const Outcome outcome = Run("--mesh-job 'my;a post\xE4\n.obj'");
  if (outcome.Code == 1 && outcome.Err.find("EGL") != std::string::npos) GTEST_SKIP() << outcome.Err;
  EXPECT_EQ(outcome.Code, 0) << outcome.Err;
  for (const char* name : {"out/my;a post__-sculpted.png", "out/my;a post__-sculpted.obj", "out/my;a post__-sculpted.stl"})
    EXPECT_GT(fs::file_size(Files.Path(name)), 1000u) << name;
}

// Software rendering can be told to be an old machine; a graphics card can't.
TEST_F(AppTest, TooOldADriverIsToldBesideWhatItLacks) {
  const Outcome outcome = Run("--batch -", "NewVolume Name=v VoxelSize=0.05\nDab Center=\"0 0 0\" Radius=1\nRender File=p.png\n",
                              "export MESA_GL_VERSION_OVERRIDE=2.1;");
  ASSERT_EQ(outcome.Answers.size(), 3u) << outcome.Err;
  if (outcome.Answers[2]["ok"] == true) GTEST_SKIP() << "this driver does as it likes";
  const std::string error = outcome.Answers[2]["error"];
  if (error.find("eglCreateContext") == std::string::npos) GTEST_SKIP() << error;
  EXPECT_NE(error.find("offers OpenGL 2.1"), std::string::npos) << error;
  EXPECT_NE(error.find("Missing: shading language 3.30"), std::string::npos) << error;
}

TEST_F(AppTest, FullDiskLeavesTheOldFile) {
  Files.Write("old.obj", "old");
  const std::string make = "NewVolume Name=v VoxelSize=0.02\nDab Center=\"0 0 0\" Radius=1\n";
  const Outcome outcome = Run("--batch -", make + "ExportMesh File=old.obj\n", "ulimit -f 100; trap '' XFSZ;");
  EXPECT_EQ(outcome.Code, 4) << outcome.Err;
  EXPECT_EQ(Files.Read("old.obj"), "old");
  for (const auto& entry : fs::directory_iterator(Files.Path()))
    EXPECT_TRUE(std::string(".in .out .err old.obj").find(entry.path().filename()) != std::string::npos)
        << "left behind: " << entry.path();
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(AppTest, TooLittleMemoryIsSaidAndChangesNothing) {
  const Outcome outcome =
      Run("--batch - --keep-going --threads 2",
          "NewVolume Name=v VoxelSize=0.005\nDab Center=\"0 0 0\" Radius=1.9\nListVolumes\nDab Center=\"0 0 0\" Radius=0.1\n",
          "ulimit -v 350000;");
  EXPECT_EQ(outcome.Code, 1) << outcome.Err;
  ASSERT_EQ(outcome.Answers.size(), 4u) << outcome.Err;
  EXPECT_EQ(outcome.Answers[1]["error"], "there is not enough memory for this");
  EXPECT_TRUE(outcome.Answers[1]["messages"][0]["text"].get<std::string>().starts_with("Out of memory"));
  EXPECT_EQ(outcome.Answers[2]["volumes"][0]["cells"], 0);
  EXPECT_EQ(outcome.Answers[3]["ok"], true) << "what fits is done";
}
#endif

TEST_F(AppTest, ClosedAnswersEndTheRun) {
  std::string lines;
  for (int i = 0; i < 2000; ++i) lines += "ListVolumes\n";
  Files.Write("many.batch", lines);
  const std::string command =
      "cd '" + Files.Path() + "' && ('" MORVANE_BINARY "' --batch many.batch 2>.err; echo $? >.code) | head -1 >.out";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(Files.Read(".code"), "4\n");
}

// Ctrl-C in the middle: one more answer, no file half written, soon.
TEST_F(AppTest, InterruptStopsCleanly) {
  std::string strokes = "tool Segment\n";
  for (int i = 0; i < 200000; ++i) strokes += "stroke\nsample 0 0 0  0 0 1  1 1 1\nsample 1 1 1  0 0 1  0.5 1 1\n";
  Files.Write("long.stroke", strokes);
  Files.Write("job.batch", "NewVolume Name=v VoxelSize=0.01\nStroke File=long.stroke\nExportMesh File=v.obj\n");
  const pid_t child = fork();
  if (child == 0) {
    if (chdir(Files.Path().c_str()) == 0 && std::freopen(".out", "w", stdout) && std::freopen(".err", "w", stderr))
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
  EXPECT_NE(Files.Read(".out").find("cancelled"), std::string::npos) << Files.Read(".out");
  EXPECT_FALSE(Files.Has("v.obj"));
}

}  // namespace
