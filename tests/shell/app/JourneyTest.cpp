// A person at the real window: the program on a display of the tests' own, mouse and keys by xdotool, and the pictures that the
// program stores of itself. Each picture is left in the test's folder, see MORVANE_JOURNEY_PICTURES.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <sstream>
#include <utility>
#include <vector>

#include "comms/Image.h"
#include "shell/FakePortal.h"
#include "shell/app/ProgramTest.h"

namespace fs = std::filesystem;
using comms::cImage;

namespace {

/// Part of a picture, in parts of its sides.
struct Part {
  double Left, Top, Right, Bottom;
};
/// The middle of the view, where the sculpture stands.
constexpr Part View{0.35, 0.25, 0.65, 0.75};
constexpr Part MenuTitles{0, 0, 0.3, 0.02}, RightPanel{0.8, 0.03, 1, 0.9}, All{0, 0, 1, 0.9};

/// Pixels of a picture as such a part.
Part InPixels(const cImage& image, double left, double top, double right, double bottom) {
  return {left / image.Width(), top / image.Height(), right / image.Width(), bottom / image.Height()};
}

/// Mean of `value` over the pixels of a part.
double Mean(const cImage& image, const Part& part, const std::function<double(int x, int y)>& value) {
  double sum = 0;
  int64_t count = 0;
  for (int y = int(part.Top * image.Height()); y < int(part.Bottom * image.Height()); y++)
    for (int x = int(part.Left * image.Width()); x < int(part.Right * image.Width()); x++, count++) sum += value(x, y);
  return count ? sum / double(count) : 0;
}
/// Of the three channels, 0 .. 255.
double Brightness(const cImage& image, const Part& part) {
  return Mean(image, part, [&](int x, int y) {
    const uint8_t* pixel = image.Pixel(x, y);
    return (pixel[0] + pixel[1] + pixel[2]) / 3.0;
  });
}
/// Share of the pixels that differ by more than a little.
double Difference(const cImage& a, const cImage& b, const Part& part) {
  if (a.Width() != b.Width() || a.Height() != b.Height()) return 1;
  return Mean(a, part, [&](int x, int y) {
    const uint8_t *p = a.Pixel(x, y), *q = b.Pixel(x, y);
    return std::max({std::abs(p[0] - q[0]), std::abs(p[1] - q[1]), std::abs(p[2] - q[2])}) > 8;
  });
}
/// How blue it is: what is chosen is.
double Accent(const cImage& image, const Part& part) {
  return Mean(image, part, [&](int x, int y) { return image.Pixel(x, y)[2] - image.Pixel(x, y)[0]; });
}
/// How much neighbours differ, so how much is drawn there: 0 for an even ground.
double Detail(const cImage& image, const Part& part) {
  return Mean(image, part, [&](int x, int y) { return x > 0 ? std::abs(image.Pixel(x, y)[1] - image.Pixel(x - 1, y)[1]) : 0; });
}

class JourneyTest : public ProgramTest {
 protected:
  JourneyTest() : ProgramTest("3840x2160x24") {}
  void SetUp() override {
    ProgramTest::SetUp();
    // Views that jump leave nothing to wait for, and no hint covers what is compared.
    if (!IsSkipped() && !HasFatalFailure())
      Write("Options.xml",
            "<AppOptions><Theme>Dark</Theme><SmoothViews>false</SmoothViews><ShowHints>false</ShowHints></AppOptions>");
  }

  /// The program's own files in the test's folder, to be spoilt there; returns that folder.
  fs::path CopyData() {
    fs::copy(MORVANE_DATA_DIR, m_Folder / "data", fs::copy_options::recursive);
    return m_Folder / "data";
  }

  /// Starts the program and waits for its window and for what it opens: the sample, which takes seconds to grow, or the post.
  void Start(const std::vector<std::string>& words) {
    if (!fs::exists(m_Folder / "window.txt")) Write("window.txt", "100 80 1700 1080 0");
    fs::remove(m_Folder / "Log.txt");  // of the run before
    m_Process = Launch(words);
    const char* done = words.empty() ? "the sample sculpture is done" : "post.obj is open";
    ASSERT_TRUE(Within([&] { return IsInLog(done); })) << Log();
    m_Window = Ask("xdotool search --onlyvisible --name '^Morvane$'");
    m_Window = m_Window.substr(0, m_Window.find('\n'));
    ASSERT_FALSE(m_Window.empty()) << Log();
  }
  /// Closes the window; what waitpid tells of the end, so 0 where all is well.
  int Leave() {
    Do("key ctrl+q");
    return WaitForEnd(m_Process);
  }
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
  cImage Picture(const std::string& name, bool pointerStays = false, const char* seconds = "0.3") {
    // Pictures are numbered; what is still being written has another name.
    const auto path = [&](int number) {
      return m_Folder / "Screenshots" / ("Morvane " + std::to_string(1000 + number).substr(1) + ".png");
    };
    int number = 1;
    while (fs::exists(path(number))) number++;
    Do((pointerStays ? std::string() : "mousemove " + At(0.5, 0.995)) + " sleep " + seconds + " key F12");
    cImage image;
    std::string error;
    EXPECT_TRUE(Within([&] { return fs::exists(path(number)); })) << name << "\n" << Log();
    EXPECT_TRUE(comms::LoadPng(path(number).string(), image, error)) << error;
    std::error_code ignored;
    fs::copy_file(path(number), m_Folder / (name + ".png"), fs::copy_options::overwrite_existing, ignored);
    return image;
  }
  /// The same once it is as it should be: a loaded machine takes its time. The last one, and `fault`, where it never is.
  cImage PictureWhen(const std::string& name, const char* fault, const std::function<bool(const cImage&)>& isReady,
                     bool pointerStays = false) {
    cImage image;
    bool ready = false;
    for (int i = 0; i < 20 && !ready; i++) ready = isReady(image = Picture(name, pointerStays, i < 4 ? "0.1" : "0.4"));
    EXPECT_TRUE(ready) << name << ": " << fault;
    return image;
  }
  /// The same once the part differs from that of another picture by more than `share`.
  cImage PictureUnlike(const cImage& other, const Part& part, double share, const std::string& name, const char* fault) {
    return PictureWhen(name, fault, [&](const cImage& image) { return Difference(other, image, part) > share; });
  }
  cImage PictureLike(const cImage& other, const Part& part, double share, const std::string& name, const char* fault) {
    return PictureWhen(name, fault, [&](const cImage& image) { return Difference(other, image, part) < share; });
  }

  std::string m_Window;
};

TEST_F(JourneyTest, SculptUndoTurnAndLeave) {
  Start({});
  const cImage first =
      PictureWhen("start", "nothing is seen in the view", [](const cImage& image) { return Detail(image, View) > 0.5; });
  ASSERT_EQ(first.Width(), 1600);
  ASSERT_EQ(first.Height(), 1000);
  EXPECT_GT(Detail(first, MenuTitles), 1) << "no menu bar";
  EXPECT_GT(Detail(first, {0.85, 0.05, 1, 0.5}), 0.5) << "no panel at the right";

  // The radius: by drag, then by typing.
  constexpr Part slider{0.91, 0.116, 0.995, 0.136};
  Drag("1", 1480, 126, 1540, 126);
  PictureUnlike(first, slider, 0.02, "slider-dragged", "the slider stands");
  Do("mousemove " + At(1500, 126) + " click --repeat 2 --delay 60 1 sleep 0.3 key ctrl+a type 40");
  Picture("slider-typing", true);
  Do("key Return");
  PictureLike(first, slider, 0.02, "slider-typed", "40 is not what it was");
  Do("key Escape");

  // Another brush, and back to the first.
  constexpr Part tools{0, 0.06, 0.07, 0.17};
  Do("mousemove " + At(60, 92) + " click 1");
  PictureUnlike(first, tools, 0.02, "brush", "no other brush is chosen");
  Do("key c");

  const cImage before = PictureLike(first, tools, 0.01, "before", "the first brush is not back");
  Drag("1", 0.46, 0.5, 0.54, 0.52);
  PictureUnlike(before, View, 0.002, "stroke", "the stroke left no trace");
  Do("key ctrl+z");
  const cImage undone = PictureLike(before, View, 0.001, "undone", "undo is not what was before");

  Drag("1", 0.2, 0.3, 0.3, 0.3);
  const cImage turned = PictureUnlike(undone, View, 0.05, "turned", "a drag beside the sculpture turns nothing");
  Drag("2", 0.5, 0.5, 0.6, 0.5);
  const cImage moved = PictureUnlike(turned, View, 0.05, "moved", "the middle button moves nothing");
  Do("key f key 7");
  const cImage top = PictureUnlike(moved, View, 0.05, "top", "the view from above is no other");

  // Work that is in no file: the program asks, Esc goes back to the work, and the second answer ends it.
  Drag("1", 0.46, 0.5, 0.54, 0.52);
  constexpr Part box{0, 0.2, 1, 0.3};
  const auto isDimmed = [&](const cImage& image) { return Brightness(image, box) < 0.8 * Brightness(top, box); };
  Do("key ctrl+q");
  PictureWhen("asked", "no question", isDimmed);
  Do("key Escape");
  PictureWhen("not-left", "Esc does not close the question", std::not_fn(isDimmed));
  Do("key ctrl+q sleep 0.5 key Right sleep 0.2 key Right sleep 0.2 key Return");
  EXPECT_EQ(WaitForEnd(m_Process), 0) << Log();
}

TEST_F(JourneyTest, RoomsMenusThemesAndSizes) {
  Write("HotKeys.xml", "<HotKeys><Keys><OneHotKey><Code>K</Code><Command>ThemeSystem</Command></OneHotKey></Keys></HotKeys>");
  Start({WritePost()});
  cImage last;
  // The ground and its shadow come to rest after the first frames.
  const cImage voxels = PictureWhen("voxels", "the view does not come to rest", [&](const cImage& image) {
    return Difference(std::exchange(last, image), image, All) < 0.001;
  });
  // The tab of the room is lit, and of the others none; the panels are not those of the voxel room.
  constexpr double tabs[] = {1242, 1316, 1392, 1475, 1554};
  for (int room = 1; room < 5; room++) {
    Do("key F" + std::to_string(5 + room));
    PictureWhen("room-" + std::to_string(room), "another tab is lit, or the panels are the same", [&](const cImage& image) {
      for (int tab = 0; tab < 5; tab++)
        if ((Accent(image, InPixels(image, tabs[tab] - 20, 4, tabs[tab] + 20, 8)) > 50) != (tab == room)) return false;
      return Difference(voxels, image, {0, 0.03, 0.2, 0.9}) + Difference(voxels, image, RightPanel) > 0.01;
    });
  }
  Do("key F5");
  PictureLike(voxels, All, 0.02, "voxels-again", "the room is not what it was");

  // Every menu: a press opens the first one, the pointer walks to the others. Its title is lit, and no other; what hangs below is
  // another menu than before.
  constexpr double titles[] = {20, 59, 108, 160, 213, 274, 338};
  cImage before = voxels;
  for (int i = 0; i < 7; i++) {
    Do("mousemove " + At(titles[i], 13) + (i == 0 ? " click 1" : ""));
    before = PictureWhen(
        "menu-" + std::to_string(i), "its title is not lit, or no other menu is open",
        [&](const cImage& image) {
          for (int title = 0; title < 7; title++) {
            const Part around = InPixels(image, titles[title] - 12, 3, titles[title] + 12, 23);
            if ((Difference(voxels, image, around) > 0.5) != (title == i)) return false;
          }
          return Difference(before, image, InPixels(image, titles[i] - 12, 30, titles[i] + 170, 100)) > 0.02;
        },
        true);
  }
  Do("key Escape key Escape");

  // A light theme is light.
  constexpr Part bar{0, 0, 1, 0.02};
  ASSERT_LT(Brightness(voxels, bar), 110);
  Do("key ctrl+shift+l");
  PictureWhen("light", "the theme has not changed", [&](const cImage& image) { return Brightness(image, bar) > 150; });
  Do("mousemove " + At(0.08, 0.012) + " click 1");
  Picture("menu-light", true);
  Do("key Escape key Escape key ctrl+shift+l");
  PictureLike(voxels, All, 0.02, "dark-again", "the dark theme is another than before");
  Do("key ctrl+shift+l");
  PictureWhen("light-again", "the theme has not changed", [&](const cImage& image) { return Brightness(image, bar) > 150; });
  Do("key k");
  PictureLike(voxels, All, 0.02, "system", "no desktop says that it is light");

  // Small and large, with what belongs at the edges: the titles of the menus, panels at both sides, the status line.
  const auto hasItsParts = [&](const cImage& image, double scale) {
    const int w = image.Width(), h = image.Height();
    const std::pair<const char*, Part> parts[] = {
        {"menus", InPixels(image, 0, 0, 300 * scale, 24 * scale)},
        {"panels at the left", InPixels(image, 8 * scale, 60 * scale, 130 * scale, 300 * scale)},
        {"panels at the right", InPixels(image, w - 200 * scale, 60 * scale, w - 20 * scale, 300 * scale)},
        {"a status line", InPixels(image, 0, h - 22 * scale, 0.4 * w, h)}};
    for (const auto& [what, part] : parts) EXPECT_GT(Detail(image, part), 0.5) << "no " << what << " at " << w << " x " << h;
  };
  Do("windowsize " + m_Window + " 640 480");
  const cImage small =
      PictureWhen("small", "not 640 x 480", [](const cImage& image) { return image.Width() == 640 && image.Height() == 480; });
  EXPECT_GT(Detail(small, {0.4, 0.3, 0.6, 0.7}), 0.05) << "panels leave no view";
  hasItsParts(small, 1);
  Do("windowmove " + m_Window + " 0 0 windowsize " + m_Window + " 3840 2160");
  const cImage large = PictureWhen("large", "not 3840 x 2160",
                                   [](const cImage& image) { return image.Width() == 3840 && image.Height() == 2160; });
  hasItsParts(large, 1);
  // Four steps of a quarter: everything is twice as large.
  Do("key ctrl+equal key ctrl+equal key ctrl+equal key ctrl+equal");
  hasItsParts(PictureUnlike(large, {0, 0.013, 0.5, 0.022}, 0.2, "large-scale-2", "the bar is no taller"), 2);
  EXPECT_EQ(Leave(), 0) << Log();
  EXPECT_NE(Read("Options.xml").find("<Theme>System"), std::string::npos) << Read("Options.xml");
  EXPECT_NE(Read("Options.xml").find("<InterfaceScale>2"), std::string::npos) << Read("Options.xml");
}

TEST_F(JourneyTest, LayoutAndLanguageSurviveARestart) {
  Start({WritePost()});
  const cImage before = Picture("before");
  Do("key ctrl+shift+p");  // the preferences
  const cImage opened = PictureUnlike(before, RightPanel, 0.02, "opened", "no panel opened");
  // The language is the third row of the preferences.
  Do("mousemove " + At(1500, 666) + " click 1 sleep 0.3");
  Picture("choosing-language", true);
  Do("key d sleep 0.2 key Return");
  constexpr Part bar{0, 0, 0.25, 0.025};
  const cImage german = PictureUnlike(opened, bar, 0.05, "german", "the menus are still English");

  // A panel is dragged out by its title and floats; the panels at the right get another width.
  Drag("1", 100, 43, 640, 300);
  const cImage floating = PictureUnlike(german, {0, 0.05, 0.1, 0.8}, 0.1, "floating", "the panel is still at the left");
  EXPECT_GT(Difference(german, floating, {0.38, 0.3, 0.48, 0.6}), 0.3) << "nothing floats over the view";
  Drag("1", 1283, 500, 1180, 500);
  Picture("resized");  // the view is framed as it will be found
  Do("key f");
  const cImage wider = PictureUnlike(floating, {0.75, 0.05, 0.79, 0.85}, 0.1, "wider", "the panels are as wide as before");
  EXPECT_EQ(Leave(), 0) << Log();
  Start({WritePost()});
  Picture("restarted");  // from here on keys arrive
  Do("key f");
  PictureLike(wider, All, 0.02, "again", "the layout or the language is another");
  EXPECT_EQ(Leave(), 0) << Log();
}

TEST_F(JourneyTest, SecondInstanceBeginsWithTheSettingsOfTheFirst) {
  Write("Options.xml", "<AppOptions><Theme>Light</Theme><SmoothViews>false</SmoothViews></AppOptions>");
  Start({WritePost()});
  m_Second = Launch({WritePost(), "--frames", "3", "--picture", (m_Folder / "second.png").string()});
  EXPECT_EQ(WaitForEnd(m_Second), 0);
  EXPECT_NE(Read("stderr.txt").find("in use by another"), std::string::npos) << Read("stderr.txt");
  cImage image;
  std::string error;
  ASSERT_TRUE(comms::LoadPng((m_Folder / "second.png").string(), image, error)) << error;
  EXPECT_GT(image.Pixel(image.Width() / 2, 4)[0], 150) << "the theme is not the person's";
  Do("windowfocus " + m_Window + " sleep 0.3");  // it had been the other's
  EXPECT_EQ(Leave(), 0) << Log();
}

// A picture is drawn on a device of its own, and the window goes on with its own.
TEST_F(JourneyTest, APictureByKeyLeavesTheWindowAsItWas) {
  Write("HotKeys.xml", "<HotKeys><Keys><OneHotKey><Code>K</Code><Command>Render</Command><Parameters>Width=320 Height=240 File=" +
                           (m_Folder / "key.png").string() + "</Parameters></OneHotKey></Keys></HotKeys>");
  Start({WritePost()});
  const cImage before = Picture("before-key");
  Do("key k");
  EXPECT_TRUE(Within([&] { return fs::exists(m_Folder / "key.png"); })) << Log();
  PictureLike(before, View, 0.001, "after-key", "the view is another");
  EXPECT_EQ(Leave(), 0) << Log();
}

// Each broken or missing file costs one line of the log and no more; of shaders the program has its own.
TEST_F(JourneyTest, BrokenFilesStartFine) {
  const fs::path data = CopyData();
  std::ofstream(data / "Languages" / "Broken.xml") << "<Language><Entry><Key>FILE</Key></Entry></Language>";
  fs::remove(data / "Languages" / "English.xml");
  fs::remove(data / "Shaders" / "Grid.glsl");
  for (const char* name : {"Interface.glsl", "mcubes.glsl", "Background.glsl"})
    std::ofstream(data / "Shaders" / name) << "broken";
  Write("Options.xml", "<AppOptions><Theme>Dark</Theme><Language>Broken</Language></AppOptions>");
  Write("Temp/page_0.xml", "<DocksLayout><Left>");
  Write("HotKeys.xml", "no hot keys at all");
  Start({"--data", data.string(), WritePost()});
  const cImage picture = Picture("broken-files");
  EXPECT_GT(Detail(picture, MenuTitles), 1) << "no menu bar";
  EXPECT_GT(Detail(picture, View), 0.02) << "the sculpture is gone";
  Do("key 7 key 1");
  Picture("broken-files-later");
  for (const char* name : {"English.xml", "Broken.xml", "page_0.xml", "HotKeys.xml", "Grid.glsl", "mcubes.glsl"})
    EXPECT_EQ(CountInLog(name), 1) << name << "\n" << Log();
  EXPECT_EQ(Leave(), 0) << Log();
}

#if __has_include(<libportal/portal.h>)

// While the desktop's dialog stands the window lives on, and does nothing of what comes from mouse and keys.
TEST_F(JourneyTest, TheWindowLivesUnderTheDesktopsFileDialog) {
  if (!HasProgram("dbus-daemon")) MORVANE_SKIP("needs dbus-daemon");
  const TestServer bus({"dbus-daemon", "--session", "--nofork", "--print-address=3"});
  ASSERT_FALSE(bus.Address.empty());
  const TestVariable way("DBUS_SESSION_BUS_ADDRESS", bus.Address);
  std::atomic<bool> isOpen = false;
  std::string dialog, caller;
  const FakePortal portal(bus.Address, [&](GDBusMessage* call) -> GVariant* {
    GVariant* body = g_dbus_message_get_body(call);
    if (g_strcmp0(g_dbus_message_get_member(call), "Get") == 0)
      return g_variant_new("(v)", g_variant_new_variant(g_variant_new_uint32(3)));
    if (g_strcmp0(g_dbus_message_get_member(call), "OpenFile") != 0) return nullptr;
    GVariant* options = g_variant_get_child_value(body, 2);
    const char* token = "";
    g_variant_lookup(options, "handle_token", "&s", &token);
    caller = g_dbus_message_get_sender(call);
    std::string sender = caller.substr(1);
    std::replace(sender.begin(), sender.end(), '.', '_');
    dialog = "/org/freedesktop/portal/desktop/request/" + sender + "/" + token;
    g_variant_unref(options);
    isOpen = true;
    return g_variant_new("(o)", dialog.c_str());
  });
  Start({WritePost()});
  const std::string placeBefore = Read("window.txt");
  Do("mousemove " + At(0.5, 0.5) + " key ctrl+o");
  ASSERT_TRUE(Within([&] { return isOpen.load(); })) << Log();
  Do("key F12 sleep 0.3 windowsize " + m_Window + " 1100 700");
  EXPECT_TRUE(Within([&] { return Read("window.txt") != placeBefore; })) << "it does not even hear of its size";
  Do("sleep 0.5");
  EXPECT_FALSE(fs::exists(m_Folder / "Screenshots"));
  g_dbus_connection_emit_signal(portal.Bus(), caller.c_str(), dialog.c_str(), "org.freedesktop.portal.Request", "Response",
                                g_variant_new("(ua{sv})", 1u, nullptr), nullptr);
  g_dbus_connection_flush_sync(portal.Bus(), nullptr, nullptr);
  EXPECT_TRUE(Within([&] {
    Do("key F12 sleep 0.5");
    return fs::exists(m_Folder / "Screenshots/Morvane 001.png");
  })) << "cancelled, and the person works on";
  EXPECT_EQ(Leave(), 0);
}

#endif

}  // namespace
