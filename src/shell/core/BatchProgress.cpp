#include "shell/core/BatchProgress.h"

#include <algorithm>
#include <csignal>
#include <cstdio>

static volatile std::sig_atomic_t s_Interrupted = 0;

// Only what a handler may do: set the flag, and give the signal back so that the next one ends the process.
static void OnInterrupt(int signal) {
  s_Interrupted = 1;
  std::signal(signal, SIG_DFL);
}

static constexpr auto LineInterval = std::chrono::milliseconds(400);

// Short work stays silent: the first line comes one interval after the start.
BatchProgress::BatchProgress() : m_Before(comms::SetProgressSink(this)), m_NextLine(Clock::now() + LineInterval) {
  s_Interrupted = 0;
  m_HandlerBefore = std::signal(SIGINT, OnInterrupt);
}

BatchProgress::~BatchProgress() {
  std::signal(SIGINT, m_HandlerBefore == SIG_ERR ? SIG_DFL : m_HandlerBefore);
  comms::SetProgressSink(m_Before);
}

bool BatchProgress::IsCancelled() { return s_Interrupted != 0; }

bool BatchProgress::Show(double value, double maximum, const char* titleKey) {
  const Clock::time_point now = Clock::now();
  if (now >= m_NextLine) {
    m_NextLine = now + LineInterval;
    const double share = maximum > 0 ? std::clamp(value / maximum, 0.0, 1.0) : 0.0;
    std::fprintf(stderr, "%s: %d %%\n", titleKey, int(100 * share));
  }
  return !IsCancelled();
}
