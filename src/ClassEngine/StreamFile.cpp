#include "ClassEngine/StreamFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <random>
#include <system_error>
#include <utility>
#include <vector>

#include "ClassEngine/BinStream.h"
#include "ClassEngine/EngineHost.h"

// A write past the permitted file size raises a signal that ends the process by default; ignored, the write fails like any other.
static void TurnSizeSignalIntoError() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction current;
    if (::sigaction(SIGXFSZ, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) std::signal(SIGXFSZ, SIG_IGN);
  });
}

// With its slash; empty for a bare name.
static std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

static bool WriteAll(int handle, const void* data, int64_t size) {
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = ::write(handle, bytes, size_t(std::min<int64_t>(size, 1 << 30)));
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = EIO;
    if (written <= 0) return false;
    bytes += written;
    size -= written;
  }
  return true;
}

// Terminals and pipes know no sync, and some file systems none of folders.
static bool Sync(int handle) { return ::fsync(handle) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS; }

static bool SyncFolder(const std::string& folder) {
  const int handle = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return errno == EACCES;  // a folder may be writable and not readable
  const bool synced = Sync(handle);
  ::close(handle);
  return synced;
}

// The name is short and of its own form: a final name at the length limit leaves no room to append to.
static int OpenTemporary(const std::string& folder, std::string& name) {
  std::random_device random;
  for (int attempt = 0; attempt < 100; attempt++) {
    char leaf[40];
    std::snprintf(leaf, sizeof leaf, ".morvane-%08x%08x.tmp", unsigned(random()), unsigned(random()));
    name = folder + leaf;
    const int handle = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (handle >= 0) return handle;
    if (errno != EEXIST && errno != EINTR) break;
  }
  name.clear();
  return -1;
}

// --- WriterFile ----------------------------------------------------------------------------------

WriterFile::~WriterFile() { Drop(); }

static std::string DescribeError(int code) {
  if (code == ENOSPC || code == EDQUOT) return "There is not enough disk";
  return std::generic_category().message(code);
}

bool WriterFile::Fail(int error, const char* reason) {
  if (!Failed.exchange(true)) {
    Reason = reason ? reason : DescribeError(errno);
    SetStreamError(StreamError(error), FinalName.empty() ? TempName : FinalName);
  }
  return false;
}

bool WriterFile::Write(const void* data, int64_t size) {
  if (Failed) return false;
  return (Handle >= 0 && WriteAll(Handle, data, size)) || Fail(StreamShortWrite);
}

bool WriterFile::Seek(int64_t pos) {
  if (Failed) return false;
  return (Handle >= 0 && ::lseek(Handle, off_t(pos), SEEK_SET) >= 0) || Fail(StreamShortWrite);
}

// The name goes first: that of the service's file is anybody's as soon as the handle, and its lock with it, is closed.
void WriterFile::Drop() {
  if (!TempName.empty()) ::unlink(TempName.c_str());
  if (Handle >= 0) ::close(std::exchange(Handle, -1));
  TempName.clear();
}

// A file of another disk can't be renamed into place: its bytes go to a new file beside the final name first.
static bool MoveToFolderOf(WriterFile& file) {
  std::string name;
  const int handle = OpenTemporary(FolderOf(file.FinalName), name);
  if (handle < 0) return file.Fail(StreamNoFile);
  std::vector<char> piece(1 << 20);
  bool copied = ::lseek(file.Handle, 0, SEEK_SET) == 0;
  while (copied) {
    const ssize_t got = ::read(file.Handle, piece.data(), piece.size());
    if (got == 0) break;
    if (got < 0 && errno == EINTR) continue;
    copied = got > 0 && WriteAll(handle, piece.data(), got);
  }
  file.Drop();
  file.Handle = handle;
  file.TempName = name;
  return copied || file.Fail(StreamShortWrite);
}

bool WriterFile::Prepare() {
  if (Failed || Handle < 0) return false;
  if (TempName.empty()) {
    const bool synced = Sync(Handle);
    return (::close(std::exchange(Handle, -1)) == 0 && synced) || Fail(StreamShortWrite);
  }
  struct stat temp, folder;
  const std::string folderName = FolderOf(FinalName);
  if (::fstat(Handle, &temp) != 0 || ::stat(folderName.empty() ? "." : folderName.c_str(), &folder) != 0)
    return Fail(StreamNoFile);
  if (temp.st_dev != folder.st_dev && !MoveToFolderOf(*this)) return false;
  struct stat old;
  if (::stat(FinalName.c_str(), &old) == 0 && ::fchmod(Handle, old.st_mode & 07777) != 0) return Fail(StreamNoFile);
  if (::fsync(Handle) != 0) return Fail(StreamShortWrite);
  return ::close(std::exchange(Handle, -1)) == 0 || Fail(StreamShortWrite);
}

bool WriterFile::PutInPlace() { return ::PutInPlace({this}); }

// --- names ---------------------------------------------------------------------------------------

namespace {
// What stood at the final name of a file that took it.
enum class OldFile { None, UnderTempName, Gone };
}  // namespace

// With `keep` the old file changes places with the new one, where there is one and the file system can do it.
static bool TakeFinalName(WriterFile& file, bool keep, OldFile& old) {
  const char* const temp = file.TempName.c_str();
  const char* const final = file.FinalName.c_str();
  struct stat info;
  const bool stands = ::lstat(final, &info) == 0;
  // A folder would change places too; left to the rename, which refuses it.
  if (keep && stands && S_ISREG(info.st_mode) && ::renameat2(AT_FDCWD, temp, AT_FDCWD, final, RENAME_EXCHANGE) == 0) {
    old = OldFile::UnderTempName;
    return true;
  }
  if (::rename(temp, final) != 0) return file.Fail(StreamNoFile);
  file.TempName.clear();
  old = stands ? OldFile::Gone : OldFile::None;
  return true;
}

static void GiveFinalNameBack(WriterFile& file, OldFile old) {
  if (old == OldFile::None) ::unlink(file.FinalName.c_str());
  if (old == OldFile::UnderTempName && ::rename(file.TempName.c_str(), file.FinalName.c_str()) == 0) file.TempName.clear();
}

bool PutInPlace(const std::vector<WriterFile*>& files) {
  for (WriterFile* file : files)
    if (!file->Prepare()) return false;
  std::vector<std::pair<WriterFile*, OldFile>> taken;
  for (WriterFile* file : files) {
    if (file->TempName.empty()) continue;
    OldFile old = OldFile::None;
    if (!TakeFinalName(*file, file != files.back(), old)) {
      for (; !taken.empty(); taken.pop_back()) GiveFinalNameBack(*taken.back().first, taken.back().second);
      return false;
    }
    taken.emplace_back(file, old);
  }
  std::string synced;
  bool done = true;
  for (const auto& [file, old] : taken) {
    file->Drop();  // the old file, where it was kept
    const std::string folder = FolderOf(file->FinalName);
    if (file == taken.front().first || folder != synced) done &= SyncFolder(folder) || file->Fail(StreamShortWrite);
    synced = folder;
  }
  return done;
}

// --- making --------------------------------------------------------------------------------------

// Checks what stands at `path` and sets the final name. `device` tells that it is written directly.
static bool TakeTarget(WriterFile& file, const std::string& path, bool& device) {
  file.FinalName = path;
  device = false;
  if (path.empty()) return file.Fail(StreamNoFile, "the name is empty");
  if (path.find('\0') != std::string::npos) return file.Fail(StreamNoFile, "the name holds a zero byte");
  if (path.back() == '/') return file.Fail(StreamNoFile, "it is a folder");
  if (char* real = ::realpath(path.c_str(), nullptr)) {
    file.FinalName = real;
    std::free(real);
  }
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return true;
  if (S_ISDIR(info.st_mode)) return file.Fail(StreamNoFile, "it is a folder");
  if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return file.Fail(StreamNoFile);
  device = !S_ISREG(info.st_mode);
  return true;
}

std::shared_ptr<WriterFile> CreateFileFor(const std::string& path, std::string* reason) {
  TurnSizeSignalIntoError();
  auto file = std::make_shared<WriterFile>();
  bool device;
  if (TakeTarget(*file, path, device)) {
    file->Handle = device ? ::open(file->FinalName.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY)
                          : OpenTemporary(FolderOf(file->FinalName), file->TempName);
    if (file->Handle >= 0) return file;
    file->Fail(StreamNoFile);
  }
  if (reason) *reason = file->Reason;
  return nullptr;
}

// The lock tells a file in use from one that an ended process left behind, which is taken over.
static bool OpenLocked(WriterFile& file, const std::string& name) {
  const int handle = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
  if (handle < 0) return false;
  struct stat opened, named;
  const bool ours = ::flock(handle, LOCK_EX | LOCK_NB) == 0 && ::fstat(handle, &opened) == 0 && S_ISREG(opened.st_mode) &&
                    ::stat(name.c_str(), &named) == 0 && opened.st_ino == named.st_ino && opened.st_dev == named.st_dev &&
                    ::ftruncate(handle, 0) == 0;
  if (!ours) {
    ::close(handle);
    return false;
  }
  file.Handle = handle;
  file.TempName = name;
  return true;
}

std::shared_ptr<WriterFile> CreateServiceFile() {
  TurnSizeSignalIntoError();
  auto file = std::make_shared<WriterFile>();
  const std::string name = GetEngineHost().GetTempFileName();
  constexpr int MaxNames = 100;
  for (int i = 0; i < MaxNames; i++)
    if (OpenLocked(*file, i ? name + "." + std::to_string(i) : name)) return file;
  SetStreamError(StreamNoFile, name);
  return nullptr;
}

// From the close to the rename nothing locks the service's file: under a name of its own nobody takes it over meanwhile.
static bool LeaveServiceName(WriterFile& file) {
  std::string own;
  const int handle = OpenTemporary(FolderOf(file.TempName), own);
  if (handle < 0) return file.Fail(StreamNoFile);
  ::close(handle);
  if (::rename(file.TempName.c_str(), own.c_str()) != 0) return file.Fail(StreamNoFile);
  file.TempName = own;
  return true;
}

bool SetFinalName(WriterFile& file, const std::string& path) {
  std::error_code ignored;  // what can't be made is found missing below
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
  const bool isService = file.FinalName.empty();
  bool device;
  if (!TakeTarget(file, path, device)) return false;
  if (device) return file.Fail(StreamNoFile);
  return !isService || LeaveServiceName(file);
}
