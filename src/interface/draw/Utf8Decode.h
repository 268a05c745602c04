#pragma once
// Characters from bytes that need not be UTF-8.
#include <cstddef>
#include <string_view>

namespace draw {

struct DecodedChar {
  char32_t Code = 0;
  size_t Bytes = 1;
};

/// The character that `text` begins with; U+FFFD for one byte that begins no valid sequence (over-long forms, surrogates and code
/// points past U+10FFFF are none). `text` is not empty.
inline DecodedChar DecodeUtf8(std::string_view text) {
  const auto byte = [&](size_t i) { return i < text.size() ? unsigned(static_cast<unsigned char>(text[i])) : 0u; };
  const unsigned first = byte(0);
  if (first < 0x80) return {char32_t(first), 1};
  const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4) return {0xFFFD, 1};
  char32_t code = first & (0x7Fu >> length);
  for (size_t i = 1; i < length; i++) {
    if ((byte(i) & 0xC0) != 0x80) return {0xFFFD, 1};
    code = (code << 6) | (byte(i) & 0x3F);
  }
  const char32_t least = length == 4 ? 0x10000 : length == 3 ? 0x800 : 0x80;
  if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return {0xFFFD, 1};
  return {code, length};
}

}  // namespace draw
