// Panels dragged about: where a dragged group would go, the mark that shows it, and the drop.
#include <algorithm>
#include <utility>

#include "interface/DockState.h"
#include "interface/WidgetDraw.h"

/// Where a dragged group would go.
struct DockTarget {
  enum class Kind : uint8_t { None, Tabs, Beside } What = Kind::None;
  DockGroup* Group = nullptr;
  DockSide Side = DockSide::Left;
  int Index = 0;
  cRect Shown;
};

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

// A tab of several comes out alone; the header that the person holds stays where it is then.
void DockPanels::State::DragStarts(DockGroup& group, int tab, const InputEvent& press) {
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

void DockPanels::State::Drag(const InputEvent& event, bool ended) {
  if (!Dragged) return;
  const float scale = std::max(0.01f, Widgets.Scale());
  Dragged->Place.X = (event.X - Area.X) / scale - GrabX;
  Dragged->Place.Y = (event.Y - Area.Y) / scale - GrabY;
  const DockTarget target = FindTarget(event.X, event.Y);
  if (Mark) Mark->Shown = target.Shown;
  if (ended) {
    EndMark();
    DropOn(target, std::exchange(Dragged, nullptr));
    KeepPositions();
  }
  Widgets.RequestArrange();
}

void DockPanels::State::UndoDrag() {
  EndMark();
  Dragged = nullptr;
  const auto last = std::move(Last);  // knows more than a layout
  Apply(*BeforeDrag, "");
  Last = last;
}

void DockPanels::State::EndMark() {
  if (Mark) Widgets.DeleteLater(std::exchange(Mark, nullptr));
}

// Over a title bar or the middle of a panel: a tab of it. Over its ends: before or behind it. At an edge of the window: that
// side.
DockTarget DockPanels::State::FindTarget(float x, float y) const {
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

DockTarget DockPanels::State::TargetOn(DockGroup& group, DockSpace& space, int index, float x, float y) const {
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

void DockPanels::State::DropOn(const DockTarget& target, DockGroup* group) {
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
