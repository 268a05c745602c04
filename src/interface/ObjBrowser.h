#pragma once
// A tree of named objects: select, show and hide, rename, drag into another order. What the tree holds is somebody else's; the
// browser asks a small model about it and keeps nothing but what was folded or opened by hand.
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "interface/BaseWidget.h"

class TextEdit;
class VScroller;

/// The states that a row shows as icons, as bits.
enum ObjFlags : uint8_t { ObjVisible = 1, ObjGhost = 2, ObjLocked = 4 };

/// What an ObjBrowser shows. A node is whatever the model knows it by, and is never looked into; null is the root, which has no
/// row. Called on the main thread, many times a frame.
class ObjTreeModel {
 public:
  using Node = const void*;
  virtual ~ObjTreeModel() = default;

  /// In the order in which they are shown.
  virtual std::vector<Node> GetChildren(Node parent) const = 0;
  virtual std::string GetName(Node node) const = 0;
  virtual bool IsSelected(Node node) const = 0;
  /// `extend`: besides what is selected already, or no more, if it was.
  virtual void Select(Node node, bool extend) = 0;

  /// The flags that rows have an icon for.
  virtual uint8_t GetOfferedFlags() const { return ObjVisible; }
  virtual uint8_t GetFlags(Node /*node*/) const { return ObjVisible; }
  virtual void SetFlag(Node /*node*/, ObjFlags /*flag*/, bool /*on*/) {}
  /// Whether nodes are folded until a person opens them.
  virtual bool FoldsAtFirst() const { return false; }
  /// Icon before the name.
  virtual std::string GetIcon(Node /*node*/) const { return {}; }
  /// Small text at the end of the row, as a count; empty for none.
  virtual std::string GetNote(Node /*node*/) const { return {}; }
  virtual std::string GetHint(Node /*node*/) const { return {}; }

  virtual bool CanRename(Node /*node*/) const { return false; }
  /// False where the name can't be taken; `expected` says what could.
  virtual bool Rename(Node /*node*/, const std::string& /*name*/, std::string& /*expected*/) { return false; }
  virtual bool CanDrag(Node /*node*/) const { return false; }
  /// Whether it may become a child of `parent`. Asked for no node that is `node` or below it.
  virtual bool CanMoveTo(Node /*node*/, Node /*parent*/) const { return false; }
  /// To place `index` among the children of `parent`, counted before the move.
  virtual void Move(Node /*node*/, Node /*parent*/, int /*index*/) {}
  virtual bool CanRemove(Node /*node*/) const { return false; }
  virtual void Remove(Node /*node*/) {}
};

class ObjBrowser : public BaseWidget {
  REFLECTED(ObjBrowser, BaseWidget)
 public:
  using Node = ObjTreeModel::Node;

  /// Empty until a model is given.
  ObjBrowser();
  explicit ObjBrowser(std::shared_ptr<ObjTreeModel> model);
  const std::shared_ptr<ObjTreeModel>& Model() const { return m_Model; }
  void SetModel(std::shared_ptr<ObjTreeModel> model);

  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  bool StandsBelowLabel() const override { return true; }
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return true; }
  bool ClipsChildren() const override { return true; }
  void Process(double timeSec) override;
  void OnEvent(const WidgetEvent& event) override;
  bool AcceptsDrag(const BaseClass* object, const BaseWidget* source) const override;
  std::string GetHintText(float x, float y) const override;

  /// Opens the field over the name. No effect on nodes that can't be renamed or have no row now.
  void BeginRename(Node node);
  /// Place of a node's row in window pixels; empty where it has none now.
  cRect RowRect(Node node);
  /// Place of a flag's icon in a row.
  cRect FlagRect(Node node, ObjFlags flag);
  float Height = 160;  ///< that it wants where it is a row of a panel; at scale 1

 protected:
  /// The right button on a node, which is selected by then; null beside all. False where there is no menu.
  virtual bool OpenMenu(Node /*node*/, const InputEvent& /*event*/) { return false; }

 private:
  struct Row {
    Node Object, Parent;
    int Depth, Index;  // among the children of Parent
    bool HasChildren;
  };
  struct DropPlace {
    bool Allowed = false, Into = false;
    Node Parent = nullptr;
    int Index = 0;
    float Y = 0;   // of the line between rows
    int Row = -1;  // Into this one
    int Depth = 0;
  };
  /// The object that cWidgets carries during a drag of a row.
  class DraggedNode : public BaseClass {
   public:
    Node Object = nullptr;
  };
  std::vector<Row> ListRows() const;
  void AppendRows(Node parent, int depth, std::vector<Row>& rows) const;
  int RowAt(float y, const std::vector<Row>& rows) const;
  cRect RowRectAt(int index) const;
  std::vector<ObjFlags> OfferedFlags() const;
  void DrawRow(Canvas& canvas, const Row& row, const cRect& rect);
  DropPlace FindDropPlace(float x, float y) const;
  bool IsBelow(Node node, Node top) const;
  void EndRename();
  bool IsFolded(Node node) const { return m_Toggled.contains(node) != m_Model->FoldsAtFirst(); }
  void SetFolded(Node node, bool folded);
  void SelectStep(int step);
  void ShowRow(int index);
  bool OnScroll(BaseWidget* widget, const WidgetEvent& event);
  bool OnPress(const InputEvent& event);

  std::shared_ptr<ObjTreeModel> m_Model;
  std::set<Node> m_Toggled;  // folded, or opened, by the person
  VScroller* m_Scroller = nullptr;
  TextEdit* m_Edit = nullptr;
  Node m_Renamed = nullptr, m_Pressed = nullptr, m_Current = nullptr;
  DraggedNode m_Dragged;
  DropPlace m_Drop;
  bool m_HasDrop = false;
  size_t m_RowCount = 0;  // as of the last arrangement
  float m_PressX = 0, m_PressY = 0, m_RowHeight = 22;
};
