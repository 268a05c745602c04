#include "interface/draw/StrokeFont.h"

#include <algorithm>
#include <cmath>
#include <iterator>
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
    {4, "103041453616050110 2224"},              // 0
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
constexpr Letter Dots = {4, "0606 2626 4646"};  // what stands for the rest of a cut text
constexpr float Gap = 1.7f;                     // units between two letters
constexpr int BaseLine = 6;

const Letter& FindLetter(char32_t code) {
  if (code == 0xA0) return Letters[0];
  if (code == 0x2026) return Dots;
  return code >= ' ' && code <= '~' ? Letters[code - ' '] : Unknown;
}
float GetUnit(float size) { return size * StrokeCapHeight / BaseLine; }

}  // namespace

float GetStrokeAdvance(char32_t code, float size) { return (float(FindLetter(code).Width) + Gap) * GetUnit(size); }

Mask RasterizeStrokes(char32_t code, float size, float shift, bool bold) {
  const Letter& letter = FindLetter(code);
  PathShape shape;
  bool down = false;
  for (const char* at = letter.Strokes; *at; at += *at == ' ' ? 1 : 2) {
    if (*at == ' ') {
      down = false;
      continue;
    }
    if (!std::exchange(down, true)) shape.Lines.emplace_back();
    shape.Lines.back().Points.push_back({float(at[0] - '0'), float(at[1] - '0')});
  }
  if (shape.Lines.empty()) return {};
  const float unit = GetUnit(size), pen = std::max(1.0f, size * (bold ? 0.13f : 0.085f));
  const int margin = int(pen) + 2;
  RasterOptions options;
  options.Scale = unit;
  options.PenWidth = pen;
  options.Width = int(std::ceil(float(letter.Width) * unit)) + 2 * margin + 1;
  options.Height = int(std::ceil(8 * unit)) + 2 * margin;
  // The base line lies between two rows of pixels, and a pen's lower edge on it.
  const float capHeight = std::round(BaseLine * unit);
  options.Offset = {float(margin) + Gap * unit / 2 + shift, float(margin) + capHeight - BaseLine * unit - pen / 2};
  Mask mask = RasterizeDrawing({shape}, options);
  mask.Left = -margin;
  mask.Top = int(capHeight) + margin;
  return mask;
}

}  // namespace draw
