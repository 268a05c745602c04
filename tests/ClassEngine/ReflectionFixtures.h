#pragma once
// Reflected classes with every kind of member, and helpers that work on any reflected class.
#include <string>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ClassPtr.h"
#include "ClassEngine/CommsClasses.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/MemoryBinStream.h"
#include "ClassEngine/Method.h"
#include "ClassEngine/TestHost.h"
#include "ClassEngine/ValueTypes.h"

namespace fixture {

struct Point {
  float x = 0, y = 0, z = 0;
};
enum class Shape : int32_t { Ball, Box, Cone };

/// One member of every value type.
class Values : public BaseClass {
  REFLECTED(Values, BaseClass)
  bool Flag = false;
  int Number = 7;
  Shape Kind = Shape::Box;
  float Size = 0.5f;
  uint8_t Byte = 1;
  int8_t Char = -1;
  int16_t Short = -2;
  uint16_t Word = 3;
  uint32_t Tint = 0xFF102030u;
  uint32_t Bits = 0;
  int Texture = -1;
  float Strength = 0.25f;
  int Count = 4;
  Point Center;
  _str Text;
  _WinFont Font;
  _str* Elsewhere = nullptr;
};

struct Int2 {
  int32_t x = 0, y = 0;
};

/// The same for the engine library's types.
class LibraryValues : public cClass {
  REFLECTED(LibraryValues, cClass)
  bool Flag = false;
  int Number = 7, Slide = 3, Typed = 4, Kept = 5, Image = -1;
  float Size = 0.5f, SlideF = 0.25f, TypedF = 0.5f, KeptF = 0.75f;
  float Corner[2] = {1, 2}, Plane[4] = {};
  Point Center;
  Int2 Cell;
  int32_t Block[3] = {};
  Shape Kind = Shape::Box;
  uint32_t Tint = 0xFF102030u;
  std::string Text, Bound, Picture = "none.png", Sound, Model, Motion, Camera, Level, Settings;
  cClassList<Values> Items;
};

/// A tree: derived class, nested object, containers of every kind.
class Branch : public Values {
  REFLECTED(Branch, Values)
  Values Nested;
  ClassArray<Values> Mixed;
  ClonesArray<Branch> Clones;
  ClassPtr<Values> Single;
};

class Leaf : public Values {
  REFLECTED(Leaf, Values)
  int Veins = 0;
};

/// Known by name to files only.
class Unmentioned : public Values {
  REFLECTED(Unmentioned, Values)
  int Depth = 0;
};

inline std::string SaveText(BaseClass& object) {
  XmlNode node;
  object.Save(&node);
  StrBuffer text;
  node.Print(text, 0);
  return std::string(text.View());
}
inline bool LoadText(BaseClass& object, std::string_view text, XmlErrorLog* errors = nullptr) {
  XmlNode node;
  return node.Parse(text) > 0 && object.Load(&node, nullptr, errors);
}
inline std::string SaveBytes(BaseClass& object) {
  MemoryBinStream stream;
  object.SaveBin(nullptr, nullptr, stream);
  return std::string(reinterpret_cast<const char*>(stream.GetData()), size_t(stream.Size()));
}
inline bool LoadBytes(BaseClass& object, std::string_view bytes) {
  MemoryBinStream stream;
  stream.Write(bytes.data(), int64_t(bytes.size()));
  return object.LoadBin(nullptr, nullptr, stream);
}

/// Puts values that differ from the default into every member, `depth` containers deep. The name of a member that takes none is
/// the answer; empty when all were filled.
std::string FillNonDefault(BaseClass& object, int& seed, int depth = 2);

}  // namespace fixture
