#include "comms/SafeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <new>
#include <stdexcept>
#include <system_error>

#include "ClassEngine/StreamFile.h"

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

SafeFileWriter::SafeFileWriter(const std::string& path) : m_Path(path) {
  std::string reason;
  m_File = CreateFileFor(path, &reason);
  if (!m_File) Fail(reason);
}

SafeFileWriter::~SafeFileWriter() = default;

bool SafeFileWriter::Fail(const std::string& reason) {
  if (m_Error.empty()) m_Error = "Can't write \"" + m_Path + "\": " + reason + ".";
  return false;
}

bool SafeFileWriter::Flush() {
  if (Failed()) return false;
  if (!m_File) return Fail("it was closed before");
  if (!m_File->Write(m_Buffer.data(), int64_t(m_Buffer.size()))) return Fail(m_File->Reason);
  m_Buffer.clear();
  return true;
}

bool SafeFileWriter::Write(const void* data, size_t size) {
  constexpr size_t BufferBytes = 256 * 1024;
  if (Failed()) return false;
  if (!m_File) return Fail("it was closed before");
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  const bool direct = size > BufferBytes / 2;
  if ((direct || m_Buffer.size() + size > BufferBytes) && !Flush()) return false;
  if (direct) return m_File->Write(bytes, int64_t(size)) || Fail(m_File->Reason);
  m_Buffer.insert(m_Buffer.end(), bytes, bytes + size);
  return true;
}

bool SafeFileWriter::Commit() { return CommitTogether({this}); }

bool SafeFileWriter::CommitTogether(std::initializer_list<SafeFileWriter*> writers) {
  std::vector<WriterFile*> files;
  for (SafeFileWriter* writer : writers) {
    if (!writer->Flush()) return false;
    files.push_back(writer->m_File.get());
  }
  const bool done = PutInPlace(files);
  for (SafeFileWriter* writer : writers) {
    if (writer->m_File->Failed) writer->Fail(writer->m_File->Reason);
    writer->m_File = nullptr;
  }
  return done;
}

}  // namespace comms
