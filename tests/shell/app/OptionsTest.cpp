#include "shell/app/Options.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// Whatever the order of the words, the same options come out.
TEST(Options, OrderDoesNotMatter) {
  std::vector<std::vector<std::string>> groups = {{"--batch", "-"}, {"--threads=2"}, {"--keep-going"}, {"--data", "/d"}};
  std::sort(groups.begin(), groups.end());
  do {
    std::vector<std::string> words;
    for (const auto& group : groups) words.insert(words.end(), group.begin(), group.end());
    Options options;
    std::string error;
    ASSERT_TRUE(ReadOptions(words, options, error)) << error;
    EXPECT_EQ(options.BatchFile, "-");
    EXPECT_EQ(options.Threads, 2);
    EXPECT_EQ(options.DataFolder, "/d");
    EXPECT_TRUE(options.KeepGoing);
    EXPECT_FALSE(options.ShowHelp);
  } while (std::next_permutation(groups.begin(), groups.end()));
}

TEST(Options, WordsForBenchmarksLoseTheirQuotes) {
  for (const char* words : {"internal test", "\"internal test\""}) {
    Options options;
    std::string error;
    ASSERT_TRUE(ReadOptions({"-openautomate", words, "--", "--odd.obj"}, options, error)) << error;
    EXPECT_EQ(options.OpenAutomate, "internal test");
    EXPECT_EQ(options.InputFile, "--odd.obj") << "a file may look like an option behind two dashes";
  }
}

TEST(Options, WhatIsNotUnderstoodIsNamed) {
  const struct {
    std::vector<std::string> Words;
    const char* Reason;
  } cases[] = {
      {{"--bogus"}, "'--bogus'"},
      {{"--threads", "0"}, "1 to 1024, found '0'"},
      {{"--threads", "1025"}, "found '1025'"},
      {{"--threads", "99999999999999999999"}, "found"},
      {{"--threads="}, "needs N"},
      {{"--batch", "--help"}, "needs FILE"},
      {{"--batch", "a", "--batch", "b"}, "twice"},
      {{"--help=yes"}, "takes no value"},
      {{"a.obj", "b.obj"}, "one file at a time"},
      {{"a.obj", "--batch", "b"}, "'a.obj' opens in one"},
      {{"--mesh-job", "a.obj", "--batch", "b"}, "can't be run together"},
      {{"--batch", "b", "--picture", "p.png"}, "without a window"},
      {{"--mesh-job", "a.obj", "-openautomate", "x"}, "without a window"},
      {{"-openautomate"}, "needs ARGS"},
      {{"--frames", "0"}, "1 to 1000000, found '0'"},
      {{""}, "empty"},
  };
  for (const auto& c : cases) {
    Options options;
    std::string error;
    EXPECT_FALSE(ReadOptions(c.Words, options, error)) << c.Reason;
    EXPECT_NE(error.find(c.Reason), std::string::npos) << error;
  }
}

}  // namespace
