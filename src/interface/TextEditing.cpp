#include "interface/TextEditing.h"

#include <algorithm>

#include "interface/Clipboard.h"
#include "shell/core/KeyTable.h"
#include "shell/core/Utf8.h"

namespace {

constexpr size_t MaxUndo = 200;

bool IsContinuation(char symbol) { return (static_cast<unsigned char>(symbol) & 0xC0) == 0x80; }

// What belongs together in a step by words: letters and digits, or signs, or blanks. All beyond ASCII counts as letters.
int KindOf(char symbol) {
  const auto byte = static_cast<unsigned char>(symbol);
  if (byte <= ' ') return 0;
  if (byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '_')
    return 1;
  return 2;
}

}  // namespace

std::string CleanLine(std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  while (!text.empty()) {
    const size_t length = Utf8SequenceLength(text);
    const char first = text[0];
    if (length == 0)
      clean += "\xEF\xBF\xBD";
    else if (first == '\n' || first == '\t')
      clean += ' ';
    else if (static_cast<unsigned char>(first) >= 0x20 && first != 0x7F)
      clean += text.substr(0, length);
    text.remove_prefix(std::max<size_t>(1, length));
  }
  return clean;
}

void TextEditing::SetText(std::string_view text) {
  m_Text = CleanLine(text);
  m_Caret = m_Anchor = m_Text.size();
  m_Undo.clear();
  m_Redo.clear();
  m_LastEdit = Edit::None;
}

size_t TextEditing::NextCharacter(size_t position) const {
  if (position >= m_Text.size()) return m_Text.size();
  for (position++; position < m_Text.size() && IsContinuation(m_Text[position]);) position++;
  return position;
}

size_t TextEditing::PreviousCharacter(size_t position) const {
  position = std::min(position, m_Text.size());
  if (!position) return 0;
  for (position--; position && IsContinuation(m_Text[position]);) position--;
  return position;
}

// Over the word the caret is in, then over the blanks behind it.
size_t TextEditing::NextWord(size_t position) const {
  if (position >= m_Text.size()) return m_Text.size();
  const int kind = KindOf(m_Text[position]);
  while (position < m_Text.size() && KindOf(m_Text[position]) == kind) position++;
  while (position < m_Text.size() && KindOf(m_Text[position]) == 0) position++;
  return position;
}

size_t TextEditing::PreviousWord(size_t position) const {
  position = std::min(position, m_Text.size());
  while (position && KindOf(m_Text[position - 1]) == 0) position--;
  if (!position) return 0;
  const int kind = KindOf(m_Text[position - 1]);
  while (position && KindOf(m_Text[position - 1]) == kind) position--;
  return position;
}

void TextEditing::MoveTo(size_t position, bool keep) {
  m_Caret = std::min(position, m_Text.size());
  while (m_Caret && m_Caret < m_Text.size() && IsContinuation(m_Text[m_Caret])) m_Caret--;
  if (!keep) m_Anchor = m_Caret;
  m_LastEdit = Edit::None;
}

void TextEditing::SelectAll() {
  m_Anchor = 0;
  m_Caret = m_Text.size();
  m_LastEdit = Edit::None;
}

void TextEditing::SelectWordAt(size_t position) {
  if (m_Text.empty()) return;
  position = std::min(position, m_Text.size() - 1);
  const int kind = KindOf(m_Text[position]);
  size_t start = position, end = position;
  while (start && KindOf(m_Text[start - 1]) == kind) start--;
  while (end < m_Text.size() && KindOf(m_Text[end]) == kind) end++;
  m_Anchor = start;
  m_Caret = end;
  m_LastEdit = Edit::None;
}

// Keys of one kind in a row are one step.
void TextEditing::Remember(Edit edit) {
  const bool joins = edit == m_LastEdit && edit != Edit::Other && !HasSelection();
  m_LastEdit = edit;
  m_Redo.clear();
  if (joins) return;
  if (m_Undo.size() == MaxUndo) m_Undo.erase(m_Undo.begin());
  m_Undo.push_back({m_Text, m_Caret, m_Anchor});
}

void TextEditing::Restore(const State& state) {
  m_Text = state.Text;
  m_Caret = state.Caret;
  m_Anchor = state.Anchor;
  m_LastEdit = Edit::None;
}

bool TextEditing::Undo() {
  if (m_Undo.empty()) return false;
  m_Redo.push_back({m_Text, m_Caret, m_Anchor});
  Restore(m_Undo.back());
  m_Undo.pop_back();
  return true;
}

bool TextEditing::Redo() {
  if (m_Redo.empty()) return false;
  m_Undo.push_back({m_Text, m_Caret, m_Anchor});
  Restore(m_Redo.back());
  m_Redo.pop_back();
  return true;
}

void TextEditing::Insert(std::string_view text) {
  std::string clean = CleanLine(text);
  const size_t others = m_Text.size() - (SelectionEnd() - SelectionStart());
  size_t room = others < MaxBytes ? MaxBytes - others : 0;
  if (clean.size() > room) {
    while (room && IsContinuation(clean[room])) room--;
    clean.resize(room);
  }
  if (clean.empty()) return;
  Remember(clean.size() <= 4 ? Edit::Typing : Edit::Other);  // one character; more come from the clipboard
  const size_t start = SelectionStart();
  m_Text.replace(start, SelectionEnd() - start, clean);
  m_Caret = m_Anchor = start + clean.size();
}

void TextEditing::Erase(bool forward, bool word) {
  size_t start = SelectionStart(), end = SelectionEnd();
  if (!HasSelection()) {
    if (forward)
      end = word ? NextWord(m_Caret) : NextCharacter(m_Caret);
    else
      start = word ? PreviousWord(m_Caret) : PreviousCharacter(m_Caret);
  }
  if (start == end) return;
  Remember(HasSelection() || word ? Edit::Other : Edit::Deleting);
  m_Text.erase(start, end - start);
  m_Caret = m_Anchor = start;
}

bool TextEditing::OnKey(const InputEvent& event) {
  if (event.Kind == InputKind::Text) {
    if (event.Text.empty() || static_cast<unsigned char>(event.Text[0]) < 0x20) return false;
    Insert(event.Text);
    return true;
  }
  if (event.Kind != InputKind::KeyDown || (event.Modifiers & (ModAlt | ModSuper))) return false;
  const bool control = event.Modifiers & ModControl, shift = event.Modifiers & ModShift;
  switch (event.Key) {
    case KeyLeft:
      if (HasSelection() && !shift && !control)
        MoveTo(SelectionStart(), false);
      else
        MoveTo(control ? PreviousWord(m_Caret) : PreviousCharacter(m_Caret), shift);
      return true;
    case KeyRight:
      if (HasSelection() && !shift && !control)
        MoveTo(SelectionEnd(), false);
      else
        MoveTo(control ? NextWord(m_Caret) : NextCharacter(m_Caret), shift);
      return true;
    case KeyHome:
      MoveTo(0, shift);
      return true;
    case KeyEnd:
      MoveTo(m_Text.size(), shift);
      return true;
    case KeyBackspace:
      Erase(false, control);
      return true;
    case KeyDelete:
      if (shift && HasSelection()) GetClipboard().SetText(SelectedText());
      Erase(true, control);
      return true;
    case KeyInsert:
      if (control && HasSelection()) GetClipboard().SetText(SelectedText());
      if (shift) Insert(GetClipboard().GetText());
      return control || shift;
    default:
      break;
  }
  if (!control) return false;
  switch (event.Key) {
    case 'A':
      SelectAll();
      return true;
    case 'C':
      if (HasSelection()) GetClipboard().SetText(SelectedText());
      return true;
    case 'X':
      if (HasSelection()) {
        GetClipboard().SetText(SelectedText());
        Erase(true, false);
      }
      return true;
    case 'V':
      m_LastEdit = Edit::None;
      Insert(GetClipboard().GetText());
      m_LastEdit = Edit::None;
      return true;
    case 'Z':
      if (shift)
        Redo();
      else
        Undo();
      return true;
    case 'Y':
      Redo();
      return true;
    default:
      return false;
  }
}
