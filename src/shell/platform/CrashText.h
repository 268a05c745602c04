#pragma once
// Text into a file inside a signal handler: no memory is taken, no lock, nothing but write.
#include <cstdarg>
#include <cstddef>
#include <cstdint>

/// printf for handlers: %s %c %d %u %x %X %p and %%, with 0, a width, and l, ll or z. No numbers with fractions. Returns the
/// length of the whole text; what does not fit `capacity`, its end included, is cut.
size_t FormatCrashText(char* out, size_t capacity, const char* format, ...) __attribute__((format(printf, 3, 4)));
size_t FormatCrashTextV(char* out, size_t capacity, const char* format, va_list arguments) __attribute__((format(printf, 3, 0)));

/// Writes all bytes, whatever the pieces. False where the system refused some.
bool WriteAll(int file, const void* data, size_t size);

/// A file under construction. Opened anew, readable by its owner alone: what a report holds of memory is nobody else's.
class CrashFile {
 public:
  explicit CrashFile(const char* path);
  ~CrashFile();
  CrashFile(const CrashFile&) = delete;
  CrashFile& operator=(const CrashFile&) = delete;

  bool IsOpen() const { return m_File >= 0; }
  int Handle() const { return m_File; }
  void Print(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void Write(const void* data, size_t size) { WriteAll(m_File, data, size); }
  void WriteText(const char* text);

 private:
  int m_File;
};
