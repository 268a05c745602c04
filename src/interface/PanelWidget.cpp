#include "interface/PanelWidget.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "comms/Str.h"
#include "interface/PanelRow.h"
#include "interface/ScrollArea.h"
#include "interface/WidgetDraw.h"
#include "interface/WidgetsFolder.h"
#include "interface/cWidgets.h"

DECLARE_MEMBERS(PanelWidget) {}

std::function<BaseWidget*()> PanelWidget::MakeNaviControl;

// --- signs -----------------------------------------------------------------------------------------------------------------

static float ReadFloat(std::string_view text, float otherwise, float least, float most) {
  float value = otherwise;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return std::isfinite(value) && value > 0 ? std::clamp(value, least, most) : otherwise;
}

RowSigns ReadRowSigns(std::string_view memberName) {
  RowSigns signs;
  std::string name(memberName);
  if (const size_t at = name.find("[scale="); at != std::string::npos) {
    const size_t end = name.find(']', at);
    if (end != std::string::npos) {
      signs.Scale = ReadFloat(std::string_view(name).substr(at + 7, end - at - 7), 1, 0.25f, 16);
      name.erase(at, end + 1 - at);
    }
  }
  if (name.starts_with('`')) {
    const size_t end = name.find('`', 1);
    if (end != std::string::npos) {
      signs.Height = ReadFloat(std::string_view(name).substr(1, end - 1), 0, 1, 2000);
      name.erase(0, end + 1);
    }
  }
  if (name.starts_with('%')) {
    signs.Compact = true;
    name.erase(0, 1);
  }
  signs.HintKey = name + "_HINT";
  while (!name.empty()) {
    const char sign = name[0];
    if (sign == '$' || sign == '!') {
      signs.NoLabel = true;
      signs.ReadOnly |= sign == '!';
      name.clear();
      break;
    }
    if (sign == '#')
      signs.NoLabel = true;
    else if (sign == '~')
      signs.NoSeparator = true;
    else if (sign == '*')
      signs.Bold = true;
    else if (sign == '^')
      signs.ReadOnly = true;
    else
      break;
    name.erase(0, 1);
  }
  signs.Name = name.substr(0, name.find("|*"));  // what follows is a filter of files
  return signs;
}

// --- the panel ---------------------------------------------------------------------------------------------------------------

PanelWidget::PanelWidget() {
  m_Area = AddChild(new ScrollArea);
  m_Area->Padding = Measures::Padding;
  m_Rows = &m_Area->Content();
}

PanelWidget::PanelWidget(BaseClass* object) : PanelWidget() { SetObject(object); }

void PanelWidget::SetObject(BaseClass* object) {
  if (object == m_Object) return;
  m_Object = object;
  m_Tool = dynamic_cast<BasicTool*>(object);
  m_Rows->RemoveChildren();
  m_IsBuilt = false;
  m_Area->Scroller().SetPosition(0);
}

BaseClass* PanelWidget::Shown() const {
  BaseClass* panel = m_Tool ? m_Tool->GetPanelClass() : nullptr;
  return panel ? panel : m_Object;
}

bool PanelWidget::Admits(const BaseClass& owner, const char* name) const {
  return !m_Tool || &owner != Shown() || m_Tool->FilterParam(name);
}

void PanelWidget::HashRowsOf(BaseClass& owner, const PanelWidget& panel, int depth, RowsHash& hash) {
  const auto mix = [](size_t& sum, size_t value) { sum ^= value + 0x9E3779B97F4A7C15u + (sum << 6) + (sum >> 2); };
  const int32_t count = owner.GetVisibleElementCount(&owner, PanelRowOptions);
  for (int32_t row = 0; row < count; row++) {
    RowSource source;
    if (!FindRow(owner, row, panel, source)) continue;
    mix(hash.Addresses, size_t(row));
    mix(hash.Addresses, reinterpret_cast<size_t>(source.Value.Data));
    mix(hash.Shape, std::hash<std::string_view>()(source.Name));
    mix(hash.Shape, reinterpret_cast<size_t>(source.Value.Type));
    if (IsGroupRow(source) && depth < MaxPanelDepth)
      HashRowsOf(*static_cast<BaseClass*>(source.Value.Data), panel, depth + 1, hash);
  }
  mix(hash.Addresses, size_t(count));
  mix(hash.Shape, hash.Addresses);
}

PanelWidget::RowsHash PanelWidget::HashRows() const {
  RowsHash hash;
  if (BaseClass* shown = Shown()) HashRowsOf(*shown, *this, 0, hash);
  return hash;
}

void PanelWidget::Build() {
  BaseClass* shown = Shown();
  if (!shown) return;
  BuildRows(*m_Rows, *shown, *this);
  if (m_Tool) m_Tool->BuildExtraPanel(m_Rows);
}

/// What a person did to the rows, by their names from the outside in.
struct PanelWidget::RowState {
  std::map<std::string, bool> Open;
  std::string Focused;

  static void ForEach(BaseWidget& rows, const std::string& path,
                      const std::function<void(BaseWidget&, const std::string&)>& visit) {
    std::map<std::string, int> seen;
    for (int32_t i = 0; i < rows.Children.Count; i++) {
      BaseWidget& child = *rows.Children[i];
      const auto* row = dynamic_cast<PanelRow*>(&child);
      std::string name = row ? row->Place().FullName : child.GetText();
      const int number = seen[name]++;
      name.insert(0, path + "/").append("#").append(std::to_string(number));
      visit(child, name);
      if (!row) ForEach(child, name, visit);
    }
  }
};

static BaseWidget* FirstFocusable(BaseWidget& widget) {
  if (widget.TakesFocus()) return &widget;
  for (BaseWidget* child : widget.Children)
    if (BaseWidget* found = FirstFocusable(*child)) return found;
  return nullptr;
}

// The rows that were here are gone when this returns: nothing of them is drawn or gets input any more. Folds, scroll position
// and focus go over to the new ones by name.
void PanelWidget::Rebuild() {
  cWidgets* manager = Manager();
  RowState state;
  RowState::ForEach(*m_Rows, "", [&](BaseWidget& widget, const std::string& path) {
    if (const auto* folder = dynamic_cast<WidgetsFolder*>(&widget)) state.Open[path] = folder->IsOpen();
    if (manager && manager->Focused() && widget.Holds(manager->Focused())) state.Focused = path;
  });
  m_Rows->RemoveChildren();
  Build();
  m_Built = HashRows();
  m_IsBuilt = true;
  RowState::ForEach(*m_Rows, "", [&](BaseWidget& widget, const std::string& path) {
    const auto open = state.Open.find(path);
    if (auto* folder = dynamic_cast<WidgetsFolder*>(&widget); folder && open != state.Open.end()) folder->SetOpen(open->second);
    if (manager && !state.Focused.empty() && path == state.Focused) manager->Focus(FirstFocusable(widget));
  });
  if (manager) manager->RequestArrange();
}

// A drag goes on over rows that came or went, as long as no value has gone from its place.
void PanelWidget::Process(double) {
  if (!m_Object) return;
  const RowsHash hash = HashRows();
  if (m_IsBuilt && hash.Shape == m_Built.Shape) return;
  const cWidgets* manager = Manager();
  const bool dragging = manager && manager->Captured() && Holds(manager->Captured());
  if (m_IsBuilt && dragging && hash.Addresses == m_Built.Addresses) return;
  Rebuild();
}

static void FindWidestLabel(const BaseWidget& rows, Canvas& canvas, float indent, float& widest) {
  for (const BaseWidget* child : rows.Children) {
    if (const auto* row = dynamic_cast<const PanelRow*>(child))
      widest = std::max(widest, indent + row->LabelTextWidth(canvas));
    else if (child->ShowsChildren())
      FindWidestLabel(*child, canvas, indent + (dynamic_cast<const WidgetsFolder*>(child) ? canvas.Px(Measures::Indent) : 0),
                      widest);
  }
}

// As wide as the widest label asks for, but never so that the controls get less than half.
void PanelWidget::Measure(float width, Canvas& canvas) const {
  m_ContentWidth = std::max(0.0f, width - 2 * canvas.Px(Measures::Padding));
  float widest = 0;
  FindWidestLabel(*m_Rows, canvas, 0, widest);
  m_LabelWidth = std::floor(std::clamp(widest, m_ContentWidth * 0.3f, m_ContentWidth * 0.46f));
}

float PanelWidget::LabelWidthIn(float rowWidth, Canvas& canvas) const {
  return std::max(canvas.Px(24), m_LabelWidth - std::max(0.0f, m_ContentWidth - rowWidth));
}

void PanelWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  if (!m_IsBuilt && m_Object) Rebuild();
  Measure(rect.W, canvas);
  m_Area->Arrange(rect, canvas);
}

float PanelWidget::HeightFor(float width, Canvas& canvas) const {
  Measure(width, canvas);
  return m_Area->HeightFor(width, canvas);
}

float PanelWidget::NarrowestFor(Canvas& canvas) const { return m_Area->NarrowestFor(canvas); }
