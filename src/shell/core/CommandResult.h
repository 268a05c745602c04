#pragma once
// What a command answers.
#include <string>
#include <utility>

#include "shell/core/Json.h"

/// Why a command did not do its work. The value is the exit code of a batch run that this failure decides.
enum class Failure {
  None = 0,
  CommandFailed = 1,     ///< understood, and could not be done
  NotUnderstood = 2,     ///< a line, parameter or option is wrong
  InputNotRead = 3,      ///< a file that was to be read is missing or damaged
  OutputNotWritten = 4,  ///< a file that was to be written is not there, or is the old one
};

struct CommandResult {
  Failure Kind = Failure::None;
  std::string Message;   ///< one sentence for a person: what, where, found, expected; empty when all is well
  JsonObject Figures;    ///< in the order in which they are shown
  bool EndsRun = false;  ///< nothing is to be run after this (Quit)

  bool Ok() const { return Kind == Failure::None; }

  static CommandResult Done(JsonObject figures = {}) { return {Failure::None, {}, std::move(figures), false}; }
  static CommandResult Fail(std::string message) { return {Failure::CommandFailed, std::move(message), {}, false}; }
  static CommandResult Refuse(std::string message) { return {Failure::NotUnderstood, std::move(message), {}, false}; }
  static CommandResult NoInput(std::string message) { return {Failure::InputNotRead, std::move(message), {}, false}; }
  static CommandResult NoOutput(std::string message) { return {Failure::OutputNotWritten, std::move(message), {}, false}; }
};
