#pragma once
// A line of a generated panel: a label at the left, the control of the value at the right.
#include <string>

#include "ClassEngine/ClassMember.h"
#include "interface/PanelWidget.h"
#include "interface/ValueBinding.h"
#include "interface/draw/Canvas.h"

/// The rows of a panel: all that can be changed, all that can't, and "add...".
constexpr int PanelRowOptions = RowsNotFixed | RowsFixed | RowsWithAdd;

/// One element of an object, as a panel sees it.
struct RowPlace {
  BaseClass* Owner = nullptr;
  int Row = 0, Element = -1;               ///< Element -1: the row "add..."
  const OneClassMember* Member = nullptr;  ///< null: an item of a container
  ValueBinding Value;
  std::string FullName;  ///< with its signs
  RowSigns Signs;
  bool ReadOnly = false;
};
/// False where there is no such row, or where the panel hides it.
bool FindRowPlace(BaseClass& owner, int row, const PanelWidget& panel, RowPlace& place);
/// The control of a value, unbound to a row yet; null where the type has no value to show.
BaseWidget* MakeRowControl(const RowPlace& place);
/// Whether rows of that type are objects with rows of their own.
bool IsGroupRow(const RowPlace& place);

class PanelRow : public BaseWidget {
  REFLECTED(PanelRow, BaseWidget)
 public:
  PanelRow() = default;
  /// `control` belongs to the row from now on.
  PanelRow(const RowPlace& place, BaseWidget* control);
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  std::string GetText() const override;
  std::string GetHintText(float x, float y) const override;

  /// Tells the object and the panel that the person has changed the value.
  bool OnControl(BaseWidget* control, const WidgetEvent& event);
  const RowPlace& Place() const { return m_Place; }
  BaseWidget* Control() const { return m_Control; }
  bool HasLabel() const;
  float LabelTextWidth(Canvas& canvas) const;

 private:
  const PanelWidget* Panel() const;
  bool IsBelow() const;
  std::string Told() const;
  float LabelWidth(float width, Canvas& canvas) const;
  float LabelHeight(float width, Canvas& canvas) const;
  float ControlHeight(float width, Canvas& canvas) const;
  RowPlace m_Place;
  BaseWidget* m_Control = nullptr;
  std::string m_Told;  // the value that the object knows of
};

/// Hint of a member: of the language, else of its declaration.
std::string GetRowHint(const RowPlace& place);
/// Tells owner, panel and callback of a change; `at` is a widget of the panel.
void TellRowChange(BaseWidget& at, const RowPlace& place, const WidgetEvent& event, bool changed);
