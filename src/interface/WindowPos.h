#pragma once
// Where windows of the interface stood, whatever the page: floating panels by their keys, boxes by their names. A layout says
// which panels its page has and where; this is where a panel goes that the layout doesn't know, and a box that is opened again.
#include <string_view>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Str.h"
#include "interface/draw/Canvas.h"

class WindowPos : public BaseClass {
  REFLECTED(WindowPos, BaseClass)
 public:
  _str WndName;
  bool EnableTopmost = false;  ///< it stood over the docks, as a window of its own
  bool EnablePopup = false;    ///< it is a box over everything, while it asks
  int Width = 0, Height = 0;   ///< at scale 1
  int tpX = 0, tpY = 0;        ///< at scale 1: of a panel in the area of the docks, of a box in the window
  bool EnableSize = false;     ///< the size is the person's; else the window's own
  cRect Place() const { return {float(tpX), float(tpY), float(Width), float(Height)}; }
};

class WindowPositions : public BaseClass {
  REFLECTED(WindowPositions, BaseClass)
 public:
  /// What a file may bring; the ones that were kept first give way.
  static constexpr int MaxWindows = 256;

  /// Null where nothing is known of it.
  WindowPos* Find(std::string_view name) const;
  /// Makes an entry where there is none; the caller says what kind of window it is.
  WindowPos& Keep(std::string_view name, const cRect& place);
  /// "Xmls/WindowPositions.xml" of the data path; a bad file leaves what is there. See ObjectFile.h.
  void Load();
  bool Store();
  using BaseClass::Load;

  ClonesArray<WindowPos> Windows;
};
