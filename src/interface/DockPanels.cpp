#include "interface/DockPanels.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "comms/Log.h"
#include "interface/DockState.h"
#include "shell/core/ObjectFile.h"

/// Holds the four spaces; arranges them as the window asks for it.
class DockRoot : public BaseWidget {
  REFLECTED(DockRoot, BaseWidget)
 public:
  void Arrange(const cRect&, Canvas& canvas) override {
    if (Layout) Layout(canvas);
  }
  std::function<void(Canvas&)> Layout;
};
DECLARE_MEMBERS(DockRoot) {}

DockPanels::State::State(cWidgets& widgets) : Widgets(widgets) {
  Root = widgets.Layer(LayerDocks).AddChild(new DockRoot);
  Root->PassesMouse = true;
  Root->Layout = [this](Canvas& canvas) { Layout(canvas); };
  for (int i = 0; i < DockSideCount; i++) Spaces[size_t(i)] = Root->AddChild(new DockSpace(*this, DockSide(i)));
}

DockPanels::State::~State() {
  Root->Layout = {};
  for (DockGroup* group : Floating()) Widgets.DeleteLater(group);
  EndMark();
  Widgets.DeleteLater(Root);
  // They go now, while the controller that they know is there.
  Widgets.EmptyDeferredList();
}

// --- what is where --------------------------------------------------------------------------------------------------------

DockSpace& DockPanels::State::Space(DockSide side) const { return *Spaces[size_t(side)]; }

std::vector<DockGroup*> DockPanels::State::Floating() const {
  std::vector<DockGroup*> groups;
  for (BaseWidget* child : Widgets.Layer(LayerFloating).Children)
    if (auto* group = dynamic_cast<DockGroup*>(child); group && group->Controller == this) groups.push_back(group);
  return groups;
}

std::vector<DockGroup*> DockPanels::State::Groups() const {
  std::vector<DockGroup*> groups = Floating();
  for (DockSpace* space : Spaces)
    for (int i = 0; i < space->GroupCount(); i++) groups.push_back(&space->Group(i));
  return groups;
}

DockGroup* DockPanels::State::FindGroup(const std::string& key, int* tab) const {
  for (DockGroup* group : Groups())
    if (const int index = group->FindTab(key); index >= 0) {
      if (tab) *tab = index;
      return group;
    }
  return nullptr;
}

const DockPanel* DockPanels::State::FindPanel(std::string_view key) const {
  for (const DockPanel& panel : Panels)
    if (panel.Key == key) return &panel;
  return nullptr;
}

const cRect& DockPanels::State::DockArea() const { return Area; }

cRect DockPanels::State::PlaceOf(const DockGroup& group) const {
  const float scale = std::max(0.01f, Widgets.Scale());
  return {(group.Rect.X - Area.X) / scale, (group.Rect.Y - Area.Y) / scale, group.Rect.W / scale, group.Rect.H / scale};
}

// --- opening and closing --------------------------------------------------------------------------------------------------

DockTab DockPanels::State::MakeTab(const DockPanel& panel) const {
  return {panel.Key, panel.Icon, panel.Make ? panel.Make() : nullptr};
}

void DockPanels::State::Float(DockGroup* group, const cRect& place) {
  DetachWidget(*group);
  group->Floating = true;
  group->Squeezed = false;
  group->SetActive(group->Active);
  group->Place = place;
  Widgets.Layer(LayerFloating).AddChild(group);
}

void DockPanels::State::Dock(DockGroup* group, DockSide side, int index) {
  DetachWidget(*group);
  DockSpace& space = Space(side);
  if (!space.GroupCount() && space.Size <= 0) space.Size = space.IsColumn() ? 260 : 220;
  space.InsertGroup(group, index);
  Widgets.RequestArrange();
}

DockGroup* DockPanels::State::MakeGroup() { return new DockGroup(*this); }

void DockPanels::State::DropIfEmpty(DockGroup* group) {
  if (!group->Tabs.empty()) return;
  DockSpace* space = group->Space();
  Widgets.DeleteLater(group);
  if (space && !space->GroupCount()) space->Size = 0, space->Collapsed = false;
  Widgets.RequestArrange();
}

// Back into the tree: what is deleted later has to stand in it.
void DockPanels::State::Discard(BaseWidget* content) { Widgets.DeleteLater(Root->AddChild(content)); }

LastPlace DockPanels::State::Remember(const DockGroup& group) const {
  LastPlace last;
  last.Floats = group.Floating;
  if (const DockSpace* space = group.Space()) {
    last.Side = space->Side;
    last.Index = space->IndexOf(group);
  }
  last.Place = group.Floating ? group.Place : PlaceOf(group);
  last.Size = group.Size;
  for (const DockTab& tab : group.Tabs) last.Mates.push_back(tab.Key);
  return last;
}

void DockPanels::State::KeepPositions() const {
  for (const DockGroup* group : Groups())
    for (const DockTab& tab : group->Tabs)
      if (group->Floating) {
        WindowPos& kept = Widgets.Positions.Keep(tab.Key, group->Place);
        kept.EnableTopmost = kept.EnableSize = true;
      } else if (WindowPos* known = Widgets.Positions.Find(tab.Key)) {
        known->EnableTopmost = false;
      }
}

void DockPanels::State::CloseTab(DockGroup& group, int index) {
  if (index < 0 || index >= int(group.Tabs.size())) return;
  KeepPositions();
  Last[group.Tabs[size_t(index)].Key] = Remember(group);
  const DockTab tab = group.TakeTab(index);
  Discard(tab.Content);
  DropIfEmpty(&group);
}

void DockPanels::State::Open(const DockPanel& panel) {
  int index = -1;
  if (DockGroup* group = FindGroup(panel.Key, &index)) {
    group->SetCollapsed(false);
    group->SetActive(index);
    return;
  }
  DockTab tab = MakeTab(panel);
  if (!tab.Content) {
    comms::LogError("The panel '%s' can't be made.", panel.Key.c_str());
    return;
  }
  const auto known = Last.find(panel.Key);
  if (known == Last.end()) {
    OpenNew(panel, std::move(tab));
    return;
  }
  const LastPlace last = known->second;
  for (const std::string& mate : last.Mates)
    if (DockGroup* group = FindGroup(mate)) {
      group->AddTab(std::move(tab));
      return;
    }
  DockGroup* group = MakeGroup();
  group->AddTab(std::move(tab));
  group->Size = last.Size;
  if (last.Floats)
    Float(group, last.Place);
  else
    Dock(group, last.Side, last.Index);
}

void DockPanels::State::OpenNew(const DockPanel& panel, DockTab tab) {
  const WindowPos* kept = Widgets.Positions.Find(panel.Key);
  if (!kept || !kept->EnableTopmost) return OpenFirst(panel, std::move(tab));
  DockGroup* group = MakeGroup();
  group->AddTab(std::move(tab));
  Float(group, kept->Place());
  Widgets.RequestArrange();
}

void DockPanels::State::OpenFirst(const DockPanel& panel, DockTab tab) {
  DockGroup* group = MakeGroup();
  group->AddTab(std::move(tab));
  DockSpace& space = Space(panel.Side);
  group->Size = space.IsColumn() ? panel.Height : panel.Width;
  space.Size = std::max(space.Size, space.IsColumn() ? panel.Width : panel.Height);
  Dock(group, panel.Side, -1);
}

void DockPanels::State::ToggleFloat(DockGroup& group) {
  if (!group.Floating) {
    const cRect place = PlaceOf(group);
    DockSpace* space = group.Space();
    LastPlace last = Remember(group);
    const WindowPos* kept = Widgets.Positions.Find(group.Tabs[size_t(group.Active)].Key);
    Float(&group, kept ? kept->Place() : cRect{place.X + 24, place.Y + 24, place.W, std::min(place.H, 480.0f)});
    if (space && !space->GroupCount()) space->Size = 0;
    for (const DockTab& tab : group.Tabs) DockedAt[tab.Key] = last;
  } else {
    KeepPositions();
    const auto known = DockedAt.find(group.Tabs[0].Key);
    const DockPanel* panel = FindPanel(group.Tabs[0].Key);
    const DockSide side = known != DockedAt.end() ? known->second.Side : panel ? panel->Side : DockSide::Right;
    DockSpace& space = Space(side);
    if (space.Size <= 0) space.Size = space.IsColumn() ? group.Place.W : group.Place.H;
    Dock(&group, side, known != DockedAt.end() ? known->second.Index : -1);
  }
  KeepPositions();
  Widgets.RequestArrange();
}

void DockPanels::State::ExpandSpace(DockSpace& space) {
  space.Collapsed = false;
  space.Recent = ++Counter;
  Widgets.RequestArrange();
}

// --- arranging ------------------------------------------------------------------------------------------------------------

/// Part of the window that the scene keeps where the person has unfolded a dock that finds no room otherwise.
static constexpr float LeastSceneShare = 0.25f;

/// Part of its panels' first width below which a dock folds rather than breaks their rows, unless the person has asked for it.
static constexpr float LeastWidthShare = 0.85f;

float DockPanels::State::ComfortableWidth(const DockSpace& space) const {
  float width = 0;
  for (int i = 0; space.IsColumn() && i < space.GroupCount(); i++)
    for (const DockTab& tab : space.Group(i).Tabs)
      if (const DockPanel* panel = FindPanel(tab.Key)) width = std::max(width, panel->Width);
  return std::min(width, space.Size) * LeastWidthShare;
}

std::pair<float, float> DockPanels::State::FitPair(DockSpace& a, DockSpace& b, float length, Canvas& canvas) {
  const float most = std::floor(length * (1 - SceneShare)), strip = canvas.Px(DockStripWidth);
  const auto least = [&](const DockSpace& space) {
    const float comfortable = space.Recent > 0 ? 0 : std::floor(ComfortableWidth(space) * canvas.Scale());
    return std::max({canvas.Px(space.IsColumn() ? DockLeastWidth : DockLeastHeight), space.NarrowestFor(canvas), comfortable});
  };
  const auto wanted = [&](const DockSpace& space) {
    if (!space.GroupCount()) return 0.0f;
    return space.IsStrip() ? strip : std::max(least(space), std::round(space.Size * canvas.Scale()));
  };
  a.Narrow = b.Narrow = false;
  for (int round = 0; round < 3; round++) {
    const float wa = wanted(a), wb = wanted(b);
    if (wa + wb <= most) {
      // Where there is room for all, nobody goes before the other when there is none.
      if (round == 0) a.Recent = b.Recent = 0;
      return {wa, wb};
    }
    const bool openA = wa > 0 && !a.IsStrip(), openB = wb > 0 && !b.IsStrip();
    if (!openA && !openB) return {wa, wb};
    if (openA && openB) {
      const float leastA = least(a), leastB = least(b);
      if (most >= leastA + leastB) {
        const float first = std::clamp(std::floor(most * wa / (wa + wb)), leastA, most - leastB);
        return {first, most - first};
      }
      (a.Recent < b.Recent ? a : b).Narrow = true;
      continue;
    }
    DockSpace& open = openA ? a : b;
    const float other = openA ? wb : wa, enough = least(open);
    float width = most - other;
    if (open.Recent > 0) width = std::max(width, std::min(enough, std::floor(length * (1 - LeastSceneShare)) - other));
    if (width >= enough || (open.Recent > 0 && width >= canvas.Px(80))) return {openA ? width : other, openB ? width : other};
    open.Narrow = true;
  }
  return {wanted(a), wanted(b)};
}

void DockPanels::State::Layout(Canvas& canvas) {
  Root->Rect = Area;
  const auto [left, right] = FitPair(Space(DockSide::Left), Space(DockSide::Right), Area.W, canvas);
  const auto [top, bottom] = FitPair(Space(DockSide::Top), Space(DockSide::Bottom), Area.H, canvas);
  const cRect middle{Area.X + left, Area.Y, std::max(0.0f, Area.W - left - right), Area.H};
  const auto place = [&](DockSide side, const cRect& rect) {
    DockSpace& space = Space(side);
    space.Visible = space.GroupCount() > 0 && rect.W > 0 && rect.H > 0;
    if (space.Visible) space.Arrange(rect, canvas);
  };
  place(DockSide::Left, {Area.X, Area.Y, left, Area.H});
  place(DockSide::Right, {Area.Right() - right, Area.Y, right, Area.H});
  place(DockSide::Top, {middle.X, Area.Y, middle.W, top});
  place(DockSide::Bottom, {middle.X, Area.Bottom() - bottom, middle.W, bottom});
  Scene = {middle.X, Area.Y + top, middle.W, std::max(0.0f, Area.H - top - bottom)};
  for (DockGroup* group : Floating()) group->Arrange(group->PlaceIn(canvas.Screen(), canvas), canvas);
}

// --- what others see ------------------------------------------------------------------------------------------------------

DockPanels::DockPanels(cWidgets& widgets) : m_State(std::make_unique<State>(widgets)) {}
DockPanels::~DockPanels() = default;

void DockPanels::Add(DockPanel panel) {
  if (!m_State->FindPanel(panel.Key)) m_State->Panels.push_back(std::move(panel));
}
const std::vector<DockPanel>& DockPanels::All() const { return m_State->Panels; }
bool DockPanels::IsOpen(const std::string& key) const { return m_State->FindGroup(key) != nullptr; }
void DockPanels::Open(const std::string& key) {
  const DockPanel* panel = m_State->FindPanel(key);
  if (panel) m_State->Open(*panel);
  DockGroup* const group = m_State->FindGroup(key);
  if (!group) return;
  group->AskForRoom();
  // Who opens a panel wants to see it, where its side is folded too.
  if (DockSpace* space = group->Space()) m_State->ExpandSpace(*space);
}
void DockPanels::Close(const std::string& key) {
  int tab = -1;
  if (DockGroup* group = m_State->FindGroup(key, &tab)) m_State->CloseTab(*group, tab);
}
void DockPanels::CloseAll() {
  for (const DockPanel& panel : m_State->Panels) Close(panel.Key);
}

void DockPanels::Arrange(const cRect& area, Canvas& canvas) {
  if (area == m_State->Area && !m_State->Widgets.IsArrangeWanted()) return;
  m_State->Area = area;
  m_State->Layout(canvas);
}
const cRect& DockPanels::SceneRect() const { return m_State->Scene; }

bool DockPanels::StoreLayout(const std::string& path) const {
  DocksLayout layout;
  layout.RegisterMembers();
  m_State->Capture(layout);
  m_State->KeepPositions();
  return StoreObjectFile(layout, path);
}

bool DockPanels::IsLayoutChanged() {
  DocksLayout layout;
  layout.RegisterMembers();
  m_State->Capture(layout);
  return m_State->Watch.IsChanged(layout);
}

bool DockPanels::RestoreLayout(const std::string& path) {
  DocksLayout layout;
  layout.RegisterMembers();
  const ObjectFileState state = LoadObjectFile(layout, path);
  if (state == ObjectFileState::Missing) comms::LogWarning("%s: there is no layout", path.c_str());
  if (state == ObjectFileState::Missing || state == ObjectFileState::Damaged) return false;
  return m_State->Apply(layout, path);
}

void DockPanels::SetDefault(const std::vector<std::string>& keys) {
  CloseAll();
  m_State->Last.clear();
  for (DockSpace* space : m_State->Spaces) space->Collapsed = false;
  for (const std::string& key : keys)
    if (const DockPanel* panel = m_State->FindPanel(key))
      if (DockTab tab = m_State->MakeTab(*panel); tab.Content) m_State->OpenFirst(*panel, std::move(tab));
}

void DockPanels::Rebuild() {
  for (DockGroup* group : m_State->Groups()) {
    const int active = group->Active;
    for (int i = 0; i < int(group->Tabs.size()); i++) {
      const DockPanel* panel = m_State->FindPanel(group->Tabs[size_t(i)].Key);
      BaseWidget* made = panel && panel->Make ? panel->Make() : nullptr;
      if (!made) continue;
      m_State->Widgets.DeleteLater(group->Tabs[size_t(i)].Content);
      group->Tabs[size_t(i)].Content = group->AddChild(made);
    }
    group->SetActive(active);
  }
}
