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
#include <thread>

#include "ClassEngine/pool.h"
#include "shell/TestFolder.h"
#include "shell/core/Trace.h"
#include "shell/platform/CrashText.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

volatile int g_Sink = 0;
/// Not null, which the sanitizers would catch before the processor does; volatile, so that the compiler doesn't see it coming.
volatile int* volatile Nowhere = reinterpret_cast<volatile int*>(64);

void (*volatile NoFunction)() = nullptr;

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
  }

  /// Runs `crash` in a child with the handler installed; returns its status as of waitpid.
  int CrashInChild(const std::function<void()>& crash, double nameSeconds = 60) const {
    const pid_t child = fork();
    if (child == 0) {
      const rlimit noCore{0, 0};
      setrlimit(RLIMIT_CORE, &noCore);
      freopen("/dev/null", "w", stderr);
      CrashOptions options;
      options.Folder = m_Files.Path();
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

  TestFolder m_Files{"CrashHandlerTest"};
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
    Trace("100% sure %d");
    CrashTestOuter(Nowhere);
  });
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) << status;

  const std::string log = m_Files.Read("!!crash!!.log");
  size_t at = 0;
  // In this order.
  for (const char* part :
       {"Exception code:B\n", "Memory status before run:\n\nMemory load: ", "TotalPhys: ", "\nMemory status after crash:\n\n",
        "AvailVirtual: ", "Morvane 0.1.0 test", "Module found ", "   \t(/", "RIP: ", "Video name: A video <device>\n",
        "Audio name: \n", "User info:\n", "Call stack due to calls\n\n", "CrashTestInner", "CrashTestOuter",
        "\n[EBP_CALLSTACK]\n", "render1\nmsg: 00000015\n100% sure %d\n"}) {
    const size_t found = log.find(part, at);
    ASSERT_NE(found, std::string::npos) << part << "\nis missing behind byte " << at << " of\n" << log;
    at = found;
  }
  const std::string crash = m_Files.Read("crash.txt");
  for (const char* part :
       {"Morvane 0.1.0 test\nMemory status: ", "pointers: 0\n\n", "Work time: 0 m ", " Mb\n", "Video: A video <device>\n",
        "nproc: ", "vert: 0 poly: 1234 rt:0x0\n", "tool: VoxelCarve\n\n", "CrashTestInner", "fastcrash dump: done\n"})
    EXPECT_THAT(crash, HasSubstr(part));
  EXPECT_THAT(m_Files.Read("Bugreport/index.html"), HasSubstr("Video: A video &lt;device&gt;\n"));
  EXPECT_FALSE(m_Files.Has("crash_in_crash.log"));
}

// The dump is a core file whose segments lie inside it, with the registers' place in one of them.
TEST_F(CrashHandlerTest, DumpIsACoreFile) {
  CrashInChild([] { CrashTestOuter(Nowhere); });
  const std::string dump = m_Files.Read("!!crash!!.dmp");
  ASSERT_GT(dump.size(), sizeof(Elf64_Ehdr));
  Elf64_Ehdr header;
  std::memcpy(&header, dump.data(), sizeof(header));
  ASSERT_EQ(std::memcmp(header.e_ident, ELFMAG, SELFMAG), 0);
  EXPECT_EQ(header.e_type, ET_CORE);
  ASSERT_GT(header.e_phnum, 1);
  ASSERT_GE(dump.size(), header.e_phoff + header.e_phnum * sizeof(Elf64_Phdr));
  uint64_t end = 0, lastAddress = 0;
  bool hasStack = false;  // the child is a copy of this process: its stack is where ours is
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
  EXPECT_TRUE(hasStack);
}

void WriteToFreed() {
  char* freed = static_cast<char*>(GetPool().Allocate(64));
  GetPool().Free(freed, 64);
  *freed ^= 1;
  std::abort();
}

// Also without a stack to stand on, and without code to unwind from.
TEST_F(CrashHandlerTest, EveryKindIsReported) {
  const struct {
    void (*Crash)();
    int Signal;
    const char *Log, *Text;
  } cases[] = {{[] { g_Sink = CrashTestRecursion(0); }, SIGSEGV, "Exception code:B\n", "CrashTestRecursion"},
               {[] { std::terminate(); }, SIGABRT, "Exception code:6\n", ""},
               {[] { NoFunction(); }, SIGSEGV, "RIP: 0000000000000000\n", "Memory status: OK\n"},
               {WriteToFreed, SIGABRT, "Exception code:6\n", "Memory status: integrity failure!\n"}};
  for (const auto& c : cases) {
    const int status = CrashInChild(c.Crash);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == c.Signal) << status;
    EXPECT_THAT(m_Files.Read("!!crash!!.log"), HasSubstr(c.Log));
    EXPECT_THAT(m_Files.Read("crash.txt"), HasSubstr(c.Text));
    EXPECT_THAT(m_Files.Read("crash.txt"), HasSubstr("fastcrash dump: done\n"));
    fs::remove_all(m_Files.Path());  // made anew by the next
  }
}

// Names that don't come in time must not cost the rest of the report.
TEST_F(CrashHandlerTest, NoTimeForNames) {
  CrashInChild([] { CrashTestOuter(Nowhere); }, 0);
  const std::string log = m_Files.Read("!!crash!!.log");
  EXPECT_THAT(log, HasSubstr("Call stack due to calls\n\n.PDB file missed of stack failed\n\n[EBP_CALLSTACK]\n"));
  const size_t at = log.find("RIP: ") + 5;
  const std::string place = log.substr(log.find_first_not_of('0', at), log.find('\n', at) - log.find_first_not_of('0', at));
  EXPECT_THAT(log, HasSubstr("[EBP_CALLSTACK]\n" + place + "\n"));
  EXPECT_THAT(m_Files.Read("crash.txt"), HasSubstr(".PDB file missed of stack failed\nfastcrash dump: done\n"));
}

TEST_F(CrashHandlerTest, SaveRunsAfterTheFilesAndItsCrashEndsIt) {
  static const TestFolder* files;
  files = &m_Files;
  CrashInChild([] {
    SetSaveAfterCrash([] {
      files->Write("saved", files->Has("crash.txt") ? "complete" : "too early");
      CrashTestOuter(Nowhere);
    });
    CrashTestOuter(Nowhere);
  });
  EXPECT_EQ(m_Files.Read("saved"), "complete");
  EXPECT_THAT(m_Files.Read("crash_in_crash.log"), HasSubstr("Exception code:B\n"));
}

// The process is told to end with the code that the callers know.
TEST_F(CrashHandlerTest, FolderGone) {
  const int status = CrashInChild([this] {
    fs::remove_all(m_Files.Path());
    std::ofstream(fs::path(m_Files.Path()).parent_path()) << "no folder";
    CrashTestOuter(Nowhere);
  });
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 255) << status;
}

// Whichever thread crashes: the main one saves, and it is not left alone with that for ever.
TEST_F(CrashHandlerTest, TheMainThreadSavesInTime) {
  static const TestFolder* files;
  files = &m_Files;
  static pid_t mainThread;
  const int status = CrashInChild([] {
    mainThread = gettid();
    SetSaveAfterCrash([] {
      LimitSaveAfterCrash(1, nullptr);
      files->Write("saved", gettid() == mainThread ? "main" : "another");
      for (;;) pause();
    });
    std::thread([] { CrashTestOuter(Nowhere); }).detach();
    for (;;) pause();
  });
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 255) << status;
  EXPECT_EQ(m_Files.Read("saved"), "main");
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
