#include <cmath>

#include "WidgetFixture.h"
#include "comms/One2DCurve.h"
#include "interface/Button.h"
#include "interface/CheckBox.h"
#include "interface/ColorPicker.h"
#include "interface/CurvesWindow.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NumberField.h"
#include "interface/SimpleSlider.h"
#include "interface/TextEdit.h"
#include "interface/TextMenu.h"
#include "interface/TextWidget.h"

namespace {

class ValueWidgetsTest : public WidgetTest {};

TEST_F(ValueWidgetsTest, SliderDragsFinelyInStepsAndWithinItsRange) {
  float value = 50;
  SliderRange range{0, 100, 25};
  auto* slider = Place(new SimpleSlider("Size", Bind<CtrlFSlider>(value, &range)), {100, 100, 200, 19});
  Notes notes;
  notes.Listen(*slider);
  Click(250, 110);
  EXPECT_EQ(value, 50) << "a press alone changes nothing";
  Press(250, 110);
  Move(270, 300);
  EXPECT_FLOAT_EQ(value, 60);
  EXPECT_EQ(notes.Done, 0);
  Move(290, 300, ModShift);
  EXPECT_FLOAT_EQ(value, 61);
  Move(310, 300, ModControl);
  EXPECT_FLOAT_EQ(value, 70) << "71 lies between the steps of 5";
  Move(9000, 110);
  EXPECT_FLOAT_EQ(value, 100);
  Move(8980, 110);
  EXPECT_FLOAT_EQ(value, 90) << "the way back begins at the end at once";
  Release(8980, 110);
  EXPECT_EQ(notes.Done, 1);
  EXPECT_EQ(notes.Changes, 5);
  Click(150, 110, ModControl);
  EXPECT_EQ(value, 25);
  Send(WheelEvent(150, 110, 1));
  EXPECT_EQ(value, 25);
  Send(WheelEvent(150, 110, 1, ModAlt));
  EXPECT_EQ(value, 30);
}

TEST_F(ValueWidgetsTest, SliderTakesTypedNumbers) {
  int value = 7;
  SliderRange range{1, 400, 100};
  auto* slider = Place(new SimpleSlider("Count", Bind<CtrlISlider>(value, &range)), {100, 100, 200, 19});
  slider->Unit = "mm";
  const auto enter = [&](const char* text) {
    Click(150, 110, 0, 2);
    Type(text);
    Key(KeyEnter);
  };
  enter("120 mm");
  EXPECT_EQ(value, 120);
  enter("9999");
  EXPECT_EQ(value, 400);
  enter("-5");
  EXPECT_EQ(value, 1);
  enter("2.6");
  EXPECT_EQ(value, 3);
  enter("many");
  EXPECT_EQ(value, 3);
  EXPECT_EQ(slider->Children.Count, 1) << "the field stays until the text is mended";
  Key(KeyEsc);
  EXPECT_EQ(slider->Children.Count, 0);
  EXPECT_EQ(Widgets.Focused(), slider);
  Type("88");  // typing opens the field
  Key(KeyTab);
  EXPECT_EQ(value, 88);
  slider->ReadOnly = true;
  Click(150, 110, 0, 2);
  EXPECT_EQ(slider->Children.Count, 0);
  DrawAll();
}

TEST_F(ValueWidgetsTest, SliderMenuGoesWithTheSlider) {
  float value = 3;
  SliderRange range{0, 10, 5};
  auto* slider = Place(new SimpleSlider("Size", Bind<CtrlFSlider>(value, &range)), {100, 100, 200, 19});
  Send(InputKind::ButtonDown, 150, 110, MouseButton::Right);
  Send(InputKind::ButtonUp, 150, 110, MouseButton::Right);
  ASSERT_TRUE(Widgets.HasPopups());
  Key(KeyDown);
  Key(KeyEnter);
  EXPECT_EQ(value, 5);
  Send(InputKind::ButtonDown, 150, 110, MouseButton::Right);
  Send(InputKind::ButtonUp, 150, 110, MouseButton::Right);
  Widgets.DeleteLater(slider);
  EXPECT_FALSE(Widgets.HasPopups());
  DrawAll();
}

TEST(SliderNumber, PrintsWhatMattersAndReadsUnits) {
  EXPECT_EQ(PrintSliderNumber(0.35, 1, false), "0.35");
  EXPECT_EQ(PrintSliderNumber(0.000123, 1, false), "0.000123");
  EXPECT_EQ(PrintSliderNumber(123.456, 1000, false), "123");
  EXPECT_EQ(PrintSliderNumber(12.5, 1000, false), "12.5");
  EXPECT_EQ(PrintSliderNumber(-0.0, 1, false), "0");
  EXPECT_EQ(PrintSliderNumber(400, 400, true), "400");
  double value = 0;
  EXPECT_TRUE(ReadSliderNumber(" 1,5 mm ", "mm", value));
  EXPECT_EQ(value, 1.5);
  EXPECT_FALSE(ReadSliderNumber("1.5 km", "mm", value));
  EXPECT_FALSE(ReadSliderNumber("", "", value));
}

TEST_F(ValueWidgetsTest, NumberFieldStepsDragsAndTypes) {
  float value = 1;
  auto* field = Place(new NumberField(Bind<_float>(value)), {100, 100, 100, 19});
  field->Step = 0.1;
  field->MaxValue = 2;
  Notes notes;
  notes.Listen(*field);
  for (int i = 0; i < 3; i++) Click(195, 103);
  EXPECT_FLOAT_EQ(value, 1.3f);
  EXPECT_EQ(field->GetText(), "1.3") << "steps don't add up to dust";
  Click(195, 116);
  EXPECT_FLOAT_EQ(value, 1.2f);
  Click(130, 110);
  Key(KeyUp, ModControl);
  EXPECT_FLOAT_EQ(value, 2) << "held to the limit";
  Key('A', ModControl);
  Type("0.5");
  Key(KeyEnter);
  EXPECT_FLOAT_EQ(value, 0.5f);
  EXPECT_EQ(notes.Done, 6);
}

TEST_F(ValueWidgetsTest, ButtonsClickWhereThePressEndsOnThem) {
  bool on = false;
  int side = 0;
  Notes notes;
  auto* toggle = Place(new Button("On"), {0, 0, 100, 20});
  toggle->Form = ButtonForm::Toggle;
  toggle->Value = Bind<_bool>(on);
  notes.Listen(*toggle);
  Press(50, 10);
  Release(500, 500);
  EXPECT_FALSE(on);
  EXPECT_EQ(notes.Clicks, 0);
  Click(50, 10);
  EXPECT_TRUE(on);
  EXPECT_TRUE(toggle->Checked());
  EXPECT_EQ(notes.Clicks, 1);
  EXPECT_NE(Widgets.Focused(), toggle) << "the space bar stays a hot key after a click";
  auto* radio = Place(new Button("Side"), {0, 30, 100, 20});
  radio->Form = ButtonForm::Radio;
  radio->Value = Bind<_int>(side);
  radio->RadioValue = 3;
  ClickOn(*radio);
  ClickOn(*radio);
  EXPECT_EQ(side, 3);
  auto* check = Place(new CheckBox("Check", Bind<_bool>(on)), {0, 60, 100, 20});
  check->ReadOnly = true;
  ClickOn(*check);
  EXPECT_TRUE(on);
}

TEST(ColorMath, HsvGivesEveryColourBack) {
  for (uint32_t r = 0; r < 256; r += 15)
    for (uint32_t g = 0; g < 256; g += 15)
      for (uint32_t b = 0; b < 256; b += 15) {
        const uint32_t color = 0xFF000000u | r << 16 | g << 8 | b;
        ASSERT_EQ(HsvToRgb(RgbToHsv(color)), color);
      }
  EXPECT_FLOAT_EQ(RgbToHsv(0x0000FF).H, 2.0f / 3);
  EXPECT_EQ(HsvToRgb({1, 1, 1}), HsvToRgb({0, 1, 1}));
  uint32_t color = 0x80000000;
  EXPECT_TRUE(ReadHexColor("#1aF", color));
  EXPECT_EQ(color, 0x8011AAFFu);
  EXPECT_TRUE(ReadHexColor(PrintHexColor(0x12345678, true), color));
  EXPECT_EQ(color, 0x12345678u);
  for (const char* bad : {"", "#", "12345", "GG0000", "123456789"}) EXPECT_FALSE(ReadHexColor(bad, color)) << bad;
}

TEST_F(ValueWidgetsTest, ColorPickerKeepsTheHueOfGreys) {
  uint32_t color = 0x80336699;
  auto* picker = Place(new ColorPicker(Bind<_color>(color)), {0, 0, 320, 220});
  Notes notes;
  notes.Listen(*picker);
  const float hue = picker->Hsv().H;
  Press(100, 100);
  EXPECT_EQ(color >> 24, 0x80u) << "alpha stays";
  Move(-50, 500);  // to the black corner
  EXPECT_EQ(color & 0xFFFFFF, 0u);
  EXPECT_EQ(notes.Done, 0);
  Move(500, -50);
  Release(500, -50);
  EXPECT_NEAR(RgbToHsv(color).H, hue, 0.01f);
  EXPECT_EQ(notes.Done, 1);
  DrawAll();
}

TEST(Curve, IsMonotoneBetweenItsPoints) {
  comms::One2DCurve curve;
  EXPECT_EQ(curve.Evaluate(0.3f), 0.3f);
  curve.SetLinear();
  for (const float x : {0.0f, 0.2f, 0.7f, 1.0f}) EXPECT_NEAR(curve.Evaluate(x), x, 1e-6f);
  curve.AddPoint(0.5f, 0.02f);
  curve.AddPoint(0.55f, 0.9f);
  float before = -1;
  for (int i = 0; i <= 1000; i++) {
    const float y = curve.Evaluate(float(i) / 1000);
    EXPECT_GE(y, before);
    before = y;
  }
  for (const comms::wCurvePoint* point : curve.Points) EXPECT_NEAR(curve.Evaluate(point->X), point->Y, 1e-6f);
  curve.MovePoint(1, 0.99f, 7);
  EXPECT_LT(curve.Points[1]->X, curve.Points[2]->X);
  EXPECT_EQ(curve.Points[1]->Y, 1);
}

TEST(Curve, IsSmoothWhereItsPiecesMeet) {
  comms::One2DCurve curve;
  curve.SetLinear();
  const float at = 0.4f, d = 1e-3f;
  curve.AddPoint(at, 0.2f);
  const float before = (curve.Evaluate(at) - curve.Evaluate(at - d)) / d,
              behind = (curve.Evaluate(at + d) - curve.Evaluate(at)) / d;
  EXPECT_NEAR(before, behind, 0.01f);
  EXPECT_GT(before, 0.5f) << "between the slopes of both sides";
  EXPECT_LT(before, 4.0f / 3);
}

TEST(Curve, ReadsAnyNumbersInAnyOrder) {
  comms::One2DCurve curve;
  curve.RegisterMembers();
  XmlNode node;
  ASSERT_GT(
      node.Parse("<One2DCurve><Points><wCurvePoint><X>1</X><Y>5</Y></wCurvePoint><wCurvePoint><X>-3</X><Y>0.5</Y></wCurvePoint>"
                 "<wCurvePoint><X>0.5</X><Y>0.25</Y></wCurvePoint></Points></One2DCurve>"),
      0);
  ASSERT_TRUE(curve.Load(&node));
  ASSERT_EQ(curve.GetPointCount(), 3);
  EXPECT_EQ(curve.Evaluate(0), 0.5f);
  EXPECT_EQ(curve.Evaluate(0.5f), 0.25f);
  EXPECT_EQ(curve.Evaluate(1), 1);
  EXPECT_TRUE(std::isfinite(curve.Evaluate(NAN)));
}

TEST_F(ValueWidgetsTest, CurveEditorAddsMovesAndRemovesPoints) {
  comms::One2DCurve curve;
  curve.SetLinear();
  auto* window = Place(new CurvesWindow(&curve), {0, 0, 214, 114});  // the plot is 200 by 100 behind an edge of 7
  Notes notes;
  notes.Listen(*window);
  Press(107, 27);
  ASSERT_EQ(curve.GetPointCount(), 3);
  EXPECT_NEAR(curve.Points[1]->X, 0.5f, 1e-3f);
  EXPECT_NEAR(curve.Points[1]->Y, 0.8f, 1e-3f);
  Move(157, 57);
  EXPECT_NEAR(curve.Points[1]->X, 0.75f, 1e-3f);
  EXPECT_NEAR(curve.Points[1]->Y, 0.5f, 1e-3f);
  Release(157, 57);
  EXPECT_EQ(notes.Done, 1);
  Press(7, 107);  // the first point moves up alone
  Move(60, 57);
  Release(60, 57);
  EXPECT_EQ(curve.Points[0]->X, 0);
  EXPECT_NEAR(curve.Points[0]->Y, 0.5f, 1e-3f);
  Key(KeyDelete);
  EXPECT_EQ(curve.GetPointCount(), 3) << "the ends stay";
  Click(157, 57, 0, 2);
  EXPECT_EQ(curve.GetPointCount(), 2);
  DrawAll();
}

TEST_F(ValueWidgetsTest, EscTakesADragBack) {
  float size = 50, number = 1;
  uint32_t color = 0x80336699;
  comms::One2DCurve curve;
  curve.SetLinear();
  SliderRange range{0, 100, 25};
  const auto drag = [&](BaseWidget* widget, float x, float y) {
    Notes notes;
    notes.Listen(*widget);
    Press(x, y);
    Move(x + 30, y - 30);
    EXPECT_GT(notes.Changes, 0);
    Key(KeyEsc);
    EXPECT_EQ(Widgets.Captured(), nullptr);
    Move(x + 60, y - 60);
    Release(x + 60, y - 60);
    EXPECT_EQ(notes.Done, 1) << "what was told of comes to an end";
    widget->Callback.reset();
  };
  drag(Place(new SimpleSlider("Size", Bind<CtrlFSlider>(size, &range)), {0, 100, 200, 19}), 50, 110);
  EXPECT_EQ(size, 50);
  drag(Place(new NumberField(Bind<_float>(number)), {0, 150, 100, 19}), 95, 153);
  EXPECT_EQ(number, 1);
  drag(Place(new ColorPicker(Bind<_color>(color)), {300, 0, 320, 220}), 350, 100);
  EXPECT_EQ(color, 0x80336699);
  drag(Place(new CurvesWindow(&curve), {300, 300, 214, 114}), 400, 350);
  EXPECT_EQ(curve.GetPointCount(), 2) << "the point that the press added is gone";
  // A box that opens meanwhile takes a drag back too, and no move goes on behind it.
  Press(50, 110);
  Move(80, 110);
  MessageBoxWidget::Ask(Widgets, "Title", "Text", {"OK"}, nullptr);
  Move(120, 110);
  EXPECT_EQ(size, 50);
}

TEST_F(ValueWidgetsTest, ACloneHasTheMembersAndNothingElse) {
  TextWidget widget("Key");
  widget.Align = TextAlign::Right;
  widget.Enabled = false;
  widget.AddChild(new BaseWidget);
  Notes notes;
  notes.Listen(widget);
  const std::unique_ptr<BaseWidget> clone(widget.Clone());
  const auto* text = dynamic_cast<TextWidget*>(clone.get());
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->Text, "Key");
  EXPECT_EQ(text->Align, TextAlign::Right);
  EXPECT_FALSE(text->Enabled);
  EXPECT_EQ(text->Children.Count, 0);
  EXPECT_EQ(text->Callback, nullptr);
}

}  // namespace
