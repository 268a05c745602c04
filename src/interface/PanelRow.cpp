#include "interface/PanelRow.h"

#include <algorithm>
#include <cmath>

#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"

DECLARE_MEMBERS(PanelRow) {}

PanelRow::PanelRow(const RowPlace& place, BaseWidget* control) : m_Place(place), m_Control(AddChild(control)) {
  if (!m_Control->Callback) m_Control->Callback = std::make_unique<wpcallback<PanelRow>>(this, &PanelRow::OnControl);
  m_Told = Told();
}

// The key of a member whose text differs from that of others of its name.
static std::string GetOwnKey(const RowPlace& place) { return std::string(place.Member->OwnerClass) + "." + place.Signs.Name; }

std::string PanelRow::GetText() const {
  if (!HasLabel()) return {};
  if (!m_Place.Member) return m_Place.Signs.Name;
  const std::string key = GetOwnKey(m_Place);
  return ::GetText(HasText(key) ? key : m_Place.Signs.Name);
}

std::string PanelRow::GetHintText(float, float) const { return GetRowHint(m_Place); }

std::string PanelRow::Told() const { return IsBelow() ? std::string() : m_Place.Value.GetText(); }

// --- place -------------------------------------------------------------------------------------------------------------------

float PanelRow::LabelTextWidth(Canvas& canvas) const {
  return HasLabel() && !IsBelow() ? canvas.TextWidth(GetText(), LabelStyle()) + 1 : 0;
}

// With the label above.
float PanelRow::NarrowestFor(Canvas& canvas) const {
  const float word = HasLabel() ? FindWidestWord(GetText(), LabelStyle(), canvas) + 1 : 0;
  return std::max(word, m_Control->NarrowestFor(canvas));
}

// The label stands above where one of its words or the control needs more than its part of the row; in either place it breaks
// into lines. Curves and the like always stand below their label, as wide as the panel.
PanelRow::Plan PanelRow::MakePlan(float width, Canvas& canvas) const {
  Plan plan;
  plan.ControlWidth = width;
  if (HasLabel()) {
    const std::string label = GetText();
    const float column = m_Place.Panel->LabelWidthIn(width, canvas);
    const float rest = std::max(0.0f, width - column - canvas.Px(Measures::Gap));
    plan.Stacked = IsBelow() || FindWidestWord(label, LabelStyle(), canvas) > column || m_Control->NarrowestFor(canvas) > rest;
    plan.LabelWidth = plan.Stacked ? width : column;
    plan.LabelHeight = RowHeight(canvas);
    if (canvas.TextWidth(label, LabelStyle()) > plan.LabelWidth)
      plan.LabelHeight =
          std::max(plan.LabelHeight, canvas.ParagraphHeight(plan.LabelWidth, label, LabelStyle(), LongWords::Cut) + canvas.Px(2));
    if (!plan.Stacked) plan.ControlWidth = rest;
  }
  plan.ControlHeight = m_Place.Signs.Height > 0
                           ? canvas.Px(m_Place.Signs.Height)
                           : std::round(m_Control->HeightFor(plan.ControlWidth, canvas) * m_Place.Signs.Scale);
  return plan;
}

float PanelRow::HeightFor(float width, Canvas& canvas) const {
  const Plan plan = MakePlan(width, canvas);
  return plan.Stacked ? plan.LabelHeight + plan.ControlHeight : std::max(plan.LabelHeight, plan.ControlHeight);
}

void PanelRow::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const Plan plan = MakePlan(rect.W, canvas);
  m_Label = GetText();
  m_Wraps = canvas.TextWidth(m_Label, LabelStyle()) > plan.LabelWidth;
  m_LabelRect = {rect.X, rect.Y, plan.LabelWidth, plan.Stacked ? plan.LabelHeight : rect.H};
  if (m_Wraps && !plan.Stacked) m_LabelRect.Y += std::floor((rect.H - plan.LabelHeight) / 2);
  cRect box = rect;
  if (plan.Stacked) {
    box.Y += plan.LabelHeight;
    box.H = std::max(0.0f, rect.H - plan.LabelHeight);
  } else if (HasLabel()) {
    const float own = m_Control->WidthFor(canvas);
    box.X = rect.Right() - plan.ControlWidth;
    box.W = own > 0 ? std::min(own, plan.ControlWidth) : plan.ControlWidth;
    box.H = std::min(rect.H, plan.ControlHeight);
    box.Y += std::floor((rect.H - box.H) / 2);
  }
  m_Control->Arrange(box, canvas);
}

void PanelRow::Draw(Canvas& canvas) {
  if (m_Label.empty()) return;
  const uint32_t color = IsEnabled() ? GetTheme().TextDim : GetTheme().TextDisabled;
  if (m_Wraps)
    canvas.Paragraph({m_LabelRect.X, m_LabelRect.Y + canvas.Px(1), m_LabelRect.W, m_LabelRect.H}, m_Label, color, LabelStyle(),
                     TextAlign::Left, LongWords::Cut);
  else
    canvas.Text(m_LabelRect, m_Label, color, LabelStyle());
}

// --- input -------------------------------------------------------------------------------------------------------------------

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
  TellRowChange(m_Place, event, changed);
  return true;
}

std::string GetRowHint(const RowPlace& place) {
  const RowSigns& signs = place.Signs;
  std::string hint;
  if (place.Member) hint = ::GetHintText(GetOwnKey(place));
  if (hint.empty()) hint = ::GetHintText(signs.HintKey.substr(0, signs.HintKey.size() - 5));
  if (hint.empty() && !signs.Name.empty()) hint = ::GetHintText(signs.Name);
  if (hint.empty() && place.Member) hint = place.Member->Help.Hint;
  return hint;
}

void TellRowChange(const RowPlace& place, const WidgetEvent& event, bool changed) {
  PanelWidget* panel = place.Panel;  // the row may go while it tells
  if (changed) {
    const std::string name = place.FullName;
    // Who holds a container hears of its items.
    BaseClass* owner = place.Owner;
    if (!place.Member && owner->GetParent()) owner = owner->GetParent();
    owner->OnParametersChanged(place.Value.Data, nullptr, nullptr, nullptr);
    if (panel->Changed) panel->Changed(name.c_str());
  }
  panel->Tell(event.Kind, event.Input);
}
