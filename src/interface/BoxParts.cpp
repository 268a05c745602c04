#include "interface/BoxParts.h"

#include <algorithm>
#include <cmath>

#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/WidgetDraw.h"

// At scale 1.
static constexpr float ButtonWidth = 80, ButtonGap = 8;

static float WidthOf(const Button& button, Canvas& canvas) { return std::max(canvas.Px(ButtonWidth), button.WidthFor(canvas)); }

float BoxInset(const Canvas& canvas) {
  const bool small = float(canvas.Width()) < canvas.Px(320) || float(canvas.Height()) < canvas.Px(240);
  return canvas.Px(small ? 8 : 18);
}

std::string GetBoxTitle(std::string_view key) {
  std::string title = ::GetText(key);
  for (const std::string_view dots : {"…", "..."})
    if (title.ends_with(dots)) title.erase(title.size() - dots.size());
  return title;
}

cRect PlaceBox(const cRect& screen, float insideWidth, float insideHeight, Canvas& canvas) {
  const float edges = 2 * BoxInset(canvas);
  const float width = std::min(insideWidth + edges, screen.W), height = std::min(std::ceil(insideHeight + edges), screen.H);
  return KeepInside({std::floor((screen.W - width) / 2), std::floor((screen.H - height) * 0.42f), width, height}, screen);
}

float BoxButtonsWidth(std::span<Button* const> buttons, Canvas& canvas) {
  float sum = 0;
  for (const Button* button : buttons) sum += WidthOf(*button, canvas) + canvas.Px(ButtonGap);
  return sum - (buttons.empty() ? 0 : canvas.Px(ButtonGap));
}

// How many of the first buttons stand side by side; at least one.
static size_t CountInLine(std::span<Button* const> buttons, float width, Canvas& canvas) {
  size_t count = buttons.size();
  while (count > 1 && BoxButtonsWidth(buttons.first(count), canvas) > width) count--;
  return count;
}

float BoxButtonsHeight(std::span<Button* const> buttons, float insideWidth, Canvas& canvas) {
  float height = 0;
  for (; !buttons.empty(); buttons = buttons.subspan(CountInLine(buttons, insideWidth, canvas)))
    height += canvas.Px(BoxButtonHeight) + (height > 0 ? canvas.Px(ButtonGap) : 0);
  return height;
}

void ArrangeBoxButtons(std::span<Button* const> buttons, const cRect& box, Canvas& canvas) {
  const cRect inside = box.Shrunk(BoxInset(canvas));
  const float height = canvas.Px(BoxButtonHeight);
  float y = inside.Bottom() - BoxButtonsHeight(buttons, inside.W, canvas);
  while (!buttons.empty()) {
    const auto line = buttons.first(CountInLine(buttons, inside.W, canvas));
    float x = inside.Right() - BoxButtonsWidth(line, canvas);
    for (Button* button : line) {
      const float left = std::max(x, inside.X), width = WidthOf(*button, canvas);
      button->Arrange({left, y, std::min(width, inside.Right() - left), height}, canvas);
      x += width + canvas.Px(ButtonGap);
    }
    y += height + canvas.Px(ButtonGap);
    buttons = buttons.subspan(line.size());
  }
}

float BoxTitleHeight(std::string_view title, float insideWidth, Canvas& canvas, TextStyle style) {
  return canvas.ParagraphHeight(insideWidth, title, style);
}

cRect DrawBoxGround(Canvas& canvas, const cRect& box, std::string_view title, TextStyle style) {
  DrawPopupGround(canvas, box, GetTheme().Panel);
  cRect inside = box.Shrunk(BoxInset(canvas));
  const float height = canvas.Paragraph(inside, title, GetTheme().TextTitle, style);
  inside.Y += height;
  inside.H -= height;
  return inside;
}
