#pragma once
// The fonts of the interface: which file draws which character, in which size, and the pixels of one glyph. Without any font on
// the machine the strokes of StrokeFont.h stand in.
#include <memory>

#include "interface/draw/Canvas.h"
#include "interface/draw/Mask.h"

struct hb_font_t;

namespace draw {

inline constexpr size_t NumTextStyles = 5;

/// Index of a font; StrokeFace is the built-in one, whose glyph numbers are code points.
using FaceIndex = uint16_t;
inline constexpr FaceIndex StrokeFace = 0xFFFF;

/// Pixels of now.
struct StyleMetrics {
  float Size = 12;        ///< of the em
  float CapHeight = 9;    ///< of an upright capital, whole pixels
  float LineHeight = 16;  ///< from one base line to the next, whole pixels
};

class Fonts {
 public:
  Fonts();
  ~Fonts();
  Fonts(const Fonts&) = delete;
  Fonts& operator=(const Fonts&) = delete;

  /// Sizes follow; whatever was measured or rasterised before is void.
  void SetScale(float scale);
  const StyleMetrics& Metrics(TextStyle style) const;
  /// The first font of the style's order that has the character, else the first font of all.
  FaceIndex FindFace(char32_t code, TextStyle style);
  bool HasChar(FaceIndex face, char32_t code) const;
  /// For shaping, in units of 1/64 pixel, unhinted; null for StrokeFace.
  hb_font_t* GetShaper(FaceIndex face, TextStyle style);
  /// How many places between two pixels a glyph is drawn at: 4 where letters are small, fewer where nobody sees it.
  int SubpixelSteps(TextStyle style) const;
  /// The glyph, moved right by `step` / SubpixelSteps of a pixel. Empty for blanks and glyphs that the font can't give.
  Mask Rasterize(FaceIndex face, TextStyle style, uint32_t glyph, int step);

 private:
  struct State;
  std::unique_ptr<State> m_State;
};

}  // namespace draw
