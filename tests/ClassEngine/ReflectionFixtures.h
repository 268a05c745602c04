#pragma once
// Reflected classes with every kind of member, and helpers that work on any reflected class.
#include <string>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ClassHelp.h"
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

/// One member of every form of value.
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

/// The same for those types of the engine library that have forms of their own.
class LibraryValues : public cClass {
  REFLECTED(LibraryValues, cClass)
  bool Flag = false;
  int Number = 7, Slide = 3, Kept = 5;
  float Size = 0.5f, SlideF = 0.25f, KeptF = 0.75f;
  float Corner[2] = {1, 2}, Plane[4] = {};
  Int2 Cell;
  std::string Picture = "none.png";
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

inline std::string SaveText(BaseClass& object, bool onlyChanges = false) {
  XmlNode node;
  SaveOnlyChanges = onlyChanges;
  object.Save(&node);
  SaveOnlyChanges = false;
  StrBuffer text;
  node.Print(text, 0);
  return std::string(text.View());
}
inline bool LoadText(BaseClass& object, std::string_view text, XmlErrorLog* errors = nullptr) {
  XmlNode node;
  return node.Parse(text) > 0 && object.Load(&node, nullptr, errors);
}
/// What a loading that succeeds reports.
inline std::string LoadAndReport(BaseClass& object, std::string_view text) {
  XmlErrorLog errors;
  EXPECT_TRUE(LoadText(object, text, &errors));
  return std::string(errors.Messages.View());
}
/// The texts of members, with a blank behind each.
inline std::string GetTexts(BaseClass& object, std::initializer_list<const char*> members) {
  std::string all, text;
  for (const char* member : members) all += (GetMemberText(object, member, text) ? text : "no such member") + " ";
  return all;
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

/// The names of the rows that RowOptions admit.
inline std::vector<std::string> GetRows(BaseClass& object, int options) {
  std::vector<std::string> rows;
  const int32_t count = object.GetVisibleElementCount(&object, options);
  for (int32_t i = 0; i < count; i++) rows.emplace_back(object.GetVisibleElementName(i, &object, options));
  return rows;
}

/// Puts values that differ from the default into every member, `depth` containers deep. The answer names the members that took
/// none; empty when all were filled.
std::string FillNonDefault(BaseClass& object, int& seed, int depth = 2);

}  // namespace fixture
