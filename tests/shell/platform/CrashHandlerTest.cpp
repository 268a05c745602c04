#include "shell/platform/CrashHandler.h"

#include <elf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <thread>

#include "shell/core/Trace.h"
#include "shell/platform/CrashText.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

std::string ReadWhole(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

volatile int g_Sink = 0;
/// Not null, which the sanitizers would catch before the processor does; volatile, so that the compiler doesn't see it coming.
volatile int* volatile Nowhere = reinterpret_cast<volatile int*>(64);

/// Names to look for in the report; kept whole and apart by the compiler.
__attribute__((noinline)) int CrashTestInner(volatile int* target) {
  *target = 1;
  return g_Sink + 1;
}
__attribute__((noinline)) int CrashTestOuter(volatile int* target) { return CrashTestInner(target) + g_Sink; }
__attribute__((noinline)) int CrashTestRecursion(int depth) {
  volatile char room[4096];
  room[depth % 4096] = char(depth);
  return g_Sink == 7 ? depth : CrashTestRecursion(depth + 1) + room[(depth + 1) % 4096];
}

class CrashHandlerTest : public testing::Test {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer takes signals over and does not live on in a forked child";
#endif
    m_Folder = fs::path(testing::TempDir()) / ("CrashHandlerTest" + std::to_string(getpid()));
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder);
  }
  void TearDown() override { fs::remove_all(m_Folder); }

  /// Runs `crash` in a child with the handler installed; returns its status as of waitpid.
  int CrashInChild(const std::function<void()>& crash, double nameSeconds = 60) const {
    const pid_t child = fork();
    if (child == 0) {
      const rlimit noCore{0, 0};
      setrlimit(RLIMIT_CORE, &noCore);
      freopen("/dev/null", "w", stderr);
      CrashOptions options;
      options.Folder = m_Folder;
      options.Version = "Morvane 0.1.0 test";
      options.NameSeconds = nameSeconds;
      std::string error;
      if (!InstallCrashHandler(options, error)) _exit(99);
      crash();
      _exit(98);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }

  fs::path m_Folder;
};

TEST_F(CrashHandlerTest, LeavesEverythingBehind) {
  const int status = CrashInChild([] {
    SetCrashText(GetCrashScene().VideoName, "A video <device>");
    AddCrashInfo([](CrashScene& scene) {
      SetCrashText(scene.Tool, "VoxelCarve");
      scene.Polygons = 1234;
    });
    RefreshCrashScene();
    Trace("render1");
    Trace("msg: %08X", 0x15);
    CrashTestOuter(Nowhere);
  });
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;

  const std::string log = ReadWhole(m_Folder / "!!crash!!.log");
  size_t at = 0;
  // In this order.
  for (const char* part :
       {"Exception code:B\n", "Memory status before run:\n\nMemory load: ", "TotalPhys: ", "\nMemory status after crash:\n\n",
        "AvailVirtual: ", "Morvane 0.1.0 test", "Module found ", "   \t(/", "RIP: ", "Video name: A video <device>\n",
        "Audio name: \n", "User info:\n", "Call stack due to calls\n\n", "CrashTestInner", "CrashTestOuter",
        "\n[EBP_CALLSTACK]\n", "render1\nmsg: 00000015\n"}) {
    const size_t found = log.find(part, at);
    ASSERT_NE(found, std::string::npos) << part << "\nis missing behind byte " << at << " of\n" << log;
    at = found;
  }
  const std::string crash = ReadWhole(m_Folder / "crash.txt");
  for (const char* part :
       {"Morvane 0.1.0 test\nMemory status: ", "pointers: 0\n\n", "Work time: 0 m ", " Mb\n", "Video: A video <device>\n",
        "nproc: ", "vert: 0 poly: 1234 rt:0x0\n", "tool: VoxelCarve\n\n", "CrashTestInner", "fastcrash dump: done\n"})
    EXPECT_THAT(crash, HasSubstr(part));
  EXPECT_THAT(ReadWhole(m_Folder / "Bugreport/index.html"), HasSubstr("Video: A video &lt;device&gt;\n"));
  EXPECT_FALSE(fs::exists(m_Folder / "crash_in_crash.log"));
}

// The dump is a core file whose segments lie inside it, with the registers' place in one of them.
TEST_F(CrashHandlerTest, DumpIsACoreFile) {
  CrashInChild([] { CrashTestOuter(Nowhere); });
  const std::string dump = ReadWhole(m_Folder / "!!crash!!.dmp");
  ASSERT_GT(dump.size(), sizeof(Elf64_Ehdr));
  Elf64_Ehdr header;
  std::memcpy(&header, dump.data(), sizeof(header));
  ASSERT_EQ(std::memcmp(header.e_ident, ELFMAG, SELFMAG), 0);
  EXPECT_EQ(header.e_type, ET_CORE);
  ASSERT_GT(header.e_phnum, 1);
  ASSERT_GE(dump.size(), header.e_phoff + header.e_phnum * sizeof(Elf64_Phdr));
  uint64_t end = 0, lastAddress = 0;
  bool hasStack = false;
  const uint64_t stackNear = uint64_t(&header);
  for (int i = 0; i < header.e_phnum; ++i) {
    Elf64_Phdr segment;
    std::memcpy(&segment, dump.data() + header.e_phoff + size_t(i) * sizeof(segment), sizeof(segment));
    EXPECT_LE(segment.p_offset + segment.p_filesz, dump.size());
    end = std::max(end, segment.p_offset + segment.p_filesz);
    if (segment.p_type != PT_LOAD) continue;
    EXPECT_GE(segment.p_vaddr, lastAddress) << "segment " << i;
    lastAddress = segment.p_vaddr + segment.p_memsz;
    hasStack |= stackNear >= segment.p_vaddr && stackNear < lastAddress;
  }
  EXPECT_EQ(end, dump.size());
  // The child is a copy of this process: its stack is where ours is.
  EXPECT_TRUE(hasStack);
}

TEST_F(CrashHandlerTest, StackOverflowAndAbortAreReported) {
  int status = CrashInChild([] { g_Sink = CrashTestRecursion(0); });
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;
  EXPECT_THAT(ReadWhole(m_Folder / "crash.txt"), HasSubstr("CrashTestRecursion"));
  status = CrashInChild([] { std::terminate(); });
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status;
  EXPECT_THAT(ReadWhole(m_Folder / "!!crash!!.log"), HasSubstr("Exception code:6\n"));
}

// Names that don't come in time must not cost the rest of the report.
TEST_F(CrashHandlerTest, NoTimeForNames) {
  CrashInChild([] { CrashTestOuter(Nowhere); }, 0);
  const std::string log = ReadWhole(m_Folder / "!!crash!!.log");
  EXPECT_THAT(log, HasSubstr("Call stack due to calls\n\n.PDB file missed of stack failed\n\n[EBP_CALLSTACK]\n"));
  const size_t at = log.find("RIP: ") + 5;
  const std::string place = log.substr(log.find_first_not_of('0', at), log.find('\n', at) - log.find_first_not_of('0', at));
  EXPECT_THAT(log, HasSubstr("[EBP_CALLSTACK]\n" + place + "\n"));
  EXPECT_THAT(ReadWhole(m_Folder / "crash.txt"), HasSubstr(".PDB file missed of stack failed\nfastcrash dump: done\n"));
}

// A call to nowhere leaves no code to unwind from; the report still comes, with the address.
TEST_F(CrashHandlerTest, CallOfNullIsReported) {
  const int status = CrashInChild([] {
    void (*volatile nowhere)() = nullptr;
    nowhere();
  });
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;
  EXPECT_THAT(ReadWhole(m_Folder / "!!crash!!.log"), HasSubstr("RIP: 0000000000000000\n"));
  EXPECT_THAT(ReadWhole(m_Folder / "crash.txt"), HasSubstr("fastcrash dump: done\n"));
}

TEST_F(CrashHandlerTest, SaveRunsAfterTheFilesAndItsCrashEndsIt) {
  static std::string place;
  place = m_Folder / "saved";
  CrashInChild([] {
    SetSaveAfterCrash([] {
      const bool complete = fs::exists(fs::path(place).parent_path() / "crash.txt");
      std::ofstream(place) << (complete ? "complete" : "too early");
      CrashTestOuter(Nowhere);
    });
    CrashTestOuter(Nowhere);
  });
  EXPECT_EQ(ReadWhole(place), "complete");
  EXPECT_THAT(ReadWhole(m_Folder / "crash_in_crash.log"), HasSubstr("Exception code:B\n"));
}

// The process is told to end with the code that the callers know.
TEST_F(CrashHandlerTest, FolderGone) {
  const int status = CrashInChild([this] {
    fs::remove_all(m_Folder);
    std::ofstream(m_Folder) << "no folder";
    CrashTestOuter(Nowhere);
  });
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 255) << status;
  fs::remove_all(m_Folder);
  CrashInChild([] { CrashTestOuter(Nowhere); });
  EXPECT_TRUE(fs::exists(m_Folder / "crash.txt")) << "a missing folder is made";
}

// Whichever thread crashes: the main one saves, and it is not left alone with that for ever.
TEST_F(CrashHandlerTest, TheMainThreadSavesInTime) {
  static std::string place;
  static pid_t mainThread;
  place = m_Folder / "saved";
  const int status = CrashInChild([] {
    mainThread = gettid();
    SetSaveAfterCrash([] {
      LimitSaveAfterCrash(1);
      std::ofstream(place) << (gettid() == mainThread ? "main" : "another");
      for (;;) pause();
    });
    std::thread([] { CrashTestOuter(Nowhere); }).detach();
    for (;;) pause();
  });
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 255) << status;
  EXPECT_EQ(ReadWhole(place), "main");
}

// Against the library's own printf.
TEST(CrashText, FormatsLikePrintf) {
  char ours[128], theirs[128];
#define SAME(...)                                                               \
  do {                                                                          \
    const size_t length = FormatCrashText(ours, sizeof(ours), __VA_ARGS__);     \
    EXPECT_EQ(int(length), std::snprintf(theirs, sizeof(theirs), __VA_ARGS__)); \
    EXPECT_STREQ(ours, theirs);                                                 \
  } while (false)
  SAME("%d %d %d", 0, -1, INT32_MIN);
  SAME("%ld|%8d|%08d|%3d", INT64_MIN, -42, -42, 12345);
  SAME("%08X %08lX %x %u %zu", 0xABCu, 0xFFFF12345678ul, 255u, 4000000000u, size_t(7));
  SAME("%s|%6s|%c%%", "text", "ab", 'z');
  EXPECT_EQ(FormatCrashText(ours, 6, "%s", "longer"), 6u);
  EXPECT_STREQ(ours, "longe");
}

}  // namespace
