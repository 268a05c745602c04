#include "comms/NumberText.h"

#include <array>
#include <bit>
#include <charconv>
#include <limits>
#include <string>

namespace comms {

// --- text to number ------------------------------------------------------------------------------------------------------------

static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

void NumberParts::ReadExponent(const char*& at) {
  const char* p = at + 1;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') p++;
  if (!IsDigit(*p)) return;
  int exponent = 0;
  for (; IsDigit(*p); p++)
    if (exponent < 100000000) exponent = exponent * 10 + (*p - '0');
  Scale += negative ? -exponent : exponent;
  at = p;
}

float ParseFloatExactly(const char* end, const NumberParts& parts) {
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
