#pragma once
// Animated cursors: a RIFF file of the form ACON with pictures in the form of .cur files.
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "comms/Image.h"

struct CursorStep {
  comms::cImage Picture;   ///< 1 .. 256 pixels a side
  int HotX = 0, HotY = 0;  ///< inside the picture
  double Seconds = 0;      ///< for which it is shown; above 0
};

/// Reads the steps in the order in which they are shown; one step is a cursor that stands still. Pictures of 1, 4, 8, 24 or 32
/// bits a pixel, not compressed. False with one sentence in `error` (what, at which byte, what was expected), and `steps` as it
/// was.
bool ReadAniCursor(std::span<const uint8_t> file, std::vector<CursorStep>& steps, std::string& error);
