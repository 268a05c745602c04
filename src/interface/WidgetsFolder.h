#pragma once
#include "interface/TextWidget.h"

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
  bool IsOpen() const { return m_Open; }
  void SetOpen(bool open, const InputEvent* event = nullptr);
  cRect Header(Canvas& canvas) const;

 private:
  bool m_Open = true;
};
