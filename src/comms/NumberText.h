#pragma once
// Numbers to text and back, without the locale, for files with millions of them.
#include <cstdint>
#include <cstring>
#include <string_view>

namespace comms {

/// Bytes behind the end of a text that the parsers here may look at without using them.
constexpr int TextPadding = 8;

/// Reads optional blanks and tabs, sign, digits with "." or "," before the decimals, and an optional exponent. Correctly rounded.
/// `at` moves behind what was used. Text without a digit gives 0 and moves nothing (so "nan" and "inf" give 0); too large a
/// number gives infinity. at   ends with a byte that belongs to no number, with TextPadding readable bytes behind it
float ParseFloat(const char*& at);
/// The same for any text.
float ParseFloat(std::string_view text);

/// Reads up to 8 digits; `digits` says how many there were.
inline uint64_t ParseDigits8(const char* at, int& digits) {
  // All eight at once: a byte that is no digit is found by its carry, the digits before it are moved to the top, and three
  // multiplications add them up.
  uint64_t x;
  std::memcpy(&x, at, 8);
  x ^= 0x3030303030303030u;
  const uint64_t others = ((x + 0x7676767676767676u) | x) & 0x8080808080808080u;
  digits = others ? __builtin_ctzll(others) >> 3 : 8;
  if (!digits) return 0;
  x <<= 8 * (8 - digits);
  x = x * 10 + (x >> 8);
  return ((x & 0x000000FF000000FFu) * 0x000F424000000064u + ((x >> 16) & 0x000000FF000000FFu) * 0x0000271000000001u) >> 32;
}

/// Room that PrintFloat and PrintIndex may use: their longest text and a little behind it.
constexpr int MaxFloatChars = 48, MaxIndexChars = 14;
/// Exactly what printf("%f") gives in the "C" locale. Returns the end; no terminator.
char* PrintFloat(char* out, float value);
/// "%d" of a number that is not negative.
char* PrintIndex(char* out, uint32_t value);
/// NaN and what lies outside the finite numbers as 0.
inline float SanitizeFloat(float value) { return value >= -3.4028235e38f && value <= 3.4028235e38f ? value : 0.0f; }

}  // namespace comms
