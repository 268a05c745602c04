// The compact binary form: the members that differ from a fresh object, each behind its index.
#include <cstring>
#include <memory>
#include <utility>

#include "ClassEngine/Assert.h"
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemoryBinStream.h"
#include "ClassEngine/ReadingScope.h"

namespace {

bool SameBytes(const MemoryBinStream& a, int64_t fromA, const MemoryBinStream& b, int64_t fromB) {
  const int64_t size = a.GetWritePos() - fromA;
  return size == b.GetWritePos() - fromB && !std::memcmp(a.GetData() + fromA, b.GetData() + fromB, size_t(size));
}

void SaveMember(const OneClassMember& member, int32_t index, void* object, BinStream& stream, const LargeNameHash* names) {
  WriteBYTE(stream, uint8_t(index));
  if (void* value = member.GetData(object))
    BaseClass::GetReceiver(member.Type, value)->SaveBin(value, member.Extra, stream, names);
}

// While it lives, objects write every member.
class WholeScope {
 public:
  WholeScope() : m_Outer(std::exchange(s_Whole, true)) {}
  ~WholeScope() { s_Whole = m_Outer; }
  WholeScope(const WholeScope&) = delete;
  WholeScope& operator=(const WholeScope&) = delete;
  static bool IsOn() { return s_Whole; }

 private:
  static inline bool s_Whole = false;
  bool m_Outer;
};

// Whether the owner's constructor gave a part values of its own: in `bytes`, those of a fresh owner, it is more than its index
// and the count 0. A part leaves out what a fresh part has, and a reader, who begins with a fresh owner, would not get that back.
bool HasOwnDefaults(const OneClassMember& member, int64_t bytes) {
  return bytes > 2 && member.Type->IsReflected() && !member.Type->GetExpansionRules();
}

}  // namespace

void BaseClass::SaveBin(void* data, void*, BinStream& stream, const LargeNameHash* names, const NameHash* skip) {
  if (!IsReflected()) return;
  if (!data) data = this;
  RegisterMembers();
  const OneClassDesc* desc = GetClassDesc();
  const CurrentBaseScope current(static_cast<BaseClass*>(data));
  if (!desc || !desc->Members.Count) {
    WriteBYTE(stream, 0);
    return;
  }
  MORVANE_ASSERT(desc->Members.Count <= 255);
  const int32_t sections = GetActiveSections();
  const std::unique_ptr<BaseClass> fresh(New());
  MemoryBinStream defaults, values;
  int changed = 0;
  for (int32_t i = 0; i < desc->Members.Count; i++) {
    const OneClassMember* member = desc->Members[i];
    if (!member || !member->Type || !member->IsIn(sections)) continue;
    if (skip && skip->Find(member->Name) >= 0) continue;
    const int64_t fromDefaults = defaults.GetWritePos(), fromValues = values.GetWritePos();
    SaveMember(*member, i, data, values, names);
    changed++;
    if (WholeScope::IsOn()) continue;
    SaveMember(*member, i, fresh.get(), defaults, names);
    if (SameBytes(defaults, fromDefaults, values, fromValues)) {
      values.SetWritePos(fromValues);
      changed--;
    } else if (HasOwnDefaults(*member, defaults.GetWritePos() - fromDefaults)) {
      const WholeScope whole;
      values.SetWritePos(fromValues);
      SaveMember(*member, i, data, values, names);
    }
  }
  WriteBYTE(stream, uint8_t(changed));
  stream.Write(values.GetData(), values.GetWritePos());
}

bool BaseClass::LoadBin(void* data, void*, BinStream& stream, const LargeNameHash* names) {
  if (!IsReflected()) return true;
  if (!data) data = this;
  const DepthScope depth;
  if (depth.IsTooDeep() || GetBytesLeft(stream) < 1) return false;
  ReadingScope reading(stream);
  const bool read = LoadBinMembers(data, stream, names);
  return reading.Finish(*static_cast<BaseClass*>(data)) && read;
}

bool BaseClass::LoadBinMembers(void* data, BinStream& stream, const LargeNameHash* names) {
  RegisterMembers();
  const OneClassDesc* desc = GetClassDesc();
  const CurrentBaseScope current(static_cast<BaseClass*>(data));
  const int count = ReadBYTE(stream);
  for (int n = 0; n < count; n++) {
    if (GetBytesLeft(stream) < 1) return false;
    const int32_t i = ReadBYTE(stream);
    // Members have no size in the stream: behind an index that this class doesn't know nothing can be read.
    if (!desc || i >= desc->Members.Count || !desc->Members[i]->Type) return false;
    const OneClassMember& member = *desc->Members[i];
    void* value = member.GetData(data);
    if (!value) continue;
    if (!LoadBinElement(GetReceiver(member.Type, value), value, member.Extra, stream, names)) return false;
    member.NotifySet(data, value);
  }
  return true;
}

bool BaseClass::LoadBinElement(BaseClass* receiver, void* data, void* extra, BinStream& stream, const LargeNameHash* names) {
  ReadingScope::Begin(*receiver, data);
  return receiver->LoadBin(data, extra, stream, names);
}
