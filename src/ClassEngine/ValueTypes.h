#pragma once
// Type tags of plain values: what stands first in a declaration and knows how the value is printed, read, stored and checked.
//
//   tag                    storage                 XML text
//   _bool                  bool                    true, false
//   _int, CtrlISlider      int32, 32-bit enum      decimal
//   _BYTE _char _short _WORD   uint8 int8 int16 uint16   decimal
//   _float, CtrlFSlider    float                   six decimals
//   _index                 int32, 32-bit enum      name of the enumerator's entry; an unknown one is entry 0
//   _color, _DWORD         32 bits                 eight hexadecimal digits
//   _TextureID             32 bits                 file name of the texture; nothing for -1
//   _cFloat3               float x, y, z           three numbers, shortest form that reads back the same
//   _str_ref               _str*                   the text of the string that is pointed to, if any
//   Delimiter              nothing                 nothing
// In binary each is its storage, little-endian.
#include <concepts>
#include <cstring>
#include <limits>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Str.h"

/// What the plain values share. T is the storage.
template <class Self, class T>
class PlainValue : public ValueType {
 public:
  using Storage = T;
  void ResetClass(void* data) override { std::memset(data, 0, sizeof(T)); }
  const char* GetClassName() const override { return Self::StaticClassName(); }
  BaseClass* New() const override { return new Self; }
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<Self>(); }
  bool CheckCompatibility(const char*, size_t size) const override { return size == sizeof(T); }
  bool FullCopy(void* srcData, void*, BaseClass*, void* dstData, void*, int) override {
    std::memmove(dstData, srcData, sizeof(T));
    return true;
  }
  void SaveBin(void* data, void*, BinStream& stream, const LargeNameHash*, const NameHash*) override {
    stream.Write(data, sizeof(T));
  }
  bool LoadBin(void* data, void*, BinStream& stream, const LargeNameHash*) override {
    T value;
    if (stream.Read(&value, sizeof(T)) != sizeof(T)) return false;
    std::memcpy(data, &value, sizeof(T));
    return true;
  }

 protected:
  static T Get(const void* data) {
    T value;
    std::memcpy(&value, data, sizeof(T));
    return value;
  }
  static void Set(void* data, T value) { std::memcpy(data, &value, sizeof(T)); }
};

namespace reflection {
void SaveInteger(XmlNode* node, int64_t value);
bool LoadInteger(const XmlNode* node, XmlErrorLog* errors, const char* word, int64_t low, int64_t high, int64_t& value);
bool ReadInteger(std::string_view text, int64_t low, int64_t high, int64_t& value, std::string& expected);
void SaveFloat(XmlNode* node, float value);
bool LoadFloat(const XmlNode* node, XmlErrorLog* errors, float& value);
/// A whole text that is one finite number.
bool ReadFloat(std::string_view text, float& value, std::string& expected);
void SaveHex(XmlNode* node, uint32_t value);
bool LoadHex(const XmlNode* node, XmlErrorLog* errors, uint32_t& value);
bool ReadHex(std::string_view text, uint32_t& value, std::string& expected);
template <class M, class T>
constexpr bool IsWhole = (std::is_integral_v<M> || std::is_enum_v<M>)&&!std::is_same_v<M, bool> && sizeof(M) == sizeof(T);
}  // namespace reflection

template <class Self, class T>
class IntegerValue : public PlainValue<Self, T> {
  using Base = PlainValue<Self, T>;

 public:
  template <class M>
  static constexpr bool Fits = reflection::IsWhole<M, T> && (std::is_enum_v<M> || std::is_signed_v<M> == std::is_signed_v<T>);
  void Save(XmlNode* node, void* data, void*) override { reflection::SaveInteger(node, Base::Get(data)); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void*) override {
    int64_t value;
    if (!reflection::LoadInteger(node, errors, Self::Word, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), value))
      return false;
    Base::Set(data, T(value));
    return true;
  }
  bool ReadText(std::string_view text, void* data, void*, std::string& expected) override {
    int64_t value;
    if (!reflection::ReadInteger(text, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), value, expected))
      return false;
    Base::Set(data, T(value));
    return true;
  }
  int GetNumbers(const void* data, double (&numbers)[4]) const override {
    numbers[0] = double(Base::Get(data));
    return 1;
  }
};

template <class Self>
class FloatValue : public PlainValue<Self, float> {
  using Base = PlainValue<Self, float>;

 public:
  template <class M>
  static constexpr bool Fits = std::is_same_v<M, float>;
  bool CheckCompatibility(const char* typeName, size_t) const override { return NormalizeClassName(typeName) == "float"; }
  void Save(XmlNode* node, void* data, void*) override { reflection::SaveFloat(node, Base::Get(data)); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void*) override {
    float value;
    if (!reflection::LoadFloat(node, errors, value)) return false;
    Base::Set(data, value);
    return true;
  }
  bool ReadText(std::string_view text, void* data, void*, std::string& expected) override {
    float value;
    if (!reflection::ReadFloat(text, value, expected)) return false;
    Base::Set(data, value);
    return true;
  }
  int GetNumbers(const void* data, double (&numbers)[4]) const override {
    numbers[0] = Base::Get(data);
    return 1;
  }
};

template <class Self>
class HexValue : public PlainValue<Self, uint32_t> {
  using Base = PlainValue<Self, uint32_t>;

 public:
  template <class M>
  static constexpr bool Fits = sizeof(M) == 4 && std::is_trivially_copyable_v<M> && !std::is_floating_point_v<M>;
  void Save(XmlNode* node, void* data, void*) override { reflection::SaveHex(node, Base::Get(data)); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void*) override {
    uint32_t value;
    if (!reflection::LoadHex(node, errors, value)) return false;
    Base::Set(data, value);
    return true;
  }
  bool ReadText(std::string_view text, void* data, void*, std::string& expected) override {
    uint32_t value;
    if (!reflection::ReadHex(text, value, expected)) return false;
    Base::Set(data, value);
    return true;
  }
};

/// Name of a tag, and the word that its reading failure uses.
#define VALUE_TYPE(Tag) \
 public:                \
  static const char* StaticClassName() { return #Tag; }

class _bool : public PlainValue<_bool, bool> {
  VALUE_TYPE(_bool)
  template <class M>
  static constexpr bool Fits = std::is_same_v<M, bool>;
  bool CheckCompatibility(const char* typeName, size_t size) const override;
  void Save(XmlNode* node, void* data, void* extra) override;
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override;
  bool LoadBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names) override;
  bool ReadText(std::string_view text, void* data, void* extra, std::string& expected) override;
};
class _int : public IntegerValue<_int, int32_t> {
  VALUE_TYPE(_int)
  static constexpr const char* Word = "DWORD";
};
class CtrlISlider : public IntegerValue<CtrlISlider, int32_t> {
  VALUE_TYPE(CtrlISlider)
  static constexpr const char* Word = "DWORD";
  static constexpr bool HasSliderRange = true;
};
class _BYTE : public IntegerValue<_BYTE, uint8_t> {
  VALUE_TYPE(_BYTE)
  static constexpr const char* Word = "BYTE";
};
class _char : public IntegerValue<_char, int8_t> {
  VALUE_TYPE(_char)
  static constexpr const char* Word = "char";
};
class _short : public IntegerValue<_short, int16_t> {
  VALUE_TYPE(_short)
  static constexpr const char* Word = "short";
};
class _WORD : public IntegerValue<_WORD, uint16_t> {
  VALUE_TYPE(_WORD)
  static constexpr const char* Word = "WORD";
};
class _float : public FloatValue<_float> {
  VALUE_TYPE(_float)
};
class CtrlFSlider : public FloatValue<CtrlFSlider> {
  VALUE_TYPE(CtrlFSlider)
  static constexpr bool HasSliderRange = true;
};
class _color : public HexValue<_color> {
  VALUE_TYPE(_color)
};
class _DWORD : public HexValue<_DWORD> {
  VALUE_TYPE(_DWORD)
};

/// Between objects with different enumerators it is copied by name.
class _index : public PlainValue<_index, int32_t> {
  VALUE_TYPE(_index)
  static constexpr bool HasEnumerator = true;
  template <class M>
  static constexpr bool Fits = reflection::IsWhole<M, int32_t>;
  void Save(XmlNode* node, void* data, void* extra) override;
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override;
  bool FullCopy(void* srcData, void* srcExtra, BaseClass* dst, void* dstData, void* dstExtra, int options) override;
  bool ReadText(std::string_view text, void* data, void* extra, std::string& expected) override;
};
class _TextureID : public PlainValue<_TextureID, int32_t> {
  VALUE_TYPE(_TextureID)
  template <class M>
  static constexpr bool Fits = reflection::IsWhole<M, int32_t>;
  void Save(XmlNode* node, void* data, void* extra) override;
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override;
  bool ReadText(std::string_view text, void* data, void* extra, std::string& expected) override;
};

struct Float3Storage {
  float Values[3];
};
class _cFloat3 : public PlainValue<_cFloat3, Float3Storage> {
  VALUE_TYPE(_cFloat3)
  template <class M>
  static constexpr bool IsPoint = requires(M point) {
    requires std::same_as<decltype(point.x), float> && std::same_as<decltype(point.y), float> &&
        std::same_as<decltype(point.z), float>;
  };
  template <class M>
  static constexpr bool Fits = sizeof(M) == 12 && std::is_trivially_copyable_v<M> && (IsPoint<M> || std::is_same_v<M, float[3]>);
  void Save(XmlNode* node, void* data, void* extra) override;
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override;
  bool ReadText(std::string_view text, void* data, void* extra, std::string& expected) override;
  int GetNumbers(const void* data, double (&numbers)[4]) const override;
};

/// A string held elsewhere. Null holds nothing: it is written empty and not read.
class _str_ref : public ValueType {
  VALUE_TYPE(_str_ref)
  template <class M>
  static constexpr bool Fits = std::is_same_v<M, _str*>;
  const char* GetClassName() const override { return StaticClassName(); }
  BaseClass* New() const override { return new _str_ref; }
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<_str_ref>(); }
  bool CheckCompatibility(const char*, size_t size) const override { return size == sizeof(_str*); }
  /// Empties the string that is pointed to.
  void ResetClass(void* data) override;
  void Save(XmlNode* node, void* data, void* extra) override;
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override;
  void SaveBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names, const NameHash* skip) override;
  bool LoadBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names) override;
  bool ReadText(std::string_view text, void* data, void* extra, std::string& expected) override;

 private:
  static _str* At(void* data) { return *static_cast<_str**>(data); }
};

/// A line of a panel; its name is the caption. No storage. Declared by Separator.
class Delimiter : public ValueType {
  VALUE_TYPE(Delimiter)
  const char* GetClassName() const override { return StaticClassName(); }
  BaseClass* New() const override { return new Delimiter; }
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<Delimiter>(); }
  bool IsTransparentElement() const override { return true; }
  void ResetClass(void*) override {}
  void Save(XmlNode*, void*, void*) override {}
  bool Load(const XmlNode*, void*, XmlErrorLog*, void*) override { return true; }
  bool FullCopy(void*, void*, BaseClass*, void*, void*, int) override { return true; }
};
