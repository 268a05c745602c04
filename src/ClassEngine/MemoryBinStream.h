#pragma once
// Growing buffer in memory.
#include "ClassEngine/BinStream.h"

/// Writing overwrites from the writing position on and extends the content. A writing position past the end leaves zeros between.
/// Small buffers come from the pool, so a small stream belongs to the pool's thread.
class MemoryBinStream : public BinStream {
 public:
  MemoryBinStream() = default;
  ~MemoryBinStream() override { Clear(); }

  bool Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  bool WriteToFile(const char* path) override;
  bool ReadFromFile(const char* path) override;
  int64_t Size() const override { return m_Size; }
  void SetReadPos(int64_t pos) override;
  void SetWritePos(int64_t pos) override;
  int64_t GetReadPos() const override { return m_ReadPos; }
  int64_t GetWritePos() const override { return m_WritePos; }
  const uint8_t* GetData() const override { return m_Data; }
  void Clear() override;

  /// Appends up to `size` bytes read from `source`; returns how many. Memory grows with what is really there.
  int64_t ReadFrom(BinStream& source, int64_t size);

 private:
  void MakeRoom(int64_t bytes);
  uint8_t* m_Data = nullptr;
  int64_t m_Size = 0, m_Capacity = 0, m_WritePos = 0, m_ReadPos = 0;
};
