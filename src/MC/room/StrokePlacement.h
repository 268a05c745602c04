#pragma once
// Puts strokes onto a surface that their author did not know: a stroke file written once fits every mesh.
#include <vector>

#include "MC/Stroke.h"
#include "MC/VolumeObject.h"

/// Box of the surface as it was last refreshed, world space. False where there is no surface.
bool GetSurfaceBounds(const VolumeObject& volume, comms::cVec3& minimum, comms::cVec3& maximum);

/// Reads the lengths of `stroke` as parts of the box: position 0 0 0 is its middle, 1 is half its longest side; and turns them
/// into world units.
void PlaceInBox(const comms::cVec3& minimum, const comms::cVec3& maximum, Stroke& stroke);

/// Moves every sample to where the ray that comes in from outside against its normal first meets the surface; its normal becomes
/// the surface's. Samples that meet nothing are dropped and counted in `missed`. Where samples were dropped, or where two
/// neighbours come to lie on parts of the surface far apart, the stroke ends and another begins: the pen does not cut through
/// what lies between.
std::vector<Stroke> ProjectOnSurface(const VolumeObject& volume, const Stroke& stroke, int& missed);
