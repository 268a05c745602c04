#pragma once
// Strokes as text, one statement a line; blanks separate words, '#' starts a comment, words are compared without case.
//
//   stroke                       another stroke begins; the settings stay as they are
//   tool     Sphere | Segment | Carve | Stamp                         Segment at first
//   mode     add | subtract | intersect                               add
//   airbrush on | off                                                 off
//   symmetry none, or any of x y z                                    none
//   spacing  least distance of dabs in radii, 0 .. 100                0
//   pressure both | radius | height | none: what pressure scales      both
//   falloff  strength of Carve's falloff curve, 0 .. 1                0
//   base     Carve's offset from the surface, world units             0
//   stamp    name of the volume that Stamp applies: the rest of the line, blanks within it too; 1 to 200 bytes
//   sample   px py pz  nx ny nz  radius height pressure               world units; pressure 0 .. 1
//
// A setting holds for the samples behind it, so it stands before the first sample of its stroke.
#include <string>
#include <string_view>
#include <vector>

#include "MC/Stroke.h"

/// Parses `text`; `name` stands for it in messages. False with one sentence in `error` (file, line, what was found and expected);
/// then `strokes` is as it was. Strokes without a sample are left out.
bool ParseStrokes(std::string_view text, const std::string& name, std::vector<Stroke>& strokes, std::string& error);

/// ParseStrokes of a file; also false where the file can't be read.
bool ReadStrokeFile(const std::string& path, std::vector<Stroke>& strokes, std::string& error);
