#pragma once
// How long work tells where it is and learns that it should stop. The window draws a small frame of its own, batch writes a line
// to standard error; code below the shell sees only this interface.
#include <atomic>
#include <cstddef>
#include <thread>

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

/// A stage that all threads work on: each tells what it has done, and the main thread, on which it is made and which works with
/// them, tells the person.
class StageProgress {
 public:
  /// The stage goes from `stage` to `stage` + 1 of `stages`.
  StageProgress(int stage, int stages, const char* titleKey) : m_Stage(stage), m_Stages(stages), m_TitleKey(titleKey) {}
  /// It has so many steps; none is done yet.
  void Begin(size_t steps);
  /// `steps` more are done. False from where the person has cancelled: what is left may be left out. From any thread.
  bool Advance(size_t steps);
  bool IsCancelled() const { return m_Cancelled.load(std::memory_order_relaxed); }

 private:
  const std::thread::id m_Main = std::this_thread::get_id();
  const int m_Stage, m_Stages;
  size_t m_Total = 1;
  const char* const m_TitleKey;
  std::atomic<size_t> m_Done{0};
  std::atomic<bool> m_Cancelled{false};
};

}  // namespace comms
