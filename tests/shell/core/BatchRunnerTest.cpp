#include "shell/core/BatchRunner.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sstream>

#include "ClassEngine/ValueTypes.h"
#include "comms/Log.h"
#include "comms/Progress.h"
#include "shell/JsonReader.h"
#include "shell/TestFolder.h"
#include "shell/core/GeneralCommands.h"
#include "shell/core/InputFiles.h"

namespace {

enum class Trouble : int32_t { None, Command, Input, Output, Throw, OutOfMemory };

class TryParams : public CommandParameters {
  REFLECTED(TryParams, CommandParameters)
 public:
  _str Name;
  int32_t Count = 3;
  float Ratio = 0.5f;
  Trouble Fail = Trouble::None;
  bool AskFirst = false;
};
DECLARE_MEMBERS(TryParams) {
  Member<_str>("Name", Name).Hint("A name");
  Member<_int>("Count", Count).Range(1, 9).Hint("A count");
  Member<_float>("Ratio", Ratio).Range(0, 1).Hint("A ratio");
  Member<_index>("Fail", Fail, "TestTroubles")
      .Entries({"none", "command", "input", "output", "throw", "memory"})
      .Hint("What goes wrong");
  Member<_bool>("AskFirst", AskFirst).Hint("Ask a question and show a box");
}

CommandResult Try(Messages& messages, const TryParams& p) {
  if (p.AskFirst) {
    if (messages.Ask("Volume", "Replace it?", {"Replace", "Keep"}, 1) != 1)
      return CommandResult::Fail("the unsafe answer was taken");
    if (!GetEngineHost().ShowBox("Class engine error", "a box of the engine"))
      return CommandResult::Fail("the box was cancelled");
  }
  switch (p.Fail) {
    case Trouble::Command:
      return CommandResult::Fail("no");
    case Trouble::Input:
      return CommandResult::NoInput("no file");
    case Trouble::Output:
      return CommandResult::NoOutput("no disk");
    case Trouble::Throw:
      throw std::runtime_error("thrown");
    case Trouble::OutOfMemory:
      throw std::bad_alloc();
    case Trouble::None:
      break;
  }
  return CommandResult::Done(JsonObject().Add("name", p.Name.ToString()).Add("count", p.Count).Add("given", p.Given.size()));
}

/// A table with one command that can do anything, and a runner on it.
class BatchRunnerTest : public testing::Test {
 protected:
  BatchRunnerTest() {
    SetEngineHost(&m_Messages);
    AddGeneralCommands(m_Table);
    m_Table.Add<TryParams>("Try", "Tries.", [this](const TryParams& p) {
      ++m_Runs;
      return Try(m_Messages, p);
    });
    m_Table.Add<NoParameters>("Interrupt", "As Ctrl-C while it works.", [](const NoParameters&) {
      std::raise(SIGINT);
      return comms::ShowProgress(1, 2, "Working") ? CommandResult::Done() : CommandResult::Fail("cancelled");
    });
  }
  ~BatchRunnerTest() override { SetEngineHost(nullptr); }

  /// Runs `text` and returns the exit code; the answers are in m_Answers, the log in m_Log.
  int Run(const std::string& text, bool keepGoing = false) {
    comms::LogRecorder log;
    std::ostringstream answers;
    std::istringstream input(text);
    BatchRunner runner(m_Table, m_Messages, answers, {keepGoing});
    m_Runs = 0;
    const int code = runner.RunStream(input, "job");
    m_Log = log.Text();
    m_Answers.clear();
    std::istringstream lines(answers.str());
    for (std::string line; std::getline(lines, line);) {
      m_Answers.emplace_back();
      EXPECT_TRUE(JsonReader::Read(line, m_Answers.back())) << line;
    }
    return code;
  }

  BatchMessages m_Messages;
  CommandTable m_Table;
  std::vector<JsonValue> m_Answers;
  std::string m_Log;
  int m_Runs = 0;
};

TEST_F(BatchRunnerTest, EveryCommandAnswersOneLine) {
  EXPECT_EQ(Run("\xEF\xBB\xBF# a comment\r\n\r\nTry Name=\"a b\" Count=7\r\nTry"), 0);
  ASSERT_EQ(m_Answers.size(), 2u);
  EXPECT_EQ(m_Answers[0]["command"].String, "Try");
  EXPECT_TRUE(m_Answers[0]["ok"].Bool);
  EXPECT_GE(m_Answers[0]["ms"].Number, 0);
  EXPECT_EQ(m_Answers[0]["name"].String, "a b");
  EXPECT_EQ(m_Answers[0]["count"].Number, 7);
  EXPECT_EQ(m_Answers[1]["count"].Number, 3) << "a line starts from the defaults, not from the line before";
}

TEST_F(BatchRunnerTest, KindOfFailureDecidesTheExitCode) {
  const struct {
    const char* Line;
    int Code;
  } cases[] = {{"Try Fail=command", 1},
               {"Try Fail=input", 3},
               {"Try Fail=output", 4},
               {"Try Fail=throw", 1},
               {"Try Fail=memory", 1},
               {"Bogus", 2},
               {"Try Bogus=1", 2},
               {"Try Count=0", 2},
               {"Try Count=10", 2},
               {"Try Count=2.5", 2},
               {"Try Count=", 2},
               {"Try Ratio=nan", 2},
               {"Try Ratio=1e99", 2},
               {"Try Ratio=0,5", 2},
               {"Try Fail=other", 2},
               {"Try AskFirst=2", 2},
               {"Try Count=1 Count=2", 2},
               {"ReadXml Class=TryParams", 2},
               {"Try \"", 2},
               {"\xFF", 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(Run(std::string("# first line\n") + c.Line + "\nTry"), c.Code) << c.Line;
    ASSERT_EQ(m_Answers.size(), 1u) << c.Line << ": the run stops at the first failure";
    EXPECT_FALSE(m_Answers[0]["ok"].Bool);
    EXPECT_FALSE(m_Answers[0]["error"].String.empty()) << c.Line;
    EXPECT_NE(m_Log.find("job:2:"), std::string::npos) << c.Line << ": " << m_Log;
    if (c.Code == 2) {
      EXPECT_TRUE(m_Answers[0]["error"].String.starts_with("job:2: ")) << m_Answers[0]["error"].String;
      EXPECT_EQ(m_Runs, 0) << c.Line << ": nothing is run that was not understood";
    }
  }
}

TEST_F(BatchRunnerTest, KeepGoingRunsTheRestAndTheFirstFailureDecides) {
  EXPECT_EQ(Run("Try\nTry Fail=output\nBogus\nTry Fail=command\nTry Count=9\n", true), 4);
  ASSERT_EQ(m_Answers.size(), 5u);
  EXPECT_TRUE(m_Answers[4]["ok"].Bool);
}

TEST_F(BatchRunnerTest, QuitEndsTheRun) {
  EXPECT_EQ(Run("Quit\nTry\n", true), 0);
  EXPECT_EQ(m_Answers.size(), 1u);
}

TEST_F(BatchRunnerTest, BoxesAndQuestionsAreRecordedAndAnsweredSafely) {
  EXPECT_EQ(Run("Try AskFirst=true\nTry"), 0);
  ASSERT_EQ(m_Answers.size(), 2u);
  ASSERT_EQ(m_Answers[0]["messages"].Items.size(), 2u);
  EXPECT_EQ(m_Answers[0]["messages"].Items[0]["answer"].String, "Keep");
  EXPECT_EQ(m_Answers[0]["messages"].Items[1]["text"].String, "a box of the engine");
  EXPECT_FALSE(m_Answers[1].Has("messages")) << "messages belong to the command that raised them";
}

TEST_F(BatchRunnerTest, InterruptCancelsTheCommandAndTheRun) {
  EXPECT_EQ(Run("Interrupt\nTry\n", true), 1);
  ASSERT_EQ(m_Answers.size(), 1u);
  EXPECT_EQ(m_Answers[0]["error"].String, "cancelled");
  EXPECT_EQ(Run("Try\n"), 0) << "the next run starts afresh";
}

// A line without an end must not be kept whole, and the lines behind it keep their numbers.
TEST_F(BatchRunnerTest, OverlongLineIsRefused) {
  EXPECT_EQ(Run("Try Name=" + std::string(MaxBatchLine * 4, 'a') + "\nTry Fail=input\n", true), 2);
  ASSERT_EQ(m_Answers.size(), 2u);
  EXPECT_LT(m_Answers[0]["error"].String.size(), 200u);
  EXPECT_NE(m_Log.find("job:2:"), std::string::npos);
}

TEST_F(BatchRunnerTest, UnwritableAnswersStopTheRun) {
  comms::LogRecorder log;
  std::ostream nowhere(nullptr);
  std::istringstream input("Try\nTry\n");
  m_Runs = 0;
  EXPECT_EQ(BatchRunner(m_Table, m_Messages, nowhere, {true}).RunStream(input, "job"), 4);
  EXPECT_EQ(m_Runs, 1);
}

TEST_F(BatchRunnerTest, MistypedNamesAreRecognised) {
  Run("try Count=1");
  EXPECT_NE(m_Answers[0]["error"].String.find("'Try' was probably meant"), std::string::npos);
  Run("Try Cuont=1");
  EXPECT_NE(m_Answers[0]["error"].String.find("'Count' was probably meant"), std::string::npos);
  Run("Try Something=1");
  EXPECT_NE(m_Answers[0]["error"].String.find("it takes Name, Count, Ratio, Fail, AskFirst"), std::string::npos);
}

class BatchFileTest : public BatchRunnerTest {
 protected:
  BatchFileTest() : m_Files("BatchFileTest") {}
  std::string Path(const char* name) const { return m_Files.Path(name); }
  void WriteText(const char* name, const std::string& text) { m_Files.Write(name, text); }
  int RunFile(const std::string& path) {
    comms::LogRecorder log;
    std::ostringstream answers;
    BatchRunner runner(m_Table, m_Messages, answers);
    const int code = runner.RunFile(path);
    m_Log = log.Text();
    EXPECT_TRUE(answers.str().empty() || JsonReader::Read(answers.str(), m_Answer)) << answers.str();
    return code;
  }
  TestFolder m_Files;
  JsonValue m_Answer;
};

TEST_F(BatchFileTest, MissingFileAndFolderAreInputsThatCantBeRead) {
  EXPECT_EQ(RunFile(Path("none.batch")), 3);
  EXPECT_NE(m_Log.find("none.batch"), std::string::npos);
  EXPECT_EQ(RunFile(m_Files.Path()), 3);
  WriteText("empty.batch", "");
  EXPECT_EQ(RunFile(Path("empty.batch")), 0);
}

// Files are found beside the batch file, wherever it is run from; XML goes out and comes back.
TEST_F(BatchFileTest, XmlComesBackFromBesideTheBatchFile) {
  WriteText("in.xml", "<TryParams><Name>n &lt;</Name><Count>8</Count><Odd>1</Odd></TryParams>");
  WriteText("read.batch", "ReadXml Class=TryParams File=in.xml");
  ASSERT_EQ(RunFile(Path("read.batch")), 0) << m_Log;
  EXPECT_EQ(m_Answer["members"]["Count"].String, "8");
  EXPECT_FALSE(m_Answer["members"].Has("Ratio")) << "only what the file held";
  ASSERT_EQ(m_Answer["unknown"].Items.size(), 1u);
  EXPECT_EQ(m_Answer["unknown"].Items[0].String, "Odd");

  EXPECT_EQ(Run("ReadXml Class=TryParams File=" + QuoteBatchValue(Path("in.xml")) + "\nWriteXml Class=TryParams File=" +
                QuoteBatchValue(Path("out.xml")) + "\nReadXml Class=TryParams File=" + QuoteBatchValue(Path("out.xml"))),
            0);
  ASSERT_EQ(m_Answers.size(), 3u);
  EXPECT_EQ(m_Answers[2]["members"]["Name"].String, m_Answers[0]["members"]["Name"].String);
  EXPECT_EQ(m_Answers[2]["members"]["Count"].String, "8");
  EXPECT_TRUE(m_Answers[2]["members"].Has("Ratio"));

  WriteText("bad.xml", "<TryParams><Name>");
  EXPECT_EQ(Run("ReadXml Class=TryParams File=" + QuoteBatchValue(Path("bad.xml"))), 3);
  EXPECT_EQ(Run("ReadXml Class=TryParams File=" + QuoteBatchValue(Path("none.xml"))), 3);
  EXPECT_EQ(Run("ReadXml Class=NoSuchClass File=" + QuoteBatchValue(Path("in.xml"))), 1);
  EXPECT_EQ(Run("WriteXml Class=TryParams File=" + QuoteBatchValue(Path("no/such/folder/out.xml"))), 4);
}

}  // namespace
