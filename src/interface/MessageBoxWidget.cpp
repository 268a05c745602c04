#include "interface/MessageBoxWidget.h"

#include <algorithm>

#include "interface/BoxParts.h"
#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(MessageBoxWidget) {}

// At scale 1.
static constexpr float TextWidth = 360, AboveText = 10, AboveButtons = 18;

MessageBoxWidget* MessageBoxWidget::Ask(cWidgets& widgets, std::string_view title, std::string_view text,
                                        std::vector<std::string> answers, std::function<void(int)> answered) {
  auto* box = new MessageBoxWidget;
  box->Title = ::GetText(title);
  box->Text = HasText(text) ? ::GetText(text) : std::string(text);
  box->m_Answered = std::move(answered);
  if (answers.empty()) answers.push_back("OK");
  for (size_t i = 0; i < answers.size(); i++) {
    Button* button = box->AddChild(new Button(answers[i]));
    button->Default = i == 0;
    button->Action = [box, i] { box->Answer(int(i)); };
    box->m_Buttons.push_back(button);
  }
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
  const float inside = std::min(wanted, screen.W - 2 * canvas.Px(BoxInset));
  float height = canvas.LineHeight(TextStyle::Title) + canvas.Px(AboveButtons + BoxButtonHeight);
  if (!Text.empty()) height += canvas.Px(AboveText) + canvas.ParagraphHeight(inside, Text);
  return PlaceBox(screen, inside, height, canvas);
}

void MessageBoxWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  ArrangeBoxButtons(m_Buttons, rect, canvas);
}

void MessageBoxWidget::Draw(Canvas& canvas) {
  const cRect inside = DrawBoxGround(canvas, Rect, Title);
  const float y = inside.Y + canvas.Px(AboveText);
  if (!Text.empty()) canvas.Paragraph({inside.X, y, inside.W, inside.Bottom() - y}, Text, GetTheme().Text);
}

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
