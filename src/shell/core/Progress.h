#pragma once
// Progress of long work in the window: a small frame of its own a few times a second, and a Cancel that is heard meanwhile. Work
// itself calls comms::ShowProgress (comms/Progress.h) and knows nothing of this; a batch run installs BatchProgress instead.
#include <functional>
#include <string>

#include "comms/Progress.h"

/// What the small frame shows.
struct ProgressFrame {
  std::string TitleKey;  ///< language key
  double Share = 0;      ///< 0 .. 1
  std::string Percent;   ///< "%d%%"
  bool Cancelling = false;
};

/// The program's progress sink for its lifetime.
class ScreenProgress : public comms::ProgressSink {
 public:
  ScreenProgress();
  ~ScreenProgress() override;
  ScreenProgress(const ScreenProgress&) = delete;
  ScreenProgress& operator=(const ScreenProgress&) = delete;

  /// Draws a whole frame, begin and end included. Empty: nothing is drawn.
  std::function<void(const ProgressFrame&)> Draw;
  /// Takes what waits in the message queue; Esc and a press of Cancel call Cancel().
  std::function<void()> PumpMessages;
  /// While true nothing is drawn (minimised, device lost, BlockRender); messages are still pumped.
  std::function<bool()> IsAsleep;
  /// Seconds, rising.
  std::function<double()> Clock;

  /// Asks the running work to stop; it answers when it next calls ShowProgress.
  void Cancel() { m_Cancelled = true; }
  /// The work has ended: the next one begins uncancelled. Called by whoever started it.
  void Finish();

  bool Show(double value, double maximum, const char* titleKey) override;

 private:
  comms::ProgressSink* m_Before;
  bool m_Cancelled = false, m_Running = false, m_Inside = false;
  double m_NextSec = 0;
};
