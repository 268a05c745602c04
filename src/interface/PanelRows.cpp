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

std::string_view TypeName(const RowSource& row) { return row.Value.Type ? row.Value.Type->GetClassName() : ""; }

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

/// Compact rows side by side, or below one another where the panel is too narrow for that.
class CompactLine : public RowWidget {
  REFLECTED(CompactLine, RowWidget)
 public:
  void Arrange(const cRect& rect, Canvas& canvas) override {
    if (Fits(rect.W, canvas)) return RowWidget::Arrange(rect, canvas);
    Rect = rect;
    ArrangeStack(*this, rect, canvas);
  }
  float HeightFor(float width, Canvas& canvas) const override {
    return Fits(width, canvas) ? RowWidget::HeightFor(width, canvas) : StackHeight(*this, width, canvas);
  }

 private:
  // All get the same part.
  bool Fits(float width, Canvas& canvas) const {
    float widest = 0;
    for (const BaseWidget* child : Children) widest = std::max({widest, child->WidthFor(canvas), child->NarrowestFor(canvas)});
    return float(Children.Count) * (widest + canvas.Px(Measures::Gap)) <= width + canvas.Px(Measures::Gap);
  }
};
DECLARE_MEMBERS(CompactLine) {}

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
    if (button->Manager()) TellRowChange(place, event, true);
  };
  return button;
}

// --- containers --------------------------------------------------------------------------------------------------------------

// The rows hold addresses of what was there before.
void TellOfItems(const RowPlace& place) {
  const RowPlace changed = place;  // the row that asked goes
  changed.Panel->Rebuild();
  TellRowChange(changed, {WidgetEventKind::ChangeDone, nullptr, nullptr}, true);
}

void Remove(const RowPlace& place) {
  if (place.Owner->RemoveElement(place.Element)) TellOfItems(place);
}

void Add(const RowPlace& place, const std::string& className) {
  if (place.Owner->ExpandWith(className.c_str(), place.Owner) >= 0) TellOfItems(place);
}

void AddClassItems(TextMenu& menu, const AddableClasses& list, const char* category, const RowPlace& place) {
  for (const char* name : list.Names) {
    const OneClassDesc* desc = FindClassDesc(name);
    const bool inside = desc && desc->Category && category && std::string_view(desc->Category) == category;
    if (category ? inside : (!desc || !desc->Category || !list.Categories.Count))
      menu.Add(name, [place, className = std::string(name)] { Add(place, className); });
  }
}

// One class that can be added is added at once; several are offered, by category where there are some.
void OfferClasses(BaseWidget* button, const RowPlace& place) {
  AddableClasses list;
  cWidgets* manager = button->Manager();
  if (!manager || !place.Owner->GetAddableClasses(list, place.Owner, nullptr)) return;
  if (list.Names.Count == 1) {
    Add(place, list.Names[0]);
    return;
  }
  TextMenu::Open(
      *manager, button->Rect,
      [&](TextMenu& menu) {
        for (const char* category : list.Categories)
          menu.AddSub(category, [place, category](TextMenu& sub) {
            AddableClasses again;
            place.Owner->GetAddableClasses(again, place.Owner, nullptr);
            AddClassItems(sub, again, category, place);
          });
        AddClassItems(menu, list, nullptr, place);
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
  button->Action = [place] { Remove(place); };
}

// --- objects inside objects --------------------------------------------------------------------------------------------------

std::string ItemTitle(const RowPlace& place) {
  auto* object = static_cast<BaseClass*>(place.Value.Data);
  const char* shown = object->GetDisplayName(object);
  if (shown && *shown) return shown;
  const std::string type = ::GetText(object->GetClassName());
  return place.Member ? type : type + " " + std::to_string(place.Element + 1);
}

/// An item of a container as the row of a tree. Its object may draw the row, take its clicks, keep its fold in a member of its
/// own and be dragged onto other items.
class ItemFolder : public WidgetsFolder {
  REFLECTED(ItemFolder, WidgetsFolder)
 public:
  ItemFolder() = default;
  ItemFolder(BaseClass& object, std::string_view title) : ItemFolder(object, title, FindState(object)) {}
  void Draw(Canvas& canvas) override {
    const ::RowRect row{Header(canvas)};
    if (!m_Object || !m_Object->OnRowDraw(this, &row)) WidgetsFolder::Draw(canvas);
  }
  void Process(double) override {
    if (m_State.IsBound()) SetOpen(m_State.GetBool());
  }
  // What can be dragged folds at the release: the press may begin a drag.
  bool OnMouse(const InputEvent& event) override {
    cWidgets* manager = Manager();
    if (!m_Object) return WidgetsFolder::OnMouse(event);
    const bool isLeft = event.Button == MouseButton::Left;
    if (manager && event.Kind == InputKind::ButtonDown && isLeft && Header(manager->GetCanvas()).Contains(event.X, event.Y)) {
      const WidgetEvent click{WidgetEventKind::Click, &event, nullptr};
      m_Takes = m_Object->OnRowClick(this, &click);
      if (!m_Takes && !m_Object->CanDragRow()) return WidgetsFolder::OnMouse(event);
      m_Pressed = true;
      m_X = event.X;
      m_Y = event.Y;
      return true;
    }
    if (!manager || !m_Pressed || !IsCaptured()) return WidgetsFolder::OnMouse(event);
    const float away = manager->GetCanvas().Px(6);
    if (event.Kind == InputKind::PointerMove && m_Object->CanDragRow() &&
        std::max(std::fabs(event.X - m_X), std::fabs(event.Y - m_Y)) >= away) {
      m_Pressed = false;
      manager->BeginDrag(m_Object, GetText(), this);
    } else if (event.Kind == InputKind::ButtonUp && isLeft) {
      m_Pressed = false;
      if (!m_Takes && Header(manager->GetCanvas()).Contains(event.X, event.Y)) SetOpen(!IsOpen(), &event);
    }
    return true;
  }
  bool AcceptsDrag(const BaseClass* object, const BaseWidget* source) const override {
    return m_Object && object != m_Object && dynamic_cast<const ItemFolder*>(source);
  }
  void OnEvent(const WidgetEvent& event) override {
    if (event.Kind == WidgetEventKind::Change && m_State.IsBound()) m_State.SetBool(IsOpen());
    if (!m_Object) return;
    if (event.Kind == WidgetEventKind::DragOver) m_Object->OnRowDrag(this, &event);
    if (event.Kind == WidgetEventKind::Drop) m_Object->OnRowDrop(this, &event);
  }

 private:
  ItemFolder(BaseClass& object, std::string_view title, const ValueBinding& state)
      : WidgetsFolder(title, !state.IsBound() || state.GetBool()), m_Object(&object), m_State(state) {
    Literal = true;
  }
  static ValueBinding FindState(BaseClass& object) {
    for (int32_t i = 0; i < object.GetElementCount(); i++)
      if (const char* name = object.GetElementName(i); name && object.IsRowStateMember(name))
        return {object.GetElementType(i), object.GetElementData(i, &object), object.GetElementExtra(i)};
    return {};
  }
  BaseClass* m_Object = nullptr;
  ValueBinding m_State;  // where the object keeps whether it is open
  bool m_Pressed = false, m_Takes = false;
  float m_X = 0, m_Y = 0;
};
DECLARE_MEMBERS(ItemFolder) {}

// A line between rows of one group and of the next; a row's hint key is its name with the group.
void SeparateGroups(BaseWidget& rows) {
  int group = -1;
  for (int32_t i = 0; i < rows.Children.Count; i++) {
    const int next = GetTextGroup(rows.Children[i]->HintKey);
    if (group >= 0 && next != group) {
      auto line = std::make_unique<FrameWidget>();
      line->Owner = &rows;
      rows.Children.InsertAt(i++, line.release());
    }
    group = next;
  }
}

BaseWidget* BuildCommandList(BaseWidget& rows, const RowPlace& place, int depth) {
  auto* caption = rows.AddChild(new PanelCaption);
  caption->Text = place.Signs.Name;
  auto* column = rows.AddChild(new ColumnWidget);
  column->PassesMouse = true;
  BuildRows(*column, *static_cast<BaseClass*>(place.Value.Data), *place.Panel, depth + 1);
  for (BaseWidget* child : column->Children)
    if (auto* button = dynamic_cast<Button*>(child)) button->Align = TextAlign::Left;
  SeparateGroups(*column);
  return column;
}

BaseWidget* BuildGroup(BaseWidget& rows, const RowPlace& place, int depth) {
  auto* object = static_cast<BaseClass*>(place.Value.Data);
  const ::RowRect rect;
  if (object->BuildCustomRow(&rows, &rect)) return rows.Children.Count ? rows.Children[rows.Children.Count - 1] : nullptr;
  if (IsCommandList(place)) return BuildCommandList(rows, place, depth);
  BaseWidget* inside = &rows;
  if (!place.Signs.NoLabel || !place.Member) {
    WidgetsFolder* folder = nullptr;
    if (place.Member)
      folder = new WidgetsFolder(place.Signs.Name, place.Signs.Bold);
    else
      folder = new ItemFolder(*object, ItemTitle(place));
    inside = rows.AddChild(folder);
  }
  const bool enabled = !place.ReadOnly;
  const int32_t first = inside->Children.Count;
  BuildRows(*inside, *object, *place.Panel, depth + 1);
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

bool IsGroupRow(const RowSource& source) {
  if (!source.Value.Type || !source.Value.Data || source.Element < 0) return false;
  const std::string_view type = TypeName(source);
  if (type == "_str" || type == "_WinFont" || type == "One2DCurve" || type == "ClassArray.One2DCurve" || type == "ObjBrowser" ||
      type == "FolderRoot")
    return false;
  return source.Value.Type->IsReflected();
}

bool FindRow(BaseClass& owner, int row, const PanelWidget& panel, RowSource& source) {
  constexpr int options = PanelRowOptions;
  source.Owner = &owner;
  source.Element = owner.VisibleToRealIndex(row, &owner, options);
  source.Name = owner.GetVisibleElementName(row, &owner, options);
  if (!source.Name) return false;
  if (source.Element < 0) return true;
  if (owner.IsElementHiddenInPanel(row, &owner, options)) return false;
  source.Member = owner.FindElementMember(source.Element);
  if (source.Member && (owner.IsRowStateMember(source.Name) || !panel.Admits(owner, source.Name))) return false;
  source.Value.Type = owner.GetVisibleElementType(row, &owner, options);
  source.Value.Data = owner.GetVisibleElementData(row, &owner, options);
  source.Value.Extra = owner.GetVisibleElementExtra(row, &owner, options);
  return source.Value.Type && (source.Value.Data || !source.Value.Type->IsReflected());
}

BaseWidget* BuildRow(BaseWidget& rows, BaseClass& owner, int row, PanelWidget& panel, int depth) {
  RowPlace place;
  if (!FindRow(owner, row, panel, place)) return nullptr;
  place.Panel = &panel;
  place.FullName = place.Name;
  if (place.Element >= 0) place.Signs = ReadRowSigns(place.FullName);
  place.ReadOnly = place.Signs.ReadOnly || owner.IsElementReadOnly(row, &owner, PanelRowOptions);
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
    return BuildGroup(rows, place, depth);
  } else if (BaseWidget* control = MakeRowControl(place)) {
    if (place.Signs.Compact) return BuildCompact(rows, place, control);
    built = rows.AddChild(new PanelRow(place, control));
  }
  if (built) built->HintKey = built->HintKey.empty() ? place.Signs.Name : built->HintKey;
  return built;
}

void BuildRows(BaseWidget& rows, BaseClass& owner, PanelWidget& panel, int depth) {
  if (depth > MaxPanelDepth) return;
  std::vector<BaseWidget*> open{&rows};
  const int32_t count = owner.GetVisibleElementCount(&owner, PanelRowOptions);
  for (int32_t row = 0; row < count; row++) {
    const char* name = owner.GetVisibleElementName(row, &owner, PanelRowOptions);
    BaseWidget* built = BuildRow(*open.back(), owner, row, panel, depth);
    if (!name) continue;
    if (built && std::string_view(name).starts_with(MenuWord)) open.push_back(built);
    if (std::string_view(name).starts_with(EndMenuWord) && open.size() > 1) open.pop_back();
  }
}
