// What a crash leaves to the person: the real program, on a display of the tests' own, is hit by a fault while it works.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

#include "shell/VirtualDisplay.h"
#include "shell/app/CrashSave.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

class CrashJourneyTest : public testing::Test {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer takes signals over";
#endif
    for (const char* program : {"Xvfb", "xdotool"})
      if (!HasProgram(program)) GTEST_SKIP() << "needs " << program;
    m_Display = std::make_unique<VirtualDisplay>();
    if (!m_Display->IsThere()) GTEST_SKIP() << "Xvfb did not start";
    m_Folder = fs::path(testing::TempDir()) /
               ("CrashJourney" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder);
    m_Folder = fs::canonical(m_Folder);
    Write("Options.xml", "<AppOptions><Theme>Dark</Theme></AppOptions>");
    Write("window.txt", "100 80 1300 880 0");
    // A post of 0.6 x 2 x 0.6.
    Write("post.obj",
          "v -0.3 -1 -0.3\nv 0.3 -1 -0.3\nv -0.3 1 -0.3\nv 0.3 1 -0.3\nv -0.3 -1 0.3\nv 0.3 -1 0.3\nv -0.3 1 0.3\nv 0.3 1 0.3\n"
          "f 1 3 4 2\nf 5 6 8 7\nf 1 2 6 5\nf 3 7 8 4\nf 1 5 7 3\nf 2 4 8 6\n");
  }
  void TearDown() override {
    if (m_Process > 0) {
      kill(m_Process, SIGKILL);
      waitpid(m_Process, nullptr, 0);
    }
    if (!m_Folder.empty()) fs::remove_all(m_Folder);
  }

  void Write(const std::string& name, const std::string& text) { std::ofstream(m_Folder / name) << text; }
  std::string Read(const std::string& name) const {
    std::ifstream file(m_Folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static bool Within(const std::function<bool()>& isDone) {
    for (int i = 0; i < 6000; i++) {
      if (isDone()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }
  static bool Do(const std::string& words) { return std::system(("xdotool " + words + " >/dev/null 2>&1").c_str()) == 0; }
  static bool HasWindow(const std::string& title) { return Do("search --onlyvisible --name '^" + title + "$'"); }
  bool IsInLog(const std::string& text) const { return Read("Log.txt").find(text) != std::string::npos; }

  void Launch(std::vector<std::string> words) {
    fs::remove(m_Folder / "Log.txt");
    m_Process = fork();
    if (m_Process != 0) return;
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    setenv("MORVANE_FILES_PATH", m_Folder.c_str(), 1);
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    const int log = open((m_Folder / "stderr.txt").c_str(), O_CREAT | O_WRONLY | O_APPEND, 0644);
    dup2(log, 1);
    dup2(log, 2);
    std::vector<char*> arguments{const_cast<char*>(MORVANE_BINARY)};
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(MORVANE_BINARY, arguments.data());
    _exit(127);
  }
  void StartWithPost() {
    Launch({(m_Folder / "post.obj").string()});
    ASSERT_TRUE(Within([&] { return IsInLog("post.obj is open"); })) << Read("stderr.txt");
    ASSERT_TRUE(Within([] { return HasWindow("Morvane"); }));
  }
  /// A stroke over the post, in the middle of the window, that is still going on when this returns. What was drawn is done by
  /// then: a signal from outside may come while the memory allocator holds its lock, and then nothing can be saved.
  static void PressAndDraw() {
    std::string words = "mousemove 690 460 sleep 0.5 mousedown 1";
    for (int i = 0; i < 10; i++) words += " sleep 0.03 mousemove " + std::to_string(690 + 4 * i) + " 470";
    ASSERT_TRUE(Do(words + " sleep 2.5"));
  }
  /// What waitpid tells of the program's end; -1 where it does not end.
  int WaitForEnd() {
    int status = -1;
    if (!Within([&] { return waitpid(m_Process, &status, WNOHANG) == m_Process; })) return -1;
    m_Process = -1;
    return status;
  }
  void ExpectReport(const std::string& tool) {
    const std::string log = Read("!!crash!!.log"), crash = Read("crash.txt");
    size_t at = 0;
    for (const char* part :
         {"Exception code:B\n", "Memory status before run:", "Memory status after crash:", "Morvane ", "Module found ",
          "RIP: ", "Video name: ", "Call stack due to calls", "[EBP_CALLSTACK]", "Trace:\n"}) {
      const size_t found = log.find(part, at);
      ASSERT_NE(found, std::string::npos) << part << " is missing behind byte " << at << " of\n" << log;
      at = found;
    }
    EXPECT_THAT(log, testing::Not(HasSubstr("Video name: \n"))) << "nobody told of the device";
    EXPECT_THAT(log, HasSubstr("User info:\nData path: " + m_Folder.string()));
    for (const std::string& part : {"tool: " + tool, std::string("object: post (post)"), std::string("NumMeshLoads: 1\n"),
                                    std::string("fastcrash dump: done\n")})
      EXPECT_THAT(crash, HasSubstr(part));
    EXPECT_EQ(Read("!!crash!!.dmp").substr(0, 4),
              "\x7f"
              "ELF");
    EXPECT_THAT(Read("Bugreport/index.html"), HasSubstr("tool: " + tool));
    EXPECT_FALSE(fs::exists(m_Folder / "crash_in_crash.log"));
  }

  std::unique_ptr<VirtualDisplay> m_Display;
  fs::path m_Folder;
  pid_t m_Process = -1;
};

constexpr char Question[] = "The program has crashed";
constexpr char Backup[] = "UserData/AutoBackupOnCrash.obj";

TEST_F(CrashJourneyTest, TheWorkIsOfferedSavedAndLoadedAgain) {
  StartWithPost();
  PressAndDraw();
  ASSERT_TRUE(Do("mouseup 1 sleep 1.5"));
  // Another stroke is on when the fault comes: the tool works, and the window holds the mouse.
  PressAndDraw();
  kill(m_Process, SIGSEGV);
  ASSERT_TRUE(Within([] { return HasWindow(Question); })) << Read("stderr.txt");
  EXPECT_FALSE(HasWindow("Morvane")) << "a dead window stands there";
  Do("mouseup 1 sleep 0.5 key Return");
  const int status = WaitForEnd();
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status << Read("stderr.txt");
  ExpectReport("VoxelSculptTool");
  EXPECT_TRUE(IsInLog("Crash occured. Trying to save object...")) << Read("Log.txt");
  const std::string saved = Read(Backup);
  EXPECT_THAT(saved, HasSubstr("\nf "));
  EXPECT_THAT(saved.substr(saved.size() - std::min<size_t>(saved.size(), 64)), HasSubstr("# VoxelSize 0.0078")) << "2 / 256";

  // The next start asks; Enter is the first answer, Load.
  Launch({});
  ASSERT_TRUE(Within([&] { return IsInLog("A backup from before a crash") || IsInLog("PrevBackupFound"); })) << Read("Log.txt");
  ASSERT_TRUE(Within([] { return HasWindow("Morvane"); }));
  Do("mousemove 690 400 sleep 1 key Return");
  EXPECT_TRUE(Within([&] { return IsInLog("AutoBackupOnCrash.obj is loaded"); })) << Read("Log.txt");
  EXPECT_FALSE(fs::exists(m_Folder / Backup)) << "it would be offered again";
  EXPECT_EQ(Read("UserData/AutoBackupOnCrash.loaded.obj").size(), saved.size());
}

TEST_F(CrashJourneyTest, NoSavesNothingAndAnUntouchedSceneIsNotAskedFor) {
  StartWithPost();
  kill(m_Process, SIGSEGV);
  int status = WaitForEnd();
  EXPECT_TRUE(WIFSIGNALED(status)) << status;
  ExpectReport("VoxelSculptTool");
  EXPECT_FALSE(HasWindow(Question));

  StartWithPost();
  PressAndDraw();
  ASSERT_TRUE(Do("mouseup 1 sleep 1.5"));
  kill(m_Process, SIGSEGV);
  ASSERT_TRUE(Within([] { return HasWindow(Question); })) << Read("stderr.txt");
  Do("sleep 0.5 key Escape");
  status = WaitForEnd();
  EXPECT_TRUE(WIFSIGNALED(status)) << status;
  EXPECT_FALSE(fs::exists(m_Folder / Backup));
}

// A run without a window has a report too, in a folder that nobody made before.
TEST_F(CrashJourneyTest, BatchLeavesAReportAndAsksNobody) {
  const fs::path above = m_Folder, pipe = m_Folder / "commands";
  m_Folder /= "made at the crash";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  Launch({"--batch", pipe.string()});
  // It can be opened for writing once the program reads.
  int commands = -1;
  ASSERT_TRUE(Within([&] { return (commands = open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }));
  EXPECT_FALSE(fs::exists(m_Folder));
  kill(m_Process, SIGSEGV);
  const int status = WaitForEnd();
  close(commands);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;
  EXPECT_THAT(Read("!!crash!!.log"), HasSubstr("Exception code:B\n"));
  EXPECT_THAT(Read("crash.txt"), HasSubstr("fastcrash dump: done\n"));
  EXPECT_TRUE(fs::exists(m_Folder / "!!crash!!.dmp"));
  EXPECT_TRUE(fs::exists(m_Folder / "Bugreport/index.html"));
  EXPECT_FALSE(fs::exists(m_Folder / "UserData"));
  m_Folder = above;
}

// The command that crashes is there in debug builds and in no others.
TEST_F(CrashJourneyTest, CrashCommand) {
  for (const auto& [words, code] : {std::pair{"Crash", "B"}, std::pair{"Crash Kind=1", "6"}, std::pair{"Crash Kind=2", "B"}}) {
    Write("crash.batch", std::string("NewVolume Name=v VoxelSize=0.02\nDab Center=\"0 0 0\" Radius=1\n") + words + "\n");
    Launch({"--batch", (m_Folder / "crash.batch").string()});
    const int status = WaitForEnd();
#ifdef NDEBUG
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << status;
    EXPECT_FALSE(fs::exists(m_Folder / "crash.txt")) << code;
#else
    EXPECT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_THAT(Read("!!crash!!.log"), HasSubstr("Exception code:" + std::string(code) + "\n")) << words;
#endif
  }
}

class ShaderJourneyTest : public CrashJourneyTest {};

// Who works on a shader looks at the window and not at a restart.
TEST_F(ShaderJourneyTest, AnEditIsTakenOverWhileTheProgramRuns) {
  fs::copy(MORVANE_DATA_DIR, m_Folder / "data", fs::copy_options::recursive);
  Launch({"--data", (m_Folder / "data").string(), (m_Folder / "post.obj").string()});
  ASSERT_TRUE(Within([&] { return IsInLog("post.obj is open"); })) << Read("stderr.txt");
  std::ofstream(m_Folder / "data/Shaders/Grid.glsl", std::ios::app) << "// an edit\n";
  EXPECT_TRUE(Within([&] { return IsInLog("Reloaded "); })) << Read("Log.txt");
}

TEST(CrashBackup, TellsOfItsVoxels) {
  const fs::path path = fs::path(testing::TempDir()) / ("CrashBackup" + std::to_string(getpid()));
  EXPECT_EQ(ReadBackupVoxelSize(path), 0) << "no file";
  const std::string mesh(100, '\n');
  for (const auto& [text, size] : {std::pair{"# VoxelSize 0.25\n", 0.25f}, std::pair{"# VoxelSize 1e-3", 0.001f},
                                   std::pair{"# VoxelSize -1\n", 0.0f}, std::pair{"# VoxelSize nan\n", 0.0f},
                                   std::pair{"# VoxelSize 1e99\n", 0.0f}, std::pair{"# VoxelSize ", 0.0f}, std::pair{"", 0.0f}})
    for (const std::string& before : {mesh, std::string()}) {
      std::ofstream(path) << before << text;
      EXPECT_EQ(ReadBackupVoxelSize(path), size) << text;
    }
  fs::remove(path);
}

}  // namespace
