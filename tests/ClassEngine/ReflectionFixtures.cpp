#include "ClassEngine/ReflectionFixtures.h"

#include <algorithm>

#include "ClassEngine/ClassHelp.h"

namespace fixture {

DECLARE_MEMBERS(Values) {
  Member<_bool>("Flag", Flag);
  Member<_int>("Number", Number).Range(-1000000, 1000000);
  Member<_index>("Kind", Kind, "FixtureShapes").Entries({"Ball", "Box", "Cone"});
  Member<_float>("Size", Size).Unit("units");
  Member<_BYTE>("Byte", Byte);
  Member<_char>("Char", Char);
  Member<_short>("Short", Short);
  Member<_WORD>("Word", Word);
  Separator("Looks");
  Member<_color>("Tint", Tint);
  Member<_DWORD>("Bits", Bits);
  Member<_TextureID>("Texture", Texture);
  Member<CtrlFSlider>("Strength", Strength, {0.1f, 1, 0.25f});
  Member<CtrlISlider>("Count", Count, {1, 100000, 4}).Hint("How many");
  Member<_cFloat3>("Center", Center);
  Member<_str>("Text", Text);
  Member<_WinFont>("Font", Font);
  Member<_str_ref>("Elsewhere", Elsewhere);
}
DECLARE_MEMBERS(LibraryValues) {
  Member<_cBool>("Flag", Flag);
  Member<_cInt>("Number", Number).Range(-20000000, 20000000);
  Caption<_cLabel>("Sliders");
  Member<_cSliderI>("Slide", Slide, {0, 100, 3});
  Member<_cEditSliderI>("Typed", Typed, {0, 100, 4});
  Member<_cSliderRangedI>("Kept", Kept, {-100, 100, 5});
  Member<_cImageID>("Image", Image);
  Member<_cFloat>("Size", Size);
  Member<_cSliderF>("SlideF", SlideF, {0, 1, 0.25f});
  Member<_cEditSliderF>("TypedF", TypedF, {0, 1, 0.5f});
  Member<_cSliderRangedF>("KeptF", KeptF, {0.1f, 1, 0.75f});
  Caption<_cSeparator>("Numbers");
  Member<_cFloat2>("Corner", Corner);
  Member<_cFloat3>("Center", Center);
  Member<_cFloat4>("Plane", Plane);
  Member<_cVec2i>("Cell", Cell);
  Member<_cVec3i>("Block", Block);
  Member<_cIndex>("Kind", Kind, "FixtureShapes").Entries({"Ball", "Box", "Cone"});
  Member<_cColor>("Tint", Tint);
  Member<_cStr>("Text", Text);
  Member<_cBind>("Bound", Bound);
  Member<_cImageFile>("Picture", Picture);
  Member<_cSoundFile>("Sound", Sound);
  Member<_cModelFile>("Model", Model);
  Member<_cAnimFile>("Motion", Motion);
  Member<_cCameraFile>("Camera", Camera);
  Member<_cBspFile>("Level", Level);
  Member<_cXmlFile>("Settings", Settings);
  Member<cClassList<Values>>("Items", Items);
  Method<_cButton>("Press", &LibraryValues::Press);
}
DECLARE_MEMBERS(Branch) {
  Member<Values>("Nested", Nested);
  Member<ClassArray<Values>>("Mixed", Mixed);
  Member<ClonesArray<Branch>>("Clones", Clones);
  Member<ClassPtr<Values>>("Single", Single);
}
DECLARE_MEMBERS(Leaf) { Member<_int>("Veins", Veins); }
DECLARE_MEMBERS(Unmentioned) { Member<_int>("Depth", Depth); }

bool IsOneOf(const std::string& tag, std::initializer_list<std::string_view> tags) {
  return std::find(tags.begin(), tags.end(), tag) != tags.end();
}

REGISTER_CLASS(Values, "Plain");
REGISTER_CLASS(LibraryValues, "Plain");
REGISTER_CLASS(Branch, nullptr);
REGISTER_CLASS(Leaf, "Plants");
REGISTER_CLASS(Unmentioned, "Plain");

namespace {

// Values that six decimals print exactly and that every range holds.
bool FillValue(BaseClass& object, const OneClassMember& member, const std::string& tag, int n) {
  std::string error, text;
  if (IsOneOf(tag, {"_bool", "_cBool"})) {
    GetMemberText(object, member.Name, text);
    text = text == "true" ? "false" : "true";
  } else if (IsOneOf(tag, {"_index", "_cIndex"})) {
    const auto& names = *static_cast<const Enumerator*>(member.Extra);
    GetMemberText(object, member.Name, text);
    text = names.EnumName((names.FindIndex(text.c_str()) + 1) % names.GetCount());
  } else if (IsOneOf(tag, {"_int", "_BYTE", "_char", "_short", "_WORD", "_cInt"})) {
    text = std::to_string(20 + n % 100);
  } else if (dynamic_cast<const WithSliderRange*>(member.Type)) {
    const bool whole = !dynamic_cast<const ValueType&>(*member.Type).HoldsFloats();
    const auto& range = *static_cast<const SliderRange*>(member.Extra);
    const float steps = float(1 + n % 6) / 8;
    const float value = range.MinValue + (range.MaxValue - range.MinValue) * steps;
    const float cut = float(int(value));
    text = std::to_string(whole || cut > range.MinValue ? cut : value);
    if (whole) text.resize(text.find('.'));
  } else if (IsOneOf(tag, {"_float", "_cFloat"})) {
    text = std::to_string(1 + n % 100) + ".125";
  } else if (IsOneOf(tag, {"_color", "_DWORD", "_cColor"})) {
    text = "FE" + std::to_string(1000 + n % 1000);
  } else if (IsOneOf(tag, {"_TextureID", "_cImageID"})) {
    text = "Texture" + std::to_string(n) + ".png";
  } else if (IsOneOf(tag, {"_cFloat2", "_cFloat3", "_cFloat4"})) {
    text = std::to_string(n) + ".1 -2.7 1e-9 4";
    text.resize(text.size() - (tag == "_cFloat2" ? 7 : tag == "_cFloat3" ? 2 : 0));
  } else if (IsOneOf(tag, {"_cVec2i", "_cVec3i"})) {
    text = std::to_string(n) + (tag == "_cVec2i" ? " -2147483648" : " -2 2147483647");
  } else if (tag.ends_with("File") || IsOneOf(tag, {"_str", "_WinFont", "_cStr", "_cBind"})) {
    text = "<text & " + std::to_string(n) + "> of it";
  } else {
    return false;
  }
  return SetMemberFromText(object, member.Name, text, error);
}

}  // namespace

std::string FillNonDefault(BaseClass& object, int& seed, int depth) {
  object.RegisterMembers();
  for (const OneClassMember* member : object.GetClassDesc()->Members) {
    BaseClass* type = member->Type;
    void* data = member->GetData(&object);
    const std::string tag = type->GetClassName();
    if (dynamic_cast<const WithoutStorage*>(type) || tag == "_str_ref") continue;
    if (tag != "_str" && tag != "_WinFont" && type->IsReflected()) {
      auto* part = static_cast<BaseClass*>(data);
      std::string missing;
      if (!part->GetExpansionRules()) {
        missing = FillNonDefault(*part, seed, depth);
      } else if (depth) {
        AddableClasses classes;
        part->GetAddableClasses(classes, part, nullptr);
        for (const char* name : classes.Names) {
          const int32_t i = part->ExpandWith(name);
          if (i < 0) return std::string(name) + " in " + member->Name;
          missing += FillNonDefault(*static_cast<BaseClass*>(part->GetElementData(i, part)), seed, depth - 1);
        }
      }
      if (!missing.empty()) return missing;
    } else if (!FillValue(object, *member, tag, ++seed)) {
      return std::string(object.GetClassName()) + "::" + member->Name;
    }
  }
  return {};
}

}  // namespace fixture
