// Elements of a class, and what an object answers when its class says nothing.
#include "ClassEngine/BaseClass.h"

#include "ClassEngine/Assert.h"

BaseClass* CurrentBase = nullptr;

namespace {
const char* ReturnKey(const char* key) { return key; }
}  // namespace
TranslateHook TranslateText = ReturnKey;

// --- elements ------------------------------------------------------------------------------------
// Elements are the members of the active sections. With all sections active an element's index is that of the member.
OneClassMember* BaseClass::FindElementMember(int32_t i) {
  OneClassDesc* desc = GetClassDesc();
  if (!desc || i < 0) return nullptr;
  if (!desc->Declared) RegisterMembers();
  const int32_t sections = GetActiveSections();
  if (sections == -1) return i < desc->Members.Count ? desc->Members[i] : nullptr;
  for (OneClassMember* member : desc->Members)
    if (member->IsIn(sections) && i-- == 0) return member;
  return nullptr;
}

int32_t BaseClass::GetElementCount() {
  OneClassDesc* desc = GetClassDesc();
  if (!desc) {
    ShowClassError("Undefined class found: \"%s\"\n", GetClassName());
    return 0;
  }
  if (!desc->Declared) RegisterMembers();
  const int32_t sections = GetActiveSections();
  if (sections == -1) return desc->Members.Count;
  int32_t count = 0;
  for (const OneClassMember* member : desc->Members) count += member->IsIn(sections);
  return count;
}

const char* BaseClass::GetElementName(int32_t i) {
  const OneClassMember* member = FindElementMember(i);
  return member ? member->Name : nullptr;
}

BaseClass* BaseClass::GetElementType(int32_t i) {
  const OneClassMember* member = FindElementMember(i);
  return member ? member->Type : nullptr;
}

void* BaseClass::GetElementData(int32_t i, void* data) {
  const OneClassMember* member = FindElementMember(i);
  return member ? member->GetData(data ? data : this) : nullptr;
}

void* BaseClass::GetElementExtra(int32_t i) {
  const OneClassMember* member = FindElementMember(i);
  return member ? member->Extra : nullptr;
}

const char* BaseClass::GetElementDisplayName(int32_t i, void* data) {
  BaseClass* type = GetElementType(i);
  void* elementData = GetElementData(i, data);
  if (type && elementData && type->IsReflected()) {
    const char* name = static_cast<BaseClass*>(elementData)->GetDisplayName(elementData);
    if (name) return name;
  }
  return GetElementName(i);
}

int32_t BaseClass::FindElementIndex(std::string_view name) {
  OneClassDesc* desc = GetClassDesc();
  if (!desc) return -1;
  if (!desc->Declared) RegisterMembers();
  const int32_t sections = GetActiveSections();
  if (sections == -1) {
    uint32_t index;
    return desc->ChildNames.Find(name, index) ? int32_t(index) : -1;
  }
  // Members of different sections may share a name.
  int32_t i = 0;
  for (const OneClassMember* member : desc->Members) {
    if (!member->IsIn(sections)) continue;
    if (name == member->Name) return i;
    i++;
  }
  return -1;
}

int32_t BaseClass::FindElement(const char* name, BaseClass*& type, void*& data, void*& extra, void* ownerData) {
  int32_t i = ExpandWith(name, ownerData);
  if (i >= 0) {
    type = GetElementType(i);
    data = GetElementData(i, ownerData);
    return i;
  }
  i = FindElementIndex(name);
  if (i < 0) return -1;
  type = GetElementType(i);
  data = GetElementData(i, ownerData);
  extra = GetElementExtra(i);
  return i;
}

void BaseClass::ResetClass(void* data) {
  if (!data) data = this;
  RegisterMembers();
  const int32_t count = GetElementCount();
  for (int32_t i = 0; i < count; i++) {
    BaseClass* type = GetElementType(i);
    void* elementData = GetElementData(i, data);
    if (type && elementData) GetReceiver(type, elementData)->ResetClass(elementData);
  }
}

// A member whose Parent is this one has been linked, with all below it; RegisterMembers does the others.
void BaseClass::SetParentDeep(BaseClass* parent) {
  SetParent(parent);
  RegisterMembers();
}

// The names are those that the compiler prints. A class derived from this one fits too.
bool BaseClass::CheckCompatibility(const char* typeName, size_t size) const {
  if (size < sizeof(BaseClass)) return false;
  const std::string name = NormalizeClassName(typeName);
  if (name == NormalizeClassName(GetClassName())) return true;
  const OneClassDesc* desc = GetClassDesc();
  if (!desc) return false;
  for (const char* child : desc->Children)
    if (name == child) return true;
  return false;
}

bool BaseClass::GetValueText(StrBuffer& dest, void* data, void* extra, const char* key, const char*) {
  if (!key || std::string_view(key) != "value") return false;
  XmlNode scratch;
  Save(&scratch, data, extra);
  dest.Assign(scratch.GetValueView());
  return true;
}

// --- what a class may override and most don't ----------------------------------------------------
const char* BaseClass::GetDisplayName(void*) { return nullptr; }
bool BaseClass::RemoveElement(int32_t) { return false; }
int32_t BaseClass::ExpandWith(const char*, void*) { return -1; }
bool BaseClass::MoveElement(int32_t, int32_t) { return false; }
bool BaseClass::CanChangeElement(int32_t) { return true; }
void BaseClass::Call(BaseClass*, void*) { Ping(); }
const char* BaseClass::GetClassRefName(void*) { return nullptr; }
bool BaseClass::TryToLinkClass(BaseClass*, void*) { return true; }
void BaseClass::UnlinkClass(void*) {}
void BaseClass::CopyMethodFrom(const BaseClass*) {}
void BaseClass::SetEnumeratorName(const char*) {}
bool BaseClass::OnParametersChanged(void*, void*, void*, void*) { return false; }
bool BaseClass::IsRowStateMember(const char*) const { return false; }
bool BaseClass::BuildCustomRow(BaseWidget*, const RowRect*) { return false; }
bool BaseClass::OnRowClick(BaseWidget*, const WidgetEvent*) { return false; }
bool BaseClass::OnRowDrag(BaseWidget*, const WidgetEvent*) { return false; }
bool BaseClass::OnRowDrop(BaseWidget*, const WidgetEvent*) { return false; }
bool BaseClass::OnRowDraw(BaseWidget*, const RowRect*) { return false; }
int BaseClass::GetNumbers(const void*, double (&)[4]) const { return 0; }

bool BaseClass::ReadText(std::string_view, void*, void*, std::string& expected) {
  expected = "nothing, since it is no plain value";
  return false;
}
