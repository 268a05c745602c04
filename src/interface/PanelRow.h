#pragma once
// A line of a generated panel: a label at the left, the control of the value at the right; the label above where the line is too
// narrow for both.
#include <string>

#include "ClassEngine/ClassMember.h"
#include "interface/PanelWidget.h"
#include "interface/ValueBinding.h"
#include "interface/draw/Canvas.h"

/// The rows of a panel: all that can be changed, all that can't, and "add...".
constexpr int PanelRowOptions = RowsNotFixed | RowsFixed | RowsWithAdd;

/// One element of an object, as a panel finds it.
struct RowSource {
  BaseClass* Owner = nullptr;
  int Element = -1;                        ///< -1: the row "add..."
  const OneClassMember* Member = nullptr;  ///< null: an item of a container
  ValueBinding Value;
  const char* Name = nullptr;  ///< with its signs; as long as the owner's rows stand
};
/// False where there is no such row, or where the panel hides it. Asked for every row in every frame.
bool FindRow(BaseClass& owner, int row, const PanelWidget& panel, RowSource& source);

/// ... and as a row of it is built.
struct RowPlace : RowSource {
  PanelWidget* Panel = nullptr;
  std::string FullName;  ///< with its signs
  RowSigns Signs;
  bool ReadOnly = false;
};
/// The control of a value, unbound to a row yet; null where the type has no value to show.
BaseWidget* MakeRowControl(const RowPlace& place);
/// Whether rows of that type are objects with rows of their own.
bool IsGroupRow(const RowSource& source);

class PanelRow : public BaseWidget {
  REFLECTED(PanelRow, BaseWidget)
 public:
  PanelRow() = default;
  /// `control` belongs to the row from now on.
  PanelRow(const RowPlace& place, BaseWidget* control);
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float NarrowestFor(Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  std::string GetText() const override;
  std::string GetHintText(float x, float y) const override;

  /// Tells the object and the panel that the person has changed the value.
  bool OnControl(BaseWidget* control, const WidgetEvent& event);
  const RowPlace& Place() const { return m_Place; }
  BaseWidget* Control() const { return m_Control; }
  bool HasLabel() const { return !m_Place.Signs.NoLabel && !m_Place.Signs.Name.empty(); }
  /// Width that the label takes of a row with both side by side.
  float LabelTextWidth(Canvas& canvas) const;

 private:
  /// How label and control share a row.
  struct Plan {
    bool Stacked = false;
    float LabelWidth = 0, LabelHeight = 0, ControlWidth = 0, ControlHeight = 0;
  };
  Plan MakePlan(float width, Canvas& canvas) const;
  TextStyle LabelStyle() const { return m_Place.Signs.Bold ? TextStyle::Bold : TextStyle::Normal; }
  bool IsBelow() const { return m_Control->StandsBelowLabel(); }
  std::string Told() const;
  RowPlace m_Place;
  BaseWidget* m_Control = nullptr;
  std::string m_Told;   // the value that the object knows of
  std::string m_Label;  // as it was arranged
  cRect m_LabelRect;
  bool m_Wraps = false;  // the label
};

/// Hint of a member: the language's of "CLASS.NAME", with the class that declares it, or of NAME alone, else that of the
/// declaration.
std::string GetRowHint(const RowPlace& place);
/// Tells owner, panel and callback of a change.
void TellRowChange(const RowPlace& place, const WidgetEvent& event, bool changed);
