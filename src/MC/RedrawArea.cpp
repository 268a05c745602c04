#include "MC/RedrawArea.h"

#include <algorithm>
#include <cmath>

namespace {

int16_t ToPixel(double v) { return int16_t(std::clamp(v, -32768.0, 32767.0)); }

// Down to the pixel that holds the coordinate.
double RoundDown(double v) { return std::nearbyint(v - 0.49999999999); }

}  // namespace

void RedrawArea::Merge(const ScreenRect& rect) {
  if (rect.w <= 0 || rect.h <= 0) return;
  if (Dirty.w <= 0 || Dirty.h <= 0) {
    Dirty = rect;
    return;
  }
  const int right = std::max(Dirty.x + Dirty.w, rect.x + rect.w), bottom = std::max(Dirty.y + Dirty.h, rect.y + rect.h);
  Dirty.x = std::min(Dirty.x, rect.x);
  Dirty.y = std::min(Dirty.y, rect.y);
  Dirty.w = ToPixel(right - Dirty.x);
  Dirty.h = ToPixel(bottom - Dirty.y);
}

ScreenRect RedrawArea::Project(const VolumeBox& box) const {
  if (box.MaxX <= box.MinX && box.MaxY <= box.MinY && box.MaxZ <= box.MinZ) return {};
  double minX = 1e30, minY = 1e30, maxX = -1e30, maxY = -1e30;
  const auto& m = VolumeToClip.m;
  for (int corner = 0; corner < 8; corner++) {
    const double p[3] = {corner & 1 ? box.MaxX : box.MinX, corner & 2 ? box.MaxY : box.MinY, corner & 4 ? box.MaxZ : box.MinZ};
    auto column = [&](int c) { return p[0] * m[0][c] + p[1] * m[1][c] + p[2] * m[2][c] + m[3][c]; };
    const double w = column(3);
    if (w <= 0) return {0, 0, ToPixel(Width), ToPixel(Height)};
    const double x = (column(0) / w + 1) / 2 * Width, y = (1 - column(1) / w) / 2 * Height;
    minX = std::min(minX, x);
    minY = std::min(minY, y);
    maxX = std::max(maxX, x);
    maxY = std::max(maxY, y);
  }
  return {ToPixel(RoundDown(minX)), ToPixel(RoundDown(minY)), ToPixel(RoundDown(maxX - minX) + 2),
          ToPixel(RoundDown(maxY - minY) + 2)};
}
