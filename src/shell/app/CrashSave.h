#pragma once
// Save after a crash: the handler asks, the sculpture goes to a file in the data path, and the next start offers it.
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "MC/room/VoxelScene.h"
#include "shell/platform/Window.h"

/// Belongs to the crash handler from its making to its end. One at a time, main thread.
class CrashSave {
 public:
  struct Parts {
    VoxelScene& Scene;
    Window& MainWindow;
    std::string ProgramData;
    std::string Folder;  ///< for the backup: where the next start looks for it, also where this is a second instance
    std::function<bool()> IsModified;  ///< whether the scene holds what is stored nowhere
  };
  explicit CrashSave(Parts parts);
  ~CrashSave();
  CrashSave(const CrashSave&) = delete;
  CrashSave& operator=(const CrashSave&) = delete;

  /// The changes so far were not the person's.
  void Begin();
  /// Looks whether the scene has changed since the last look. Cheap; once a frame.
  void Watch();

 private:
  bool IsWorthSaving() const;
  void Run();

  Parts m_Parts;
  std::vector<std::string> m_Question;
  std::vector<const char*> m_QuestionWords;  // made now: a crashed process takes no memory for them
  std::pair<uint64_t, uint64_t> m_LastState;
  int m_Changes = 0;
};
