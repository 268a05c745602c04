#include "interface/ProgressBox.h"

#include <algorithm>
#include <cmath>

#include "comms/Str.h"
#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(ProgressBox) {}

std::string ProgressBox::GetText() const {
  const double part = Maximum > 0 ? std::clamp(Value / Maximum, 0.0, 1.0) : 0;
  return comms::Format("%d%%", int(part * 100));
}

cRect ProgressBox::PlaceIn(const cRect& screen, Canvas& canvas) {
  const float inset = canvas.Px(18), width = std::min(canvas.Px(380), screen.W);
  float height = 2 * inset + canvas.LineHeight(TextStyle::Bold) + canvas.Px(12 + 20);
  if (CanCancel) height += canvas.Px(8) + canvas.LineHeight(TextStyle::Small);
  return {std::floor((screen.W - width) / 2), std::floor((screen.H - height) * 0.42f), width, std::ceil(height)};
}

// The percentage stands over the bar, in two colours where the bar ends under it.
void ProgressBox::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  DrawPopupGround(canvas, Rect, theme.Panel);
  const cRect inside = Rect.Shrunk(canvas.Px(18));
  const float line = canvas.LineHeight(TextStyle::Bold);
  canvas.Text({inside.X, inside.Y, inside.W, line}, ::GetText(Title), theme.TextTitle, TextStyle::Bold);
  const cRect bar{inside.X, inside.Y + line + canvas.Px(12), inside.W, canvas.Px(20)};
  const double part = Maximum > 0 ? std::clamp(Value / Maximum, 0.0, 1.0) : 0;
  DrawField(canvas, bar, false, false);
  canvas.Text(bar, GetText(), theme.Text, TextStyle::Number, TextAlign::Center);
  if (part > 0) {
    canvas.PushClip({bar.X, bar.Y, std::ceil(bar.W * float(part)), bar.H});
    canvas.FillRoundRect(bar, canvas.Px(Measures::Radius), theme.Accent);
    canvas.Text(bar, GetText(), theme.AccentText, TextStyle::Number, TextAlign::Center);
    canvas.PopClip();
  }
  if (!CanCancel) return;
  const float small = canvas.LineHeight(TextStyle::Small);
  canvas.Text({inside.X, inside.Bottom() - small, inside.W, small}, ::GetText(Cancelled ? "STOPPING" : "ESC_STOPS"),
              theme.TextDim, TextStyle::Small);
}

bool ProgressBox::OnKey(const InputEvent& event) {
  if (event.Kind == InputKind::KeyDown && event.Key == KeyEsc && CanCancel) Cancelled = true;
  return true;
}
