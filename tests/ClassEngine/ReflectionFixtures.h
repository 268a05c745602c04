#pragma once
// Reflected classes with every kind of member, and helpers that work on any reflected class.
#include <string>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ClassPtr.h"
#include "ClassEngine/EngineHost.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/MemoryBinStream.h"
#include "ClassEngine/Method.h"
#include "ClassEngine/ValueTypes.h"

namespace fixture {

/// Records boxes and answers them with OK.
class RecordingHost : public EngineHost {
 public:
  RecordingHost() : m_Outer(SetEngineHost(this)) {}
  ~RecordingHost() override { SetEngineHost(m_Outer); }
  bool ShowBox(const char* title, const char* text) override {
    Boxes.push_back(std::string(title) + "|" + text);
    return AnswerOk;
  }
  void Log(const char* text) override { LogText += text; }
  int LoadTexture(const char* fileName) override {
    Textures.emplace_back(fileName);
    return int(Textures.size()) - 1;
  }
  std::string GetTextureName(int id) override { return size_t(id) < Textures.size() ? Textures[size_t(id)] : ""; }

  std::vector<std::string> Boxes, Textures;
  std::string LogText;
  bool AnswerOk = true;

 private:
  EngineHost* m_Outer;
};

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

/// Puts values that differ from the default into every member, by its tag, `depth` containers deep. The name of a member whose
/// tag has no filler is the answer; empty when all were filled.
std::string FillNonDefault(BaseClass& object, int& seed, int depth = 2);

}  // namespace fixture
