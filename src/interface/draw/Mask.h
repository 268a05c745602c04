#pragma once
// A picture of how much of each pixel a glyph or an icon covers.
#include <cstdint>

#include "comms/Str.h"

namespace draw {

struct Mask {
  int Width = 0, Height = 0;
  int Left = 0, Top = 0;           ///< from the pen on the base line to the upper left pixel; up is positive
  comms::cList<uint8_t> Coverage;  ///< rows from the top, 255 is covered
};

}  // namespace draw
