#include "interface/MessageBoxWidget.h"

#include <algorithm>
#include <cmath>

#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(MessageBoxWidget) {}

namespace {

// At scale 1.
constexpr float Inset = 18, TextWidth = 360, ButtonHeight = 26, ButtonWidth = 80, AboveText = 10, AboveButtons = 18;

}  // namespace

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
  const float inset = canvas.Px(Inset);
  float buttons = 0;
  for (const Button* button : m_Buttons) buttons += std::max(canvas.Px(ButtonWidth), button->WidthFor(canvas)) + canvas.Px(8);
  const float inside =
      std::min(std::max({canvas.Px(TextWidth), buttons, canvas.TextWidth(Title, TextStyle::Title) + 1}), screen.W - 2 * inset);
  const float width = inside + 2 * inset;
  float height = 2 * inset + canvas.LineHeight(TextStyle::Title) + canvas.Px(AboveButtons) + canvas.Px(ButtonHeight);
  if (!Text.empty()) height += canvas.Px(AboveText) + canvas.ParagraphHeight(inside, Text);
  height = std::ceil(height);
  return KeepInside({std::floor((screen.W - width) / 2), std::floor((screen.H - height) * 0.42f), width, height}, screen);
}

// The answers at the right, the first one leftmost.
void MessageBoxWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const float inset = canvas.Px(Inset), height = canvas.Px(ButtonHeight), y = rect.Bottom() - inset - height;
  float x = rect.Right() - inset;
  for (size_t i = m_Buttons.size(); i-- > 0;) {
    const float width = std::max(canvas.Px(ButtonWidth), m_Buttons[i]->WidthFor(canvas));
    x -= width;
    m_Buttons[i]->Arrange({x, y, width, height}, canvas);
    x -= canvas.Px(8);
  }
}

void MessageBoxWidget::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  DrawPopupGround(canvas, Rect, theme.Panel);
  const cRect inside = Rect.Shrunk(canvas.Px(Inset));
  const float title = canvas.LineHeight(TextStyle::Title);
  canvas.Text({inside.X, inside.Y, inside.W, title}, Title, theme.TextTitle, TextStyle::Title);
  if (!Text.empty()) {
    const float y = inside.Y + title + canvas.Px(AboveText);
    canvas.Paragraph({inside.X, y, inside.W, inside.Bottom() - y}, Text, theme.Text);
  }
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
