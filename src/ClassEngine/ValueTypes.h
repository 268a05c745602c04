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
//   _str_ref               _str*                   the text of the string that is pointed to, if any
//   Delimiter              nothing                 nothing
// In binary each is its storage, little-endian. The tags of the engine library's own objects stand in CommsValueTypes.h.
#include "ClassEngine/CommsValueTypes.h"
#include "ClassEngine/Str.h"
#include "ClassEngine/ValueBases.h"

/// Name of a tag.
#define VALUE_TYPE(Tag) \
 public:                \
  static const char* StaticClassName() { return #Tag; }
/// The same for one that can fail to read, with the word for it.
#define READ_VALUE_TYPE(Tag, Word) \
  VALUE_TYPE(Tag)                  \
  static constexpr const char* Failure = "unable to read " Word " from XML: ";

class _bool : public BoolValue<_bool> {
  VALUE_TYPE(_bool)
};
class _int : public IntegerValue<_int, int32_t> {
  READ_VALUE_TYPE(_int, "DWORD")
};
class CtrlISlider : public IntegerValue<CtrlISlider, int32_t>, public WithSliderRange {
  READ_VALUE_TYPE(CtrlISlider, "DWORD")
};
class _BYTE : public IntegerValue<_BYTE, uint8_t> {
  READ_VALUE_TYPE(_BYTE, "BYTE")
};
class _char : public IntegerValue<_char, int8_t> {
  READ_VALUE_TYPE(_char, "char")
};
class _short : public IntegerValue<_short, int16_t> {
  READ_VALUE_TYPE(_short, "short")
};
class _WORD : public IntegerValue<_WORD, uint16_t> {
  READ_VALUE_TYPE(_WORD, "WORD")
};
class _float : public FloatValue<_float> {
  READ_VALUE_TYPE(_float, "float")
};
class CtrlFSlider : public FloatValue<CtrlFSlider>, public WithSliderRange {
  READ_VALUE_TYPE(CtrlFSlider, "float")
};
class _color : public HexValue<_color> {
  READ_VALUE_TYPE(_color, "DWORD")
};
class _DWORD : public HexValue<_DWORD> {
  READ_VALUE_TYPE(_DWORD, "DWORD")
};
class _index : public IndexValue<_index> {
  VALUE_TYPE(_index)
};
class _TextureID : public TextureValue<_TextureID> {
  VALUE_TYPE(_TextureID)
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

/// A line of a panel with a caption. Declared by Separator.
class Delimiter : public CaptionValue<Delimiter> {
  VALUE_TYPE(Delimiter)
};
