#pragma once
// Small vector drawings: their text form, and their pixels at an exact size.
#include <string_view>

#include "comms/Str.h"
#include "comms/Vec.h"
#include "interface/draw/Mask.h"

namespace draw {

/// Lines through points, in the units of the drawing.
struct PathLine {
  comms::cList<comms::cVec2> Points;
  bool Closed = false;
};
/// Lines that are drawn with one pen, or filled.
struct PathShape {
  comms::cList<PathLine> Lines;
  bool Filled = false;  ///< by the even-odd rule; else drawn with round ends and joins
};
using Drawing = comms::cList<PathShape>;

/// Adds the shapes of one line of text to `drawing`. Commands, with numbers between them separated by blanks or commas:
///   M x y                begins a line                 L x y ...            straight on to each point
///   C x1 y1 x2 y2 x y    a cubic curve                 Z                    closes the line
///   O x y r              a circle                      R x y w h r          a box with round corners
///   A x y r from to      an arc, degrees clockwise from the right, joined to the line before if there is one
///   F                    what follows is filled        S                    ... drawn with the pen again
/// Numbers lie in -1000 .. 1000. False with a sentence in `error` that names the place in `text`, and `drawing` as it was.
bool ParsePath(std::string_view text, Drawing& drawing, comms::cStr& error);

struct RasterOptions {
  float Scale = 1;            ///< pixels a unit, > 0
  float PenWidth = 1.5f;      ///< pixels
  int Width = 0, Height = 0;  ///< pixels
  comms::cVec2 Offset;        ///< pixels, added after scaling
};
/// Coverage of the drawing. Curves are lines by now; see ParsePath.
Mask RasterizeDrawing(const Drawing& drawing, const RasterOptions& options);

/// Moves straight upright and level lines, and the outermost points of curves, to where a pen of whole width covers whole pixels,
/// and everything between them along. `middle` stays where it is; one unit is `scale` pixels.
void FitToPixels(Drawing& drawing, comms::cVec2 middle, float scale);

}  // namespace draw
