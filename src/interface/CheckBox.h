#pragma once
#include "interface/TextWidget.h"
#include "interface/ValueBinding.h"

/// A truth value with its name.
class CheckBox : public TextWidget {
  REFLECTED(CheckBox, TextWidget)
 public:
  CheckBox() = default;
  CheckBox(std::string_view text, const ValueBinding& value) : TextWidget(text), Value(value) {}
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return !ReadOnly; }
  bool TakesFocusByMouse() const override { return false; }
  float WidthFor(Canvas& canvas) const override;

  ValueBinding Value;
  bool ReadOnly = false;

 private:
  void Flip(const InputEvent& event);
};

/// A truth value as an icon, as in the rows of trees: "Visible", "Ghost", "Locked".
class IconToggle : public CheckBox {
  REFLECTED(IconToggle, CheckBox)
 public:
  IconToggle() = default;
  IconToggle(std::string_view icon, std::string_view iconOff, const ValueBinding& value)
      : CheckBox({}, value), Icon(icon), IconOff(iconOff) {}
  void Draw(Canvas& canvas) override;
  float WidthFor(Canvas& canvas) const override;

  std::string Icon, IconOff;  ///< IconOff empty: Icon, with a ground while it is on
};
