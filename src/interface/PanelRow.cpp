#include "interface/PanelRow.h"

#include <algorithm>
#include <cmath>

#include "interface/CheckBox.h"
#include "interface/CurvesWindow.h"
#include "interface/Language.h"
#include "interface/ObjBrowser.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"

DECLARE_MEMBERS(PanelRow) {}

PanelRow::PanelRow(const RowPlace& place, BaseWidget* control) : m_Place(place), m_Control(AddChild(control)) {
  if (!m_Control->Callback) m_Control->Callback = std::make_unique<wpcallback<PanelRow>>(this, &PanelRow::OnControl);
  m_Told = Told();
}

static PanelWidget* FindPanel(BaseWidget* widget) {
  while (widget && !dynamic_cast<PanelWidget*>(widget)) widget = widget->Owner;
  return static_cast<PanelWidget*>(widget);
}

const PanelWidget* PanelRow::Panel() const { return FindPanel(Owner); }

bool PanelRow::HasLabel() const { return !m_Place.Signs.NoLabel && !m_Place.Signs.Name.empty(); }

std::string PanelRow::GetText() const {
  if (!HasLabel()) return {};
  return m_Place.Member ? ::GetText(m_Place.Signs.Name) : m_Place.Signs.Name;
}

// Where the label is cut, the hint has all of it.
std::string PanelRow::GetHintText(float, float) const {
  std::string hint = GetRowHint(m_Place);
  const cWidgets* manager = Manager();
  if (!manager || !HasLabel() || IsBelow()) return hint;
  Canvas& canvas = manager->GetCanvas();
  const float width = LabelWidth(Rect.W, canvas);
  if (LabelTextWidth(canvas) > width && LabelHeight(width, canvas) <= 0) hint = GetText() + (hint.empty() ? "" : "\n" + hint);
  return hint;
}

// Curves and the like stand below their label, as wide as the panel.
bool PanelRow::IsBelow() const {
  return dynamic_cast<const CurvesWindow*>(m_Control) || dynamic_cast<const ObjBrowser*>(m_Control);
}

std::string PanelRow::Told() const { return IsBelow() ? std::string() : m_Place.Value.GetText(); }

float PanelRow::LabelTextWidth(Canvas& canvas) const {
  if (!HasLabel() || IsBelow()) return 0;
  return canvas.TextWidth(GetText(), m_Place.Signs.Bold ? TextStyle::Bold : TextStyle::Normal) + 1;
}

float PanelRow::LabelWidth(float width, Canvas& canvas) const {
  const PanelWidget* panel = Panel();
  return panel ? panel->LabelWidthIn(width, canvas) : std::floor(width * 0.4f);
}

// A label that is wider than its column breaks into lines; one with a word that is too long for it is cut.
float PanelRow::LabelHeight(float width, Canvas& canvas) const {
  if (!HasLabel() || LabelTextWidth(canvas) <= width) return 0;
  const TextStyle style = m_Place.Signs.Bold ? TextStyle::Bold : TextStyle::Normal;
  const std::string label = GetText();
  for (size_t from = 0; from < label.size();) {
    const size_t end = std::min(label.find(' ', from), label.size());
    if (canvas.TextWidth(std::string_view(label).substr(from, end - from), style) > width) return 0;
    from = end + 1;
  }
  return canvas.ParagraphHeight(width, label, style) + canvas.Px(2);
}

float PanelRow::ControlHeight(float width, Canvas& canvas) const {
  if (m_Place.Signs.Height > 0) return canvas.Px(m_Place.Signs.Height);
  return std::round(m_Control->HeightFor(width, canvas) * m_Place.Signs.Scale);
}

float PanelRow::HeightFor(float width, Canvas& canvas) const {
  if (!HasLabel()) return ControlHeight(width, canvas);
  if (IsBelow()) return RowHeight(canvas) + ControlHeight(width, canvas);
  const float label = LabelWidth(width, canvas);
  return std::max(LabelHeight(label, canvas), ControlHeight(std::max(0.0f, width - label - canvas.Px(Measures::Gap)), canvas));
}

void PanelRow::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  cRect box = rect;
  if (HasLabel() && IsBelow()) {
    box.Y += RowHeight(canvas);
    box.H = std::max(0.0f, box.H - RowHeight(canvas));
  } else if (HasLabel()) {
    const float label = LabelWidth(rect.W, canvas) + canvas.Px(Measures::Gap);
    box.X += label;
    box.W = std::max(0.0f, box.W - label);
    box.H = std::min(box.H, ControlHeight(box.W, canvas));
    box.Y += std::floor((rect.H - box.H) / 2);
    if (dynamic_cast<const IconToggle*>(m_Control)) box.W = std::min(box.W, m_Control->WidthFor(canvas));
  }
  m_Control->Arrange(box, canvas);
}

void PanelRow::Draw(Canvas& canvas) {
  if (!HasLabel()) return;
  const Theme& theme = GetTheme();
  const TextStyle style = m_Place.Signs.Bold ? TextStyle::Bold : TextStyle::Normal;
  const uint32_t color = IsEnabled() ? theme.TextDim : theme.TextDisabled;
  if (IsBelow()) {
    canvas.Text({Rect.X, Rect.Y, Rect.W, RowHeight(canvas)}, GetText(), color, style);
    return;
  }
  const float width = LabelWidth(Rect.W, canvas), height = LabelHeight(width, canvas);
  if (height > 0)
    canvas.Paragraph({Rect.X, Rect.Y + std::floor((Rect.H - height) / 2) + canvas.Px(1), width, height}, GetText(), color, style);
  else
    canvas.Text({Rect.X, Rect.Y, width, Rect.H}, GetText(), color, style);
}

// A press on the label of a truth value is one on its box.
bool PanelRow::OnMouse(const InputEvent& event) {
  if (event.Kind == InputKind::ButtonDown) {
    const std::string_view type = m_Place.Value.Type ? m_Place.Value.Type->GetClassName() : "";
    return event.Button == MouseButton::Left && (type == "_bool" || type == "_cBool") && !m_Place.ReadOnly;
  }
  if (!IsCaptured()) return false;
  if (event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left && Rect.Contains(event.X, event.Y))
    if (m_Place.Value.SetBool(!m_Place.Value.GetBool())) m_Control->Tell(WidgetEventKind::ChangeDone, &event);
  return true;
}

// A drag tells every step and then its end; the object hears of each value once.
bool PanelRow::OnControl(BaseWidget*, const WidgetEvent& event) {
  if (event.Kind != WidgetEventKind::Change && event.Kind != WidgetEventKind::ChangeDone) return false;
  const std::string value = Told();
  const bool changed = IsBelow() || value != m_Told;
  m_Told = value;
  TellRowChange(*this, m_Place, event, changed);
  return true;
}

std::string GetRowHint(const RowPlace& place) {
  std::string hint = ::GetHintText(place.Signs.HintKey.substr(0, place.Signs.HintKey.size() - 5));
  if (hint.empty() && !place.Signs.Name.empty()) hint = ::GetHintText(place.Signs.Name);
  if (hint.empty() && place.Member) hint = place.Member->Help.Hint;
  return hint;
}

void TellRowChange(BaseWidget& at, const RowPlace& place, const WidgetEvent& event, bool changed) {
  PanelWidget* panel = FindPanel(&at);
  const std::string name = place.FullName;  // the row may go while it tells
  if (changed) {
    // Who holds a container hears of its items.
    BaseClass* owner = place.Owner;
    if (!place.Member && owner->GetParent()) owner = owner->GetParent();
    owner->OnParametersChanged(place.Value.Data, nullptr, nullptr, nullptr);
    if (panel && panel->Changed) panel->Changed(name.c_str());
  }
  if (panel) panel->Tell(event.Kind, event.Input);
}
