#pragma once
// Text to placed glyphs: fonts are chosen character by character, pieces of one font and one writing are shaped, and the results
// are kept, so that a frame like the last one shapes nothing.
#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "interface/draw/Fonts.h"

struct hb_buffer_t;

namespace draw {

/// Pixels from the start of the text on its base line; up is positive.
struct PlacedGlyph {
  float X = 0, Y = 0;
  uint32_t Glyph = 0;
  FaceIndex Face = 0;
};
struct CaretPlace {
  size_t Byte = 0;
  float X = 0;
};
struct TextRun {
  comms::cList<PlacedGlyph> Glyphs;
  comms::cList<CaretPlace> Carets;  ///< in the order of bytes; the first is 0, the last the end of the text
  float Width = 0;

  /// The caret of the character that byte `index` belongs to; past the end the last one.
  const CaretPlace& CaretBefore(size_t index) const;
  /// The caret nearest to `x`.
  const CaretPlace& CaretAt(float x) const;
};

/// Lays out one line from left to right; pieces of right-to-left writing run backwards within it, figures inside them forwards.
/// (That is the common case of Unicode's bidirectional algorithm and not the whole of it: there are no embeddings.)
class TextRuns {
 public:
  static constexpr size_t MaxRuns = 2048;      ///< of each of two generations
  static constexpr size_t MaxBytes = 1 << 18;  ///< of text, likewise

  explicit TextRuns(Fonts& fonts);
  ~TextRuns();
  TextRuns(const TextRuns&) = delete;
  TextRuns& operator=(const TextRuns&) = delete;

  /// Any bytes; what is not UTF-8 shows as U+FFFD, line ends and tabs as blanks. Stands until MaxRuns other texts were asked for.
  const TextRun& Get(std::string_view text, TextStyle style);
  void Clear();
  size_t NumKept() const { return m_Young.size() + m_Old.size(); }
  /// How often text was shaped since the start.
  size_t NumShaped() const { return m_NumShaped; }

 private:
  struct Char {
    char32_t Code = 0;
    size_t Byte = 0;
    bool Starts = true;      // a character as people see it
    bool Stretch = false;    // of right-to-left writing, with the figures in it
    bool Backwards = false;  // ... without them
  };
  struct Piece {
    size_t First = 0, Count = 0;  // of m_Chars
    FaceIndex Face = 0;
    uint32_t Script = 0;
    bool Stretch = false, Backwards = false;
  };
  struct KeyHash {
    using is_transparent = void;
    size_t operator()(std::string_view key) const { return std::hash<std::string_view>()(key); }
  };
  using Cache = std::unordered_map<std::string, TextRun, KeyHash, std::equal_to<>>;

  void Decode(std::string_view text);
  void FindDirections();
  void FindPieces(TextStyle style);
  void OrderPieces();
  void ShapePiece(const Piece& piece, size_t textBytes, TextStyle style, TextRun& run);
  void ShapeStrokes(const Piece& piece, TextStyle style, TextRun& run);
  void PlaceCarets(const Piece& piece, size_t cluster, size_t clusterEnd, float from, float to);
  void Shape(std::string_view text, TextStyle style, TextRun& run);

  Fonts& m_Fonts;
  hb_buffer_t* m_Buffer;
  Cache m_Young, m_Old;
  size_t m_YoungBytes = 0, m_NumShaped = 0;
  std::string m_Key;
  comms::cList<Char> m_Chars;
  comms::cList<Piece> m_Pieces;
  comms::cList<float> m_CaretX;  // by character of m_Chars
};

}  // namespace draw
