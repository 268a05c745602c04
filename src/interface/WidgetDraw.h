#pragma once
// Looks that several widgets share, so that they look alike.
#include "interface/BaseWidget.h"
#include "interface/draw/Theme.h"

/// Height of a row of now.
inline float RowHeight(const Canvas& canvas) { return canvas.Px(Measures::RowHeight); }
/// Ground of fields that are edited: slider, combo box, text.
void DrawField(Canvas& canvas, const cRect& rect, bool hot, bool focused, bool enabled = true);
/// Ring around the widget that has the focus by keyboard.
void DrawFocusRing(Canvas& canvas, const BaseWidget& widget);
void DrawFocusRing(Canvas& canvas, const cRect& rect);
/// Width of the widest word of a text: broken into lines it needs no more.
float FindWidestWord(std::string_view text, TextStyle style, Canvas& canvas);
/// Text colour of a widget: dimmed where it is disabled.
uint32_t TextColor(const BaseWidget& widget);
/// The rectangle moved so that it lies on the screen as far as it fits.
cRect KeepInside(const cRect& rect, const cRect& screen);
/// A small arrow head around `center`, as wide as `size`: 0 right, 1 down, 2 left, 3 up.
void DrawArrow(Canvas& canvas, comms::cVec2 center, float size, int direction, uint32_t color);
/// Shadow, ground and border of menus and boxes.
void DrawPopupGround(Canvas& canvas, const cRect& rect, uint32_t ground);
