// Icons, colours and the gathering of shapes, without a device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>

#include "comms/Log.h"
#include "comms/cRenderNull.h"
#include "interface/draw/Batch.h"
#include "interface/draw/Gallery.h"
#include "interface/draw/Icons.h"
#include "interface/draw/Theme.h"

namespace fs = std::filesystem;
using namespace comms;
using testing::HasSubstr;

static size_t CountPlaces(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) count++;
  return count;
}

// --- icons ---------------------------------------------------------------------------------------------------------------------

TEST(Icons, AllAreDrawnInsideTheirBoxAtEverySize) {
  LogRecorder log;
  draw::Icons icons(JoinPath(MORVANE_DATA_DIR, "Icons/Icons.txt"));
  for (size_t i = 0; i < NumIconNames; i++) EXPECT_TRUE(icons.Has(IconNames[i])) << IconNames[i];
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
  const fs::path file = fs::path(testing::TempDir()) / ("icons" + std::to_string(getpid()) + ".txt");
  std::ofstream(file) << "  M 1 1 L 2 2\nGood # of all\n  M 3 3 L 20 20\n\nBad\n  M 3 3 L 4\nWorse\n\tL 3 3\nEmpty\n";
  LogRecorder log;
  draw::Icons icons(file.string());
  fs::remove(file);
  EXPECT_THAT(log.Text(), HasSubstr("line 1, an indented line before the first name"));
  EXPECT_THAT(log.Text(), HasSubstr("line 6, column"));
  EXPECT_THAT(log.Text(), HasSubstr("line 8, column"));
  EXPECT_TRUE(icons.Has("Good"));
  for (const char* name : {"Bad", "Worse", "Empty", "Never"}) {
    EXPECT_FALSE(icons.Has(name));
    for (int again = 0; again < 3; again++) {
      const draw::Mask mask = icons.Rasterize(name, 15);
      EXPECT_GT(*std::max_element(mask.Coverage.begin(), mask.Coverage.end()), 200);
    }
    EXPECT_EQ(CountPlaces(log.Text(), cStr("icon \"") + name + "\""), 1u) << "said once";
  }
}

TEST(Icons, AMissingFileIsSaidOnce) {
  LogRecorder log;
  cRenderNull device;
  Canvas canvas(device, "/nowhere");
  canvas.Begin(100, 100, 1);
  canvas.Icon("Visible", {0, 0, 16, 16}, 0xFFFFFFFF);
  canvas.End();
  EXPECT_EQ(CountPlaces(log.Text(), "Icons.txt"), 1u);
  EXPECT_EQ(canvas.DrawCalls(), 1);
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
    ASSERT_EQ(t.Kind, kind);
    const uint32_t plain[] = {t.Window, t.Panel,   t.PanelHeader, t.Field,     t.FieldHot,
                              t.Menu,   t.MenuHot, t.Button,      t.ButtonHot, t.ButtonDown};
    for (const uint32_t ground : plain) {
      for (const uint32_t text : {t.Text, t.TextTitle, t.TextDim})
        EXPECT_GE(ContrastRatio(text, ground), 4.5f) << int(kind) << std::hex << " " << text << " " << ground;
    }
    // Nothing that is disabled lies under the pointer or on a whole button.
    for (const uint32_t ground : {t.Window, t.Panel, t.PanelHeader, t.Field, t.Menu, MixColor(t.Button, t.Panel, 0.6f)})
      EXPECT_GE(ContrastRatio(t.TextDisabled, ground), 4.5f) << int(kind) << std::hex << " " << ground;
    EXPECT_GE(ContrastRatio(t.Text, MixColor(t.Field, t.Accent, 0.62f)), 4.5f) << "a slider's number over its bar";
    for (const uint32_t ground : {t.Window, t.Panel, t.PanelHeader, t.Field, t.FieldHot, t.Menu, t.Button})
      for (const uint32_t text : {t.Danger, t.Warning, t.Good})
        EXPECT_GE(ContrastRatio(text, ground), 4.5f) << int(kind) << std::hex << " " << text << " " << ground;
    for (const uint32_t ground : {t.Accent, t.AccentHot})
      EXPECT_GE(ContrastRatio(t.AccentText, ground), 4.5f) << int(kind) << std::hex << ground;
    for (const uint32_t ground : {t.Panel, t.Field}) EXPECT_GE(ContrastRatio(t.FieldFocus, ground), 3.0f) << int(kind);
  }
  SetTheme(ThemeKind::Dark);
}

// --- shapes --------------------------------------------------------------------------------------------------------------------

TEST(Shapes, APageIsAHandfulOfDrawCalls) {
  cRenderNull device;
  Canvas canvas(device, MORVANE_DATA_DIR);
  for (int frame = 0; frame < 2; frame++) {
    canvas.Begin(800, 690, 1);
    DrawGallery(canvas, 5);
    canvas.End();
    EXPECT_LE(canvas.DrawCalls(), 2);
  }
  canvas.Begin(800, 690, 1);
  for (int i = 0; i < 10; i++) canvas.Image({float(i), 0, 10, 10}, i % 2);
  canvas.Image({0, 0, 10, 10}, -1);
  canvas.End();
  EXPECT_EQ(canvas.DrawCalls(), 10) << "one a change of texture";
  canvas.Begin(800, 690, 1);
  canvas.End();
  EXPECT_EQ(canvas.DrawCalls(), 0);
}

TEST(Shapes, NothingReachesPastTheClips) {
  cRenderNull device;
  Canvas canvas(device, MORVANE_DATA_DIR);
  canvas.Begin(800, 690, 1);
  canvas.PushClip({100, 100, 200, 150});
  canvas.PushClip({50.4f, 120.6f, 100, 300});
  EXPECT_EQ(canvas.Clip(), (cRect{100, 121, 50, 129}));
  DrawGallery(canvas, 5);
  canvas.PopClip();
  EXPECT_EQ(canvas.Clip(), (cRect{100, 100, 200, 150}));
  canvas.PopClip();
  canvas.PopClip();  // one too many
  EXPECT_EQ(canvas.Clip(), canvas.Screen());
  canvas.PushClip({10, 10, 0, 50});
  DrawGallery(canvas, 5);
  canvas.End();
  size_t count = 0;
  for (const cRenderNull::Buffer& buffer : device.Buffers) {
    if (buffer.Kind != BufferKind::Vertex) continue;
    for (size_t at = 0; at < buffer.Data.size(); at += sizeof(draw::Vertex), count++) {
      draw::Vertex v;
      std::memcpy(&v, buffer.Data.data() + at, sizeof v);
      ASSERT_TRUE(v.X >= 100 && v.X <= 150 && v.Y >= 121 && v.Y <= 250) << v.X << " " << v.Y;
    }
  }
  EXPECT_GT(count, 100u);
}

TEST(Shapes, OddNumbersDrawNothingAndHarmNothing) {
  cRenderNull device;
  {
    Canvas canvas(device, MORVANE_DATA_DIR);
    canvas.Begin(-5, 0, NAN);
    EXPECT_EQ(canvas.Scale(), 0.5f);
    canvas.Begin(100, 100, 1e9f);
    EXPECT_EQ(canvas.Scale(), 4);
    const cVec2 points[] = {{0, 0}, {NAN, 3}, {5, 5}, {5, 5}, {INFINITY, 0}, {0, 0}};
    for (const size_t count : {0u, 1u, 2u, 6u})
      for (const bool closed : {false, true}) canvas.Polyline(std::span(points, count), 3, 0xFFFFFFFF, closed);
    for (const cRect& rect :
         {cRect{0, 0, -5, 5}, cRect{NAN, 0, 5, 5}, cRect{0, 0, INFINITY, 1}, cRect{1e30f, 0, 5, 5}, cRect{0, 0, 1e30f, 1e30f}}) {
      canvas.FillRect(rect, 0xFFFFFFFF);
      canvas.Shadow(rect, 3, 3, 0xFFFFFFFF);
      canvas.Icon("Plus", rect, 0xFFFFFFFF);
      canvas.Text(rect, "text", 0xFFFFFFFF);
      canvas.Paragraph(rect, "text", 0xFFFFFFFF);
      canvas.Image(rect, 0);
      canvas.PushClip(rect);
      canvas.FillRect({0, 0, 50, 50}, 0xFFFFFFFF);
      canvas.PopClip();
    }
    canvas.End();
  }
  EXPECT_EQ(device.AliveBuffers(), 0);
}
