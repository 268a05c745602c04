#pragma once
// Arithmetic that the sampling functions and the polygoniser share, so that a normal is the same to the last bit whichever of
// them makes it, and so that mirrored input gives mirrored output to the last bit.
#include <cmath>

#include "comms/Vec.h"

/// Between a (f = 0) and b (f = 1). Swapping the ends together with f and 1 - f gives the same bits, which the one-multiplication
/// form does not.
inline double Lerp(double a, double b, double f) { return a * (1 - f) + b * f; }

/// A coordinate counts as lying on a sample when it is this close to one.
inline constexpr double OnSample = 0.001;

/// Value at a local position (each in 0 .. 8) that lies on a grid edge: linear along the one axis whose fraction is above
/// OnSample, x where there is none; 0 with two such axes. `sample(ix, iy, iz)` yields the samples.
template <class Sample>
double SampleGridEdge(double x, double y, double z, Sample&& sample) {
  const double fx = std::floor(x + OnSample), fy = std::floor(y + OnSample), fz = std::floor(z + OnSample);
  const double rx = x - fx, ry = y - fy, rz = z - fz;  // from -OnSample to 1 - OnSample
  const int ix = int(fx), iy = int(fy), iz = int(fz);
  if (ry <= OnSample && rz <= OnSample) {
    // Just below a sample the line before it is meant, or mirrored positions would read different samples.
    if (rx == 0) return sample(ix, iy, iz);
    if (rx < 0) return Lerp(sample(ix - 1, iy, iz), sample(ix, iy, iz), 1 + rx);
    return Lerp(sample(ix, iy, iz), sample(ix + 1, iy, iz), rx);
  }
  if (rx <= OnSample && rz <= OnSample) return Lerp(sample(ix, iy, iz), sample(ix, iy + 1, iz), ry);
  if (rx <= OnSample && ry <= OnSample) return Lerp(sample(ix, iy, iz), sample(ix, iy, iz + 1), rz);
  return 0;
}

/// Below this length a forward difference has fallen into a saturated area and says nothing.
inline constexpr double ShortestGradient = 0.9;

inline double GradientLength(const double g[3]) { return std::sqrt(g[0] * g[0] + g[1] * g[1] + g[2] * g[2]); }

/// `g` at length 1. A zero gradient gives the direction towards the origin, which mirrors as the position does; z at the origin.
inline comms::cVec3 GradientToNormal(const double g[3], const comms::cVec3& position) {
  const double length = GradientLength(g);
  if (length > 0) return {float(g[0] / length), float(g[1] / length), float(g[2] / length)};
  const double p[3] = {-double(position.x), -double(position.y), -double(position.z)};
  const double distance = GradientLength(p);
  if (!(distance > 0)) return {0, 0, 1};
  return {float(p[0] / distance), float(p[1] / distance), float(p[2] / distance)};
}
