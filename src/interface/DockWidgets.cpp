#include "interface/DockWidgets.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "comms/Str.h"
#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/TextMenu.h"
#include "interface/WidgetDraw.h"

DECLARE_MEMBERS(DockGroup) {}
DECLARE_MEMBERS(DockableHeader) {}
DECLARE_MEMBERS(DockSpace) {}

uint32_t HashDockTitle(std::string_view title) {
  uint32_t hash = 0x811C9DC5u;
  for (const char symbol : title) hash = (hash ^ uint8_t(symbol)) * 0x01000193u;
  return hash;
}

std::string GetDockWindowName(std::string_view title, bool floating) {
  return std::string(comms::Format(floating ? "%08X_FLOATING" : "%08X", HashDockTitle(title)));
}

void DetachWidget(BaseWidget& widget) {
  BaseWidget* owner = widget.Owner;
  if (!owner) return;
  for (int32_t i = 0; i < owner->Children.Count; i++) {
    if (owner->Children[i] != &widget) continue;
    owner->Children.Release(i);
    widget.Owner = nullptr;
    return;
  }
}

// --- group -------------------------------------------------------------------------------------------------------------------

DockGroup::DockGroup(DockController& controller) : Controller(&controller) { Header = AddChild(new DockableHeader(*this)); }

void DockGroup::AddTab(DockTab tab, int at) {
  if (at < 0 || at > int(Tabs.size())) at = int(Tabs.size());
  AddChild(tab.Content);
  Tabs.insert(Tabs.begin() + at, std::move(tab));
  SetActive(at);
}

DockTab DockGroup::TakeTab(int index) {
  DockTab tab = std::move(Tabs[size_t(index)]);
  Tabs.erase(Tabs.begin() + index);
  DetachWidget(*tab.Content);
  tab.Content->Visible = true;
  SetActive(std::clamp(Active - (index < Active), 0, std::max(0, int(Tabs.size()) - 1)));
  return tab;
}

void DockGroup::SetActive(int index) {
  Active = index;
  for (int i = 0; i < int(Tabs.size()); i++) Tabs[size_t(i)].Content->Visible = i == Active && !IsFolded();
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

void DockGroup::SetCollapsed(bool collapsed) {
  Collapsed = collapsed;
  if (!collapsed) AskForRoom();
  SetActive(Active);
}

void DockGroup::AskForRoom() {
  DockSpace* space = Space();
  if (!space) return;
  for (int i = 0; i < space->GroupCount(); i++) Asked = std::max(Asked, space->Group(i).Asked + 1);
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

int DockGroup::FindTab(std::string_view key) const {
  for (size_t i = 0; i < Tabs.size(); i++)
    if (Tabs[i].Key == key) return int(i);
  return -1;
}

DockSpace* DockGroup::Space() const { return dynamic_cast<DockSpace*>(Owner); }

void DockGroup::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const float radius = canvas.Px(Measures::Radius);
  if (Floating) canvas.Shadow(Rect, radius, canvas.Px(14), theme.Shadow);
  canvas.FillRoundRect(Rect, radius, theme.Panel);
}

void DockGroup::DrawOver(Canvas& canvas) {
  canvas.FillRoundRect(Rect, canvas.Px(Measures::Radius), 0, canvas.Px(1), GetTheme().PanelBorder);
}

void DockGroup::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const float header = std::min(rect.H, Header->HeightFor(rect.W, canvas)), edge = canvas.Px(1);
  Header->Arrange({rect.X, rect.Y, rect.W, header}, canvas);
  if (IsFolded() || Tabs.empty()) return;
  const cRect inside{rect.X + edge, rect.Y + header, std::max(0.0f, rect.W - 2 * edge), std::max(0.0f, rect.H - header - edge)};
  Tabs[size_t(Active)].Content->Arrange(inside, canvas);
}

// Panels that are behind others or folded count too: a dock keeps its width while they change places.
float DockGroup::NarrowestFor(Canvas& canvas) const {
  float width = Header->NarrowestFor(canvas);
  for (const DockTab& tab : Tabs) width = std::max(width, tab.Content->NarrowestFor(canvas) + 2 * canvas.Px(1));
  return width;
}

// Only floating groups stand on a layer by themselves.
cRect DockGroup::PlaceIn(const cRect& screen, Canvas& canvas) {
  const cRect area = Controller ? Controller->DockArea() : screen;
  const float scale = canvas.Scale();
  const float width = std::min(area.W, std::max(canvas.Px(DockLeastWidth), std::round(Place.W * scale)));
  const float height =
      Collapsed ? Header->HeightFor(width, canvas) : std::min(area.H, std::max(canvas.Px(80), std::round(Place.H * scale)));
  return KeepInside({std::round(area.X + Place.X * scale), std::round(area.Y + Place.Y * scale), width, height}, area);
}

int DockGroup::EdgeAt(float x, float y) const {
  const cWidgets* manager = Manager();
  if (!Floating || !manager) return 0;
  const float wide = manager->GetCanvas().Px(5);
  int edge = (x < Rect.X + wide ? 1 : 0) | (x >= Rect.Right() - wide ? 2 : 0);
  if (!Collapsed) edge |= (y < Rect.Y + wide * 0.6f ? 4 : 0) | (y >= Rect.Bottom() - wide ? 8 : 0);
  return edge;
}

MouseCursor DockGroup::GetCursor(float x, float y) const {
  const int edge = m_Edge ? m_Edge : EdgeAt(x, y);
  if ((edge & 3) && (edge & 12)) return MouseCursor::Move;
  return edge & 3 ? MouseCursor::SizeHorizontal : edge & 12 ? MouseCursor::SizeVertical : MouseCursor::Arrow;
}

// The edges of a floating group size it. All else of a press stays here: what is behind a panel must not get it.
bool DockGroup::OnMouse(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (!manager) return false;
  const float scale = manager->GetCanvas().Scale();
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    m_Edge = EdgeAt(event.X, event.Y);
    m_LastX = event.X;
    m_LastY = event.Y;
    m_Before = Place;
  } else if (event.Kind == InputKind::ButtonUp) {
    m_Edge = 0;
  } else if (event.Kind == InputKind::PointerMove && m_Edge && IsCaptured()) {
    const float dx = (event.X - m_LastX) / scale, dy = (event.Y - m_LastY) / scale;
    m_LastX = event.X;
    m_LastY = event.Y;
    const cRect before = Place;
    if (m_Edge & 2) Place.W = std::max(DockLeastWidth, Place.W + dx);
    if (m_Edge & 8) Place.H = std::max(80.0f, Place.H + dy);
    if (m_Edge & 1) Place.W = std::max(DockLeastWidth, Place.W - dx), Place.X += before.W - Place.W;
    if (m_Edge & 4) Place.H = std::max(80.0f, Place.H - dy), Place.Y += before.H - Place.H;
    manager->RequestArrange();
  }
  return true;
}

bool DockGroup::UndoDrag() {
  if (!std::exchange(m_Edge, 0)) return false;
  Place = m_Before;
  if (cWidgets* manager = Manager()) manager->RequestArrange();
  return true;
}

// --- header --------------------------------------------------------------------------------------------------------------------

// At scale 1: at both sides of a title, and an icon before it with the gap between the two.
static constexpr float HeaderPadding = 8, TabIcon = 14, TabIconGap = 5;

DockableHeader::DockableHeader(DockGroup& group) : m_Group(&group) {
  const auto add = [this](const char* icon, const char* hint, std::function<void()> action) {
    auto* button = AddChild(new Button("", icon));
    button->Flat = true;
    button->IconSize = 12;
    button->HintKey = hint;
    button->Action = std::move(action);
    return button;
  };
  m_Fold = add("ArrowDown", "PANEL_FOLD", [this] { m_Group->SetCollapsed(!m_Group->IsFolded()); });
  m_Float = add("Float", "PANEL_FLOAT", [this] { m_Group->Controller->ToggleFloat(*m_Group); });
  m_Close = add("Close", "PANEL_CLOSE", [this] { m_Group->Controller->CloseTab(*m_Group, m_Group->Active); });
}

std::string DockableHeader::GetText() const {
  return m_Group && !m_Group->Tabs.empty() ? ::GetText(m_Group->Tabs[size_t(m_Group->Active)].Key) : std::string();
}

std::string DockableHeader::GetWindowName() const { return GetDockWindowName(GetText(), m_Group->Floating); }

float DockableHeader::HeightFor(float, Canvas& canvas) const { return canvas.Px(Measures::HeaderHeight); }

// The widest of its titles.
float DockableHeader::NarrowestFor(Canvas& canvas) const {
  float widest = 0;
  for (const DockTab& tab : m_Group->Tabs) widest = std::max(widest, canvas.TextWidth(::GetText(tab.Key), TextStyle::Bold));
  return std::ceil(widest + 1 + 2 * canvas.Px(HeaderPadding));
}

float DockableHeader::TitleWidth(int index, Canvas& canvas) const {
  return std::ceil(canvas.TextWidth(::GetText(m_Group->Tabs[size_t(index)].Key), TextStyle::Bold) + 1);
}

float DockableHeader::TabWidth(int index, Canvas& canvas) const {
  const float icon = m_Group->Tabs[size_t(index)].Icon.empty() ? 0 : canvas.Px(TabIcon + TabIconGap);
  return TitleWidth(index, canvas) + icon + 2 * canvas.Px(HeaderPadding);
}

// A narrow header gives the titles the room: the menu of the right button has all that the buttons do.
void DockableHeader::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  m_Fold->Icon = m_Group->IsFolded() ? "ArrowRight" : "ArrowDown";
  m_Float->Icon = m_Group->Floating ? "Pin" : "Float";
  m_Float->HintKey = m_Group->Floating ? "PANEL_DOCK" : "PANEL_FLOAT";
  const float size = canvas.Px(18), gap = canvas.Px(2);
  float x = rect.Right() - canvas.Px(4);
  float titles = 0;
  for (int i = 0; i < int(m_Group->Tabs.size()); i++) titles += TabWidth(i, canvas);
  for (Button* button : {m_Close, m_Float, m_Fold}) {
    x -= size;
    button->Visible = x - gap - rect.X >= titles;
    button->Arrange({x, rect.Y + std::floor((rect.H - size) / 2), size, size}, canvas);
    if (!button->Visible) x += size;
    x -= gap;
  }
}

cRect DockableHeader::TabRect(int index, Canvas& canvas) const {
  float end = Rect.Right() - canvas.Px(4);
  for (const Button* button : {m_Close, m_Float, m_Fold})
    if (button->Visible) end = std::min(end, button->Rect.X - canvas.Px(2));
  const float start = Rect.X + canvas.Px(2), room = std::max(0.0f, end - start);
  const int count = int(m_Group->Tabs.size());
  if (count <= 1) return {start, Rect.Y, room, Rect.H};
  std::vector<float> widths;
  float sum = 0;
  const auto measure = [&](bool iconsOnly) {
    widths.clear();
    sum = 0;
    for (int i = 0; i < count; i++) {
      const bool isIcon = iconsOnly && i != m_Group->Active && !m_Group->Tabs[size_t(i)].Icon.empty();
      widths.push_back(isIcon ? canvas.Px(TabIcon + 2 * HeaderPadding) : TabWidth(i, canvas));
      sum += widths.back();
    }
  };
  // Without room for all titles the tabs behind show their icons alone.
  measure(false);
  if (sum > room) measure(true);
  const float part = sum > room ? room / sum : 1;
  float x = start;
  for (int i = 0; i < index; i++) x += std::floor(widths[size_t(i)] * part);
  return {x, Rect.Y, std::floor(widths[size_t(index)] * part), Rect.H};
}

int DockableHeader::TabAt(float x, float y) const {
  const cWidgets* manager = Manager();
  for (int i = 0; manager && m_Group->Tabs.size() > 1 && i < int(m_Group->Tabs.size()); i++)
    if (TabRect(i, manager->GetCanvas()).Contains(x, y)) return i;
  return -1;
}

std::string DockableHeader::GetHintText(float x, float y) const {
  const int tab = TabAt(x, y);
  return tab >= 0 ? ::GetText(m_Group->Tabs[size_t(tab)].Key) : std::string();
}

void DockableHeader::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const float radius = canvas.Px(Measures::Radius);
  canvas.FillRoundRect(Rect, radius, theme.PanelHeader);
  if (!m_Group->IsFolded()) canvas.FillRect({Rect.X, Rect.Bottom() - radius, Rect.W, radius}, theme.PanelHeader);
  if (m_Group->Tabs.size() == 1) {
    DrawTab(canvas, 0, TabRect(0, canvas), theme.Text, TextStyle::Bold);
    return;
  }
  const cWidgets* manager = Manager();
  for (int i = 0; i < int(m_Group->Tabs.size()); i++) {
    const cRect box = TabRect(i, canvas);
    const bool active = i == m_Group->Active, hot = IsHot() && box.Contains(manager->PointerX(), manager->PointerY());
    if (active) {
      canvas.FillRoundRect({box.X, box.Y + canvas.Px(3), box.W, box.H}, radius, theme.Panel);
      canvas.FillRect({box.X + radius, box.Y + canvas.Px(2), box.W - 2 * radius, canvas.Px(2)}, theme.Accent);
    }
    DrawTab(canvas, i, box, active || hot ? theme.Text : theme.TextDim, active ? TextStyle::Bold : TextStyle::Normal);
  }
}

// What finds no room gives way: of the one that is seen the icon, of the others the title.
void DockableHeader::DrawTab(Canvas& canvas, int index, const cRect& box, uint32_t color, TextStyle style) const {
  const std::string& icon = m_Group->Tabs[size_t(index)].Icon;
  const float size = canvas.Px(TabIcon), pad = canvas.Px(HeaderPadding);
  const bool both = box.W >= TabWidth(index, canvas), iconAlone = !both && index != m_Group->Active && !icon.empty();
  float x = box.X + (iconAlone ? std::floor((box.W - size) / 2) : pad);
  if (!icon.empty() && (both || iconAlone)) {
    canvas.Icon(icon, {x, box.Y + std::floor((box.H - size) / 2), size, size}, color);
    x += size + canvas.Px(TabIconGap);
  }
  if (iconAlone) return;
  const float end = m_Group->Tabs.size() > 1 ? box.Right() - pad : box.Right();
  canvas.Text({x, box.Y, std::max(0.0f, end - x), box.H}, ::GetText(m_Group->Tabs[size_t(index)].Key), color, style);
}

bool DockableHeader::OpenMenu(const InputEvent& event) {
  cWidgets* manager = Manager();
  DockGroup* group = m_Group;
  const auto fill = [group](TextMenu& menu) {
    menu.Add(group->IsFolded() ? "PANEL_UNFOLD" : "PANEL_FOLD", [group] { group->SetCollapsed(!group->IsFolded()); });
    menu.Add(group->Floating ? "PANEL_DOCK" : "PANEL_FLOAT", [group] { group->Controller->ToggleFloat(*group); });
    menu.Add("PANEL_CLOSE", [group] { group->Controller->CloseTab(*group, group->Active); });
  };
  TextMenu::Open(*manager, {event.X, event.Y, 0, 0}, fill, this);
  return true;
}

bool DockableHeader::OnMouse(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (!manager) return false;
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Right) return OpenMenu(event);
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    m_Tab = TabAt(event.X, event.Y);
    if (m_Tab >= 0) m_Group->SetActive(m_Tab);
    if (m_Group->Squeezed && event.Clicks == 1) m_Group->AskForRoom();
    if (event.Clicks == 2 && !m_Group->Squeezed) m_Group->SetCollapsed(!m_Group->Collapsed);
    m_Pressed = event.Clicks != 2;
    m_Dragging = false;
    m_Press = event;
    return true;
  }
  if (!m_Pressed || !IsCaptured()) return IsCaptured();
  if (event.Kind == InputKind::PointerMove) {
    const float away = manager->GetCanvas().Px(6);
    if (!m_Dragging && std::max(std::fabs(event.X - m_Press.X), std::fabs(event.Y - m_Press.Y)) >= away) {
      m_Dragging = true;
      m_Group->Controller->DragStarts(*m_Group, m_Tab, m_Press);
    }
    if (m_Dragging) m_Group->Controller->Drag(event, false);
  }
  if (event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left) {
    m_Pressed = false;
    if (std::exchange(m_Dragging, false)) m_Group->Controller->Drag(event, true);
  }
  return true;
}

bool DockableHeader::UndoDrag() {
  m_Pressed = false;
  if (!std::exchange(m_Dragging, false)) return false;
  m_Group->Controller->UndoDrag();
  return true;
}

// --- space ---------------------------------------------------------------------------------------------------------------------

int DockSpace::IndexOf(const DockGroup& group) const {
  for (int i = 0; i < GroupCount(); i++)
    if (Children[i] == &group) return i;
  return -1;
}

void DockSpace::InsertGroup(DockGroup* group, int index) {
  group->Floating = group->Squeezed = false;
  group->Asked = 0;
  AddChild(group);
  if (index >= 0 && index < GroupCount() - 1) Children.MoveElement(GroupCount() - 1, index - (GroupCount() - 1));
}

void DockSpace::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  canvas.FillRect(Rect, theme.Window);
  if (!IsStrip()) return;
  const cWidgets* manager = Manager();
  for (const Icon& icon : Icons(canvas)) {
    const DockTab& tab = Group(icon.Group).Tabs[size_t(icon.Tab)];
    const bool hot = IsHot() && icon.Rect.Contains(manager->PointerX(), manager->PointerY());
    canvas.FillRoundRect(icon.Rect, canvas.Px(Measures::Radius), hot ? theme.ButtonHot : theme.Panel);
    canvas.Icon(tab.Icon.empty() ? "Window" : tab.Icon, icon.Rect.Shrunk(canvas.Px(4)), hot ? theme.Text : theme.TextDim);
  }
}

float DockSpace::NarrowestFor(Canvas& canvas) const {
  float width = 0;
  for (int i = 0; IsColumn() && i < GroupCount(); i++) width = std::max(width, Group(i).NarrowestFor(canvas));
  return width > 0 ? width + 2 * canvas.Px(DockSpaceDist) : 0;
}

// The edge towards the scene is a splitter as wide as the margin.
void DockSpace::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  if (IsStrip()) return;
  const float dist = canvas.Px(DockSpaceDist);
  ArrangeAlong(rect.Shrunk(dist), canvas);
}

// Where the least heights of all don't fit, those that were asked for last keep the room; of equals the first.
void DockSpace::Squeeze(float length, Canvas& canvas) {
  const float header = canvas.Px(Measures::HeaderHeight), more = canvas.Px(DockLeastHeight);
  std::vector<DockGroup*> open;
  for (int i = 0; i < GroupCount(); i++) {
    length -= header;
    if (IsColumn() && !Group(i).Collapsed) open.push_back(&Group(i));
  }
  std::stable_sort(open.begin(), open.end(), [](const DockGroup* a, const DockGroup* b) { return a->Asked > b->Asked; });
  const size_t fitting = std::max(size_t(1), size_t(std::max(0.0f, length) / more));
  for (int i = 0; i < GroupCount(); i++) {
    DockGroup& group = Group(i);
    const auto at = std::find(open.begin(), open.end(), &group);
    group.Squeezed = at != open.end() && size_t(at - open.begin()) >= fitting;
    for (int t = 0; t < int(group.Tabs.size()); t++)
      group.Tabs[size_t(t)].Content->Visible = t == group.Active && !group.IsFolded();
  }
}

// Folded groups are as high as their title bar; the others share the rest by their sizes, whole pixels each.
void DockSpace::ArrangeAlong(const cRect& inside, Canvas& canvas) {
  const float dist = canvas.Px(DockSpaceDist), header = canvas.Px(Measures::HeaderHeight);
  float left = Along(inside) - dist * float(std::max(0, GroupCount() - 1)), sum = 0;
  int last = -1;
  Squeeze(left, canvas);
  for (int i = 0; i < GroupCount(); i++) {
    if (Group(i).IsFolded() && IsColumn()) {
      left -= header;
    } else {
      sum += std::max(1.0f, Group(i).Size);
      last = i;
    }
  }
  left = std::max(0.0f, left);
  float rest = left, at = IsColumn() ? inside.Y : inside.X;
  for (int i = 0; i < GroupCount(); i++) {
    DockGroup& group = Group(i);
    float size = header;
    if (!(group.IsFolded() && IsColumn())) {
      size = i == last ? rest : std::round(left * std::max(1.0f, group.Size) / sum);
      rest -= size;
    }
    const float across = group.Collapsed && !IsColumn() ? header : inside.H;
    group.Arrange(IsColumn() ? cRect{inside.X, at, inside.W, size} : cRect{at, inside.Y, size, across}, canvas);
    at += size + dist;
  }
}

DockSpace::Part DockSpace::PartAt(float x, float y, int& index) const {
  const cWidgets* manager = Manager();
  if (!manager || IsStrip()) return Part::None;
  const float dist = manager->GetCanvas().Px(DockSpaceDist);
  const bool atEdge = Side == DockSide::Left    ? x >= Rect.Right() - dist
                      : Side == DockSide::Right ? x < Rect.X + dist
                      : Side == DockSide::Top   ? y >= Rect.Bottom() - dist
                                                : y < Rect.Y + dist;
  if (atEdge) return Part::Edge;
  const float at = IsColumn() ? y : x;
  for (int i = 0; i + 1 < GroupCount(); i++) {
    const cRect &before = Group(i).Rect, &after = Group(i + 1).Rect;
    const float from = IsColumn() ? before.Bottom() : before.Right(), to = IsColumn() ? after.Y : after.X;
    if (at < from || at >= to || Group(i).IsFolded() || Group(i + 1).IsFolded()) continue;
    index = i;
    return Part::Between;
  }
  return Part::None;
}

MouseCursor DockSpace::GetCursor(float x, float y) const {
  if (!Rect.Contains(x, y) && m_Part == Part::None) return MouseCursor::Arrow;
  int index = -1;
  const Part part = m_Part != Part::None ? m_Part : PartAt(x, y, index);
  const cWidgets* manager = Manager();
  if (part == Part::None || (m_Part == Part::None && manager && manager->Hot() != this)) return MouseCursor::Arrow;
  return (part == Part::Edge) == IsColumn() ? MouseCursor::SizeHorizontal : MouseCursor::SizeVertical;
}

std::vector<DockSpace::Icon> DockSpace::Icons(Canvas& canvas) const {
  std::vector<Icon> icons;
  const float size = canvas.Px(24), gap = canvas.Px(3), pad = canvas.Px(DockStripWidth) / 2 - size / 2;
  float at = (IsColumn() ? Rect.Y : Rect.X) + pad;
  for (int g = 0; g < GroupCount(); g++)
    for (int t = 0; t < int(Group(g).Tabs.size()); t++) {
      icons.push_back(
          {IsColumn() ? cRect{std::floor(Rect.X + pad), at, size, size} : cRect{at, std::floor(Rect.Y + pad), size, size}, g, t});
      at += size + gap;
    }
  return icons;
}

const DockSpace::Icon* DockSpace::IconAt(float x, float y, std::vector<Icon>& icons) const {
  const cWidgets* manager = Manager();
  if (!manager || !IsStrip()) return nullptr;
  icons = Icons(manager->GetCanvas());
  for (const Icon& icon : icons)
    if (icon.Rect.Contains(x, y)) return &icon;
  return nullptr;
}

std::string DockSpace::GetHintText(float x, float y) const {
  std::vector<Icon> icons;
  const Icon* icon = IconAt(x, y, icons);
  return icon ? ::GetText(Group(icon->Group).Tabs[size_t(icon->Tab)].Key) : std::string();
}

bool DockSpace::OnMouse(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (!manager) return false;
  const float at = IsColumn() ? event.Y : event.X, across = IsColumn() ? event.X : event.Y, scale = manager->GetCanvas().Scale();
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    std::vector<Icon> icons;
    if (IsStrip()) {
      if (const Icon* icon = IconAt(event.X, event.Y, icons)) {
        Group(icon->Group).SetActive(icon->Tab);
        Group(icon->Group).AskForRoom();
      }
      Controller->ExpandSpace(*this);
      return true;
    }
    m_Part = PartAt(event.X, event.Y, m_Splitter);
    if (m_Part == Part::Edge && event.Clicks == 2) {
      Collapsed = true;
      m_Part = Part::None;
      manager->RequestArrange();
    }
    if (m_Part == Part::Edge) Size = (IsColumn() ? Rect.W : Rect.H) / scale;  // a narrow window may show less of it
    m_Last = m_Part == Part::Edge ? across : at;
    m_Before.assign(1, Size);
    for (int i = 0; i < GroupCount(); i++) m_Before.push_back(Group(i).Size);
    return true;
  }
  if (event.Kind == InputKind::ButtonUp) m_Part = Part::None;
  if (event.Kind != InputKind::PointerMove || m_Part == Part::None || !IsCaptured())
    return IsCaptured() || event.Kind != InputKind::Wheel;
  const float moved = ((m_Part == Part::Edge ? across : at) - m_Last) / scale;
  if (m_Part == Part::Edge) {
    const bool grows = Side == DockSide::Left || Side == DockSide::Top;
    Size = std::max(IsColumn() ? DockLeastWidth : DockLeastHeight, Size + (grows ? moved : -moved));
    m_Last = across;
  } else {
    // Sizes are shares: what they are on the screen now is what the drag starts from.
    DockGroup &before = Group(m_Splitter), &after = Group(m_Splitter + 1);
    for (int i = 0; i < GroupCount(); i++)
      if (!Group(i).IsFolded()) Group(i).Size = Along(Group(i).Rect) / scale;
    const float step =
        std::clamp(moved, DockLeastHeight - before.Size, std::max(DockLeastHeight - before.Size, after.Size - DockLeastHeight));
    before.Size += step;
    after.Size -= step;
    m_Last += step * scale;
  }
  manager->RequestArrange();
  return true;
}

bool DockSpace::UndoDrag() {
  if (std::exchange(m_Part, Part::None) == Part::None) return false;
  Size = m_Before[0];
  for (int i = 0; i < GroupCount() && size_t(i) + 1 < m_Before.size(); i++) Group(i).Size = m_Before[size_t(i) + 1];
  if (cWidgets* manager = Manager()) manager->RequestArrange();
  return true;
}
