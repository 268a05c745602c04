#pragma once
// An OpenGL 3.3 core context without window and display.
#include <functional>
#include <memory>

#include "comms/Str.h"

namespace comms {

/// Current on the thread that made it until it is destroyed, or until a ContextTurn ends beside a window.
class EglContext {
 public:
  /// Tries the machine's devices, then drawing without a surface, then the default display. Null with one sentence in `error`
  /// that says how far each attempt came.
  static std::unique_ptr<EglContext> Create(cStr& error);
  ~EglContext();
  EglContext(const EglContext&) = delete;
  EglContext& operator=(const EglContext&) = delete;
  /// Makes this context the current one of the calling thread.
  bool MakeCurrent();

 private:
  EglContext() = default;
  bool Open(void* display, cStr& reason);
  void* m_Display = nullptr;
  void* m_Surface = nullptr;
  void* m_Context = nullptr;
};

/// The window's hold on the thread: a thread has one current context, and it may not be another kind's while an EglContext draws.
struct WindowContext {
  std::function<void()> Leave, Return;  ///< the context is nobody's; it is current again
};
/// Empty functions where there is no window, or no longer one.
void SetWindowContext(WindowContext context);

/// While it lives the window's context is out of the way; without a window it does nothing. Not nested.
class ContextTurn {
 public:
  ContextTurn();
  ~ContextTurn();
  ContextTurn(const ContextTurn&) = delete;
  ContextTurn& operator=(const ContextTurn&) = delete;
  /// Runs `work` with the window's context, and makes `context` current again; false where that fails.
  static bool Interrupt(EglContext& context, const std::function<void()>& work);
};

}  // namespace comms
