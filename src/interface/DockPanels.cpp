#include "interface/DockPanels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <utility>

#include "comms/Log.h"
#include "interface/DockLayout.h"
#include "interface/DockWidgets.h"
#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "shell/core/ObjectFile.h"

namespace {

constexpr int SideCount = 4;
/// What files may give for a length, at scale 1.
constexpr float LeastSize = 40, MostSize = 4000;

float HeldSize(float size, float otherwise) {
  return std::isfinite(size) && size > 0 ? std::clamp(size, LeastSize, MostSize) : otherwise;
}
float HeldPlace(float place) { return std::isfinite(place) ? std::clamp(place, -MostSize, MostSize) : 0; }

/// Where a panel stood that is closed now.
struct LastPlace {
  bool Floats = false;
  DockSide Side = DockSide::Right;
  int Index = 0;
  cRect Place;
  float Size = 300;
  std::vector<std::string> Mates;  // panels of the same group
};

/// Where a dragged group would go.
struct DockTarget {
  enum class Kind : uint8_t { None, Tabs, Beside } What = Kind::None;
  DockGroup* Group = nullptr;
  DockSide Side = DockSide::Left;
  int Index = 0;
  cRect Shown;
};

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

/// The place that a dragged group would take, over everything.
class DockTargetMark : public BaseWidget {
  REFLECTED(DockTargetMark, BaseWidget)
 public:
  void Draw(Canvas& canvas) override {
    const Theme& theme = GetTheme();
    if (Shown.W <= 0) return;
    canvas.FillRoundRect(Shown, canvas.Px(Measures::Radius), WithAlpha(theme.Accent, 0.25f), canvas.Px(2), theme.Accent);
  }
  void Arrange(const cRect& rect, Canvas&) override { Rect = rect; }
  cRect PlaceIn(const cRect& screen, Canvas&) override { return screen; }
  cRect Shown;
};
DECLARE_MEMBERS(DockTargetMark) {}

}  // namespace

struct DockPanels::State : DockController {
  explicit State(cWidgets& widgets) : Widgets(widgets) {
    Root = widgets.Layer(LayerDocks).AddChild(new DockRoot);
    Root->PassesMouse = true;
    Root->Layout = [this](Canvas& canvas) { Layout(canvas); };
    for (int i = 0; i < SideCount; i++) Spaces[size_t(i)] = Root->AddChild(new DockSpace(*this, DockSide(i)));
  }
  ~State() override {
    Root->Layout = {};
    for (DockGroup* group : Floating()) Widgets.DeleteLater(group);
    EndMark();
    Widgets.DeleteLater(Root);
    // They go now, while the controller that they know is there.
    Widgets.EmptyDeferredList();
  }

  // --- what is where -----------------------------------------------------------------------------------------------------
  DockSpace& Space(DockSide side) const { return *Spaces[size_t(side)]; }
  std::vector<DockGroup*> Floating() const {
    std::vector<DockGroup*> groups;
    for (BaseWidget* child : Widgets.Layer(LayerFloating).Children)
      if (auto* group = dynamic_cast<DockGroup*>(child); group && group->Controller == this) groups.push_back(group);
    return groups;
  }
  std::vector<DockGroup*> Groups() const {
    std::vector<DockGroup*> groups = Floating();
    for (DockSpace* space : Spaces)
      for (int i = 0; i < space->GroupCount(); i++) groups.push_back(&space->Group(i));
    return groups;
  }
  DockGroup* FindGroup(const std::string& key, int* tab = nullptr) const {
    for (DockGroup* group : Groups())
      if (const int index = group->FindTab(key); index >= 0) {
        if (tab) *tab = index;
        return group;
      }
    return nullptr;
  }
  const DockPanel* FindPanel(std::string_view key) const {
    for (const DockPanel& panel : Panels)
      if (panel.Key == key) return &panel;
    return nullptr;
  }
  const cRect& DockArea() const override { return Area; }
  cRect PlaceOf(const DockGroup& group) const {
    const float scale = std::max(0.01f, Widgets.Scale());
    return {(group.Rect.X - Area.X) / scale, (group.Rect.Y - Area.Y) / scale, group.Rect.W / scale, group.Rect.H / scale};
  }

  // --- opening and closing -------------------------------------------------------------------------------------------------
  DockTab MakeTab(const DockPanel& panel) const { return {panel.Key, panel.Icon, panel.Make ? panel.Make() : nullptr}; }

  void Float(DockGroup* group, const cRect& place) {
    DetachWidget(*group);
    group->Floating = true;
    group->Place = place;
    Widgets.Layer(LayerFloating).AddChild(group);
  }
  void Dock(DockGroup* group, DockSide side, int index) {
    DetachWidget(*group);
    DockSpace& space = Space(side);
    if (!space.GroupCount() && space.Size <= 0) space.Size = space.IsColumn() ? 260 : 220;
    space.InsertGroup(group, index);
    Widgets.RequestArrange();
  }
  DockGroup* MakeGroup() { return new DockGroup(*this); }
  /// A group without panels goes, and the space's size with its last group.
  void DropIfEmpty(DockGroup* group) {
    if (!group->Tabs.empty()) return;
    DockSpace* space = group->Space();
    Widgets.DeleteLater(group);
    if (space && !space->GroupCount()) space->Size = 0, space->Collapsed = false;
    Widgets.RequestArrange();
  }
  LastPlace Remember(const DockGroup& group) const {
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
  void CloseTab(DockGroup& group, int index) override {
    if (index < 0 || index >= int(group.Tabs.size())) return;
    Last[group.Tabs[size_t(index)].Key] = Remember(group);
    const DockTab tab = group.TakeTab(index);
    // Back into the tree, so that it goes after drawing and not under the hands of its own button.
    Widgets.DeleteLater(Root->AddChild(tab.Content));
    DropIfEmpty(&group);
  }
  void Open(const DockPanel& panel) {
    int index = -1;
    if (DockGroup* group = FindGroup(panel.Key, &index)) {
      group->SetCollapsed(false);
      group->SetActive(index);
      if (DockSpace* space = group->Space(); space && space->IsStrip()) ExpandSpace(*space);
      return;
    }
    DockTab tab = MakeTab(panel);
    if (!tab.Content) {
      comms::LogError("The panel '%s' can't be made.", panel.Key.c_str());
      return;
    }
    const auto known = Last.find(panel.Key);
    if (known == Last.end()) {
      OpenFirst(panel, std::move(tab));
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
  void OpenFirst(const DockPanel& panel, DockTab tab) {
    DockGroup* group = MakeGroup();
    group->AddTab(std::move(tab));
    DockSpace& space = Space(panel.Side);
    group->Size = space.IsColumn() ? panel.Height : panel.Width;
    space.Size = std::max(space.Size, space.IsColumn() ? panel.Width : panel.Height);
    Dock(group, panel.Side, -1);
  }
  void ToggleFloat(DockGroup& group) override {
    if (!group.Floating) {
      const cRect place = PlaceOf(group);
      DockSpace* space = group.Space();
      LastPlace last = Remember(group);
      Float(&group, {place.X + 24, place.Y + 24, place.W, std::min(place.H, 480.0f)});
      if (space && !space->GroupCount()) space->Size = 0;
      for (const DockTab& tab : group.Tabs) DockedAt[tab.Key] = last;
    } else {
      const auto known = DockedAt.find(group.Tabs[0].Key);
      const DockPanel* panel = FindPanel(group.Tabs[0].Key);
      const DockSide side = known != DockedAt.end() ? known->second.Side : panel ? panel->Side : DockSide::Right;
      DockSpace& space = Space(side);
      if (space.Size <= 0) space.Size = space.IsColumn() ? group.Place.W : group.Place.H;
      Dock(&group, side, known != DockedAt.end() ? known->second.Index : -1);
    }
    Widgets.RequestArrange();
  }
  void ExpandSpace(DockSpace& space) override {
    space.Collapsed = false;
    space.Recent = ++Counter;
    Widgets.RequestArrange();
  }

  // --- arranging -------------------------------------------------------------------------------------------------------------
  /// What two spaces on opposite sides get of `length`. They shrink together; where that is too little, the one that was unfolded
  /// last keeps the room.
  std::pair<float, float> FitPair(DockSpace& a, DockSpace& b, float length, Canvas& canvas) {
    const float most = std::floor(length * (1 - SceneShare)), strip = canvas.Px(DockStripWidth);
    const float least = canvas.Px(a.IsColumn() ? DockLeastWidth : DockLeastHeight);
    const auto wanted = [&](const DockSpace& space) {
      if (!space.GroupCount()) return 0.0f;
      return space.IsStrip() ? strip : std::max(least, std::round(space.Size * canvas.Scale()));
    };
    a.Narrow = b.Narrow = false;
    for (int round = 0; round < 3; round++) {
      const float wa = wanted(a), wb = wanted(b);
      if (wa + wb <= most) return {wa, wb};
      const bool openA = wa > 0 && !a.IsStrip(), openB = wb > 0 && !b.IsStrip();
      const float fixed = (openA ? 0 : wa) + (openB ? 0 : wb), room = most - fixed, sum = wa + wb - fixed;
      if (!openA && !openB) return {wa, wb};
      if (openA && openB && room >= 2 * least) {
        const float first = std::clamp(std::floor(room * wa / sum), least, room - least);
        return {first, room - first};
      }
      if (openA != openB && room >= canvas.Px(80)) return {openA ? room : wa, openB ? room : wb};
      (openA && (!openB || a.Recent < b.Recent) ? a : b).Narrow = true;
    }
    return {wanted(a), wanted(b)};
  }

  void Layout(Canvas& canvas) {
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

  // --- dragging ----------------------------------------------------------------------------------------------------------------
  // A tab of several comes out alone; the header that the person holds stays where it is then.
  void DragStarts(DockGroup& group, int tab, const InputEvent& press) override {
    const float scale = std::max(0.01f, Widgets.Scale());
    cRect place = PlaceOf(group);
    BeforeDrag = std::make_unique<DocksLayout>();
    BeforeDrag->RegisterMembers();
    Capture(*BeforeDrag);
    Dragged = &group;
    DockSpace* space = group.Space();
    const float size = group.Size;
    if (tab >= 0 && group.Tabs.size() > 1) {
      Dragged = MakeGroup();
      Dragged->AddTab(group.TakeTab(tab));
      Dragged->Size = size;
    } else if (group.Collapsed) {
      group.SetCollapsed(false);
      place.H = 300;
    }
    const float grab = std::clamp((press.X - Area.X) / scale - place.X, 0.0f, std::max(0.0f, place.W - 20));
    GrabX = grab;
    GrabY = (press.Y - Area.Y) / scale - place.Y;
    place.H = std::min(place.H, 420.0f);
    Float(Dragged, place);
    if (space && !space->GroupCount()) space->Size = 0;
    if (!Mark) Mark = Widgets.Layer(LayerMenus).AddChild(new DockTargetMark);
    Mark->PassesMouse = true;
  }

  void Drag(const InputEvent& event, bool ended) override {
    if (!Dragged) return;
    const float scale = std::max(0.01f, Widgets.Scale());
    Dragged->Place.X = (event.X - Area.X) / scale - GrabX;
    Dragged->Place.Y = (event.Y - Area.Y) / scale - GrabY;
    const DockTarget target = FindTarget(event.X, event.Y);
    if (Mark) Mark->Shown = target.Shown;
    if (ended) {
      EndMark();
      DropOn(target, std::exchange(Dragged, nullptr));
    }
    Widgets.RequestArrange();
  }

  void UndoDrag() override {
    EndMark();
    Dragged = nullptr;
    const auto last = std::move(Last);  // knows more than a layout
    Apply(*BeforeDrag, "");
    Last = last;
  }

  void EndMark() {
    if (Mark) Widgets.DeleteLater(std::exchange(Mark, nullptr));
  }

  // Over a title bar or the middle of a panel: a tab of it. Over its ends: before or behind it. At an edge of the window: that
  // side.
  DockTarget FindTarget(float x, float y) const {
    DockTarget target;
    if (!Area.Contains(x, y)) return target;
    const float scale = Widgets.Scale(), edge = 26 * scale;
    for (DockSpace* space : Spaces) {
      if (!space->Visible || space->IsStrip() || !space->Rect.Contains(x, y)) continue;
      for (int i = 0; i < space->GroupCount(); i++) {
        DockGroup& group = space->Group(i);
        if (group.Rect.Contains(x, y)) return TargetOn(group, *space, i, x, y);
      }
    }
    for (DockGroup* group : Floating())
      if (group != Dragged && group->Header->Rect.Contains(x, y))
        return {DockTarget::Kind::Tabs, group, DockSide::Left, 0, group->Rect};
    const cRect whole = Scene.Intersection(Area);
    const float width = std::min(260 * scale, whole.W / 3), height = std::min(220 * scale, whole.H / 3);
    target.What = DockTarget::Kind::Beside;
    target.Index = -1;
    if (x < whole.X + edge)
      target.Side = DockSide::Left, target.Shown = {whole.X, whole.Y, width, whole.H};
    else if (x >= whole.Right() - edge)
      target.Side = DockSide::Right, target.Shown = {whole.Right() - width, whole.Y, width, whole.H};
    else if (y < whole.Y + edge)
      target.Side = DockSide::Top, target.Shown = {whole.X, whole.Y, whole.W, height};
    else if (y >= whole.Bottom() - edge)
      target.Side = DockSide::Bottom, target.Shown = {whole.X, whole.Bottom() - height, whole.W, height};
    else
      target.What = DockTarget::Kind::None;
    return target;
  }

  DockTarget TargetOn(DockGroup& group, DockSpace& space, int index, float x, float y) const {
    const cRect& rect = group.Rect;
    const bool column = space.IsColumn();
    const float part = column ? (y - rect.Y) / std::max(1.0f, rect.H) : (x - rect.X) / std::max(1.0f, rect.W);
    if (group.Header->Rect.Contains(x, y) || (part > 0.3f && part < 0.7f))
      return {DockTarget::Kind::Tabs, &group, space.Side, index, rect};
    const bool after = part >= 0.7f;
    cRect half = rect;
    (column ? half.H : half.W) *= 0.5f;
    if (after) (column ? half.Y : half.X) += (column ? rect.H : rect.W) * 0.5f;
    return {DockTarget::Kind::Beside, &group, space.Side, index + after, half};
  }

  void DropOn(const DockTarget& target, DockGroup* group) {
    if (target.What == DockTarget::Kind::None) return;
    if (target.What == DockTarget::Kind::Tabs) {
      while (!group->Tabs.empty()) target.Group->AddTab(group->TakeTab(0));
      DropIfEmpty(group);
      return;
    }
    DockSpace& space = Space(target.Side);
    if (target.Group) {
      // The two share what the one had.
      target.Group->Size *= 0.5f;
      group->Size = target.Group->Size;
    } else if (!space.GroupCount()) {
      space.Size = space.IsColumn() ? std::clamp(group->Place.W, DockLeastWidth, 420.0f) : 220;
    }
    Dock(group, target.Side, target.Index);
  }

  // --- layouts -----------------------------------------------------------------------------------------------------------------
  void Capture(DocksLayout& layout) const;
  /// `path` is for the log.
  bool Apply(const DocksLayout& layout, const std::string& path);
  void ReadClosed(const DockLayoutElement& element);

  cWidgets& Widgets;
  std::vector<DockPanel> Panels;
  std::map<std::string, LastPlace> Last, DockedAt;
  DockRoot* Root = nullptr;
  std::array<DockSpace*, SideCount> Spaces{};
  cRect Area, Scene;
  uint32_t Counter = 0;
  DockGroup* Dragged = nullptr;
  std::unique_ptr<DocksLayout> BeforeDrag;
  DockTargetMark* Mark = nullptr;
  float GrabX = 0, GrabY = 0;  // of the pointer in the dragged group, at scale 1
};

// --- layouts
// ---------------------------------------------------------------------------------------------------------------------

static void CaptureGroup(DockLayoutElement& element, const DockGroup& group) {
  element.Size = group.Size;
  element.Active = group.Active;
  element.Collapsed = group.Collapsed;
  for (const DockTab& tab : group.Tabs) {
    DockLayoutElement& panel = element.Append(DockElementKind::Panel);
    panel.Name = tab.Key;
    panel.Window = GetDockWindowName(GetText(tab.Key), group.Floating);
  }
}

static void CapturePlace(DockLayoutElement& element, const cRect& place) {
  element.X = place.X;
  element.Y = place.Y;
  element.Width = place.W;
  element.Height = place.H;
}

void DockPanels::State::Capture(DocksLayout& layout) const {
  for (const DockSpace* space : Spaces) {
    if (!space->GroupCount()) continue;
    DockLayoutElement& element = layout.Append(DockElementKind::Space);
    element.Side = int32_t(space->Side);
    element.Size = space->Size;
    element.Collapsed = space->Collapsed;
    for (int i = 0; i < space->GroupCount(); i++) CaptureGroup(element.Append(DockElementKind::Group), space->Group(i));
  }
  for (const DockGroup* group : Floating()) {
    DockLayoutElement& element = layout.Append(DockElementKind::Floating);
    CapturePlace(element, group->Place);
    CaptureGroup(element, *group);
  }
  for (const auto& [key, last] : Last) {
    if (FindGroup(key)) continue;
    DockLayoutElement& element = layout.Append(DockElementKind::Closed);
    element.Name = key;
    element.Side = int32_t(last.Side);
    element.Index = last.Index;
    element.Floats = last.Floats;
    element.Size = last.Size;
    CapturePlace(element, last.Place);
  }
}

void DockPanels::State::ReadClosed(const DockLayoutElement& element) {
  LastPlace& last = Last[element.Name.ToString()];
  last.Side = DockSide(std::clamp(element.Side, 0, SideCount - 1));
  last.Index = std::clamp(element.Index, 0, 64);
  last.Floats = element.Floats;
  last.Size = HeldSize(element.Size, 300);
  last.Place = {HeldPlace(element.X), HeldPlace(element.Y), HeldSize(element.Width, 260), HeldSize(element.Height, 300)};
}

// First all that is wrong is found, then the panels that are open now go to their new places; those without one are closed.
bool DockPanels::State::Apply(const DocksLayout& layout, const std::string& path) {
  struct Planned {
    std::vector<std::string> Keys;
    const DockLayoutElement* Element;
    int Side;  // -1: floats
  };
  std::vector<Planned> plan;
  std::set<std::string> seen;
  std::string wrong;
  int named = 0;
  const auto read = [&](const DockLayoutElement& group, int side) {
    Planned planned{{}, &group, side};
    for (const DockLayoutElement* panel : group.Elements) {
      const std::string key = panel->Name.ToString();
      named++;
      if (panel->Kind != DockElementKind::Panel || !FindPanel(key))
        wrong += (wrong.empty() ? "" : ", ") + ("'" + key.substr(0, 60) + "' is no panel");
      else if (!seen.insert(key).second)
        wrong += (wrong.empty() ? "" : ", ") + ("'" + key + "' stands twice");
      else
        planned.Keys.push_back(key);
    }
    if (!planned.Keys.empty()) plan.push_back(std::move(planned));
  };
  for (const DockLayoutElement* element : layout.Elements) {
    if (element->Kind == DockElementKind::Floating) read(*element, -1);
    if (element->Kind == DockElementKind::Space)
      for (const DockLayoutElement* group : element->Elements)
        if (group->Kind == DockElementKind::Group) read(*group, std::clamp(element->Side, 0, SideCount - 1));
  }
  if (!wrong.empty()) comms::LogWarning("%s: %s; left out of the layout", path.c_str(), wrong.c_str());
  if (plan.empty() && named) return false;

  std::map<std::string, DockTab> open;
  for (DockGroup* group : Groups()) {
    while (!group->Tabs.empty()) {
      DockTab tab = group->TakeTab(0);
      open.emplace(tab.Key, tab);
    }
    DropIfEmpty(group);
  }
  Last.clear();
  for (const DockLayoutElement* element : layout.Elements) {
    if (element->Kind == DockElementKind::Closed && FindPanel(element->Name.View())) ReadClosed(*element);
    if (element->Kind != DockElementKind::Space) continue;
    DockSpace& space = *Spaces[size_t(std::clamp(element->Side, 0, SideCount - 1))];
    space.Size = HeldSize(element->Size, 260);
    space.Collapsed = element->Collapsed;
  }
  for (const Planned& planned : plan) {
    DockGroup* group = MakeGroup();
    for (const std::string& key : planned.Keys) {
      const auto at = open.find(key);
      DockTab tab = at != open.end() ? at->second : MakeTab(*FindPanel(key));
      if (at != open.end()) open.erase(at);
      if (tab.Content) group->AddTab(std::move(tab));
    }
    if (group->Tabs.empty()) {
      delete group;
      continue;
    }
    const DockLayoutElement& element = *planned.Element;
    group->Size = HeldSize(element.Size, 300);
    group->SetActive(std::clamp(element.Active, 0, int(group->Tabs.size()) - 1));
    group->SetCollapsed(element.Collapsed);
    if (planned.Side < 0)
      Float(group, {HeldPlace(element.X), HeldPlace(element.Y), HeldSize(element.Width, 260), HeldSize(element.Height, 300)});
    else
      Dock(group, DockSide(planned.Side), -1);
  }
  for (const auto& [key, tab] : open) Widgets.DeleteLater(Root->AddChild(tab.Content));
  Widgets.RequestArrange();
  return true;
}

DockPanels::DockPanels(cWidgets& widgets) : m_State(std::make_unique<State>(widgets)) {}
DockPanels::~DockPanels() = default;

void DockPanels::Add(DockPanel panel) {
  if (!m_State->FindPanel(panel.Key)) m_State->Panels.push_back(std::move(panel));
}
const std::vector<DockPanel>& DockPanels::All() const { return m_State->Panels; }
bool DockPanels::IsOpen(const std::string& key) const { return m_State->FindGroup(key) != nullptr; }
void DockPanels::Open(const std::string& key) {
  if (const DockPanel* panel = m_State->FindPanel(key)) m_State->Open(*panel);
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
  return StoreObjectFile(layout, path);
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
  for (const std::string& key : keys) Open(key);
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
