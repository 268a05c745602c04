#include "interface/MessageBoxWidget.h"

#include <algorithm>

#include "interface/BoxParts.h"
#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/ScrollArea.h"
#include "interface/TextWidget.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(MessageBoxWidget) {}

// At scale 1.
static constexpr float TextWidth = 360, AboveButtons = 18;

static TextWidget* AddText(BaseWidget& to, const std::string& text, TextStyle style) {
  auto* widget = to.AddChild(new TextWidget(text));
  widget->Literal = widget->Wraps = true;
  widget->Style = style;
  return widget;
}

MessageBoxWidget* MessageBoxWidget::Ask(cWidgets& widgets, std::string_view title, std::string_view text,
                                        std::vector<std::string> answers, std::function<void(int)> answered) {
  auto* box = new MessageBoxWidget;
  box->Title = GetBoxTitle(title);
  box->Text = HasText(text) ? ::GetText(text) : std::string(text);
  box->m_Answered = std::move(answered);
  if (answers.empty()) answers.push_back("OK");
  for (size_t i = 0; i < answers.size(); i++) {
    Button* button = box->AddChild(new Button(answers[i]));
    button->Default = i == 0;
    button->Action = [box, i] { box->Answer(int(i)); };
    box->m_Buttons.push_back(button);
  }
  box->m_Content = box->AddChild(new ScrollArea);
  AddText(box->m_Content->Content(), box->Title, TextStyle::Title);
  if (!box->Text.empty()) AddText(box->m_Content->Content(), box->Text, TextStyle::Normal);
  widgets.OpenModal(box);
  return box;
}

// The box goes first: the answer may open the next one.
void MessageBoxWidget::Answer(int index) {
  cWidgets* manager = Manager();
  if (!manager) return;
  const auto answered = std::move(m_Answered);
  manager->CloseModal(this);
  if (answered) answered(index);
}

cRect MessageBoxWidget::PlaceIn(const cRect& screen, Canvas& canvas) {
  const float wanted =
      std::max({canvas.Px(TextWidth), BoxButtonsWidth(m_Buttons, canvas), canvas.TextWidth(Title, TextStyle::Title) + 1});
  const float inside = std::min(wanted, screen.W - 2 * BoxInset(canvas));
  const float height =
      m_Content->HeightFor(inside, canvas) + canvas.Px(AboveButtons) + BoxButtonsHeight(m_Buttons, inside, canvas);
  return PlaceBox(screen, inside, height, canvas);
}

void MessageBoxWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  ArrangeBoxButtons(m_Buttons, rect, canvas);
  cRect inside = rect.Shrunk(BoxInset(canvas));
  const float foot = BoxButtonsHeight(m_Buttons, inside.W, canvas);
  const float gap = std::min(canvas.Px(AboveButtons), std::max(0.0f, inside.H - foot - m_Content->HeightFor(inside.W, canvas)));
  inside.H = std::max(0.0f, inside.H - foot - std::max(gap, canvas.Px(6)));
  m_Content->Arrange(inside, canvas);
}

void MessageBoxWidget::Draw(Canvas& canvas) { DrawPopupGround(canvas, Rect, GetTheme().Panel); }

bool MessageBoxWidget::OnMouse(const InputEvent&) { return true; }

bool MessageBoxWidget::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || event.IsRepeat) return false;
  if (event.Key == KeyEnter) {
    Answer(0);
    return true;
  }
  if (event.Key == KeyEsc) {
    Answer(int(m_Buttons.size()) - 1);
    return true;
  }
  if (event.Key != KeyLeft && event.Key != KeyRight) return false;
  Manager()->MoveFocus(event.Key == KeyLeft);
  return true;
}
