#pragma once
// The interface's own box for choosing files, for desktops that have none to offer.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "interface/BaseWidget.h"
#include "interface/BoxPlace.h"

class Button;
class FileList;
class RowWidget;
class TextEdit;

struct FileBrowserRequest {
  enum class Kind : uint8_t { Open, Save, Folder };
  Kind What = Kind::Open;
  std::string Title;                  ///< language key
  std::string Folder;                 ///< where to begin; empty, or not there: the home folder
  std::string FileName;               ///< of Save: the name to begin with
  std::vector<std::string> Patterns;  ///< "*.obj"; empty: all files. Save appends the first one's ending to a name without any
};

/// One entry of a folder.
struct FileEntry {
  std::string Name;
  bool IsFolder = false;
  int64_t Size = 0;     ///< bytes
  int64_t TimeSec = 0;  ///< of the last change, since 1970
};
enum class FileOrder : uint8_t { Name, Size, Time };

/// The entries of a folder that fit a pattern, folders always; hidden ones are left out. False with one sentence in `error`.
bool ListFolder(const std::string& folder, const std::vector<std::string>& patterns, std::vector<FileEntry>& entries,
                std::string& error);
/// Folders first; names by their letters whatever the case, with numbers in them by value.
void SortEntries(std::vector<FileEntry>& entries, FileOrder order, bool descending);
/// Whether a file name fits "*.obj" and the like, whatever the case of letters: '*' is any text, '?' any character.
bool FitsPattern(std::string_view name, std::string_view pattern);

/// A path in the folder that nothing has yet: the name as it is, or with a number behind it.
std::string FirstFreePath(const std::string& folder, const std::string& name);

/// The patterns of a list as "*.png;*.jpg".
std::vector<std::string> SplitPatterns(std::string_view list);

class FileBrowser : public BaseWidget {
  REFLECTED(FileBrowser, BaseWidget)
 public:
  /// Opens the box. `chosen` gets the path after the box is gone; an empty one where the person cancelled.
  static FileBrowser* Open(cWidgets& widgets, FileBrowserRequest request, std::function<void(const std::string& path)> chosen);

  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool UndoDrag() override { return m_Place.UndoDrag(*this); }
  MouseCursor GetCursor(float x, float y) const override { return m_Place.GetCursor(*this, x, y); }
  bool OnKey(const InputEvent& event) override;

  const std::string& Folder() const { return m_Folder; }
  /// False with the reason shown in the box; the folder stays.
  bool Enter(const std::string& folder);
  /// What the button does: enters a chosen folder, or answers with the file; asks before a file is written over.
  void Accept();
  void Cancel();
  /// Closes the box with that path.
  void Answer(const std::string& path);
  void MakeFolder(const std::string& name);
  FileList& List() { return *m_List; }

 private:
  friend class FileList;
  void Build();
  void FillPath();
  void FillPlaces();
  cRect ErrorRect(Canvas& canvas) const;
  void Complain(const std::string& sentence);
  void MakeNewFolder();
  bool OnName(BaseWidget* widget, const WidgetEvent& event);

  BoxPlace m_Place{"FileBrowser", 320, 240};
  FileBrowserRequest m_Request;
  std::function<void(const std::string&)> m_Chosen;
  std::string m_Folder, m_Error;
  bool m_ShowsTitle = true;
  RowWidget* m_Path = nullptr;
  BaseWidget* m_Places = nullptr;
  FileList* m_List = nullptr;
  TextEdit* m_Name = nullptr;
  Button *m_Accept = nullptr, *m_Cancel = nullptr, *m_NewFolder = nullptr;
};
