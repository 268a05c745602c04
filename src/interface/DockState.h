#pragma once
// What DockPanels keeps: the four spaces, the floating groups, and what becomes of a drag. In parts: opening, closing and
// arranging (DockPanels.cpp), dragging (DockDrag.cpp), layouts (DockRestore.cpp).
#include <array>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "interface/DockLayout.h"
#include "interface/DockWidgets.h"
#include "shell/core/ObjectFile.h"

class DockRoot;
class DockTargetMark;
struct DockTarget;

constexpr int DockSideCount = 4;

/// Where a panel stood that is closed now.
struct LastPlace {
  bool Floats = false;
  DockSide Side = DockSide::Right;
  int Index = 0;
  cRect Place;
  float Size = 300;
  std::vector<std::string> Mates;  ///< panels of the same group
};

struct DockPanels::State : DockController {
  explicit State(cWidgets& widgets);
  ~State() override;

  // --- what is where
  DockSpace& Space(DockSide side) const;
  std::vector<DockGroup*> Floating() const;
  std::vector<DockGroup*> Groups() const;
  /// Null where the panel is closed; `tab` gets its place in the group.
  DockGroup* FindGroup(const std::string& key, int* tab = nullptr) const;
  const DockPanel* FindPanel(std::string_view key) const;
  const cRect& DockArea() const override;
  /// In the area, at scale 1.
  cRect PlaceOf(const DockGroup& group) const;

  // --- opening and closing
  DockTab MakeTab(const DockPanel& panel) const;
  DockGroup* MakeGroup();
  void Float(DockGroup* group, const cRect& place);
  void Dock(DockGroup* group, DockSide side, int index);
  /// A group without panels goes, and the space's size with its last group.
  void DropIfEmpty(DockGroup* group);
  /// The content of a panel goes after drawing, and not under the hands of its own button.
  void Discard(BaseWidget* content);
  LastPlace Remember(const DockGroup& group) const;
  /// Which panels float and where, for pages that don't know them.
  void KeepPositions() const;
  void CloseTab(DockGroup& group, int index) override;
  void Open(const DockPanel& panel);
  /// Where it stood on another page, or at its first place.
  void OpenNew(const DockPanel& panel, DockTab tab);
  void OpenFirst(const DockPanel& panel, DockTab tab);
  void ToggleFloat(DockGroup& group) override;
  void ExpandSpace(DockSpace& space) override;

  // --- arranging
  /// Of a side's panels, at scale 1.
  float ComfortableWidth(const DockSpace& space) const;
  /// What two spaces on opposite sides get of `length`. They shrink together, down to what their panels need to look well; where
  /// that is too little, the one that was unfolded last keeps the room.
  std::pair<float, float> FitPair(DockSpace& a, DockSpace& b, float length, Canvas& canvas);
  void Layout(Canvas& canvas);

  // --- dragging
  void DragStarts(DockGroup& group, int tab, const InputEvent& press) override;
  void Drag(const InputEvent& event, bool ended) override;
  void UndoDrag() override;
  void EndMark();
  DockTarget FindTarget(float x, float y) const;
  DockTarget TargetOn(DockGroup& group, DockSpace& space, int index, float x, float y) const;
  void DropOn(const DockTarget& target, DockGroup* group);

  // --- layouts
  void Capture(DocksLayout& layout) const;
  /// False, with nothing changed, where it names no panel that is known. `path` is for the log.
  bool Apply(const DocksLayout& layout, const std::string& path);
  void ReadClosed(const DockLayoutElement& element);

  cWidgets& Widgets;
  std::vector<DockPanel> Panels;
  std::map<std::string, LastPlace> Last, DockedAt;
  DockRoot* Root = nullptr;
  std::array<DockSpace*, DockSideCount> Spaces{};
  cRect Area, Scene;
  uint32_t Counter = 0;
  ChangeWatch Watch;  // of the layout
  DockGroup* Dragged = nullptr;
  std::unique_ptr<DocksLayout> BeforeDrag;
  DockTargetMark* Mark = nullptr;
  float GrabX = 0, GrabY = 0;  // of the pointer in the dragged group, at scale 1
};
