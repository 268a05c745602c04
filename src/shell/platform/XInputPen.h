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

  /// Takes an XGenericEventCookie with its data. True where it was a pen's; its events are appended.
  bool Handle(void* cookie, uint8_t modifiers, double nowSec, std::vector<InputEvent>& events);
  /// Whether a core pointer event of the given server time is the shadow of a pen's report.
  bool IsShadow(uint32_t serverMs) const;
  const PenTranslator& Pens() const { return m_Pens; }
  DeviceClock& Clock() { return m_Clock; }

 private:
  void ListDevices();
  std::vector<PenDevice> ReadDevices() const;

  void* m_Display = nullptr;
  unsigned long m_Window = 0;
  int m_Opcode = 0;
  PenTranslator m_Pens;
  DeviceClock m_Clock;
  uint32_t m_RecentMs[16] = {};  ///< server times of the last reports
  unsigned m_RecentCount = 0;
};
