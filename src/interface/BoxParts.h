#pragma once
// What the boxes in the middle of the window share: their place, their ground with a title, and their buttons.
#include <span>
#include <string_view>

#include "interface/BaseWidget.h"
#include "interface/draw/Canvas.h"

class Button;

/// At scale 1: the edge of a box around its inside, and the height of its buttons.
constexpr float BoxInset = 18, BoxButtonHeight = 26;

/// A box around an inside of that size in pixels, a little above the middle; no wider than the screen.
cRect PlaceBox(const cRect& screen, float insideWidth, float insideHeight, Canvas& canvas);
/// Room that the buttons take beside one another, in pixels.
float BoxButtonsWidth(std::span<Button* const> buttons, Canvas& canvas);
/// Places them in the lower right corner of the box's inside, the first one leftmost.
void ArrangeBoxButtons(std::span<Button* const> buttons, const cRect& box, Canvas& canvas);
/// Draws ground and title; returns the inside below the title.
cRect DrawBoxGround(Canvas& canvas, const cRect& box, std::string_view title, TextStyle style = TextStyle::Title);
