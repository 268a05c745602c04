#pragma once
// What docks are made of. A group is a frame with a title bar and the panels that share it, as tabs; a space is a side of the
// window with groups behind one another; what happens between groups is the business of their DockController.
#include <string>
#include <vector>

#include "interface/DockPanels.h"
#include "interface/FrameWidget.h"

class Button;
class DockGroup;
class DockSpace;
class DockableHeader;

/// Room around and between docked panels, at scale 1; the splitters lie in it.
constexpr float DockSpaceDist = 5;
/// Width of a space that is folded to its icons, and the least width of one that isn't, at scale 1.
constexpr float DockStripWidth = 30, DockLeastWidth = 120, DockLeastHeight = 60;

/// 32-bit FNV-1a (Fowler, Noll, Vo) of a panel's title: its number in the names of windows.
uint32_t HashDockTitle(std::string_view title);
/// "%08X" of it, with "_FLOATING" behind it for a floating window.
std::string GetDockWindowName(std::string_view title, bool floating);

/// Who moves groups about.
class DockController {
 public:
  virtual ~DockController() = default;
  virtual void CloseTab(DockGroup& group, int tab) = 0;
  virtual void ToggleFloat(DockGroup& group) = 0;
  /// A header is dragged: tab -1 is the whole group.
  virtual void DragStarts(DockGroup& group, int tab, const InputEvent& press) = 0;
  /// `ended` at the release.
  virtual void Drag(const InputEvent& event, bool ended) = 0;
  /// All panels go back to where they stood when the drag started.
  virtual void UndoDrag() = 0;
  /// The person wants to see a space that was folded.
  virtual void ExpandSpace(DockSpace& space) = 0;
  virtual const cRect& DockArea() const = 0;
};

struct DockTab {
  std::string Key, Icon;
  BaseWidget* Content = nullptr;  ///< child of the group
};

class DockGroup : public BaseWidget {
  REFLECTED(DockGroup, BaseWidget)
 public:
  DockGroup() = default;
  explicit DockGroup(DockController& controller);
  void Draw(Canvas& canvas) override;
  void DrawOver(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  float NarrowestFor(Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  bool UndoDrag() override;
  bool ClipsChildren() const override { return true; }
  MouseCursor GetCursor(float x, float y) const override;

  /// Takes the content over.
  void AddTab(DockTab tab, int at = -1);
  /// Hands the content over to the caller.
  DockTab TakeTab(int index);
  void SetActive(int index);
  void SetCollapsed(bool collapsed);
  /// It gets room before the others of its space.
  void AskForRoom();
  int FindTab(std::string_view key) const;
  DockSpace* Space() const;  ///< null while it floats

  std::vector<DockTab> Tabs;
  /// Nothing but its header is there.
  bool IsFolded() const { return Collapsed || Squeezed; }
  int Active = 0;
  bool Collapsed = false;  ///< folded by the person
  bool Squeezed = false;   ///< folded because its space has no room; the ones that were asked for last keep it
  uint32_t Asked = 0;      ///< when the person asked to see it last, among those of its space
  bool Floating = false;
  float Size = 300;  ///< along the space, at scale 1: its share among the others
  cRect Place;       ///< floating: in the area, at scale 1
  DockableHeader* Header = nullptr;
  DockController* Controller = nullptr;

 private:
  int EdgeAt(float x, float y) const;  // bits: 1 left, 2 right, 4 top, 8 bottom
  int m_Edge = 0;
  float m_LastX = 0, m_LastY = 0;
  cRect m_Before;  // Place at the press
};

/// Title bar of a group: tabs, or the title of the only one; buttons to fold, float and close. It is dragged out to float and
/// onto other panels to dock; a double click folds the group.
class DockableHeader : public FrameWidget {
  REFLECTED(DockableHeader, FrameWidget)
 public:
  DockableHeader() = default;
  explicit DockableHeader(DockGroup& group);
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float NarrowestFor(Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  bool UndoDrag() override;
  std::string GetText() const override;
  std::string GetHintText(float x, float y) const override;
  std::string GetWindowName() const;
  cRect TabRect(int index, Canvas& canvas) const;

 private:
  int TabAt(float x, float y) const;
  float TitleWidth(int index, Canvas& canvas) const;
  float TabWidth(int index, Canvas& canvas) const;  // that its icon and title want
  void DrawTab(Canvas& canvas, int index, const cRect& box, uint32_t color, TextStyle style) const;
  bool OpenMenu(const InputEvent& event);
  DockGroup* m_Group = nullptr;
  Button *m_Fold = nullptr, *m_Float = nullptr, *m_Close = nullptr;
  bool m_Pressed = false, m_Dragging = false;
  int m_Tab = -1;
  InputEvent m_Press;
};

class DockSpace : public BaseWidget {
  REFLECTED(DockSpace, BaseWidget)
 public:
  DockSpace() = default;
  DockSpace(DockController& controller, DockSide side) : Side(side), Controller(&controller) {}
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float NarrowestFor(Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  bool UndoDrag() override;
  bool ShowsChildren() const override { return !IsStrip(); }
  MouseCursor GetCursor(float x, float y) const override;
  std::string GetHintText(float x, float y) const override;

  DockGroup& Group(int index) const { return *static_cast<DockGroup*>(Children[index]); }
  int GroupCount() const { return Children.Count; }
  int IndexOf(const DockGroup& group) const;
  void InsertGroup(DockGroup* group, int index);
  bool IsColumn() const { return Side == DockSide::Left || Side == DockSide::Right; }
  bool IsStrip() const { return Collapsed || Narrow; }

  DockSide Side = DockSide::Left;
  float Size = 0;          ///< across, at scale 1
  bool Collapsed = false;  ///< folded to its icons by the person
  bool Narrow = false;     ///< folded because the window has no room
  uint32_t Recent = 0;     ///< when it was unfolded last, for who keeps the room
  DockController* Controller = nullptr;

 private:
  enum class Part : int8_t { None, Edge, Between };
  struct Icon {
    cRect Rect;
    int Group, Tab;
  };
  Part PartAt(float x, float y, int& index) const;
  void Squeeze(float length, Canvas& canvas);
  void ArrangeAlong(const cRect& inside, Canvas& canvas);
  std::vector<Icon> Icons(Canvas& canvas) const;
  const Icon* IconAt(float x, float y, std::vector<Icon>& icons) const;
  float Along(const cRect& rect) const { return IsColumn() ? rect.H : rect.W; }
  Part m_Part = Part::None;
  int m_Splitter = -1;
  float m_Last = 0;
  std::vector<float> m_Before;  // Size of the space and of its groups at the press
};

/// Takes a widget out of the tree without ending it.
void DetachWidget(BaseWidget& widget);
