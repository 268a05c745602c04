#include "comms/SafeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "comms/Str.h"

namespace comms {

static std::string ErrnoText(int code) { return std::generic_category().message(code); }

bool FileExists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
}

int64_t GetFileSize(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) ? int64_t(info.st_size) : -1;
}

// --- reading -----------------------------------------------------------------------------------------------------------------

// Reads to the end, whatever the size said: the file may grow meanwhile, and a pipe has no size.
static bool ReadToEnd(int handle, std::vector<uint8_t>& bytes, size_t expected) {
  bytes.resize(expected + 1);  // one more, so that the end is met without growing
  size_t used = 0;
  for (;;) {
    if (used == bytes.size()) bytes.resize(bytes.size() + bytes.size() / 2 + 4096);
    const ssize_t got = ::read(handle, bytes.data() + used, bytes.size() - used);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    used += size_t(got);
  }
  bytes.resize(used);
  return true;
}

bool ReadWholeFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error) {
  bytes.clear();
  const auto fail = [&](const std::string& reason) {
    bytes.clear();
    error = "Can't read \"" + path + "\": " + reason + ".";
    return false;
  };
  const int handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (handle < 0) return fail(ErrnoText(errno));
  bool done = false;
  std::string reason;
  struct stat info;
  if (::fstat(handle, &info) != 0) {
    reason = ErrnoText(errno);
  } else if (S_ISDIR(info.st_mode)) {
    reason = "it is a folder";
  } else {
    try {
      done = ReadToEnd(handle, bytes, S_ISREG(info.st_mode) ? size_t(info.st_size) : 0);
      if (!done) reason = ErrnoText(errno);
    } catch (const std::bad_alloc&) {
      reason = "not enough memory for its content";
    } catch (const std::length_error&) {
      reason = "not enough memory for its content";
    }
  }
  ::close(handle);
  return done || fail(reason);
}

// --- writing -----------------------------------------------------------------------------------------------------------------

// A write past the permitted file size raises a signal that ends the process by default; ignored, the write fails like any other.
static void TurnSizeSignalIntoError() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction current;
    if (::sigaction(SIGXFSZ, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) std::signal(SIGXFSZ, SIG_IGN);
  });
}

SafeFileWriter::SafeFileWriter(const std::string& path) : m_Path(path), m_Target(path) {
  TurnSizeSignalIntoError();
  if (path.empty()) {
    Fail("the name is empty");
    return;
  }
  if (path.find('\0') != std::string::npos) {
    Fail("the name holds a zero byte");
    return;
  }
  if (char* real = ::realpath(path.c_str(), nullptr)) {
    m_Target = real;
    std::free(real);
  }
  struct stat info;
  const bool exists = ::stat(path.c_str(), &info) == 0;
  if (exists ? S_ISDIR(info.st_mode) : path.back() == '/') {
    Fail("it is a folder");
  } else if (exists && !S_ISREG(info.st_mode)) {
    m_Handle = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (m_Handle < 0) FailWithErrno();
  } else if (exists && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) {
    FailWithErrno();
  } else {
    OpenTemporary();
    if (exists && m_Handle >= 0 && ::fchmod(m_Handle, info.st_mode & 07777) != 0) FailWithErrno();
  }
}

SafeFileWriter::~SafeFileWriter() {
  if (m_Handle >= 0) ::close(m_Handle);
  if (!m_TempPath.empty()) ::unlink(m_TempPath.c_str());
}

// The name is short and of its own form: a target name at the length limit leaves no room to append to.
void SafeFileWriter::OpenTemporary() {
  struct stat info;
  const mode_t mode = ::stat(m_Target.c_str(), &info) == 0 ? info.st_mode & 0777 : 0666;
  std::random_device random;
  for (int attempt = 0; attempt < 100; attempt++) {
    const std::string candidate = GetFolder(m_Target) + Format(".morvane-%08x%08x.tmp", unsigned(random()), unsigned(random()));
    m_Handle = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode);
    if (m_Handle >= 0) {
      m_TempPath = candidate;
      return;
    }
    if (errno != EEXIST && errno != EINTR) break;
  }
  FailWithErrno();
}

bool SafeFileWriter::Fail(const std::string& reason) {
  if (m_Error.empty()) m_Error = "Can't write \"" + m_Path + "\": " + reason + ".";
  return false;
}
bool SafeFileWriter::FailWithErrno() { return Fail(ErrnoText(errno)); }

bool SafeFileWriter::WriteThrough(const uint8_t* data, size_t size) {
  while (size) {
    const ssize_t written = ::write(m_Handle, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return FailWithErrno();
    if (written == 0) return Fail("the system took no bytes");
    data += written;
    size -= size_t(written);
  }
  return true;
}

bool SafeFileWriter::Write(const void* data, size_t size) {
  constexpr size_t BufferBytes = 256 * 1024;
  if (Failed()) return false;
  if (m_Handle < 0) return Fail("it was closed before");
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  if (m_Buffer.size() + size <= BufferBytes) {
    m_Buffer.insert(m_Buffer.end(), bytes, bytes + size);
    return true;
  }
  if (!WriteThrough(m_Buffer.data(), m_Buffer.size())) return false;
  m_Buffer.clear();
  if (size > BufferBytes / 2) return WriteThrough(bytes, size);
  m_Buffer.assign(bytes, bytes + size);
  return true;
}

// The entry of the folder is on disk only after this. Some file systems know no sync of folders and say so.
bool SafeFileWriter::SyncFolder() {
  const std::string folder = GetFolder(m_Target);
  const int handle = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return errno == EACCES || FailWithErrno();  // a folder may be writable and not readable
  const bool synced = ::fsync(handle) == 0 || errno == EINVAL || errno == ENOTSUP || FailWithErrno();
  ::close(handle);
  return synced;
}

bool SafeFileWriter::Commit() {
  if (Failed()) return false;
  if (m_Handle < 0) return Fail("it was closed before");
  if (!WriteThrough(m_Buffer.data(), m_Buffer.size())) return false;
  m_Buffer.clear();
  const bool direct = m_TempPath.empty();
  // Terminals and pipes can't be synced.
  if (::fsync(m_Handle) != 0 && !(direct && (errno == EINVAL || errno == ENOTSUP || errno == EROFS))) return FailWithErrno();
  if (::close(std::exchange(m_Handle, -1)) != 0) return FailWithErrno();
  if (direct) return true;
  if (::rename(m_TempPath.c_str(), m_Target.c_str()) != 0) return FailWithErrno();
  m_TempPath.clear();
  return SyncFolder();
}

}  // namespace comms
