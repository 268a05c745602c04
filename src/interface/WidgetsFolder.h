#pragma once
#include "interface/TextWidget.h"
#include "interface/ValueBinding.h"

/// A group of rows that folds: a header, and below it the children, indented.
class WidgetsFolder : public TextWidget {
  REFLECTED(WidgetsFolder, TextWidget)
 public:
  WidgetsFolder() { Style = TextStyle::Bold; }
  explicit WidgetsFolder(std::string_view text, bool open = true) : TextWidget(text), m_Open(open) { Style = TextStyle::Bold; }
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }
  bool ShowsChildren() const override { return IsOpen(); }
  bool IsOpen() const { return State.IsBound() ? State.GetBool() : m_Open; }
  void SetOpen(bool open, const InputEvent* event = nullptr);
  cRect Header(Canvas& canvas) const;

  std::string Icon;
  ValueBinding State;  ///< where the open state is kept, if not here

 private:
  bool m_Open = true;
};
