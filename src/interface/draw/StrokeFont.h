#pragma once
// Letters of our own, as strokes: what the interface is written with on a machine without fonts.
#include "interface/draw/Mask.h"

namespace draw {

/// Height of a capital, as a part of the size.
inline constexpr float StrokeCapHeight = 0.72f;

/// Pixels from one letter to the next at `size`; an unknown character has a width too.
float GetStrokeAdvance(char32_t code, float size);
/// `shift`: pixels to the right. Printable ASCII, the letters of Latin-1, and dashes, quotes, arrows and signs of the interface;
/// a box for every other character.
Mask RasterizeStrokes(char32_t code, float size, float shift, bool bold);

}  // namespace draw
