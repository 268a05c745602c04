#include "ClassEngine/ReflectionFixtures.h"

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
DECLARE_MEMBERS(Branch) {
  Member<Values>("Nested", Nested);
  Member<ClassArray<Values>>("Mixed", Mixed);
  Member<ClonesArray<Branch>>("Clones", Clones);
  Member<ClassPtr<Values>>("Single", Single);
}
DECLARE_MEMBERS(Leaf) { Member<_int>("Veins", Veins); }
DECLARE_MEMBERS(Unmentioned) { Member<_int>("Depth", Depth); }

REGISTER_CLASS(Values, "Plain");
REGISTER_CLASS(Branch, nullptr);
REGISTER_CLASS(Leaf, "Plants");
REGISTER_CLASS(Unmentioned, "Plain");

namespace {

// Values that six decimals print exactly and that every range holds.
bool FillValue(BaseClass& object, const OneClassMember& member, const std::string& tag, int n) {
  std::string error, text;
  if (tag == "_bool") {
    GetMemberText(object, member.Name, text);
    text = text == "true" ? "false" : "true";
  } else if (tag == "_index") {
    const auto& names = *static_cast<const Enumerator*>(member.Extra);
    GetMemberText(object, member.Name, text);
    text = names.EnumName((names.FindIndex(text.c_str()) + 1) % names.GetCount());
  } else if (tag == "_int" || tag == "_BYTE" || tag == "_char" || tag == "_short" || tag == "_WORD") {
    text = std::to_string(20 + n % 100);
  } else if (tag == "CtrlISlider" || tag == "CtrlFSlider") {
    const auto& range = *static_cast<const SliderRange*>(member.Extra);
    const float steps = float(1 + n % 6) / 8;
    const float value = range.MinValue + (range.MaxValue - range.MinValue) * steps;
    const float whole = float(int(value));
    text = std::to_string(tag == "CtrlISlider" || whole > range.MinValue ? whole : value);
    if (tag == "CtrlISlider") text.resize(text.find('.'));
  } else if (tag == "_float") {
    text = std::to_string(1 + n % 100) + ".125";
  } else if (tag == "_color" || tag == "_DWORD") {
    text = "FE" + std::to_string(1000 + n % 1000);
  } else if (tag == "_TextureID") {
    text = "Texture" + std::to_string(n) + ".png";
  } else if (tag == "_cFloat3") {
    text = std::to_string(n) + ".1 -2.7 1e-9";
  } else if (tag == "_str" || tag == "_WinFont") {
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
    if (tag == "Delimiter" || type->IsMethod() || tag == "_str_ref") continue;
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
