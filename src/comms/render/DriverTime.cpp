#include "comms/render/DriverTime.h"

#include <ctime>

namespace comms {

static bool s_Counts = true;
static int s_Depth = 0;
static double s_Seconds = 0, s_Began = 0;

double GetThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

DriverTime::DriverTime() {
  if (s_Depth++ == 0 && s_Counts) s_Began = GetThreadSeconds();
}

DriverTime::~DriverTime() {
  if (--s_Depth == 0 && s_Counts) s_Seconds += GetThreadSeconds() - s_Began;
}

double DriverTime::Finish() {
  s_Counts = false;
  return s_Seconds;
}

}  // namespace comms
