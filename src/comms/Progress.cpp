#include "comms/Progress.h"

#include <utility>

namespace comms {

static ProgressSink* InstalledSink = nullptr;

ProgressSink* SetProgressSink(ProgressSink* sink) { return std::exchange(InstalledSink, sink); }

bool ShowProgress(double value, double maximum, const char* titleKey) {
  return !InstalledSink || InstalledSink->Show(value, maximum, titleKey);
}

}  // namespace comms
