#pragma once
// How a class declares its members. In the class:
//
//   class VoxelizeParams : public BaseClass {
//     REFLECTED(VoxelizeParams, BaseClass)   // what follows is public
//     _str Name;
//     int Resolution = 256;
//     bool Keep = false;
//     int Mode = 0;
//   };
//
// and once, in the source file (or in the header, with `inline` before it):
//
//   DECLARE_MEMBERS(VoxelizeParams) {
//     Member<_str>("Name", Name).Hint("Volume to write, new or existing");
//     Member<CtrlISlider>("Resolution", Resolution, {8, 4096, 256}).Unit("voxels").Hint("Along the longest side");
//     Member<_bool>("Keep", Keep);
//     Member<_index>("Mode", Mode, "VoxelizeModes").Entries({"Solid", "Shell"});
//   }
//
// The first word is the type tag (ValueTypes.h, CommsValueTypes.h, Str.h, ClassArray.h, ClassPtr.h, or any reflected class). A
// tag that doesn't fit the field does not compile. The members of the base class come first by themselves. Further words:
// StaticMember, Method, Caption, Separator, SECTION. The name is the XML tag; the place in the list is the binary key, so new
// members go to the end.
#include <initializer_list>
#include <type_traits>
#include <typeinfo>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassRegistry.h"

/// Gives a class the reflected operations. It must have a constructor without arguments, or be abstract.
#define REFLECTED(Class, Base)                                                           \
 public:                                                                                 \
  using ReflectedBase = Base;                                                            \
  static const char* StaticClassName() { return #Class; }                                \
  const char* GetClassName() const override { return #Class; }                           \
  bool IsReflected() const override { return true; }                                     \
  BaseClass* New() const override { return reflection::NewObject<Class>(); }             \
  OneClassDesc* GetClassDesc() const override { return reflection::GetDescOf<Class>(); } \
  void RegisterMembers() override { reflection::RegisterMembersOf<Class>(this); }        \
  void DeclareMembers();

#define DECLARE_MEMBERS(Class) void Class::DeclareMembers()

/// The rest of a declaration: what more is to be said of the member.
class MemberBuilder {
 public:
  explicit MemberBuilder(OneClassMember* member) : m_Member(member) {}
  MemberBuilder& Hint(const char* text) { return m_Member->Help.Hint = text, *this; }
  MemberBuilder& Unit(const char* text) { return m_Member->Help.Unit = text, *this; }
  /// Both ends included. Holds for strict reading; files are not held against it.
  MemberBuilder& Range(double minValue, double maxValue);
  /// A text that is chosen and not typed; files and batch lines may say another one.
  MemberBuilder& Choices(std::vector<std::string> (*list)(const BaseClass& owner)) {
    return m_Member->Help.Choices = list, *this;
  }
  /// Shown and not edited.
  MemberBuilder& ReadOnly() { return m_Member->ReadOnly = 1, *this; }
  MemberBuilder& Hidden() { return m_Member->HiddenInPanel = 1, *this; }
  /// XML leaves the member out; binary does not.
  MemberBuilder& NoSave() { return m_Member->NoSave = 1, *this; }
  /// Fills the enumerator of an _index with values from 0 on, unless somebody has filled it.
  MemberBuilder& Entries(std::initializer_list<const char*> names);
  /// The data comes from a call, in place of the field.
  MemberBuilder& Getter(void* (*function)()) { return m_Member->GetValueFn = function, *this; }
  MemberBuilder& Getter(void* (*function)(BaseClass* object)) { return m_Member->GetValueFn2 = function, *this; }
  /// Called when a load or copy has put a new value in.
  MemberBuilder& Notify(void (*function)(void* value)) { return m_Member->SetValueFn = function, *this; }
  MemberBuilder& Notify(void (*function)(BaseClass* object)) { return m_Member->SetValueFn2 = function, *this; }

 private:
  OneClassMember* m_Member;
};

/// Type object of values without BaseClass in memory. A tag derives from it and says what C++ types it fits:
///   template <class M> static constexpr bool Fits = ...;
class ValueType : public BaseClass {
 public:
  void ResetClass(void* data) override = 0;
  int32_t GetElementCount() override { return 0; }
  void SetParentDeep(BaseClass* parent) override { Parent = parent; }
  /// Whether the numbers of GetNumbers are 32-bit floats; otherwise they are whole.
  virtual bool HoldsFloats() const { return false; }
};

// Marks of value types: a tag derives from them besides.
struct WithSliderRange {};  ///< its members carry a SliderRange
struct WithEnumerator {};   ///< its members carry an Enumerator
struct WithoutStorage {};   ///< its members hold no value

namespace reflection {

/// The declaration that is going on; null between. Declarations nest where one needs a class that is declared for that.
struct Declaration {
  OneClassDesc* Desc;
  BaseClass* Object;  ///< on which addresses are taken
  size_t ObjectSize;
  const char* OwnerClass;  ///< the class whose words are being run
  int32_t SectionMask = -1;
  Declaration* Outer = nullptr;
};
extern Declaration* CurrentDeclaration;

class DeclarationScope {
 public:
  DeclarationScope(OneClassDesc* desc, BaseClass* object, size_t objectSize);
  ~DeclarationScope();
  DeclarationScope(const DeclarationScope&) = delete;
  DeclarationScope& operator=(const DeclarationScope&) = delete;

 private:
  Declaration m_Declaration;
  bool m_OuterFlags[4];  // a declaration inside another must not take the flags meant for the member outside
};

/// Enters one member into the record of the class that is being declared, by the declaration flags, and clears them. An address
/// that belies the static flag is shown in a box; the member stays.
OneClassMember* AddMember(BaseClass* type, void* address, const char* name, void* extra, const char* ownerClass,
                          int32_t sectionMask);
/// The box where `member` can't be of the type that its tag says.
void CheckMemberType(const OneClassMember& member, const char* typeName, size_t size);
void* FindEnumerator(const char* name);
void AddDerivedClass(const char* base, const char* derived);
void LinkOwnedMembers(const OneClassDesc& desc, BaseClass* object);
/// Type object, member and check in one, for fields whose type the compiler can't see.
template <class Tag>
OneClassMember* AddUncheckedMember(const char* name, void* address, const char* typeName, size_t size) {
  OneClassMember* member =
      AddMember(EnsureTypeObject<Tag>(), address, name, nullptr, CurrentDeclaration->OwnerClass, CurrentDeclaration->SectionMask);
  CheckMemberType(*member, typeName, size);
  return member;
}

template <class Tag, class M>
OneClassMember* AddTypedMember(const char* name, M& field, void* extra) {
  void* address = &field;
  if constexpr (std::is_base_of_v<ValueType, Tag>) {
    static_assert(Tag::template Fits<M>, "the type tag does not fit the C++ type of this member");
  } else {
    static_assert(std::is_base_of_v<BaseClass, Tag>, "the first word of a declaration is a type tag or a reflected class");
    static_assert(std::is_base_of_v<Tag, M>, "the type tag does not fit the C++ type of this member");
    EnsureTypeObject<M>();
    address = static_cast<BaseClass*>(&field);
  }
  OneClassMember* member =
      AddMember(EnsureTypeObject<Tag>(), address, name, extra, CurrentDeclaration->OwnerClass, CurrentDeclaration->SectionMask);
  CheckMemberType(*member, GetPrintedTypeName(typeid(M).name()).c_str(), sizeof(M));
  return member;
}

template <class C>
OneClassDesc* GetDescOf() {
  static OneClassDesc* const desc = EnsureClass(C::StaticClassName());
  return desc;
}

template <class C>
BaseClass* NewObject() {
  if constexpr (std::is_abstract_v<C>) {
    return nullptr;
  } else {
    C* object = new C;
    object->RegisterMembers();
    return object;
  }
}

/// Whether the reading that is going on, if any, has memory for one more object of the class; see ReadingScope.
bool TakeItem(OneClassDesc* desc);

/// A new object of class T, or of one derived from it, by class name; null for any other, and where a reading has no memory left.
template <class T>
T* MakeItem(const char* className) {
  if constexpr (!std::is_abstract_v<T>) {
    if (std::string_view(className) == T::StaticClassName()) {
      if (!TakeItem(GetDescOf<T>())) return nullptr;
      T* item = new T;
      item->RegisterMembers();
      return item;
    }
  }
  const auto* prototype = dynamic_cast<const T*>(FindClass(className));
  if (!prototype || !TakeItem(prototype->GetClassDesc())) return nullptr;
  return static_cast<T*>(prototype->New());
}

// The words of the base class first, then those of C.
template <class C>
void RunDeclarations(C* object) {
  using Base = typename C::ReflectedBase;
  static_assert(std::is_base_of_v<Base, C>, "the second word of REFLECTED is the reflected base class");
  if constexpr (!std::is_same_v<Base, BaseClass>) RunDeclarations<Base>(object);
  CurrentDeclaration->OwnerClass = C::StaticClassName();
  CurrentDeclaration->SectionMask = -1;
  object->C::DeclareMembers();
}

template <class C, class Ancestor = typename C::ReflectedBase>
void EnterInBases() {
  AddDerivedClass(Ancestor::StaticClassName(), C::StaticClassName());
  if constexpr (!std::is_same_v<Ancestor, BaseClass>) EnterInBases<C, typename Ancestor::ReflectedBase>();
}

// Declarations run on an instance made for it, which stays as the prototype: its addresses are those of the heap and of no
// static.
template <class C>
void RegisterMembersOf(C* object) {
  OneClassDesc* desc = GetDescOf<C>();
  if (!desc->Declared) {
    if constexpr (!std::is_abstract_v<C>) {
      if (desc->Declaring) return;
      desc->Declaring = true;
      C* prototype = new C;
      {
        DeclarationScope scope(desc, prototype, sizeof(C));
        RunDeclarations<C>(prototype);
      }
      EnterInBases<C>();
      desc->Prototype = prototype;
      desc->ObjectSize = sizeof(C);
      desc->Declared = true;
      desc->Declaring = false;
      LinkOwnedMembers(*desc, prototype);
    }
  }
  LinkOwnedMembers(*desc, object);
}

}  // namespace reflection

template <class Tag, class M>
MemberBuilder BaseClass::Member(const char* name, M& field) {
  return MemberBuilder(reflection::AddTypedMember<Tag>(name, field, nullptr));
}
template <class Tag, class M>
MemberBuilder BaseClass::Member(const char* name, M& field, const SliderRange& range) {
  static_assert(std::is_base_of_v<WithSliderRange, Tag>, "only sliders carry a range here; other numbers take .Range(min, max)");
  return MemberBuilder(reflection::AddTypedMember<Tag>(name, field, new SliderRange(range)));
}
template <class Tag, class M>
MemberBuilder BaseClass::Member(const char* name, M& field, const char* enumerator) {
  void* const found = reflection::FindEnumerator(enumerator);
  if constexpr (std::is_base_of_v<ValueType, Tag>) {
    static_assert(std::is_base_of_v<WithEnumerator, Tag>, "only _index, _cIndex and reflected members take an enumerator");
    return MemberBuilder(reflection::AddTypedMember<Tag>(name, field, found));
  } else {
    OneClassMember* member = reflection::AddTypedMember<Tag>(name, field, nullptr);
    field.SetEnumeratorName(enumerator);
    return MemberBuilder(member);
  }
}
template <class Tag, class M>
MemberBuilder BaseClass::StaticMember(const char* name, M& field) {
  DeclStatic = true;
  return MemberBuilder(reflection::AddTypedMember<Tag>(name, field, nullptr));
}
// A caption has no storage, so it stands at the object itself and keeps out of files.
template <class Tag>
void BaseClass::Caption(const char* text) {
  static_assert(std::is_base_of_v<WithoutStorage, Tag>, "a caption has no value");
  DeclNoSave = true;
  reflection::AddMember(EnsureTypeObject<Tag>(), reflection::CurrentDeclaration->Object, text, nullptr,
                        reflection::CurrentDeclaration->OwnerClass, reflection::CurrentDeclaration->SectionMask);
}
