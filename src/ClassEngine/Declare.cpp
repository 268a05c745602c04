#include "ClassEngine/Declare.h"

#include <cstring>

#include "ClassEngine/Assert.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ReadingScope.h"
#include "ClassEngine/ValueTypes.h"

bool DeclReadOnly = false, DeclHidden = false, DeclStatic = false, DeclNoSave = false;

namespace reflection {

Declaration* CurrentDeclaration = nullptr;

DeclarationScope::DeclarationScope(OneClassDesc* desc, BaseClass* object, size_t objectSize)
    : m_Declaration{desc, object, objectSize, object->GetClassName(), -1, CurrentDeclaration},
      m_OuterFlags{DeclReadOnly, DeclHidden, DeclStatic, DeclNoSave} {
  CurrentDeclaration = &m_Declaration;
  DeclReadOnly = DeclHidden = DeclStatic = DeclNoSave = false;
}

DeclarationScope::~DeclarationScope() {
  CurrentDeclaration = m_Declaration.Outer;
  DeclReadOnly = m_OuterFlags[0];
  DeclHidden = m_OuterFlags[1];
  DeclStatic = m_OuterFlags[2];
  DeclNoSave = m_OuterFlags[3];
}

namespace {

void CheckStatic(const OneClassMember& member, intptr_t distance) {
  const char* type = member.Type ? member.Type->GetClassName() : "";
  const bool inside = distance >= 0 && distance < intptr_t(CurrentDeclaration->ObjectSize);
  if (!member.IsStatic && !inside)
    ShowClassError("CRITICAL: Static member <%s %s> registered like non-static", type, member.Name);
  if (member.IsStatic && inside) ShowClassError("CRITICAL: Non-static member <%s %s> registered like static", type, member.Name);
}

}  // namespace

OneClassMember* AddMember(BaseClass* type, void* address, const char* name, void* extra, const char* ownerClass,
                          int32_t sectionMask) {
  MORVANE_ASSERT(CurrentDeclaration && name);
  OneClassDesc& desc = *CurrentDeclaration->Desc;
  auto* member = new OneClassMember;
  const intptr_t distance = reinterpret_cast<intptr_t>(address) - reinterpret_cast<intptr_t>(CurrentDeclaration->Object);
  member->Type = type;
  const size_t nameBytes = std::strlen(name) + 1;
  member->Name = new char[nameBytes];
  std::memcpy(member->Name, name, nameBytes);
  member->Offset = DeclStatic ? reinterpret_cast<intptr_t>(address) : distance;
  member->ReadOnly = DeclReadOnly;
  member->HiddenInPanel = DeclHidden;
  member->IsStatic = DeclStatic;
  member->NoSave = DeclNoSave;
  member->Extra = extra;
  member->OwnerClass = ownerClass;
  member->SectionMask = sectionMask;
  DeclReadOnly = DeclHidden = DeclStatic = DeclNoSave = false;

  const int32_t index = desc.Members.Add(member);
  desc.ChildNames.Add(name, uint32_t(index));
  if (type && type->IsReflected() && !member->IsStatic) desc.Owned.Add(member);
  if (type && address != CurrentDeclaration->Object) CheckStatic(*member, distance);
  return member;
}

void CheckMemberType(const OneClassMember& member, const char* typeName, size_t size) {
  if (member.Type->CheckCompatibility(typeName, size)) return;
  ShowClassError(dynamic_cast<const CommsTag*>(member.Type) ? "Incompatible type used for \"%s\" %s::%s : %s"
                                                            : "Incompartible type used for %s %s::%s : %s",
                 typeName, member.OwnerClass, member.Name, member.Type->GetClassName());
}

void* FindEnumerator(const char* name) { return &EnumRegistry::FindOrCreate(name); }

void AddDerivedClass(const char* base, const char* derived) {
  DynArray<const char*>& children = EnsureClass(base)->Children;
  for (const char* child : children)
    if (!std::strcmp(child, derived)) return;
  children.Add(derived);
}

namespace {

// With what the allocator and the slot of a container add.
constexpr int64_t BytesBesidesObject = 32;

// Of the items that a fresh object brings along; those lie in its containers, and in those of its members.
int64_t CountItemBytes(BaseClass& object) {
  int64_t bytes = 0;
  const int32_t count = object.GetElementCount();
  for (int32_t i = 0; i < count; i++) {
    const BaseClass* type = object.GetElementType(i);
    const OneClassMember* member = object.FindElementMember(i);
    if (!type || !type->IsReflected() || (member && !member->IsPart())) continue;
    auto& element = *static_cast<BaseClass*>(object.GetElementData(i, &object));
    const OneClassDesc* desc = member ? nullptr : element.GetClassDesc();
    bytes += (desc ? int64_t(desc->ObjectSize) + BytesBesidesObject : 0) + CountItemBytes(element);
  }
  return bytes;
}

}  // namespace

bool TakeItem(OneClassDesc* desc) {
  if (!desc) return true;
  if (!desc->FreshBytes && desc->Prototype)
    desc->FreshBytes = int64_t(desc->ObjectSize) + BytesBesidesObject + CountItemBytes(*desc->Prototype);
  return ReadingScope::TakeItem(desc->FreshBytes);
}

// A member that has this parent already has given it to those below it.
void LinkOwnedMembers(const OneClassDesc& desc, BaseClass* object) {
  for (const OneClassMember* member : desc.Owned) {
    if (member->GetValueFn || member->GetValueFn2) continue;
    auto* owned = static_cast<BaseClass*>(member->GetData(object));
    if (owned->Parent != object) owned->SetParentDeep(object);
  }
}

}  // namespace reflection

MemberBuilder& MemberBuilder::Range(double minValue, double maxValue) {
  MORVANE_ASSERT(minValue <= maxValue);
  m_Member->Help.HasRange = true;
  m_Member->Help.MinValue = minValue;
  m_Member->Help.MaxValue = maxValue;
  return *this;
}

MemberBuilder& MemberBuilder::Entries(std::initializer_list<const char*> names) {
  auto* enumerator = static_cast<Enumerator*>(m_Member->Extra);
  MORVANE_ASSERT(enumerator);
  if (enumerator->GetCount()) return *this;
  int32_t value = 0;
  for (const char* name : names) enumerator->Add(name, value++);
  return *this;
}

void BaseClass::Separator(const char* caption) { Caption<Delimiter>(caption); }

void BaseClass::SECTION(int32_t mask) {
  int32_t& current = reflection::CurrentDeclaration->SectionMask;
  current = current == mask ? -1 : mask;
}
