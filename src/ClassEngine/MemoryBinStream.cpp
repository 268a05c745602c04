#include "ClassEngine/MemoryBinStream.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>

#include "ClassEngine/Assert.h"
#include "ClassEngine/FileBinStream.h"
#include "ClassEngine/pool.h"

void MemoryBinStream::MakeRoom(int64_t bytes) {
  if (bytes <= m_Capacity) return;
  int64_t capacity = 8;
  if (bytes > 128)
    capacity = bytes + m_Capacity / 2;
  else
    while (capacity < bytes) capacity *= 2;
  m_Data = static_cast<uint8_t*>(GetPool().Reallocate(m_Data, size_t(m_Capacity), size_t(capacity)));
  m_Capacity = capacity;
}

bool MemoryBinStream::Write(const void* data, int64_t size) {
  MORVANE_ASSERT(size >= 0);
  if (!size) return true;
  const uint8_t* source = static_cast<const uint8_t*>(data);
  const std::less<const uint8_t*> before;
  const bool own = m_Data && !before(source, m_Data) && before(source, m_Data + m_Capacity);
  const int64_t offset = own ? source - m_Data : 0;
  MakeRoom(m_WritePos + size);
  if (m_WritePos > m_Size) std::memset(m_Data + m_Size, 0, size_t(m_WritePos - m_Size));
  std::memmove(m_Data + m_WritePos, own ? m_Data + offset : source, size_t(size));
  m_WritePos += size;
  m_Size = std::max(m_Size, m_WritePos);
  return true;
}

int64_t MemoryBinStream::Read(void* data, int64_t size) {
  const int64_t count = std::min(size, m_Size - m_ReadPos);
  if (count <= 0) return 0;
  std::memcpy(data, m_Data + m_ReadPos, size_t(count));
  m_ReadPos += count;
  return count;
}

void MemoryBinStream::SetReadPos(int64_t pos) { m_ReadPos = std::clamp<int64_t>(pos, 0, m_Size); }

void MemoryBinStream::SetWritePos(int64_t pos) {
  MORVANE_ASSERT(pos >= 0);
  m_WritePos = pos;
}

void MemoryBinStream::Clear() {
  GetPool().Free(m_Data, size_t(m_Capacity));
  m_Data = nullptr;
  m_Size = m_Capacity = m_WritePos = m_ReadPos = 0;
}

bool MemoryBinStream::WriteToFile(const char* path) {
  FileWriteBinStream file(path);
  if (m_Size && !file.Write(m_Data, m_Size)) return false;
  return file.Close();
}

bool MemoryBinStream::ReadFromFile(const char* path) {
  Clear();
  FileReadBinStream file(path);
  if (!file.IsOpen()) return false;
  try {
    MakeRoom(file.Size());
    const bool whole = ReadFrom(file, file.Size()) == file.Size();
    if (!whole) Clear();
    return whole;
  } catch (const std::bad_alloc&) {
    Clear();
    return false;
  }
}

int64_t MemoryBinStream::ReadFrom(BinStream& source, int64_t size) {
  constexpr int64_t PieceBytes = 1 << 24;
  int64_t total = 0;
  while (total < size) {
    const int64_t piece = std::min(size - total, PieceBytes);
    MakeRoom(m_Size + piece);
    const int64_t got = source.Read(m_Data + m_Size, piece);
    m_Size += got;
    total += got;
    if (got < piece) break;
  }
  m_WritePos = m_Size;
  return total;
}
