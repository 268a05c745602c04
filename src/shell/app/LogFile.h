#pragma once
// "Log.txt": what the program did, for the person who looks into a fault. Warnings and errors go to standard error too.
#include <cstdio>
#include <memory>
#include <string>

#include "comms/Log.h"

/// The program's log for its lifetime. Where the file can't be written, standard error alone is left.
class LogFile {
 public:
  explicit LogFile(const std::string& path);
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

 private:
  std::FILE* m_File;
  comms::LogSink m_Before;
};
