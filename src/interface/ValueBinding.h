#pragma once
// Where the value is that a widget shows and edits: what the class engine says of an element. A widget keeps this and never a
// copy of the value.
#include <string>
#include <string_view>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassRegistry.h"

struct ValueBinding {
  BaseClass* Type = nullptr;  ///< as of GetElementType
  void* Data = nullptr;       ///< as of GetElementData
  void* Extra = nullptr;      ///< as of GetElementExtra

  bool IsBound() const { return Type && Data; }
  /// The text that is stored for the value; empty where nothing is bound.
  std::string GetText() const;
  /// Strict. False, with the value as it was, where the text doesn't suit; `expected` says what would.
  bool SetText(std::string_view text, std::string& expected) const;
  /// First number of a numeric value; 0 where there is none.
  double GetNumber() const;
  /// Rounded for whole numbers, held to what the storage can take. False where nothing was changed by it.
  bool SetNumber(double value) const;
  /// Whether it holds whole numbers.
  bool IsWhole() const;
  bool GetBool() const { return GetText() == "true"; }
  bool SetBool(bool value) const;
};

/// Binding of a C++ variable: Bind<_float>(m_Size). `extra` as the tag wants it: an Enumerator, a SliderRange.
template <class Tag, class M>
ValueBinding Bind(M& field, void* extra = nullptr) {
  if constexpr (std::is_base_of_v<BaseClass, M>)
    return {EnsureTypeObject<Tag>(), static_cast<BaseClass*>(&field), extra};
  else
    return {EnsureTypeObject<Tag>(), &field, extra};
}
