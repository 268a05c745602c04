#pragma once
// The stream that a mesh codec reads from or writes to.
#include <cstdint>
#include <memory>

#include "comms/Str.h"

namespace comms {

class SafeFileWriter;

/// Holds a file name and exactly one of a reading and a writing stream. What is written replaces the old file in one step, on
/// Close; until then, and after any failure, the old file stands.
class __attribute__((visibility("default"))) cFile {
 public:
  enum Mode { Read, Write };
  cFile();
  ~cFile();  ///< without Close nothing is put in place
  cFile(const cFile&) = delete;
  cFile& operator=(const cFile&) = delete;

  /// False where a file can't be written to, with Error() set, or there is no regular file to read; its size is then 0.
  bool Open(const char* fileName, Mode mode);
  /// Deletes the stream. False, with Error() set, where what was written didn't reach its place whole.
  bool Close();
  const cStr& Name() const { return m_Name; }

  /// Bytes of the file that is read; 0 without a reader.
  int64_t Size() const;
  int64_t Position() const;
  /// True without a reader and once the position has reached the size.
  bool AtEnd() const;
  /// Bytes read: as many as asked for unless the file ended.
  int64_t ReadBlock(void* data, int64_t size);
  /// Reads from `position`, wherever the stream stands; from any thread, and several at once. Bytes read.
  int64_t ReadAt(int64_t position, void* data, int64_t size) const;
  /// At the end these give 0.
  uint8_t ReadU8();
  uint16_t ReadU16();
  uint32_t ReadU32();
  float ReadFloat();
  /// Reads up to any character of `delimiters`, which is taken and dropped. False at the end of the file.
  bool ReadToken(const char* delimiters, cStr& token);

  bool WriteBlock(const void* data, int64_t size);
  bool WriteStr(const char* text);
  bool WriteU8(uint8_t value);
  bool WriteU16(uint16_t value);
  bool WriteU32(uint32_t value);
  bool WriteFloat(float value);
  /// Hands everything written so far to the system. False after any failure, and without a writer.
  bool Flush();

  /// Close puts `other` in place together with this file, just before it: both or neither.
  void CloseWith(std::unique_ptr<SafeFileWriter> other);
  /// Marks the written file as not worth keeping: Close drops it and answers false.
  void Fail(const cStr& sentence);
  /// The first failure as a sentence; empty while all is well.
  const cStr& Error() const { return m_Error; }

 private:
  struct Reader;
  template <class T>
  T ReadValue();
  cStr m_Name, m_Error;
  std::unique_ptr<Reader> m_Reader;
  std::unique_ptr<SafeFileWriter> m_Writer, m_Other;
};

}  // namespace comms
