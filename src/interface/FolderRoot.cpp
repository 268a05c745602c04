#include "interface/FolderRoot.h"

#include <filesystem>

#include "ClassEngine/ClassRegistry.h"
#include "interface/FileBrowser.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/ShowFolder.h"
#include "interface/TextMenu.h"
#include "interface/cWidgets.h"

namespace fs = std::filesystem;

REGISTER_CLASS(ExtraFolder, nullptr);
REGISTER_CLASS(FolderRoot, nullptr);
DECLARE_MEMBERS(ExtraFolder) { Member<_str>("Path", Path); }
DECLARE_MEMBERS(FolderRoot) {
  Member<_str>("Path", Path);
  Member<_str>("Patterns", Patterns);
  Member<_str>("Chosen", Chosen);
  Member<ClonesArray<ExtraFolder>>("Extra", Extra);
}
DECLARE_MEMBERS(FolderTree) {}

// --- the tree ------------------------------------------------------------------------------------------------------------------

/// Folders are read when they are first seen, and all anew by Refresh.
class FolderTreeModel : public ObjTreeModel {
 public:
  explicit FolderTreeModel(FolderRoot& root) : m_Root(root) { Refresh(); }
  struct Entry {
    fs::path Path;
    bool IsFolder = true, IsTop = false, IsRead = false;
    std::vector<std::unique_ptr<Entry>> Below;
  };
  static Entry& At(Node node) { return *static_cast<Entry*>(const_cast<void*>(node)); }

  void Refresh() {
    m_Top = Entry();
    m_Top.IsRead = true;
    const auto add = [this](const _str& path) {
      if (path.Empty()) return;
      Entry& entry = *m_Top.Below.emplace_back(std::make_unique<Entry>());
      entry.Path = path.ToString();
      entry.IsTop = true;
    };
    add(m_Root.Path);
    for (const ExtraFolder* extra : m_Root.Extra) add(extra->Path);
  }
  bool IsTop(const std::string& path) const {
    for (const auto& entry : m_Top.Below)
      if (entry->Path == path) return true;
    return false;
  }

  std::vector<Node> GetChildren(Node parent) const override {
    Entry& entry = parent ? At(parent) : m_Top;
    if (entry.IsFolder && !entry.IsRead) Read(entry);
    std::vector<Node> nodes;
    for (const auto& below : entry.Below) nodes.push_back(below.get());
    return nodes;
  }
  bool FoldsAtFirst() const override { return true; }
  std::string GetName(Node node) const override { return At(node).Path.filename().string(); }
  std::string GetHint(Node node) const override { return At(node).Path.string(); }
  std::string GetIcon(Node node) const override { return At(node).IsFolder ? "Folder" : "File"; }
  uint8_t GetOfferedFlags() const override { return 0; }
  bool IsSelected(Node node) const override { return !At(node).IsFolder && At(node).Path == m_Root.Chosen.View(); }
  void Select(Node node, bool) override {
    if (!At(node).IsFolder) m_Root.Chosen = At(node).Path.string();
  }
  bool CanRename(Node node) const override { return !At(node).IsTop; }
  bool Rename(Node node, const std::string& name, std::string& expected) override {
    Entry& entry = At(node);
    const fs::path renamed = entry.Path.parent_path() / name;
    std::error_code fault;
    if (name.empty() || name.find('/') != std::string::npos || name == "." || name == "..") {
      expected = ::GetText("TYPE_A_NAME");
    } else if (fs::exists(renamed, fault)) {
      expected = ::GetText("FILE_EXISTS");
    } else {
      fs::rename(entry.Path, renamed, fault);
      if (!fault) {
        if (IsSelected(node)) m_Root.Chosen = renamed.string();
        entry.Path = renamed;
        entry.Below.clear();
        entry.IsRead = false;
        return true;
      }
      expected = fault.message();
    }
    return false;
  }

 private:
  void Read(Entry& folder) const {
    folder.IsRead = true;
    std::vector<FileEntry> files;
    std::string error;
    if (!ListFolder(folder.Path.string(), SplitPatterns(m_Root.Patterns.View()), files, error)) return;
    SortEntries(files, FileOrder::Name, false);
    for (const FileEntry& file : files) {
      Entry& entry = *folder.Below.emplace_back(std::make_unique<Entry>());
      entry.Path = folder.Path / file.Name;
      entry.IsFolder = file.IsFolder;
    }
  }
  FolderRoot& m_Root;
  mutable Entry m_Top;
};

// --- what a person does --------------------------------------------------------------------------------------------------------

FolderTree::FolderTree(FolderRoot& root) : m_Root(&root), m_Tree(std::make_shared<FolderTreeModel>(root)) { SetModel(m_Tree); }

// Who holds the folder hears of another chosen file.
void FolderTree::OnEvent(const WidgetEvent& event) {
  ObjBrowser::OnEvent(event);
  if (event.Kind == WidgetEventKind::Click && m_Root && !(m_Root->Chosen == m_Told)) TellChange();
}

void FolderTree::TellChange() {
  m_Told = m_Root->Chosen;
  Tell(WidgetEventKind::ChangeDone);
}

bool FolderTree::OpenMenu(Node node, const InputEvent& event) {
  const fs::path path = node ? FolderTreeModel::At(node).Path : fs::path(m_Root->Path.ToString());
  const bool isFolder = !node || FolderTreeModel::At(node).IsFolder;
  const std::string folder = (isFolder ? path : path.parent_path()).string();
  const auto fill = [&](TextMenu& menu) {
    menu.Add("ADD_NEW_FOLDER", [this, folder] { AddFolder(folder); });
    menu.Add("ADD_OBJECT", [this, folder] { AddFile(folder); });
    menu.Add("ADD_EX_FILDER", [this] { AddExtra(); });
    menu.AddLine();
    const char* key = isFolder ? "REMOVE_FOLDER" : "REMOVE_FILE";
    menu.Add(key, [this, path, key] { AskRemove(path.string(), key); })->Enabled = node && path != m_Root->Path.View();
    menu.AddSub("EXTRA_OPTIONS",
                [folder](TextMenu& sub) { sub.Add("OPEN_CONTAINING_FOLDER", [folder] { ShowFolderOf(folder); }); });
  };
  TextMenu::Open(*Manager(), {event.X, event.Y, 0, 0}, fill, this);
  return true;
}

// What the folders hold now is read anew; a fault is told under the name of what was tried.
void FolderTree::Finish(const char* key, const std::string& path, const std::error_code& fault) {
  SetModel(nullptr);
  m_Tree->Refresh();
  SetModel(m_Tree);
  cWidgets* manager = Manager();
  if (!manager) return;
  manager->RequestArrange();
  if (fault)
    MessageBoxWidget::Ask(*manager, key, path + ": " + fault.message(), {}, nullptr);
  else
    TellChange();
}

// It gets the first free name; a double click gives it another one.
void FolderTree::AddFolder(const std::string& folder) {
  std::error_code fault;
  const std::string path = FirstFreePath(folder, ::GetText("ADD_NEW_FOLDER"));
  fs::create_directory(path, fault);
  Finish("ADD_NEW_FOLDER", path, fault);
}

void FolderTree::AddFile(const std::string& folder) {
  FileBrowserRequest request;
  request.Title = "ADD_OBJECT";
  request.Patterns = SplitPatterns(m_Root->Patterns.View());
  FileBrowser::Open(*Manager(), request, [this, folder, alive = std::weak_ptr<FolderTreeModel>(m_Tree)](const std::string& path) {
    if (path.empty() || alive.expired()) return;
    std::error_code fault;
    const fs::path copy = fs::path(folder) / fs::path(path).filename();
    fs::copy_file(path, copy, fault);
    Finish("ADD_OBJECT", copy.string(), fault);
  });
}

void FolderTree::AddExtra() {
  FileBrowserRequest request;
  request.What = FileBrowserRequest::Kind::Folder;
  request.Title = "ADD_EX_FILDER";
  FileBrowser::Open(*Manager(), request, [this, alive = std::weak_ptr<FolderTreeModel>(m_Tree)](const std::string& path) {
    if (path.empty() || alive.expired() || m_Tree->IsTop(path)) return;
    auto* extra = new ExtraFolder;
    extra->RegisterMembers();
    extra->Path = path;
    m_Root->Extra.Add(extra);
    Finish("ADD_EX_FILDER", path, {});
  });
}

// A folder beside the first one only leaves the list.
void FolderTree::AskRemove(const std::string& path, const char* key) {
  for (int32_t i = 0; i < m_Root->Extra.Count; i++)
    if (m_Root->Extra[i]->Path == path) {
      m_Root->Extra.RemoveAt(i);
      Finish(key, path, {});
      return;
    }
  MessageBoxWidget::Ask(*Manager(), key, path, {key, "CANCEL"},
                        [this, path, key, alive = std::weak_ptr<FolderTreeModel>(m_Tree)](int answer) {
                          if (answer != 0 || alive.expired()) return;
                          std::error_code fault;
                          fs::remove(path, fault);
                          if (!fault && m_Root->Chosen == path) m_Root->Chosen = "";
                          Finish(key, path, fault);
                        });
}
