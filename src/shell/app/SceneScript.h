#pragma once
// A batch file that is worked off beside the frames of the window, so that a person watches the sample sculpture grow.
#include <string>
#include <vector>

#include "shell/core/BatchLine.h"
#include "shell/core/CommandTable.h"

class SceneScript {
 public:
  /// Reads the lines of `path`. Only commands that change the scene are kept: exports and pictures are for batch runs. Relative
  /// paths in it count from the folder of the file, as in a batch run. False with one sentence in `error`; nothing is kept then.
  bool Load(const CommandTable& table, const std::string& path, std::string& error);
  bool IsDone() const { return m_Next >= m_Lines.size(); }
  /// Runs one command. False with one sentence in `error` where it failed; the rest is dropped then.
  bool Step(std::string& error);

 private:
  struct Line {
    BatchLine Words;
    int Number;
  };
  const CommandTable* m_Table = nullptr;
  std::string m_Path;
  std::vector<Line> m_Lines;
  size_t m_Next = 0;
};
