#include "shell/platform/Tablet.h"

#include <algorithm>
#include <cmath>

#include "comms/Str.h"

namespace {

constexpr double DoubleClickSec = 0.4, DoubleClickPixels = 6;
constexpr double RateWindowSec = 1;

bool Contains(const std::string& text, std::string_view part) {
  for (size_t i = 0; i + part.size() <= text.size(); ++i)
    if (comms::StartsWithNoCase(std::string_view(text).substr(i), part)) return true;
  return false;
}

float ToUnit(const PenAxis& axis, double value) {
  return float(std::clamp((value - axis.Min) / (axis.Max - axis.Min), 0.0, 1.0));
}

/// -1 .. 1; an axis with a sign is upright at 0, another one in its middle.
float ToTilt(const PenAxis& axis, double value) {
  const double upright = axis.Min < 0 && axis.Max > 0 ? 0 : (axis.Min + axis.Max) / 2;
  return float(std::clamp((value - upright) / std::max(upright - axis.Min, axis.Max - upright), -1.0, 1.0));
}

/// As the X server does it: the last value of the axis is the last pixel, not the edge behind it.
double ToDesktop(const PenAxis& axis, double value) {
  return std::clamp((value - axis.Min) / (axis.Max - axis.Min + 1), 0.0, 1.0);
}

MouseButton ToButton(int button) {
  switch (button) {
    case 1:
      return MouseButton::Left;
    case 2:
      return MouseButton::Middle;
    case 3:
      return MouseButton::Right;
    default:
      return MouseButton::None;
  }
}

uint8_t ToBit(MouseButton button) { return uint8_t(1u << unsigned(button)); }

}  // namespace

PenAxisKind FindPenAxisKind(const std::string& label) {
  if (label == "Abs Pressure") return PenAxisKind::Pressure;
  if (label == "Abs Tilt X") return PenAxisKind::TiltX;
  if (label == "Abs Tilt Y") return PenAxisKind::TiltY;
  return PenAxisKind::Other;
}

bool IsPenTool(const std::string& toolType) { return toolType.empty() || toolType == "STYLUS" || toolType == "ERASER"; }

bool IsEraserTool(const std::string& name, const std::string& toolType) {
  return toolType.empty() ? Contains(name, "eraser") : toolType == "ERASER";
}

void PenTranslator::SetDevices(std::vector<PenDevice> devices) {
  std::vector<Tool> tools(devices.size());
  for (size_t i = 0; i < devices.size(); ++i) {
    size_t old;
    if (!FindDevice(devices[i].Id, old) || m_Devices[old].Name != devices[i].Name) continue;
    tools[i] = m_Tools[old];
  }
  m_Devices = std::move(devices);
  m_Tools = std::move(tools);
  const bool isThere = std::any_of(m_Devices.begin(), m_Devices.end(), [&](const auto& one) { return one.Name == m_LastDevice; });
  if (isThere) return;
  m_LastDevice.clear();
  m_Last = {};
  m_Times.clear();
}

const PenDevice* PenTranslator::FindDevice(int id, size_t& index) const {
  const auto found = std::find_if(m_Devices.begin(), m_Devices.end(), [&](const PenDevice& device) { return device.Id == id; });
  if (found == m_Devices.end()) return nullptr;
  index = size_t(found - m_Devices.begin());
  return &*found;
}

bool PenTranslator::Has(int deviceId) const {
  size_t index;
  return FindDevice(deviceId, index) != nullptr;
}

void PenTranslator::Translate(const RawPenEvent& raw, std::vector<InputEvent>& events) {
  size_t index;
  const PenDevice* device = FindDevice(raw.DeviceId, index);
  if (!device) return;
  Tool& tool = m_Tools[index];

  InputEvent event;
  event.X = float(raw.X);
  event.Y = float(raw.Y);
  bool hasPressure = false;
  for (const auto& [axis, value] : raw.Values) {
    if (!std::isfinite(value)) continue;
    if (device->Pressure.IsUsable() && axis == device->Pressure.Index) {
      tool.Pressure = ToUnit(device->Pressure, value);
      hasPressure = true;
    } else if (device->TiltX.IsUsable() && axis == device->TiltX.Index) {
      tool.TiltX = ToTilt(device->TiltX, value);
    } else if (device->TiltY.IsUsable() && axis == device->TiltY.Index) {
      tool.TiltY = ToTilt(device->TiltY, value);
    } else if (device->X.IsUsable() && axis == device->X.Index && raw.Desktop.Width > 0) {
      event.X = float(raw.Desktop.Left + ToDesktop(device->X, value) * raw.Desktop.Width);
    } else if (device->Y.IsUsable() && axis == device->Y.Index && raw.Desktop.Height > 0) {
      event.Y = float(raw.Desktop.Top + ToDesktop(device->Y, value) * raw.Desktop.Height);
    }
  }

  event.Modifiers = raw.Modifiers;
  event.IsPen = true;
  event.IsEraser = device->IsEraser;
  event.Pressure = device->Pressure.IsUsable() ? tool.Pressure : 1;
  event.TiltX = tool.TiltX;
  event.TiltY = tool.TiltY;
  event.TimeSec = raw.TimeSec;
  tool.Last = event;

  m_LastDevice = device->Name;
  m_Last.Pressure = event.Pressure;
  m_Last.TiltX = event.TiltX;
  m_Last.TiltY = event.TiltY;
  m_Last.IsEraser = event.IsEraser;
  CountSample(raw.TimeSec);

  if (tool.HasPending) {
    // The pressure of the report behind the press is the first one that the tip felt.
    tool.HasPending = false;
    tool.Pending.Pressure = event.Pressure;
    events.push_back(tool.Pending);
  }
  if (raw.What == RawPenEvent::Kind::Motion) {
    events.push_back(event);
    return;
  }
  event.Button = ToButton(raw.Button);
  if (event.Button == MouseButton::None) return;
  if (raw.What == RawPenEvent::Kind::Release) {
    if (!(tool.Held & ToBit(event.Button))) return;
    tool.Held = uint8_t(tool.Held & ~ToBit(event.Button));
    event.Kind = InputKind::ButtonUp;
    events.push_back(event);
    return;
  }
  event.Kind = InputKind::ButtonDown;
  tool.Held |= ToBit(event.Button);
  CountClicks(event);
  const bool waits = event.Button == MouseButton::Left && device->Pressure.IsUsable() && !hasPressure && tool.Pressure <= 0;
  if (waits) {
    tool.HasPending = true;
    tool.Pending = event;
  } else {
    events.push_back(event);
  }
}

void PenTranslator::Release(double timeSec, std::vector<InputEvent>& events) {
  for (Tool& tool : m_Tools) {
    if (tool.HasPending) events.push_back(tool.Pending);
    tool.HasPending = false;
    for (const MouseButton button : {MouseButton::Left, MouseButton::Right, MouseButton::Middle}) {
      if (!(tool.Held & ToBit(button))) continue;
      InputEvent up = tool.Last;
      up.Kind = InputKind::ButtonUp;
      up.Button = button;
      up.TimeSec = timeSec;
      events.push_back(up);
    }
    tool.Held = 0;
  }
}

void PenTranslator::CountClicks(InputEvent& down) {
  const bool isSecond = m_HasDown && m_LastDown.Clicks == 1 && m_LastDown.Button == down.Button &&
                        down.TimeSec - m_LastDown.TimeSec <= DoubleClickSec &&
                        std::hypot(down.X - m_LastDown.X, down.Y - m_LastDown.Y) <= DoubleClickPixels;
  down.Clicks = isSecond ? 2 : 1;
  m_LastDown = down;
  m_HasDown = true;
}

void PenTranslator::CountSample(double timeSec) {
  m_Times.push_back(timeSec);
  const auto first = std::find_if(m_Times.begin(), m_Times.end(), [&](double time) { return time > timeSec - RateWindowSec; });
  m_Times.erase(m_Times.begin(), first);
}

PenState PenTranslator::GetState(double nowSec) const {
  PenState state = m_Last;
  for (const PenDevice& device : m_Devices) state.Devices.push_back(device.Name);
  state.LastDevice = m_LastDevice;
  const bool isLive = m_Times.size() > 1 && nowSec - m_Times.back() <= RateWindowSec;
  const double span = isLive ? m_Times.back() - m_Times.front() : 0;
  state.SamplesPerSec = span > 0 ? double(m_Times.size() - 1) / span : 0;
  return state;
}

double DeviceClock::ToSeconds(uint32_t deviceMs, double nowSec) {
  // The difference of unsigned numbers is right across the wrap; a small step back, of events out of order, comes out negative.
  if (m_Started) m_DeviceSec += int32_t(deviceMs - m_LastMs) * 0.001;
  m_LastMs = deviceMs;
  const double offset = nowSec - m_DeviceSec;
  // The machine slept, or the server was set anew: begin again.
  if (!m_Started || offset < m_Offset || offset > m_Offset + 10) m_Offset = offset;
  m_Started = true;
  return m_DeviceSec + m_Offset;
}
