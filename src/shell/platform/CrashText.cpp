#include "shell/platform/CrashText.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

struct Output {
  char* Out;
  size_t Capacity, Length = 0;
  void Put(char c) {
    if (Length + 1 < Capacity) Out[Length] = c;
    ++Length;
  }
  void Pad(char c, int count) {
    for (; count > 0; --count) Put(c);
  }
  void PutNumber(uint64_t value, unsigned base, const char* digits, bool negative, char pad, int width) {
    char reversed[24];
    int count = 0;
    do reversed[count++] = digits[value % base];
    while ((value /= base) != 0);
    const int length = count + (negative ? 1 : 0);
    if (pad == ' ') Pad(' ', width - length);
    if (negative) Put('-');
    if (pad == '0') Pad('0', width - length);
    while (count > 0) Put(reversed[--count]);
  }
};

}  // namespace

size_t FormatCrashTextV(char* out, size_t capacity, const char* format, va_list arguments) {
  Output output{out, capacity};
  for (const char* c = format; *c; ++c) {
    if (*c != '%') {
      output.Put(*c);
      continue;
    }
    ++c;
    char pad = ' ';
    if (*c == '0') pad = *c++;
    int width = 0;
    for (; *c >= '0' && *c <= '9'; ++c) width = width * 10 + (*c - '0');
    int longs = 0;
    for (; *c == 'l' || *c == 'z'; ++c) ++longs;
    switch (*c) {
      case 's': {
        const char* text = va_arg(arguments, const char*);
        if (!text) text = "(null)";
        output.Pad(' ', width - int(std::strlen(text)));
        for (; *text; ++text) output.Put(*text);
        break;
      }
      case 'c':
        output.Put(char(va_arg(arguments, int)));
        break;
      case 'd': {
        const long long value = longs ? va_arg(arguments, long) : va_arg(arguments, int);
        const uint64_t size = value < 0 ? uint64_t(0) - uint64_t(value) : uint64_t(value);
        output.PutNumber(size, 10, "0123456789", value < 0, pad, width);
        break;
      }
      case 'u':
      case 'x':
      case 'X': {
        const uint64_t value = longs ? va_arg(arguments, unsigned long) : va_arg(arguments, unsigned);
        output.PutNumber(value, *c == 'u' ? 10 : 16, *c == 'X' ? "0123456789ABCDEF" : "0123456789abcdef", false, pad, width);
        break;
      }
      case 'p':
        output.PutNumber(uint64_t(va_arg(arguments, void*)), 16, "0123456789abcdef", false, pad, width);
        break;
      case 0:
        --c;
        break;
      default:
        output.Put(*c);
        break;
    }
  }
  if (capacity > 0) out[output.Length < capacity ? output.Length : capacity - 1] = 0;
  return output.Length;
}

size_t FormatCrashText(char* out, size_t capacity, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const size_t length = FormatCrashTextV(out, capacity, format, arguments);
  va_end(arguments);
  return length;
}

bool WriteAll(int file, const void* data, size_t size) {
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t written = write(file, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes += written;
    size -= size_t(written);
  }
  return true;
}

CrashFile::CrashFile(const char* path) : m_File(open(path, O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, 0600)) {}
CrashFile::~CrashFile() {
  if (m_File < 0) return;
  fsync(m_File);
  close(m_File);
}

void CrashFile::Print(const char* format, ...) {
  char text[8192];
  va_list arguments;
  va_start(arguments, format);
  const size_t length = FormatCrashTextV(text, sizeof(text), format, arguments);
  va_end(arguments);
  Write(text, length < sizeof(text) ? length : sizeof(text) - 1);
}

void CrashFile::WriteText(const char* text) { Write(text, std::strlen(text)); }
