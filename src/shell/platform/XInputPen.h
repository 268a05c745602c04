#pragma once
// The X server's side of the pen: which devices there are, and their reports. Opaque types, since X's headers define words like
// None.
#include <cstdint>
#include <string>
#include <vector>

#include "shell/platform/Tablet.h"

class XInputPen {
 public:
  /// `display`: the Display of the window's connection; `window`: its XID. False with one sentence where XInput 2 is missing.
  bool Open(void* display, unsigned long window, std::string& error);
  void Close();
  bool IsOpen() const { return m_Display != nullptr; }

  /// Takes an XGenericEventCookie with its data. True where it was a pen's; its events are appended.
  bool Handle(void* cookie, uint8_t modifiers, double nowSec, std::vector<InputEvent>& events);
  /// Whether a core pointer event is the shadow of a pen's report: the pointer's own event behind that of the tool that moves it.
  /// Each report has one, and the pointer's coming and going with it.
  bool TakeShadow(uint32_t serverMs, int type);
  const PenTranslator& Pens() const { return m_Pens; }
  DeviceClock& Clock() { return m_Clock; }

 private:
  void ListDevices();
  std::vector<PenDevice> ReadDevices() const;
  void MeasureDesktop(double nowSec);

  void* m_Display = nullptr;
  unsigned long m_Window = 0;
  int m_Opcode = 0;
  PenTranslator m_Pens;
  DeviceClock m_Clock;
  struct Report {
    uint32_t ServerMs = 0;
    int Type = 0;
    bool HasShadow = true;  ///< it has not come yet
  };
  Report m_Recent[16];  ///< the last ones
  unsigned m_RecentCount = 0;
  double m_DesktopWidth = 0, m_DesktopHeight = 0;
  double m_MeasuredSec = -1;  ///< when they were; below 0: never
};
