#include "interface/FileList.h"

#include <sys/stat.h>
#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "comms/Str.h"
#include "interface/Language.h"
#include "interface/ScrollArea.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

namespace fs = std::filesystem;

DECLARE_MEMBERS(FileList) {}

// --- folders -----------------------------------------------------------------------------------------------------------------

// The usual matching with one place to go back to: the last '*'.
bool FitsPattern(std::string_view name, std::string_view pattern) {
  size_t n = 0, p = 0, star = std::string_view::npos, mark = 0;
  while (n < name.size()) {
    if (p < pattern.size() &&
        (pattern[p] == '?' || (pattern[p] != '*' && comms::ToLowerAscii(pattern[p]) == comms::ToLowerAscii(name[n])))) {
      n++;
      p++;
    } else if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      mark = n;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = ++mark;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') p++;
  return p == pattern.size();
}

std::vector<std::string> SplitPatterns(std::string_view list) {
  std::vector<std::string> found;
  while (!list.empty()) {
    const size_t end = list.find_first_of(";|");
    if (const std::string_view one = list.substr(0, end); !one.empty()) found.emplace_back(one);
    list = end == std::string_view::npos ? std::string_view() : list.substr(end + 1);
  }
  return found;
}

bool ListFolder(const std::string& folder, const std::vector<std::string>& patterns, std::vector<FileEntry>& entries,
                std::string& error) {
  std::error_code fault;
  fs::directory_iterator at(folder, fault), end;
  if (fault) {
    error = folder + ": " + fault.message();
    return false;
  }
  entries.clear();
  for (; at != end; at.increment(fault)) {
    if (fault) break;
    FileEntry entry;
    entry.Name = at->path().filename().string();
    struct stat state;
    if (entry.Name.starts_with('.') || stat(at->path().c_str(), &state) != 0) continue;
    entry.IsFolder = S_ISDIR(state.st_mode);
    entry.Size = entry.IsFolder ? 0 : int64_t(state.st_size);
    entry.TimeSec = int64_t(state.st_mtime);
    const auto fits = [&](const std::string& pattern) { return FitsPattern(entry.Name, pattern); };
    if (entry.IsFolder || patterns.empty() || std::any_of(patterns.begin(), patterns.end(), fits))
      entries.push_back(std::move(entry));
  }
  return true;
}

std::string FirstFreePath(const std::string& folder, const std::string& name) {
  std::error_code fault;
  fs::path path = fs::path(folder) / name;
  for (int number = 2; fs::exists(path, fault) && number < 1000; number++)
    path.replace_filename(name + " " + std::to_string(number));
  return path.string();
}

// "head 2" before "head 10": runs of digits compare by their value, without leading zeros.
static int CompareNames(std::string_view a, std::string_view b) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (isDigit(a[i]) && isDigit(b[j])) {
      while (i < a.size() && a[i] == '0') i++;
      while (j < b.size() && b[j] == '0') j++;
      size_t endA = i, endB = j;
      while (endA < a.size() && isDigit(a[endA])) endA++;
      while (endB < b.size() && isDigit(b[endB])) endB++;
      if (endA - i != endB - j) return endA - i < endB - j ? -1 : 1;
      if (const int order = a.substr(i, endA - i).compare(b.substr(j, endB - j))) return order;
      i = endA;
      j = endB;
      continue;
    }
    const auto left = static_cast<unsigned char>(comms::ToLowerAscii(a[i++])),
               right = static_cast<unsigned char>(comms::ToLowerAscii(b[j++]));
    if (left != right) return left < right ? -1 : 1;
  }
  const size_t restA = a.size() - i, restB = b.size() - j;
  return restA == restB ? a.compare(b) : restA < restB ? -1 : 1;
}

void SortEntries(std::vector<FileEntry>& entries, FileOrder order, bool descending) {
  std::stable_sort(entries.begin(), entries.end(), [&](const FileEntry& a, const FileEntry& b) {
    if (a.IsFolder != b.IsFolder) return a.IsFolder;
    const int64_t left = order == FileOrder::Size ? a.Size : a.TimeSec, right = order == FileOrder::Size ? b.Size : b.TimeSec;
    if (order != FileOrder::Name && left != right) return descending ? left > right : left < right;
    const int names = CompareNames(a.Name, b.Name);
    return descending && order == FileOrder::Name ? names > 0 : names < 0;
  });
}

static std::string PrintSize(int64_t bytes) {
  if (bytes < 1024) return comms::Format("%d B", int(bytes)).c_str();
  const char* const units[] = {"KB", "MB", "GB", "TB"};
  double size = double(bytes) / 1024;
  int unit = 0;
  while (size >= 1000 && unit < 3) size /= 1024, unit++;
  return ShowNumber(std::string(comms::Format(size < 10 ? "%.1f %s" : "%.0f %s", size, units[unit])));
}

static std::string PrintTime(int64_t timeSec) {
  const std::time_t time = std::time_t(timeSec);
  std::tm local{};
  if (!localtime_r(&time, &local)) return {};
  char text[32];
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local));
}

// --- the list ------------------------------------------------------------------------------------------------------------------

FileList::FileList() {
  m_Scroller = AddChild(new VScroller);
  m_Scroller->Callback = std::make_unique<wpcallback<FileList>>(this, &FileList::OnScroll);
}
FileList::FileList(FileBrowser& browser) : FileList() { m_Browser = &browser; }

void FileList::Show(std::vector<FileEntry> entries) {
  m_Entries = std::move(entries);
  SortEntries(m_Entries, m_Order, m_Descending);
  m_Chosen = -1;
  m_Scroller->SetPosition(0);
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

// The chosen entry stays the chosen one.
void FileList::SortBy(FileOrder order) {
  m_Descending = order == m_Order ? !m_Descending : order != FileOrder::Name;
  m_Order = order;
  const std::string chosen = m_Chosen >= 0 ? m_Entries[size_t(m_Chosen)].Name : std::string();
  SortEntries(m_Entries, m_Order, m_Descending);
  for (size_t i = 0; i < m_Entries.size(); i++)
    if (!chosen.empty() && m_Entries[i].Name == chosen) m_Chosen = int(i);
}

void FileList::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  m_RowHeight = canvas.Px(22);
  m_TitleHeight = canvas.Px(24);
  m_SizeWidth = canvas.Px(84);
  m_TimeWidth = canvas.Px(126);
  if (rect.W < canvas.Px(380)) m_TimeWidth = 0;
  const float bar = m_Scroller->WidthFor(canvas);
  m_Scroller->ContentHeight = m_RowHeight * float(m_Entries.size());
  m_Scroller->ViewHeight = std::max(0.0f, rect.H - m_TitleHeight);
  m_Scroller->Visible = m_Scroller->MaxPosition() > 0;
  m_Scroller->Arrange({rect.Right() - bar, rect.Y + m_TitleHeight, bar, m_Scroller->ViewHeight}, canvas);
  m_Scroller->SetPosition(m_Scroller->Position());
}

bool FileList::OnScroll(BaseWidget*, const WidgetEvent&) { return true; }

cRect FileList::RowRect(int index) const {
  const float bar = m_Scroller->Visible ? m_Scroller->Rect.W : 0;
  return {Rect.X, Rect.Y + m_TitleHeight + m_RowHeight * float(index) - m_Scroller->Position(), std::max(0.0f, Rect.W - bar),
          m_RowHeight};
}

cRect FileList::TitleRect(FileOrder order) const {
  const cRect row = RowRect(0);
  const float name = std::max(0.0f, row.W - m_SizeWidth - m_TimeWidth);
  if (order == FileOrder::Name) return {row.X, Rect.Y, name, m_TitleHeight};
  if (order == FileOrder::Size) return {row.X + name, Rect.Y, m_SizeWidth, m_TitleHeight};
  return {row.X + name + m_SizeWidth, Rect.Y, m_TimeWidth, m_TitleHeight};
}

int FileList::RowAt(float x, float y) const {
  if (!Rect.Contains(x, y) || y < Rect.Y + m_TitleHeight) return -1;
  const int index = int(std::floor((y - RowRect(0).Y) / m_RowHeight));
  return index >= 0 && index < int(m_Entries.size()) ? index : -1;
}

void FileList::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  DrawField(canvas, Rect, false, false);
  const float pad = canvas.Px(8), icon = canvas.Px(Measures::IconSize);
  const cWidgets* manager = Manager();
  canvas.PushClip({Rect.X, Rect.Y + m_TitleHeight, Rect.W, std::max(0.0f, Rect.H - m_TitleHeight - canvas.Px(1))});
  const int first = std::max(0, int(m_Scroller->Position() / m_RowHeight));
  for (int i = first; i < int(m_Entries.size()); i++) {
    const cRect row = RowRect(i);
    if (row.Y >= Rect.Bottom()) break;
    const FileEntry& entry = m_Entries[size_t(i)];
    const bool chosen = i == m_Chosen, hot = IsHot() && RowAt(manager->PointerX(), manager->PointerY()) == i;
    const cRect mark{row.X + canvas.Px(3), row.Y, std::max(0.0f, row.W - canvas.Px(6)), row.H};
    if (chosen || hot) canvas.FillRoundRect(mark, canvas.Px(Measures::Radius), chosen ? theme.Accent : theme.MenuHot);
    const uint32_t text = chosen ? theme.AccentText : theme.Text, dim = chosen ? theme.AccentText : theme.TextDim;
    canvas.Icon(entry.IsFolder ? "Folder" : "File", {row.X + pad, row.Y + std::floor((row.H - icon) / 2), icon, icon}, dim);
    const cRect name = TitleRect(FileOrder::Name), size = TitleRect(FileOrder::Size), time = TitleRect(FileOrder::Time);
    const float left = pad + icon + canvas.Px(6);
    canvas.Text({name.X + left, row.Y, std::max(0.0f, name.W - left - pad), row.H}, entry.Name, text);
    if (!entry.IsFolder)
      canvas.Text({size.X, row.Y, size.W - pad, row.H}, PrintSize(entry.Size), dim, TextStyle::Normal, TextAlign::Right);
    if (time.W > 0) canvas.Text({time.X + pad, row.Y, time.W - pad, row.H}, PrintTime(entry.TimeSec), dim);
  }
  canvas.PopClip();
  if (m_Entries.empty())
    canvas.Text({Rect.X, Rect.Y + m_TitleHeight, Rect.W, m_RowHeight * 2}, ::GetText("FOLDER_EMPTY"), theme.TextDim,
                TextStyle::Normal, TextAlign::Center);
  const std::pair<FileOrder, const char*> titles[] = {
      {FileOrder::Name, "FILE_NAME"}, {FileOrder::Size, "FILE_SIZE"}, {FileOrder::Time, "FILE_DATE"}};
  for (const auto& [order, key] : titles) {
    const cRect box = TitleRect(order);
    if (box.W <= 0) continue;
    const std::string title = ::GetText(key);
    const bool right = order == FileOrder::Size;
    const float width = canvas.TextWidth(title, TextStyle::Small);
    canvas.Text({box.X + pad, box.Y, std::max(0.0f, box.W - 2 * pad), box.H}, title, theme.TextDim, TextStyle::Small,
                right ? TextAlign::Right : TextAlign::Left);
    if (order == m_Order)
      DrawArrow(canvas,
                {right ? box.Right() - pad - width - canvas.Px(8) : box.X + pad + width + canvas.Px(8), box.Y + box.H / 2},
                canvas.Px(6), m_Descending ? 1 : 3, theme.TextDim);
  }
  canvas.FillRect({Rect.X + canvas.Px(1), Rect.Y + m_TitleHeight - canvas.Px(1), Rect.W - canvas.Px(2), canvas.Px(1)},
                  theme.Separator);
  DrawFocusRing(canvas, *this);
}

void FileList::Choose(int index) {
  m_Chosen = index >= 0 && index < int(m_Entries.size()) ? index : -1;
  if (m_Chosen >= 0) {
    const float top = m_RowHeight * float(m_Chosen), view = m_Scroller->ViewHeight;
    if (top < m_Scroller->Position()) m_Scroller->SetPosition(top);
    if (top + m_RowHeight > m_Scroller->Position() + view) m_Scroller->SetPosition(top + m_RowHeight - view);
  }
  Tell(WidgetEventKind::Change);
}

bool FileList::Find(const std::string& start) {
  for (size_t i = 0; i < m_Entries.size(); i++) {
    if (!comms::StartsWithNoCase(m_Entries[i].Name, start)) continue;
    Choose(int(i));
    return true;
  }
  return false;
}

bool FileList::OnMouse(const InputEvent& event) {
  if (event.Kind == InputKind::Wheel && m_Scroller->MaxPosition() > 0) {
    m_Scroller->SetPosition(m_Scroller->Position() - event.WheelY * 3 * m_RowHeight, &event);
    return true;
  }
  if (event.Kind != InputKind::ButtonDown || event.Button != MouseButton::Left) return IsCaptured();
  for (const FileOrder order : {FileOrder::Name, FileOrder::Size, FileOrder::Time})
    if (TitleRect(order).Contains(event.X, event.Y)) {
      SortBy(order);
      return true;
    }
  Choose(RowAt(event.X, event.Y));
  if (event.Clicks == 2 && m_Chosen >= 0 && m_Browser) m_Browser->Accept();
  return true;
}

bool FileList::OnKey(const InputEvent& event) {
  if (event.Kind == InputKind::Text) {
    m_Typed = m_Now - m_TypedAt > 1 ? event.Text : m_Typed + event.Text;
    m_TypedAt = m_Now;
    Find(m_Typed);
    return true;
  }
  if (event.Kind != InputKind::KeyDown || (event.Modifiers & (ModControl | ModAlt | ModSuper))) return false;
  const int last = int(m_Entries.size()) - 1, page = std::max(1, int(m_Scroller->ViewHeight / m_RowHeight) - 1);
  switch (event.Key) {
    case KeyUp:
      Choose(std::max(0, m_Chosen - 1));
      return true;
    case KeyDown:
      Choose(std::min(last, m_Chosen + 1));
      return true;
    case KeyPageUp:
      Choose(std::max(0, m_Chosen - page));
      return true;
    case KeyPageDown:
      Choose(std::min(last, m_Chosen + page));
      return true;
    case KeyHome:
      Choose(0);
      return true;
    case KeyEnd:
      Choose(last);
      return true;
    default:
      return false;
  }
}
