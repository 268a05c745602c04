#pragma once
// What the boxes in the middle of the window share: their place, their ground with a title, and their buttons.
#include <span>
#include <string>
#include <string_view>

#include "interface/BaseWidget.h"
#include "interface/draw/Canvas.h"

class Button;

/// Height of the buttons at scale 1.
constexpr float BoxButtonHeight = 26;

/// The edge of a box around its inside, in pixels; thinner in a small window.
float BoxInset(const Canvas& canvas);
/// The text of a title; the dots that a menu puts behind what opens a box are none of it.
std::string GetBoxTitle(std::string_view key);
/// A box around an inside of that size in pixels, a little above the middle; no larger than the screen.
cRect PlaceBox(const cRect& screen, float insideWidth, float insideHeight, Canvas& canvas);
/// Room that the buttons take beside one another, in pixels.
float BoxButtonsWidth(std::span<Button* const> buttons, Canvas& canvas);
/// Height of all of them in an inside of that width: what doesn't fit beside one another stands below.
float BoxButtonsHeight(std::span<Button* const> buttons, float insideWidth, Canvas& canvas);
/// Places them in the lower right corner of the box's inside, the first one leftmost.
void ArrangeBoxButtons(std::span<Button* const> buttons, const cRect& box, Canvas& canvas);
/// Height of a title, which breaks into lines.
float BoxTitleHeight(std::string_view title, float insideWidth, Canvas& canvas, TextStyle style = TextStyle::Title);
/// Draws ground and title; returns the inside below the title.
cRect DrawBoxGround(Canvas& canvas, const cRect& box, std::string_view title, TextStyle style = TextStyle::Title);
