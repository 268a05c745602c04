#include "interface/TextWidget.h"

#include <algorithm>

#include "ClassEngine/ValueTypes.h"
#include "interface/Language.h"
#include "interface/WidgetDraw.h"

DECLARE_MEMBERS(TextWidget) {
  Member<_str>("Text", Text);
  Member<_BYTE>("Align", Align).Range(0, 2).Hint("0 left, 1 middle, 2 right");
}

std::string TextWidget::GetText() const {
  if (Text.Empty()) return {};
  return Literal ? Text.ToString() : ::GetText(Text.View());
}

void TextWidget::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const uint32_t color = !IsEnabled()                ? theme.TextDisabled
                         : Dim                       ? theme.TextDim
                         : Style == TextStyle::Title ? theme.TextTitle
                                                     : theme.Text;
  if (Wraps)
    canvas.Paragraph(Rect, GetText(), color, Style, TextAlign::Left, LongWords::Cut);
  else
    canvas.Text(Rect, GetText(), color, Style, Align);
}

float TextWidget::HeightFor(float width, Canvas& canvas) const {
  const float row = std::max(RowHeight(canvas), canvas.LineHeight(Style));
  return Wraps ? std::max(row, canvas.ParagraphHeight(width, GetText(), Style, LongWords::Cut)) : row;
}

float TextWidget::WidthFor(Canvas& canvas) const { return Wraps ? 0 : canvas.TextWidth(GetText(), Style) + 1; }
