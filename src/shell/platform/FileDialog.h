#pragma once
// The desktop's own file dialog, where the build and the desktop have one.
#include <functional>
#include <string>
#include <vector>

struct FileDialogRequest {
  enum class Kind { OpenFile, OpenFiles, SaveFile, ChooseFolder };
  struct Filter {
    std::string Name;                   ///< what the person reads
    std::vector<std::string> Patterns;  ///< "*.obj"
  };
  Kind What = Kind::OpenFile;
  std::string Title;
  std::string Folder;    ///< where to begin; empty leaves it to the desktop
  std::string FileName;  ///< of SaveFile: the name to begin with
  std::vector<Filter> Filters;
};

enum class FileDialogResult { Chosen, Cancelled, NotAvailable };

/// Shows the dialog and waits for its end. Meanwhile `idle`, which may be empty, is called many times a second: the window stays
/// alive by it. `paths` gets what was chosen. NotAvailable, and nothing was shown: use the browser of the interface.
FileDialogResult ShowFileDialog(const FileDialogRequest& request, const std::function<void()>& idle,
                                std::vector<std::string>& paths);
