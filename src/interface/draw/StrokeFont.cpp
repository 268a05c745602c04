#include "interface/draw/StrokeFont.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>
#include <utility>

#include "interface/draw/PathRaster.h"

namespace draw {

using namespace comms;

namespace {

// A letter is as many units wide as Width says; capitals stand from line 0 to 6, small letters begin at 2, tails end at 8. A
// point is two figures, across and down; a blank lifts the pen.
struct Letter {
  int Width;
  const char* Strokes;
};
constexpr Letter Letters[] = {
    {2, ""},                                     // blank
    {0, "0004 0606"},                            // !
    {2, "0002 2022"},                            // "
    {4, "1016 3036 0242 0444"},                  // #
    {4, "413010010213334445361605 2026"},        // $
    {4, "4006 0010110100 3545463635"},           // %
    {4, "46121120310405162644"},                 // &
    {0, "0002"},                                 // '
    {1, "10010516"},                             // (
    {1, "00111506"},                             // )
    {4, "2125 0244 0442"},                       // *
    {4, "2125 0343"},                            // +
    {0, "0607"},                                 // ,
    {3, "0333"},                                 // -
    {0, "0606"},                                 // .
    {3, "3006"},                                 // /
    {3, "102031352616050110"},                   // 0, narrower than the letter
    {2, "011016 0626"},                          // 1
    {4, "01103041420646"},                       // 2
    {4, "01103041423313 334445361605"},          // 3
    {4, "36300444"},                             // 4
    {4, "400002324345361605"},                   // 5
    {4, "413010010516364544331304"},             // 6
    {4, "004016"},                               // 7
    {4, "103041423313020110 1304051636454433"},  // 8
    {4, "051636454130100102133342"},             // 9
    {0, "0303 0606"},                            // :
    {0, "0303 0607"},                            // ;
    {3, "310335"},                               // <
    {3, "0232 0434"},                            // =
    {3, "013305"},                               // >
    {4, "01103041422324 2626"},                  // ?
    {4, "343212144441301001051646"},             // @
    {4, "062046 1434"},                          // A
    {4, "06003041423303 3344453606"},            // B
    {4, "4130100105163645"},                     // C
    {4, "06003041453606"},                       // D
    {4, "40000646 0333"},                        // E
    {4, "400006 0333"},                          // F
    {4, "41301001051636454323"},                 // G
    {4, "0006 4046 0343"},                       // H
    {0, "0006"},                                 // I
    {3, "3035261605"},                           // J
    {4, "0006 400346"},                          // K
    {4, "000646"},                               // L
    {4, "0600234046"},                           // M
    {4, "06004640"},                             // N
    {4, "103041453616050110"},                   // O
    {4, "06003041423303"},                       // P
    {4, "103041453616050110 2446"},              // Q
    {4, "06003041423303 2346"},                  // R
    {4, "413010010213334445361605"},             // S
    {4, "0040 2026"},                            // T
    {4, "000516364540"},                         // U
    {4, "002640"},                               // V
    {4, "0016233640"},                           // W
    {4, "0046 4006"},                            // X
    {4, "002340 2326"},                          // Y
    {4, "00400646"},                             // Z
    {1, "10000616"},                             // [
    {3, "0036"},                                 // backslash
    {1, "00101606"},                             // ]
    {4, "022042"},                               // ^
    {4, "0747"},                                 // _
    {1, "0011"},                                 // `
    {3, "0222333616051434"},                     // a
    {3, "00062635332202"},                       // b
    {3, "321203051636"},                         // c
    {3, "30361605031232"},                       // d
    {3, "043433221203051636"},                   // e
    {2, "201116 0222"},                          // f
    {3, "361605031232372808"},                   // g
    {3, "0006 02223336"},                        // h
    {0, "0206 0000"},                            // i
    {1, "121708 1010"},                          // j
    {3, "0006 320436"},                          // k
    {1, "000516"},                               // l
    {4, "0602324346 2226"},                      // m
    {3, "0602223336"},                           // n
    {3, "122233352616050312"},                   // o
    {3, "08022233352606"},                       // p
    {3, "38321203051636"},                       // q
    {2, "0206 031222"},                          // r
    {3, "3212031424352606"},                     // s
    {2, "101526 0222"},                          // t
    {3, "02051636 3236"},                        // u
    {2, "021622"},                               // v
    {4, "0216243642"},                           // w
    {3, "0236 3206"},                            // x
    {3, "02051636 32372808"},                    // y
    {3, "02320636"},                             // z
    {2, "20111203141526"},                       // {
    {0, "0007"},                                 // |
    {2, "00111223141506"},                       // }
    {4, "04133443"},                             // ~
};
static_assert(std::size(Letters) == '~' - ' ' + 1);
constexpr Letter Unknown = {4, "0040460600"};
struct Sign {
  char32_t Code;
  Letter Drawn;
};
// Beyond ASCII: what Latin text and the interface use and no mark over a letter makes. By code.
constexpr Sign Signs[] = {
    {0xA0, {2, ""}},                                      // blank that no line breaks at
    {0xA1, {0, "0202 0408"}},                             // inverted !
    {0xA7, {3, "312010011233 02132435261605"}},           // section
    {0xAB, {4, "220426 422446"}},                         // <<
    {0xB0, {2, "1021120110"}},                            // degree
    {0xB1, {4, "0343 2125 0646"}},                        // plus or minus
    {0xB5, {3, "0208 05163536 3236"}},                    // micro
    {0xB7, {0, "0404"}},                                  // dot in the middle
    {0xBB, {4, "022406 224426"}},                         // >>
    {0xBF, {4, "2222 2425060717374746"}},                 // inverted ?
    {0xC6, {6, "063066 3060 3353 1535"}},                 // AE
    {0xD0, {4, "06003041453606 0323"}},                   // Eth
    {0xD7, {3, "0235 3205"}},                             // times
    {0xD8, {4, "103041453616050110 0640"}},               // O with a stroke
    {0xDE, {4, "0006 013142433404"}},                     // Thorn
    {0xDF, {3, "06011020313223132334352616"}},            // sharp s
    {0xE6, {6, "0222333616051434 346463524233 354666"}},  // ae
    {0xF0, {3, "122233352616050312 333210 1230"}},        // eth
    {0xF7, {4, "0343 2121 2525"}},                        // divided by
    {0xF8, {3, "122233352616050312 0632"}},               // o with a stroke
    {0xFE, {3, "0008 022233352606"}},                     // thorn
    {0x2011, {3, "0333"}},                                // hyphen that no line breaks at
    {0x2013, {4, "0343"}},                                // dash of a range
    {0x2014, {6, "0363"}},                                // dash
    {0x2018, {1, "0012"}},                                // single quotes: high, high and low
    {0x2019, {1, "1002"}},
    {0x201A, {1, "1507"}},
    {0x201C, {3, "0012 2032"}},  // double quotes: high, high and low
    {0x201D, {3, "1002 3022"}},
    {0x201E, {3, "1507 3527"}},
    {0x2026, {4, "0606 2626 4646"}},              // what stands for the rest of a cut text
    {0x202F, {1, ""}},                            // narrow blank
    {0x20AC, {4, "4130100105163645 0232 0434"}},  // euro
    {0x2190, {5, "0454 2204 2604"}},              // arrows: left, up, right, down
    {0x2191, {4, "2026 022042"}},
    {0x2192, {5, "0454 325436"}},
    {0x2193, {4, "2026 042644"}},
    {0x2212, {3, "0333"}},  // minus
};

// What stands over a letter, or under it: in halves of a unit, across from one unit left of its middle, and down.
struct Mark {
  char Name;
  const char* Strokes;
};
constexpr Mark Marks[] = {{'`', "0032"},      {'\'', "4012"},          {'^', "022042"},    {'~', "02103240"},
                          {':', "0101 4141"}, {'o', "10304132120110"}, {',', "2022332414"}};
// The letters from 0xC0 and, small, from 0xE0 on: each a letter with a mark; blank where it is a sign of its own.
constexpr std::string_view MarkedLetters = "AAAAAA CEEEEIIII NOOOOO  UUUUY  ", LetterMarks = "`'^~:o ,`'^:`'^: ~`'^~:  `'^:'  ";
static_assert(MarkedLetters.size() == 32 && LetterMarks.size() == 32);
constexpr Letter DotlessI = {0, "0206"};

constexpr float Gap = 1.7f;  // units between two letters
constexpr int BaseLine = 6;
constexpr float MarkWidth = 2, OverCapital = -2.4f, OverSmall = -0.5f;  // units; where marks begin

/// A letter, and a mark with it or none.
struct Shape {
  Letter Base;
  const char* Mark = "";
  float MarkLine = 0;

  float Width() const { return *Mark ? std::max(float(Base.Width), MarkWidth) : float(Base.Width); }
  float Above() const { return *Mark ? std::max(0.0f, -MarkLine) : 0; }
};

const char* FindMark(char name) {
  return std::find_if(std::begin(Marks), std::end(Marks), [name](const Mark& mark) { return mark.Name == name; })->Strokes;
}

Shape FindShape(char32_t code) {
  if (code >= ' ' && code <= '~') return {Letters[code - ' ']};
  const auto sign =
      std::lower_bound(std::begin(Signs), std::end(Signs), code, [](const Sign& a, char32_t b) { return a.Code < b; });
  if (sign != std::end(Signs) && sign->Code == code) return {sign->Drawn};
  if (code < 0xC0 || code > 0xFF) return {Unknown};
  const bool small = code >= 0xE0;
  // The last place is free in capitals.
  const char letter = code == 0xFF ? 'Y' : MarkedLetters[code % 32], mark = code == 0xFF ? ':' : LetterMarks[code % 32];
  const Letter& base = small && letter == 'I' ? DotlessI : Letters[(small ? letter - 'A' + 'a' : letter) - ' '];
  return {base, FindMark(mark), mark == ',' ? float(BaseLine) : small ? OverSmall : OverCapital};
}

void AddStrokes(const char* strokes, float scale, cVec2 corner, PathShape& shape) {
  bool down = false;
  for (const char* at = strokes; *at; at += *at == ' ' ? 1 : 2) {
    if (*at == ' ') {
      down = false;
      continue;
    }
    if (!std::exchange(down, true)) shape.Lines.emplace_back();
    shape.Lines.back().Points.push_back({corner.x + scale * float(at[0] - '0'), corner.y + scale * float(at[1] - '0')});
  }
}

float GetUnit(float size) { return size * StrokeCapHeight / BaseLine; }

}  // namespace

float GetStrokeAdvance(char32_t code, float size) { return (FindShape(code).Width() + Gap) * GetUnit(size); }

Mask RasterizeStrokes(char32_t code, float size, float shift, bool bold) {
  const Shape drawn = FindShape(code);
  const float width = drawn.Width();
  PathShape shape;
  AddStrokes(drawn.Base.Strokes, 1, {(width - float(drawn.Base.Width)) / 2, 0}, shape);
  AddStrokes(drawn.Mark, 0.5f, {(width - MarkWidth) / 2, drawn.MarkLine}, shape);
  if (shape.Lines.empty()) return {};
  const float unit = GetUnit(size), pen = std::max(1.0f, size * (bold ? 0.13f : 0.085f));
  const int margin = int(pen) + 2, above = int(std::ceil(drawn.Above() * unit));
  RasterOptions options;
  options.Scale = unit;
  options.PenWidth = pen;
  options.Width = int(std::ceil(width * unit)) + 2 * margin + 1;
  options.Height = above + int(std::ceil(8 * unit)) + 2 * margin;
  // The base line lies between two rows of pixels, and a pen's lower edge on it.
  const float capHeight = std::round(BaseLine * unit);
  options.Offset = {float(margin) + Gap * unit / 2 + shift, float(above + margin) + capHeight - BaseLine * unit - pen / 2};
  Mask mask = RasterizeDrawing({shape}, options);
  mask.Left = -margin;
  mask.Top = above + int(capHeight) + margin;
  return mask;
}

}  // namespace draw
