#include "shell/app/TabletPanel.h"

#include <algorithm>

#include "comms/Str.h"
#include "interface/Language.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"

void TabletPanel::Process(double) {
  if (cWidgets* widgets = Manager()) widgets->WantFrameIn(0.1);
}

void TabletPanel::Draw(Canvas& canvas) {
  const PenState state = m_GetState ? m_GetState() : PenState();
  const Theme& theme = GetTheme();
  const float row = canvas.Px(Measures::RowHeight), gap = canvas.Px(Measures::RowGap);
  cRect line = Rect.Shrunk(canvas.Px(Measures::Padding));
  line.H = row;
  const float label = std::min(canvas.Px(96), line.W * 0.45f);
  const auto addText = [&](const char* key, const std::string& value) {
    canvas.Text({line.X, line.Y, label, row}, ::GetText(key), theme.TextDim);
    canvas.Text({line.X + label, line.Y, line.W - label, row}, value, theme.Text, TextStyle::Number);
    line.Y += row + gap;
  };
  const auto addBar = [&](const char* key, float from, float to, const std::string& value) {
    canvas.Text({line.X, line.Y, label, row}, ::GetText(key), theme.TextDim);
    const cRect bar{line.X + label, line.Y, line.W - label, row};
    canvas.FillRoundRect(bar, canvas.Px(Measures::Radius), theme.Field, canvas.Px(1), theme.FieldBorder);
    const cRect inner = bar.Shrunk(canvas.Px(2));
    canvas.FillRoundRect({inner.X + inner.W * from, inner.Y, inner.W * (to - from), inner.H}, canvas.Px(2),
                         WithAlpha(theme.Accent, 0.6f));
    canvas.Text({bar.X, bar.Y, bar.W - canvas.Px(6), row}, value, theme.Text, TextStyle::Number, TextAlign::Right);
    line.Y += row + gap;
  };
  const auto addTilt = [&](const char* key, float tilt) {
    const float place = std::clamp(tilt * 0.5f + 0.5f, 0.0f, 1.0f);
    addBar(key, std::min(place, 0.5f), std::max(place, 0.5f), ShowNumber(comms::Format("%.2f", double(tilt))));
  };
  if (state.Devices.empty()) {
    canvas.Paragraph({line.X, line.Y, line.W, Rect.Bottom() - line.Y}, ::GetText("TABLET_NONE"), theme.TextDim);
    return;
  }
  addText("TABLET_DEVICE", state.LastDevice.empty() ? state.Devices.front() : state.LastDevice);
  addText("TABLET_END", ::GetText(state.IsEraser ? "TABLET_ERASER" : "TABLET_TIP"));
  addBar("TABLET_PRESSURE", 0, std::clamp(state.Pressure, 0.0f, 1.0f), ShowNumber(comms::Format("%.3f", double(state.Pressure))));
  addTilt("TABLET_TILT_X", state.TiltX);
  addTilt("TABLET_TILT_Y", state.TiltY);
  addText("TABLET_RATE", comms::Format("%.0f / s", state.SamplesPerSec));
}
