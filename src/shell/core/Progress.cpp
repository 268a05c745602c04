#include "shell/core/Progress.h"

#include <algorithm>

#include "comms/Str.h"

// Short work shows nothing; then a few frames a second, so that drawing takes little from the work.
static constexpr double FirstFrameSec = 0.3, FrameIntervalSec = 0.1;

ScreenProgress::ScreenProgress() : m_Before(comms::SetProgressSink(this)) {}
ScreenProgress::~ScreenProgress() { comms::SetProgressSink(m_Before); }

void ScreenProgress::Finish() { m_Running = m_Cancelled = false; }

bool ScreenProgress::Show(double value, double maximum, const char* titleKey) {
  // Whatever the messages started meanwhile reports to nobody: one operation has the screen.
  if (m_Inside) return !m_Cancelled;
  const double now = Clock ? Clock() : 0;
  if (!m_Running) m_Running = true, m_NextSec = now + FirstFrameSec;
  if (now < m_NextSec) return !m_Cancelled;
  m_NextSec = now + FrameIntervalSec;

  m_Inside = true;
  if (PumpMessages) PumpMessages();
  if (Draw && !(IsAsleep && IsAsleep())) {
    const double share = maximum > 0 ? std::clamp(value / maximum, 0.0, 1.0) : 0.0;
    Draw({titleKey ? titleKey : "", share, comms::Format("%d%%", int(100 * share)), m_Cancelled});
  }
  m_Inside = false;
  return !m_Cancelled;
}
