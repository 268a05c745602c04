#include "comms/Str.h"

#include <locale.h>
#include <algorithm>
#include <cstdio>

#include "ClassEngine/Assert.h"

namespace comms {

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return ToLowerAscii(x) == ToLowerAscii(y); });
}
bool StartsWithNoCase(std::string_view text, std::string_view part) {
  return text.size() >= part.size() && EqualsNoCase(text.substr(0, part.size()), part);
}
bool EndsWithNoCase(std::string_view text, std::string_view part) {
  return text.size() >= part.size() && EqualsNoCase(text.substr(text.size() - part.size()), part);
}

static size_t FindFileName(std::string_view path) {
  const size_t separator = path.find_last_of("/\\");
  return separator == std::string_view::npos ? 0 : separator + 1;
}
cStr GetFolder(std::string_view path) { return cStr(path.substr(0, FindFileName(path))); }
cStr GetFileName(std::string_view path) { return cStr(path.substr(FindFileName(path))); }
cStr GetExtension(std::string_view path) {
  const std::string_view name = path.substr(FindFileName(path));
  const size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? cStr() : cStr(name.substr(dot + 1));
}
cStr GetBaseName(std::string_view path) {
  const std::string_view name = path.substr(FindFileName(path));
  return cStr(name.substr(0, name.rfind('.')));
}
cStr JoinPath(std::string_view folder, std::string_view name) {
  cStr path(folder);
  if (!path.empty() && path.back() != '/' && path.back() != '\\') path += '/';
  return path.append(name);
}

cStr FormatV(const char* format, va_list arguments) {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  const locale_t before = uselocale(plain);
  va_list again;
  va_copy(again, arguments);
  char buffer[512];
  const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
  MORVANE_ASSERT(length >= 0);
  cStr text;
  if (size_t(length) < sizeof buffer) {
    text.assign(buffer, size_t(length));
  } else {
    text.resize(size_t(length));
    std::vsnprintf(text.data(), size_t(length) + 1, format, again);
  }
  va_end(again);
  uselocale(before);
  return text;
}
cStr Format(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  cStr text = FormatV(format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace comms
