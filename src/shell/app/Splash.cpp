#include "shell/app/Splash.h"

#include <algorithm>

#include "interface/WidgetDraw.h"
#include "interface/draw/Theme.h"

// At scale 1.
static constexpr float Width = 260, Height = 96, Inset = 24;

void Splash::Draw(Canvas& canvas) const {
  const Theme& theme = GetTheme();
  const cRect screen = canvas.Screen();
  const float width = std::min(canvas.Px(Width), screen.W), height = std::min(canvas.Px(Height), screen.H);
  const cRect box{float(int((screen.W - width) / 2)), float(int((screen.H - height) / 2)), width, height};
  DrawPopupGround(canvas, box, theme.Panel);
  const cRect inside = box.Shrunk(canvas.Px(Inset));
  const float title = canvas.LineHeight(TextStyle::Title);
  canvas.Text({inside.X, inside.Y, inside.W, title}, m_Name, theme.TextTitle, TextStyle::Title, TextAlign::Center);
  canvas.Text({inside.X, inside.Bottom() - title, inside.W, title}, m_Version, theme.TextDim, TextStyle::Normal,
              TextAlign::Center);
}
