#pragma once
// A temporary file on its way to its final name: the one road by which files are written. Streams, the background writer and
// comms::SafeFileWriter share it.
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Whoever drops the last reference to a file that was not put in place removes it.
struct WriterFile {
  ~WriterFile();
  WriterFile() = default;
  WriterFile(const WriterFile&) = delete;
  WriterFile& operator=(const WriterFile&) = delete;

  /// Appends at the position of the handle. After a failure, reported once, all later calls fail too.
  bool Write(const void* data, int64_t size);
  bool Seek(int64_t pos);
  /// Everything that can fail for want of space or rights: brings the bytes into the folder of FinalName, takes over permissions,
  /// syncs and closes. FinalName keeps what stands there.
  bool Prepare();
  /// Prepares and renames to FinalName, whose folder must exist; replaces what stands there in one step. The old file is never
  /// deleted first: a failure at any point leaves it whole.
  bool PutInPlace();
  /// Closes and removes.
  void Drop();
  /// Reports `error` (StreamError) and keeps the reason, errno's text where none is given. Always false.
  bool Fail(int error, const char* reason = nullptr);

  int Handle = -1;
  std::string TempName;   ///< empty: FinalName is a device or pipe that is written directly
  std::string FinalName;  ///< behind its links; empty until known for the service's temporary file
  std::string Reason;     ///< of the first failure, in words
  std::atomic<bool> Failed{false};
};

/// Puts files in place that belong together. All are prepared before any takes its name, and the names are taken in the order
/// given. Where one can't be, those before it give theirs back to the old files, as far as the file system exchanges names.
bool PutInPlace(const std::vector<WriterFile*>& files);

/// A new file that will stand at `path`; behind a symbolic link at `path`, where it points to. Null, with LastStreamError set and
/// the reason in `reason`, where that can't be: no such folder, not writable, a folder itself. Permissions of a file at `path`
/// are taken over. A device or pipe has no old content to guard and is written directly.
std::shared_ptr<WriterFile> CreateFileFor(const std::string& path, std::string* reason = nullptr);
/// The temporary file that the host names; where another stream or process writes that one now, the same name with a number.
std::shared_ptr<WriterFile> CreateServiceFile();
/// Gives a file its (new) final name and makes the folders of it.
bool SetFinalName(WriterFile& file, const std::string& path);
