#pragma once
// The file form of where panels stand: a tree of elements.
//
//   Space     a side of the window: Side, Size (its width, or its height at top and bottom), Collapsed; holds groups
//   Group     panels that share a place: Size along the space, Active, Collapsed; holds panels
//   Floating  the same as a window of its own: X, Y, Width, Height
//   Panel     Name is its key, Window the name of the window that it was in
//   Closed    a panel that is not open, and where it stood: Name, Side, Index, Floats, X, Y, Width, Height
// Lengths are pixels at scale 1; X and Y of floating windows from the corner of the area.
#include <cstdint>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Str.h"

enum class DockElementKind : int32_t { Space, Group, Floating, Panel, Closed };

class DockLayoutElement : public BaseClass {
  REFLECTED(DockLayoutElement, BaseClass)
 public:
  DockElementKind Kind = DockElementKind::Panel;
  _str Name, Window;
  int32_t Side = 0;  ///< DockSide
  float Size = 0, X = 0, Y = 0, Width = 0, Height = 0;
  int32_t Active = 0, Index = 0;
  bool Collapsed = false, Floats = false;
  ClonesArray<DockLayoutElement> Elements;

  DockLayoutElement& Append(DockElementKind kind);
};

class DocksLayout : public BaseClass {
  REFLECTED(DocksLayout, BaseClass)
 public:
  ClonesArray<DockLayoutElement> Elements;
  DockLayoutElement& Append(DockElementKind kind);
};
