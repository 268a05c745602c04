#include "interface/ProgressBox.h"

#include <algorithm>
#include <cmath>

#include "comms/Str.h"
#include "interface/BoxParts.h"
#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(ProgressBox) {}

// At scale 1.
static constexpr float InsideWidth = 344, BarHeight = 20, AboveBar = 12, AboveButton = 14;

ProgressBox::ProgressBox() : m_Cancel(AddChild(new Button("CANCEL"))) {}

std::string ProgressBox::GetText() const {
  const double part = Maximum > 0 ? std::clamp(Value / Maximum, 0.0, 1.0) : 0;
  return comms::Format("%d%%", int(part * 100));
}

cRect ProgressBox::PlaceIn(const cRect& screen, Canvas& canvas) {
  const float inside = std::min(canvas.Px(InsideWidth), screen.W - 2 * BoxInset(canvas));
  float height = BoxTitleHeight(::GetText(Title), inside, canvas, TextStyle::Bold) + canvas.Px(AboveBar + BarHeight);
  if (CanCancel) height += canvas.Px(AboveButton + BoxButtonHeight);
  return PlaceBox(screen, inside, height, canvas);
}

void ProgressBox::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  m_Cancel->Visible = CanCancel;
  m_Cancel->Enabled = !Cancelled;
  ArrangeBoxButtons({&m_Cancel, 1}, rect, canvas);
}

// The percentage stands over the bar, in two colours where the bar ends under it.
void ProgressBox::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const cRect inside = DrawBoxGround(canvas, Rect, ::GetText(Title), TextStyle::Bold);
  const cRect bar{inside.X, inside.Y + canvas.Px(AboveBar), inside.W, canvas.Px(BarHeight)};
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
  const cRect& button = m_Cancel->Rect;
  canvas.Text({inside.X, button.Y, button.X - inside.X, button.H}, ::GetText(Cancelled ? "STOPPING" : "ESC_STOPS"), theme.TextDim,
              TextStyle::Small);
}

bool ProgressBox::IsCancel(const InputEvent& event) const {
  if (!CanCancel) return false;
  if (event.Kind == InputKind::KeyDown) return event.Key == KeyEsc;
  return event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left && m_Cancel->Rect.Contains(event.X, event.Y);
}
