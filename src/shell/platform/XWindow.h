#pragma once
// What is asked of the X server behind SDL's window. Opaque types, since X's headers take names like Window and None.
#include <cstdint>
#include <functional>

struct SDL_Window;
struct SDL_SysWMmsg;

struct XHandles {
  void* Display = nullptr;
  unsigned long Window = 0;
};
/// False where the window is not on an X display.
bool GetXHandles(SDL_Window* window, XHandles& handles);
/// The socket of the connection.
int GetXSocket(const XHandles& handles);
/// A resource of the display, null where it is not set. Lives as long as the display.
const char* GetXResource(const XHandles& handles, const char* program, const char* name);

/// Whether somebody manages the windows of the display: without, nobody does what is asked of a window manager.
bool HasWindowManager(const XHandles& handles);

/// For all displays of the process, from here on: a request that the server refuses costs a line in the log and not the process,
/// and where a connection breaks, `lost` is called on the thread that called this, which then ends the process with code 2.
/// Before the display is opened.
void HandleXFaults(std::function<void()> lost);

/// The X event that SDL is about to handle.
struct XNews {
  enum class Kind : uint8_t { Other, Pointer, Key, Generic };
  Kind What = Kind::Other;
  uint32_t ServerMs = 0;  ///< of Pointer and Key
  int Type{};             ///< of Pointer: MotionNotify and its like
  void* Cookie{};         ///< of Generic: XGenericEventCookie, with its data only while SDL handles it
};
XNews ReadXNews(SDL_SysWMmsg& message);
