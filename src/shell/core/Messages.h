#pragma once
// Message boxes and questions. Everything that wants to tell or ask the person something goes through here: the window draws it,
// a batch run records it and takes the answer that loses nothing. Nothing here waits for anybody.
#include <string>
#include <vector>

#include "ClassEngine/EngineHost.h"

class Messages {
 public:
  virtual ~Messages() = default;
  /// Tells. True for OK, false for Cancel.
  virtual bool ShowBox(const char* title, const char* text) = 0;
  /// Asks. Returns the index of the answer chosen from `answers`; `safe` is the one by which nothing is lost.
  virtual int Ask(const char* title, const char* text, const std::vector<std::string>& answers, int safe) = 0;
};

/// Messages of a run without a person, and the class engine's host in one: the engine's boxes go the same way as the shell's.
/// Every box is answered OK (go on), every question with its safe answer; each is logged and kept until it is taken.
class BatchMessages : public Messages, public EngineHost {
 public:
  struct Record {
    std::string Title, Text, Answer;
  };

  /// `temporaryFolder`: where the file behind file-less streams may be made.
  explicit BatchMessages(std::string temporaryFolder = {}) : m_TemporaryFolder(std::move(temporaryFolder)) {}

  bool ShowBox(const char* title, const char* text) override;
  int Ask(const char* title, const char* text, const std::vector<std::string>& answers, int safe) override;

  void Log(const char* text) override;
  std::string GetTempFileName() override;

  /// The messages since the last call, oldest first; that memory ran out meanwhile is one of them.
  std::vector<Record> Take();

 private:
  void Keep(Record record);
  std::string m_TemporaryFolder;
  std::vector<Record> m_Records;
};
