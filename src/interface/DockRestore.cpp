// Layouts of the docks: what is stored of them, and how they become what a file says.
#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <utility>

#include "comms/Log.h"
#include "interface/DockState.h"
#include "interface/Language.h"

namespace {

/// What files may give for a length, at scale 1.
constexpr float LeastSize = 40, MostSize = 4000;

float HeldSize(float size, float otherwise) {
  return std::isfinite(size) && size > 0 ? std::clamp(size, LeastSize, MostSize) : otherwise;
}
float HeldPlace(float place) { return std::isfinite(place) ? std::clamp(place, -MostSize, MostSize) : 0; }

void CaptureGroup(DockLayoutElement& element, const DockGroup& group) {
  element.Size = group.Size;
  element.Active = group.Active;
  element.Collapsed = group.Collapsed;
  for (const DockTab& tab : group.Tabs) {
    DockLayoutElement& panel = element.Append(DockElementKind::Panel);
    panel.Name = tab.Key;
    panel.Window = GetDockWindowName(GetText(tab.Key), group.Floating);
  }
}

void CapturePlace(DockLayoutElement& element, const cRect& place) {
  element.X = place.X;
  element.Y = place.Y;
  element.Width = place.W;
  element.Height = place.H;
}

}  // namespace

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
  last.Side = DockSide(std::clamp(element.Side, 0, DockSideCount - 1));
  last.Index = std::clamp(element.Index, 0, 64);
  last.Floats = element.Floats;
  last.Size = HeldSize(element.Size, 300);
  last.Place = {HeldPlace(element.X), HeldPlace(element.Y), HeldSize(element.Width, 260), HeldSize(element.Height, 300)};
}

namespace {

struct PlannedGroup {
  std::vector<std::string> Keys;
  const DockLayoutElement* Element;
  int Side;  // -1: floats
};

struct LayoutPlan {
  std::vector<PlannedGroup> Groups;  // with panels that are known, each once
  std::string Wrong;                 // what was left out, and why
  bool NamesPanels = false;
};

LayoutPlan PlanLayout(const DocksLayout& layout, const std::function<bool(const std::string&)>& isPanel) {
  LayoutPlan plan;
  std::set<std::string> seen;
  const auto read = [&](const DockLayoutElement& group, int side) {
    PlannedGroup planned{{}, &group, side};
    for (const DockLayoutElement* panel : group.Elements) {
      const std::string key = panel->Name.ToString();
      plan.NamesPanels = true;
      if (panel->Kind != DockElementKind::Panel || !isPanel(key))
        plan.Wrong += (plan.Wrong.empty() ? "" : ", ") + ("'" + key.substr(0, 60) + "' is no panel");
      else if (!seen.insert(key).second)
        plan.Wrong += (plan.Wrong.empty() ? "" : ", ") + ("'" + key + "' stands twice");
      else
        planned.Keys.push_back(key);
    }
    if (!planned.Keys.empty()) plan.Groups.push_back(std::move(planned));
  };
  for (const DockLayoutElement* element : layout.Elements) {
    if (element->Kind == DockElementKind::Floating) read(*element, -1);
    if (element->Kind == DockElementKind::Space)
      for (const DockLayoutElement* group : element->Elements)
        if (group->Kind == DockElementKind::Group) read(*group, std::clamp(element->Side, 0, DockSideCount - 1));
  }
  return plan;
}

}  // namespace

// First all that is wrong is found, then the panels that are open now go to their new places; those without one are closed.
bool DockPanels::State::Apply(const DocksLayout& layout, const std::string& path) {
  const LayoutPlan plan = PlanLayout(layout, [this](const std::string& key) { return FindPanel(key) != nullptr; });
  if (!plan.Wrong.empty()) comms::LogWarning("%s: %s; left out of the layout", path.c_str(), plan.Wrong.c_str());
  if (plan.Groups.empty() && plan.NamesPanels) return false;

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
    DockSpace& space = *Spaces[size_t(std::clamp(element->Side, 0, DockSideCount - 1))];
    space.Size = HeldSize(element->Size, 260);
    space.Collapsed = element->Collapsed;
  }
  for (const PlannedGroup& planned : plan.Groups) {
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
  for (const auto& [key, tab] : open) Discard(tab.Content);
  Widgets.RequestArrange();
  return true;
}
