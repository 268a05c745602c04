// A person at the real window: the program on a display of the tests' own, mouse and keys by xdotool, and the pictures that the
// program stores of itself. Each picture is left in the test's folder, see MORVANE_JOURNEY_PICTURES.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <vector>

#include "comms/Image.h"
#include "shell/app/ProgramTest.h"

namespace fs = std::filesystem;
using comms::cImage;

namespace {

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

/// What a journey opens: the sample takes seconds to grow, so only one of them watches it.
enum class Opens { Sample, Post };

class JourneyTest : public ProgramTest {
 protected:
  JourneyTest() : ProgramTest("3840x2160x24") {}
  void SetUp() override {
    ProgramTest::SetUp();
    // Views that jump leave nothing to wait for, and no hint covers what is compared.
    if (!IsSkipped())
      Write("Options.xml",
            "<AppOptions><Theme>Dark</Theme><SmoothViews>false</SmoothViews><ShowHints>false</ShowHints></AppOptions>");
  }

  /// The program's own files in the test's folder, to be spoilt there; returns that folder.
  fs::path CopyData() {
    fs::copy(MORVANE_DATA_DIR, m_Folder / "data", fs::copy_options::recursive);
    return m_Folder / "data";
  }

  pid_t Launch(Opens opens, std::vector<std::string> words) {
    if (opens == Opens::Post) words.push_back(WritePost());
    return ProgramTest::Launch(std::move(words));
  }
  /// Starts the program with the data path in the test's folder and waits for its window and for what it opens.
  void Start(Opens opens, const std::vector<std::string>& words = {}, const char* window = "100 80 1700 1080 0") {
    if (!fs::exists(m_Folder / "window.txt")) Write("window.txt", window);
    fs::remove(m_Folder / "Log.txt");  // of the run before
    m_Process = Launch(opens, words);
    const char* done = opens == Opens::Sample ? "the sample sculpture is done" : "post.obj is open";
    ASSERT_TRUE(Within([&] { return Log().find(done) != std::string::npos; })) << Log();
    m_Window = Ask("xdotool search --onlyvisible --name '^Morvane$'");
    m_Window = m_Window.substr(0, m_Window.find('\n'));
    ASSERT_FALSE(m_Window.empty()) << Log();
  }
  /// Closes the window; the exit code, -1 where it doesn't end.
  int Leave() {
    Do("key ctrl+q");
    return ExitCode(WaitForEnd(m_Process));
  }
  static int ExitCode(int status) { return status < 0 ? -1 : WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }
  /// Lines of the log that hold a text.
  int CountInLog(const std::string& text) const {
    std::istringstream log(Log());
    int count = 0;
    for (std::string line; std::getline(log, line);) count += line.find(text) != std::string::npos;
    return count;
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
  /// A place of the window in parts of its sides, or in pixels where they are above 1, as words for xdotool.
  std::string At(double x, double y) {
    const std::string place = Ask("xdotool getwindowgeometry --shell " + m_Window);
    const auto number = [&](const char* name) {
      const size_t at = place.find(name);
      return at == std::string::npos ? 0 : std::atoi(place.c_str() + at + std::strlen(name));
    };
    const auto pixels = [](double part, int side) { return int(part > 1 ? part : part * side); };
    return std::to_string(number("X=") + pixels(x, number("WIDTH="))) + " " +
           std::to_string(number("Y=") + pixels(y, number("HEIGHT=")));
  }
  /// Presses at one place, goes to another in steps, lets go.
  void Drag(const char* button, double x0, double y0, double x1, double y1) {
    std::string words = "mousemove " + At(x0, y0) + " mousedown " + button;
    for (int i = 1; i <= 12; i++) words += " sleep 0.02 mousemove " + At(x0 + (x1 - x0) * i / 12, y0 + (y1 - y0) * i / 12);
    Do(words + " mouseup " + button);
  }
  /// The window as the program stores it. The pointer goes where it shows nothing of itself, or stays.
  cImage Picture(const std::string& name, bool pointerStays = false) {
    // Pictures are numbered; what is still being written has another name.
    const auto path = [&](int number) {
      return m_Folder / "Screenshots" / ("Morvane " + std::to_string(1000 + number).substr(1) + ".png");
    };
    int number = 1;
    while (fs::exists(path(number))) number++;
    Do((pointerStays ? std::string() : "mousemove " + At(0.5, 0.995)) + " sleep 0.3 key F12");
    cImage image;
    std::string error;
    EXPECT_TRUE(Within([&] { return fs::exists(path(number)); })) << name << "\n" << Log();
    EXPECT_TRUE(comms::LoadPng(path(number).string(), image, error)) << error;
    std::error_code ignored;
    fs::copy_file(path(number), m_Folder / (name + ".png"), fs::copy_options::overwrite_existing, ignored);
    return image;
  }
  /// The same once it is as it should be: a loaded machine takes its time. The last one where it never is.
  cImage PictureWhen(const std::string& name, const std::function<bool(const cImage&)>& isReady) {
    cImage image;
    for (int i = 0; i < 12; i++)
      if (isReady(image = Picture(name))) break;
    return image;
  }

  std::string m_Window;
};

// The middle of the view, where the sculpture stands.
#define VIEW 0.35, 0.25, 0.65, 0.75

TEST_F(JourneyTest, SculptUndoTurnAndLeave) {
  Start(Opens::Sample);
  const cImage first = PictureWhen("start", [](const cImage& image) { return Detail(image, VIEW) > 0.5; });
  ASSERT_EQ(first.Width(), 1600);
  ASSERT_EQ(first.Height(), 1000);
  EXPECT_GT(Detail(first, VIEW), 0.5) << "nothing is seen in the view";
  EXPECT_GT(Detail(first, 0, 0, 0.3, 0.02), 1) << "no menu bar";
  EXPECT_GT(Detail(first, 0.85, 0.05, 1, 0.5), 0.5) << "no panel at the right";

  // The radius: by drag, then by typing.
  const auto slider = [](const cImage& a, const cImage& b) { return Difference(a, b, 0.91, 0.116, 0.995, 0.136); };
  Drag("1", 1480, 126, 1540, 126);
  const cImage dragged = PictureWhen("slider-dragged", [&](const cImage& image) { return slider(first, image) > 0.02; });
  EXPECT_GT(slider(first, dragged), 0.02) << "the slider stands";
  Do("mousemove " + At(1500, 126) + " click --repeat 2 --delay 60 1 sleep 0.3 key ctrl+a type 40");
  Picture("slider-typing", true);
  Do("key Return");
  const cImage typed = PictureWhen("slider-typed", [&](const cImage& image) { return slider(first, image) < 0.02; });
  EXPECT_LT(slider(first, typed), 0.02) << "40 is not what it was";
  Do("key Escape");

  // Another brush, and back to the first.
  const auto tools = [](const cImage& a, const cImage& b) { return Difference(a, b, 0, 0.06, 0.07, 0.17); };
  Do("mousemove " + At(60, 115) + " click 1");
  const cImage sphere = PictureWhen("brush", [&](const cImage& image) { return tools(first, image) > 0.02; });
  EXPECT_GT(tools(first, sphere), 0.02) << "no other brush is chosen";
  Do("key c");

  const cImage before = PictureWhen("before", [&](const cImage& image) { return tools(first, image) < 0.01; });
  Drag("1", 0.46, 0.5, 0.54, 0.52);
  const cImage stroke = PictureWhen("stroke", [&](const cImage& image) { return Difference(before, image, VIEW) > 0.002; });
  EXPECT_GT(Difference(before, stroke, VIEW), 0.002) << "the stroke left no trace";
  Do("key ctrl+z");
  const cImage undone = PictureWhen("undone", [&](const cImage& image) { return Difference(before, image, VIEW) < 0.001; });
  EXPECT_LT(Difference(before, undone, VIEW), 0.001) << "undo is not what was before";

  Drag("1", 0.2, 0.3, 0.3, 0.3);
  const cImage turned = PictureWhen("turned", [&](const cImage& image) { return Difference(undone, image, VIEW) > 0.05; });
  EXPECT_GT(Difference(undone, turned, VIEW), 0.05) << "a drag beside the sculpture turns nothing";
  Drag("2", 0.5, 0.5, 0.6, 0.5);
  const cImage moved = PictureWhen("moved", [&](const cImage& image) { return Difference(turned, image, VIEW) > 0.05; });
  EXPECT_GT(Difference(turned, moved, VIEW), 0.05) << "the middle button moves nothing";
  Do("key f key 7");
  const cImage top = PictureWhen("top", [&](const cImage& image) { return Difference(moved, image, VIEW) > 0.05; });
  EXPECT_GT(Difference(moved, top, VIEW), 0.05) << "the view from above is no other";

  // Work that is in no file: the program asks, Esc goes back to the work, and the second answer ends it.
  Drag("1", 0.46, 0.5, 0.54, 0.52);
  const auto isDimmed = [&](const cImage& image) {
    return Brightness(image, 0, 0.2, 1, 0.3) < 0.8 * Brightness(top, 0, 0.2, 1, 0.3);
  };
  Do("key ctrl+q");
  EXPECT_TRUE(isDimmed(PictureWhen("asked", isDimmed))) << "no question";
  Do("key Escape");
  const auto isBack = [&](const cImage& image) { return !isDimmed(image); };
  EXPECT_TRUE(isBack(PictureWhen("not-left", isBack))) << "Esc does not close the question";
  Do("key ctrl+q sleep 0.5 key Right sleep 0.2 key Right sleep 0.2 key Return");
  EXPECT_EQ(WaitForEnd(m_Process), 0) << Log();
}

TEST_F(JourneyTest, RoomsMenusThemesAndSizes) {
  Start(Opens::Post);
  cImage last;
  // The ground and its shadow come to rest after the first frames.
  const cImage voxels = PictureWhen("voxels", [&](const cImage& image) {
    const bool same = Difference(last, image, 0, 0, 1, 0.9) < 0.001;
    last = image;
    return same;
  });
  const auto panels = [](const cImage& a, const cImage& b) {
    return Difference(a, b, 0, 0.03, 0.2, 0.9) + Difference(a, b, 0.8, 0.03, 1, 0.9);
  };
  for (const char* key : {"F6", "F7", "F8", "F9"}) {
    Do(std::string("key ") + key);
    const cImage room =
        PictureWhen(std::string("room-") + key, [&](const cImage& image) { return panels(voxels, image) > 0.01; });
    EXPECT_GT(panels(voxels, room), 0.01) << key << " shows the same panels";
  }
  Do("key F5");
  const cImage again =
      PictureWhen("voxels-again", [&](const cImage& image) { return Difference(voxels, image, 0, 0, 1, 0.9) < 0.02; });
  EXPECT_LT(Difference(voxels, again, 0, 0, 1, 0.9), 0.02) << "the room is not what it was";

  // Every menu, by the arrow keys.
  Do("mousemove " + At(0.015, 0.012) + " click 1");
  for (int i = 0; i < 6; i++) {
    const cImage menu = Picture("menu-" + std::to_string(i), true);
    EXPECT_GT(Difference(voxels, menu, 0, 0.03, 0.35, 0.9), 0.005) << "menu " << i << " is not seen";
    Do("key Right");
  }
  Do("key Escape key Escape");

  // A light theme is light.
  ASSERT_LT(Brightness(voxels, 0, 0, 1, 0.02), 110);
  Do("key ctrl+shift+l");
  const auto isLight = [](const cImage& image) { return Brightness(image, 0, 0, 1, 0.02) > 150; };
  EXPECT_TRUE(isLight(PictureWhen("light", isLight))) << "the theme has not changed";
  Do("mousemove " + At(0.08, 0.012) + " click 1");
  Picture("menu-light", true);
  Do("key Escape key Escape key ctrl+shift+l");

  // Small and large.
  Do("windowsize " + m_Window + " 640 480");
  const cImage small = PictureWhen("small", [](const cImage& image) { return image.Width() == 640; });
  EXPECT_EQ(small.Width(), 640);
  EXPECT_EQ(small.Height(), 480);
  EXPECT_GT(Detail(small, 0.4, 0.3, 0.6, 0.7), 0.05) << "panels leave no view";
  Do("windowmove " + m_Window + " 0 0 windowsize " + m_Window + " 3840 2160");
  const cImage large = PictureWhen("large", [](const cImage& image) { return image.Width() == 3840; });
  EXPECT_EQ(large.Width(), 3840);
  EXPECT_EQ(large.Height(), 2160);
  EXPECT_GT(Detail(large, 0, 0, 0.2, 0.02), 0.5) << "no menu bar";
  // Four steps of a quarter: everything is twice as large.
  Do("key ctrl+equal key ctrl+equal key ctrl+equal key ctrl+equal");
  const auto isTwice = [&](const cImage& image) { return Difference(large, image, 0, 0.013, 0.5, 0.022) > 0.2; };
  EXPECT_TRUE(isTwice(PictureWhen("large-scale-2", isTwice))) << "the bar is no taller";
  EXPECT_EQ(Leave(), 0) << Log();
  EXPECT_NE(Read("Options.xml").find("<InterfaceScale>2"), std::string::npos) << Read("Options.xml");
}

TEST_F(JourneyTest, LayoutAndLanguageSurviveARestart) {
  Start(Opens::Post);
  const auto right = [](const cImage& a, const cImage& b) { return Difference(a, b, 0.8, 0.03, 1, 0.9); };
  const cImage before = Picture("before");
  Do("key ctrl+shift+p");  // the preferences
  const cImage opened = PictureWhen("opened", [&](const cImage& image) { return right(before, image) > 0.02; });
  EXPECT_GT(right(before, opened), 0.02) << "no panel opened";
  // The language is the third row of the preferences.
  Do("mousemove " + At(1500, 666) + " click 1 sleep 0.3");
  Picture("choosing-language", true);
  Do("key d sleep 0.2 key Return");
  const auto bar = [](const cImage& a, const cImage& b) { return Difference(a, b, 0, 0, 0.25, 0.025); };
  const cImage german = PictureWhen("german", [&](const cImage& image) { return bar(opened, image) > 0.05; });
  EXPECT_GT(bar(opened, german), 0.05) << "the menus are still English";
  EXPECT_EQ(Leave(), 0) << Log();
  Start(Opens::Post);
  const cImage again =
      PictureWhen("again", [&](const cImage& image) { return right(german, image) + bar(german, image) < 0.02; });
  EXPECT_LT(right(german, again), 0.02) << "the layout is another";
  EXPECT_LT(bar(german, again), 0.02) << "the language is another";
  EXPECT_EQ(Leave(), 0) << Log();
}

TEST_F(JourneyTest, SecondInstanceSaysThatItKeepsNothing) {
  Start(Opens::Post);
  m_Second = Launch(Opens::Post, {"--frames", "3", "--picture", (m_Folder / "second.png").string()});
  EXPECT_EQ(WaitForEnd(m_Second), 0);
  EXPECT_NE(Read("stderr.txt").find("in use by another"), std::string::npos) << Read("stderr.txt");
  cImage image;
  std::string error;
  EXPECT_TRUE(comms::LoadPng((m_Folder / "second.png").string(), image, error)) << error;
  Do("windowfocus " + m_Window + " sleep 0.3");  // it had been the other's
  EXPECT_EQ(Leave(), 0) << Log();
}

// Each broken file costs one line of the log and no more.
TEST_F(JourneyTest, BrokenFilesStartFine) {
  const fs::path data = CopyData();
  std::ofstream(data / "Languages" / "Broken.xml") << "<Language><Entry><Key>FILE</Key></Entry></Language>";
  Write("Options.xml", "<AppOptions><Theme>Dark</Theme><Language>Broken</Language></AppOptions>");
  Write("Temp/page_0.xml", "<DocksLayout><Left>");
  Write("HotKeys.xml", "no hot keys at all");
  Start(Opens::Post, {"--data", data.string()});
  const cImage picture = Picture("broken-files");
  EXPECT_GT(Detail(picture, 0, 0, 0.3, 0.02), 1) << "no menu bar";
  for (const char* name : {"Broken.xml", "page_0.xml", "HotKeys.xml"}) EXPECT_EQ(CountInLog(name), 1) << name << "\n" << Log();
  EXPECT_EQ(Leave(), 0) << Log();

  Write("Options.xml", std::string(3000, '<'));
  Start(Opens::Post, {"--data", data.string()});
  EXPECT_GT(Detail(Picture("broken-options"), 0, 0, 0.3, 0.02), 1) << "no menu bar";
  EXPECT_EQ(CountInLog("Options.xml"), 1) << Log();
  EXPECT_EQ(Leave(), 0) << Log();
}

TEST_F(JourneyTest, MissingShaderIsSaidOnce) {
  const fs::path data = CopyData();
  fs::remove(data / "Shaders" / "Grid.glsl");
  Start(Opens::Post, {"--data", data.string()});
  const cImage picture = Picture("no-grid");
  EXPECT_GT(Detail(picture, VIEW), 0.02) << "the sculpture is gone with the grid";
  Do("key 7 key 1");
  Picture("no-grid-later");
  // A line for each variant of the shader that is asked for.
  EXPECT_GE(CountInLog("Grid.glsl"), 1) << Log();
  EXPECT_LE(CountInLog("Grid.glsl"), 2) << Log();
  EXPECT_EQ(Leave(), 0) << Log();
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
