#include "interface/ColorMath.h"

#include <algorithm>
#include <cmath>

#include "comms/Str.h"

namespace {

uint32_t ToByte(float part) { return uint32_t(std::lround(std::clamp(part, 0.0f, 1.0f) * 255)); }

}  // namespace

HsvColor RgbToHsv(uint32_t color) {
  const float r = float((color >> 16) & 0xFF) / 255, g = float((color >> 8) & 0xFF) / 255, b = float(color & 0xFF) / 255;
  const float highest = std::max({r, g, b}), lowest = std::min({r, g, b}), spread = highest - lowest;
  HsvColor hsv{0, highest > 0 ? spread / highest : 0, highest};
  if (spread <= 0) return hsv;
  float sixth = 0;
  if (highest == r)
    sixth = (g - b) / spread;
  else if (highest == g)
    sixth = (b - r) / spread + 2;
  else
    sixth = (r - g) / spread + 4;
  hsv.H = sixth < 0 ? (sixth + 6) / 6 : sixth / 6;
  return hsv;
}

uint32_t HsvToRgb(const HsvColor& hsv) {
  const float sixth = (hsv.H - std::floor(hsv.H)) * 6;
  const int sector = std::min(5, int(sixth));
  const float rest = sixth - float(sector), v = hsv.V;
  const float low = v * (1 - hsv.S), falling = v * (1 - hsv.S * rest), rising = v * (1 - hsv.S * (1 - rest));
  const float table[6][3] = {{v, rising, low},  {falling, v, low}, {low, v, rising},
                             {low, falling, v}, {rising, low, v},  {v, low, falling}};
  const float* rgb = table[sector];
  return 0xFF000000u | ToByte(rgb[0]) << 16 | ToByte(rgb[1]) << 8 | ToByte(rgb[2]);
}

std::string PrintHexColor(uint32_t color, bool alpha) {
  return alpha ? comms::Format("%08X", color) : comms::Format("%06X", color & 0xFFFFFFu);
}

bool ReadHexColor(std::string_view text, uint32_t& color) {
  if (!text.empty() && text[0] == '#') text.remove_prefix(1);
  if (text.size() != 3 && text.size() != 6 && text.size() != 8) return false;
  uint32_t digits = 0;
  for (const char symbol : text) {
    const char lower = symbol >= 'A' && symbol <= 'F' ? char(symbol + 32) : symbol;
    if (lower >= '0' && lower <= '9')
      digits = digits << 4 | uint32_t(lower - '0');
    else if (lower >= 'a' && lower <= 'f')
      digits = digits << 4 | uint32_t(lower - 'a' + 10);
    else
      return false;
    if (text.size() == 3) digits = digits << 4 | (digits & 15);
  }
  color = text.size() == 8 ? digits : (color & 0xFF000000u) | digits;
  return true;
}
