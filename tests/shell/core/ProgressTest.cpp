#include "shell/core/Progress.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class ProgressTest : public testing::Test {
 protected:
  ProgressTest() {
    Sink.Clock = [this] { return Now; };
    Sink.Draw = [this](const ProgressFrame& frame) { Frames.push_back(frame); };
  }
  double Now = 5;
  std::vector<ProgressFrame> Frames;
  ScreenProgress Sink;
};

TEST_F(ProgressTest, FramesComeAFewTimesASecond) {
  for (int i = 0; i < 1000; ++i, Now += 0.001) EXPECT_TRUE(comms::ShowProgress(i, 1000, "MERGE"));
  EXPECT_GE(Frames.size(), 5u);
  EXPECT_LE(Frames.size(), 9u);
  EXPECT_EQ(Frames.back().TitleKey, "MERGE");
  EXPECT_EQ(Frames.back().Percent, std::to_string(int(Frames.back().Share * 100)) + "%");
  Sink.Finish();
  Frames.clear();
  Now = 100;
  for (const double maximum : {0.0, -1.0}) {
    comms::ShowProgress(1, maximum, nullptr);
    Now += 1;
  }
  comms::ShowProgress(7, 3, "X");
  ASSERT_EQ(Frames.size(), 2u) << "short work shows nothing";
  EXPECT_EQ(Frames[0].Percent, "0%");
  EXPECT_EQ(Frames[1].Percent, "100%");
}

TEST_F(ProgressTest, CancelIsHeardAsleepAndEndsWithTheWork) {
  Sink.IsAsleep = [] { return true; };
  int pumped = 0;
  Sink.PumpMessages = [&] {
    EXPECT_TRUE(comms::ShowProgress(0, 1, "Inner")) << "no frame within a frame";
    if (++pumped == 2) Sink.Cancel();
  };
  comms::ShowProgress(0, 1, "A");
  Now += 1;
  EXPECT_TRUE(comms::ShowProgress(0, 1, "A"));
  Now += 1;
  EXPECT_FALSE(comms::ShowProgress(0, 1, "A"));
  EXPECT_FALSE(comms::ShowProgress(0, 1, "A"));
  EXPECT_TRUE(Frames.empty());
  EXPECT_EQ(pumped, 2);
  Sink.Finish();
  EXPECT_TRUE(comms::ShowProgress(0, 1, "B"));
}

}  // namespace
