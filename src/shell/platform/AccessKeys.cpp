#include "shell/platform/AccessKeys.h"

#include <X11/XKBlib.h>

#include "comms/Log.h"
#include "shell/platform/XWindow.h"

namespace {

constexpr unsigned Shortcuts = XkbAccessXKeysMask;
constexpr unsigned Helps = XkbStickyKeysMask | XkbSlowKeysMask | XkbBounceKeysMask;

bool ReadControls(Display* display, unsigned& enabled) {
  XkbDescPtr keyboard = XkbAllocKeyboard();
  if (!keyboard) return false;
  const bool read = XkbGetControls(display, XkbAllControlsMask, keyboard) == Success && keyboard->ctrls;
  if (read) enabled = keyboard->ctrls->enabled_ctrls;
  XkbFreeKeyboard(keyboard, XkbAllControlsMask, True);
  return read;
}

}  // namespace

void AccessKeyShortcuts::SwitchOff(const XHandles& handles) {
  Restore();
  Display* display = static_cast<Display*>(handles.Display);
  int opcode, event, error, major = XkbMajorVersion, minor = XkbMinorVersion;
  unsigned enabled = 0;
  if (!XkbQueryExtension(display, &opcode, &event, &error, &major, &minor) || !ReadControls(display, enabled)) {
    comms::LogInfo("the display does not tell of sticky keys; their shortcuts stay as they are");
    return;
  }
  if (!(enabled & Shortcuts) || (enabled & Helps)) return;
  // At the end of the connection, however it comes, the server switches on what is named here.
  unsigned controls = Shortcuts, values = Shortcuts;
  XkbSetAutoResetControls(display, Shortcuts, &controls, &values);
  XkbChangeEnabledControls(display, XkbUseCoreKbd, Shortcuts, 0);
  XFlush(display);
  m_Display = display;
}

void AccessKeyShortcuts::Restore() {
  if (!m_Display) return;
  Display* display = static_cast<Display*>(m_Display);
  m_Display = nullptr;
  XkbChangeEnabledControls(display, XkbUseCoreKbd, Shortcuts, Shortcuts);
  unsigned controls = 0, values = 0;
  XkbSetAutoResetControls(display, Shortcuts, &controls, &values);
  XFlush(display);
}
