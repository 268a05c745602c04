#include "shell/platform/XWindow.h"

#include <SDL.h>
#include <SDL_syswm.h>
#include <X11/Xatom.h>
#include <unistd.h>

#include <thread>
#include <utility>

#include "comms/Log.h"

namespace {

constexpr int LostCode = 2;
constexpr int MostRefusalsTold = 50;

std::function<void()> g_Lost;
std::thread::id g_MainThread;

// Requests may fail through no fault of ours: another program's window, which was to get something, has gone meanwhile.
int NoteRefusal(Display* display, XErrorEvent* event) {
  static int told = 0;
  if (++told > MostRefusalsTold) return 0;
  char reason[256] = {};
  XGetErrorText(display, event->error_code, reason, int(sizeof(reason)));
  comms::LogInfo("the display refused request %d.%d on 0x%lx: %s%s", event->request_code, event->minor_code, event->resourceid,
                 reason, told == MostRefusalsTold ? "; further ones are not told" : "");
  return 0;
}

// Xlib ends the process when this returns, after whatever is registered for exit, which would ask the display again.
int EndWithoutDisplay(Display*) {
  // The main thread alone may touch the program's objects; it comes here too.
  while (std::this_thread::get_id() != g_MainThread) pause();
  const auto lost = std::exchange(g_Lost, nullptr);
  if (lost) {
    comms::LogError("The connection to the display is lost: the program ends.");
    lost();
  }
  _exit(LostCode);
}

}  // namespace

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

bool HasWindowManager(const XHandles& handles) {
  Display* display = static_cast<Display*>(handles.Display);
  const Atom property = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", True);
  if (property == 0) return false;
  Atom type = 0;
  int format = 0;
  unsigned long count = 0, left = 0;
  unsigned char* data = nullptr;
  const int answer = XGetWindowProperty(display, DefaultRootWindow(display), property, 0, 1, False, XA_WINDOW, &type, &format,
                                        &count, &left, &data);
  if (data) XFree(data);
  return answer == Success && type == XA_WINDOW && count == 1;
}

void HandleXFaults(std::function<void()> lost) {
  g_Lost = std::move(lost);
  g_MainThread = std::this_thread::get_id();
  XSetErrorHandler(NoteRefusal);
  XSetIOErrorHandler(EndWithoutDisplay);
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
