#pragma once
// The icons: drawings on a grid of 24 units, from "Icons/Icons.txt" of the data folder.
//
// The file: a line that begins in the first column names an icon, the indented lines below it are its drawing (see ParsePath),
// '#' begins a comment. The pen is 1.5 units wide with round ends.
#include <functional>
#include <map>
#include <set>
#include <string_view>

#include "interface/draw/PathRaster.h"

namespace draw {

class Icons {
 public:
  static constexpr float Grid = 24, Pen = 1.5f;

  /// Reads the file; what can't be read is said in the log with its line, and the other icons stay.
  explicit Icons(const comms::cStr& file);
  bool Has(std::string_view name) const { return m_Drawings.find(name) != m_Drawings.end(); }
  /// Pixels that an icon in a box of `side` pixels really has a side: the pen is a whole number of pixels wide, and with an odd
  /// one the middle of an odd picture.
  static int FitSide(int side);
  /// The icon with `side` pixels a side, out of FitSide. For a name without a drawing, said once in the log, a plain outline; not
  /// said where no icon was read at all.
  Mask Rasterize(std::string_view name, int side);
  const std::map<comms::cStr, Drawing, std::less<>>& All() const { return m_Drawings; }

 private:
  std::map<comms::cStr, Drawing, std::less<>> m_Drawings;
  std::set<comms::cStr, std::less<>> m_SaidMissing;
};

}  // namespace draw
