#include "interface/HotKeyWindow.h"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "comms/Str.h"
#include "interface/Button.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/ScrollArea.h"
#include "interface/TextEdit.h"
#include "interface/TextWidget.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/BasicTool.h"

DECLARE_MEMBERS(HotKeyWindow) {}

static constexpr float Pad = 6, ResetSize = 20, ResetWidth = ResetSize + 6;

/// A target with its keys. A press on the keys, or Enter, waits for a key.
class HotKeyRow : public BaseWidget {
  REFLECTED(HotKeyRow, BaseWidget)
 public:
  HotKeyRow() = default;
  HotKeyRow(HotKeyWindow& window, const HotKeyTarget& target) : Target(target), m_Window(&window) {
    if (const Action* action = window.ActionOf(target)) m_Icon = action->Icon;
    m_Reset = AddChild(new Button("", "Reset"));
    m_Reset->Flat = true;
    m_Reset->HintKey = "RESET_KEY";
    m_Reset->Action = [this] { m_Window->ResetOne(Target); };
  }
  std::string GetText() const override { return m_Window ? m_Window->NameOf(Target) : std::string(); }
  std::string GetHintText(float, float) const override { return m_Window->HintOf(Target); }
  float HeightFor(float width, Canvas& canvas) const override {
    const Plan plan = MakePlan(width, canvas);
    return plan.NameHeight + (plan.Stacked ? plan.KeysHeight + canvas.Px(4) : 0);
  }
  void Arrange(const cRect& rect, Canvas& canvas) override {
    Rect = rect;
    m_Plan = MakePlan(rect.W, canvas);
    const float size = canvas.Px(ResetSize), top = m_Plan.Stacked ? rect.Y + m_Plan.NameHeight : rect.Y;
    const float height = m_Plan.Stacked ? m_Plan.KeysHeight : rect.H;
    m_Reset->Arrange({rect.Right() - size - canvas.Px(2), top + std::floor((height - size) / 2), size, size}, canvas);
    m_Keys = {m_Reset->Rect.X - canvas.Px(4) - m_Plan.KeysWidth, top + std::floor((height - m_Plan.KeysHeight) / 2),
              m_Plan.KeysWidth, m_Plan.KeysHeight};
  }
  void Draw(Canvas& canvas) override {
    const Theme& theme = GetTheme();
    if (IsHot()) canvas.FillRoundRect(Rect, canvas.Px(Measures::Radius), theme.MenuHot);
    const float icon = canvas.Px(Measures::IconSize), pad = canvas.Px(Pad), left = Rect.X + NameLeft(canvas);
    if (!m_Icon.empty())
      canvas.Icon(m_Icon, {Rect.X + pad, Rect.Y + std::floor((m_Plan.NameHeight - icon) / 2), icon, icon}, theme.TextDim);
    const float right = m_Plan.Stacked ? Rect.Right() : m_Keys.X - pad;
    const cRect name{left, Rect.Y, std::max(0.0f, right - left), m_Plan.NameHeight};
    if (m_Plan.NameWraps)
      canvas.Paragraph({name.X, name.Y + canvas.Px(2), name.W, name.H}, GetText(), theme.Text);
    else
      canvas.Text(name, GetText(), theme.Text);
    DrawField(canvas, m_Keys, IsHot(), Waits());
    const cRect keys{m_Keys.X + pad, m_Keys.Y, std::max(0.0f, m_Keys.W - 2 * pad), m_Keys.H};
    if (Waits())
      canvas.Text(keys, ::GetText("PRESS_A_KEY"), theme.TextDim, TextStyle::Normal, TextAlign::Center);
    else if (m_Plan.KeysWrap)
      canvas.Paragraph({keys.X, keys.Y + canvas.Px(2), keys.W, keys.H}, m_Plan.Keys, theme.Text, TextStyle::Normal,
                       TextAlign::Center);
    else
      canvas.Text(keys, m_Plan.Keys, theme.Text, TextStyle::Normal, TextAlign::Center);
    DrawFocusRing(canvas, *this);
  }
  bool TakesFocus() const override { return true; }
  bool OnMouse(const InputEvent& event) override {
    if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
      m_Window->BeginCapture(Waits() ? HotKeyTarget() : Target);
      return true;
    }
    return IsCaptured();
  }
  bool ShowsKeyboard() const override { return Waits(); }
  void OnFocus(bool gained) override {
    if (!gained && Waits()) m_Window->BeginCapture({});
  }
  // A modifier alone is on its way to a combination.
  bool OnKey(const InputEvent& event) override {
    if (!Waits()) {
      if (event.Kind != InputKind::KeyDown || (event.Key != KeyEnter && event.Key != KeySpace)) return false;
      m_Window->BeginCapture(Target);
      return true;
    }
    if (event.Kind != InputKind::KeyDown || event.IsRepeat) return true;
    if (event.Key == KeyShift || event.Key == KeyControl || event.Key == KeyAlt || !IsKnownKey(event.Key)) return true;
    const KeyCombo combo = GetKeyCombo(event);
    m_Window->BeginCapture({});
    if (event.Key == KeyEsc && !combo.Modifiers) return true;
    const bool clears = (event.Key == KeyDelete || event.Key == KeyBackspace) && !combo.Modifiers;
    m_Window->Assign(Target, clears ? KeyCombo{} : combo);
    return true;
  }
  bool Waits() const { return m_Window->Capturing() == Target; }

  HotKeyTarget Target;

 private:
  /// The keys stand beside the name, or below it where either would be cut.
  struct Plan {
    bool Stacked = false, NameWraps = false, KeysWrap = false;
    float NameHeight = 0, KeysWidth = 0, KeysHeight = 0;
    std::string Keys;
  };
  std::vector<std::string> KeyTexts() const {
    std::vector<std::string> texts;
    for (const KeyCombo& combo : m_Window->Keys().KeysOf(Target)) texts.push_back(GetKeyText(PrintKeyCombo(combo)));
    return texts;
  }
  static std::string Join(const std::vector<std::string>& texts, const char* between) {
    std::string joined;
    for (const std::string& text : texts) joined += (joined.empty() ? "" : between) + text;
    return joined;
  }
  static float NameLeft(Canvas& canvas) { return canvas.Px(Measures::IconSize) + 2 * canvas.Px(Pad); }
  Plan MakePlan(float width, Canvas& canvas) const {
    const float pad = canvas.Px(Pad), reset = canvas.Px(ResetWidth), left = NameLeft(canvas);
    const std::vector<std::string> combos = KeyTexts();
    Plan plan;
    plan.Keys = Join(combos, "  ");
    const float name = canvas.TextWidth(GetText()) + 1, keys = canvas.TextWidth(plan.Keys) + 1 + 2 * pad;
    const float leastKeys = std::max(canvas.Px(72), std::ceil(canvas.TextWidth(::GetText("PRESS_A_KEY")) + 1 + 2 * pad));
    plan.KeysHeight = canvas.Px(20);
    plan.KeysWidth = std::max(leastKeys, std::min(std::floor(width * 0.36f), canvas.Px(200)));
    plan.NameHeight = canvas.Px(26);
    if (left + name + pad + keys + reset <= width) plan.KeysWidth = std::max(plan.KeysWidth, std::ceil(keys));
    plan.Stacked = keys > plan.KeysWidth || left + name + pad + plan.KeysWidth + reset > width;
    if (!plan.Stacked) return plan;
    const float nameWidth = std::max(0.0f, width - left);
    plan.NameWraps = name > nameWidth;
    plan.NameHeight = plan.NameWraps ? canvas.ParagraphHeight(nameWidth, GetText()) + canvas.Px(4) : canvas.Px(22);
    plan.KeysWidth = std::max(0.0f, width - reset - pad);
    plan.KeysWrap = keys > plan.KeysWidth;
    if (plan.KeysWrap) WrapKeys(combos, std::max(0.0f, plan.KeysWidth - 2 * pad), canvas, plan);
    return plan;
  }
  // One below the other; a combination that is too long by itself breaks behind its "+".
  static void WrapKeys(std::vector<std::string> combos, float width, Canvas& canvas, Plan& plan) {
    for (std::string& combo : combos)
      if (canvas.TextWidth(combo) > width)
        for (size_t at = 0; (at = combo.find('+', at)) != combo.npos; at += 2) combo.insert(at + 1, " ");
    plan.Keys = Join(combos, "\n");
    plan.KeysHeight = canvas.ParagraphHeight(width, plan.Keys) + canvas.Px(4);
  }
  HotKeyWindow* m_Window = nullptr;
  Button* m_Reset = nullptr;
  std::string m_Icon;
  Plan m_Plan;
  cRect m_Keys;
};
DECLARE_MEMBERS(HotKeyRow) {}

HotKeyWindow::HotKeyWindow(HotKeys& keys, const Actions& actions, const CommandTable* commands)
    : m_Keys(&keys), m_Actions(&actions), m_Commands(commands) {
  m_Search = AddChild(new TextEdit);
  m_Search->Placeholder = "SEARCH";
  m_Search->HintKey = "SEARCH_KEYS";
  m_Search->Icon = "Search";
  m_Search->LiveChange = true;
  m_Search->Callback = std::make_unique<wpcallback<HotKeyWindow>>(this, &HotKeyWindow::OnSearch);
  m_ResetAll = AddChild(new Button("RESET_ALL_KEYS", "Reset"));
  m_ResetAll->HintKey = "RESET_ALL_KEYS";
  m_ResetAll->Action = [this] { AskResetAll(); };
  m_List = AddChild(new ScrollArea);
  FillList();
}

static std::string Lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), comms::ToLowerAscii);
  return lower;
}

const Action* HotKeyWindow::ActionOf(const HotKeyTarget& target) const {
  return target.Tool.empty() ? m_Actions->Find(target.Command) : nullptr;
}

std::string HotKeyWindow::NameOf(const HotKeyTarget& target) const {
  if (!target.Tool.empty()) return ::GetText(target.Tool);
  if (const Action* action = ActionOf(target)) return ::GetText(action->TextKey);
  return target.Parameters.empty() ? target.Command : target.Command + " " + target.Parameters;
}

std::string HotKeyWindow::HintOf(const HotKeyTarget& target) const {
  if (!target.Tool.empty()) return ::GetHintText(target.Tool);
  if (const Action* action = ActionOf(target)) return ::GetHintText(action->TextKey);
  const Command* command = m_Commands ? m_Commands->Find(target.Command) : nullptr;
  const std::string hint = ::GetHintText("Command." + target.Command);
  return hint.empty() && command ? command->Help : hint;
}

bool HotKeyWindow::Matches(const HotKeyTarget& target) const {
  std::string held = NameOf(target);
  for (const KeyCombo& combo : m_Keys->KeysOf(target)) held += " " + GetKeyText(PrintKeyCombo(combo));
  held = Lowered(held);
  std::istringstream words(Lowered(m_Words));
  for (std::string word; words >> word;)
    if (held.find(word) == std::string::npos) return false;
  return true;
}

HotKeyRow* HotKeyWindow::RowOf(const HotKeyTarget& target) const {
  for (BaseWidget* child : m_List->Content().Children)
    if (auto* row = dynamic_cast<HotKeyRow*>(child); row && row->Target == target) return row;
  return nullptr;
}

void HotKeyWindow::AddRow(const HotKeyTarget& target) {
  if (Matches(target) && !RowOf(target)) m_List->Content().AddChild(new HotKeyRow(*this, target));
}

// A command that asks for parameters has a key only together with them.
void HotKeyWindow::FillList() {
  m_List->Content().RemoveChildren();
  for (const Action& action : m_Actions->All()) AddRow({action.Name, {}, {}});
  for (const BasicTool* tool : ToolList)
    if (*tool->GetToolKey()) AddRow({{}, {}, tool->GetToolKey()});
  for (const OneHotKey* key : m_Keys->Keys) AddRow(GetTarget(*key));
  if (m_Commands) {
    for (const Command& command : m_Commands->All())
      if (command.Required.empty()) AddRow({command.Name, {}, {}});
    for (const Command& command : m_Commands->All())
      if (!command.Required.empty() && Matches({command.Name, {}, {}})) AddLineToComplete(command);
  }
  if (!m_List->Content().Children.Count) AddTypedLine();
}

// Begins the line of a command with what it asks for, for the person to go on.
void HotKeyWindow::AddLineToComplete(const Command& command) {
  std::string line = command.Name;
  for (const std::string& name : command.Required) line += " " + name + "=";
  auto* button = m_List->Content().AddChild(new Button(line + "…", "Keyboard"));
  button->Literal = button->Flat = true;
  button->Align = TextAlign::Left;
  button->HintKey = "KEY_FOR_LINE";
  button->Action = [this, line] { m_Search->BeginEdit(line, false); };
}

// What was typed as a line of a command with its parameters, or why nothing is shown.
void HotKeyWindow::AddTypedLine() {
  BatchLine line;
  std::string error;
  const size_t start = m_Words.find_first_not_of(' '), end = m_Words.find_last_not_of(' ');
  const std::string typed = start == std::string::npos ? std::string() : m_Words.substr(start, end + 1 - start);
  const bool isLine = ParseBatchLine(typed, line, error);
  const Command* command = m_Commands ? m_Commands->Find(line.Name) : nullptr;
  if (command && isLine && m_Commands->ReadParameters(*command, line.Arguments, error)) {
    const size_t words = typed.find_first_not_of(" \t", command->Name.size());
    const HotKeyTarget target{command->Name, words == std::string::npos ? std::string() : typed.substr(words), {}};
    m_List->Content().AddChild(new HotKeyRow(*this, target));
    return;
  }
  auto* none = m_List->Content().AddChild(new TextWidget(command ? error : "NOTHING_FOUND"));
  none->Literal = command;
  none->Wraps = none->Dim = true;
}

std::vector<HotKeyTarget> HotKeyWindow::Listed() const {
  std::vector<HotKeyTarget> targets;
  for (const BaseWidget* child : m_List->Content().Children)
    if (const auto* row = dynamic_cast<const HotKeyRow*>(child)) targets.push_back(row->Target);
  return targets;
}

bool HotKeyWindow::OnSearch(BaseWidget*, const WidgetEvent& event) {
  if (event.Kind == WidgetEventKind::Change || event.Kind == WidgetEventKind::ChangeDone) Search(m_Search->GetText());
  return true;
}

void HotKeyWindow::Search(const std::string& words) {
  if (words == m_Words) return;
  m_Words = words;
  m_Capturing = {};
  m_List->Scroller().SetPosition(0);
  FillList();
}

void HotKeyWindow::BeginCapture(const HotKeyTarget& target) {
  m_Capturing = target;
  cWidgets* manager = Manager();
  if (target == HotKeyTarget() || !manager) return;
  if (HotKeyRow* row = RowOf(target)) manager->Focus(row);
}

void HotKeyWindow::Assign(const HotKeyTarget& target, const KeyCombo& combo) {
  HotKeyTarget taken;
  if (!m_Keys->Assign(target, combo, &taken)) AskTakeOver(target, combo, taken);
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

void HotKeyWindow::AskTakeOver(const HotKeyTarget& target, const KeyCombo& combo, const HotKeyTarget& taken) {
  cWidgets* manager = Manager();
  if (!manager) return;
  const std::string text = GetKeyText(PrintKeyCombo(combo)) + ": " + NameOf(taken) + "\n" + ::GetText("KEY_TAKEN");
  MessageBoxWidget::Ask(*manager, "KEY_TAKEN_HDR", text, {"KEY_TAKE_OVER", "CANCEL"}, [keys = m_Keys, target, combo](int answer) {
    if (answer == 0) keys->Assign(target, combo, nullptr, true);
  });
}

void HotKeyWindow::ResetOne(const HotKeyTarget& target) {
  HotKeyTarget taken;
  cWidgets* manager = Manager();
  const bool done = m_Keys->ResetToDefault(target, &taken);
  if (!manager) return;
  manager->RequestArrange();
  if (!done) MessageBoxWidget::Ask(*manager, "KEY_TAKEN_HDR", ::GetText("KEY_RESET_TAKEN") + " " + NameOf(taken), {}, nullptr);
}

void HotKeyWindow::AskResetAll() {
  cWidgets* manager = Manager();
  if (!manager) return;
  MessageBoxWidget::Ask(*manager, "RESET_ALL_KEYS", "RESET_ALL_KEYS_ASK", {"RESET_ALL_KEYS_YES", "CANCEL"},
                        [keys = m_Keys](int answer) {
                          if (answer == 0) keys->ResetAll();
                        });
}

void HotKeyWindow::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  if (!m_Search) return;
  const cRect inside = rect.Shrunk(canvas.Px(Measures::Padding));
  const float height = canvas.Px(24), gap = canvas.Px(Measures::Gap);
  // Rather the icon alone than a caption that is cut.
  m_ResetAll->Text = "RESET_ALL_KEYS";
  if (m_ResetAll->WidthFor(canvas) > inside.W * 0.45f) m_ResetAll->Text = "";
  const float reset = std::max(height, m_ResetAll->WidthFor(canvas));
  m_Search->Arrange({inside.X, inside.Y, std::max(0.0f, inside.W - reset - gap), height}, canvas);
  m_ResetAll->Arrange({inside.Right() - reset, inside.Y, reset, height}, canvas);
  m_List->Arrange({inside.X, inside.Y + height + gap, inside.W, std::max(0.0f, inside.H - height - gap)}, canvas);
}

float HotKeyWindow::HeightFor(float, Canvas& canvas) const { return canvas.Px(420); }
