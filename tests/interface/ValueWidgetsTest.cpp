#include <cmath>

#include "WidgetFixture.h"
#include "comms/One2DCurve.h"
#include "interface/Button.h"
#include "interface/CheckBox.h"
#include "interface/ColorPicker.h"
#include "interface/CurvesWindow.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NumberField.h"
#include "interface/SimpleSlider.h"
#include "interface/TextEdit.h"
#include "interface/TextWidget.h"

namespace {

using ValueWidgetsTest = WidgetTest;

TEST_F(ValueWidgetsTest, SliderDragsFinelyInStepsAndWithinItsRange) {
  float value = 50;
  SliderRange range{0, 100, 25};
  auto* slider = Place(new SimpleSlider("Size", Bind<CtrlFSlider>(value, &range)), {100, 100, 200, 19});
  Notes notes(*slider);
  Click(250, 110);
  EXPECT_EQ(value, 50) << "a press alone changes nothing";
  Press(250, 110);
  // Control: 71 lies between the steps of 5. The way back begins at the end at once.
  for (const auto& [x, modifiers, expected] :
       {std::tuple{270, 0, 60}, {290, ModShift, 61}, {310, ModControl, 70}, {9000, 0, 100}, {8980, 0, 90}}) {
    Move(float(x), 300, uint8_t(modifiers));
    EXPECT_FLOAT_EQ(value, float(expected));
  }
  EXPECT_EQ(notes.Done, 0);
  Release(8980, 110);
  EXPECT_EQ(notes.Done, 1);
  EXPECT_EQ(Widgets.Focused(), nullptr) << "the keys stay those of the scene";
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
  for (const auto& [text, expected] : {std::pair{"120 mm", 120}, {"9999", 400}, {"-5", 1}, {"2.6", 3}, {"many", 3}}) {
    Click(150, 110, 0, 2);
    Type(text);
    Key(KeyEnter);
    EXPECT_EQ(value, expected) << text;
  }
  EXPECT_EQ(slider->Children.Count, 1) << "the field stays until the text is mended";
  Key(KeyEsc);
  EXPECT_EQ(slider->Children.Count, 0);
  EXPECT_EQ(Widgets.Focused(), nullptr);
  Widgets.MoveFocus(false);
  Type("4");  // typing opens the field
  Key(KeyEnter);
  EXPECT_EQ(Widgets.Focused(), slider) << "the ring goes back to where it was";
  Type("88");
  Key(KeyTab);
  EXPECT_EQ(value, 88);
  slider->ReadOnly = true;
  Click(150, 110, 0, 2);
  EXPECT_EQ(slider->Children.Count, 0);
}

TEST_F(ValueWidgetsTest, SliderMenuGoesWithTheSlider) {
  float value = 3;
  SliderRange range{0, 10, 5};
  auto* slider = Place(new SimpleSlider("Size", Bind<CtrlFSlider>(value, &range)), {100, 100, 200, 19});
  RightClick(150, 110);
  ASSERT_TRUE(Widgets.HasPopups());
  Keys({KeyDown, KeyEnter});
  EXPECT_EQ(value, 5);
  RightClick(150, 110);
  Widgets.DeleteLater(slider);
  EXPECT_FALSE(Widgets.HasPopups());
}

TEST(SliderNumber, PrintsWhatMattersAndReadsUnits) {
  for (const auto& [number, most, text] :
       {std::tuple{0.35, 1, "0.35"}, {0.000123, 1, "0.000123"}, {123.456, 1000, "123"}, {12.5, 1000, "12.5"}, {-0.0, 1, "0"}})
    EXPECT_EQ(PrintSliderNumber(number, most, false), text);
  double value = 0;
  EXPECT_TRUE(ReadSliderNumber(" 1,5 mm ", "mm", value));
  EXPECT_EQ(value, 1.5);
  for (const char* bad : {"1.5 km", "", "mm"}) EXPECT_FALSE(ReadSliderNumber(bad, "mm", value)) << bad;
}

TEST_F(ValueWidgetsTest, NumberFieldStepsDragsAndTypes) {
  float value = 1;
  auto* field = Place(new NumberField(Bind<_float>(value)), {100, 100, 100, 19});
  field->Step = 0.1;
  field->MaxValue = 2;
  Notes notes(*field);
  for (int i = 0; i < 3; i++) Click(195, 103);
  EXPECT_FLOAT_EQ(value, 1.3f);
  EXPECT_EQ(field->GetText(), "1.3") << "steps don't add up to dust";
  Click(195, 116);
  EXPECT_FLOAT_EQ(value, 1.2f);
  Click(130, 110);
  Key(KeyUp, ModControl);
  EXPECT_FLOAT_EQ(value, 2) << "held to the limit";
  std::string error;
  for (const auto& [language, shown] : {std::pair{"German", "0,5"}, {"English", "0.5"}}) {
    ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, language, error)) << error;
    for (const char* typed : {"1", "0.5", "1", "0,5"}) {
      Click(130, 110);
      TypeAnew(typed);
      Key(KeyEnter);
    }
    EXPECT_EQ(value, 0.5f);
    EXPECT_EQ(field->GetText(), shown);
  }
  EXPECT_EQ(notes.Done, 13);
}

TEST_F(ValueWidgetsTest, ButtonsClickWhereThePressEndsOnThem) {
  bool on = false;
  int side = 0;
  auto* toggle = Place(new Button("On"), {0, 0, 100, 20});
  toggle->Form = ButtonForm::Toggle;
  toggle->Value = Bind<_bool>(on);
  Notes notes(*toggle);
  DragAlong({{50, 10}, {500, 500}});
  EXPECT_FALSE(on);
  EXPECT_EQ(notes.Clicks, 0);
  Click(50, 10);
  EXPECT_TRUE(on && toggle->Checked());
  EXPECT_EQ(notes.Clicks, 1);
  EXPECT_NE(Widgets.Focused(), toggle) << "the space bar stays a hot key after a click";
  auto* radio = Place(new Button("Side"), {0, 30, 100, 20});
  radio->Form = ButtonForm::Radio;
  radio->Value = Bind<_int>(side);
  radio->RadioValue = 3;
  for (int again = 0; again < 2; again++) ClickOn(*radio);
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
  Notes notes(*picker);
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
}

TEST_F(ValueWidgetsTest, CurveEditorAddsMovesAndRemovesPoints) {
  comms::One2DCurve curve;
  curve.SetLinear();
  auto* window = Place(new CurvesWindow(&curve), {0, 0, 214, 114});  // the plot is 200 by 100 behind an edge of 7
  Notes notes(*window);
  Press(107, 27);
  ASSERT_EQ(curve.GetPointCount(), 3);
  const auto expectPoint = [&](int index, float x, float y) {
    EXPECT_NEAR(curve.Points[index]->X, x, 1e-3f);
    EXPECT_NEAR(curve.Points[index]->Y, y, 1e-3f);
  };
  expectPoint(1, 0.5f, 0.8f);
  Move(157, 57);
  expectPoint(1, 0.75f, 0.5f);
  Release(157, 57);
  EXPECT_EQ(notes.Done, 1);
  DragAlong({{7, 107}, {60, 57}});  // the first point moves up alone
  expectPoint(0, 0, 0.5f);
  Key(KeyDelete);
  EXPECT_EQ(curve.GetPointCount(), 3) << "the ends stay";
  Click(157, 57, 0, 2);
  EXPECT_EQ(curve.GetPointCount(), 2);
}

TEST_F(ValueWidgetsTest, CurveEditorWorksByKeys) {
  comms::One2DCurve curve;
  curve.SetLinear();
  auto* window = Place(new CurvesWindow(&curve), {0, 0, 214, 114});
  Notes notes(*window);
  Widgets.MoveFocus(false);
  const auto expectPoints = [&](std::initializer_list<comms::cVec2> points) {
    ASSERT_EQ(curve.GetPointCount(), int(points.size()));
    int index = 0;
    for (const comms::cVec2& point : points) {
      EXPECT_NEAR(curve.Points[index]->X, point.x, 1e-4f) << index;
      EXPECT_NEAR(curve.Points[index++]->Y, point.y, 1e-4f) << index;
    }
  };
  Key(KeyInsert);
  expectPoints({{0, 0}, {0.5f, 0.5f}, {1, 1}});
  Key(KeyUp);
  Key(KeyRight, ModControl);
  Key(KeyLeft, ModControl | ModShift);
  expectPoints({{0, 0}, {0.54f, 0.55f}, {1, 1}});
  Keys({KeyRight, KeyRight});  // to the last one, which moves up and down alone
  Key(KeyDown, ModShift);
  Key(KeyLeft, ModControl);
  expectPoints({{0, 0}, {0.54f, 0.55f}, {1, 0.99f}});
  EXPECT_EQ(notes.Done, 5) << "a key that changes nothing tells nothing";
  Keys({KeyLeft, KeyDelete});
  expectPoints({{0, 0}, {1, 0.99f}});
  // A press gives it the keys, without a ring; over the scene they are the scene's.
  Click(107, 57);
  ASSERT_EQ(curve.GetPointCount(), 3);
  int unhandled = 0;
  Widgets.Unhandled = [&](const InputEvent& event) { return event.Kind == InputKind::KeyDown && ++unhandled; };
  Move(500, 500);
  Key(KeyDelete);
  EXPECT_EQ(curve.GetPointCount(), 3);
  EXPECT_EQ(unhandled, 1);
}

TEST_F(ValueWidgetsTest, EscTakesADragBack) {
  float size = 50, number = 1;
  uint32_t color = 0x80336699;
  comms::One2DCurve curve;
  curve.SetLinear();
  SliderRange range{0, 100, 25};
  const auto drag = [&](BaseWidget* widget, float x, float y) {
    Notes notes(*widget);
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
  widget.AddChild(new BaseWidget);
  const Notes notes(widget);
  const std::unique_ptr<BaseWidget> clone(widget.Clone());
  const auto* text = dynamic_cast<TextWidget*>(clone.get());
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->Text, "Key");
  EXPECT_TRUE(text->Children.Count == 0 && !text->Callback);
}

}  // namespace
