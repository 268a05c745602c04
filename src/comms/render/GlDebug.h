#pragma once
// Errors of OpenGL: counted, and each kind said once in the log.
#include <set>

#include "comms/Str.h"

namespace comms {

/// Whether the driver is asked to report errors where they happen: in debug builds, and with MORVANE_GL_DEBUG=1 in the
/// environment. Contexts are then made for debugging.
bool IsGlDebugWanted();

/// Belongs to one context at a time. Main thread.
class GlDebug {
 public:
  GlDebug() = default;
  GlDebug(const GlDebug&) = delete;
  GlDebug& operator=(const GlDebug&) = delete;

  /// Has the current context report, if that is wanted and the driver can (KHR_debug).
  void Start();
  /// Ends that. The context of Start is current.
  void Stop();
  /// Counts the errors that the context has noted. Needed where the driver does not report.
  void Poll();
  int ErrorCount() const { return m_Errors; }

  /// For a call that the device may refuse: its errors are not counted.
  class Attempt {
   public:
    explicit Attempt(GlDebug& debug);
    ~Attempt();
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;
    /// The first error since the attempt began, 0 for none; the next call asks from here on.
    unsigned TakeError();

   private:
    GlDebug& m_Debug;
  };

  /// Notes one message of the driver. For the function that the driver calls.
  void Note(bool isError, const cStr& text);

 private:
  bool m_Reporting = false;
  int m_Attempts = 0, m_Errors = 0;
  std::set<cStr> m_Said;
};

}  // namespace comms
