// How the rows of an object become widgets.
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "comms/One2DCurve.h"
#include "comms/Str.h"
#include "interface/Button.h"
#include "interface/CurvesWindow.h"
#include "interface/FrameWidget.h"
#include "interface/Language.h"
#include "interface/Layout.h"
#include "interface/PanelRow.h"
#include "interface/TextMenu.h"
#include "interface/WidgetDraw.h"
#include "interface/WidgetsFolder.h"
#include "interface/cWidgets.h"

namespace {

constexpr std::string_view MenuWord = "@MENU ", EndMenuWord = "@ENDMENU", NaviWord = "@NaviControl@", CommandsWord = "Commands";

std::string_view TypeName(const RowPlace& place) { return place.Value.Type ? place.Value.Type->GetClassName() : ""; }

bool IsCaption(const RowPlace& place) {
  const std::string_view type = TypeName(place);
  return type == "Delimiter" || type == "_cSeparator" || type == "_cLabel";
}

bool IsCommandList(const RowPlace& place) {
  return place.Member && place.Signs.Bold && std::string_view(place.Signs.Name).ends_with(CommandsWord);
}

/// A caption of the rows below it, with room above.
class PanelCaption : public FrameWidget {
  REFLECTED(PanelCaption, FrameWidget)
 public:
  float Above(Canvas& canvas) const {
    const bool first = Owner && Owner->Children.Count && Owner->Children[0] == this;
    return Text.Empty() || first ? 0 : canvas.Px(Measures::Gap);
  }
  float HeightFor(float width, Canvas& canvas) const override { return FrameWidget::HeightFor(width, canvas) + Above(canvas); }
  void Draw(Canvas& canvas) override {
    const cRect whole = std::exchange(Rect, {Rect.X, Rect.Y + Above(canvas), Rect.W, Rect.H - Above(canvas)});
    FrameWidget::Draw(canvas);
    Rect = whole;
  }
};
DECLARE_MEMBERS(PanelCaption) {}

/// Compact rows side by side.
class CompactLine : public RowWidget {
  REFLECTED(CompactLine, RowWidget)
};
DECLARE_MEMBERS(CompactLine) {}

// The panel above a widget that was pressed; null where it has gone.
PanelWidget* PanelOf(BaseWidget* widget) {
  while (widget && !dynamic_cast<PanelWidget*>(widget)) widget = widget->Owner;
  return static_cast<PanelWidget*>(widget);
}

BaseWidget* BuildCaption(BaseWidget& rows, const RowPlace& place) {
  const std::string& name = place.Signs.Name;
  if (place.FullName.find(NaviWord) != std::string::npos) {
    if (!PanelWidget::MakeNaviControl) return nullptr;
    return rows.AddChild(PanelWidget::MakeNaviControl());
  }
  if (place.FullName.starts_with(EndMenuWord)) return nullptr;
  if (place.FullName.starts_with(MenuWord)) {
    auto* folder = rows.AddChild(new WidgetsFolder(place.FullName.substr(MenuWord.size()), false));
    folder->Style = TextStyle::Normal;
    return folder;
  }
  if (TypeName(place) == "_cLabel" || place.Signs.NoSeparator) {
    auto* text = rows.AddChild(new TextWidget(name));
    text->Style = place.Signs.Bold ? TextStyle::Bold : TextStyle::Normal;
    text->Wraps = true;
    return text;
  }
  auto* caption = rows.AddChild(new PanelCaption);
  caption->Text = name;
  caption->Style = place.Signs.Bold ? TextStyle::Bold : TextStyle::Small;
  return caption;
}

BaseWidget* BuildMethod(BaseWidget& rows, const RowPlace& place) {
  auto* button = rows.AddChild(new Button(place.Signs.Name));
  button->Style = place.Signs.Bold ? TextStyle::Bold : TextStyle::Normal;
  button->Enabled = !place.ReadOnly;
  button->Action = [button, place] {
    place.Value.Type->Call(place.Owner, place.Value.Data);
    const WidgetEvent event{WidgetEventKind::Click, nullptr, nullptr};
    if (button->Manager()) TellRowChange(*button, place, event, true);
  };
  return button;
}

// --- containers --------------------------------------------------------------------------------------------------------------

void Remove(BaseWidget* widget, const RowPlace& place) {
  PanelWidget* panel = PanelOf(widget);
  if (!place.Owner->RemoveElement(place.Element)) return;
  // The rows hold addresses of what is gone.
  if (panel) panel->Rebuild();
  const WidgetEvent event{WidgetEventKind::ChangeDone, nullptr, nullptr};
  if (panel) TellRowChange(*panel, place, event, true);
}

void Add(BaseWidget* widget, const RowPlace& place, const std::string& className) {
  PanelWidget* panel = PanelOf(widget);
  if (place.Owner->ExpandWith(className.c_str(), place.Owner) < 0) return;
  if (panel) panel->Rebuild();
  const WidgetEvent event{WidgetEventKind::ChangeDone, nullptr, nullptr};
  if (panel) TellRowChange(*panel, place, event, true);
}

void AddClassItems(TextMenu& menu, const AddableClasses& list, const char* category, BaseWidget* button, const RowPlace& place) {
  for (const char* name : list.Names) {
    const OneClassDesc* desc = FindClassDesc(name);
    const bool inside = desc && desc->Category && category && std::string_view(desc->Category) == category;
    if (category ? inside : (!desc || !desc->Category || !list.Categories.Count))
      menu.Add(name, [button, place, className = std::string(name)] { Add(button, place, className); });
  }
}

// One class that can be added is added at once; several are offered, by category where there are some.
void OfferClasses(BaseWidget* button, const RowPlace& place) {
  AddableClasses list;
  cWidgets* manager = button->Manager();
  if (!manager || !place.Owner->GetAddableClasses(list, place.Owner, nullptr)) return;
  if (list.Names.Count == 1) {
    Add(button, place, list.Names[0]);
    return;
  }
  TextMenu::Open(
      *manager, button->Rect,
      [&](TextMenu& menu) {
        for (const char* category : list.Categories)
          menu.AddSub(category, [button, place, category](TextMenu& sub) {
            AddableClasses again;
            place.Owner->GetAddableClasses(again, place.Owner, nullptr);
            AddClassItems(sub, again, category, button, place);
          });
        AddClassItems(menu, list, nullptr, button, place);
      },
      button);
}

BaseWidget* BuildAdd(BaseWidget& rows, const RowPlace& place) {
  auto* button = rows.AddChild(new Button("add...", "Plus"));
  button->Flat = true;
  button->Align = TextAlign::Left;
  button->Action = [button, place] { OfferClasses(button, place); };
  return button;
}

void AppendDelete(BaseWidget& rows, const RowPlace& place) {
  auto* button = rows.AddChild(new Button("::DeleteElm", "Delete"));
  button->Flat = true;
  button->Align = TextAlign::Left;
  button->Action = [button, place] { Remove(button, place); };
}

// --- objects inside objects --------------------------------------------------------------------------------------------------

std::string ItemTitle(const RowPlace& place) {
  auto* object = static_cast<BaseClass*>(place.Value.Data);
  const char* shown = object->GetDisplayName(object);
  if (shown && *shown) return shown;
  const std::string type = ::GetText(object->GetClassName());
  return place.Member ? type : type + " " + std::to_string(place.Element + 1);
}

BaseWidget* BuildCommandList(BaseWidget& rows, const RowPlace& place, const PanelWidget& panel) {
  auto* caption = rows.AddChild(new PanelCaption);
  caption->Text = place.Signs.Name;
  auto* column = rows.AddChild(new ColumnWidget);
  column->PassesMouse = true;
  BuildRows(*column, *static_cast<BaseClass*>(place.Value.Data), panel);
  for (BaseWidget* child : column->Children)
    if (auto* button = dynamic_cast<Button*>(child)) button->Align = TextAlign::Left;
  return column;
}

BaseWidget* BuildGroup(BaseWidget& rows, const RowPlace& place, const PanelWidget& panel) {
  auto* object = static_cast<BaseClass*>(place.Value.Data);
  const ::RowRect rect;
  if (object->BuildCustomRow(&rows, &rect)) return rows.Children.Count ? rows.Children[rows.Children.Count - 1] : nullptr;
  if (IsCommandList(place)) return BuildCommandList(rows, place, panel);
  BaseWidget* inside = &rows;
  if (!place.Signs.NoLabel || !place.Member) {
    auto* folder =
        rows.AddChild(new WidgetsFolder(place.Member ? place.Signs.Name : ItemTitle(place), place.Signs.Bold || !place.Member));
    folder->Literal = !place.Member;
    inside = folder;
  }
  const bool enabled = !place.ReadOnly;
  const int32_t first = inside->Children.Count;
  BuildRows(*inside, *object, panel);
  if (!place.Member && place.Owner->CanChangeElement(place.Element)) AppendDelete(*inside, place);
  for (int32_t i = first; i < inside->Children.Count; i++) inside->Children[i]->Enabled &= enabled;
  return inside == &rows ? (rows.Children.Count ? rows.Children[rows.Children.Count - 1] : nullptr) : inside;
}

// Compact rows have their name inside, or none.
BaseWidget* BuildCompact(BaseWidget& rows, const RowPlace& place, BaseWidget* control) {
  BaseWidget* last = rows.Children.Count ? rows.Children[rows.Children.Count - 1] : nullptr;
  auto* line = dynamic_cast<CompactLine*>(last);
  if (!line) {
    line = rows.AddChild(new CompactLine);
    line->PassesMouse = true;
  }
  RowPlace bare = place;
  bare.Signs.NoLabel = true;
  return line->AddWeighted(new PanelRow(bare, control), 1);
}

}  // namespace

bool IsGroupRow(const RowPlace& place) {
  if (!place.Value.Type || !place.Value.Data || place.Element < 0) return false;
  const std::string_view type = TypeName(place);
  if (type == "_str" || type == "_WinFont" || type == "One2DCurve" || type == "ClassArray.One2DCurve" || type == "ObjBrowser")
    return false;
  return place.Value.Type->IsReflected();
}

bool FindRowPlace(BaseClass& owner, int row, const PanelWidget& panel, RowPlace& place) {
  constexpr int options = PanelRowOptions;
  place.Owner = &owner;
  place.Row = row;
  place.Element = owner.VisibleToRealIndex(row, &owner, options);
  const char* name = owner.GetVisibleElementName(row, &owner, options);
  if (!name) return false;
  place.FullName = name;
  if (place.Element < 0) return true;
  if (owner.IsElementHiddenInPanel(row, &owner, options)) return false;
  place.Member = owner.FindElementMember(place.Element);
  if (place.Member && !panel.Admits(owner, name)) return false;
  place.Value.Type = owner.GetVisibleElementType(row, &owner, options);
  place.Value.Data = owner.GetVisibleElementData(row, &owner, options);
  place.Value.Extra = owner.GetVisibleElementExtra(row, &owner, options);
  if (!place.Value.Type || (!place.Value.Data && place.Value.Type->IsReflected())) return false;
  place.Signs = ReadRowSigns(place.FullName);
  place.ReadOnly = place.Signs.ReadOnly || owner.IsElementReadOnly(row, &owner, options);
  return true;
}

BaseWidget* BuildRow(BaseWidget& rows, BaseClass& owner, int row, const PanelWidget& panel) {
  RowPlace place;
  if (!FindRowPlace(owner, row, panel, place)) return nullptr;
  if (place.Element < 0) return BuildAdd(rows, place);
  if (IsCaption(place)) return BuildCaption(rows, place);
  BaseWidget* built = nullptr;
  if (place.Value.Type->IsMethod()) {
    if (place.Signs.Compact) {
      ColumnWidget holder;
      BuildMethod(holder, place);
      BaseWidget* button = holder.Children.Release(0);
      button->Owner = nullptr;
      return BuildCompact(rows, place, button);
    }
    built = BuildMethod(rows, place);
  } else if (TypeName(place) == "ClassArray.One2DCurve") {
    auto* curves = dynamic_cast<ClassArray<comms::One2DCurve>*>(static_cast<BaseClass*>(place.Value.Data));
    for (int32_t i = 0; curves && i < curves->Count; i++) {
      RowPlace curve = place;
      curve.Signs.NoLabel |= i > 0;
      built = rows.AddChild(new PanelRow(curve, new CurvesWindow(curves->Data[i])));
    }
  } else if (IsGroupRow(place)) {
    return BuildGroup(rows, place, panel);
  } else if (BaseWidget* control = MakeRowControl(place)) {
    if (place.Signs.Compact) return BuildCompact(rows, place, control);
    built = rows.AddChild(new PanelRow(place, control));
  }
  if (built) built->HintKey = built->HintKey.empty() ? place.Signs.Name : built->HintKey;
  return built;
}

void BuildRows(BaseWidget& rows, BaseClass& owner, const PanelWidget& panel) {
  std::vector<BaseWidget*> open{&rows};
  const int32_t count = owner.GetVisibleElementCount(&owner, PanelRowOptions);
  for (int32_t row = 0; row < count; row++) {
    const char* name = owner.GetVisibleElementName(row, &owner, PanelRowOptions);
    BaseWidget* built = BuildRow(*open.back(), owner, row, panel);
    if (!name) continue;
    if (built && std::string_view(name).starts_with(MenuWord)) open.push_back(built);
    if (std::string_view(name).starts_with(EndMenuWord) && open.size() > 1) open.pop_back();
  }
}
