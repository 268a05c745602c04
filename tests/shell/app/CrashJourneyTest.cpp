// What a crash leaves to the person: the real program, on a display of the tests' own, is hit by a fault while it works.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "MC/room/NewScene.h"
#include "shell/TestFolder.h"
#include "shell/app/CrashBackup.h"
#include "shell/app/ProgramTest.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

class CrashJourneyTest : public ProgramTest {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer takes signals over";
#endif
    ProgramTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    Write("Options.xml", "<AppOptions><Theme>Dark</Theme></AppOptions>");
    Write("window.txt", "100 80 1300 880 0");
  }
  static bool Do(const std::string& words) { return std::system(("xdotool " + words + " >/dev/null 2>&1").c_str()) == 0; }
  static bool HasWindow(const std::string& title) { return Do("search --onlyvisible --name '^" + title + "$'"); }
  void Launch(std::vector<std::string> words) {
    fs::remove(m_Folder / "Log.txt");
    m_Process = ProgramTest::Launch(std::move(words));
  }
  void StartWithPost() {
    Launch({WritePost()});
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
  int WaitForEnd() { return ProgramTest::WaitForEnd(m_Process); }
  /// What only the program knows is in the report.
  void ExpectReport() {
    const std::string log = Read("!!crash!!.log"), crash = Read("crash.txt");
    EXPECT_THAT(log, HasSubstr("Exception code:B\n"));
    EXPECT_THAT(log, testing::Not(HasSubstr("Video name: \n"))) << "nobody told of the device";
    EXPECT_THAT(log, HasSubstr("User info:\nData path: " + m_Folder.string()));
    for (const char* part : {"tool: VoxelSculptTool", "object: post (post)", "NumMeshLoads: 1\n", "fastcrash dump: done\n"})
      EXPECT_THAT(crash, HasSubstr(part));
    EXPECT_TRUE(Read("!!crash!!.dmp").starts_with("\x7f\x45LF"));
    EXPECT_THAT(Read("Bugreport/index.html"), HasSubstr("tool: VoxelSculptTool"));
    EXPECT_FALSE(fs::exists(m_Folder / "crash_in_crash.log"));
    ExpectStepsOfAFrame(log.substr(std::min(log.size(), log.find("\nTrace:\n"))));
  }
  /// One whole frame stands among the breadcrumbs, step for step.
  static void ExpectStepsOfAFrame(const std::string& crumbs) {
    const char* steps[] = {"cMain_OnRender",
                           "ProcessInet",
                           "GlobalProcessWidgets",
                           "cTimer::Acquire()",
                           "cRender::BeginFrame()",
                           "cInput::Acquire()",
                           "RenderBackground(WorkVP)",
                           "cWidgets::HandleInputEvents()",
                           "cRender::DrawGrid()",
                           "SetupVPTM()",
                           "ProcessNavy()",
                           "TestObj()",
                           "cRender::EndFrame()"};
    std::string frame;
    for (const char* step : steps) frame += std::string(step) + "\n";
    EXPECT_THAT(crumbs, HasSubstr(frame));
  }
};

constexpr char Question[] = "The program has crashed";
constexpr char Backup[] = "UserData/AutoBackupOnCrash.mvb";

TEST_F(CrashJourneyTest, TheWorkIsOfferedSavedAndLoadedAgain) {
  StartWithPost();
  // The first stroke is on when the fault comes: no step of undo stands for it, and the window holds the mouse.
  PressAndDraw();
  kill(m_Process, SIGSEGV);
  ASSERT_TRUE(Within([] { return HasWindow(Question); })) << Read("stderr.txt");
  EXPECT_FALSE(HasWindow("Morvane")) << "a dead window stands there";
  Do("mouseup 1 sleep 0.5 key Return");
  const int status = WaitForEnd();
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status << Read("stderr.txt");
  ASSERT_TRUE(Within([] { return HasWindow("The work is saved"); })) << Read("stderr.txt");
  Do("sleep 0.5 key Return");
  EXPECT_TRUE(Within([] { return !HasWindow("The work is saved"); }));
  EXPECT_THAT(Read("stderr.txt"), HasSubstr("Morvane crashed; the report is " + m_Folder.string() + "/!!crash!!.log\n"));
  ExpectReport();
  EXPECT_TRUE(IsInLog("Crash occured. Trying to save object...")) << Read("Log.txt");
  const std::string saved = Read(Backup);
  EXPECT_THAT(saved, HasSubstr(std::string("post") + '\0'));

  // The next start asks; Enter is the first answer, Load.
  Launch({});
  ASSERT_TRUE(Within([&] { return IsInLog("A backup from before a crash was found.\n\nSaved: 20"); })) << Read("Log.txt");
  EXPECT_TRUE(IsInLog("\nVolumes: post\n"));
  ASSERT_TRUE(Within([] { return HasWindow("Morvane"); }));
  Do("mousemove 690 400 sleep 1 key Return");
  EXPECT_TRUE(Within([&] { return IsInLog("AutoBackupOnCrash.mvb is loaded"); })) << Read("Log.txt");
  EXPECT_FALSE(fs::exists(m_Folder / Backup)) << "it would be offered again";
  EXPECT_EQ(Read("UserData/AutoBackupOnCrash.loaded.mvb").size(), saved.size());
}

TEST_F(CrashJourneyTest, NoSavesNothingAndAnUntouchedSceneIsNotAskedFor) {
  StartWithPost();
  kill(m_Process, SIGSEGV);
  int status = WaitForEnd();
  EXPECT_TRUE(WIFSIGNALED(status)) << status;
  ExpectReport();
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

// A window manager's kill, a server that dies, a session that ends: there is nobody to ask. The data path takes no file
// meanwhile.
TEST_F(CrashJourneyTest, WorkOutlivesTheWindowThatItIsDoneIn) {
  const fs::path home = m_Folder / "home", saved = home / "AutoBackupOnCrash.mvb";
  fs::create_directory(home);
  const TestVariable homeIs("HOME", home.string()), temporary("TMPDIR", home.string());
  Write("UserData", "");
  StartWithPost();
  PressAndDraw();
  ASSERT_TRUE(Do("search --name '^Morvane$' windowkill"));
  int status = WaitForEnd();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << status;
  EXPECT_THAT(Read("stderr.txt"), HasSubstr("The connection to the display is lost"));
  EXPECT_THAT(Read("stderr.txt"), HasSubstr("The work is saved in " + saved.string()));
  EXPECT_TRUE(fs::exists(m_Folder / "HotKeys.xml")) << "the settings are lost";
  ASSERT_TRUE(Do("mouseup 1"));

  // The signal does not wait for the answer to a question, and what it is about is not touched.
  Launch({});
  ASSERT_TRUE(Within([&] { return IsInLog("\nVolumes: post\n"); })) << Read("Log.txt");
  kill(m_Process, SIGHUP);
  status = WaitForEnd();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  ASSERT_TRUE(fs::remove(saved));

  StartWithPost();
  PressAndDraw();
  kill(m_Process, SIGHUP);
  status = WaitForEnd();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  EXPECT_TRUE(fs::exists(saved)) << Read("Log.txt");
}

// A run without a window has a report too, in a folder that nobody made before; the reporter beside the program gets its path.
TEST_F(CrashJourneyTest, BatchLeavesAReportAndAsksNobody) {
  const fs::path above = m_Folder, pipe = m_Folder / "commands";
  m_Folder /= "made at the crash";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  m_Binary = (above / "morvane").string();
  fs::copy_file(MORVANE_BINARY, m_Binary);
  std::ofstream(above / "sendbug") << "#!/bin/sh\ncat \"$1\" >\"$0.sent\"\n";
  fs::permissions(above / "sendbug", fs::perms::owner_all);
  Launch({"--data", MORVANE_DATA_DIR, "--batch", pipe.string()});
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
  EXPECT_FALSE(fs::exists(m_Folder / "UserData"));
  const std::string log = Read("!!crash!!.log");
  m_Folder = above;
  EXPECT_TRUE(Within([&] { return Read("sendbug.sent") == log; }));
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

// Who works on a shader looks at the window and not at a restart.
TEST_F(CrashJourneyTest, AnEditIsTakenOverWhileTheProgramRuns) {
  fs::copy(MORVANE_DATA_DIR, m_Folder / "data", fs::copy_options::recursive);
  Launch({"--data", (m_Folder / "data").string(), WritePost()});
  ASSERT_TRUE(Within([&] { return IsInLog("post.obj is open"); })) << Read("stderr.txt");
  std::ofstream(m_Folder / "data/Shaders/Grid.glsl", std::ios::app) << "// an edit\n";
  EXPECT_TRUE(Within([&] { return IsInLog("Reloaded "); })) << Read("Log.txt");
}

TEST(CrashBackup, NoneIsWrittenOverAndTheNewestIsFound) {
  const TestFolder folder("CrashBackup");
  const std::string path = folder.Path();
  folder.Write("AutoBackupOnCrash.loaded.mvb", "");
  folder.Write("AutoBackupOnCrashes.mvb", "");
  EXPECT_EQ(FindCrashBackup({path}), "");
  for (const char* name : {"AutoBackupOnCrash.mvb", "AutoBackupOnCrash 2.mvb", "AutoBackupOnCrash 3.mvb"}) {
    EXPECT_EQ(ChooseCrashBackup(path), folder.Path(name));
    folder.Write(name, "");
  }
  fs::last_write_time(folder.Path("AutoBackupOnCrash 2.mvb"), fs::file_time_type::clock::now() + std::chrono::hours(1));
  EXPECT_EQ(FindCrashBackup({folder.Path("nowhere"), path}), folder.Path("AutoBackupOnCrash 2.mvb"));
}

// What the volumes hold is for VolumeStreamTest; here each of them comes back as one, beside those that are there.
TEST(CrashBackup, EveryVolumeComesBackAsOne) {
  const TestFolder folder("CrashBackup");
  const std::string path = folder.Path("made/backup.mvb");
  VoxelScene scene(MORVANE_DATA_DIR);
  MakeSphereVolume(scene, "ball", 1, 0.1f);
  MakeSphereVolume(scene, "pole", 2, 0.05f).SpaceMatrix.m[3][0] = 7;
  std::string error;
  ASSERT_TRUE(WriteCrashBackup(scene, path, error)) << error;
  ASSERT_TRUE(ReadCrashBackup(scene, path, error)) << error;
  const std::pair<const char*, const char*> names[] = {{"ball", "ball 2"}, {"pole", "pole 2"}};
  ASSERT_EQ(scene.Volumes().size(), 4u);
  for (const auto& [before, after] : names) {
    const VolumeObject *saved = scene.Find(before), *loaded = scene.Find(after);
    ASSERT_TRUE(saved && loaded) << after;
    EXPECT_EQ(saved->SpaceMatrix, loaded->SpaceMatrix);
    EXPECT_EQ(saved->Cells.Count(), loaded->Cells.Count());
  }
  fs::resize_file(path, fs::file_size(path) / 2);
  EXPECT_FALSE(ReadCrashBackup(scene, path, error));
  EXPECT_THAT(error, HasSubstr("backup.mvb: volumes at byte"));
  EXPECT_EQ(scene.Volumes().size(), 4u);
}

}  // namespace
