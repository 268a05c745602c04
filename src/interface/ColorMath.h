#pragma once
// Colours as numbers that a person works with.
#include <cstdint>
#include <string>
#include <string_view>

/// Hue 0 .. 1 (red, green at 1/3, blue at 2/3), saturation and value 0 .. 1.
struct HsvColor {
  float H = 0, S = 0, V = 0;
};
/// Of 0xAARRGGBB; alpha is not looked at. Greys have hue 0, black saturation 0.
HsvColor RgbToHsv(uint32_t color);
/// With alpha 255.
uint32_t HsvToRgb(const HsvColor& hsv);
/// "RRGGBB", or "AARRGGBB" with `alpha`.
std::string PrintHexColor(uint32_t color, bool alpha = false);
/// Three, six or eight hexadecimal digits, "#" before them allowed; without alpha in the text that of `color` stays.
bool ReadHexColor(std::string_view text, uint32_t& color);
