#pragma once
// Progress of a run without a window: a line on standard error a few times a second, and Ctrl-C as the Cancel button.
#include <chrono>
#include <string>

#include "comms/Progress.h"

/// Installs itself as the program's progress sink for its lifetime, and takes the interrupt signal (Ctrl-C) meanwhile: the first
/// one asks the running command to stop and leave everything as it was, a second one ends the process. One at a time.
class BatchProgress : public comms::ProgressSink {
 public:
  BatchProgress();
  ~BatchProgress() override;
  BatchProgress(const BatchProgress&) = delete;
  BatchProgress& operator=(const BatchProgress&) = delete;

  bool Show(double value, double maximum, const char* titleKey) override;
  /// Whether the person asked to stop.
  static bool IsCancelled();

 private:
  using Clock = std::chrono::steady_clock;
  comms::ProgressSink* m_Before;
  void (*m_HandlerBefore)(int);
  Clock::time_point m_NextLine;
};
