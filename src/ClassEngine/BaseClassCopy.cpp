// Copies by member name.
#include <cstring>

#include "ClassEngine/BaseClass.h"

bool BaseClass::FullCopy(void* srcData, void* srcExtra, BaseClass* dst, void* dstData, void* dstExtra, int options) {
  if (!srcData) srcData = this;
  if (!dstData) dstData = dst;
  if (srcData == dstData) return true;
  RegisterMembers();
  const OneClassDesc* desc = IsReflected() ? GetClassDesc() : nullptr;
  if (!desc || !desc->Members.Count) {
    XmlNode scratch;
    Save(&scratch, srcData, srcExtra);
    return dst->Load(&scratch, dstData, nullptr, dstExtra);
  }
  dst->RegisterMembers();
  const int32_t sections = GetActiveSections();
  for (const OneClassMember* member : desc->Members) {
    if (!member->Type || !member->IsIn(sections)) continue;
    BaseClass* type = nullptr;
    void *to = nullptr, *toExtra = nullptr;
    const int32_t element = dst->FindElement(member->Name, type, to, toExtra, dstData);
    void* from = member->GetData(srcData);
    if (element < 0 || !type || !from || !to || from == to) continue;
    BaseClass* source = GetReceiver(member->Type, from);
    BaseClass* target = GetReceiver(type, to);
    if (std::strcmp(source->GetClassName(), target->GetClassName()) != 0) continue;
    source->FullCopy(from, member->Extra, target, to, toExtra, options);
    if (const OneClassMember* copied = dst->FindElementMember(element)) copied->NotifySet(dstData, to);
  }
  return true;
}

bool BaseClass::CopyTo(BaseClass* dest, bool clearFirst) {
  if (!dest || std::strcmp(GetClassName(), dest->GetClassName()) != 0) return false;
  if (dest == this) return true;
  if (!clearFirst) dest->ResetClass(dest);
  return FullCopy(this, nullptr, dest, dest, nullptr);
}
