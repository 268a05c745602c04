#pragma once
// What the start-up spends in the graphics driver, for an account of our own work without it.

namespace comms {

/// CPU time of the calling thread, seconds; of the main one since the process began. What others do to the machine meanwhile does
/// not count.
double GetThreadSeconds();

/// Counts the calling thread's CPU time while it lives: around calls that make the driver work, such as a compilation or a
/// drawing, and not around those that set a state. Scopes may lie in each other. On the thread of the drawing alone.
class DriverTime {
 public:
  DriverTime();
  ~DriverTime();
  DriverTime(const DriverTime&) = delete;
  DriverTime& operator=(const DriverTime&) = delete;

  /// Ends the count for good, and tells the seconds of CPU time that all scopes took together. From then on a scope costs
  /// nothing.
  static double Finish();
};

}  // namespace comms
