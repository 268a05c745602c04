// When the loop draws: on a real window, with the device that draws nothing.
#include "shell/app/MainLoop.h"

#include "interface/MessageBoxWidget.h"
#include "shell/VirtualDisplay.h"
#include "shell/app/MainFormFixture.h"

namespace {

class MainLoopTest : public MainFormTest {
 protected:
  void SetUp() override {
    if (!HasProgram("Xvfb")) MORVANE_SKIP("needs Xvfb");
    m_Display = std::make_unique<VirtualDisplay>();
    if (!m_Display->IsThere()) MORVANE_SKIP("Xvfb did not start");
    std::string error;
    ASSERT_TRUE(m_Window.Create("morvane loop test", {0, 0, Width, Height, false}, error)) << error;
    m_Loop = std::make_unique<MainLoop>(m_Window, Render, Widgets, *Form, Settings, Options);
    m_Loop->EverySecond = [this] { m_Looks++; };
    m_Window.Show();
  }
  void TearDown() override {
    m_Loop.reset();
    m_Window.Destroy();
  }
  void Pass() {
    WindowMessage message;
    m_Loop->cWinMain_OneIterationOfMessageLoop(message, false);
  }
  /// Frames until the loop has looked after its affairs so many times more, about once a second.
  int64_t CountFrames(int looks) {
    const int64_t before = m_Loop->FramesDrawn;
    for (const int end = m_Looks + looks; m_Looks < end;) Pass();
    return m_Loop->FramesDrawn - before;
  }

  std::unique_ptr<VirtualDisplay> m_Display;
  Window m_Window;
  std::unique_ptr<MainLoop> m_Loop;
  int m_Looks = 0;
};

TEST_F(MainLoopTest, FramesComeWhenSomethingWantsThem) {
  for (const DockPanel& panel : Form->Docks().All())
    if (panel.Key != "TabletPanel") Form->Docks().Open(panel.Key);
  EXPECT_GT(CountFrames(3), 0);
  EXPECT_EQ(CountFrames(3), 0) << "nothing moves";

  const auto expectFrame = [&](const char* why) {
    EXPECT_GT(CountFrames(2), 0) << why;
    EXPECT_EQ(CountFrames(2), 0) << why;
  };
  Window::Wake();
  expectFrame("woken");
  std::system("xdotool mousemove 300 300 click 3 >/dev/null 2>&1");
  expectFrame("input");
  bool answered = false;
  MessageBoxWidget* box = MessageBoxWidget::Ask(Widgets, "A", "B", {"OK"}, [&](int) { answered = true; });
  expectFrame("a box that nobody's input opened");
  Widgets.CloseModal(box);
  expectFrame("and its end");

  // What is said while no frame is drawn stays to be read, and goes in time.
  Form->Say("Said between frames");
  Pass();
  auto* status = Find<StatusLine>(Widgets.Layer(LayerDocks));
  EXPECT_EQ(status->Message, "Said between frames");
  const double left = Widgets.SecondsToNextFrame();
  EXPECT_GT(left, 1);
  EXPECT_LT(left, 10);

  Form->Docks().Open("TabletPanel");
  EXPECT_GT(CountFrames(3), 5) << "what moves by itself";
}

}  // namespace
