// A pen at the real window: an X server with a tablet, the program on it, and what strokes leave in the program's pictures.
#include "comms/Image.h"
#include "shell/app/ProgramTest.h"
#include "shell/app/TestPen.h"

using comms::cImage;

namespace {

/// How many pixels of a column differ, at most `reach` from the middle.
int Breadth(const cImage& a, const cImage& b, int x, int y, int reach = 55) {
  int count = 0;
  for (int i = y - reach; i <= y + reach; i++) count += std::abs(a.Pixel(x, i)[1] - b.Pixel(x, i)[1]) > 6;
  return count;
}
/// Above 0 where light from above finds a ridge, below 0 for a groove.
int Bulge(const cImage& image, int x, int y) { return image.Pixel(x, y - 20)[1] - image.Pixel(x, y + 20)[1]; }

class PenJourneyTest : public ProgramTest {
 protected:
  void SetUp() override {
    for (const char* program : {PenDisplay::Program, "xinput"})
      if (!HasProgram(program)) MORVANE_SKIP(std::string("needs ") + program);
    ProgramTest::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    m_PenDisplay = std::make_unique<PenDisplay>(m_Folder);
    if (!m_PenDisplay->IsThere()) GTEST_SKIP() << "the X server with test devices did not start";
    Write("Options.xml",
          "<AppOptions><Theme>Dark</Theme><SmoothViews>false</SmoothViews><ShowHints>false</ShowHints></AppOptions>");
    Write("window.txt", "0 0 1600 1000 0");
    m_Process =
        Launch({Write("box.obj",
                      "v -.9 -1 -.9\nv .9 -1 -.9\nv -.9 1 -.9\nv .9 1 -.9\nv -.9 -1 .9\nv .9 -1 .9\nv -.9 1 .9\nv .9 1 .9\n"
                      "f 1 3 4 2\nf 5 6 8 7\nf 1 2 6 5\nf 3 7 8 4\nf 1 5 7 3\nf 2 4 8 6\n")
                    .string()});
    ASSERT_TRUE(Within([&] { return IsInLog("box.obj is open"); })) << Log();
  }

  static void Do(const std::string& command) { ASSERT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command; }
  /// The program's picture of itself once it is as it should be; the last one where it never is.
  template <class Ready>
  cImage PictureWhen(const Ready& isReady) {
    cImage image;
    std::string error;
    for (int i = 0; i == 0 || (i < 12 && !isReady(image)); i++) {
      const auto path = m_Folder / "Screenshots" / ("Morvane " + std::to_string(1000 + ++m_Pictures).substr(1) + ".png");
      Do("xdotool sleep 0.3 key F12");
      EXPECT_TRUE(Within([&] { return std::filesystem::exists(path); })) << Log();
      EXPECT_TRUE(comms::LoadPng(path.string(), image, error)) << error;
    }
    return image;
  }
  /// A stroke to the right from pressure to pressure; the pen waits aside then.
  static void Stroke(TestPen& pen, int x0, int x1, int y, double from, double to, int reports = 60) {
    pen.Move(x0, y, 0);
    pen.Press(from);
    for (int i = 1; i <= reports; i++) pen.Move(x0 + (x1 - x0) * i / reports, y, from + (to - from) * i / reports);
    pen.Lift();
    pen.Move(1200, 990, 0);
    ASSERT_TRUE(pen.Finish());
  }

 private:
  std::unique_ptr<PenDisplay> m_PenDisplay;
  int m_Pictures = 0;
};

TEST_F(PenJourneyTest, PressureEraserMouseAndPullingOut) {
  TestPen pen(m_Folder / "Pen"), eraser(m_Folder / "Pen eraser");
  EXPECT_TRUE(IsInLog("Pen: Pen\n") && IsInLog("Pen: Pen eraser (eraser)\n") && !IsInLog("Pen: Mouse")) << Log();
  pen.Move(1200, 990, 0);
  ASSERT_TRUE(pen.Finish());
  cImage last;
  const cImage before = PictureWhen([&](const cImage& image) {
    const bool isSame = last.Width() == image.Width() && Breadth(last, image, 640, 600, 380) == 0;
    last = image;
    return isSame;
  });
  ASSERT_EQ(before.Width(), 1600);
  pen.Move(640, 360, 0);
  ASSERT_TRUE(pen.Finish());
  const auto hasRing = [&](const cImage& image) { return Breadth(before, image, 640, 360) > 3; };
  EXPECT_TRUE(hasRing(PictureWhen(hasRing))) << "the brush does not follow the pen";

  // The pressure grows and is small from the first dab on. Two reports make a stroke: neither is late.
  Stroke(pen, 490, 770, 360, 0.05, 1);
  Stroke(pen, 500, 760, 470, 0.8, 0.8, 1);
  Stroke(eraser, 490, 770, 555, 0.7, 0.7);
  // Faster than frames come: none is merged with another, every corner is reached.
  pen.Move(500, 690, 0);
  pen.Press(0.3);
  for (int i = 0; i < 28; i++) pen.Move(500 + 10 * i, i / 4 % 2 ? 640 + i % 4 * 12.5 : 690 - i % 4 * 12.5, 0.3);
  pen.Lift();
  ASSERT_TRUE(pen.Finish());
  // A mouse beside the pen has all of the pressure.
  Do("xdotool mousemove 640 770 mousedown 1 mousemove 700 770 sleep 0.1 mousemove 770 770 mouseup 1 mousemove 1200 990");
  const cImage after = PictureWhen([&](const cImage& image) { return Breadth(before, image, 700, 770) > 20; });
  const int full = Breadth(before, after, 760, 360);
  EXPECT_GT(full, 50);
  EXPECT_GT(Breadth(before, after, 600, 360), 5);
  EXPECT_LT(Breadth(before, after, 600, 360), 0.8 * full);
  EXPECT_LT(Breadth(before, after, 495, 360), 0.5 * full) << "the first dab is not the pen's";
  for (const int x : {510, 630, 750}) EXPECT_GT(Breadth(before, after, x, 470), 0.5 * full) << x;
  EXPECT_GT(Bulge(after, 630, 470), 3);
  EXPECT_LT(Bulge(after, 630, 555), -3) << "the eraser does not cut";
  for (int i = 1; i <= 5; i++) EXPECT_GT(Breadth(before, after, 500 + 40 * i, i % 2 ? 628 : 702, 9), 3) << "corner " << i;
  for (const int x : {650, 755}) EXPECT_GT(Breadth(before, after, x, 770), 0.75 * full) << "the mouse is weak at " << x;

  // Pulled out while it draws: nothing stays held. Put in again, it draws as before.
  pen.Move(900, 400, 0);
  pen.Press(0.1);
  ASSERT_TRUE(pen.Finish());
  Do("xinput disable Pen");
  EXPECT_TRUE(Within([&] { return IsInLog("Pen gone: Pen\n"); })) << Log();
  Do("xdotool mousemove 1000 650 mousemove 1200 990 && xinput enable Pen");
  EXPECT_TRUE(Within([&] { return Log().rfind("Pen: Pen\n") > Log().find("Pen gone: Pen\n"); })) << Log();
  TestPen again(m_Folder / "Pen");
  Stroke(again, 880, 980, 550, 0.8, 0.8);
  const cImage end = PictureWhen([&](const cImage& image) { return Breadth(after, image, 930, 550) > 20; });
  EXPECT_GT(Breadth(after, end, 930, 550), 20) << Log();
  EXPECT_EQ(Breadth(after, end, 990, 650, 20), 0) << "the stroke of the pen that is gone went on";
}

}  // namespace
