#include "ClassEngine/ClassHelp.h"

#include <charconv>
#include <memory>

#include "ClassEngine/Declare.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ValueText.h"

namespace {

const OneClassDesc* GetDeclared(const BaseClass& object) {
  const OneClassDesc* desc = object.GetClassDesc();
  if (desc && !desc->Declared) delete object.New();
  return desc;
}

bool HoldsValue(const OneClassMember& member) { return member.Type && !dynamic_cast<const WithoutStorage*>(member.Type); }

bool HoldsFloats(const OneClassMember& member) {
  const auto* type = dynamic_cast<const ValueType*>(member.Type);
  return type && type->HoldsFloats();
}

double GetPrintedNumber(float value) {
  const std::string text = PrintShortest(value);
  double number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

bool GetRange(const OneClassMember& member, double& low, double& high) {
  if (member.Help.HasRange) {
    low = member.Help.MinValue;
    high = member.Help.MaxValue;
    return true;
  }
  if (dynamic_cast<const WithSliderRange*>(member.Type)) {
    if (!member.Extra) return false;
    const auto& range = *static_cast<const SliderRange*>(member.Extra);
    // The decimal text of the bounds is what was declared, and what a person types: 0.1 as a float is a little more.
    low = GetPrintedNumber(range.MinValue);
    high = GetPrintedNumber(range.MaxValue);
    return true;
  }
  return false;
}

// A bound and a value are compared as floats where the value is one.
bool IsInRange(double value, double low, double high, bool isFloat) {
  return isFloat ? float(value) >= float(low) && float(value) <= float(high) : value >= low && value <= high;
}

std::string GetText(const OneClassMember& member, BaseClass& object) {
  void* data = member.GetData(&object);
  if (!data) return {};
  StrBuffer text;
  double numbers[4];
  // Six decimals would hide a small number.
  if (HoldsFloats(member) && member.Type->GetNumbers(data, numbers) == 1) return PrintShortest(float(numbers[0]));
  BaseClass::GetReceiver(member.Type, data)->GetValueText(text, data, member.Extra, "value");
  return std::string(text.View());
}

std::string Shorten(std::string_view text) {
  constexpr size_t most = 80;
  return text.size() <= most ? std::string(text) : std::string(text.substr(0, most)) + "...";
}

std::string DescribeRange(double low, double high) { return " from " + PrintNumber(low) + " to " + PrintNumber(high); }

}  // namespace

std::vector<MemberInfo> DescribeMembers(const BaseClass& object) {
  std::vector<MemberInfo> infos;
  const OneClassDesc* desc = GetDeclared(object);
  const std::unique_ptr<BaseClass> fresh(object.New());
  if (!desc || !fresh) return infos;
  for (const OneClassMember* member : desc->Members) {
    if (!HoldsValue(*member)) continue;
    MemberInfo& info = infos.emplace_back();
    info.Name = member->Name;
    info.Type = member->Type->GetClassName();
    info.Unit = member->Help.Unit;
    info.Hint = member->Help.Hint;
    info.Default = GetText(*member, *fresh);
    info.HasRange = GetRange(*member, info.MinValue, info.MaxValue);
    info.ReadOnly = member->ReadOnly;
    info.Hidden = member->HiddenInPanel;
    if (!dynamic_cast<const WithEnumerator*>(member->Type) || !member->Extra) continue;
    const auto& names = *static_cast<const Enumerator*>(member->Extra);
    for (int32_t i = 0; i < names.GetCount(); i++) info.Entries.emplace_back(names.EnumName(i));
  }
  return infos;
}

bool GetMemberText(BaseClass& object, std::string_view memberName, std::string& text) {
  const OneClassDesc* desc = GetDeclared(object);
  const OneClassMember* member = desc ? desc->FindMember(memberName) : nullptr;
  if (!member || !HoldsValue(*member)) return false;
  text = GetText(*member, object);
  return true;
}

bool SetMemberFromText(BaseClass& object, std::string_view memberName, std::string_view text, std::string& error) {
  const OneClassDesc* desc = GetDeclared(object);
  OneClassMember* member = desc ? desc->FindMember(memberName) : nullptr;
  const std::string name = Shorten(memberName);
  if (!member || !HoldsValue(*member)) {
    error = std::string(object.GetClassName()) + " has no member " + name;
    return false;
  }
  void* data = member->GetData(&object);
  if (!data) {
    error = name + " has no place for a value";
    return false;
  }
  BaseClass* receiver = BaseClass::GetReceiver(member->Type, data);
  double low = 0, high = 0, numbers[4];
  const bool hasRange = GetRange(*member, low, high);
  std::string expected;
  // A number is read aside first: out of range it must not reach the object.
  alignas(16) char aside[16] = {};
  const int count = receiver->GetNumbers(aside, numbers);
  const bool isFloat = HoldsFloats(*member);
  bool good = receiver->ReadText(text, count ? aside : data, member->Extra, expected);
  if (good && count) {
    receiver->GetNumbers(aside, numbers);
    if (hasRange)
      for (int i = 0; i < count; i++) good = good && IsInRange(numbers[i], low, high, isFloat);
    if (!good) receiver->ReadText("", aside, member->Extra, expected);  // for the words of what is wanted
    if (good) receiver->ReadText(text, data, member->Extra, expected);
  }
  if (!good) {
    error = name + ": expected " + expected + (hasRange && count ? DescribeRange(low, high) : "") + ", found \"" + Shorten(text) +
            "\"";
    return false;
  }
  member->NotifySet(&object, data);
  return true;
}
