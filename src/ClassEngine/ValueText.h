#pragma once
// Single values as text, without the locale.
#include <cstdint>
#include <string>
#include <string_view>

/// "%f": six decimals.
std::string PrintFixed(float value);
/// The shortest text that reads back as the same float.
std::string PrintShortest(float value);
/// "%.10g" of a double, for messages.
std::string PrintNumber(double value);

/// Read a number at the start of `text`, behind blanks and an optional "+", and cut it off. False, with `text` as it was, where
/// there is none, it doesn't fit or is not finite. A decimal comma counts as a point.
bool TakeInteger(std::string_view& text, int64_t low, int64_t high, int64_t& value);
bool TakeFloat(std::string_view& text, float& value);
/// Up to eight hexadecimal digits, "0x" before them allowed.
bool TakeHex(std::string_view& text, uint32_t& value);
/// Without the blanks, tabs and line ends at both ends.
std::string_view TrimBlanks(std::string_view text);
