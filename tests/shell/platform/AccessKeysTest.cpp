#include "shell/platform/AccessKeys.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

#include "comms/Log.h"
#include "shell/VirtualDisplay.h"
#include "shell/platform/XWindow.h"

// Last: its headers define words like None.
#include <X11/XKBlib.h>

namespace {

class AccessKeysTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasProgram("Xvfb")) MORVANE_SKIP("needs Xvfb");
    m_Server = std::make_unique<VirtualDisplay>();
    if (!m_Server->IsThere()) MORVANE_SKIP("Xvfb did not start");
    m_Person = XOpenDisplay(nullptr);
    m_Program = XOpenDisplay(nullptr);
    ASSERT_TRUE(m_Person && m_Program);
    Switch(XkbAccessXKeysMask, true);
  }
  void TearDown() override {
    if (m_Program) XCloseDisplay(m_Program);
    if (m_Person) XCloseDisplay(m_Person);
  }
  void Switch(unsigned control, bool on) {
    XkbChangeEnabledControls(m_Person, XkbUseCoreKbd, control, on ? control : 0);
    XSync(m_Person, 0);
  }
  /// As another program on the display sees it.
  bool HasShortcuts() {
    XkbDescPtr keyboard = XkbAllocKeyboard();
    XkbGetControls(m_Person, XkbAllControlsMask, keyboard);
    const bool on = keyboard->ctrls && (keyboard->ctrls->enabled_ctrls & XkbAccessXKeysMask);
    XkbFreeKeyboard(keyboard, XkbAllControlsMask, True);
    return on;
  }
  void SwitchOff(AccessKeyShortcuts& shortcuts) {
    shortcuts.SwitchOff({m_Program, 0});
    XSync(m_Program, 0);
  }
  void Restore(AccessKeyShortcuts& shortcuts) {
    shortcuts.Restore();
    XSync(m_Program, 0);
  }

  std::unique_ptr<VirtualDisplay> m_Server;
  Display *m_Person = nullptr, *m_Program = nullptr;
};

TEST_F(AccessKeysTest, OffWhileTheProgramRuns) {
  AccessKeyShortcuts shortcuts;
  ASSERT_TRUE(HasShortcuts());
  SwitchOff(shortcuts);
  EXPECT_FALSE(HasShortcuts());
  Restore(shortcuts);
  EXPECT_TRUE(HasShortcuts());
  // What was off stays off, and who uses sticky keys keeps the shortcuts.
  Switch(XkbAccessXKeysMask, false);
  SwitchOff(shortcuts);
  Restore(shortcuts);
  EXPECT_FALSE(HasShortcuts());
  Switch(XkbAccessXKeysMask | XkbStickyKeysMask, true);
  SwitchOff(shortcuts);
  EXPECT_TRUE(HasShortcuts());
}

TEST_F(AccessKeysTest, AProgramThatDiesLeavesThemOn) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    static AccessKeyShortcuts shortcuts;
    Display* display = XOpenDisplay(nullptr);
    shortcuts.SwitchOff({display, 0});
    XSync(display, 0);
    if (write(ends[1], "", 1) == 1) pause();
    _exit(1);
  }
  char ready;
  ASSERT_EQ(read(ends[0], &ready, 1), 1);
  EXPECT_FALSE(HasShortcuts());
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
  for (int i = 0; i < 500 && !HasShortcuts(); i++) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_TRUE(HasShortcuts());
}

// Another program's window, which was to get something, has gone meanwhile.
TEST_F(AccessKeysTest, ARefusedRequestCostsALineOfTheLog) {
  const comms::LogRecorder log;
  const auto before = XSetErrorHandler(nullptr);
  HandleXFaults({});
  XRaiseWindow(m_Program, 0x7ffffff);
  XSync(m_Program, 0);
  EXPECT_NE(log.Text().find("the display refused request 12.0 on 0x7ffffff: BadWindow"), std::string::npos) << log.Text();
  XSetErrorHandler(before);
}

}  // namespace
