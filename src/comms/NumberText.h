#pragma once
// Numbers to text and back, without the locale, for files with millions of them.
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace comms {

/// Bytes behind the end of a text that the parsers here may look at without using them.
constexpr int TextPadding = 8;

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

/// The parts of a number's text.
struct NumberParts {
  uint64_t Mantissa = 0;  ///< all digits, where there are at most 19
  int Digits = 0;
  int Scale = 0;  ///< decimal exponent of the mantissa
  bool Negative = false;
  const char* FirstDigit = nullptr;

  int ReadDigits(const char*& at) {
    constexpr uint64_t shift[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
    int total = 0, digits;
    do {
      const uint64_t value = ParseDigits8(at, digits);
      Mantissa = Mantissa * shift[digits] + value;
      at += digits;
      total += digits;
    } while (digits == 8);
    Digits += total;
    return total;
  }
  void ReadExponent(const char*& at);
};
/// The number between parts.FirstDigit and `end`: any number of digits, any exponent.
float ParseFloatExactly(const char* end, const NumberParts& parts);

/// Reads optional blanks and tabs, sign, digits with "." or "," before the decimals, and an optional exponent. Correctly rounded.
/// `at` moves behind what was used. Text without a digit gives 0 and moves nothing (so "nan" and "inf" give 0); too large a
/// number gives infinity. at   ends with a byte that belongs to no number, with TextPadding readable bytes behind it
inline float ParseFloat(const char*& at) {
  constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                               1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const char* p = at;
  while (*p == ' ' || *p == '\t') p++;
  NumberParts parts;
  parts.Negative = *p == '-';
  p += *p == '-' || *p == '+';
  parts.FirstDigit = p;
  parts.ReadDigits(p);
  if (*p == '.' || *p == ',') {
    p++;
    parts.Scale = -parts.ReadDigits(p);
  }
  if (!parts.Digits) return 0;
  if ((*p | 0x20) == 'e') parts.ReadExponent(p);
  at = p;
  if (parts.Digits > 19 || parts.Scale < -22 || parts.Scale > 22) return ParseFloatExactly(p, parts);
  // One or two roundings of a double, at most two units of its last place off the exact value. The float behind it is the right
  // one unless the boundary between two floats lies that near; small floats have other boundaries, large ones may overflow.
  const double mantissa = double(parts.Mantissa);
  const double value = parts.Scale < 0 ? mantissa / powers[-parts.Scale] : mantissa * powers[parts.Scale];
  const uint32_t rest = uint32_t(std::bit_cast<uint64_t>(value)) & 0x1FFFFFFFu;
  const bool nearBoundary = rest - 0x0FFFFFFCu <= 8u;
  if ((nearBoundary || value < 0x1p-126 || value > 0x1.fffffep127) && parts.Mantissa) return ParseFloatExactly(p, parts);
  return float(parts.Negative ? -value : value);
}
/// The same for any text.
float ParseFloat(std::string_view text);

/// Room that PrintFloat and PrintIndex may use: their longest text and a little behind it.
constexpr int MaxFloatChars = 48, MaxIndexChars = 14;
/// Exactly what printf("%f") gives in the "C" locale. Returns the end; no terminator.
char* PrintFloat(char* out, float value);
/// "%d" of a number that is not negative.
char* PrintIndex(char* out, uint32_t value);
/// NaN and what lies outside the finite numbers as 0.
inline float SanitizeFloat(float value) { return value >= -3.4028235e38f && value <= 3.4028235e38f ? value : 0.0f; }

}  // namespace comms
