#include "shell/core/BatchRunner.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sstream>

#include "ClassEngine/ValueTypes.h"
#include "comms/Log.h"
#include "comms/Progress.h"
#include "shell/ParseJson.h"
#include "shell/TestFolder.h"
#include "shell/core/GeneralCommands.h"
#include "shell/core/InputFiles.h"

namespace {

class TryParams : public CommandParameters {
  REFLECTED(TryParams, CommandParameters)
 public:
  _str Name;
  int32_t Count = 3;
  float Ratio = 0.5f;
};
DECLARE_MEMBERS(TryParams) {
  Member<_str>("Name", Name).Hint("A name");
  Member<_int>("Count", Count).Range(1, 9).Hint("A count");
  Member<_float>("Ratio", Ratio).Range(0, 1).Hint("A ratio");
}

/// A table with commands that go well and badly, and a runner on it.
class BatchRunnerTest : public testing::Test {
 protected:
  BatchRunnerTest() : m_Files("BatchRunnerTest") {
    SetEngineHost(&m_Messages);
    AddGeneralCommands(m_Table);
    m_Table.Add<TryParams>("Try", "Tries.", [this](const TryParams& p) {
      ++m_Runs;
      return CommandResult::Done(JsonObject().Add("name", p.Name.ToString()).Add("count", p.Count));
    });
    Add("Refuse", [] { return CommandResult::Fail("no"); });
    Add("Read", [] { return CommandResult::NoInput("no file"); });
    Add("Write", [] { return CommandResult::NoOutput("no disk"); });
    Add("Throw", []() -> CommandResult { throw std::runtime_error("thrown"); });
    Add("Overflow", []() -> CommandResult { throw std::bad_alloc(); });
    Add("AskFirst", [this] {
      const bool kept = m_Messages.Ask("Volume", "Replace it?", {"Replace", "Keep"}, 1) == 1;
      const bool shown = GetEngineHost().ShowBox("Class engine error", "a box of the engine");
      return kept && shown ? CommandResult::Done() : CommandResult::Fail("not the safe answers");
    });
    Add("Interrupt", [] {
      std::raise(SIGINT);  // as Ctrl-C while it works
      return comms::ShowProgress(1, 2, "Working") ? CommandResult::Done() : CommandResult::NoOutput("cancelled");
    });
    Add("InterruptLate", [] {
      std::raise(SIGINT);  // too late to be heard
      return CommandResult::Done();
    });
  }
  ~BatchRunnerTest() override { SetEngineHost(nullptr); }
  void Add(const char* name, std::function<CommandResult()> run) {
    m_Table.Add<NoParameters>(name, "A command of the test.", [run](const NoParameters&) { return run(); });
  }

  /// Runs `text` and returns the exit code; the answers are in m_Answers, the log in m_Log.
  int Run(const std::string& text, bool keepGoing = false) {
    std::istringstream input(text);
    return Record(keepGoing, [&](BatchRunner& runner) { return runner.RunStream(input, "job"); });
  }
  int RunFile(const std::string& path) {
    return Record(false, [&](BatchRunner& runner) { return runner.RunFile(path); });
  }
  int Record(bool keepGoing, const std::function<int(BatchRunner&)>& run) {
    comms::LogRecorder log;
    std::stringstream answers;
    BatchRunner runner(m_Table, m_Messages, answers, {keepGoing});
    m_Runs = 0;
    const int code = run(runner);
    m_Log = log.Text();
    m_Answers.clear();
    for (std::string line; std::getline(answers, line);) m_Answers.push_back(ParseJson(line));
    return code;
  }
  std::string Error(size_t answer = 0) const { return m_Answers.at(answer).value("error", ""); }

  TestFolder m_Files;
  BatchMessages m_Messages;
  CommandTable m_Table;
  std::vector<nlohmann::json> m_Answers;
  std::string m_Log;
  int m_Runs = 0;
};

TEST_F(BatchRunnerTest, EveryCommandAnswersOneLine) {
  EXPECT_EQ(Run("\xEF\xBB\xBF# a comment\r\n\r\nTry Name=\"a b\" Count=7\r\nTry"), 0);
  ASSERT_EQ(m_Answers.size(), 2u);
  EXPECT_EQ(m_Answers[0]["command"], "Try");
  EXPECT_EQ(m_Answers[0]["ok"], true);
  EXPECT_GE(m_Answers[0]["ms"], 0);
  EXPECT_EQ(m_Answers[0]["name"], "a b");
  EXPECT_EQ(m_Answers[0]["count"], 7);
  EXPECT_EQ(m_Answers[1]["count"], 3) << "a line starts from the defaults, not from the line before";
}

TEST_F(BatchRunnerTest, KindOfFailureDecidesTheExitCode) {
  const struct {
    const char* Line;
    int Code;
  } cases[] = {{"Refuse", 1}, {"Read", 3},        {"Write", 4},       {"Throw", 1},         {"Overflow", 1},
               {"Bogus", 2},  {"Try Bogus=1", 2}, {"Try Count=0", 2}, {"Try Ratio=nan", 2}, {"ReadXml Class=TryParams", 2},
               {"Try \"", 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(Run(std::string("# first line\n") + c.Line + "\nTry"), c.Code) << c.Line;
    ASSERT_EQ(m_Answers.size(), 1u) << c.Line << ": the run stops at the first failure";
    EXPECT_EQ(m_Answers[0]["ok"], false);
    EXPECT_FALSE(Error().empty()) << c.Line;
    EXPECT_NE(m_Log.find("job:2:"), std::string::npos) << c.Line << ": " << m_Log;
    EXPECT_TRUE(c.Code != 2 || Error().starts_with("job:2: ")) << Error();
    EXPECT_EQ(m_Runs, 0) << c.Line << ": nothing is run that was not understood";
  }
}

TEST_F(BatchRunnerTest, KeepGoingRunsTheRestAndTheFirstFailureDecides) {
  EXPECT_EQ(Run("Try\nWrite\nBogus\nRefuse\nTry Count=9\nQuit\nTry\n", true), 4);
  ASSERT_EQ(m_Answers.size(), 6u) << "Quit ends the run";
  EXPECT_EQ(m_Answers[4]["ok"], true);
}

TEST_F(BatchRunnerTest, BoxesAndQuestionsAreRecordedAndAnsweredSafely) {
  EXPECT_EQ(Run("AskFirst\nTry"), 0);
  ASSERT_EQ(m_Answers.size(), 2u);
  ASSERT_EQ(m_Answers[0]["messages"].size(), 2u);
  EXPECT_EQ(m_Answers[0]["messages"][0]["answer"], "Keep");
  EXPECT_EQ(m_Answers[0]["messages"][1]["text"], "a box of the engine");
  EXPECT_FALSE(m_Answers[1].contains("messages")) << "messages belong to the command that raised them";
}

TEST_F(BatchRunnerTest, InterruptCancelsTheCommandAndTheRun) {
  EXPECT_EQ(Run("Interrupt\nTry\n", true), 1);
  ASSERT_EQ(m_Answers.size(), 1u);
  EXPECT_EQ(Error(), "cancelled");
  EXPECT_EQ(Run("InterruptLate\nTry\n", true), 1) << "the run is not whole, though no command failed";
  ASSERT_EQ(m_Answers.size(), 1u);
  EXPECT_EQ(m_Answers[0]["ok"], true);
  EXPECT_NE(m_Log.find("job:1: interrupted; the lines behind it are not run"), std::string::npos) << m_Log;
  EXPECT_EQ(Run("Try\n"), 0) << "the next run starts afresh";
}

// A line without an end must not be kept whole, and the lines behind it keep their numbers.
TEST_F(BatchRunnerTest, OverlongLineIsRefused) {
  EXPECT_EQ(Run("Try Name=" + std::string(MaxBatchLine * 4, 'a') + "\nRead\n", true), 2);
  ASSERT_EQ(m_Answers.size(), 2u);
  EXPECT_LT(Error().size(), 200u);
  EXPECT_NE(m_Log.find("job:2:"), std::string::npos);
}

TEST_F(BatchRunnerTest, MistypedNamesAreRecognised) {
  for (const auto& [line, help] :
       {std::pair{"try Count=1", "'Try' was probably meant"}, std::pair{"Try Cuont=1", "'Count' was probably meant"},
        std::pair{"Try Something=1", "it takes Name, Count, Ratio"}}) {
    Run(line);
    EXPECT_NE(Error().find(help), std::string::npos) << Error();
  }
}

// Files are found beside the batch file, wherever it is run from; XML goes out and comes back.
TEST_F(BatchRunnerTest, FilesAreFoundBesideTheBatchFile) {
  m_Files.Write("in.xml", "<TryParams><Name>n &lt</Name><Count>8</Count><Odd>1</Odd></TryParams>");
  m_Files.Write("read.batch", "ReadXml Class=TryParams File=in.xml");
  ASSERT_EQ(RunFile(m_Files.Path("read.batch")), 0) << m_Log;
  EXPECT_EQ(m_Answers[0]["members"], (nlohmann::json{{"Name", "n <"}, {"Count", "8"}})) << "only what the file held";
  EXPECT_EQ(m_Answers[0]["unknown"], nlohmann::json{"Odd"});

  const auto line = [this](const char* command, const char* name, const char* file) {
    return std::string(command) + " Class=" + name + " File=" + QuoteBatchValue(m_Files.Path(file)) + "\n";
  };
  EXPECT_EQ(Run(line("ReadXml", "TryParams", "in.xml") + line("WriteXml", "TryParams", "out.xml") +
                line("ReadXml", "TryParams", "out.xml")),
            0);
  ASSERT_EQ(m_Answers.size(), 3u);
  EXPECT_EQ(m_Answers[2]["members"], (nlohmann::json{{"Name", "n <"}, {"Count", "8"}, {"Ratio", "0.500000"}}));

  EXPECT_EQ(RunFile(m_Files.Path("none.batch")), 3);
  EXPECT_NE(m_Log.find("none.batch"), std::string::npos);
  EXPECT_EQ(RunFile(m_Files.Path()), 3) << "a folder";
  m_Files.Write("bad.xml", "<TryParams><Name>");
  EXPECT_EQ(Run(line("ReadXml", "TryParams", "bad.xml")), 3);
  EXPECT_EQ(Run(line("ReadXml", "TryParams", "none.xml")), 3);
  EXPECT_EQ(Run(line("ReadXml", "NoSuchClass", "in.xml")), 1);
  EXPECT_EQ(Run(line("WriteXml", "TryParams", "in/a/folder/out.xml")), 0) << Error();
  EXPECT_EQ(Run(line("WriteXml", "TryParams", "in.xml/out.xml")), 4);
}

// Why a file is no XML, in the answer itself.
TEST_F(BatchRunnerTest, XmlThatCannotBeReadSaysWhy) {
  m_Files.Write("empty.xml", "");
  m_Files.Write("bad.xml", "<TryParams><Name>x</TryParams>");
  std::string wide;
  for (int i = 0; i < 3000000; ++i) wide += "<a></a>";
  m_Files.Write("wide.xml", "<TryParams>" + wide + "</TryParams>");
  const std::pair<const char*, const char*> cases[] = {{"empty.xml", "no text"},
                                                       {"bad.xml", "no tag that is closed"},
                                                       {"none.xml", "No such file"},
                                                       {".", "a folder"},
                                                       {"wide.xml", "refused: its 3000001 tags in"}};
  for (const auto& [file, reason] : cases) {
    EXPECT_EQ(Run("ReadXml Class=TryParams File=" + QuoteBatchValue(m_Files.Path(file))), 3) << file;
    EXPECT_NE(Error().find(reason), std::string::npos) << Error();
    EXPECT_NE(Error().find(m_Files.Path(file)), std::string::npos) << Error();
  }
}

// However much a file holds, the answer stays short and says how much there is.
TEST_F(BatchRunnerTest, AnswerAboutAHugeXmlFileIsBounded) {
  std::string text = "ab";
  while (text.size() < 300000) text += "\xE2\x82\xAC";  // a character of three bytes lies across the cut
  std::string unknown;
  for (int i = 0; i < 2000; ++i) unknown += "<Odd></Odd>";
  m_Files.Write("huge.xml", "<TryParams><Name>" + text + "</Name>" + unknown + "</TryParams>");
  ASSERT_EQ(Run("ReadXml Class=TryParams File=" + QuoteBatchValue(m_Files.Path("huge.xml"))), 0);
  const nlohmann::json& answer = m_Answers.at(0);
  EXPECT_EQ(answer["members"]["Name"]["bytes"], text.size());
  EXPECT_EQ(answer["members"]["Name"]["text"], text.substr(0, 4094)) << "no part of a character is left";
  EXPECT_EQ(answer["unknownCount"], 2000);
  EXPECT_LT(answer.dump().size(), 12000u);
}

}  // namespace
