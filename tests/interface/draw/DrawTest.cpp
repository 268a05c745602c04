// Icons, colours and the gathering of shapes, without a device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <sstream>

#include "comms/Log.h"
#include "interface/draw/Icons.h"
#include "interface/draw/TestPage.h"
#include "interface/draw/Theme.h"
#include "shell/TestFolder.h"

using namespace comms;
using testing::HasSubstr;

static size_t CountPlaces(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) count++;
  return count;
}

// Names of all icons that the interface uses.
static const char* const UsedIcons =
    "Visible Hidden Ghost VoxSurf Surface OpenState ClosedState Locked Unlocked DependsOnPressure Pressure ArrowRight ArrowDown "
    "ArrowLeft ArrowUp Close Plus Minus Delete Search Folder File Save Open Undo Redo Settings Sun Moon Pen Sphere Brush Carve "
    "Smooth Add Subtract Airbrush Symmetry Layers Material Camera Grid Perspective Orthographic Frame Rotate Pan Zoom Voxels "
    "Paint Retopo Sculpt Render Check Menu Dots Pin Float Warning Info Reset Copy Paste Color Curve Tablet Keyboard Window "
    "Segment Stamp Wireframe";

// --- icons ---------------------------------------------------------------------------------------------------------------------

TEST(Icons, AllAreDrawnInsideTheirBoxAtEverySize) {
  LogRecorder log;
  draw::Icons icons(JoinPath(MORVANE_DATA_DIR, "Icons/Icons.txt"));
  std::istringstream used(UsedIcons);
  for (std::string name; used >> name;) EXPECT_TRUE(icons.Has(name)) << name;
  for (const auto& [name, drawing] : icons.All())
    for (int side = 11; side <= 64; side++) {
      const int fitted = draw::Icons::FitSide(side);
      ASSERT_TRUE(fitted == side || fitted == side - 1);
      const draw::Mask mask = icons.Rasterize(name, fitted);
      ASSERT_EQ(mask.Coverage.size(), size_t(fitted * fitted));
      // The same with a rim around: what lies there was cut.
      draw::Drawing moved = drawing;
      const float scale = float(fitted) / draw::Icons::Grid;
      draw::FitToPixels(moved, {12, 12}, scale);
      const int rim = 8, wide = fitted + 2 * rim;
      const float pen = std::max(1.0f, std::round(1.5f * scale));
      const draw::Mask whole = draw::RasterizeDrawing(
          moved, {.Scale = scale, .PenWidth = pen, .Width = wide, .Height = wide, .Offset = {float(rim), float(rim)}});
      const auto sum = [](const draw::Mask& m) { return std::accumulate(m.Coverage.begin(), m.Coverage.end(), 0); };
      EXPECT_GT(sum(mask), 255 * fitted / 4) << name << side;
      EXPECT_LE(sum(whole) - sum(mask), 255) << name << " is cut at " << side;
    }
  EXPECT_EQ(log.Text(), "");
}

TEST(Icons, UprightAndLevelLinesAreCrisp) {
  draw::Icons icons(JoinPath(MORVANE_DATA_DIR, "Icons/Icons.txt"));
  for (const char* name : {"Plus", "Menu", "Window", "Orthographic"})
    for (const int side : {16, 24, 32, 48}) {
      const draw::Mask mask = icons.Rasterize(name, draw::Icons::FitSide(side));
      const auto soft = std::count_if(mask.Coverage.begin(), mask.Coverage.end(), [](uint8_t c) { return c > 20 && c < 235; });
      EXPECT_LE(soft, 48) << name << side;  // round ends and corners alone
    }
}

TEST(Icons, BrokenFilesAreToldWithTheirPlaceAndCostOneIcon) {
  const TestFolder folder("icons");
  folder.Write("Icons.txt", "  M 1 1 L 2 2\nGood # of all\n  M 3 3 L 20 20\n\nBad\n  M 3 3 L 4\nWorse\n\tL 3 3\nEmpty\n");
  LogRecorder log;
  draw::Icons icons(folder.Path("Icons.txt"));
  for (const char* said : {"line 1, an indented line before the first name", "line 6, column", "line 8, column"})
    EXPECT_THAT(log.Text(), HasSubstr(said));
  EXPECT_TRUE(icons.Has("Good"));
  for (const char* name : {"Bad", "Worse", "Empty", "Never"}) {
    EXPECT_FALSE(icons.Has(name));
    for (int again = 0; again < 2; again++)
      EXPECT_THAT(icons.Rasterize(name, 15).Coverage, testing::Contains(testing::Gt(200))) << "an outline";
    EXPECT_EQ(CountPlaces(log.Text(), cStr("icon \"") + name + "\""), 1u) << "said once";
  }
  folder.Write("Icons.txt", "\x7F\x03 garbage \xFF\nmore of it");
  draw::Icons none(folder.Path("Icons.txt"));
  none.Rasterize("Good", 15);
  EXPECT_EQ(CountPlaces(log.Text(), "holds no drawing"), 1u);
}

TEST(Icons, PathsThatAreNoneAreRefusedWhole) {
  for (const char* text : {"M", "M 1", "M 1 x", "M 1 nan", "M 1 inf", "M 1 1e30", "M 1 1001", "L 1 1", "Z", "M 1 1 Z L 2 2",
                           "M 1 1 C 1 1 2 2 3", "Q 1 1", "O 1 1", "R 1 1 2 2", "A 1 1 1 0", "M 1 1 L 2 2 ?", "-"}) {
    draw::Drawing drawing;
    cStr error;
    EXPECT_FALSE(draw::ParsePath(text, drawing, error)) << text;
    EXPECT_THAT(error, testing::StartsWith("column ")) << text;
    EXPECT_TRUE(drawing.empty()) << text;
  }
  draw::Drawing drawing;
  cStr error;
  EXPECT_TRUE(draw::ParsePath("M1,1L2-2.5 3 3Z F O 5 5 2 S R 0 0 -1 5 2 A 1 1 -3 0 1000", drawing, error)) << error;
  EXPECT_EQ(drawing.size(), 3u);
  draw::RasterizeDrawing(drawing, {.Scale = 1e3f, .PenWidth = 3, .Width = 7, .Height = 5, .Offset = {}});
}

// A circle's fill and pen cover the areas that geometry says.
TEST(Icons, CoverageIsArea) {
  draw::Drawing disk, ring;
  cStr error;
  ASSERT_TRUE(draw::ParsePath("F O 12 12 8", disk, error));
  ASSERT_TRUE(draw::ParsePath("O 12 12 8", ring, error));
  for (const float scale : {1.0f, 1.7f, 3.0f}) {
    draw::RasterOptions options{.Scale = scale, .PenWidth = 2 * scale, .Width = 80, .Height = 80, .Offset = {0.3f, 0.4f}};
    const auto area = [&](const draw::Drawing& d) {
      const draw::Mask mask = draw::RasterizeDrawing(d, options);
      return std::accumulate(mask.Coverage.begin(), mask.Coverage.end(), 0.0) / 255;
    };
    EXPECT_NEAR(area(disk), M_PI * 64 * scale * scale, 2 * scale * scale);
    EXPECT_NEAR(area(ring), 2 * M_PI * 8 * 2 * scale * scale, 2 * scale * scale);
  }
}

// --- colours -------------------------------------------------------------------------------------------------------------------

TEST(Colours, ContrastIsThatOfTheStandard) {
  EXPECT_NEAR(ContrastRatio(0xFF000000, 0xFFFFFFFF), 21, 0.01);
  EXPECT_NEAR(ContrastRatio(0xFF767676, 0xFFFFFFFF), 4.54, 0.01);
  EXPECT_EQ(MixColor(0xFF102030, 0x00304050, 0.5f), 0x80203040u);
  EXPECT_EQ(WithAlpha(0xFF123456, 0.5f), 0x80123456u);
}

TEST(Colours, TextIsReadableOnEveryGroundInBothThemes) {
  for (const ThemeKind kind : {ThemeKind::Dark, ThemeKind::Light}) {
    SetTheme(kind);
    const Theme& t = GetTheme();
    const struct {
      cList<uint32_t> Texts, Grounds;
      float Least = 4.5f;
    } rows[] = {
        {{t.Text, t.TextTitle, t.TextDim},
         {t.Window, t.Panel, t.PanelHeader, t.Field, t.FieldHot, t.Menu, t.MenuHot, t.Button, t.ButtonHot, t.ButtonDown}},
        // Nothing that is disabled lies under the pointer or on a whole button.
        {{t.TextDisabled}, {t.Window, t.Panel, t.PanelHeader, t.Field, t.Menu, MixColor(t.Button, t.Panel, 0.6f)}},
        {{t.Text}, {MixColor(t.Field, t.Accent, 0.62f)}},  // a slider's number over its bar
        {{t.Danger, t.Warning, t.Good}, {t.Window, t.Panel, t.PanelHeader, t.Field, t.FieldHot, t.Menu, t.Button}},
        {{t.AccentText}, {t.Accent, t.AccentHot}},
        {{t.FieldFocus}, {t.Panel, t.Field}, 3},
    };
    for (const auto& row : rows)
      for (const uint32_t text : row.Texts)
        for (const uint32_t ground : row.Grounds)
          EXPECT_GE(ContrastRatio(text, ground), row.Least) << int(kind) << std::hex << " " << text << " " << ground;
  }
  SetTheme(ThemeKind::Dark);
}

// --- shapes --------------------------------------------------------------------------------------------------------------------

TEST(Shapes, APageIsAHandfulOfDrawCalls) {
  cRenderNull device;
  Canvas canvas(device, MORVANE_DATA_DIR);
  const auto countCalls = [&](auto&& draw) {
    canvas.Begin(400, 300, 1);
    draw();
    canvas.End();
    return canvas.DrawCalls();
  };
  EXPECT_LE(countCalls([&] { DrawTestPage(canvas); }), 2);
  EXPECT_EQ(countCalls([&] {
              for (int i = -1; i < 10; i++) canvas.Image({float(i), 0, 10, 10}, i < 0 ? i : i % 2);
            }),
            10)
      << "one a change of texture, and -1 is none";
  EXPECT_EQ(countCalls([] {}), 0);
}

TEST(Shapes, NothingReachesPastTheClips) {
  cRenderNull device;
  Canvas canvas(device, MORVANE_DATA_DIR);
  canvas.Begin(400, 300, 1);
  canvas.PushClip({100, 100, 200, 150});
  canvas.PushClip({50.4f, 120.6f, 100, 300});
  EXPECT_EQ(canvas.Clip(), (cRect{100, 121, 50, 129}));
  DrawTestPage(canvas);
  canvas.PopClip();
  EXPECT_EQ(canvas.Clip(), (cRect{100, 100, 200, 150}));
  for (int pop = 0; pop < 2; pop++) canvas.PopClip();  // one too many
  EXPECT_EQ(canvas.Clip(), canvas.Screen());
  canvas.PushClip({10, 10, 0, 50});
  DrawTestPage(canvas);
  canvas.End();
  EXPECT_EQ(VertexBounds(device), (cRect{100, 121, 50, 129}));
}

// Without icons and shaders, too: that is said once.
TEST(Shapes, OddNumbersDrawNothingAndHarmNothing) {
  LogRecorder log;
  cRenderNull device;
  {
    Canvas canvas(device, "/nowhere");
    for (const auto& [given, taken] : {std::pair{NAN, 0.5f}, {1e9f, 4.0f}}) {
      canvas.Begin(-5, 100, given);
      EXPECT_EQ(canvas.Scale(), taken);
    }
    const cVec2 points[] = {{0, 0}, {NAN, 3}, {5, 5}, {5, 5}, {INFINITY, 0}, {0, 0}};
    for (const size_t count : {0u, 1u, 2u, 6u})
      for (const bool closed : {false, true}) canvas.Polyline(std::span(points, count), 3, 0xFFFFFFFF, closed);
    for (const cRect& rect :
         {cRect{0, 0, -5, 5}, cRect{NAN, 0, 5, 5}, cRect{0, 0, INFINITY, 1}, cRect{1e30f, 0, 5, 5}, cRect{0, 0, 1e30f, 1e30f}}) {
      canvas.PushClip(rect);
      canvas.FillRect({0, 0, 50, 50}, 0xFFFFFFFF);
      canvas.PopClip();
      canvas.FillRect(rect, 0xFFFFFFFF);
      canvas.Shadow(rect, 3, 3, 0xFFFFFFFF);
      canvas.Icon("Plus", rect, 0xFFFFFFFF);
      canvas.Text(rect, "text", 0xFFFFFFFF);
      canvas.Paragraph(rect, "text", 0xFFFFFFFF);
      canvas.Image(rect, 0);
    }
  }
  EXPECT_EQ(device.AliveBuffers(), 0);
  EXPECT_EQ(CountPlaces(log.Text(), "Icons.txt"), 1u);
}
