#pragma once
// Strings, lists and paths of the system. Strings are UTF-8; comparisons fold the case of A to Z alone, so that a name finds its
// file the same way under every locale.
#include <cstdarg>
#include <string>
#include <string_view>
#include <vector>

namespace comms {

using cStr = std::string;
template <class T>
using cList = std::vector<T>;

/// `c` with A to Z made small; every other byte as it is.
inline char ToLowerAscii(char c) { return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c; }
/// Equal but for the case of A to Z.
bool EqualsNoCase(std::string_view a, std::string_view b);
/// Whether `text` begins or ends with `part`, but for the case of A to Z.
bool StartsWithNoCase(std::string_view text, std::string_view part);
bool EndsWithNoCase(std::string_view text, std::string_view part);

// Paths, with '/' and '\' as separators.
/// Text behind the last '.' of the file name, without the dot; empty where there is none.
cStr GetExtension(std::string_view path);
/// Everything before the file name, the separator included; empty where `path` has no folder.
cStr GetFolder(std::string_view path);
/// Text behind the last separator.
cStr GetFileName(std::string_view path);
/// The file name without its extension and dot.
cStr GetBaseName(std::string_view path);
/// `folder` and `name` with exactly one '/' between them; `name` alone where `folder` is empty.
cStr JoinPath(std::string_view folder, std::string_view name);

/// printf into a string. Numbers are written as in the "C" locale, whatever the process is set to.
cStr Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
cStr FormatV(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));

}  // namespace comms
