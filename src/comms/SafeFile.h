#pragma once
// Whole files in and out. Writing never damages what was there: the bytes go to a temporary name in the same folder, every call
// is checked, the file is synced, renamed over the old one, and the folder is synced.
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

struct WriterFile;

namespace comms {

/// Whether something other than a folder stands at `path`.
bool FileExists(const std::string& path);
/// Bytes of the regular file at `path`; -1 where there is none.
int64_t GetFileSize(const std::string& path);

/// Reads all of `path` (UTF-8). False with one sentence in `error` (file, reason) where it can't be read.
bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error);

/// A file that comes into being whole or not at all. Permissions of the file that stood there are kept, and a symbolic link stays
/// and is written through. A device or pipe at `path` (/dev/stdout) has no old content to guard and is written directly. Folders
/// and write-protected files are refused.
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
  /// Hands what was appended to the system. False like Write.
  bool Flush();
  /// Syncs, closes and renames over `path`. False where anything failed: the old file is whole, or, where only the sync of the
  /// folder failed, the new one.
  bool Commit();
  /// Commits files that belong together: all are complete and synced before the first is renamed, they are renamed in the order
  /// given, and where one can't be, those before it are taken back as far as the file system allows. False with the reason in
  /// Error() of the one that failed.
  static bool CommitTogether(std::initializer_list<SafeFileWriter*> writers);
  bool Failed() const { return !m_Error.empty(); }
  /// The first failure as a sentence with file and reason; empty while all is well.
  const std::string& Error() const { return m_Error; }

 private:
  bool Fail(const std::string& reason);
  std::string m_Path;  // as given, for messages
  std::string m_Error;
  std::vector<uint8_t> m_Buffer;
  std::shared_ptr<WriterFile> m_File;
};

}  // namespace comms
