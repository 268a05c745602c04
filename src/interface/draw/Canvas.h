#pragma once
// What widgets draw with: boxes, lines, pictures, icons and text in window pixels, gathered into few draw calls in the order in
// which they were asked for. It knows the abstract cRender alone, so that the whole interface runs on a device without a screen.
#include <memory>
#include <span>
#include <string_view>

#include "comms/Image.h"
#include "comms/Str.h"
#include "comms/Vec.h"
#include "comms/cRender.h"

/// Window pixels, from the upper left corner.
struct cRect {
  float X = 0, Y = 0, W = 0, H = 0;
  float Right() const { return X + W; }
  float Bottom() const { return Y + H; }
  bool Contains(float x, float y) const { return x >= X && y >= Y && x < X + W && y < Y + H; }
  /// Smaller by `d` on each side; never below nothing.
  cRect Shrunk(float d) const { return {X + d, Y + d, W > 2 * d ? W - 2 * d : 0, H > 2 * d ? H - 2 * d : 0}; }
  cRect Intersection(const cRect& other) const;
  friend bool operator==(const cRect&, const cRect&) = default;
};

/// Sizes of the one type scale; pixels at scale 1 are in Fonts.cpp.
enum class TextStyle : uint8_t { Small, Normal, Bold, Title, Number };
enum class TextAlign : uint8_t { Left, Center, Right };
/// What becomes of a word that is wider than its paragraph: it goes on in the next line, from one of its joints ("/", "-" ...)
/// where there is one; or it is cut with "…", where the whole text can be read elsewhere.
enum class LongWords : uint8_t { Break, Cut };

/// The standard fonts by the names that files and panels know them by: each stands for a style of the interface's own font.
std::span<const std::string_view> GetFontNames();
/// The style that a font's name stands for. Normal for every other name, with one line in the log.
TextStyle FindFont(std::string_view name);

/// Draws with straight (not premultiplied) sRGB colours 0xAARRGGBB.
class Canvas {
 public:
  /// Both outlive the canvas. `dataFolder` holds "Shaders" and "Icons".
  Canvas(comms::cRender& render, const comms::cStr& dataFolder);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  /// `scale` is the interface's, 0.5 .. 4; sizes of text and icons follow it, coordinates don't.
  void Begin(int width, int height, float scale);
  /// Draws what is gathered so far; needed before somebody draws past the canvas.
  void Flush();
  void End() { Flush(); }
  float Scale() const;
  /// A length that is `length` pixels at scale 1, as whole pixels of now, halves down; at least 1 where `length` is positive.
  float Px(float length) const;
  int Width() const;
  int Height() const;
  cRect Screen() const { return {0, 0, float(Width()), float(Height())}; }

  /// Only what lies in the intersection of all clips is drawn.
  void PushClip(const cRect& rect);
  void PopClip();
  const cRect& Clip() const;

  void FillRect(const cRect& rect, uint32_t color) { FillRoundRect(rect, 0, color); }
  /// `borderWidth` lies inside the box.
  void FillRoundRect(const cRect& rect, float radius, uint32_t color, float borderWidth = 0, uint32_t borderColor = 0);
  /// From `top` to `bottom`, or from left to right where `horizontal`.
  void FillGradient(const cRect& rect, float radius, uint32_t top, uint32_t bottom, bool horizontal = false);
  /// Soft shadow around a box that is drawn afterwards.
  void Shadow(const cRect& rect, float radius, float blur, uint32_t color);
  void Line(comms::cVec2 from, comms::cVec2 to, float width, uint32_t color);
  void Polyline(std::span<const comms::cVec2> points, float width, uint32_t color, bool closed = false);
  void Circle(comms::cVec2 center, float radius, uint32_t fill, float borderWidth = 0, uint32_t borderColor = 0);
  /// The whole texture, or the part `from` of it in 0 .. 1. `flip`: the texture's rows run from the bottom, as those of targets.
  void Image(const cRect& rect, int texture, uint32_t tint = 0xFFFFFFFF, const cRect& from = {0, 0, 1, 1}, bool flip = false);
  /// Vector icon by name ("Visible", "ArrowRight"), as large as the shorter side of `rect`, in its middle. A name without a
  /// drawing is said once in the log and draws a plain square outline.
  void Icon(std::string_view name, const cRect& rect, uint32_t color);

  /// One line of UTF-8, shaped, cut with "…" where it is wider than the box; middle of the box vertically. Returns the width
  /// drawn.
  float Text(const cRect& rect, std::string_view text, uint32_t color, TextStyle style = TextStyle::Normal,
             TextAlign align = TextAlign::Left);
  /// Breaks at blanks and line ends to the width of the box, from its top down. Returns the height that all lines need.
  float Paragraph(const cRect& rect, std::string_view text, uint32_t color, TextStyle style = TextStyle::Normal,
                  TextAlign align = TextAlign::Left, LongWords longWords = LongWords::Break);
  float TextWidth(std::string_view text, TextStyle style = TextStyle::Normal);
  /// Height that Paragraph needs.
  float ParagraphHeight(float width, std::string_view text, TextStyle style = TextStyle::Normal,
                        LongWords longWords = LongWords::Break);
  float LineHeight(TextStyle style = TextStyle::Normal) const;
  /// Distance from the start of the text to the caret before byte `index`; on the boundary of a character.
  float CaretX(std::string_view text, size_t index, TextStyle style = TextStyle::Normal);
  /// The byte before which a caret at distance `x` stands; a boundary of a character.
  size_t CaretIndex(std::string_view text, float x, TextStyle style = TextStyle::Normal);

  /// Draw calls since Begin.
  int DrawCalls() const;
  /// Texts since Begin that had to be cut.
  int TextsCut() const;

 private:
  struct State;
  std::unique_ptr<State> m_State;
};
