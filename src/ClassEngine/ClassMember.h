#pragma once
// What the class engine knows of a class: one record a class, one record a declared member. Both live until the program ends.
#include <cstdint>
#include <string>
#include <vector>

#include "ClassEngine/dynarray.h"
#include "ClassEngine/khash.h"

class BaseClass;

/// Extra data of a slider member.
struct SliderRange {
  float MinValue = 0, MaxValue = 1, Default = 1;
  float Reserved0 = 1;    ///< stays 1
  uint8_t Reserved1 = 0;  ///< stays 0
};

/// What a person is told of a member, beyond its name and type.
struct MemberHelp {
  std::string Hint, Unit;
  bool HasRange = false;
  double MinValue = 0, MaxValue = 0;  ///< both included; for several numbers each
  /// Of a text: what there is to choose from now. Null: anything is typed.
  std::vector<std::string> (*Choices)(const BaseClass& owner) = nullptr;
};

/// One declared member of a class.
struct OneClassMember {
  BaseClass* Type = nullptr;  ///< type object; null marks a hole
  char* Name = nullptr;       ///< private copy
  intptr_t Offset = 0;        ///< from the start of the object; for a static member or a method the address itself
  uint8_t Reserved0 = 0;
  uint8_t ReadOnly = 0;
  uint8_t HiddenInPanel = 0;                          ///< generated panels skip the member; files don't
  uint8_t IsStatic = 0;                               ///< Offset is an address
  uint8_t NoSave = 0;                                 ///< Save leaves the member out
  void* Extra = nullptr;                              ///< an Enumerator for _index, a SliderRange for sliders, else null
  void* (*GetValueFn)() = nullptr;                    ///< gives the data, in place of storage
  void* (*GetValueFn2)(BaseClass* object) = nullptr;  ///< the same, of an object
  void (*SetValueFn)(void* value) = nullptr;          ///< told after a load or copy has put a new value in
  void (*SetValueFn2)(BaseClass* object) = nullptr;   ///< the same, told the object
  const char* OwnerClass = nullptr;                   ///< name of the declaring class
  uint8_t Flag = 0;
  int32_t SectionMask = -1;  ///< the sections in which the member exists; -1 is all
  MemberHelp Help;

  /// Where the value of `object` is; null where there is none.
  void* GetData(void* object) const {
    if (GetValueFn) return GetValueFn();
    if (GetValueFn2) return GetValueFn2(static_cast<BaseClass*>(object));
    return IsStatic ? reinterpret_cast<void*>(Offset) : static_cast<char*>(object) + Offset;
  }
  /// Whether the value lies inside the object: accessors and statics may lead elsewhere, and back.
  bool IsPart() const { return !IsStatic && !GetValueFn && !GetValueFn2; }
  bool IsIn(int32_t sections) const { return sections == -1 || (SectionMask & sections); }
  /// Tells the owner that `data`, of `object`, has a new value.
  void NotifySet(void* object, void* data) const {
    if (SetValueFn)
      SetValueFn(data);
    else if (SetValueFn2)
      SetValueFn2(static_cast<BaseClass*>(object));
  }
};

/// One class in the registry.
struct OneClassDesc {
  int32_t Index = -1;              ///< in the registry; -1 for a class that is not in it
  BaseClass* Prototype = nullptr;  ///< for default values and type queries; null until the class is first used, and if abstract
  DynArray<OneClassMember*> Members;  ///< in the order of declaration, those of the base class first
  DynArray<const char*> Children;     ///< names of the classes that derive from this one, at any depth
  NameHash ChildNames;                ///< member name to index in Members; the first of equal names
  const char* Category = nullptr;     ///< group under which the class is offered for adding; null is none
  std::string Name;
  size_t ObjectSize = 0;            ///< bytes of an object itself; 0 where unknown
  int64_t FreshBytes = 0;           ///< of a fresh object with its reflected items; 0 until asked for
  bool Declaring = false;           ///< its declaration is running
  bool Declared = false;            ///< the member table is complete
  DynArray<OneClassMember*> Owned;  ///< the members that are reflected objects inside the object

  /// Null when there is no member of that name.
  OneClassMember* FindMember(std::string_view name) const {
    const int32_t index = ChildNames.Find(name);
    return index < 0 ? nullptr : Members[int32_t(ChildNames.GetValue(index))];
  }
};
