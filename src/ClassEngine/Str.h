#pragma once
// The reflected string.
#include <string>
#include <string_view>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/StrBuffer.h"

/// Tag and C++ type in one.
class _str : public BaseClass, public StrBuffer {
 public:
  static const char* StaticClassName() { return "_str"; }
  _str() = default;
  _str(const char* text) { Assign(text); }
  _str(std::string_view text) { Assign(text); }
  _str(const std::string& text) { Assign(std::string_view(text)); }
  _str(const _str& other) : BaseClass(other), StrBuffer(other) {}
  _str(_str&& other) noexcept : BaseClass(), StrBuffer(std::move(other)) {}
  _str& operator=(const _str& other) {
    Assign(other.View());
    return *this;
  }
  _str& operator=(_str&& other) noexcept {
    Swap(other);
    return *this;
  }
  _str& operator=(const char* text) {
    Assign(text);
    return *this;
  }
  _str& operator=(std::string_view text) {
    Assign(text);
    return *this;
  }
  _str& operator=(const std::string& text) {
    Assign(std::string_view(text));
    return *this;
  }
  /// Never null.
  const char* c_str() const { return Get(); }
  std::string ToString() const { return std::string(View()); }
  friend bool operator==(const _str& a, const _str& b) { return a.View() == b.View(); }
  friend bool operator==(const _str& a, std::string_view b) { return a.View() == b; }
  friend bool operator==(const _str& a, const char* b) { return a.View() == std::string_view(b ? b : ""); }
  friend bool operator==(const _str& a, const std::string& b) { return a.View() == b; }

  void ResetClass(void*) override { Release(); }
  void Save(XmlNode* node, void* data = nullptr, void* extra = nullptr) override;
  bool Load(const XmlNode* node, void* data = nullptr, XmlErrorLog* errors = nullptr, void* extra = nullptr) override;
  const char* GetClassName() const override { return StaticClassName(); }
  int32_t GetElementCount() override { return 0; }
  bool IsReflected() const override { return true; }
  bool FullCopy(void* srcData, void* srcExtra, BaseClass* dst, void* dstData, void* dstExtra, int options = 0) override;
  /// A length above 65535 is written cut to 16 bits, with all bytes behind it, which can't be read back.
  void SaveBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names = nullptr,
               const NameHash* skip = nullptr) override;
  bool LoadBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names = nullptr) override;
  void SetParentDeep(BaseClass* parent) override { Parent = parent; }
  BaseClass* New() const override { return new _str; }
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<_str>(); }
  bool ReadText(std::string_view text, void* data, void* extra, std::string& expected) override;

 private:
  static _str& At(void* data) { return *static_cast<_str*>(static_cast<BaseClass*>(data)); }
};

/// The string form shared by _str and the class names in containers: a length in one byte (below 254) or 254 and 16 bits, then
/// the bytes; or 255 and the 16-bit index of the text in `names`.
void WriteBinString(BinStream& stream, std::string_view text, const LargeNameHash* names);
/// False where the stream ends early. An index without a table or an entry gives "".
bool ReadBinString(BinStream& stream, StrBuffer& text, const LargeNameHash* names);

/// The description of a font, as one string.
class _WinFont : public _str {
 public:
  static const char* StaticClassName() { return "_WinFont"; }
  using _str::_str;
  using _str::operator=;
  const char* GetClassName() const override { return StaticClassName(); }
  BaseClass* New() const override { return new _WinFont; }
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<_WinFont>(); }
};
