#include "shell/app/LogFile.h"

#include <cerrno>
#include <cstring>

LogFile::LogFile(const std::string& path) : m_File(std::fopen(path.c_str(), "w")) {
  if (!m_File) {
    comms::LogWarning("%s: the log can't be written: %s", path.c_str(), std::strerror(errno));
    return;
  }
  m_Before = comms::SetLogSink([file = m_File](comms::LogLevel level, const std::string& text) {
    std::fprintf(file, "%s\n", text.c_str());
    std::fflush(file);
    if (level != comms::LogLevel::Info) std::fprintf(stderr, "%s\n", text.c_str());
  });
}

LogFile::~LogFile() {
  if (!m_File) return;
  comms::SetLogSink(std::move(m_Before));
  std::fclose(m_File);
}
