#pragma once
// An OpenGL 3.3 core context without window and display.
#include <memory>

#include "comms/Str.h"

namespace comms {

/// Current on the thread that made it until it is destroyed.
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

}  // namespace comms
