#include "comms/NumberText.h"

#include <array>
#include <bit>
#include <charconv>
#include <limits>
#include <string>

namespace comms {

// --- text to number ------------------------------------------------------------------------------------------------------------

static constexpr double PowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                         1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
static constexpr uint64_t Shift[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};

// The parts of a number's text.
struct NumberParts {
  uint64_t Mantissa = 0;  // all digits, where there are at most 19
  int Digits = 0;
  int Scale = 0;  // decimal exponent of the mantissa
  bool Negative = false;
  const char* FirstDigit = nullptr;
};

static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

static int ReadDigits(const char*& at, NumberParts& parts) {
  int total = 0, digits;
  do {
    const uint64_t value = ParseDigits8(at, digits);
    parts.Mantissa = parts.Mantissa * Shift[digits] + value;
    at += digits;
    total += digits;
  } while (digits == 8);
  parts.Digits += total;
  return total;
}

static void ReadExponent(const char*& at, NumberParts& parts) {
  const char* p = at + 1;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') p++;
  if (!IsDigit(*p)) return;
  int exponent = 0;
  for (; IsDigit(*p); p++)
    if (exponent < 100000000) exponent = exponent * 10 + (*p - '0');
  parts.Scale += negative ? -exponent : exponent;
  at = p;
}

// Any number of digits, any exponent.
static float ParseExactly(const char* end, const NumberParts& parts) {
  std::string text(parts.FirstDigit, end);
  for (char& c : text)
    if (c == ',') c = '.';
  float value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    // Which side it left by: where the first digit other than 0 stands.
    int64_t place = parts.Scale + int64_t(parts.Digits);
    for (const char c : text) {
      if (c == '.') continue;
      if (c != '0') break;
      place--;
    }
    value = place > 0 ? std::numeric_limits<float>::infinity() : 0.0f;
  }
  return parts.Negative ? -value : value;
}

float ParseFloat(const char*& at) {
  const char* p = at;
  while (*p == ' ' || *p == '\t') p++;
  NumberParts parts;
  parts.Negative = *p == '-';
  if (*p == '-' || *p == '+') p++;
  parts.FirstDigit = p;
  ReadDigits(p, parts);
  if (*p == '.' || *p == ',') {
    p++;
    parts.Scale = -ReadDigits(p, parts);
  }
  if (!parts.Digits) return 0;
  if ((*p | 0x20) == 'e') ReadExponent(p, parts);
  at = p;
  if (parts.Digits > 19 || parts.Scale < -22 || parts.Scale > 22) return ParseExactly(p, parts);
  // One or two roundings of a double, at most two units of its last place off the exact value. The float behind it is the right
  // one unless the boundary between two floats lies that near; small floats have other boundaries, large ones may overflow.
  const double mantissa = double(parts.Mantissa);
  const double value = parts.Scale < 0 ? mantissa / PowersOfTen[-parts.Scale] : mantissa * PowersOfTen[parts.Scale];
  const uint32_t rest = uint32_t(std::bit_cast<uint64_t>(value)) & 0x1FFFFFFFu;
  const bool nearBoundary = rest - 0x0FFFFFFCu <= 8u;
  if ((nearBoundary || value < 0x1p-126 || value > 0x1.fffffep127) && parts.Mantissa) return ParseExactly(p, parts);
  return float(parts.Negative ? -value : value);
}

float ParseFloat(std::string_view text) {
  std::string padded(text);
  padded.append(TextPadding + 1, '\0');
  const char* at = padded.data();
  return ParseFloat(at);
}

// --- number to text ------------------------------------------------------------------------------------------------------------

static constexpr std::array<char, 200> MakePairs() {
  std::array<char, 200> pairs{};
  for (int i = 0; i < 100; i++) {
    pairs[size_t(i) * 2] = char('0' + i / 10);
    pairs[size_t(i) * 2 + 1] = char('0' + i % 10);
  }
  return pairs;
}
static constexpr std::array<char, 200> Pairs = MakePairs();

static inline uint32_t PairOf(uint32_t value) {
  uint16_t pair;
  std::memcpy(&pair, Pairs.data() + value * 2, 2);
  return pair;
}
static inline void PutPair(char* out, uint32_t value) { std::memcpy(out, Pairs.data() + value * 2, 2); }
static inline void PutFour(char* out, uint32_t value) {
  const uint32_t text = PairOf(value / 100) | PairOf(value % 100) << 16;
  std::memcpy(out, &text, 4);
}

// Less than 10000, without leading zeros: all four digits, shifted so that the first one that counts comes first. No branch,
// because the number of digits is anyone's guess.
static inline char* PutUpToFour(char* out, uint32_t value) {
  const int digits = 1 + (value >= 10) + (value >= 100) + (value >= 1000);
  const uint32_t text = (PairOf(value / 100) | PairOf(value % 100) << 16) >> (8 * (4 - digits));
  std::memcpy(out, &text, 4);
  return out + digits;
}

char* PrintIndex(char* out, uint32_t value) {
  if (value < 10000) return PutUpToFour(out, value);
  if (value < 100000000) {
    out = PutUpToFour(out, value / 10000);
    PutFour(out, value % 10000);
    return out + 4;
  }
  out = PutUpToFour(out, value / 100000000);
  const uint32_t low = value % 100000000;
  PutFour(out, low / 10000);
  PutFour(out + 4, low % 10000);
  return out + 8;
}

char* PrintFloat(char* out, float value) {
  const uint32_t bits = std::bit_cast<uint32_t>(value);
  const int exponent = int(bits >> 23 & 0xFF);
  // value = mantissa * 2^power exactly, so value * 10^6 is an integer shifted right, and what falls off decides the rounding.
  const uint64_t mantissa = (bits & 0x7FFFFF) | (exponent ? 0x800000 : 0);
  const int power = (exponent ? exponent : 1) - 150;
  if (power > 7) {  // from 2^31 on, infinity and NaN among them
    return std::to_chars(out, out + MaxFloatChars, value, std::chars_format::fixed, 6).ptr;
  }
  uint64_t millionths;
  if (power >= 0) {
    millionths = (mantissa << power) * 1000000;
  } else if (power > -64) {
    const uint64_t scaled = mantissa * 1000000, half = uint64_t(1) << (-power - 1);
    millionths = (scaled + half - 1 + (scaled >> -power & 1)) >> -power;  // a half goes to the even neighbour
  } else {
    millionths = 0;
  }
  *out = '-';
  out += bits >> 31;
  const uint64_t whole = millionths / 1000000;
  const uint32_t decimals = uint32_t(millionths - whole * 1000000);
  out = PrintIndex(out, uint32_t(whole));
  *out = '.';
  PutPair(out + 1, decimals / 10000);
  PutFour(out + 3, decimals % 10000);
  return out + 7;
}

}  // namespace comms
