#pragma once
// Text in a row, and what is built on it.
#include "ClassEngine/Str.h"
#include "interface/BaseWidget.h"

/// One line, or a paragraph, of text.
class TextWidget : public BaseWidget {
  REFLECTED(TextWidget, BaseWidget)
 public:
  TextWidget() = default;
  explicit TextWidget(std::string_view text) : Text(text) {}
  /// What is shown: the text of the key, or the text itself where it is Literal.
  std::string GetText() const override;
  void Draw(Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float WidthFor(Canvas& canvas) const override;

  _str Text;  ///< language key
  TextAlign Align = TextAlign::Left;
  TextStyle Style = TextStyle::Normal;
  bool Literal = false;  ///< Text is shown as it stands
  bool Dim = false;      ///< in the colour of notes
  bool Wraps = false;    ///< breaks into lines
};
