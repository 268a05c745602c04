// The value types and containers of the engine library's own objects: text, failures, and where they differ from their kin.
#include <gmock/gmock.h>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ReflectionFixtures.h"

using namespace fixture;

namespace {

static_assert(_cFloat2::Fits<float[2]> && !_cFloat2::Fits<Int2> && _cVec2i::Fits<Int2> && !_cVec2i::Fits<float[2]>);
static_assert(!_cFloat4::Fits<Point> && !_cVec3i::Fits<Int2> && _cInt::Fits<Shape> && !_cInt::Fits<unsigned> &&
              !_cInt::Fits<float>);
static_assert(_cStr::Fits<std::string> && !_cStr::Fits<_str> && !_cBool::Fits<int> && !_cFloat::Fits<double>);

}  // namespace

TEST(LibraryTypes, TextIsExact) {
  LibraryValues values;
  values.Size = 7.038531e-26f;  // by way of a double it would come back as the float beside it
  values.Plane[3] = -0.1f;
  values.Cell = {INT32_MIN, 3};
  const std::string text = SaveText(values);
  for (const char* part : {"<Size>7.038531e-26</Size>", "<Plane>0 0 0 -0.1</Plane>", "<Cell>-2147483648 3</Cell>",
                           "<Tint>FF102030</Tint>", "<Kind>Box</Kind>", "<Flag>false</Flag>", "<Picture>none.png</Picture>",
                           "<Corner>1 2</Corner>", "<Image></Image>", "<Items></Items>"})
    EXPECT_THAT(text, testing::HasSubstr(part));
  for (const char* left : {"Sliders", "Numbers"}) EXPECT_THAT(text, testing::Not(testing::HasSubstr(left)));
  LibraryValues read;
  EXPECT_TRUE(LoadText(read, text));
  EXPECT_EQ(read.Size, values.Size);
  EXPECT_TRUE(LoadText(read, "<L><Size>1e-60</Size></L>"));
  EXPECT_EQ(read.Size, 0);
}

TEST(LibraryTypes, UnreadTextIsReportedByTagAndKeepsTheValue) {
  LibraryValues values;
  values.Flag = true;
  const std::string before = SaveText(values);
  const char* const cases[][3] = {{"Flag", "_cBool", "perhaps"},        {"Number", "_cInt", "x"},
                                  {"Slide", "_cSliderI", "2147483648"}, {"SlideF", "_cSliderF", "3.5e38"},
                                  {"Corner", "_cFloat2", "1"},          {"Plane", "_cFloat4", "1 2 3"},
                                  {"Block", "_cVec3i", "1 2 z"},        {"Tint", "_cColor", "q"}};
  for (const auto& [member, tag, text] : cases) {
    XmlErrorLog errors;
    ASSERT_TRUE(LoadText(values, std::string("<L><") + member + ">" + text + "</" + member + "></L>", &errors));
    EXPECT_EQ(errors.Messages.View(), std::string("Parsing error during \"") + tag + "\" read from XML: " + text + "\n");
  }
  EXPECT_EQ(SaveText(values), before);
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

TEST(LibraryTypes, ListsHaveTheLibrarysName) {
  LibraryValues values;
  const std::unique_ptr<BaseClass> list(values.Items.New());
  EXPECT_STREQ(list->GetClassName(), "cClassList.Values");
  XmlErrorLog errors;
  ASSERT_TRUE(LoadText(values, "<L><Items><Leaf><Veins>2</Veins></Leaf><Stranger></Stranger></Items></L>", &errors));
  EXPECT_EQ(errors.Messages.View(), "Unknown identifier Stranger of class cClassList.Values.\n");
  ASSERT_EQ(values.Items.Count, 1);
}
