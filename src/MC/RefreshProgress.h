#pragma once
// Making a large surface takes seconds. Whoever waits for one outside of a frame hears how far it is, and may cancel.
#include "comms/Progress.h"

/// While it lives, VolumeObject::RefreshSurfaces and RefreshChanges tell how far they are and stop where the person cancels: what
/// was marked stays marked then, and the next refresh makes it all. Without one they are silent, as they must be within a frame.
/// On the main thread, one at a time.
class RefreshProgress {
 public:
  RefreshProgress();
  ~RefreshProgress();
  RefreshProgress(const RefreshProgress&) = delete;
  RefreshProgress& operator=(const RefreshProgress&) = delete;

  /// Asks the person, too.
  bool IsCancelled() { return !m_Stage.Advance(0); }

 private:
  comms::StageProgress m_Stage;
};
