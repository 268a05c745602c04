#include "shell/app/CommandPanel.h"

#include <algorithm>

#include "ClassEngine/ClassHelp.h"
#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/PanelWidget.h"
#include "interface/ScrollArea.h"
#include "interface/TextMenu.h"
#include "interface/TextWidget.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"

DECLARE_MEMBERS(CommandPanel) {}

/// Part of the panel that the rows may take, and the height of a button at scale 1.
static constexpr float RowsShare = 0.6f, ButtonHeight = Measures::RowHeight + 4;

static TextWidget* AddNote(BaseWidget& to) {
  auto* note = to.AddChild(new TextWidget);
  note->Literal = note->Wraps = true;
  return note;
}

CommandPanel::CommandPanel(const CommandTable& table, std::function<CommandResult(const BatchLine&)> run)
    : m_Table(&table), m_Run(std::move(run)) {
  m_Choice = AddChild(new Button);
  m_Choice->Icon = "Menu";
  m_Choice->Literal = true;
  m_Choice->Align = TextAlign::Left;
  m_Choice->Action = [this] { OpenList(); };
  m_Help = AddNote(*this);
  m_Help->Dim = true;
  m_Rows = AddChild(new PanelWidget);
  m_RunButton = AddChild(new Button("RUN"));
  m_RunButton->Default = true;
  m_RunButton->Action = [this] { Run(); };
  m_AnswerArea = AddChild(new ScrollArea);
  m_Answer = AddNote(m_AnswerArea->Content());
  if (!table.All().empty()) Choose(table.All().front());
}

void CommandPanel::Choose(const Command& command) {
  m_Command = &command;
  m_Rows->SetObject(nullptr);
  m_Parameters = command.MakeParameters();
  m_Rows->SetObject(m_Parameters.get());
  m_Choice->Text = command.Name;
  const std::string help = ::GetHintText("Command." + command.Name);
  m_Help->Text = help.empty() ? command.Help : help;
  m_Answer->Text = "";
  m_AnswerText.clear();
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

void CommandPanel::OpenList() {
  TextMenu::Open(
      *Manager(), m_Choice->Rect,
      [this](TextMenu& menu) {
        for (const Command& command : m_Table->All()) {
          TextItem* item = menu.Add(command.Name, [this, &command] { Choose(command); });
          item->Literal = true;
          item->Checked = m_Command == &command;
        }
      },
      m_Choice);
}

BatchLine CommandPanel::GetLine() const {
  BatchLine line{m_Command->Name, {}};
  for (const MemberInfo& member : DescribeMembers(*m_Parameters)) {
    std::string text;
    const bool isRequired =
        std::find(m_Command->Required.begin(), m_Command->Required.end(), member.Name) != m_Command->Required.end();
    if (GetMemberText(*m_Parameters, member.Name, text) && (isRequired ? !text.empty() : text != member.Default))
      line.Arguments.push_back({member.Name, text});
  }
  return line;
}

void CommandPanel::Run() {
  if (!m_Command) return;
  const CommandResult result = m_Run(GetLine());
  m_AnswerText = result.Ok() ? result.Figures.Text() : result.Message;
  m_Answer->Text = m_AnswerText;
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

void CommandPanel::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  cRect left = rect.Shrunk(canvas.Px(Measures::Padding));
  const float gap = canvas.Px(Measures::Gap);
  const auto take = [&](BaseWidget& widget, float height) {
    height = std::clamp(height, 0.0f, std::max(0.0f, left.H));
    widget.Arrange({left.X, left.Y, left.W, height}, canvas);
    left.Y += height + gap;
    left.H -= height + gap;
  };
  take(*m_Choice, canvas.Px(ButtonHeight));
  // What runs the command stays; its explanation gives way first, and is then a hint.
  left.H = std::max(0.0f, left.H - canvas.Px(ButtonHeight) - gap);
  const float help = m_Help->HeightFor(left.W, canvas);
  const float wanted = m_Rows->HeightFor(rect.W, canvas);
  m_Help->Visible = help + std::min(wanted, left.H * RowsShare) <= left.H;
  if (m_Help->Visible) take(*m_Help, help);
  const float rows = std::clamp(wanted, 0.0f, std::max(0.0f, left.H * RowsShare));
  m_Rows->Arrange({rect.X, left.Y, rect.W, rows}, canvas);  // they bring their own margins
  left.Y += rows + gap;
  left.H += canvas.Px(ButtonHeight) - rows;
  take(*m_RunButton, canvas.Px(ButtonHeight));
  take(*m_AnswerArea, left.H);
}

std::string CommandPanel::GetHintText(float, float) const { return m_Help->Visible ? std::string() : m_Help->GetText(); }

float CommandPanel::HeightFor(float width, Canvas& canvas) const {
  const float inside = std::max(0.0f, width - 2 * canvas.Px(Measures::Padding));
  return 2 * canvas.Px(Measures::Padding + ButtonHeight) + 4 * canvas.Px(Measures::Gap) + m_Help->HeightFor(inside, canvas) +
         m_Rows->HeightFor(width, canvas) + m_Answer->HeightFor(inside, canvas);
}
