#include "interface/ObjBrowser.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "interface/ScrollArea.h"
#include "interface/TextEdit.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(ObjBrowser) {}

namespace {

/// Trees nested deeper are shown up to here; no room shows so many indents.
constexpr int MaxTreeDepth = 64;

const char* IconOf(ObjFlags flag, bool on) {
  switch (flag) {
    case ObjVisible:
      return on ? "Visible" : "Hidden";
    case ObjGhost:
      return "Ghost";
    case ObjLocked:
      return on ? "Locked" : "Unlocked";
  }
  return "";
}

// Said aloud where it is unusual, dimmed where it is as always.
bool IsUsual(ObjFlags flag, bool on) { return flag == ObjVisible ? on : !on; }

}  // namespace

ObjBrowser::ObjBrowser() : ObjBrowser(nullptr) {}

ObjBrowser::ObjBrowser(std::shared_ptr<ObjTreeModel> model) : m_Model(std::move(model)) {
  m_Scroller = AddChild(new VScroller);
  m_Scroller->Callback = std::make_unique<wpcallback<ObjBrowser>>(this, &ObjBrowser::OnScroll);
}

void ObjBrowser::SetModel(std::shared_ptr<ObjTreeModel> model) {
  EndRename();
  m_Model = std::move(model);
  m_Toggled.clear();
  m_Pressed = m_Current = nullptr;
}

std::vector<ObjBrowser::Row> ObjBrowser::ListRows() const {
  std::vector<Row> rows;
  if (m_Model) AppendRows(nullptr, 0, rows);
  return rows;
}

void ObjBrowser::AppendRows(Node parent, int depth, std::vector<Row>& rows) const {
  const std::vector<Node> nodes = m_Model->GetChildren(parent);
  for (size_t i = 0; i < nodes.size(); i++) {
    const bool inner = !m_Model->GetChildren(nodes[i]).empty();
    rows.push_back({nodes[i], parent, depth, int(i), inner});
    if (inner && depth < MaxTreeDepth && !IsFolded(nodes[i])) AppendRows(nodes[i], depth + 1, rows);
  }
}

void ObjBrowser::SetFolded(Node node, bool folded) {
  if (folded == IsFolded(node)) return;
  if (!m_Toggled.erase(node)) m_Toggled.insert(node);
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

std::vector<ObjFlags> ObjBrowser::OfferedFlags() const {
  std::vector<ObjFlags> flags;
  const uint8_t offered = m_Model ? m_Model->GetOfferedFlags() : 0;
  for (const ObjFlags flag : {ObjVisible, ObjGhost, ObjLocked})
    if (offered & flag) flags.push_back(flag);
  return flags;
}

// --- places --------------------------------------------------------------------------------------------------------------------

float ObjBrowser::HeightFor(float, Canvas& canvas) const { return canvas.Px(Height); }

void ObjBrowser::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  m_RowHeight = canvas.Px(Measures::RowHeight + 3);
  const float bar = m_Scroller->WidthFor(canvas);
  m_RowCount = ListRows().size();
  m_Scroller->ContentHeight = m_RowHeight * float(m_RowCount) + canvas.Px(8);
  m_Scroller->ViewHeight = rect.H;
  m_Scroller->Visible = m_Scroller->MaxPosition() > 0;
  m_Scroller->Arrange({rect.Right() - bar, rect.Y, bar, rect.H}, canvas);
  m_Scroller->SetPosition(m_Scroller->Position());
  if (!m_Edit) return;
  const cRect row = RowRect(m_Renamed);
  if (row.W <= 0) {
    EndRename();  // the object has gone, or its row
    return;
  }
  const float left = std::max(rect.X, row.X + canvas.Px(20));
  m_Edit->Arrange({left, row.Y + canvas.Px(1), std::max(canvas.Px(40), row.Right() - left - canvas.Px(4)), row.H - canvas.Px(2)},
                  canvas);
}

void ObjBrowser::Process(double) {
  cWidgets* manager = Manager();
  if (manager && ListRows().size() != m_RowCount) manager->RequestArrange();
}

bool ObjBrowser::OnScroll(BaseWidget*, const WidgetEvent&) {
  if (cWidgets* manager = Manager()) manager->RequestArrange();
  return true;
}

cRect ObjBrowser::RowRectAt(int index) const {
  const float gap = std::round(m_RowHeight * 0.18f), bar = m_Scroller->Visible ? m_Scroller->Rect.W : 0;
  return {Rect.X + gap, Rect.Y + gap + m_RowHeight * float(index) - m_Scroller->Position(),
          std::max(0.0f, Rect.W - 2 * gap - bar), m_RowHeight};
}

cRect ObjBrowser::RowRect(Node node) {
  const std::vector<Row> rows = ListRows();
  for (size_t i = 0; i < rows.size(); i++)
    if (rows[i].Object == node) return RowRectAt(int(i));
  return {};
}

cRect ObjBrowser::FlagRect(Node node, ObjFlags flag) {
  const cRect row = RowRect(node);
  const std::vector<ObjFlags> flags = OfferedFlags();
  const auto at = std::find(flags.begin(), flags.end(), flag);
  if (row.W <= 0 || at == flags.end()) return {};
  return {row.X + float(at - flags.begin()) * m_RowHeight, row.Y, m_RowHeight, m_RowHeight};
}

int ObjBrowser::RowAt(float y, const std::vector<Row>& rows) const {
  const int index = int(std::floor((y - RowRectAt(0).Y) / m_RowHeight));
  return index >= 0 && index < int(rows.size()) ? index : -1;
}

void ObjBrowser::ShowRow(int index) {
  const cRect row = RowRectAt(index);
  if (row.Y < Rect.Y) m_Scroller->SetPosition(m_Scroller->Position() + row.Y - Rect.Y);
  if (row.Bottom() > Rect.Bottom()) m_Scroller->SetPosition(m_Scroller->Position() + row.Bottom() - Rect.Bottom());
}

// --- drawing -----------------------------------------------------------------------------------------------------------------

void ObjBrowser::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const std::vector<Row> rows = ListRows();
  canvas.PushClip(Rect);
  for (size_t i = 0; i < rows.size(); i++) {
    const cRect rect = RowRectAt(int(i));
    if (rect.Bottom() >= Rect.Y && rect.Y < Rect.Bottom()) DrawRow(canvas, rows[i], rect);
  }
  cWidgets* manager = Manager();
  if (manager && manager->Dragged() != &m_Dragged) m_HasDrop = false;
  if (m_HasDrop && m_Drop.Allowed) {
    const float line = canvas.Px(2), indent = canvas.Px(Measures::Indent) * float(m_Drop.Depth);
    if (m_Drop.Into)
      canvas.FillRoundRect(RowRectAt(m_Drop.Row), canvas.Px(Measures::Radius), 0, line, theme.Accent);
    else
      canvas.FillRect({Rect.X + canvas.Px(4) + indent, m_Drop.Y - line / 2, std::max(0.0f, Rect.W - canvas.Px(8) - indent), line},
                      theme.Accent);
  }
  canvas.PopClip();
  DrawFocusRing(canvas, *this);
}

// Icons of the states, then the arrow of what folds, the icon and the name; a note at the end.
void ObjBrowser::DrawRow(Canvas& canvas, const Row& row, const cRect& rect) {
  const Theme& theme = GetTheme();
  const cWidgets* manager = Manager();
  const bool selected = m_Model->IsSelected(row.Object);
  const bool hot = manager && IsHot() && !manager->Dragged() && rect.Contains(manager->PointerX(), manager->PointerY());
  const float radius = canvas.Px(Measures::Radius), size = canvas.Px(Measures::IconSize - 1);
  if (selected)
    canvas.FillRoundRect(rect, radius, theme.Accent);
  else if (hot)
    canvas.FillRoundRect(rect, radius, theme.MenuHot);
  const uint8_t states = m_Model->GetFlags(row.Object);
  const bool shown = !(m_Model->GetOfferedFlags() & ObjVisible) || (states & ObjVisible);
  const uint32_t strong = selected ? theme.AccentText : theme.Text;
  const uint32_t weak = selected ? WithAlpha(theme.AccentText, 0.9f) : theme.TextDim;
  float x = rect.X;
  const float inset = std::floor((rect.H - size) / 2);
  for (const ObjFlags flag : OfferedFlags()) {
    const bool on = states & flag, usual = IsUsual(flag, on);
    if (!usual || flag == ObjVisible || hot || selected)
      canvas.Icon(IconOf(flag, on), {x + inset, rect.Y + inset, size, size},
                  usual ? WithAlpha(weak, flag == ObjVisible ? 0.9f : 0.75f) : strong);
    x += rect.H;
  }
  x += canvas.Px(2) + canvas.Px(Measures::Indent) * float(row.Depth);
  if (row.HasChildren)
    DrawArrow(canvas, {x + canvas.Px(6), rect.Y + rect.H / 2}, canvas.Px(7), IsFolded(row.Object) ? 0 : 1, weak);
  x += canvas.Px(14);
  if (const std::string icon = m_Model->GetIcon(row.Object); !icon.empty()) {
    canvas.Icon(icon, {x, rect.Y + inset, size, size}, weak);
    x += size + canvas.Px(5);
  }
  float right = rect.Right() - canvas.Px(6);
  if (const std::string note = m_Model->GetNote(row.Object); !note.empty() && right - x > canvas.Px(120)) {
    const float width = std::ceil(canvas.TextWidth(note, TextStyle::Small)) + 1;
    canvas.Text({right - width, rect.Y, width, rect.H}, note, weak, TextStyle::Small, TextAlign::Right);
    right -= width + canvas.Px(8);
  }
  canvas.Text({x, rect.Y, std::max(0.0f, right - x), rect.H}, m_Model->GetName(row.Object), shown ? strong : weak);
}

std::string ObjBrowser::GetHintText(float x, float y) const {
  const std::vector<Row> rows = ListRows();
  const int index = Rect.Contains(x, y) ? RowAt(y, rows) : -1;
  if (index < 0) return {};
  const std::string hint = m_Model->GetHint(rows[size_t(index)].Object);
  return hint.empty() ? m_Model->GetName(rows[size_t(index)].Object) : hint;
}

// --- mouse and keys ----------------------------------------------------------------------------------------------------------

bool ObjBrowser::OnPress(const InputEvent& event) {
  const std::vector<Row> rows = ListRows();
  const int index = RowAt(event.Y, rows);
  m_Pressed = nullptr;
  if (index < 0) return true;
  const Row& row = rows[size_t(index)];
  for (const ObjFlags flag : OfferedFlags())
    if (FlagRect(row.Object, flag).Contains(event.X, event.Y)) {
      m_Model->SetFlag(row.Object, flag, !(m_Model->GetFlags(row.Object) & flag));
      Tell(WidgetEventKind::Change, &event);
      return true;
    }
  cWidgets* manager = Manager();
  const float arrow = RowRectAt(index).X + m_RowHeight * float(OfferedFlags().size()) +
                      (manager ? manager->GetCanvas().Px(Measures::Indent) : 12) * float(row.Depth);
  if (row.HasChildren && event.X >= arrow && event.X < arrow + m_RowHeight * 0.75f) {
    SetFolded(row.Object, !IsFolded(row.Object));
    return true;
  }
  if (event.Clicks == 2) {
    BeginRename(row.Object);
    return true;
  }
  m_Pressed = m_Current = row.Object;
  m_PressX = event.X;
  m_PressY = event.Y;
  m_Model->Select(row.Object, event.Modifiers & (ModControl | ModShift));
  Tell(WidgetEventKind::Click, &event);
  return true;
}

bool ObjBrowser::OnMouse(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (!manager || !m_Model) return false;
  if (event.Kind == InputKind::Wheel && m_Scroller->MaxPosition() > 0) {
    m_Scroller->SetPosition(m_Scroller->Position() - event.WheelY * 3 * m_RowHeight, &event);
    return true;
  }
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) return OnPress(event);
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Right) {
    const std::vector<Row> rows = ListRows();
    const int index = RowAt(event.Y, rows);
    m_Current = index >= 0 ? rows[size_t(index)].Object : nullptr;
    if (m_Current && !m_Model->IsSelected(m_Current)) m_Model->Select(m_Current, false);
    Tell(WidgetEventKind::Click, &event);
    return OpenMenu(m_Current, event);
  }
  if (event.Kind == InputKind::PointerMove && IsCaptured() && m_Pressed) {
    const float away = manager->GetCanvas().Px(5);
    if (std::max(std::fabs(event.X - m_PressX), std::fabs(event.Y - m_PressY)) < away) return true;
    m_Dragged.Object = std::exchange(m_Pressed, nullptr);
    m_HasDrop = false;
    if (m_Model->CanDrag(m_Dragged.Object)) manager->BeginDrag(&m_Dragged, m_Model->GetName(m_Dragged.Object), this);
  }
  if (event.Kind == InputKind::ButtonUp) m_Pressed = nullptr;
  return IsCaptured();
}

void ObjBrowser::SelectStep(int step) {
  const std::vector<Row> rows = ListRows();
  if (rows.empty()) return;
  int index = -1;
  for (size_t i = 0; i < rows.size(); i++)
    if (rows[i].Object == m_Current || (index < 0 && m_Model->IsSelected(rows[i].Object))) index = int(i);
  index = std::clamp(index + step, 0, int(rows.size()) - 1);
  m_Current = rows[size_t(index)].Object;
  m_Model->Select(m_Current, false);
  ShowRow(index);
  Tell(WidgetEventKind::Click);
}

bool ObjBrowser::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || !m_Model || m_Edit || (event.Modifiers & (ModControl | ModAlt | ModSuper)))
    return false;
  const std::vector<Row> rows = ListRows();
  const auto current = std::find_if(rows.begin(), rows.end(), [this](const Row& row) { return row.Object == m_Current; });
  const bool known = current != rows.end();
  switch (event.Key) {
    case KeyUp:
      SelectStep(-1);
      return true;
    case KeyDown:
      SelectStep(1);
      return true;
    case KeyLeft:
      if (known && current->HasChildren) SetFolded(m_Current, true);
      return known;
    case KeyRight:
      if (known) SetFolded(m_Current, false);
      return known;
    case KeyF1 + 1:
      if (known) BeginRename(m_Current);
      return known;
    case KeyDelete:
      if (!known || !m_Model->CanRemove(m_Current)) return false;
      m_Model->Remove(std::exchange(m_Current, nullptr));
      Tell(WidgetEventKind::Change, &event);
      return true;
    default:
      return false;
  }
}

// --- renaming ------------------------------------------------------------------------------------------------------------------

void ObjBrowser::BeginRename(Node node) {
  if (!m_Model || !m_Model->CanRename(node) || RowRect(node).W <= 0) return;
  EndRename();
  m_Renamed = node;
  m_Edit = AddChild(new TextEdit);
  m_Edit->Read = [this] { return m_Model && m_Renamed ? m_Model->GetName(m_Renamed) : std::string(); };
  m_Edit->Commit = [this](const std::string& text, std::string& expected) {
    if (!m_Renamed || text == m_Model->GetName(m_Renamed)) return true;
    if (!m_Model->Rename(m_Renamed, text, expected)) return false;
    Tell(WidgetEventKind::Change);
    return true;
  };
  m_Edit->Ended = [this] { EndRename(); };
  if (Manager()) m_Edit->BeginEdit(m_Model->GetName(node));
}

void ObjBrowser::EndRename() {
  TextEdit* edit = std::exchange(m_Edit, nullptr);
  m_Renamed = nullptr;
  if (!edit) return;
  edit->Ended = {};
  if (cWidgets* manager = Manager()) {
    manager->DeleteLater(edit);
    return;
  }
  for (int32_t i = 0; i < Children.Count; i++)
    if (Children[i] == edit) {
      Children.RemoveAt(i);
      return;
    }
}

// --- drag and drop -----------------------------------------------------------------------------------------------------------

bool ObjBrowser::AcceptsDrag(const BaseClass* object, const BaseWidget* source) const {
  return source == this && object == &m_Dragged;
}

bool ObjBrowser::IsBelow(Node node, Node top) const {
  if (node == top) return true;
  for (const Node child : m_Model->GetChildren(top))
    if (IsBelow(node, child)) return true;
  return false;
}

// The upper and lower quarter of a row mean the place before and behind it, its middle means into it; below the last row is the
// end of the tree.
ObjBrowser::DropPlace ObjBrowser::FindDropPlace(float, float y) const {
  DropPlace place;
  const std::vector<Row> rows = ListRows();
  const int index = RowAt(y, rows);
  if (index < 0) {
    const bool above = y < RowRectAt(0).Y;
    place.Index = above ? 0 : int(m_Model->GetChildren(nullptr).size());
    place.Y = RowRectAt(above ? 0 : int(rows.size())).Y;
  } else {
    const Row& row = rows[size_t(index)];
    const cRect rect = RowRectAt(index);
    const float part = (y - rect.Y) / rect.H;
    const bool canEnter = !IsBelow(row.Object, m_Dragged.Object) && m_Model->CanMoveTo(m_Dragged.Object, row.Object);
    place.Into = canEnter && part > 0.25f && part < 0.75f;
    place.Row = index;
    place.Parent = place.Into ? row.Object : row.Parent;
    place.Index = place.Into ? int(m_Model->GetChildren(row.Object).size()) : row.Index + (part >= 0.5f);
    place.Depth = row.Depth;
    place.Y = part >= 0.5f ? rect.Bottom() : rect.Y;
    // Behind an open folder is its inside.
    if (!place.Into && part >= 0.5f && row.HasChildren && !IsFolded(row.Object)) {
      place.Parent = row.Object;
      place.Index = 0;
      place.Depth++;
    }
  }
  const bool inItself = place.Parent && IsBelow(place.Parent, m_Dragged.Object);
  place.Allowed = !inItself && m_Model->CanMoveTo(m_Dragged.Object, place.Parent);
  return place;
}

void ObjBrowser::OnEvent(const WidgetEvent& event) {
  if (!event.Input || event.Dragged != &m_Dragged || !m_Model) return;
  if (event.Kind != WidgetEventKind::DragOver && event.Kind != WidgetEventKind::Drop) return;
  m_Drop = FindDropPlace(event.Input->X, event.Input->Y);
  m_HasDrop = event.Kind == WidgetEventKind::DragOver;
  if (event.Kind != WidgetEventKind::Drop || !m_Drop.Allowed) return;
  m_Model->Move(m_Dragged.Object, m_Drop.Parent, m_Drop.Index);
  Tell(WidgetEventKind::Change, event.Input);
}
