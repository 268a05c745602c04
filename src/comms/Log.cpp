#include "comms/Log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

#include "comms/Str.h"

namespace comms {

// Entries are handed over under one lock, so that they reach a sink whole and in order and a sink that was replaced is not called
// again. The lock is recursive: a sink may log.
static std::recursive_mutex& LogMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}
static LogSink& InstalledSink() {
  static LogSink sink = [](LogLevel level, const std::string& text) {
    const char* prefix = level == LogLevel::Error ? "error: " : level == LogLevel::Warning ? "warning: " : "";
    std::fprintf(stderr, "%s%s\n", prefix, text.c_str());
  };
  return sink;
}

LogSink SetLogSink(LogSink sink) {
  const std::lock_guard lock(LogMutex());
  return std::exchange(InstalledSink(), std::move(sink));
}

static void Log(LogLevel level, const char* format, va_list arguments) {
  cStr text = FormatV(format, arguments);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  const std::lock_guard lock(LogMutex());
  const LogSink sink = InstalledSink();  // a copy: the sink may install another one
  if (sink) sink(level, text);
}

void LogInfo(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Log(LogLevel::Info, format, arguments);
  va_end(arguments);
}
void LogWarning(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Log(LogLevel::Warning, format, arguments);
  va_end(arguments);
}
void LogError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Log(LogLevel::Error, format, arguments);
  va_end(arguments);
}

struct LogRecorder::State {
  std::string Text, Errors;
  LogSink Before;
};

LogRecorder::LogRecorder() : m_State(new State) {
  State* state = m_State;
  m_State->Before = SetLogSink([state](LogLevel level, const std::string& text) {
    state->Text += text + '\n';
    if (level == LogLevel::Error) state->Errors += (state->Errors.empty() ? "" : " ") + text;
  });
}
LogRecorder::~LogRecorder() {
  SetLogSink(std::move(m_State->Before));
  delete m_State;
}
std::string LogRecorder::Text() const {
  const std::lock_guard lock(LogMutex());
  return m_State->Text;
}
std::string LogRecorder::Errors() const {
  const std::lock_guard lock(LogMutex());
  return m_State->Errors;
}

}  // namespace comms
