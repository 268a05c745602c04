#pragma once
// How long work tells where it is and learns that it should stop. The window draws a small frame of its own, batch writes a line
// to standard error; code below the shell sees only this interface.

namespace comms {

class ProgressSink {
 public:
  virtual ~ProgressSink() = default;
  /// `titleKey` is a language key, 0 <= value <= maximum. False asks the caller to stop and leave everything as it was.
  virtual bool Show(double value, double maximum, const char* titleKey) = 0;
};

/// Installs `sink` (null: silent) and returns the one before. The caller keeps ownership.
ProgressSink* SetProgressSink(ProgressSink* sink);

/// Called from the main thread by long work, often: the sink decides how often it draws. False when the person cancelled.
bool ShowProgress(double value, double maximum, const char* titleKey);

}  // namespace comms
