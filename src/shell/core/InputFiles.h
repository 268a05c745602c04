#pragma once
// Where the files that a command reads are looked for. A batch file may name the strokes and meshes that lie beside it, wherever
// it is run from.
#include <string>

/// `path` as it stands where it is absolute or something is there from the working folder; else the same path from the folder of
/// the batch file that runs, where something is there; else `path`.
std::string FindInputFile(const std::string& path);

/// For its lifetime, inputs are also looked for in `folder` (empty: the working folder alone). Scopes may nest.
class InputFolderScope {
 public:
  explicit InputFolderScope(std::string folder);
  ~InputFolderScope();
  InputFolderScope(const InputFolderScope&) = delete;
  InputFolderScope& operator=(const InputFolderScope&) = delete;

 private:
  std::string m_Before;
};
