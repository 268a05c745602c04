#pragma once
// The grammar of a batch file, line by line.
//
//   # a comment; also behind a command, where a blank stands before the '#'
//   Name key=value key="value with blanks"
//
// Words are parted by blanks or tabs. A name begins with a letter and holds letters, digits and '_'. A value is either bare, up
// to the next blank, taken as it stands, without quotes in it; or quoted as a whole, where \" stands for a quote and \\ for a
// backslash and every other backslash for itself, so that a path of another system can be pasted. `key=` without a value is
// refused, `key=""` is the empty text. A key may stand once on a line. Lines are UTF-8, of at most MaxBatchLine bytes, and may
// end in CR LF.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

inline constexpr size_t MaxBatchLine = 65536;

struct BatchArgument {
  std::string Key, Value;
};

struct BatchLine {
  std::string Name;  ///< empty where the line holds no command
  std::vector<BatchArgument> Arguments;
};

/// Parses one line, given without its line end. False with one sentence in `error` (column, found, expected) where the line
/// breaks the grammar; `line.Name` then holds the name if that much was understood.
bool ParseBatchLine(std::string_view text, BatchLine& line, std::string& error);

/// `value` as it has to stand behind `key=` so that it is read back unchanged.
std::string QuoteBatchValue(std::string_view value);
