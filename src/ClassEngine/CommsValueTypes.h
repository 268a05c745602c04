#pragma once
// Type tags of the engine library's own objects, beside those of ValueTypes.h on the same engine: a class may use both.
//
//   tag                            storage              XML text
//   _cBool                         bool                 true, false
//   _cInt, the sliders ..I         int32, 32-bit enum   decimal
//   _cFloat, the sliders ..F       float                shortest form that reads back the same
//   _cFloat2 _cFloat3 _cFloat4     floats x, y, z, w    the numbers with blanks between
//   _cVec2i _cVec3i                int32 x, y, z        the numbers with blanks between
//   _cIndex                        int32, 32-bit enum   name of the enumerator's entry; an unknown one is entry 0
//   _cColor                        0xAARRGGBB           eight hexadecimal digits
//   _cStr, _cBind, the files       std::string          the text
//   _cImageID                      int32                file name of the image; nothing for -1
//   _cSeparator, _cLabel           nothing              nothing
// _cButton stands in CommsClasses.h. In binary each is its storage, little-endian, and a text as in _str. What can't be read
// leaves the value as it was, with the message "Parsing error during ...".
#include "ClassEngine/ValueBases.h"

/// What these tags and containers have in common: the wording of their messages.
struct CommsTag {};

/// Name of a tag.
#define COMMS_VALUE_TYPE(Tag)                           \
 public:                                                \
  static const char* StaticClassName() { return #Tag; } \
  static constexpr const char* Failure = "Parsing error during \"" #Tag "\" read from XML: ";

class _cInt : public NumbersValue<_cInt, int32_t, 1>, public CommsTag {
  COMMS_VALUE_TYPE(_cInt)
};
class _cFloat : public NumbersValue<_cFloat, float, 1>, public CommsTag {
  COMMS_VALUE_TYPE(_cFloat)
};
class _cFloat2 : public NumbersValue<_cFloat2, float, 2>, public CommsTag {
  COMMS_VALUE_TYPE(_cFloat2)
};
class _cFloat3 : public NumbersValue<_cFloat3, float, 3>, public CommsTag {
  COMMS_VALUE_TYPE(_cFloat3)
};
class _cFloat4 : public NumbersValue<_cFloat4, float, 4>, public CommsTag {
  COMMS_VALUE_TYPE(_cFloat4)
};
class _cVec2i : public NumbersValue<_cVec2i, int32_t, 2>, public CommsTag {
  COMMS_VALUE_TYPE(_cVec2i)
};
class _cVec3i : public NumbersValue<_cVec3i, int32_t, 3>, public CommsTag {
  COMMS_VALUE_TYPE(_cVec3i)
};

/// Unlike _bool it tells a text that is neither true nor false.
class _cBool : public BoolValue<_cBool>, public CommsTag {
  COMMS_VALUE_TYPE(_cBool)
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override;
};
class _cColor : public HexValue<_cColor>, public CommsTag {
  COMMS_VALUE_TYPE(_cColor)
};
class _cIndex : public IndexValue<_cIndex>, public CommsTag {
  COMMS_VALUE_TYPE(_cIndex)
};
class _cImageID : public TextureValue<_cImageID>, public CommsTag {
  COMMS_VALUE_TYPE(_cImageID)
};

// --- sliders -------------------------------------------------------------------------------------
/// A number with a range that panels show as a track.
template <class Self, class T>
class SliderValue : public NumbersValue<Self, T, 1>, public WithSliderRange, public CommsTag {};

/// A slider whose range holds for files too: what they say is brought into it.
template <class Self, class T>
class RangedSliderValue : public SliderValue<Self, T> {
  using Base = SliderValue<Self, T>;

 public:
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override {
    if (!Base::Load(node, data, errors, extra)) return false;
    Clamp(data, extra);
    return true;
  }
  bool LoadBin(void* data, void* extra, BinStream& stream, const LargeNameHash* names) override {
    if (!Base::LoadBin(data, extra, stream, names)) return false;
    Clamp(data, extra);
    return true;
  }

 private:
  static void Clamp(void* data, void* extra) {
    if (!extra) return;
    const auto& range = *static_cast<const SliderRange*>(extra);
    auto value = Base::Get(data);
    if (!(double(value.Values[0]) >= range.MinValue)) value.Values[0] = T(range.MinValue);  // NaN too
    if (double(value.Values[0]) > range.MaxValue) value.Values[0] = T(range.MaxValue);
    Base::Set(data, value);
  }
};

class _cSliderI : public SliderValue<_cSliderI, int32_t> {
  COMMS_VALUE_TYPE(_cSliderI)
};
class _cSliderF : public SliderValue<_cSliderF, float> {
  COMMS_VALUE_TYPE(_cSliderF)
};
/// With a field to type in beside the track.
class _cEditSliderI : public SliderValue<_cEditSliderI, int32_t> {
  COMMS_VALUE_TYPE(_cEditSliderI)
};
class _cEditSliderF : public SliderValue<_cEditSliderF, float> {
  COMMS_VALUE_TYPE(_cEditSliderF)
};
class _cSliderRangedI : public RangedSliderValue<_cSliderRangedI, int32_t> {
  COMMS_VALUE_TYPE(_cSliderRangedI)
};
class _cSliderRangedF : public RangedSliderValue<_cSliderRangedF, float> {
  COMMS_VALUE_TYPE(_cSliderRangedF)
};

// --- texts ---------------------------------------------------------------------------------------
class _cStr : public TextValue<_cStr>, public CommsTag {
  COMMS_VALUE_TYPE(_cStr)
};
/// The name of what a control is bound to.
class _cBind : public TextValue<_cBind>, public CommsTag {
  COMMS_VALUE_TYPE(_cBind)
};
// Names of files, by what is in them.
class _cImageFile : public TextValue<_cImageFile>, public CommsTag {
  COMMS_VALUE_TYPE(_cImageFile)
};
class _cSoundFile : public TextValue<_cSoundFile>, public CommsTag {
  COMMS_VALUE_TYPE(_cSoundFile)
};
class _cModelFile : public TextValue<_cModelFile>, public CommsTag {
  COMMS_VALUE_TYPE(_cModelFile)
};
class _cAnimFile : public TextValue<_cAnimFile>, public CommsTag {
  COMMS_VALUE_TYPE(_cAnimFile)
};
class _cCameraFile : public TextValue<_cCameraFile>, public CommsTag {
  COMMS_VALUE_TYPE(_cCameraFile)
};
class _cBspFile : public TextValue<_cBspFile>, public CommsTag {
  COMMS_VALUE_TYPE(_cBspFile)
};
class _cXmlFile : public TextValue<_cXmlFile>, public CommsTag {
  COMMS_VALUE_TYPE(_cXmlFile)
};

// --- rows without a value ------------------------------------------------------------------------
/// A line; declared by Caption<_cSeparator>(text).
class _cSeparator : public CaptionValue<_cSeparator>, public CommsTag {
  COMMS_VALUE_TYPE(_cSeparator)
};
/// A text; declared by Caption<_cLabel>(text).
class _cLabel : public CaptionValue<_cLabel>, public CommsTag {
  COMMS_VALUE_TYPE(_cLabel)
};
