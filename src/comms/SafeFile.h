#pragma once
// Whole files in and out. Writing never damages what was there: the bytes go to a temporary name in the same folder, every call is
// checked, the file is synced, renamed over the old one, and the folder is synced.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace comms {

/// Reads all of `path` (UTF-8). False with one sentence in `error` (file, reason) where it can't be read.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error);

/// A file that comes into being whole or not at all.
class SafeFileWriter {
 public:
  /// Opens the temporary file beside `path`; nothing at `path` changes before Commit.
  explicit SafeFileWriter(const std::string& path);
  /// Drops the temporary file unless Commit succeeded.
  ~SafeFileWriter();
  SafeFileWriter(const SafeFileWriter&) = delete;
  SafeFileWriter& operator=(const SafeFileWriter&) = delete;

  /// Appends. False after the first failure; all later calls fail too.
  bool Write(const void* data, std::size_t size);
  /// Syncs, closes and renames over `path`. False where anything failed; then the old file is whole.
  bool Commit();
  bool Failed() const { return !m_Error.empty(); }
  /// The first failure as a sentence with file and reason; empty while all is well.
  const std::string& Error() const { return m_Error; }

 private:
  bool Fail(const char* what);
  std::string m_Path, m_TempPath, m_Error;
  int m_Handle = -1;
};

}  // namespace comms
