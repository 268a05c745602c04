#include "interface/BoxParts.h"

#include <algorithm>
#include <cmath>

#include "interface/Button.h"
#include "interface/WidgetDraw.h"

// At scale 1.
static constexpr float ButtonWidth = 80, ButtonGap = 8;

static float WidthOf(const Button& button, Canvas& canvas) { return std::max(canvas.Px(ButtonWidth), button.WidthFor(canvas)); }

cRect PlaceBox(const cRect& screen, float insideWidth, float insideHeight, Canvas& canvas) {
  const float edges = 2 * canvas.Px(BoxInset);
  const float width = std::min(insideWidth + edges, screen.W), height = std::ceil(insideHeight + edges);
  return KeepInside({std::floor((screen.W - width) / 2), std::floor((screen.H - height) * 0.42f), width, height}, screen);
}

float BoxButtonsWidth(std::span<Button* const> buttons, Canvas& canvas) {
  float sum = 0;
  for (const Button* button : buttons) sum += WidthOf(*button, canvas) + canvas.Px(ButtonGap);
  return sum - (buttons.empty() ? 0 : canvas.Px(ButtonGap));
}

void ArrangeBoxButtons(std::span<Button* const> buttons, const cRect& box, Canvas& canvas) {
  const cRect inside = box.Shrunk(canvas.Px(BoxInset));
  const float height = canvas.Px(BoxButtonHeight);
  float x = inside.Right() - BoxButtonsWidth(buttons, canvas);
  for (Button* button : buttons) {
    const float width = WidthOf(*button, canvas);
    button->Arrange({x, inside.Bottom() - height, width, height}, canvas);
    x += width + canvas.Px(ButtonGap);
  }
}

cRect DrawBoxGround(Canvas& canvas, const cRect& box, std::string_view title, TextStyle style) {
  DrawPopupGround(canvas, box, GetTheme().Panel);
  cRect inside = box.Shrunk(canvas.Px(BoxInset));
  const float line = canvas.LineHeight(style);
  canvas.Text({inside.X, inside.Y, inside.W, line}, title, GetTheme().TextTitle, style);
  inside.Y += line;
  inside.H -= line;
  return inside;
}
