// A person at the real window: the program on a display of the tests' own, mouse and keys by xdotool, and the pictures that the
// program stores of itself. Each picture is left in the test's folder, see MORVANE_JOURNEY_PICTURES.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

#include "comms/Image.h"
#include "shell/VirtualDisplay.h"

namespace fs = std::filesystem;
using comms::cImage;

namespace {

// Software OpenGL on a busy machine is slow; these are for what hangs.
constexpr double PatienceSec = 90;

bool Within(const std::function<bool()>& isDone, double seconds = PatienceSec) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!isDone()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

/// Mean of the three channels, 0 .. 255, over a part of a picture given in parts of its sides.
double Brightness(const cImage& image, double left, double top, double right, double bottom) {
  double sum = 0;
  int64_t count = 0;
  for (int y = int(top * image.Height()); y < int(bottom * image.Height()); y++)
    for (int x = int(left * image.Width()); x < int(right * image.Width()); x++, count++) {
      const uint8_t* pixel = image.Pixel(x, y);
      sum += (pixel[0] + pixel[1] + pixel[2]) / 3.0;
    }
  return count ? sum / double(count) : 0;
}

/// Part of the pixels of a region that differ by more than a little.
double Difference(const cImage& a, const cImage& b, double left, double top, double right, double bottom) {
  if (a.Width() != b.Width() || a.Height() != b.Height()) return 1;
  int64_t count = 0, differ = 0;
  for (int y = int(top * a.Height()); y < int(bottom * a.Height()); y++)
    for (int x = int(left * a.Width()); x < int(right * a.Width()); x++, count++)
      for (int c = 0; c < 3; c++)
        if (std::abs(a.Pixel(x, y)[c] - b.Pixel(x, y)[c]) > 8) {
          differ++;
          break;
        }
  return count ? double(differ) / double(count) : 0;
}

/// How much neighbours differ, so how much is drawn there: 0 for an even ground.
double Detail(const cImage& image, double left, double top, double right, double bottom) {
  double sum = 0;
  int64_t count = 0;
  for (int y = int(top * image.Height()); y < int(bottom * image.Height()); y++)
    for (int x = int(left * image.Width()) + 1; x < int(right * image.Width()); x++, count++)
      sum += std::abs(image.Pixel(x, y)[1] - image.Pixel(x - 1, y)[1]);
  return count ? sum / double(count) : 0;
}

class JourneyTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasProgram("Xvfb") || !HasProgram("xdotool")) GTEST_SKIP() << "needs Xvfb and xdotool";
    m_Display = std::make_unique<VirtualDisplay>("3840x2160x24");
    if (!m_Display->IsThere()) GTEST_SKIP() << "Xvfb did not start";
    const char* pictures = std::getenv("MORVANE_JOURNEY_PICTURES");
    m_Folder = fs::path(pictures ? pictures : testing::TempDir()) /
               ("Journey" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder);
  }
  void TearDown() override {
    if (m_Process > 0) {
      kill(m_Process, SIGKILL);
      waitpid(m_Process, nullptr, 0);
    }
    if (!m_Folder.empty() && !std::getenv("MORVANE_JOURNEY_PICTURES")) fs::remove_all(m_Folder);
  }

  /// Starts the program with the data path in the test's folder and waits for its window and for the sample.
  void Start(const std::string& window = "100 80 1700 1080 0") {
    if (!window.empty() && !fs::exists(m_Folder / "window.txt")) std::ofstream(m_Folder / "window.txt") << window;
    m_Process = fork();
    if (m_Process == 0) {
      setenv("MORVANE_FILES_PATH", m_Folder.c_str(), 1);
      setenv("GTK_THEME", "Adwaita:dark", 1);
      const int log = open((m_Folder / "stderr.txt").c_str(), O_CREAT | O_WRONLY | O_APPEND, 0644);
      dup2(log, 1);
      dup2(log, 2);
      execl(MORVANE_BINARY, MORVANE_BINARY, nullptr);
      _exit(127);
    }
    ASSERT_TRUE(Within([&] { return !Ask("xdotool search --onlyvisible --name '^Morvane$'").empty(); })) << Log();
    ASSERT_TRUE(Within([&] { return Log().find("the sample sculpture is done") != std::string::npos; })) << Log();
  }
  /// Waits for the end of the program; returns its exit code, -1 where it doesn't end.
  int WaitForEnd() {
    int status = 0;
    if (!Within([&] { return waitpid(m_Process, &status, WNOHANG) == m_Process; })) return -1;
    m_Process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  std::string Log() const {
    std::ifstream file(m_Folder / "Log.txt");
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::string Ask(const std::string& command) {
    std::string text;
    if (FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r")) {
      for (int c; (c = std::fgetc(pipe)) != EOF;) text += char(c);
      pclose(pipe);
    }
    return text;
  }
  static void Do(const std::string& words) { ASSERT_EQ(std::system(("xdotool " + words + " >/dev/null").c_str()), 0) << words; }
  /// A place of the window in parts of its sides, as screen coordinates.
  std::string At(double x, double y) {
    const std::string place = Ask("xdotool search --onlyvisible --name '^Morvane$' getwindowgeometry --shell");
    const auto number = [&](const char* name) {
      const size_t at = place.find(name);
      return at == std::string::npos ? 0 : std::atoi(place.c_str() + at + std::strlen(name));
    };
    return std::to_string(number("X=") + int(x * number("WIDTH="))) + " " +
           std::to_string(number("Y=") + int(y * number("HEIGHT=")));
  }
  /// Presses at one place, goes to another in steps, lets go.
  void Drag(const char* button, double x0, double y0, double x1, double y1) {
    std::string words = "mousemove " + At(x0, y0) + " mousedown " + button;
    for (int i = 1; i <= 12; i++) words += " sleep 0.02 mousemove " + At(x0 + (x1 - x0) * i / 12, y0 + (y1 - y0) * i / 12);
    Do(words + " mouseup " + button);
  }
  /// The window as the program stores it. The pointer goes where it shows nothing of itself.
  cImage Picture(const std::string& name) {
    const fs::path folder = m_Folder / "Screenshots";
    const auto count = [&] {
      return fs::exists(folder) ? std::distance(fs::directory_iterator(folder), fs::directory_iterator()) : 0;
    };
    const auto before = count();
    Do("mousemove " + At(0.5, 0.995) + " sleep 0.6 key F12");
    cImage image;
    std::string error;
    fs::path newest;
    EXPECT_TRUE(Within([&] {
      if (count() == before) return false;
      for (const auto& entry : fs::directory_iterator(folder))
        if (newest.empty() || entry.path() > newest) newest = entry.path();
      return comms::LoadPng(newest.string(), image, error);
    })) << error
        << Log();
    std::error_code ignored;
    fs::copy_file(newest, m_Folder / (name + ".png"), fs::copy_options::overwrite_existing, ignored);
    return image;
  }

  std::unique_ptr<VirtualDisplay> m_Display;
  fs::path m_Folder;
  pid_t m_Process = -1;
};

// The middle of the view, where the sculpture stands.
#define VIEW 0.35, 0.25, 0.65, 0.75

TEST_F(JourneyTest, SculptUndoTurnAndLeave) {
  Start();
  const cImage first = Picture("start");
  ASSERT_EQ(first.Width(), 1600);
  ASSERT_EQ(first.Height(), 1000);
  EXPECT_GT(Detail(first, VIEW), 0.5) << "nothing is seen in the view";
  EXPECT_GT(Detail(first, 0, 0, 0.3, 0.02), 1) << "no menu bar";
  EXPECT_GT(Detail(first, 0.85, 0.05, 1, 0.5), 0.5) << "no panel at the right";

  Drag("1", 0.46, 0.5, 0.54, 0.52);
  const cImage stroke = Picture("stroke");
  EXPECT_GT(Difference(first, stroke, VIEW), 0.002) << "the stroke left no trace";
  Do("key ctrl+z");
  const cImage undone = Picture("undone");
  EXPECT_LT(Difference(first, undone, VIEW), 0.001) << "undo is not what was before";

  Drag("2", 0.5, 0.5, 0.6, 0.5);
  const cImage moved = Picture("moved");
  EXPECT_GT(Difference(undone, moved, VIEW), 0.05) << "the middle button moves nothing";
  Do("key f sleep 0.5");
  Do("key 7 sleep 0.6");
  EXPECT_GT(Difference(moved, Picture("top"), VIEW), 0.05) << "the view from above is no other";

  Do("key ctrl+q");
  EXPECT_EQ(WaitForEnd(), 0) << Log();
}

TEST_F(JourneyTest, RoomsMenusThemesAndSizes) {
  Start();
  const cImage voxels = Picture("voxels");
  for (const char* key : {"F6", "F7", "F8", "F9"}) {
    Do(std::string("key ") + key + " sleep 0.3");
    const cImage room = Picture(std::string("room-") + key);
    EXPECT_GT(Difference(voxels, room, 0, 0.03, 0.2, 0.9) + Difference(voxels, room, 0.8, 0.03, 1, 0.9), 0.01)
        << key << " shows the same panels";
  }
  Do("key F5 sleep 0.3");
  EXPECT_LT(Difference(voxels, Picture("voxels-again"), 0, 0, 1, 0.9), 0.02) << "the room is not what it was";

  // Every menu, by the arrow keys.
  Do("mousemove " + At(0.015, 0.012) + " click 1 sleep 0.3");
  for (int i = 0; i < 5; i++) Do("sleep 0.3 key Right");
  Do("sleep 0.3 key Escape key Escape");

  // A light theme is light.
  const double dark = Brightness(voxels, 0, 0, 1, 0.02);
  ASSERT_LT(dark, 110);
  Do("key ctrl+shift+l sleep 0.4");
  EXPECT_GT(Brightness(Picture("light"), 0, 0, 1, 0.02), 150) << "the theme has not changed";
  Do("key ctrl+shift+l sleep 0.4");

  // Small and large.
  const std::string window = Ask("xdotool search --onlyvisible --name '^Morvane$'");
  const std::string id = window.substr(0, window.find('\n'));
  Do("windowsize " + id + " 640 480 sleep 0.8");
  const cImage small = Picture("small");
  EXPECT_EQ(small.Width(), 640);
  EXPECT_EQ(small.Height(), 480);
  EXPECT_GT(Detail(small, 0.4, 0.3, 0.6, 0.7), 0.3) << "panels leave no view";
  Do("windowmove " + id + " 0 0 windowsize " + id + " 3840 2160 sleep 1");
  const cImage large = Picture("large");
  EXPECT_EQ(large.Width(), 3840);
  EXPECT_GT(Detail(large, VIEW), 0.2);
  Do("key ctrl+q");
  EXPECT_EQ(WaitForEnd(), 0) << Log();
}

TEST_F(JourneyTest, LayoutSurvivesARestart) {
  Start();
  const cImage before = Picture("before");
  Do("key ctrl+shift+p sleep 0.5");  // the preferences
  const cImage opened = Picture("opened");
  EXPECT_GT(Difference(before, opened, 0.7, 0.03, 1, 0.95), 0.02) << "no panel opened";
  Do("key ctrl+q");
  ASSERT_EQ(WaitForEnd(), 0) << Log();
  Start();
  EXPECT_LT(Difference(opened, Picture("again"), 0.75, 0.03, 1, 0.9), 0.02) << "the layout is another";
  Do("key ctrl+q");
  EXPECT_EQ(WaitForEnd(), 0) << Log();
}

TEST(NoDisplay, OneSentenceAndExitCodeTwo) {
  const std::string folder = testing::TempDir() + "NoDisplay";
  const std::string command = "env -u DISPLAY -u WAYLAND_DISPLAY SDL_VIDEODRIVER=x11 MORVANE_FILES_PATH='" + folder +
                              "' '" MORVANE_BINARY "' 2>'" + folder + ".err' >/dev/null";
  const int status = std::system(command.c_str());
  std::ifstream file(folder + ".err");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(WEXITSTATUS(status), 2) << text;
  EXPECT_NE(text.find("display"), std::string::npos) << text;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
  fs::remove_all(folder);
}

}  // namespace
