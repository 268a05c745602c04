#pragma once
// Panels that are made from reflected objects: one row a member, by its type and the signs in its name. A row keeps the address
// of the value and no copy, so that a panel always shows what is.
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "interface/BaseWidget.h"
#include "shell/core/BasicTool.h"

class ScrollArea;

/// What the signs at the start of a member's name ask for, and the name behind them.
struct RowSigns {
  std::string Name;          ///< as it is looked up in the language; empty: no label
  std::string HintKey;       ///< of the name with the signs that its row keeps
  float Scale = 1;           ///< "[scale=2]"
  float Height = 0;          ///< "`40`": pixels at scale 1; 0: by the type
  bool Compact = false;      ///< "%": shares a line with the compact rows beside it
  bool NoLabel = false;      ///< "#", "$", "!"
  bool NoSeparator = false;  ///< "~"
  bool Bold = false;         ///< "*"
  bool ReadOnly = false;     ///< "!", "^"
};
RowSigns ReadRowSigns(std::string_view memberName);

/// The rows of an object, scrolled where they don't fit. Built anew when the rows of the object change (sections, items).
class PanelWidget : public BaseWidget {
  REFLECTED(PanelWidget, BaseWidget)
 public:
  PanelWidget();
  /// Shows `object`, which outlives the panel or is taken away with null.
  explicit PanelWidget(BaseClass* object);
  void SetObject(BaseClass* object);
  BaseClass* Object() const { return m_Object; }
  /// The object whose members are shown: of a tool, what its GetPanelClass says.
  BaseClass* Shown() const;
  void Rebuild();
  void Process(double timeSec) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float NarrowestFor(Canvas& canvas) const override;

  /// After a change by the person has been written and the object was told (OnParametersChanged).
  std::function<void(const char* name)> Changed;

  /// What "@NaviControl@" places; empty: nothing.
  static std::function<BaseWidget*()> MakeNaviControl;

  /// Whether a member has a row: where the object is a tool, what its FilterParam says.
  bool Admits(const BaseClass& owner, const char* name) const;
  ScrollArea& Area() { return *m_Area; }
  /// Width of the labels of a row that is as wide; the same right edge for all rows, however deep.
  float LabelWidthIn(float rowWidth, Canvas& canvas) const;

 private:
  struct RowState;
  /// What must be the same for the rows that were built to be still right.
  struct RowsHash {
    size_t Shape = 1;      // names, types and where the values are
    size_t Addresses = 1;  // where the values are alone
  };
  static void HashRowsOf(BaseClass& owner, const PanelWidget& panel, int depth, RowsHash& hash);
  void Build();
  void Measure(float width, Canvas& canvas) const;
  RowsHash HashRows() const;

  BaseClass* m_Object = nullptr;
  BasicTool* m_Tool = nullptr;  // the object as a tool, where it is one
  ScrollArea* m_Area = nullptr;
  BaseWidget* m_Rows = nullptr;
  RowsHash m_Built;
  bool m_IsBuilt = false;
  mutable float m_LabelWidth = 0, m_ContentWidth = 0;
};

/// Builds the widget of one row of `owner` and appends it to `rows`. `row` as GetVisibleElementCount counts with options 7.
/// Null where the row is hidden.
BaseWidget* BuildRow(BaseWidget& rows, BaseClass& owner, int row, PanelWidget& panel, int depth = 0);
/// All rows of `owner`, with the fold-outs that "@MENU " and "@ENDMENU" enclose. `depth` counts the objects around it.
void BuildRows(BaseWidget& rows, BaseClass& owner, PanelWidget& panel, int depth = 0);
/// Objects nested deeper show no rows; a person could not read them.
constexpr int MaxPanelDepth = 16;
