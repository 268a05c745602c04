#pragma once
#include <functional>

#include "interface/BaseWidget.h"
#include "interface/TextEditing.h"
#include "interface/ValueBinding.h"

/// A field of one line. While it has the focus it edits a text of its own; Enter or losing the focus writes that into the value,
/// Esc drops it. A text that the value doesn't take stays after Enter, and the reason is said below it; losing the focus drops
/// it, and that is said too.
class TextEdit : public BaseWidget {
  REFLECTED(TextEdit, BaseWidget)
 public:
  TextEdit() = default;
  explicit TextEdit(const ValueBinding& value) : Value(value) {}
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return !ReadOnly; }
  void OnFocus(bool gained) override;
  bool ShowsKeyboard() const override { return m_Editing; }
  /// Some letters; longer texts are scrolled.
  float NarrowestFor(Canvas& canvas) const override { return canvas.Px(60); }
  MouseCursor GetCursor(float x, float y) const override;
  std::string GetText() const override;
  std::string GetHintText(float x, float y) const override;
  /// Puts a text in as if it was typed, all selected; takes the focus.
  void BeginEdit(std::string_view text, bool selectAll = true);
  bool IsEditing() const { return m_Editing; }
  TextEditing& Editing() { return m_Edit; }

  ValueBinding Value;
  std::string Content;      ///< the text where no value is bound
  std::string Placeholder;  ///< key of the text shown while it is empty
  std::string Icon;         ///< at the left
  TextAlign Align = TextAlign::Left;
  bool ReadOnly = false;
  bool LiveChange = false;  ///< every key writes and tells Change, as in search fields
  bool Bare = false;        ///< without ground and border, inside another field
  bool Answers = false;     ///< Enter and Esc are the box's that it stands in
  /// In place of the value: takes the text, or says what it expected.
  std::function<bool(const std::string& text, std::string& expected)> Commit;
  std::function<std::string()> Read;  ///< in place of the value: the text that stands there
  std::function<void()> Ended;        ///< the editing has ended, either way

 private:
  bool Write(const InputEvent* event);
  void SayExpected(bool isDropped);
  void End();
  cRect TextRect(Canvas& canvas) const;
  size_t IndexAt(float x);
  void ScrollToCaret(Canvas& canvas, const cRect& rect);
  void OpenMenu(const InputEvent& event);
  TextEditing m_Edit;
  std::string m_Expected;  // why the last commit failed
  float m_Scroll = 0;
  bool m_Editing = false, m_Selecting = false;
  double m_CaretSince = 0, m_Now = 0;

 public:
  void Process(double timeSec) override;
};
