#include "interface/TextEdit.h"

#include <algorithm>
#include <cmath>

#include "interface/Clipboard.h"
#include "interface/Language.h"
#include "interface/TextMenu.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(TextEdit) {}

std::string TextEdit::GetText() const {
  if (m_Editing) return m_Edit.Text();
  if (Read) return Read();
  return Value.IsBound() ? Value.GetText() : Content;
}

std::string TextEdit::GetHintText(float x, float y) const {
  return m_Expected.empty() ? BaseWidget::GetHintText(x, y) : ::GetText("EXPECTED") + " " + m_Expected;
}

MouseCursor TextEdit::GetCursor(float, float) const { return IsEnabled() ? MouseCursor::Text : MouseCursor::Arrow; }

cRect TextEdit::TextRect(Canvas& canvas) const {
  const float pad = canvas.Px(Measures::Gap), left = Icon.empty() ? pad : pad + canvas.Px(Measures::IconSize + 3);
  return {Rect.X + left, Rect.Y, std::max(0.0f, Rect.W - left - pad), Rect.H};
}

void TextEdit::ScrollToCaret(Canvas& canvas, const cRect& rect) {
  const float caret = canvas.CaretX(m_Edit.Text(), m_Edit.Caret()), full = canvas.TextWidth(m_Edit.Text());
  m_Scroll = std::clamp(m_Scroll, caret - rect.W + canvas.Px(2), caret);
  m_Scroll = std::clamp(m_Scroll, 0.0f, std::max(0.0f, full - rect.W + canvas.Px(2)));
}

void TextEdit::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const bool enabled = IsEnabled() && !ReadOnly;
  if (!Bare) DrawField(canvas, Rect, enabled && IsHot(), m_Editing, enabled);
  if (!m_Expected.empty()) canvas.FillRoundRect(Rect, canvas.Px(Measures::Radius), 0, canvas.Px(1.5f), theme.Danger);
  const cRect box = TextRect(canvas);
  if (!Icon.empty()) {
    const float size = canvas.Px(Measures::IconSize);
    canvas.Icon(Icon, {Rect.X + canvas.Px(4), Rect.Y + std::floor((Rect.H - size) / 2), size, size}, theme.TextDim);
  }
  if (!m_Editing) {
    const std::string text = GetText();
    if (text.empty() && !Placeholder.empty())
      canvas.Text(box, ::GetText(Placeholder), theme.TextDim, TextStyle::Normal, Align);
    else
      canvas.Text(box, text, IsEnabled() ? theme.Text : theme.TextDisabled, TextStyle::Normal, Align);
    return;
  }
  ScrollToCaret(canvas, box);
  const std::string& text = m_Edit.Text();
  const float left = std::floor(box.X - m_Scroll), line = std::min(box.H, canvas.LineHeight());
  const float top = std::floor(box.Y + (box.H - line) / 2);
  canvas.PushClip({box.X - canvas.Px(1), box.Y, box.W + canvas.Px(2), box.H});
  if (m_Edit.HasSelection()) {
    const float from = canvas.CaretX(text, m_Edit.SelectionStart()), to = canvas.CaretX(text, m_Edit.SelectionEnd());
    canvas.FillRect({left + from, top, to - from, line}, MixColor(theme.Field, theme.Accent, 0.6f));
  }
  canvas.Text({left, box.Y, canvas.TextWidth(text) + canvas.Px(20), box.H}, text, theme.Text);
  const double blink = std::fmod(m_Now - m_CaretSince, 1.0);
  if (blink < 0.5) canvas.FillRect({left + std::floor(canvas.CaretX(text, m_Edit.Caret())), top, canvas.Px(1), line}, theme.Text);
  canvas.PopClip();
}

void TextEdit::Process(double timeSec) {
  m_Now = timeSec;
  cWidgets* manager = Manager();
  if (m_Editing && manager) manager->WantFrameIn(0.5 - std::fmod(timeSec - m_CaretSince, 0.5));
}

void TextEdit::BeginEdit(std::string_view text, bool selectAll) {
  m_Edit.SetText(text);
  if (selectAll) m_Edit.SelectAll();
  m_Editing = true;
  m_Scroll = 0;
  m_Expected.clear();
  m_CaretSince = m_Now;
  cWidgets* manager = Manager();
  if (manager && manager->Focused() != this) manager->Focus(this);
}

void TextEdit::OnFocus(bool gained) {
  if (gained) {
    if (!m_Editing && !ReadOnly) BeginEdit(GetText());
    return;
  }
  if (!m_Editing) return;
  if (!Write(nullptr)) SayExpected(true);
  End();
}

void TextEdit::SayExpected(bool isDropped) {
  cWidgets* manager = Manager();
  if (!manager) return;
  manager->Say(Rect, ::GetText("EXPECTED") + " " + m_Expected + (isDropped ? "\n" + ::GetText("OLD_VALUE_STAYS") : ""));
}

// A text that was not touched is not written: a number that is shown rounded keeps its own.
bool TextEdit::Write(const InputEvent* event) {
  const std::string text = m_Edit.Text();
  std::string expected;
  if (!Commit && text == (Value.IsBound() ? Value.GetText() : Content)) return true;
  bool taken = true;
  if (Commit)
    taken = Commit(text, expected);
  else if (Value.IsBound())
    taken = Value.SetText(text, expected);
  else
    Content = text;
  m_Expected = taken ? std::string() : expected.empty() ? ::GetText("ANOTHER_TEXT") : expected;
  if (taken) Tell(WidgetEventKind::ChangeDone, event);
  return taken;
}

void TextEdit::End() {
  m_Editing = m_Selecting = false;
  m_Expected.clear();
  if (Ended) Ended();
}

size_t TextEdit::IndexAt(float x) {
  cWidgets* manager = Manager();
  if (!manager) return 0;
  Canvas& canvas = manager->GetCanvas();
  return canvas.CaretIndex(m_Edit.Text(), x - std::floor(TextRect(canvas).X - m_Scroll));
}

bool TextEdit::OnMouse(const InputEvent& event) {
  m_CaretSince = m_Now;
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Right) {
    if (m_Editing) OpenMenu(event);
    return true;
  }
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    if (!m_Editing) return true;
    const size_t at = IndexAt(event.X);
    if (event.Clicks == 2)
      m_Edit.SelectWordAt(at);
    else if (event.Clicks > 2)
      m_Edit.SelectAll();
    else
      m_Edit.MoveTo(at, event.Modifiers & ModShift);
    m_Selecting = event.Clicks < 2;
    return true;
  }
  if (event.Kind == InputKind::PointerMove && m_Selecting && IsCaptured()) m_Edit.MoveTo(IndexAt(event.X), true);
  if (event.Kind == InputKind::ButtonUp) m_Selecting = false;
  return IsCaptured();
}

void TextEdit::OpenMenu(const InputEvent& event) {
  const auto press = [this](int key) {
    InputEvent input;
    input.Kind = InputKind::KeyDown;
    input.Key = key;
    input.Modifiers = ModControl;
    OnKey(input);
  };
  TextMenu::Open(
      *Manager(), {event.X, event.Y, 0, 0},
      [&](TextMenu& menu) {
        const bool selected = m_Edit.HasSelection();
        menu.Add(
                "CUT", [=] { press('X'); }, "Ctrl+X")
            ->Enabled = selected;
        menu.Add(
                "COPY", [=] { press('C'); }, "Ctrl+C")
            ->Enabled = selected;
        menu.Add(
                "PASTE", [=] { press('V'); }, "Ctrl+V")
            ->Enabled = !GetClipboard().GetText().empty();
        menu.AddLine();
        menu.Add(
            "SELECT_ALL", [=] { press('A'); }, "Ctrl+A");
      },
      this);
}

bool TextEdit::OnKey(const InputEvent& event) {
  if (ReadOnly) return false;
  const bool down = event.Kind == InputKind::KeyDown;
  if (!m_Editing) {
    if (!down || event.Key != KeyEnter) return false;
    BeginEdit(GetText());
    return true;
  }
  m_CaretSince = m_Now;
  cWidgets* manager = Manager();
  if (Answers && down && (event.Key == KeyEnter || event.Key == KeyEsc)) return false;
  if (down && event.Key == KeyEnter) {
    if (!Write(&event)) {
      SayExpected(false);
      return true;
    }
    End();
    if (manager && manager->Focused() == this) manager->Focus(nullptr);
    return true;
  }
  if (down && event.Key == KeyEsc) {
    if (manager && !m_Expected.empty()) manager->Say({}, {});
    End();
    if (manager && manager->Focused() == this) manager->Focus(nullptr);
    return true;
  }
  if (down && event.Key == KeyTab) return false;
  const std::string before = m_Edit.Text();
  const bool handled = m_Edit.OnKey(event);
  if (m_Edit.Text() != before) {
    if (manager && !m_Expected.empty()) manager->Say({}, {});
    m_Expected.clear();
    if (LiveChange && !Value.IsBound()) Content = m_Edit.Text();
    std::string expected;
    if (!LiveChange || !Value.IsBound() || Value.SetText(m_Edit.Text(), expected)) Tell(WidgetEventKind::Change, &event);
  }
  // Keys that type a character are followed by it: nobody else takes them for a hot key.
  if (down && (event.Key == KeyUp || event.Key == KeyDown || event.Key == KeyPageUp || event.Key == KeyPageDown)) return false;
  const bool types =
      down && !(event.Modifiers & (ModControl | ModAlt | ModSuper)) && !(event.Key >= KeyF1 && event.Key < KeyF1 + 12);
  return handled || types;
}
