// Text on the null device: carets, bytes that are no text, cutting, breaking, what is kept, and the letters for a machine without
// fonts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <set>

#include "comms/Log.h"
#include "interface/draw/Glyphs.h"
#include "interface/draw/StrokeFont.h"
#include "interface/draw/TestPage.h"
#include "interface/draw/TextRuns.h"
#include "shell/TestFolder.h"

using namespace comms;
using testing::ElementsAreArray;
using testing::HasSubstr;

namespace {

constexpr TextStyle AllStyles[] = {TextStyle::Small, TextStyle::Normal, TextStyle::Bold, TextStyle::Title, TextStyle::Number};

struct TextTest : testing::Test {
  TextTest() : Page(Device, MORVANE_DATA_DIR) { Page.Begin(800, 600, 1); }
  /// Bounds of what was drawn since it was asked last.
  cRect TakeBounds() {
    for (cRenderNull::Buffer& buffer : Device.Buffers) buffer.Data.clear();
    Page.Flush();
    return VertexBounds(Device);
  }
  /// Whether it lies between these, but for the rim of a letter.
  bool TakeIsWithin(float left, float right) {
    const cRect bounds = TakeBounds();
    return bounds.W == 0 || (bounds.X >= left - 2 && bounds.Right() <= right + 2);
  }
  cRenderNull Device;
  Canvas Page;
};

// Bytes at which a caret may stand, found by asking along the whole line.
cList<size_t> FindCarets(Canvas& canvas, std::string_view text, TextStyle style) {
  std::set<size_t> found;
  const float width = canvas.TextWidth(text, style);
  for (float x = -5; x < width + 5; x += 0.125f) found.insert(canvas.CaretIndex(text, x, style));
  return {found.begin(), found.end()};
}

}  // namespace

TEST_F(TextTest, CaretsStandBetweenCharactersAsPeopleSeeThem) {
  const struct {
    const char* Text;
    cList<size_t> Carets;
  } cases[] = {
      {"", {0}},
      {"abc", {0, 1, 2, 3}},
      {"a\xC3\xA9\xE2\x82\xAC", {0, 1, 3, 6}},                    // two and three bytes
      {"e\xCC\x81x", {0, 3, 4}},                                  // a letter and its accent
      {"q\xCC\x81\xCC\xA3.", {0, 5, 6}},                          // two marks that no font has as one letter
      {"office", {0, 1, 2, 3, 4, 5, 6}},                          // ligatures are shared out
      {"\xD7\xA9\xD7\x9C\xD7\x95", {0, 2, 4, 6}},                 // from right to left
      {"\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA!", {0, 8, 9}},           // the two letters of a flag
      {"\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x94\xAC", {0, 11}},  // joined
      {"\xFF\xC3z", {0, 1, 2, 3}},                                // bytes that are no text
  };
  for (const auto& c : cases)
    for (const TextStyle style : AllStyles) {
      EXPECT_THAT(FindCarets(Page, c.Text, style), ElementsAreArray(c.Carets)) << c.Text;
      for (const size_t byte : c.Carets)
        EXPECT_EQ(Page.CaretIndex(c.Text, Page.CaretX(c.Text, byte, style), style), byte) << c.Text;
      for (size_t i = 0; i + 1 < c.Carets.size(); i++)
        for (size_t inside = c.Carets[i]; inside < c.Carets[i + 1]; inside++)
          EXPECT_EQ(Page.CaretX(c.Text, inside, style), Page.CaretX(c.Text, c.Carets[i], style)) << c.Text;
    }
}

TEST_F(TextTest, RightToLeftWritingRunsBackwardsAndItsFiguresForwards) {
  const std::string_view text = "ab \xD7\xA9\xD7\x9C 12.5 cd";  // ab, two Hebrew letters, a number, cd
  const auto x = [&](size_t byte) { return Page.CaretX(text, byte); };
  EXPECT_LT(x(0), x(1));
  EXPECT_GT(x(3), x(5));           // the first Hebrew letter begins right of the second
  EXPECT_LT(x(8), x(9));           // figures
  EXPECT_LT(x(8), x(5));           // stand left of the letters before them
  EXPECT_LT(x(10), x(11));         // and hold together at the point
  EXPECT_GT(x(13), x(3) - 0.01f);  // cd stands right of all
  EXPECT_NEAR(x(text.size()), Page.TextWidth(text), 1);
}

TEST_F(TextTest, AnyBytesAreSurvived) {
  EXPECT_EQ(Page.TextWidth("\xFF"), Page.TextWidth("\xEF\xBF\xBD"));
  EXPECT_EQ(Page.TextWidth("a\tb\nc"), Page.TextWidth("a b c"));
  // Over-long forms, surrogates, what is past U+10FFFF or cut short: each byte is a character of its own.
  for (const std::string_view bytes : {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\xE0\x9F\xBF", "\x80"})
    EXPECT_EQ(FindCarets(Page, bytes, TextStyle::Normal).size(), bytes.size() + 1) << bytes;
  std::mt19937 random(7);
  for (int round = 0; round < 400; round++) {
    std::string text(random() % 24, ' ');
    for (char& c : text) c = char(random() % 3 ? random() : 0xCC + random() % 4);
    const float width = Page.TextWidth(text);
    ASSERT_TRUE(std::isfinite(width) && width >= 0);
    for (size_t i = 0; i <= text.size() + 1; i++) ASSERT_LE(Page.CaretX(text, i), width);
    ASSERT_LE(Page.CaretIndex(text, 1e9f), text.size());
    Page.Text({0, 0, float(random() % 50), 19}, text, 0xFFFFFFFF, AllStyles[round % 5]);
    Page.Paragraph({0, 0, float(random() % 50), 0}, text, 0xFFFFFFFF);
  }
  TakeBounds();
}

TEST_F(TextTest, WhatDoesNotFitIsCutAndStaysInItsBox) {
  for (const std::string text : {"Torso with a long name", "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D \xD7\xA2\xD7\x95\xD7\x9C\xD7\x9D"})
    for (const TextStyle style : AllStyles) {
      const float whole = Page.TextWidth(text, style);
      float before = 0;
      for (float width = 0; width <= whole + 2; width += 0.5f) {
        const float drawn = Page.Text({100, 0, width, 19}, text, 0xFFFFFFFF, style);
        EXPECT_LE(drawn, std::ceil(width + 0.5f));
        EXPECT_TRUE(drawn >= before || text[0] != 'T') << width;
        before = drawn;
        ASSERT_TRUE(TakeIsWithin(100, 100 + std::ceil(width))) << text << width;
      }
      EXPECT_EQ(before, whole);
    }
  EXPECT_EQ(Page.Text({0, 0, Page.TextWidth("iiii  \xE2\x80\xA6"), 19}, "iiii    wwwwwwww", 0xFFFFFFFF),
            Page.TextWidth("iiii\xE2\x80\xA6"))
      << "no blank before the dots";
}

TEST_F(TextTest, HugeTextsAreCutWithoutShapingThemWhole) {
  std::string letters, backwards;
  for (int i = 0; i < 300000; i++) letters += "ab ", backwards += "\xD7\xA9\xD7\x9C";
  for (const std::string& text : {letters, backwards}) {
    const float drawn = Page.Text({0, 0, 100, 19}, text, 0xFFFFFFFF);
    EXPECT_TRUE(drawn > 50 && drawn <= 101) << drawn;
  }
}

TEST_F(TextTest, AlignmentKeepsTextInsideItsBox) {
  for (const auto& [align, part] : {std::pair{TextAlign::Left, 0.0f}, {TextAlign::Center, 0.5f}, {TextAlign::Right, 1.0f}}) {
    Page.Text({100, 50, 200, 19}, "HxH", 0xFFFFFFFF, TextStyle::Normal, align);
    const cRect bounds = TakeBounds();
    EXPECT_NEAR((bounds.X - 100) / (200 - bounds.W), part, 0.02f);
    EXPECT_NEAR(bounds.Y + bounds.H / 2, 59.5f, 1) << "capitals stand in the middle";
  }
}

TEST_F(TextTest, ParagraphsBreakAtBlanksAndLineEnds) {
  const float line = Page.LineHeight(), word = Page.TextWidth("wwww");
  for (const char* text : {"", "one two"}) EXPECT_EQ(Page.ParagraphHeight(1000, text), line);
  EXPECT_EQ(Page.ParagraphHeight(1000, "one\n\ntwo\n"), 4 * line);
  EXPECT_EQ(Page.ParagraphHeight(word + 1, "wwww wwww   wwww"), 3 * line);
  EXPECT_EQ(Page.ParagraphHeight(word / 2, "wwww"), 2 * line);
  EXPECT_EQ(Page.ParagraphHeight(0, "abc"), 3 * line) << "one character a line is the least";
  EXPECT_EQ(Page.ParagraphHeight(1.5f * word, "wwww/wwww/wwww"), 3 * line) << "behind the joints";
  EXPECT_EQ(Page.ParagraphHeight(1.5f * word, "w wwwwwwww w", TextStyle::Normal, LongWords::Cut), 3 * line);
  Page.Paragraph({0, 0, 1.5f * word, 0}, "w wwwwwwww w", 0xFFFFFFFF, TextStyle::Normal, TextAlign::Left, LongWords::Cut);
  EXPECT_EQ(Page.TextsCut(), 1);
  TakeBounds();
  for (const char* text : {"Words of several lengths, averyveryverylongonethatnolineholds, and \xC3\xA9\xCC\x81nd.",
                           "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D \xD7\xA2\xD7\x95\xD7\x9C\xD7\x9D \xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D "
                           "\xD7\xA2\xD7\x95\xD7\x9C\xD7\x9D"})
    for (const TextAlign align : {TextAlign::Left, TextAlign::Center, TextAlign::Right})
      for (float width = 30; width < 300; width += 7) {
        EXPECT_EQ(Page.Paragraph({100, 0, width, 0}, text, 0xFFFFFFFF, TextStyle::Normal, align),
                  Page.ParagraphHeight(width, text));
        ASSERT_TRUE(TakeIsWithin(100, 100 + width)) << text << width;
      }
}

TEST_F(TextTest, NumbersAlignAndSizesFollowTheScale) {
  EXPECT_EQ(Page.TextWidth("1111111", TextStyle::Number), Page.TextWidth("8888888", TextStyle::Number));
  const float width = Page.TextWidth("Quick sculpting fox"), height = Page.LineHeight();
  Page.Begin(800, 600, 3);
  EXPECT_NEAR(Page.TextWidth("Quick sculpting fox"), 3 * width, 3);
  EXPECT_NEAR(Page.LineHeight(), 3 * height, 2);
  EXPECT_EQ(Page.Px(19), 57);
  Page.Begin(800, 600, 0.5f);
  EXPECT_EQ(Page.Px(0.5f), 1);
  EXPECT_EQ(Page.Px(0), 0);
}

// --- what is kept --------------------------------------------------------------------------------------------------------------

TEST(TextCaches, StayBoundedAndServeWhatIsAskedAgain) {
  draw::Fonts fonts;
  draw::TextRuns runs(fonts);
  const float width = runs.Get("kept", TextStyle::Normal).Width;
  for (int i = 0; i < 10000; i++) {
    runs.Get(std::to_string(i), TextStyle::Normal);
    ASSERT_EQ(runs.Get("kept", TextStyle::Normal).Width, width);
    ASSERT_LE(runs.NumKept(), 2 * draw::TextRuns::MaxRuns + 1);
  }
  EXPECT_EQ(runs.NumShaped(), 10001u) << "a text that every frame asks for is shaped once";
  for (int i = 0; i < 8; i++) runs.Get(std::string(draw::TextRuns::MaxBytes, char('a' + i)), TextStyle::Normal);
  EXPECT_LE(runs.NumKept(), 4u) << "long texts count by their bytes";
}

TEST(TextCaches, TheAtlasGivesRoomBackBetweenFrames) {
  cRenderNull device;
  draw::Fonts fonts;
  draw::Icons icons(JoinPath(MORVANE_DATA_DIR, "Icons/Icons.txt"));
  draw::Glyphs glyphs(device, fonts, icons);
  LogRecorder log;
  size_t most = 0;
  for (int frame = 0; frame < 3; frame++) {
    glyphs.Begin();
    for (int side = 300; side < 420; side++) {
      const draw::AtlasSpot spot = glyphs.GetIcon("Grid", side);
      if (spot.Texture < 0) continue;
      EXPECT_LE(spot.X + spot.Width, draw::Atlas::Side);
      EXPECT_LE(spot.Y + spot.Height, draw::Atlas::Side);
    }
    most = std::max(most, glyphs.NumKept());
    glyphs.Upload();
  }
  EXPECT_EQ(most, 120u);
  EXPECT_EQ(log.Text(), "");
}

TEST_F(TextTest, AFrameLikeTheLastOneUploadsNothing) {
  const auto page = [&] {
    Device.Calls.clear();
    Page.Begin(800, 600, 1);
    for (const TextStyle style : AllStyles) Page.Text({10, 10, 60, 19}, "Some text that is cut", 0xFFFFFFFF, style);
    Page.Icon("Save", {100, 100, 16, 16}, 0xFFFFFFFF);
    Page.End();
  };
  page();
  EXPECT_THAT(Device.Calls, testing::Contains(HasSubstr("UpdateTexture")));
  page();
  EXPECT_THAT(Device.Calls, testing::Each(testing::Not(testing::ContainsRegex("UpdateTexture|Create"))));
}

TEST(FontNames, StandForStylesAndOthersAreSaidOnce) {
  LogRecorder log;
  std::set<TextStyle> styles;
  for (const std::string_view name : GetFontNames()) styles.insert(FindFont(name));
  EXPECT_EQ(styles.size(), 4u) << "all look different";
  EXPECT_EQ(FindFont("Tahoma B8"), TextStyle::Bold);
  EXPECT_EQ(log.Text(), "");
  for (int again = 0; again < 3; again++) EXPECT_EQ(FindFont("Fraktur 12"), TextStyle::Normal);
  const std::string said = log.Text();
  EXPECT_EQ(said.find("Can't generate font"), said.rfind("Can't generate font"));
  EXPECT_THAT(said, HasSubstr("Can't generate font \"Fraktur 12\""));
}

// --- no fonts ------------------------------------------------------------------------------------------------------------------

TEST(BuiltInLetters, DrawWhereTheMachineHasNoFont) {
  const TestFolder folder("nofonts");
  folder.Write("fonts.conf", "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\"><fontconfig></fontconfig>");
  setenv("FONTCONFIG_FILE", folder.Path("fonts.conf").c_str(), 1);
  LogRecorder log;
  cRenderNull device;
  Canvas canvas(device, MORVANE_DATA_DIR);
  canvas.Begin(800, 600, 1.5f);
  unsetenv("FONTCONFIG_FILE");
  EXPECT_THAT(log.Text(), HasSubstr("Can't generate font"));
  EXPECT_GT(canvas.TextWidth("Hello"), 10);
  for (const char* text : {"Hello", "e\xCC\x81x"}) EXPECT_EQ(canvas.CaretIndex(text, canvas.CaretX(text, 3)), 3u);
  EXPECT_LE(canvas.Text({0, 0, 40, 19}, "Hello, world", 0xFFFFFFFF), 41);
  canvas.End();
  EXPECT_EQ(canvas.DrawCalls(), 1);
}

TEST(BuiltInLetters, AreAllThereAndAllDifferent) {
  std::set<std::string> seen;
  std::u32string all = U"\u0378\u00B7\u2026\u2013\u201E\u201C\u201D\u2019\u00D7\u00B0\u2192\u00BB";  // the box first
  for (char32_t c = '!'; c <= '~'; c++) all += c;
  for (char32_t c = 0xC0; c <= 0xFF; c++)
    if (c != 0xD7) all += c;
  for (const char32_t c : all) {
    const draw::Mask mask = draw::RasterizeStrokes(c, 24, 0, false);
    ASSERT_TRUE(mask.Width > 0 && mask.Height > 0);
    const std::string key = std::string(mask.Coverage.begin(), mask.Coverage.end()) + std::to_string(mask.Width);
    EXPECT_TRUE(seen.insert(key).second) << uint32_t(c) << " looks like another letter";
    // Nothing is cut at the rim.
    for (int x = 0; x < mask.Width; x++)
      EXPECT_EQ(mask.Coverage[size_t(x)] + mask.Coverage[mask.Coverage.size() - 1 - size_t(x)], 0);
    for (int y = 0; y < mask.Height; y++) EXPECT_EQ(mask.Coverage[size_t(y) * size_t(mask.Width)], 0) << uint32_t(c);
  }
}
