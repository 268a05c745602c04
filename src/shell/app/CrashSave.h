#pragma once
// Save after a crash: the handler asks, the sculpture goes to a file in the data path, and the next start offers it.
#include <cstdint>
#include <functional>
#include <initializer_list>
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
    std::function<bool()> IsModified;  ///< whether the scene holds, or is just getting, what is stored nowhere
  };
  explicit CrashSave(Parts parts);
  ~CrashSave();
  CrashSave(const CrashSave&) = delete;
  CrashSave& operator=(const CrashSave&) = delete;

  /// The changes so far were not the person's.
  void Begin();
  /// Looks whether the scene has changed since the last look. Cheap; once a frame.
  void Watch();
  /// Saves without a question what is worth it, for an end at which nobody can be asked. False, with the reasons in the log,
  /// where it could not be saved.
  bool SaveUnasked() const;

 private:
  bool IsWorthSaving() const;
  void Run() const;
  bool Save(std::string& told) const;
  void Tell(const char* option, const std::string& text) const;

  Parts m_Parts;
  /// A program with its words, made now: a crashed process takes no memory for them.
  struct Words {
    std::vector<std::string> Texts;
    std::vector<const char*> List;
  };
  Words MakeWords(std::initializer_list<std::string> words) const;
  Words m_Question, m_Failure;
  std::pair<uint64_t, uint64_t> m_LastState;
  int m_Changes = 0;
};
