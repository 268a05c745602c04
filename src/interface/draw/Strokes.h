#pragma once
// Lines as quads whose edges the shader smooths.
#include <span>

#include "interface/draw/Batch.h"

namespace draw {

/// Points nearer than 1/100 pixel to the one before are passed over; so is a line that has fewer than two then. Corners are
/// mitred, sharp ones round; ends are cut straight.
void AddPolyline(Batch& batch, const cRect& clip, std::span<const comms::cVec2> points, float width, uint32_t color, bool closed);

}  // namespace draw
