#pragma once
// The program's log. Entries go to the installed sinks in order: standard error in batch, "Log.txt" beside the window, a recorder
// in tests. Safe from any thread.
#include <functional>
#include <string>

namespace comms {

enum class LogLevel { Info, Warning, Error };

/// printf form; one entry, no line end needed.
void LogInfo(const char* format, ...) __attribute__((format(printf, 1, 2)));
void LogWarning(const char* format, ...) __attribute__((format(printf, 1, 2)));
void LogError(const char* format, ...) __attribute__((format(printf, 1, 2)));

using LogSink = std::function<void(LogLevel, const std::string& text)>;
/// Installs `sink` in place of the one before, which is returned. An empty sink drops entries. The default writes to standard
/// error.
LogSink SetLogSink(LogSink sink);

/// Records the entries of a scope (tests, commands that quote the last error), then gives the sink back.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();
  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;
  /// All entries so far, one a line.
  std::string Text() const;
  /// The error entries alone, one behind the other: what a command answers when it failed.
  std::string Errors() const;

 private:
  struct State;
  State* m_State;
};

}  // namespace comms
