#include "ClassEngine/FileBinStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "ClassEngine/Assert.h"
#include "ClassEngine/BackgroundWriter.h"
#include "ClassEngine/WriterQueue.h"

// --- reading -------------------------------------------------------------------------------------

FileReadStreamBase::~FileReadStreamBase() { FileReadStreamBase::Clear(); }

bool FileReadStreamBase::ReadFromFile(const char* path) {
  WaitForWriter();
  Clear();
  m_Handle = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  struct stat info;
  if (m_Handle >= 0 && ::fstat(m_Handle, &info) == 0 && S_ISREG(info.st_mode)) {
    m_Size = int64_t(info.st_size);
    return true;
  }
  FileReadStreamBase::Clear();
  return false;
}

void FileReadStreamBase::Clear() {
  if (m_Handle >= 0) ::close(std::exchange(m_Handle, -1));
  m_Size = 0;
}

int64_t FileReadStreamBase::ReadAt(int64_t pos, void* data, int64_t size) const {
  size = std::min(size, m_Size - pos);
  int64_t total = 0;
  while (total < size) {
    const ssize_t got =
        ::pread(m_Handle, static_cast<char*>(data) + total, size_t(std::min<int64_t>(size - total, 1 << 30)), off_t(pos + total));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    total += got;
  }
  return total;
}

int64_t FileReadBinStream::Read(void* data, int64_t size) {
  const int64_t got = ReadAt(m_Pos, data, size);
  m_Pos += got;
  return got;
}

void FileReadBinStream::SetReadPos(int64_t pos) { m_Pos = std::clamp<int64_t>(pos, 0, m_Size); }

void FileReadBinStream::Clear() {
  FileReadStreamBase::Clear();
  m_Pos = 0;
}

bool FILE_ReadBinStream::ReadFromFile(const char* path) {
  if (!FileReadStreamBase::ReadFromFile(path)) return false;
  m_BufferCapacity = std::min(BufferBytes, m_Size);
  m_Buffer.reset(m_BufferCapacity ? new uint8_t[size_t(m_BufferCapacity)] : nullptr);
  return true;
}

void FILE_ReadBinStream::Clear() {
  FileReadStreamBase::Clear();
  m_Buffer.reset();
  m_BufferCapacity = m_BufferPos = m_Fill = m_Cursor = 0;
}

// One read of the whole capacity from where the buffer ends.
void FILE_ReadBinStream::Refill() {
  m_BufferPos += m_Fill;
  m_Cursor = 0;
  m_Fill = ReadAt(m_BufferPos, m_Buffer.get(), m_BufferCapacity);
}

int64_t FILE_ReadBinStream::Read(void* data, int64_t size) {
  if (size <= 0) return 0;
  uint8_t* dest = static_cast<uint8_t*>(data);
  const int64_t ready = std::min(size, m_Fill - m_Cursor);
  if (ready) std::memcpy(dest, m_Buffer.get() + m_Cursor, size_t(ready));
  m_Cursor += ready;
  const int64_t rest = size - ready;
  if (!rest) return size;
  if (rest > m_BufferCapacity) {
    const int64_t got = ReadAt(m_BufferPos + m_Fill, dest + ready, rest);
    m_BufferPos += m_Fill + got;
    m_Fill = m_Cursor = 0;
    return ready + got;
  }
  Refill();
  const int64_t got = std::min(rest, m_Fill);
  if (got) std::memcpy(dest + ready, m_Buffer.get(), size_t(got));
  m_Cursor = got;
  return ready + got;
}

void FILE_ReadBinStream::SetReadPos(int64_t pos) {
  pos = std::clamp<int64_t>(pos, 0, m_Size);
  if (pos >= m_BufferPos && pos <= m_BufferPos + m_Fill) {
    m_Cursor = pos - m_BufferPos;
    return;
  }
  m_BufferPos = pos;
  m_Fill = m_Cursor = 0;
}

// --- writing -------------------------------------------------------------------------------------

FileWriteStreamBase::FileWriteStreamBase(const char* path, bool delayed, int64_t bufferBytes)
    : m_BufferBytes(bufferBytes), m_Delayed(delayed && !ForbidDelayedWriting) {
  if (path && std::strcmp(path, "none") == 0) return;
  // A file that is still on its way must not be overtaken by this one.
  if (!m_Delayed) WaitForWriter();
  m_File = path ? CreateFileFor(path) : CreateServiceFile();
  m_Failed = !m_File;
}

FileWriteStreamBase::~FileWriteStreamBase() { Close(); }

std::string FileWriteStreamBase::GetTempName() const { return m_File ? m_File->TempName : std::string(); }

bool FileWriteStreamBase::WriteOut(const void* data, int64_t size) {
  const bool written = m_Delayed ? QueueBytes(m_File, data, size) : m_File->Write(data, size);
  m_Failed |= !written;
  return written;
}

bool FileWriteStreamBase::Flush() {
  if (m_Buffer.empty() || !m_File) return !m_Failed;
  const bool written = WriteOut(m_Buffer.data(), int64_t(m_Buffer.size()));
  m_Buffer.clear();
  return written;
}

bool FileWriteStreamBase::Write(const void* data, int64_t size) {
  MORVANE_ASSERT(size >= 0);
  m_Pos += size;
  if (size) m_Size = std::max(m_Size, m_Pos);
  if (!m_File || m_Failed || m_File->Failed) return !m_Failed && !(m_File && m_File->Failed);
  if (!size) return true;
  if (int64_t(m_Buffer.size()) + size >= m_BufferBytes && !Flush()) return false;
  if (size > m_BufferBytes) return WriteOut(data, size);
  if (!m_Buffer.capacity()) m_Buffer.reserve(size_t(m_BufferBytes));
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  m_Buffer.insert(m_Buffer.end(), bytes, bytes + size);
  return true;
}

void FileWriteStreamBase::SetWritePos(int64_t pos) {
  MORVANE_ASSERT(pos >= 0);
  if (pos == m_Pos) return;
  Flush();
  m_Pos = pos;
  if (!m_File) return;
  if (m_Delayed) WaitForWriter();
  m_Failed |= !m_File->Seek(pos);
}

bool FileWriteStreamBase::Close() {
  if (!m_File) return !m_Failed;
  Flush();
  const std::shared_ptr<WriterFile> file = std::exchange(m_File, nullptr);
  if (m_Failed || file->FinalName.empty()) return !m_Failed;  // the last reference drops the file
  if (m_Delayed) return QueueEnd(file);
  m_Failed = !file->PutInPlace();
  return !m_Failed;
}

bool FileWriteStreamBase::WriteToFile(const char* path) {
  if (!m_File) return false;
  Flush();
  if (m_Delayed) WaitForWriter();
  const std::shared_ptr<WriterFile> file = std::exchange(m_File, nullptr);
  m_Failed = m_Failed || !SetFinalName(*file, path) || !file->PutInPlace();
  return !m_Failed;
}

void FileWriteStreamBase::Clear() {
  m_Buffer = {};
  m_File.reset();
  m_Pos = m_Size = 0;
}
