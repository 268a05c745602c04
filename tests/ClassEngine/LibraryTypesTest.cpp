// The value types and containers of the engine library's own objects: text, failures, and where they differ from their kin.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ReflectionFixtures.h"

using namespace fixture;
using testing::ElementsAre;

namespace {

/// Declared as the compiler can't see it.
class WrongSizes : public BaseClass {
  REFLECTED(WrongSizes, BaseClass)
  float Two[2] = {};
};
DECLARE_MEMBERS(WrongSizes) {
  reflection::AddUncheckedMember<_cFloat3>("Three", &Two, "float[2]", sizeof(Two));
  reflection::AddUncheckedMember<_cFloat>("One", &Two, "int", 4);
  reflection::AddUncheckedMember<_cFloat2>("Two", &Two, "float[2]", sizeof(Two));
}

static_assert(_cFloat2::Fits<float[2]> && !_cFloat2::Fits<Int2> && _cVec2i::Fits<Int2> && !_cVec2i::Fits<float[2]>);
static_assert(!_cFloat4::Fits<Point> && !_cVec3i::Fits<Int2> && _cInt::Fits<Shape> && !_cInt::Fits<unsigned> &&
              !_cInt::Fits<float>);
static_assert(_cStr::Fits<std::string> && !_cStr::Fits<_str> && !_cBool::Fits<int> && !_cFloat::Fits<double>);

}  // namespace

TEST(LibraryTypes, TextIsExact) {
  RecordingHost host;
  LibraryValues values;
  values.Size = 1e-9f;
  values.Plane[3] = -0.1f;
  values.Cell = {INT32_MIN, 3};
  const std::string text = SaveText(values);
  for (const char* part : {"<Size>1e-09</Size>", "<Plane>0 0 0 -0.1</Plane>", "<Cell>-2147483648 3</Cell>",
                           "<Tint>FF102030</Tint>", "<Kind>Box</Kind>", "<Flag>false</Flag>", "<Picture>none.png</Picture>",
                           "<Corner>1 2</Corner>", "<Image></Image>", "<Items></Items>"})
    EXPECT_THAT(text, testing::HasSubstr(part));
  for (const char* left : {"Sliders", "Numbers", "Press"}) EXPECT_THAT(text, testing::Not(testing::HasSubstr(left)));
  EXPECT_THAT(host.Boxes, testing::IsEmpty());
}

TEST(LibraryTypes, UnreadTextIsReportedByTagAndKeepsTheValue) {
  LibraryValues values;
  values.Flag = true;
  XmlErrorLog errors;
  ASSERT_TRUE(LoadText(values,
                       "<L><Flag>perhaps</Flag><Number>x</Number><Slide>2147483648</Slide><SlideF>f</SlideF><Corner>1</Corner>"
                       "<Plane>1 2 3</Plane><Cell>1 2.5e</Cell><Block>1 2 z</Block><Tint>q</Tint><Kind>Gone</Kind></L>",
                       &errors));
  std::string expected;
  for (const auto& [tag, text] : std::initializer_list<std::pair<const char*, const char*>>{{"_cBool", "perhaps"},
                                                                                            {"_cInt", "x"},
                                                                                            {"_cSliderI", "2147483648"},
                                                                                            {"_cSliderF", "f"},
                                                                                            {"_cFloat2", "1"},
                                                                                            {"_cFloat4", "1 2 3"},
                                                                                            {"_cVec3i", "1 2 z"},
                                                                                            {"_cColor", "q"}})
    expected += std::string("Parsing error during \"") + tag + "\" read from XML: " + text + "\n";
  EXPECT_EQ(errors.Messages.View(), expected);
  EXPECT_TRUE(values.Flag);
  EXPECT_EQ(values.Corner[0], 1);
  EXPECT_EQ(values.Plane[0], 0);
  EXPECT_EQ(values.Block[0], 0);
  EXPECT_EQ(values.Kind, Shape::Ball);
}

TEST(LibraryTypes, RangedSlidersBringFilesIntoTheirRange) {
  LibraryValues values;
  ASSERT_TRUE(LoadText(values, "<L><Slide>500</Slide><Kept>500</Kept><KeptF>nan</KeptF><SlideF>9</SlideF></L>"));
  EXPECT_EQ(values.Slide, 500);  // an ordinary slider takes what the file says
  EXPECT_EQ(values.SlideF, 9);
  EXPECT_EQ(values.Kept, 100);
  EXPECT_EQ(values.KeptF, 0.1f);
  LibraryValues wild, read;
  wild.Kept = INT32_MIN;
  wild.KeptF = 7;
  EXPECT_TRUE(LoadBytes(read, SaveBytes(wild)));
  EXPECT_EQ(read.Kept, -100);
  EXPECT_EQ(read.KeptF, 1);
}

TEST(LibraryTypes, StrictSettingHoldsWholeNumbersExactly) {
  LibraryValues values;
  std::string error;
  EXPECT_FALSE(SetMemberFromText(values, "Number", "20000001", error));  // as floats the two are one
  EXPECT_TRUE(SetMemberFromText(values, "Number", "20000000", error)) << error;
  EXPECT_FALSE(SetMemberFromText(values, "Size", "1,5", error));
  EXPECT_EQ(error, "Size: expected a number, found \"1,5\"");
  EXPECT_FALSE(SetMemberFromText(values, "Cell", "1 2.5", error));
  EXPECT_EQ(error, "Cell: expected two whole numbers with blanks between, found \"1 2.5\"");
  EXPECT_TRUE(SetMemberFromText(values, "Plane", "1,2,3,4", error)) << error;
  EXPECT_EQ(values.Plane[3], 4);
}

TEST(LibraryTypes, ButtonsCallTheirOwner) {
  LibraryValues values;
  const int32_t press = values.FindElementIndex("Press");
  BaseClass* button = values.GetElementType(press);
  EXPECT_STREQ(button->GetClassName(), "_cButton");
  EXPECT_TRUE(button->IsMethod());
  button->Call(&values, values.GetElementData(press, &values));
  std::unique_ptr<BaseClass> other(button->New());
  other->Call(&values, nullptr);
  EXPECT_EQ(values.Pressed, 2);
}

TEST(LibraryTypes, MessagesAndNamesAreTheLibrarys) {
  RecordingHost host;
  WrongSizes wrong;
  wrong.RegisterMembers();
  EXPECT_THAT(host.Boxes, ElementsAre("Class engine error|Incompatible type used for \"float[2]\" WrongSizes::Three : _cFloat3",
                                      "Class engine error|Incompatible type used for \"int\" WrongSizes::One : _cFloat"));
  LibraryValues values;
  EXPECT_STREQ(values.Items.GetClassName(), "cClassList.Values");
  std::unique_ptr<BaseClass> list(values.Items.New());
  EXPECT_STREQ(list->GetClassName(), "cClassList.Values");
  XmlErrorLog errors;
  ASSERT_TRUE(LoadText(values, "<L><Items><Leaf><Veins>2</Veins></Leaf><Stranger></Stranger></Items></L>", &errors));
  EXPECT_EQ(errors.Messages.View(), "Unknown identifier Stranger of class cClassList.Values.\n");
  ASSERT_EQ(values.Items.Count, 1);
}
