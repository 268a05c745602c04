// A graphics device that is reset while the program draws: a hang of the driver, a machine that wakes up.
#include <gtest/gtest.h>

#include "comms/Image.h"
#include "comms/Str.h"
#include "shell/app/ProgramTest.h"

namespace {

class LostDeviceTest : public ProgramTest {
 protected:
  comms::cImage TakePicture(int number) {
    std::system("xdotool key F12 >/dev/null 2>&1");
    const std::string name = comms::Format("Screenshots/Morvane %03d.png", number);
    comms::cImage image;
    std::string error;
    EXPECT_TRUE(Within([&] { return comms::LoadPng((m_Folder / name).string(), image, error); })) << name << ": " << error;
    return image;
  }
};

}  // namespace

TEST_F(LostDeviceTest, EverythingIsThereAgain) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the address sanitizer wants to be loaded first";
#endif
  Write("Options.xml",
        "<AppOptions><Theme>Dark</Theme><SmoothViews>false</SmoothViews><ShowHints>false</ShowHints></AppOptions>");
  const std::string post = WritePost();
  {
    const TestVariable preload("LD_PRELOAD", LOSE_DEVICE_MODULE), sign("LOSE_DEVICE", (m_Folder / "lose").string());
    m_Process = Launch({post});
  }
  ASSERT_TRUE(Within([&] { return IsInLog("post.obj is open"); })) << Read("stderr.txt");
  std::system("xdotool mousemove 400 400 sleep 3");  // the splash has gone then
  const comms::cImage before = TakePicture(1);
  Write("lose", "");
  EXPECT_TRUE(Within([&] { return IsInLog("The graphics device was reset."); })) << "without a word of the display: " << Log();
  const comms::cImage after = TakePicture(2);
  EXPECT_TRUE(IsInLog("Reloaded ")) << Log();
  ASSERT_EQ(before.Height(), after.Height());
  int64_t differ = 0;
  const int statusLine = 24;  // it names the last picture
  for (int y = 0; y < before.Height() - statusLine; y++)
    for (int x = 0; x < before.Width(); x++)
      for (int c = 0; c < 3; c++) differ += before.Pixel(x, y)[c] != after.Pixel(x, y)[c];
  EXPECT_EQ(differ, 0);
}
