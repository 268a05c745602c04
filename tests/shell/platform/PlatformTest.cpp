// Small rules of the platform that need no window.
#include <SDL.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "comms/Log.h"
#include "interface/Language.h"
#include "shell/TestFolder.h"
#include "shell/core/KeyTable.h"
#include "shell/platform/AniCursor.h"
#include "shell/platform/DisplayScale.h"
#include "shell/platform/FileDialog.h"
#include "shell/platform/InstanceLock.h"
#include "shell/platform/KeyMap.h"
#include "shell/platform/Machine.h"
#include "shell/platform/SystemInfo.h"
#include "shell/platform/ThemePreference.h"

namespace fs = std::filesystem;

namespace {

// On a plain keyboard every key of the table is some key, and no key is anything else.
TEST(KeyMap, ReachesTheWholeTable) {
  SDL_SetHint(SDL_HINT_VIDEODRIVER, "dummy");
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  std::set<int> reached;
  for (int scancode = 0; scancode < SDL_NUM_SCANCODES; ++scancode)
    if (const int key = ToKeyCode(SDL_GetKeyFromScancode(SDL_Scancode(scancode)), scancode, false)) reached.insert(key);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  SDL_ResetHint(SDL_HINT_VIDEODRIVER);
  FillKeyTable();
  EXPECT_EQ(reached, std::set<int>(KeyTable.begin(), KeyTable.end()));
}

TEST(KeyMap, FollowsTheLayoutAndNumLock) {
  const struct {
    int Symbol, Scancode;
    bool NumLock;
    int Key;
  } cases[] = {
      // French: letters where they are printed, the row of digits in spite of its signs.
      {'a', SDL_SCANCODE_Q, false, 'A'},
      {'&', SDL_SCANCODE_1, false, '1'},
      {',', SDL_SCANCODE_M, false, KeyComma},
      // German: umlauts count by their place. Russian: no Latin letter anywhere.
      {0xF6, SDL_SCANCODE_SEMICOLON, false, KeySemicolon},
      {0x444, SDL_SCANCODE_A, false, 'A'},
      {0x445, SDL_SCANCODE_LEFTBRACKET, false, KeyLeftBracket},
      {SDLK_KP_7, SDL_SCANCODE_KP_7, true, '7'},
      {SDLK_KP_7, SDL_SCANCODE_KP_7, false, KeyHome},
      {SDLK_KP_0, SDL_SCANCODE_KP_0, true, '0'},
      {SDLK_KP_0, SDL_SCANCODE_KP_0, false, KeyInsert},
      {SDLK_KP_PERIOD, SDL_SCANCODE_KP_PERIOD, false, KeyDelete},
      {SDLK_KP_ENTER, SDL_SCANCODE_KP_ENTER, false, KeyEnter},
  };
  for (const auto& c : cases) EXPECT_EQ(ToKeyCode(c.Symbol, c.Scancode, c.NumLock), c.Key) << c.Scancode;
  EXPECT_EQ(ToKeyModifiers(KMOD_RCTRL | KMOD_LSHIFT | KMOD_NUM), ModControl | ModShift);
}

// What a key is called that is reached by its place alone; a dead key says nothing.
TEST(KeyMap, TellsTheSignsOfOtherLayouts) {
  const std::map<int, int32_t> plain{
      {SDL_SCANCODE_MINUS, '-'},        {SDL_SCANCODE_EQUALS, '='},     {SDL_SCANCODE_LEFTBRACKET, '['},
      {SDL_SCANCODE_RIGHTBRACKET, ']'}, {SDL_SCANCODE_BACKSLASH, '\\'}, {SDL_SCANCODE_SEMICOLON, ';'},
      {SDL_SCANCODE_APOSTROPHE, '\''},  {SDL_SCANCODE_GRAVE, '`'},      {SDL_SCANCODE_COMMA, ','},
      {SDL_SCANCODE_PERIOD, '.'},       {SDL_SCANCODE_SLASH, '/'}};
  const auto list = [&plain](std::map<int, int32_t> layout) {
    layout.insert(plain.begin(), plain.end());
    return ListKeySigns([&](int scancode) { return layout.count(scancode) ? layout[scancode] : 0; });
  };
  EXPECT_TRUE(list({}).empty());
  auto german = list({{SDL_SCANCODE_MINUS, 0xDF},
                      {SDL_SCANCODE_EQUALS, SDL_SCANCODE_TO_KEYCODE(SDL_SCANCODE_EQUALS)},
                      {SDL_SCANCODE_LEFTBRACKET, 0xFC},
                      {SDL_SCANCODE_RIGHTBRACKET, '+'},
                      {SDL_SCANCODE_BACKSLASH, '#'},
                      {SDL_SCANCODE_SLASH, '-'}});
  EXPECT_EQ(german, (std::map<int, std::string>{
                        {KeyEquals, ""}, {KeyLeftBracket, "Ü"}, {KeyRightBracket, "+"}, {KeyBackslash, "#"}, {KeySlash, ""}}));
  SetKeySigns(german);
  EXPECT_EQ(GetKeyText("Ctrl+["), "Ctrl+Ü");
  EXPECT_EQ(GetKeyText("-"), "-");
  EXPECT_EQ(GetKeyText("="), "=") << "nobody can tell";
  SetKeySigns({});
}

TEST(DisplayScale, SettingsBeforeMeasures) {
  EXPECT_EQ(ChooseDisplayScale({}), 1);
  EXPECT_EQ(ChooseDisplayScale({nullptr, "144", 0}), 1.5f);
  EXPECT_EQ(ChooseDisplayScale({"2", "96", 0}), 2);
  EXPECT_EQ(ChooseDisplayScale({nullptr, "96", 220}), 1);
  EXPECT_EQ(ChooseDisplayScale({nullptr, nullptr, 192}), 2);
  EXPECT_EQ(ChooseDisplayScale({nullptr, nullptr, 5000}), 1);
  EXPECT_EQ(ChooseDisplayScale({"9", "110", 0}), 3);
  EXPECT_EQ(ChooseDisplayScale({"x", "nan", 0}), 1);
}

TEST(SystemInfo, TellsOfThisProcess) {
  MemoryStatus memory;
  ASSERT_TRUE(ReadMemoryStatus(memory));
  const uint64_t pages = uint64_t(sysconf(_SC_PHYS_PAGES)) * uint64_t(sysconf(_SC_PAGESIZE));
  EXPECT_NEAR(double(memory.TotalPhys), double(pages), double(pages) * 0.01);
  EXPECT_LT(memory.AvailPhys, memory.TotalPhys);
  EXPECT_LE(memory.MemoryLoad, 100u);
  EXPECT_LT(memory.AvailVirtual, memory.TotalVirtual);

  std::set<std::string> paths;
  ASSERT_TRUE(VisitModules(
      [](void* context, const Mapping& module) {
        EXPECT_TRUE(static_cast<std::set<std::string>*>(context)->insert(module.Path).second) << module.Path << " comes twice";
        const auto code = uint64_t(&ToKeyCode);
        const bool isOurs = code >= module.Begin && code < module.End;
        EXPECT_EQ(isOurs, fs::equivalent(module.Path, "/proc/self/exe")) << module.Path;
        return true;
      },
      &paths));
  EXPECT_TRUE(paths.count(fs::canonical("/proc/self/exe")));
  EXPECT_GT(paths.size(), 3u);
}

TEST(Machine, TheStartIsFoundWhateverTheProgramIsCalled) {
  const double before = SecondsSinceStart();
  EXPECT_GT(before, 0);
  char name[16] = {};
  prctl(PR_GET_NAME, name);
  prctl(PR_SET_NAME, "odd) S 1 (name");
  const double renamed = SecondsSinceStart();
  prctl(PR_SET_NAME, name);
  EXPECT_GE(renamed, before);
  EXPECT_LT(renamed, before + 60);
}

TEST(ThemePreference, WordsOfTheDesktop) {
  const struct {
    bool (*Judge)(std::string_view, ThemePreference&);
    const char *Word, *Expected;
  } cases[] = {{JudgeThemeName, "Adwaita:dark", "dark"},
               {JudgeThemeName, "'Yaru-Dark-compact'\n", "dark"},
               {JudgeThemeName, "Adwaita", "light"},
               {JudgeThemeName, "''\n", "unknown"},
               {JudgeColorScheme, "'prefer-light'\n", "light"},
               {JudgeColorScheme, "'prefer-dark'\n", "dark"},
               {JudgeColorScheme, "'default'\n", "unknown"}};
  for (const auto& c : cases) {
    ThemePreference preference{};
    const bool known = c.Judge(c.Word, preference);
    EXPECT_STREQ(!known ? "unknown" : preference == ThemePreference::Dark ? "dark" : "light", c.Expected) << c.Word;
  }
}

// A desktop that does not answer must not hold up the start.
TEST(ThemePreference, ChildrenHaveALimit) {
  std::string output;
  const auto run = [&](const char* script, double limitSec) {
    const char* const words[] = {"sh", "-c", script, nullptr};
    return RunForText(words, limitSec, output);
  };
  EXPECT_TRUE(run("printf one; printf two", 30));
  EXPECT_EQ(output, "onetwo");
  EXPECT_FALSE(run("exit 3", 30));
  EXPECT_FALSE(run("exec sleep 1000", 0.05));
  EXPECT_FALSE(run("exec >&-; exec sleep 1000", 0.2));
  const char* const missing[] = {"no-such-program-here", nullptr};
  EXPECT_FALSE(RunForText(missing, 30, output));
}

void Append(std::string& out, std::initializer_list<uint32_t> numbers) {
  for (const uint32_t number : numbers)
    for (int i = 0; i < 4; ++i) out += char(number >> 8 * i);
}
std::string MakeChunk(const std::string& tag, const std::string& body) {
  std::string chunk = tag;
  Append(chunk, {uint32_t(body.size())});
  return chunk + body + std::string(body.size() % 2, '\0');
}
/// A cursor of 2 x 2 pixels with its hot spot at 1, 0.
std::string MakeIcon(uint32_t bits, const std::string& colorsAndMask) {
  std::string icon{0, 0, 2, 0, 1, 0, 2, 2, 0, 0, 1, 0, 0, 0};
  Append(icon, {uint32_t(40 + colorsAndMask.size()), 22, 40, 2, 4, 1 | bits << 16, 0, 0, 0, 0, 0, 0});
  return MakeChunk("icon", icon + colorsAndMask);
}
std::string MakeAni() {
  // Rows from below. Two colours, blue and red, with one pixel that is seen through; then colours with alpha.
  const std::string one("\xff\0\0\0\0\0\xff\0\x80\0\0\0\x40\0\0\0\0\0\0\0\x80\0\0\0", 24);
  const std::string two("\1\2\3\4\5\6\7\x8\x9\xa\xb\xc\xd\xe\xf\x10\0\0\0\0\0\0\0\0", 24);
  std::string header, sequence, rate;
  Append(header, {36, 2, 3, 0, 0, 0, 0, 6, 1});
  Append(sequence, {1, 0, 1});
  Append(rate, {30, 60, 90});
  const std::string body = "ACON" + MakeChunk("anih", header) + MakeChunk("rate", rate) + MakeChunk("seq ", sequence) +
                           MakeChunk("LIST", "fram" + MakeIcon(1, one) + MakeIcon(32, two));
  return MakeChunk("RIFF", body);
}

TEST(AniCursor, StepsInTheirOrder) {
  const std::string file = MakeAni();
  std::vector<CursorStep> steps;
  std::string error;
  ASSERT_TRUE(ReadAniCursor({reinterpret_cast<const uint8_t*>(file.data()), file.size()}, steps, error)) << error;
  ASSERT_EQ(steps.size(), 3u);
  EXPECT_EQ(steps[2].Seconds, 1.5);
  EXPECT_EQ(steps[0].HotX, 1);
  const auto at = [](const CursorStep& step, int x, int y) {
    const uint8_t* pixel = step.Picture.Pixel(x, y);
    return std::vector<int>(pixel, pixel + 4);
  };
  EXPECT_EQ(at(steps[1], 0, 1), (std::vector<int>{255, 0, 0, 255}));
  EXPECT_EQ(at(steps[1], 1, 1), (std::vector<int>{0, 0, 255, 255}));
  EXPECT_EQ(at(steps[1], 0, 0)[3], 0) << "seen through";
  EXPECT_EQ(at(steps[1], 1, 0), (std::vector<int>{255, 0, 0, 255}));
  EXPECT_EQ(at(steps[0], 0, 1), (std::vector<int>{3, 2, 1, 4}));
  EXPECT_EQ(at(steps[2], 1, 0), (std::vector<int>{15, 14, 13, 16}));
}

// No damage makes it read past the end or take memory for what is not there.
TEST(AniCursor, DamageIsSaid) {
  const std::string file = MakeAni();
  std::vector<CursorStep> steps(7);
  std::string error;
  const auto read = [&](const std::string& bytes) {
    // A copy of exactly that size, for the sanitizers.
    const std::vector<uint8_t> copy(bytes.begin(), bytes.end());
    return ReadAniCursor(copy, steps, error);
  };
  for (size_t size = 0; size < file.size(); ++size) {
    error.clear();
    EXPECT_FALSE(read(file.substr(0, size))) << size;
    EXPECT_FALSE(error.empty());
  }
  EXPECT_EQ(steps.size(), 7u);
  int refused = 0;
  for (size_t at = 0; at < file.size(); ++at)
    for (const char value : {'\0', '\x7f', '\xff'}) {
      std::string damaged = file;
      damaged[at] = value;
      refused += !read(damaged);
    }
  EXPECT_GT(refused, 200);
}

TEST(InstanceLock, SecondGetsAFolderOfItsOwn) {
  const comms::LogRecorder quiet;
  const TestFolder files("InstanceLockTest");
  const fs::path folder = files.Path("user");
  std::string error;
  fs::path temporary;
  {
    InstanceLock first, second, third;
    ASSERT_TRUE(first.Acquire(folder.string() + "/", error)) << error;
    EXPECT_FALSE(first.IsSecond());
    EXPECT_EQ(first.Folder(), folder.string());
    ASSERT_TRUE(second.Acquire(folder, error)) << error;
    ASSERT_TRUE(third.Acquire(folder, error)) << error;
    EXPECT_TRUE(second.IsSecond());
    EXPECT_NE(second.Folder(), third.Folder());
    temporary = second.Folder();
    std::ofstream(temporary / "window.txt") << "kept while it runs";
  }
  EXPECT_FALSE(fs::exists(temporary));
  // A process that died holds nothing.
  const pid_t child = fork();
  if (child == 0) {
    InstanceLock lock;
    _exit(lock.Acquire(folder, error) && !lock.IsSecond() ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  InstanceLock after, nowhere;
  ASSERT_TRUE(after.Acquire(folder, error)) << error;
  EXPECT_FALSE(after.IsSecond());
  // No folder is to be had.
  files.Write("file", "");
  EXPECT_FALSE(nowhere.Acquire(files.Path("file/user"), error));
  EXPECT_NE(error.find(files.Path("file")), std::string::npos) << error;
}

}  // namespace
