#pragma once
// Pens: what a device says of itself, and the way from its raw valuators to input events. Knows no window system, so that every
// rule can be tested with numbers alone; XInputPen.h feeds it.
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "shell/core/InputEvent.h"

/// One valuator of a device. Index below 0: the device has none of this kind.
struct PenAxis {
  int Index = -1;
  double Min = 0, Max = 0;
  bool IsUsable() const { return Index >= 0 && Max > Min; }
};

/// One tool of a tablet: the tip and the eraser of a pen are two.
struct PenDevice {
  int Id = 0;
  std::string Name;
  bool IsEraser = false;
  PenAxis Pressure, TiltX, TiltY;
  PenAxis X{}, Y{};  ///< over the whole desktop; unusable where the device moves the pointer by steps
};

/// What a valuator or a tool of a device is called decides what it is good for.
enum class PenAxisKind : uint8_t { Other, Pressure, TiltX, TiltY };
PenAxisKind FindPenAxisKind(const std::string& label);
/// Whether a device with a pressure valuator is held like a pen. `toolType` is the driver's own word for it, empty where it has
/// none.
bool IsPenTool(const std::string& toolType);
bool IsEraserTool(const std::string& name, const std::string& toolType);

/// The desktop as the window sees it, in pixels of the window. Without a size: not known.
struct PenDesktop {
  double Left = 0, Top = 0, Width = 0, Height = 0;
};

/// One report of a device, as the window system gave it.
struct RawPenEvent {
  enum class Kind : uint8_t { Motion, Press, Release };
  Kind What = Kind::Motion;
  int DeviceId = 0;
  int Button = 0;       ///< of Press and Release: 1 tip, 2 and 3 the buttons on the side
  double X = 0, Y = 0;  ///< where the pointer was; a device's own X and Y among the values go before
  double TimeSec = 0;
  uint8_t Modifiers = 0;
  std::span<const std::pair<int, double>> Values;  ///< index and value of the valuators that the report holds
  PenDesktop Desktop{};
};

/// For the pen's panel.
struct PenState {
  std::vector<std::string> Devices;  ///< names of the tools that are plugged in
  std::string LastDevice;            ///< the one that reported last; empty before the first report and when it has gone
  float Pressure = 0, TiltX = 0, TiltY = 0;
  bool IsEraser = false;
  double SamplesPerSec = 0;  ///< over the last second of reports; 0 where the last one is older
};

/// Turns reports into events. A report holds only the valuators that changed, so the last values are kept for every device.
class PenTranslator {
 public:
  /// Replaces the devices. What is known of one that stays is kept.
  void SetDevices(std::vector<PenDevice> devices);
  const std::vector<PenDevice>& Devices() const { return m_Devices; }
  bool Has(int deviceId) const;

  /// Appends the events of a report to `events`. Usually one. A tip press that comes before its pressure is held back until the
  /// pressure is known, so that the first ButtonDown of a stroke has it. Nothing for devices that are not pens.
  void Translate(const RawPenEvent& raw, std::vector<InputEvent>& events);
  /// Ends what is held down, on a lost focus or a tablet unplugged.
  void Release(double timeSec, std::vector<InputEvent>& events);
  /// `nowSec`: on the clock of the reports.
  PenState GetState(double nowSec) const;

 private:
  struct Tool {
    float Pressure = 0, TiltX = 0, TiltY = 0;
    bool HasPending = false;  ///< a tip press waits for its pressure
    InputEvent Pending;
    uint8_t Held = 0;  ///< bits of the buttons that are down, by MouseButton
    InputEvent Last;
  };
  const PenDevice* FindDevice(int id, size_t& index) const;
  void CountClicks(InputEvent& down);
  void CountSample(double timeSec);

  std::vector<PenDevice> m_Devices;
  std::vector<Tool> m_Tools;  ///< beside m_Devices
  std::string m_LastDevice;
  PenState m_Last;
  InputEvent m_LastDown;
  bool m_HasDown = false;
  std::vector<double> m_Times;  ///< of the reports of the last second
};

/// Maps the millisecond counter of the display server, 32 bits that wrap, onto the clock of the frames. The smallest delay seen
/// is taken for none, so times keep the device's own spacing however late a report is read.
class DeviceClock {
 public:
  double ToSeconds(uint32_t deviceMs, double nowSec);

 private:
  bool m_Started = false;
  uint32_t m_LastMs = 0;
  double m_DeviceSec = 0, m_Offset = 0;
};
