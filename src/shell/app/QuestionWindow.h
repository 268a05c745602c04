#pragma once
// What a crashed program asks and tells: it can't show anything itself any more, so it starts itself anew for each window.
#include <string>

/// Exit codes of the process that asks. Whoever gets another one has no answer.
enum QuestionAnswer : int { AnswerYes = 0, AnswerNo = 1 };
constexpr int NoAnswer = 2;

/// Asks whether the work is to be saved, in the person's language and theme, and waits for the answer. A closed window is a yes,
/// by which nothing is lost. NoAnswer, and one sentence on standard error, where no window can be had.
int AskToSaveAfterCrash(const std::string& programData);

/// Tells where the work is now, until the person has read it. 0, or NoAnswer as above.
int TellWorkIsSaved(const std::string& programData, const std::string& path);
/// Tells that it is nowhere: `reason` says why, one sentence a line.
int TellWorkIsLost(const std::string& programData, const std::string& reason);
