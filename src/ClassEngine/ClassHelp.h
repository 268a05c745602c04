#pragma once
// What a declaration tells a person, and strict setting of members by name: command lines and their help.
#include <string>
#include <string_view>
#include <vector>

#include "ClassEngine/BaseClass.h"

struct MemberInfo {
  std::string Name;        ///< as files have it
  std::string Type;        ///< tag
  std::string Unit, Hint;  ///< empty where not told
  std::string Default;     ///< text of the value in a fresh object; for containers empty
  bool HasRange = false;
  double MinValue = 0, MaxValue = 0;  ///< both included
  std::vector<std::string> Entries;   ///< what an _index chooses from
  bool ReadOnly = false, Hidden = false;
};

/// The members of a class that hold a value, in the order of declaration, in all sections; separators and methods are left out.
std::vector<MemberInfo> DescribeMembers(const BaseClass& object);
/// Text of a member's value as a command line takes it; false where there is no such member.
bool GetMemberText(BaseClass& object, std::string_view member, std::string& text);

/// Puts a value given as text into a member. Unlike loading it is strict: a text that is not wholly of the member's type, NaN and
/// infinity, a number outside the member's range and an unknown name give false and one sentence in `error`; the object is
/// unchanged.
bool SetMemberFromText(BaseClass& object, std::string_view member, std::string_view text, std::string& error);
