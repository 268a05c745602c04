#pragma once
// A page with everything that a canvas draws, arranged as panels are.
#include <string_view>

#include "interface/draw/Canvas.h"

/// Names of all icons that the interface uses.
extern const std::string_view IconNames[];
extern const size_t NumIconNames;

/// Draws the page in the current theme; `picture` is a texture or -1. Returns the height that it takes, in pixels.
float DrawGallery(Canvas& canvas, int picture);
