#include "ClassEngine/ReflectionFixtures.h"

#include "ClassEngine/ClassHelp.h"

using namespace std::literals;

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
  Member<_cSliderRangedI>("Kept", Kept, {-100, 100, 5});
  Member<_cFloat>("Size", Size);
  Member<_cSliderF>("SlideF", SlideF, {0, 1, 0.25f});
  Member<_cSliderRangedF>("KeptF", KeptF, {0.1f, 1, 0.75f});
  Member<_cFloat2>("Corner", Corner);
  Member<_cFloat4>("Plane", Plane);
  Member<_cVec2i>("Cell", Cell);
  Member<_cImageFile>("Picture", Picture);
  Member<cClassList<Values>>("Items", Items);
}
DECLARE_MEMBERS(Branch) {
  Member<Values>("Nested", Nested);
  Member<ClassArray<Values>>("Mixed", Mixed);
  Member<ClonesArray<Branch>>("Clones", Clones);
  Member<ClassPtr<Values>>("Single", Single);
}
DECLARE_MEMBERS(Leaf) { Member<_int>("Veins", Veins); }

REGISTER_CLASS(Values, "Plain");
REGISTER_CLASS(LibraryValues, "Plain");
REGISTER_CLASS(Branch, "Plain");
REGISTER_CLASS(Leaf, "Plants");

// The first of these texts that the member takes, and that changes it. Six decimals print the numbers exactly.
static bool FillValue(BaseClass& object, const char* name, int n) {
  const std::string number = std::to_string(n), three = number + ".1 -2.7 1e-9";
  std::string before, after, error;
  GetMemberText(object, name, before);
  for (const std::string& text : {"<text & " + number + "> of it", "FE" + std::to_string(1000 + n), "true"s, "false"s, "Box"s,
                                  "Cone"s, three.substr(0, three.size() - 5), three, three + " 4", number + " -2147483648",
                                  number + ".125", "0." + std::to_string(2 + n % 7) + "25", std::to_string(20 + n % 70)})
    if (SetMemberFromText(object, name, text, error) && GetMemberText(object, name, after) && after != before) return true;
  return false;
}

std::string FillNonDefault(BaseClass& object, int& seed, int depth) {
  std::string missing;
  object.RegisterMembers();
  for (const OneClassMember* member : object.GetClassDesc()->Members) {
    BaseClass* type = member->Type;
    if (dynamic_cast<const WithoutStorage*>(type) || dynamic_cast<const _str_ref*>(type)) continue;
    if (!type->IsReflected() || dynamic_cast<const _str*>(type)) {
      if (!FillValue(object, member->Name, ++seed)) missing += std::string(object.GetClassName()) + "::" + member->Name + " ";
      continue;
    }
    auto* part = static_cast<BaseClass*>(member->GetData(&object));
    if (!part->GetExpansionRules()) missing += FillNonDefault(*part, seed, depth);
    AddableClasses classes;
    if (depth) part->GetAddableClasses(classes, part, nullptr);
    for (const char* name : classes.Names) {
      auto* item = static_cast<BaseClass*>(part->GetElementData(part->ExpandWith(name), part));
      missing += item ? FillNonDefault(*item, seed, depth - 1) : std::string(name) + " in " + member->Name + " ";
    }
  }
  return missing;
}

}  // namespace fixture
