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

DECLARE_MEMBERS(HotKeyWindow) {}

/// An action with its keys. A press on the keys, or Enter, waits for a key.
class HotKeyRow : public BaseWidget {
  REFLECTED(HotKeyRow, BaseWidget)
 public:
  HotKeyRow() = default;
  HotKeyRow(HotKeyWindow& window, const struct Action& action) : Action(&action), m_Window(&window) {
    HintKey = action.TextKey;
    m_Reset = AddChild(new Button("", "Reset"));
    m_Reset->Flat = true;
    m_Reset->HintKey = "RESET_KEY";
    m_Reset->Action = [this] { m_Window->ResetOne(Action->Name); };
  }
  std::string GetText() const override { return Action ? ::GetText(Action->TextKey) : std::string(); }
  float HeightFor(float width, Canvas& canvas) const override { return canvas.Px(IsStacked(width, canvas) ? 46 : 26); }
  void Arrange(const cRect& rect, Canvas& canvas) override {
    Rect = rect;
    const float size = canvas.Px(20);
    const cRect line = IsStacked(rect.W, canvas) ? cRect{rect.X, rect.Bottom() - canvas.Px(24), rect.W, canvas.Px(22)} : rect;
    m_Name = {rect.X, rect.Y, rect.W, line.Y > rect.Y ? canvas.Px(22) : rect.H};
    m_Reset->Arrange({line.Right() - size - canvas.Px(2), line.Y + std::floor((line.H - size) / 2), size, size}, canvas);
    const float height = canvas.Px(20), left = m_Reset->Rect.X - canvas.Px(4),
                width = line.Y > rect.Y ? left - rect.X - canvas.Px(6) : KeysWidth(rect.W, canvas);
    m_Keys = {left - width, line.Y + std::floor((line.H - height) / 2), width, height};
  }
  void Draw(Canvas& canvas) override {
    const Theme& theme = GetTheme();
    const bool waits = Waits();
    if (IsHot()) canvas.FillRoundRect(Rect, canvas.Px(Measures::Radius), theme.MenuHot);
    const float icon = canvas.Px(Measures::IconSize), pad = canvas.Px(6);
    const float x = m_Name.X + pad + icon + pad, right = m_Name.H < Rect.H ? Rect.Right() : m_Keys.X - pad;
    if (!Action->Icon.empty())
      canvas.Icon(Action->Icon, {m_Name.X + pad, m_Name.Y + std::floor((m_Name.H - icon) / 2), icon, icon}, theme.TextDim);
    canvas.Text({x, m_Name.Y, std::max(0.0f, right - x), m_Name.H}, GetText(), theme.Text);
    DrawField(canvas, m_Keys, IsHot(), waits);
    const std::string keys = waits ? ::GetText("PRESS_A_KEY") : KeyText();
    canvas.Text({m_Keys.X + pad, m_Keys.Y, m_Keys.W - 2 * pad, m_Keys.H}, keys, waits ? theme.TextDim : theme.Text,
                TextStyle::Normal, TextAlign::Center);
    DrawFocusRing(canvas, *this);
  }
  bool TakesFocus() const override { return true; }
  bool OnMouse(const InputEvent& event) override {
    if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
      m_Window->BeginCapture(Waits() ? std::string() : Action->Name);
      return true;
    }
    return IsCaptured();
  }
  void OnFocus(bool gained) override {
    if (!gained && Waits()) m_Window->BeginCapture({});
  }
  // A modifier alone is on its way to a combination.
  bool OnKey(const InputEvent& event) override {
    if (!Waits()) {
      if (event.Kind != InputKind::KeyDown || (event.Key != KeyEnter && event.Key != KeySpace)) return false;
      m_Window->BeginCapture(Action->Name);
      return true;
    }
    if (event.Kind != InputKind::KeyDown || event.IsRepeat) return true;
    if (event.Key == KeyShift || event.Key == KeyControl || event.Key == KeyAlt || !IsKnownKey(event.Key)) return true;
    const std::string name = Action->Name;
    const KeyCombo combo = GetKeyCombo(event);
    m_Window->BeginCapture({});
    if (event.Key == KeyEsc && !combo.Modifiers) return true;
    const bool clears = (event.Key == KeyDelete || event.Key == KeyBackspace) && !combo.Modifiers;
    m_Window->Assign(name, clears ? KeyCombo{} : combo);
    return true;
  }
  std::string KeyText() const {
    std::string text;
    for (const KeyCombo& combo : m_Window->Keys().KeysOf({Action->Name, {}, {}}))
      text += (text.empty() ? "" : "  ") + GetKeyText(PrintKeyCombo(combo));
    return text;
  }
  bool Waits() const { return m_Window->Capturing() == Action->Name; }

  const struct Action* Action = nullptr;

 private:
  static float KeysWidth(float width, Canvas& canvas) {
    return std::clamp(std::floor(width * 0.36f), canvas.Px(72), canvas.Px(200));
  }
  // In a narrow panel the keys stand below the name.
  bool IsStacked(float width, Canvas& canvas) const {
    const float others = canvas.Px(Measures::IconSize) + 3 * canvas.Px(6) + canvas.Px(20 + 6) + KeysWidth(width, canvas);
    return canvas.TextWidth(GetText()) + others > width;
  }
  HotKeyWindow* m_Window = nullptr;
  Button* m_Reset = nullptr;
  cRect m_Name, m_Keys;
};
DECLARE_MEMBERS(HotKeyRow) {}

HotKeyWindow::HotKeyWindow(HotKeys& keys, const Actions& actions) : m_Keys(&keys), m_Actions(&actions) {
  m_Search = AddChild(new TextEdit);
  m_Search->Placeholder = "SEARCH";
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

bool HotKeyWindow::Matches(const Action& action) const {
  std::string held = action.Name + " " + ::GetText(action.TextKey);
  for (const KeyCombo& combo : m_Keys->KeysOf({action.Name, {}, {}})) held += " " + GetKeyText(PrintKeyCombo(combo));
  held = Lowered(held);
  std::istringstream words(Lowered(m_Words));
  for (std::string word; words >> word;)
    if (held.find(word) == std::string::npos) return false;
  return true;
}

void HotKeyWindow::FillList() {
  m_List->Content().RemoveChildren();
  for (const Action& action : m_Actions->All())
    if (Matches(action)) m_List->Content().AddChild(new HotKeyRow(*this, action));
  if (m_List->Content().Children.Count) return;
  auto* none = m_List->Content().AddChild(new TextWidget("NOTHING_FOUND"));
  none->Dim = true;
}

std::vector<std::string> HotKeyWindow::Listed() const {
  std::vector<std::string> names;
  for (const BaseWidget* child : m_List->Content().Children)
    if (const auto* row = dynamic_cast<const HotKeyRow*>(child)) names.push_back(row->Action->Name);
  return names;
}

bool HotKeyWindow::OnSearch(BaseWidget*, const WidgetEvent& event) {
  if (event.Kind == WidgetEventKind::Change || event.Kind == WidgetEventKind::ChangeDone) Search(m_Search->GetText());
  return true;
}

void HotKeyWindow::Search(const std::string& words) {
  if (words == m_Words) return;
  m_Words = words;
  m_Capturing.clear();
  m_List->Scroller().SetPosition(0);
  FillList();
}

void HotKeyWindow::BeginCapture(const std::string& action) {
  m_Capturing = action;
  cWidgets* manager = Manager();
  if (action.empty() || !manager) return;
  for (BaseWidget* child : m_List->Content().Children)
    if (const auto* row = dynamic_cast<const HotKeyRow*>(child); row && row->Action->Name == action) manager->Focus(child);
}

void HotKeyWindow::Assign(const std::string& action, const KeyCombo& combo) {
  const HotKeyTarget target{action, {}, {}};
  HotKeyTarget taken;
  if (!m_Keys->Assign(target, combo, &taken)) AskTakeOver(target, combo, taken);
}

static std::string NameOf(const Actions& actions, const HotKeyTarget& target) {
  const Action* action = actions.Find(target.Command);
  if (action) return ::GetText(action->TextKey);
  return target.Command.empty() ? ::GetText(target.Tool) : target.Command + " " + target.Parameters;
}

void HotKeyWindow::AskTakeOver(const HotKeyTarget& target, const KeyCombo& combo, const HotKeyTarget& taken) {
  cWidgets* manager = Manager();
  if (!manager) return;
  const std::string text = GetKeyText(PrintKeyCombo(combo)) + ": " + NameOf(*m_Actions, taken) + "\n" + ::GetText("KEY_TAKEN");
  MessageBoxWidget::Ask(*manager, "KEY_TAKEN_HDR", text, {"KEY_TAKE_OVER", "CANCEL"}, [keys = m_Keys, target, combo](int answer) {
    if (answer == 0) keys->Assign(target, combo, nullptr, true);
  });
}

void HotKeyWindow::ResetOne(const std::string& action) {
  HotKeyTarget taken;
  cWidgets* manager = Manager();
  if (m_Keys->ResetToDefault({action, {}, {}}, &taken) || !manager) return;
  const std::string text = ::GetText("KEY_RESET_TAKEN") + " " + NameOf(*m_Actions, taken);
  MessageBoxWidget::Ask(*manager, "KEY_TAKEN_HDR", text, {}, nullptr);
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
