// Rows of a panel over the elements of an object, and what may be added to it.
#include <cstdio>
#include <string>

#include "ClassEngine/BaseClass.h"

namespace {

// The walk is over the object at `data` where the type has objects.
BaseClass* GetWalked(BaseClass* type, void* data) { return data && type->IsReflected() ? static_cast<BaseClass*>(data) : type; }

bool AdmitsAll(int options) { return (options & (RowsNotFixed | RowsFixed)) == (RowsNotFixed | RowsFixed); }

// Below an element that shows through to what it holds, no container is offered anything; that element itself is.
bool IsBelowTransparent(const BaseClass& container) { return container.Parent && container.Parent->IsTransparentElement(); }

bool IsAdmitted(BaseClass* walked, int32_t i, void* data, int options) {
  if (walked->IsVisibleElementHidden(i, data, options)) return false;
  const bool fixed = walked->IsVisibleElementBlocked(i, data, options) && !walked->IsTransparentElement();
  return options & (fixed ? RowsFixed : RowsNotFixed);
}

}  // namespace

int32_t BaseClass::GetVisibleElementCount(void* data, int options) {
  BaseClass* walked = GetWalked(this, data);
  const int32_t elements = walked->GetElementCount();
  int32_t count = 0;
  if (AdmitsAll(options))
    count = elements;
  else
    for (int32_t i = 0; i < elements; i++) count += IsAdmitted(walked, i, data, options);
  const int rules = walked->GetExpansionRules();
  if ((rules & AddAtMostOne) && count) return count;
  return count + (rules && (options & RowsWithAdd) && !IsBelowTransparent(*walked));
}

int32_t BaseClass::VisibleToRealIndex(int32_t row, void* data, int options) {
  if (row >= ElementRowBase) return row - ElementRowBase;
  BaseClass* walked = GetWalked(this, data);
  const int32_t elements = walked->GetElementCount();
  if (row < 0) return -1;
  if (AdmitsAll(options)) return row < elements ? row : -1;
  for (int32_t i = 0; i < elements; i++)
    if (IsAdmitted(walked, i, data, options) && row-- == 0) return i;
  return -1;
}

BaseClass* BaseClass::GetVisibleElementType(int32_t row, void* data, int options) {
  const int32_t i = VisibleToRealIndex(row, data, options);
  return i < 0 ? nullptr : GetWalked(this, data)->GetElementType(i);
}

void* BaseClass::GetVisibleElementData(int32_t row, void* data, int options) {
  const int32_t i = VisibleToRealIndex(row, data, options);
  return i < 0 ? nullptr : GetWalked(this, data)->GetElementData(i, data);
}

void* BaseClass::GetVisibleElementExtra(int32_t row, void* data, int options) {
  const int32_t i = VisibleToRealIndex(row, data, options);
  return i < 0 ? nullptr : GetWalked(this, data)->GetElementExtra(i);
}

const char* BaseClass::GetVisibleElementName(int32_t row, void* data, int options) {
  const int32_t i = VisibleToRealIndex(row, data, options);
  return i < 0 ? "add..." : GetWalked(this, data)->GetElementName(i);
}

const char* BaseClass::GetVisibleElementDisplayName(int32_t row, void* data, int options) {
  const int32_t i = VisibleToRealIndex(row, data, options);
  return i < 0 ? "add..." : GetWalked(this, data)->GetElementDisplayName(i, data);
}

bool BaseClass::IsVisibleElementBlocked(int32_t i, void*, int) { return !CanChangeElement(i); }
bool BaseClass::IsVisibleElementHidden(int32_t, void*, int) { return false; }

bool BaseClass::IsElementReadOnly(int32_t row, void* data, int options) {
  const OneClassMember* member = GetWalked(this, data)->FindElementMember(VisibleToRealIndex(row, data, options));
  return member && member->ReadOnly;
}

bool BaseClass::IsElementHiddenInPanel(int32_t row, void* data, int options) {
  const OneClassMember* member = GetWalked(this, data)->FindElementMember(VisibleToRealIndex(row, data, options));
  return member && member->HiddenInPanel;
}

bool BaseClass::GetAddableClasses(AddableClasses& list, void* data, void*, ClassFilter filter, void* filterArgument) {
  BaseClass* container = GetWalked(this, data);
  const int rules = container->GetExpansionRules();
  const char* itemClass = container->GetExpandableClass();
  if (!rules || !itemClass) return false;
  if ((rules & AddAtMostOne) && container->GetElementCount()) return false;
  const OneClassDesc* item = RequireClassDesc(itemClass);
  if (!item) return false;
  bool offered = false;
  const auto offer = [&](const char* name) {
    const OneClassDesc* desc = RequireClassDesc(name);
    if (!desc || (filter && !filter(name, filterArgument))) return;
    list.Names.Add(name);
    offered = true;
    if (!desc->Category) return;
    for (const char* category : list.Categories)
      if (std::string_view(category) == desc->Category) return;
    list.Categories.Add(desc->Category);
  };
  if (rules & AddItemClass) offer(item->Name.c_str());
  if (rules & AddDerivedClasses)
    for (int32_t i = 0; i < item->Children.Count; i++) offer(item->Children[i]);
  if (list.Categories.Count <= 1) list.Categories.Clear();
  return offered;
}

void BaseClass::GetHint(StrBuffer& id, StrBuffer& hint, int32_t row) {
  const char* member = GetElementName(RowToElement(row));
  const auto translate = [&](const char* kind, StrBuffer& text) {
    text.Release();
    if (!member) return;
    for (const std::string& key : {std::string(kind) + GetClassName() + "::" + member, std::string(kind) + member}) {
      const char* known = TranslateText(key.c_str());
      if (*known == '@') continue;  // came back as the key
      text.Assign(known);
      return;
    }
  };
  translate("@ID::", id);
  translate("@HINT::", hint);
}
