#pragma once
// What the type tags of plain values are made of: for each form of storage and text one template. `Self` is the tag; one that can
// fail to read says in `Self::Failure` how the message begins.
#include <algorithm>
#include <concepts>
#include <cstring>
#include <limits>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Str.h"

/// What the plain values share. T is the storage.
template <class Self, class T>
class PlainValue : public ValueType {
 public:
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
/// The text of `node` could not be read: `failure` with that text and a line end behind it. False.
bool ReportUnread(const XmlNode* node, XmlErrorLog* errors, const char* failure);
void SaveInteger(XmlNode* node, int64_t value);
bool LoadInteger(const XmlNode* node, XmlErrorLog* errors, const char* failure, int64_t low, int64_t high, int64_t& value);
bool ReadInteger(std::string_view text, int64_t low, int64_t high, int64_t& value, std::string& expected);
void SaveFloat(XmlNode* node, float value);
bool LoadFloat(const XmlNode* node, XmlErrorLog* errors, const char* failure, float& value);
/// A whole text that is one finite number.
bool ReadFloat(std::string_view text, float& value, std::string& expected);
void SaveHex(XmlNode* node, uint32_t value);
bool LoadHex(const XmlNode* node, XmlErrorLog* errors, const char* failure, uint32_t& value);
bool ReadHex(std::string_view text, uint32_t& value, std::string& expected);
/// One to four numbers with blanks between, floats in the shortest form that reads back the same. T is float or int32_t.
template <class T>
void SaveNumbers(XmlNode* node, const T* values, int count);
template <class T>
bool LoadNumbers(const XmlNode* node, XmlErrorLog* errors, const char* failure, T* values, int count);
/// Commas may stand for blanks here.
template <class T>
bool ReadNumbers(std::string_view text, T* values, int count, std::string& expected);
void SaveIndex(XmlNode* node, int32_t value, const char* tag, void* extra);
bool LoadIndex(const XmlNode* node, XmlErrorLog* errors, const char* tag, void* extra, int32_t& value);
bool ReadIndex(std::string_view text, void* extra, int32_t& value, std::string& expected);
void SaveTexture(XmlNode* node, int32_t id);
int32_t LoadTexture(std::string_view name);
bool ReadTexture(std::string_view text, int32_t& id, std::string& expected);
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
    if (!reflection::LoadInteger(node, errors, Self::Failure, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(),
                                 value))
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
  bool HoldsFloats() const override { return true; }
  template <class M>
  static constexpr bool Fits = std::is_same_v<M, float>;
  bool CheckCompatibility(const char* typeName, size_t) const override { return NormalizeClassName(typeName) == "float"; }
  void Save(XmlNode* node, void* data, void*) override { reflection::SaveFloat(node, Base::Get(data)); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void*) override {
    float value;
    if (!reflection::LoadFloat(node, errors, Self::Failure, value)) return false;
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
    if (!reflection::LoadHex(node, errors, Self::Failure, value)) return false;
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

template <class Self>
class BoolValue : public PlainValue<Self, bool> {
  using Base = PlainValue<Self, bool>;

 public:
  template <class M>
  static constexpr bool Fits = std::is_same_v<M, bool>;
  bool CheckCompatibility(const char* typeName, size_t) const override { return NormalizeClassName(typeName) == "bool"; }
  void Save(XmlNode* node, void* data, void*) override { node->SetValue(Base::Get(data) ? "true" : "false"); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog*, void*) override {
    std::string_view text = node->GetValueView();
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    Base::Set(data, text.starts_with("true"));
    return true;
  }
  // Any byte may come; only 0 and 1 are values of a bool.
  bool LoadBin(void* data, void*, BinStream& stream, const LargeNameHash*) override {
    uint8_t byte;
    if (stream.Read(&byte, 1) != 1) return false;
    Base::Set(data, byte != 0);
    return true;
  }
  bool ReadText(std::string_view text, void* data, void*, std::string& expected) override {
    expected = "true or false";
    if (text != "true" && text != "false") return false;
    Base::Set(data, text == "true");
    return true;
  }
};

/// The value of an enumerator's entry. Between objects with different enumerators it is copied by name.
template <class Self>
class IndexValue : public PlainValue<Self, int32_t>, public WithEnumerator {
  using Base = PlainValue<Self, int32_t>;

 public:
  template <class M>
  static constexpr bool Fits = reflection::IsWhole<M, int32_t>;
  void Save(XmlNode* node, void* data, void* extra) override {
    reflection::SaveIndex(node, Base::Get(data), Self::StaticClassName(), extra);
  }
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override {
    int32_t value;
    if (!reflection::LoadIndex(node, errors, Self::StaticClassName(), extra, value)) return false;
    Base::Set(data, value);
    return true;
  }
  bool FullCopy(void* srcData, void* srcExtra, BaseClass* dst, void* dstData, void* dstExtra, int options) override {
    if (srcExtra == dstExtra || !srcExtra || !dstExtra) return Base::FullCopy(srcData, srcExtra, dst, dstData, dstExtra, options);
    XmlNode scratch;
    Save(&scratch, srcData, srcExtra);
    return dst->Load(&scratch, dstData, nullptr, dstExtra);
  }
  bool ReadText(std::string_view text, void* data, void* extra, std::string& expected) override {
    int32_t value;
    if (!reflection::ReadIndex(text, extra, value, expected)) return false;
    Base::Set(data, value);
    return true;
  }
};

/// Id of a texture at the render back end.
template <class Self>
class TextureValue : public PlainValue<Self, int32_t> {
  using Base = PlainValue<Self, int32_t>;

 public:
  template <class M>
  static constexpr bool Fits = reflection::IsWhole<M, int32_t>;
  void Save(XmlNode* node, void* data, void*) override { reflection::SaveTexture(node, Base::Get(data)); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog*, void*) override {
    Base::Set(data, reflection::LoadTexture(node->GetValueView()));
    return true;
  }
  bool ReadText(std::string_view text, void* data, void*, std::string& expected) override {
    int32_t id;
    if (!reflection::ReadTexture(text, id, expected)) return false;
    Base::Set(data, id);
    return true;
  }
};

template <class T, int N>
struct NumbersStorage {
  T Values[N];
};
/// N numbers of type T, float or int32_t: a single one, an array, or a struct with the members x, y, z, w.
template <class Self, class T, int N>
class NumbersValue : public PlainValue<Self, NumbersStorage<T, N>> {
  static_assert(N >= 1 && N <= 4);
  using Base = PlainValue<Self, NumbersStorage<T, N>>;
  template <class M>
  static constexpr bool HasX = requires(M m) {
    requires std::same_as<decltype(m.x), T>;
  };
  template <class M>
  static constexpr bool HasY = requires(M m) {
    requires std::same_as<decltype(m.y), T>;
  };
  template <class M>
  static constexpr bool HasZ = requires(M m) {
    requires std::same_as<decltype(m.z), T>;
  };
  template <class M>
  static constexpr bool HasW = requires(M m) {
    requires std::same_as<decltype(m.w), T>;
  };
  template <class M>
  static constexpr bool IsPoint = HasX<M>&& HasY<M> && (N < 3 || HasZ<M>)&&(N < 4 || HasW<M>);
  template <class M>
  static constexpr bool IsSingle = std::is_same_v<M, T> || (std::is_same_v<T, int32_t> && std::is_enum_v<M>);

 public:
  template <class M>
  static constexpr bool Fits = sizeof(M) == sizeof(T) * N&& std::is_trivially_copyable_v<M> &&
                               (N == 1 ? IsSingle<M> : IsPoint<M> || std::is_same_v<M, T[N]>);
  bool HoldsFloats() const override { return std::is_same_v<T, float>; }
  bool CheckCompatibility(const char* typeName, size_t size) const override {
    return N == 1 && HoldsFloats() ? NormalizeClassName(typeName) == "float" : size == sizeof(T) * N;
  }
  void Save(XmlNode* node, void* data, void*) override { reflection::SaveNumbers(node, Base::Get(data).Values, N); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void*) override {
    NumbersStorage<T, N> numbers;
    if (!reflection::LoadNumbers(node, errors, Self::Failure, numbers.Values, N)) return false;
    Base::Set(data, numbers);
    return true;
  }
  bool ReadText(std::string_view text, void* data, void*, std::string& expected) override {
    NumbersStorage<T, N> numbers;
    if (!reflection::ReadNumbers(text, numbers.Values, N, expected)) return false;
    Base::Set(data, numbers);
    return true;
  }
  int GetNumbers(const void* data, double (&numbers)[4]) const override {
    const NumbersStorage<T, N> from = Base::Get(data);
    for (int i = 0; i < N; i++) numbers[i] = double(from.Values[i]);
    return N;
  }
};

/// A text in a std::string.
template <class Self>
class TextValue : public ValueType {
 public:
  template <class M>
  static constexpr bool Fits = std::is_same_v<M, std::string>;
  const char* GetClassName() const override { return Self::StaticClassName(); }
  BaseClass* New() const override { return new Self; }
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<Self>(); }
  bool CheckCompatibility(const char*, size_t size) const override { return size == sizeof(std::string); }
  void ResetClass(void* data) override { At(data).clear(); }
  void Save(XmlNode* node, void* data, void*) override { node->SetValue(std::string_view(At(data))); }
  bool Load(const XmlNode* node, void* data, XmlErrorLog*, void*) override {
    At(data) = node->GetValueView();
    return true;
  }
  bool FullCopy(void* srcData, void*, BaseClass*, void* dstData, void*, int) override {
    At(dstData) = At(srcData);
    return true;
  }
  /// As _str.
  void SaveBin(void* data, void*, BinStream& stream, const LargeNameHash* names, const NameHash*) override {
    WriteBinString(stream, At(data), names);
  }
  bool LoadBin(void* data, void*, BinStream& stream, const LargeNameHash* names) override {
    StrBuffer text;
    if (!ReadBinString(stream, text, names)) return false;
    At(data) = text.View();
    return true;
  }
  bool ReadText(std::string_view text, void* data, void*, std::string& expected) override {
    expected = "a text without zero bytes";
    if (text.find('\0') != std::string_view::npos) return false;
    At(data) = text;
    return true;
  }

 private:
  static std::string& At(void* data) { return *static_cast<std::string*>(data); }
};

/// A line or a text of a panel: its name is what it shows. No storage; rows below it are not offered "add...".
template <class Self>
class CaptionValue : public ValueType, public WithoutStorage {
 public:
  const char* GetClassName() const override { return Self::StaticClassName(); }
  BaseClass* New() const override { return new Self; }
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<Self>(); }
  bool IsTransparentElement() const override { return true; }
  void ResetClass(void*) override {}
  void Save(XmlNode*, void*, void*) override {}
  bool Load(const XmlNode*, void*, XmlErrorLog*, void*) override { return true; }
  bool FullCopy(void*, void*, BaseClass*, void*, void*, int) override { return true; }
};
