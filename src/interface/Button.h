#pragma once
#include <functional>

#include "interface/TextWidget.h"
#include "interface/ValueBinding.h"

enum class ButtonForm : uint8_t { Push, Toggle, Radio };

/// A button with an icon, a text or both. Click is told when the press ends on it, or by Enter and the space bar.
class Button : public TextWidget {
  REFLECTED(Button, TextWidget)
 public:
  Button() { Align = TextAlign::Center; }
  explicit Button(std::string_view text, std::string_view icon = {}) : TextWidget(text), Icon(icon) { Align = TextAlign::Center; }
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }
  float HeightFor(float width, Canvas& canvas) const override;
  float WidthFor(Canvas& canvas) const override;
  float NarrowestFor(Canvas& canvas) const override;
  /// Whether it is shown as pressed in: IsChecked, else the bound value.
  bool Checked() const;

  std::string Icon;
  ButtonForm Form = ButtonForm::Push;
  ValueBinding Value;               ///< of Toggle a truth value, of Radio a whole number
  int RadioValue = 0;               ///< the number that a Radio stands for
  std::function<bool()> IsChecked;  ///< asked in place of the value
  std::function<void()> Action;     ///< called on a click, before the callback
  bool Flat = false;                ///< no ground until the pointer is over it
  bool Default = false;             ///< the answer that Enter gives: drawn in the accent
  float IconSize = 0;               ///< at scale 1; 0: that of rows

 private:
  float Around(Canvas& canvas) const;
  void Click(const InputEvent& event);
};
