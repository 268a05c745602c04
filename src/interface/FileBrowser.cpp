#include "interface/FileBrowser.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "interface/BoxParts.h"
#include "interface/Button.h"
#include "interface/FileList.h"
#include "interface/Language.h"
#include "interface/Layout.h"
#include "interface/MessageBoxWidget.h"
#include "interface/ScrollArea.h"
#include "interface/TextEdit.h"
#include "interface/TextWidget.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/DataPath.h"
#include "shell/core/KeyTable.h"

namespace fs = std::filesystem;

DECLARE_MEMBERS(FileBrowser) {}

namespace {

// At scale 1.
constexpr float Inset = 16, BoxWidth = 760, BoxHeight = 500, PlacesWidth = 150, FieldHeight = 24, ButtonWidth = 86;

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  return home && *home ? home : "/";
}

// Where title, search and room around are more than a window has to give.
bool IsSmall(const cRect& screen, const Canvas& canvas) { return screen.H < canvas.Px(230) || screen.W < canvas.Px(300); }

bool IsFolder(const std::string& path) {
  std::error_code fault;
  return fs::is_directory(path, fault);
}

}  // namespace

FileBrowser* FileBrowser::Open(cWidgets& widgets, FileBrowserRequest request, std::function<void(const std::string&)> chosen) {
  auto* box = new FileBrowser;
  box->m_Request = std::move(request);
  box->m_Chosen = std::move(chosen);
  box->Build();
  widgets.OpenModal(box);
  if (box->m_Request.Folder.empty() || !IsFolder(box->m_Request.Folder) || !box->Enter(box->m_Request.Folder))
    box->Enter(HomeFolder());
  widgets.Focus(box->m_Request.What == FileBrowserRequest::Kind::Save ? static_cast<BaseWidget*>(box->m_Name) : box->m_List);
  return box;
}

void FileBrowser::Build() {
  const bool saves = m_Request.What == FileBrowserRequest::Kind::Save;
  m_Path = AddChild(new RowWidget);
  m_Places = AddChild(new ScrollArea);
  m_List = AddChild(new FileList(*this));
  m_List->Callback = std::make_unique<wpcallback<FileBrowser>>(this, &FileBrowser::OnName);
  m_Name = AddChild(new TextEdit);
  m_Name->Content = m_Request.FileName;
  m_Name->Placeholder = saves ? "FILE_NAME" : "SEARCH";
  m_Name->Icon = saves ? "" : "Search";
  m_Name->LiveChange = m_Name->Answers = true;
  m_Name->Visible = m_Request.What != FileBrowserRequest::Kind::Folder;
  m_Name->Callback = std::make_unique<wpcallback<FileBrowser>>(this, &FileBrowser::OnName);
  m_NewFolder = AddChild(new Button("ADD_NEW_FOLDER", "Plus"));
  m_NewFolder->Action = [this] { MakeNewFolder(); };
  m_Accept = AddChild(new Button(saves ? "SAVE" : m_Request.What == FileBrowserRequest::Kind::Folder ? "CHOOSE" : "OPEN"));
  m_Accept->Default = true;
  m_Accept->Action = [this] { Accept(); };
  m_Cancel = AddChild(new Button("CANCEL"));
  m_Cancel->Action = [this] { Cancel(); };
  FillPlaces();
}

// --- where it is -------------------------------------------------------------------------------------------------------------

bool FileBrowser::Enter(const std::string& folder) {
  std::vector<FileEntry> entries;
  std::error_code fault;
  fs::path path = fs::weakly_canonical(folder, fault);
  if (fault) path = folder;
  if (!ListFolder(path.string(), m_Request.Patterns, entries, m_Error)) return false;
  if (m_Request.What == FileBrowserRequest::Kind::Folder)
    std::erase_if(entries, [](const FileEntry& entry) { return !entry.IsFolder; });
  m_Error.clear();
  m_Folder = path.string();
  m_List->Show(std::move(entries));
  FillPath();
  return true;
}

// The folders from the root down as buttons; the front ones give way where there are too many.
void FileBrowser::FillPath() {
  constexpr int mostParts = 6;
  m_Path->RemoveChildren();
  m_Path->Weights.clear();
  std::vector<fs::path> parts;
  for (fs::path path = m_Folder;; path = path.parent_path()) {
    parts.insert(parts.begin(), path);
    if (path == path.parent_path()) break;
  }
  auto* up = m_Path->AddChild(new Button("", "ArrowUp"));
  up->HintKey = "FOLDER_UP";
  up->Flat = true;
  up->Enabled = parts.size() > 1;
  up->Action = [this] { Enter(fs::path(m_Folder).parent_path().string()); };
  const size_t first = parts.size() > mostParts ? parts.size() - mostParts : 0;
  for (size_t i = first; i < parts.size(); i++) {
    auto* button = m_Path->AddChild(new Button(parts[i].filename().empty() ? "/" : parts[i].filename().string()));
    button->Literal = true;
    button->Flat = true;
    button->Style = i + 1 == parts.size() ? TextStyle::Bold : TextStyle::Normal;
    button->Action = [this, path = parts[i].string()] { Enter(path); };
  }
  m_Path->AddWeighted(new TextWidget, 1);
}

void FileBrowser::FillPlaces() {
  BaseWidget& column = static_cast<ScrollArea*>(m_Places)->Content();
  std::set<std::string> seen;
  auto* title = column.AddChild(new TextWidget("PLACES"));
  title->Style = TextStyle::Small;
  title->Dim = true;
  const auto add = [&](const char* key, const std::string& path) {
    if (!IsFolder(path) || !seen.insert(path).second) return;
    auto* button = column.AddChild(new Button(key, "Folder"));
    button->Align = TextAlign::Left;
    button->Flat = true;
    button->Action = [this, path] { Enter(path); };
  };
  const std::string home = HomeFolder();
  add("PLACE_HOME", home);
  add("PLACE_DOCUMENTS", FindDocumentsFolder(home, ""));
  add("PLACE_USER_DATA", fs::path(GetDataPath()).parent_path().string());
  add("PLACE_COMPUTER", "/");
}

// --- answers -----------------------------------------------------------------------------------------------------------------

// Where the foot has no room for it, it stands below the field.
void FileBrowser::Complain(const std::string& sentence) {
  m_Error = sentence;
  cWidgets* manager = Manager();
  if (!manager || manager->GetCanvas().TextWidth(sentence) <= ErrorRect(manager->GetCanvas()).W) return;
  m_Error.clear();
  manager->Say(m_Name->Visible ? m_Name->Rect : m_Path->Rect, sentence);
}

cRect FileBrowser::ErrorRect(Canvas& canvas) const {
  const float gap = canvas.Px(12), left = m_NewFolder->Rect.Right() + gap;
  return {left, m_Accept->Rect.Y, std::max(0.0f, m_Accept->Rect.X - gap - left), m_Accept->Rect.H};
}

// The box goes first: the answer may open the next one.
void FileBrowser::Answer(const std::string& path) {
  cWidgets* manager = Manager();
  if (!manager) return;
  const auto chosen = std::move(m_Chosen);
  manager->CloseModal(this);
  if (chosen) chosen(path);
}

void FileBrowser::Cancel() { Answer({}); }

void FileBrowser::Accept() {
  const auto what = m_Request.What;
  const int index = m_List->Chosen();
  const FileEntry* entry = index >= 0 ? &m_List->Entries()[size_t(index)] : nullptr;
  const fs::path folder = m_Folder;
  if (entry && entry->IsFolder) {
    Enter((folder / entry->Name).string());
    return;
  }
  if (what == FileBrowserRequest::Kind::Folder) {
    Answer(m_Folder);
    return;
  }
  if (what == FileBrowserRequest::Kind::Open) {
    if (entry)
      Answer((folder / entry->Name).string());
    else
      Complain(::GetText("CHOOSE_A_FILE"));
    return;
  }
  std::string name = m_Name->GetText();
  if (name.empty() || name == "." || name == "..") {
    Complain(::GetText("TYPE_A_NAME"));
    return;
  }
  fs::path path = fs::path(name).is_absolute() ? fs::path(name) : folder / name;
  if (IsFolder(path.string())) {
    if (Enter(path.string())) {
      m_Name->Content.clear();
      if (m_Name->IsEditing()) m_Name->BeginEdit({});
    }
    return;
  }
  if (!IsFolder(path.parent_path().string())) {
    Complain(path.parent_path().string() + ": " + ::GetText("NO_SUCH_FOLDER"));
    return;
  }
  if (!path.has_extension() && !m_Request.Patterns.empty() && m_Request.Patterns[0].starts_with("*."))
    path += m_Request.Patterns[0].substr(1);
  std::error_code fault;
  if (!fs::exists(path, fault)) {
    Answer(path.string());
    return;
  }
  cWidgets* manager = Manager();
  MessageBoxWidget::Ask(*manager, "OVERWRITE_HDR", path.filename().string() + "\n" + ::GetText("OVERWRITE"),
                        {"OVERWRITE_YES", "CANCEL"}, [this, path](int answer) {
                          if (answer == 0) Answer(path.string());
                        });
}

void FileBrowser::MakeFolder(const std::string& name) {
  std::error_code fault;
  const fs::path path = fs::path(m_Folder) / name;
  if (name.empty() || name.find('/') != std::string::npos || name == "." || name == "..") {
    Complain(::GetText("TYPE_A_NAME"));
  } else if (fs::create_directory(path, fault)) {
    Enter(path.string());
  } else {
    Complain(path.string() + ": " + (fault ? fault.message() : ::GetText("FILE_EXISTS")));
  }
}

// A new folder gets the first free name and is entered.
void FileBrowser::MakeNewFolder() {
  MakeFolder(fs::path(FirstFreePath(m_Folder, ::GetText("ADD_NEW_FOLDER"))).filename().string());
}

bool FileBrowser::OnName(BaseWidget* widget, const WidgetEvent& event) {
  m_Error.clear();
  if (cWidgets* manager = Manager()) manager->Say({}, {});
  const bool saves = m_Request.What == FileBrowserRequest::Kind::Save;
  if (widget == m_List && event.Kind == WidgetEventKind::Change && saves && m_List->Chosen() >= 0) {
    const FileEntry& entry = m_List->Entries()[size_t(m_List->Chosen())];
    if (!entry.IsFolder) m_Name->Content = entry.Name;
  }
  if (widget == m_Name && saves && event.Kind == WidgetEventKind::Change) m_List->Choose(-1);
  if (widget == m_Name && !saves && event.Kind == WidgetEventKind::Change) m_List->Find(m_Name->GetText());
  return true;
}

bool FileBrowser::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown) return event.Kind == InputKind::Text;
  if (event.Key == KeyEsc) {
    Cancel();
    return true;
  }
  if (event.Key == KeyEnter && !event.IsRepeat) {
    Accept();
    return true;
  }
  if (event.Key == KeyBackspace || (event.Key == KeyUp && (event.Modifiers & ModAlt))) {
    Enter(fs::path(m_Folder).parent_path().string());
    return true;
  }
  return false;
}

// --- looks -------------------------------------------------------------------------------------------------------------------

cRect FileBrowser::PlaceIn(const cRect& screen, Canvas& canvas) {
  const float margin = IsSmall(screen, canvas) ? 0 : canvas.Px(12);
  const float width = std::min(canvas.Px(BoxWidth), screen.W - 2 * margin),
              height = std::min(canvas.Px(BoxHeight), screen.H - 2 * margin);
  const cRect middle{std::floor((screen.W - width) / 2), std::floor((screen.H - height) / 2), width, height};
  return m_Place.PlaceIn(screen, middle, *this, canvas);
}

// What is behind the box gets nothing.
bool FileBrowser::OnMouse(const InputEvent& event) {
  m_Place.OnMouse(*this, m_Path->Rect.Y - Rect.Y, event);
  return true;
}

void FileBrowser::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const bool small = IsSmall(rect, canvas), saves = m_Request.What == FileBrowserRequest::Kind::Save;
  m_ShowsTitle = !small;
  m_Name->Visible = saves || (!small && m_Request.What == FileBrowserRequest::Kind::Open);
  const cRect inside = rect.Shrunk(canvas.Px(small ? 6 : Inset));
  const float field = canvas.Px(FieldHeight), gap = canvas.Px(small ? 4 : 10), title = canvas.LineHeight(TextStyle::Title);
  const float top = inside.Y + (small ? 0 : title + gap), bottom = inside.Bottom() - field;
  m_Path->Arrange({inside.X, top, inside.W, field}, canvas);
  const float places = inside.W > canvas.Px(420) ? canvas.Px(PlacesWidth) : 0, y = top + field + canvas.Px(6);
  const float line = m_Name->Visible ? field + gap : 0, height = std::max(0.0f, bottom - gap - line - y);
  m_Places->Visible = places > 0;
  m_Places->Arrange({inside.X, y, places, height}, canvas);
  const float left = places > 0 ? places + gap : 0;
  m_List->Arrange({inside.X + left, y, inside.W - left, height}, canvas);
  m_Name->Arrange({inside.X + left, y + height + gap, inside.W - left, field}, canvas);
  float x = inside.Right();
  for (Button* button : {m_Cancel, m_Accept}) {
    const float width = std::max(canvas.Px(small ? 0 : ButtonWidth), button->WidthFor(canvas));
    x -= width;
    button->Arrange({x, bottom, width, field}, canvas);
    x -= canvas.Px(8);
  }
  // Without room for its words it is a picture.
  m_NewFolder->Text = "ADD_NEW_FOLDER";
  if (m_NewFolder->WidthFor(canvas) > x - inside.X) m_NewFolder->Text = "";
  m_NewFolder->HintKey = m_NewFolder->Text.Empty() ? "ADD_NEW_FOLDER" : "";
  m_NewFolder->Arrange({inside.X, bottom, std::min(m_NewFolder->WidthFor(canvas), std::max(0.0f, x - inside.X)), field}, canvas);
}

void FileBrowser::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  DrawPopupGround(canvas, Rect, theme.Panel);
  const cRect inside = Rect.Shrunk(canvas.Px(Inset));
  if (m_ShowsTitle)
    canvas.Text({inside.X, inside.Y, inside.W, canvas.LineHeight(TextStyle::Title)}, GetBoxTitle(m_Request.Title),
                theme.TextTitle, TextStyle::Title);
  if (!m_Error.empty()) canvas.Text(ErrorRect(canvas), m_Error, theme.Danger);
}
