#include "shell/core/BatchLine.h"

#include <gtest/gtest.h>

#include <random>

namespace {

std::string Show(const BatchLine& line) {
  std::string text = line.Name;
  for (const BatchArgument& a : line.Arguments) text += "|" + a.Key + "=" + a.Value;
  return text;
}

TEST(BatchLine, ReadsWhatTheGrammarAllows) {
  const struct {
    const char *Text, *Expected;
  } cases[] = {
      {"", ""},
      {"# all comment Name key=\"", ""},
      {"  Report\t", "Report"},
      {"Report\r", "Report"},
      {"Dab Radius=1.5\tMode=1", "Dab|Radius=1.5|Mode=1"},
      {"Dab Radius=1 # the rest", "Dab|Radius=1"},
      {"ImportMesh File=a#b.obj", "ImportMesh|File=a#b.obj"},
      {"ImportMesh File=\"my mesh.obj\"", "ImportMesh|File=my mesh.obj"},
      {"ImportMesh File=\"a # b\" # c", "ImportMesh|File=a # b"},
      {"ImportMesh File=\"\"", "ImportMesh|File="},
      {"ImportMesh File=a=b", "ImportMesh|File=a=b"},
      {R"(X Text="say \"hi\" \\ end")", R"(X|Text=say "hi" \ end)"},
      {R"(X File="C:\new\tale.obj")", R"(X|File=C:\new\tale.obj)"},
      {R"(X File=C:\new\tale.obj)", R"(X|File=C:\new\tale.obj)"},
      {"X File=\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x89.obj\"", "X|File=\xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x89.obj"},
  };
  for (const auto& c : cases) {
    BatchLine line;
    std::string error;
    EXPECT_TRUE(ParseBatchLine(c.Text, line, error)) << c.Text << ": " << error;
    EXPECT_EQ(Show(line), c.Expected) << c.Text;
  }
}

TEST(BatchLine, RefusesTheRestWithColumnAndReason) {
  const struct {
    std::string Text;
    const char *Column, *Reason;
  } cases[] = {
      {"7up", "column 1:", "expected the name of a command"},
      {"=x", "column 1:", "expected the name"},
      {"Dab! x=1", "column 4:", "expected a blank"},
      {"Dab Radius", "column 5:", "expected key=value, found 'Radius'"},
      {"Dab Radius= Mode=1", "column 5:", "'Radius=' has no value"},
      {"Dab Radius=1 Mode=2 Radius=3", "column 21:", "'Radius' is given twice"},
      {"X File=\"open", "column 8:", "is not closed"},
      {R"(X File="open\")", "column 8:", "is not closed"},
      {"X File=\"a\"b", "column 11:", "behind the closing quote"},
      {"X File=a\"b\"", "column 8:", "a quote stands within"},
      {"X File=\xFF", "column 8:", "0xFF is not valid UTF-8"},
      {"X File=\xC0\xAF", "column 8:", "not valid UTF-8"},
      {"X File=\xED\xA0\x80", "column 8:", "not valid UTF-8"},
      {std::string("X File=a\0b", 10), "column 9:", "control character 0x00"},
      {"X a=1\rY", "column 6:", "control character 0x0D"},
      {"X File=" + std::string(MaxBatchLine, 'a'), "column 1:", "longer than"},
  };
  for (const auto& c : cases) {
    BatchLine line;
    std::string error;
    EXPECT_FALSE(ParseBatchLine(c.Text, line, error)) << c.Text.substr(0, 50);
    EXPECT_TRUE(error.starts_with(c.Column)) << c.Text.substr(0, 50) << ": " << error;
    EXPECT_NE(error.find(c.Reason), std::string::npos) << c.Text.substr(0, 50) << ": " << error;
    EXPECT_LT(error.size(), 200u);
  }
}

// Whatever a value holds, quoting brings it through the parser unchanged.
TEST(BatchLine, QuotedValuesComeBack) {
  std::mt19937 random(1);
  const std::string letters = "ab \\\"#=\t\xC3\xA4";
  for (int round = 0; round < 3000; ++round) {
    std::string value;
    for (size_t i = random() % 12; i > 0; --i) {
      const size_t pick = random() % 9;
      value += pick == 8 ? std::string("\xC3\xA4") : std::string(1, letters[pick]);
    }
    BatchLine line;
    std::string error;
    ASSERT_TRUE(ParseBatchLine("X a=1 Value=" + QuoteBatchValue(value) + " b=2", line, error)) << value << ": " << error;
    ASSERT_EQ(line.Arguments.size(), 3u);
    ASSERT_EQ(line.Arguments[1].Value, value);
  }
}

}  // namespace
