#pragma once
// The file behind a writing stream: a temporary file on its way to its final name. Streams and the background writer share it.
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

/// Whoever drops the last reference to a file that was not put in place removes it.
struct WriterFile {
  ~WriterFile();
  WriterFile() = default;
  WriterFile(const WriterFile&) = delete;
  WriterFile& operator=(const WriterFile&) = delete;

  /// Appends at the position of the handle. After a failure, reported once, all later calls fail too.
  bool Write(const void* data, int64_t size);
  bool Seek(int64_t pos);
  /// Syncs, closes and renames to FinalName, whose folder must exist; replaces what stands there in one step. The old file is
  /// never deleted first: a failure at any point leaves it whole.
  bool PutInPlace();
  /// Closes and removes.
  void Drop();
  bool Fail(int error);

  int Handle = -1;
  std::string TempName;   ///< empty: FinalName is a device or pipe that is written directly
  std::string FinalName;  ///< behind its links; empty until known for the service's temporary file
  std::atomic<bool> Failed{false};
};

/// A new file that will stand at `path`. Null, with LastStreamError set, where that can't be: no such folder, not writable, a
/// folder itself. Permissions of a file at `path` are taken over.
std::shared_ptr<WriterFile> CreateFileFor(const std::string& path);
/// The temporary file that the host names; where another stream or process writes that one now, the same name with a number.
std::shared_ptr<WriterFile> CreateServiceFile();
/// Gives a file its (new) final name and makes the folders of it.
bool SetFinalName(WriterFile& file, const std::string& path);
