#pragma once
// One line of text under a caret, without any drawing: what keys do to it, selection, undo. UTF-8; positions are bytes on the
// boundary of a character.
#include <string>
#include <string_view>
#include <vector>

#include "shell/core/InputEvent.h"

class TextEditing {
 public:
  /// Text without control characters; invalid bytes become U+FFFD. Caret at the end, nothing to undo.
  void SetText(std::string_view text);
  const std::string& Text() const { return m_Text; }
  size_t Caret() const { return m_Caret; }
  /// The selection is between anchor and caret.
  size_t Anchor() const { return m_Anchor; }
  size_t SelectionStart() const { return m_Caret < m_Anchor ? m_Caret : m_Anchor; }
  size_t SelectionEnd() const { return m_Caret < m_Anchor ? m_Anchor : m_Caret; }
  bool HasSelection() const { return m_Caret != m_Anchor; }
  std::string SelectedText() const { return m_Text.substr(SelectionStart(), SelectionEnd() - SelectionStart()); }

  /// `keep`: the anchor stays, so that the selection grows.
  void MoveTo(size_t position, bool keep);
  void SelectAll();
  void SelectWordAt(size_t position);
  /// Puts text in place of the selection, up to MaxBytes.
  void Insert(std::string_view text);
  void Erase(bool forward, bool word);
  bool Undo();
  bool Redo();
  /// Keys that move, select, delete, copy, paste, undo. False for all others.
  bool OnKey(const InputEvent& event);
  size_t NextCharacter(size_t position) const;
  size_t PreviousCharacter(size_t position) const;
  size_t NextWord(size_t position) const;
  size_t PreviousWord(size_t position) const;

  size_t MaxBytes = 65535;

 private:
  enum class Edit : uint8_t { None, Typing, Deleting, Other };
  struct State {
    std::string Text;
    size_t Caret, Anchor;
  };
  void Remember(Edit edit);
  void Restore(const State& state);
  std::string m_Text;
  size_t m_Caret = 0, m_Anchor = 0;
  std::vector<State> m_Undo, m_Redo;
  Edit m_LastEdit = Edit::None;
};

/// Text with every byte that is no UTF-8 replaced by U+FFFD and without control characters; line ends become blanks.
std::string CleanLine(std::string_view text);
