#pragma once
// A folder whose files a panel offers as a tree, and other folders beside it.
#include <string>
#include <system_error>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Str.h"
#include "interface/ObjBrowser.h"

/// A folder that the person has put beside the first one.
class ExtraFolder : public BaseClass {
  REFLECTED(ExtraFolder, BaseClass)
 public:
  _str Path;
};

/// What the tree shows, and the file that the person has chosen in it. A panel shows a member of this class as a FolderTree.
class FolderRoot : public BaseClass {
  REFLECTED(FolderRoot, BaseClass)
 public:
  _str Path;      ///< the first folder
  _str Patterns;  ///< "*.png;*.jpg"; empty: all files
  _str Chosen;    ///< path of the chosen file; empty: none
  ClonesArray<ExtraFolder> Extra;
};

class FolderTreeModel;

/// Folders fold; a press chooses a file; a menu adds and removes. Files and folders are renamed as in every tree. Nothing is
/// removed without a question, and no folder that holds anything.
class FolderTree : public ObjBrowser {
  REFLECTED(FolderTree, ObjBrowser)
 public:
  FolderTree() = default;
  /// `root` outlives the tree.
  explicit FolderTree(FolderRoot& root);
  void OnEvent(const WidgetEvent& event) override;

 protected:
  bool OpenMenu(Node node, const InputEvent& event) override;

 private:
  void AddFolder(const std::string& folder);
  void AddFile(const std::string& folder);
  void AddExtra();
  void AskRemove(const std::string& path, const char* key);
  void Finish(const char* key, const std::string& path, const std::error_code& fault);
  void TellChange();
  FolderRoot* m_Root = nullptr;
  _str m_Told;  // the chosen file that others know of
  std::shared_ptr<FolderTreeModel> m_Tree;
};
