#pragma once
// Streams on files. Writers keep the old file whole: bytes go to a temporary file, every call is checked, the last close too, the
// file is synced, renamed over the old one in one step, and the folder is synced. Whatever fails on the way sets LastStreamError,
// removes the temporary file and leaves what stood there.
#include <memory>
#include <vector>

#include "ClassEngine/BinStream.h"

struct WriterFile;

/// Reading side: a file that isn't there has size 0 and gives 0 bytes.
class FileReadStreamBase : public BinStream {
 public:
  ~FileReadStreamBase() override;
  bool Write(const void*, int64_t) override { return false; }
  bool WriteToFile(const char*) override { return false; }
  bool ReadFromFile(const char* path) override;
  int64_t Size() const override { return m_Size; }
  void SetWritePos(int64_t) override {}
  int64_t GetWritePos() const override { return 0; }
  const uint8_t* GetData() const override { return nullptr; }
  void Clear() override;
  bool IsOpen() const { return m_Handle >= 0; }

 protected:
  int64_t ReadAt(int64_t pos, void* data, int64_t size) const;
  int m_Handle = -1;
  int64_t m_Size = 0;
};

/// Unbuffered reader.
class FileReadBinStream : public FileReadStreamBase {
 public:
  FileReadBinStream() = default;
  explicit FileReadBinStream(const char* path) { ReadFromFile(path); }
  int64_t Read(void* data, int64_t size) override;
  void SetReadPos(int64_t pos) override;
  int64_t GetReadPos() const override { return m_Pos; }
  void Clear() override;

 private:
  int64_t m_Pos = 0;
};

/// Buffered reader: reads ahead by 8 MiB. Opening waits for the background writer, so that a file just written can be read.
class FILE_ReadBinStream : public FileReadStreamBase {
 public:
  static constexpr int64_t BufferBytes = 0x800000;
  FILE_ReadBinStream() = default;
  explicit FILE_ReadBinStream(const char* path) { ReadFromFile(path); }
  bool ReadFromFile(const char* path) override;
  int64_t Read(void* data, int64_t size) override;
  void SetReadPos(int64_t pos) override;
  int64_t GetReadPos() const override { return m_BufferPos + m_Cursor; }
  void Clear() override;

 private:
  void Refill();
  std::unique_ptr<uint8_t[]> m_Buffer;  // holds the bytes of the file from m_BufferPos on
  int64_t m_BufferCapacity = 0, m_BufferPos = 0, m_Fill = 0, m_Cursor = 0;
};

/// Writing side, buffered by 0 (FileWriteBinStream) or 8 MiB (FILE_WriteBinStream).
/// path is the final name; the bytes stay under a temporary name in its folder until Close.
/// path null: the temporary file that EngineHost::GetTempFileName names. WriteToFile later gives it its place; without that it
/// is dropped.
/// path "none": nothing is opened or stored, bytes are only counted.
class FileWriteStreamBase : public BinStream {
 public:
  /// Closes; a stream with a final name puts its file in place, unless a write failed.
  ~FileWriteStreamBase() override;
  bool Write(const void* data, int64_t size) override;
  int64_t Read(void*, int64_t) override { return 0; }
  /// Writes out what is left and renames to `path`: the end of a stream without a final name, or its new place.
  bool WriteToFile(const char* path) override;
  bool ReadFromFile(const char*) override { return false; }
  int64_t Size() const override { return m_Size; }
  void SetReadPos(int64_t) override {}
  /// Moves back to fill in a size known only later, or forward again.
  void SetWritePos(int64_t pos) override;
  int64_t GetReadPos() const override { return 0; }
  int64_t GetWritePos() const override { return m_Pos; }
  const uint8_t* GetData() const override { return nullptr; }
  /// Drops all that was written; nothing is put in place.
  void Clear() override;
  /// Flushes, closes and renames to the final name; a delayed stream leaves that to the background writer and answers true. False
  /// when anything failed. Later calls change nothing.
  bool Close();
  /// Where the bytes are now; empty where there is no file.
  std::string GetTempName() const;

 protected:
  FileWriteStreamBase(const char* path, bool delayed, int64_t bufferBytes);

 private:
  bool Flush();
  bool WriteOut(const void* data, int64_t size);
  std::shared_ptr<WriterFile> m_File;  // null: counting, or closed
  std::vector<uint8_t> m_Buffer;
  int64_t m_BufferBytes, m_Pos = 0, m_Size = 0;
  bool m_Delayed, m_Failed = false;
};

class FileWriteBinStream : public FileWriteStreamBase {
 public:
  explicit FileWriteBinStream(const char* path) : FileWriteStreamBase(path, false, 0) {}
};

class FILE_WriteBinStream : public FileWriteStreamBase {
 public:
  static constexpr int64_t BufferBytes = 0x800000;
  /// `delayed`: full buffers and the closing go to the background writer, unless delayed writing is forbidden.
  explicit FILE_WriteBinStream(const char* path, bool delayed = false) : FileWriteStreamBase(path, delayed, BufferBytes) {}
};
