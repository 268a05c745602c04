#include "interface/ValueBinding.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/StrBuffer.h"
#include "ClassEngine/ValueText.h"

std::string ValueBinding::GetText() const {
  if (!IsBound()) return {};
  StrBuffer text;
  BaseClass::GetReceiver(Type, Data)->GetValueText(text, Data, Extra, "value");
  return std::string(text.View());
}

bool ValueBinding::SetText(std::string_view text, std::string& expected) const {
  if (!IsBound()) return false;
  return BaseClass::GetReceiver(Type, Data)->ReadText(text, Data, Extra, expected);
}

double ValueBinding::GetNumber() const {
  double numbers[4] = {};
  if (!IsBound() || BaseClass::GetReceiver(Type, Data)->GetNumbers(Data, numbers) < 1) return 0;
  return numbers[0];
}

bool ValueBinding::IsWhole() const {
  const auto* type = dynamic_cast<const ValueType*>(Type);
  return type && !type->HoldsFloats();
}

bool ValueBinding::SetNumber(double value) const {
  if (!IsBound() || !std::isfinite(value)) return false;
  const double before = GetNumber();
  std::string expected;
  if (IsWhole()) {
    const double held = std::clamp(std::round(value), -2147483648.0, 2147483647.0);
    if (!SetText(std::to_string(int64_t(held)), expected)) return false;
  } else if (!SetText(PrintShortest(float(std::clamp(value, -3.4e38, 3.4e38))), expected)) {
    return false;
  }
  return GetNumber() != before;
}

bool ValueBinding::SetBool(bool value) const {
  std::string expected;
  return SetText(value ? "true" : "false", expected);
}
