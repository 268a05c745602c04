#include "shell/platform/XWindow.h"

#include <SDL.h>
#include <SDL_syswm.h>

bool GetXHandles(SDL_Window* window, XHandles& handles) {
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (!window || !SDL_GetWindowWMInfo(window, &info) || info.subsystem != SDL_SYSWM_X11) return false;
  handles.Display = info.info.x11.display;
  handles.Window = info.info.x11.window;
  return true;
}

int GetXSocket(const XHandles& handles) { return ConnectionNumber(static_cast<Display*>(handles.Display)); }

const char* GetXResource(const XHandles& handles, const char* program, const char* name) {
  return XGetDefault(static_cast<Display*>(handles.Display), program, name);
}

XNews ReadXNews(SDL_SysWMmsg& message) {
  if (message.subsystem != SDL_SYSWM_X11) return {};
  XEvent& event = message.msg.x11.event;
  switch (event.type) {
    case GenericEvent:
      return {XNews::Kind::Generic, 0, 0, &event.xcookie};
    case MotionNotify:
      return {XNews::Kind::Pointer, uint32_t(event.xmotion.time), event.type};
    case ButtonPress:
    case ButtonRelease:
      return {XNews::Kind::Pointer, uint32_t(event.xbutton.time), event.type};
    case EnterNotify:
    case LeaveNotify:
      return {XNews::Kind::Pointer, uint32_t(event.xcrossing.time), event.type};
    case KeyPress:
    case KeyRelease:
      return {XNews::Kind::Key, uint32_t(event.xkey.time)};
    default:
      return {};
  }
}
