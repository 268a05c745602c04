#include "comms/Progress.h"

#include <algorithm>
#include <utility>

namespace comms {

static ProgressSink* InstalledSink = nullptr;

ProgressSink* SetProgressSink(ProgressSink* sink) { return std::exchange(InstalledSink, sink); }

bool ShowProgress(double value, double maximum, const char* titleKey) {
  return !InstalledSink || InstalledSink->Show(value, maximum, titleKey);
}

void StageProgress::Begin(size_t steps) {
  m_Total = std::max<size_t>(1, steps);
  m_Done = 0;
  Advance(0);
}

bool StageProgress::Advance(size_t steps) {
  const size_t done = m_Done.fetch_add(steps, std::memory_order_relaxed) + steps;
  if (std::this_thread::get_id() == m_Main && !ShowProgress(m_Stage + double(done) / double(m_Total), m_Stages, m_TitleKey))
    m_Cancelled.store(true, std::memory_order_relaxed);
  return !IsCancelled();
}

}  // namespace comms
