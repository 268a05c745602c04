#pragma once
// What is asked of the X server behind SDL's window. Opaque types, since X's headers take names like Window and None.
#include <cstdint>

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

/// The X event that SDL is about to handle.
struct XNews {
  enum class Kind : uint8_t { Other, Pointer, Key, Generic };
  Kind What = Kind::Other;
  uint32_t ServerMs = 0;  ///< of Pointer and Key
  int Type{};             ///< of Pointer: MotionNotify and its like
  void* Cookie{};         ///< of Generic: XGenericEventCookie, with its data only while SDL handles it
};
XNews ReadXNews(SDL_SysWMmsg& message);
