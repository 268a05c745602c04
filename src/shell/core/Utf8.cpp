#include "shell/core/Utf8.h"

size_t Utf8SequenceLength(std::string_view text) {
  if (text.empty()) return 0;
  const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
  const auto continues = [&](size_t i) { return (byte(i) & 0xC0) == 0x80; };
  const unsigned lead = byte(0), second = byte(1);
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return continues(1) ? 2 : 0;
  if (lead >= 0xE0 && lead <= 0xEF) {
    const bool overlong = lead == 0xE0 && second < 0xA0, surrogate = lead == 0xED && second >= 0xA0;
    return !overlong && !surrogate && continues(1) && continues(2) ? 3 : 0;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    const bool overlong = lead == 0xF0 && second < 0x90, tooHigh = lead == 0xF4 && second >= 0x90;
    return !overlong && !tooHigh && continues(1) && continues(2) && continues(3) ? 4 : 0;
  }
  return 0;
}

size_t FindInvalidUtf8(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const size_t length = Utf8SequenceLength(text.substr(at));
    if (length == 0) return at;
    at += length;
  }
  return std::string_view::npos;
}

std::string_view CutUtf8(std::string_view text, size_t size) {
  if (text.size() <= size) return text;
  size_t end = size;
  while (end > 0 && size - end < 3 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  // Where what begins there is no character that the cut would split, the bytes are cut as they are.
  return text.substr(0, end + Utf8SequenceLength(text.substr(end)) > size ? end : size);
}
