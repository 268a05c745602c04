#include "ClassEngine/ValueText.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace {

constexpr std::string_view Blanks = " \t\r\n\f\v";

std::string_view SkipBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
  return text;
}

// What from_chars does not take: blanks and a plus.
std::string_view GetNumberStart(std::string_view text) {
  text = SkipBlanks(text);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+') text.remove_prefix(1);
  return text;
}

}  // namespace

std::string_view TrimBlanks(std::string_view text) {
  text = SkipBlanks(text);
  return text.substr(0, text.find_last_not_of(Blanks) + 1);
}

std::string PrintFixed(float value) {
  char buffer[64];
  return std::string(buffer, std::to_chars(buffer, buffer + sizeof(buffer), double(value), std::chars_format::fixed, 6).ptr);
}

std::string PrintShortest(float value) {
  char buffer[64];
  return std::string(buffer, std::to_chars(buffer, buffer + sizeof(buffer), value).ptr);
}

std::string PrintNumber(double value) {
  char buffer[64];
  return std::string(buffer, std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::general, 10).ptr);
}

bool TakeInteger(std::string_view& text, int64_t low, int64_t high, int64_t& value) {
  const std::string_view start = GetNumberStart(text);
  int64_t read = 0;
  const auto [end, error] = std::from_chars(start.data(), start.data() + start.size(), read);
  if (error != std::errc() || read < low || read > high) return false;
  value = read;
  text = start.substr(size_t(end - start.data()));
  return true;
}

bool TakeFloat(std::string_view& text, float& value) {
  const std::string_view start = GetNumberStart(text);
  // No number of use is longer than this; the copy has its comma made a point.
  char number[512];
  size_t length = 0;
  bool comma = false;
  for (; length < start.size() && length < sizeof(number); length++) {
    number[length] = start[length];
    if (number[length] == ',' && !comma) {
      number[length] = '.';
      comma = true;
    }
  }
  // Not by way of a double: rounded twice, 7.038531e-26 would become the next float.
  float read = 0;
  const auto [end, error] = std::from_chars(number, number + length, read);
  if (error == std::errc::result_out_of_range) {
    // Too large for a float must not become infinite; too small becomes 0.
    double wide = 0;
    if (std::from_chars(number, number + length, wide).ec != std::errc() || wide > 1 || wide < -1) return false;
    read = float(wide);
  } else if (error != std::errc()) {
    return false;
  }
  if (!std::isfinite(read)) return false;
  value = read;
  text = start.substr(size_t(end - number));
  return true;
}

bool TakeHex(std::string_view& text, uint32_t& value) {
  std::string_view start = SkipBlanks(text);
  if (start.size() > 2 && start[0] == '0' && (start[1] == 'x' || start[1] == 'X')) start.remove_prefix(2);
  uint32_t read = 0;
  const auto [end, error] = std::from_chars(start.data(), start.data() + start.size(), read, 16);
  if (error != std::errc()) return false;
  value = read;
  text = start.substr(size_t(end - start.data()));
  return true;
}
