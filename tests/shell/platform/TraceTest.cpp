#include "shell/core/Trace.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(Trace, KeepsTheLastNamesInOrder) {
  static std::vector<std::string> names;
  for (size_t i = 0; i < TraceCapacity + 10; ++i) names.push_back("step" + std::to_string(i));
  std::string expected;
  for (size_t i = 0; i < names.size(); ++i) {
    Trace(names[i].c_str());
    if (i >= 10) expected += names[i] + "\n";
  }
  char text[8192];
  EXPECT_EQ(WriteTraces(text, sizeof(text)), expected.size());
  EXPECT_EQ(text, expected);
  EXPECT_STREQ(GetLastTrace(), names.back().c_str());
  // Whole lines alone, the oldest ones.
  EXPECT_EQ(WriteTraces(text, 15), 14u);
  EXPECT_STREQ(text, "step10\nstep11\n");
  EXPECT_EQ(WriteTraces(text, 14), 7u);
  EXPECT_EQ(WriteTraces(text, 0), 0u);
}

// Names come through whole however many write.
TEST(Trace, ManyWriters) {
  static const char* const names[] = {"alpha", "beta", "gamma", "delta"};
  std::vector<std::thread> writers;
  for (const char* name : names)
    writers.emplace_back([name] {
      for (int i = 0; i < 20000; ++i) Trace(name);
    });
  char text[8192];
  for (int i = 0; i < 200; ++i) WriteTraces(text, sizeof(text));
  for (std::thread& writer : writers) writer.join();
  WriteTraces(text, sizeof(text));
  std::istringstream lines(text);
  size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_TRUE(line == "alpha" || line == "beta" || line == "gamma" || line == "delta") << line;
  EXPECT_EQ(count, TraceCapacity);
}

}  // namespace
