#include "shell/platform/DisplayScale.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

constexpr double BaseDpi = 96;

double ReadNumber(const char* text) {
  if (!text) return 0;
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  return end != text && std::isfinite(value) && value > 0 ? value : 0;
}

}  // namespace

float ChooseDisplayScale(const DisplayWords& words) {
  // A desktop that scales by whole numbers says it in one place or in both, never half in each.
  double scale = std::max(ReadNumber(words.GdkScale), ReadNumber(words.XftDpi) / BaseDpi);
  if (scale <= 0) {
    // Projectors and virtual displays report sizes of fantasy; and a common desktop monitor of 100 to 140 dots is read at
    // scale 1.
    const bool believed = words.MeasuredDpi > 1.5 * BaseDpi && words.MeasuredDpi < 600;
    scale = believed ? words.MeasuredDpi / BaseDpi : 1;
  }
  return float(std::clamp(std::round(scale * 4) / 4, 1.0, 3.0));
}
