#include "ClassEngine/ReadingScope.h"

#include <algorithm>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include "ClassEngine/EngineHost.h"

namespace {

struct Reading {
  int Scopes = 0;
  int64_t SourceBytes = 0, TreeBytes = 0, ItemBytes = 0;
  bool Spent = false, HasReferences = false;
};
Reading s_Reading;

int64_t GetItemLimit() { return std::max(int64_t(0), XmlMemoryBase + 4 * s_Reading.SourceBytes - s_Reading.TreeBytes); }

void AddTree(const XmlNode& source) {
  const XmlNode::Bytes bytes = source.CountBytes();
  s_Reading.SourceBytes += bytes.Text;
  s_Reading.TreeBytes += bytes.Memory;
}

void Report(const XmlNode* source, XmlErrorLog* errors, const std::string& text) {
  if (errors && source)
    ReportLoadError(errors, source, "%s", text.c_str());
  else
    GetEngineHost().Log(text.c_str());
}

// --- class references ----------------------------------------------------------------------------

struct Referring {
  BaseClass* Receiver;
  void* Data;
};

/// What one walk over the objects that were read finds. The first of equal names counts.
struct References {
  std::unordered_map<std::string, BaseClass*> Named;
  std::vector<Referring> Found;
};

void Collect(BaseClass& object, References& references) {
  const DepthScope depth;
  if (depth.IsTooDeep()) return;
  if (const char* name = object.GetDisplayName(&object)) references.Named.emplace(name, &object);
  const int32_t count = object.GetElementCount();
  for (int32_t i = 0; i < count; i++) {
    BaseClass* type = object.GetElementType(i);
    const OneClassMember* member = object.FindElementMember(i);
    if (!type || (member && !member->IsPart())) continue;
    void* data = object.GetElementData(i, &object);
    if (!data) continue;
    BaseClass* receiver = BaseClass::GetReceiver(type, data);
    if (receiver->IsClassRef()) references.Found.push_back({receiver, data});
    if (type->IsReflected()) Collect(*receiver, references);
  }
}

bool Link(const Referring& referring, const References& references) {
  try {
    const char* name = referring.Receiver->GetClassRefName(referring.Data);
    if (!name || !*name) return true;
    const auto found = references.Named.find(name);
    return referring.Receiver->TryToLinkClass(found == references.Named.end() ? nullptr : found->second, referring.Data);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
    return false;
  }
}

void LinkReferences(BaseClass& object, const XmlNode* source, XmlErrorLog* errors) {
  References references;
  Collect(object, references);
  for (const Referring& referring : references.Found)
    if (!Link(referring, references)) Report(source, errors, "TryToLinkClass failed!\n");
}

}  // namespace

ReadingScope::ReadingScope(const XmlNode& source) {
  if (s_Reading.Scopes++ == 0) AddTree(source);
}
ReadingScope::ReadingScope(const BinStream& source) {
  if (s_Reading.Scopes++ == 0) s_Reading.SourceBytes = GetBytesLeft(source);
}

ReadingScope::~ReadingScope() {
  if (--s_Reading.Scopes == 0) s_Reading = {};
}

bool ReadingScope::Finish(BaseClass& object, const XmlNode* source, XmlErrorLog* errors) {
  if (s_Reading.Scopes > 1) return !s_Reading.Spent;
  if (s_Reading.Spent)
    Report(source, errors,
           std::string("Reading of ") + object.GetClassName() + " stopped: " + std::to_string(s_Reading.SourceBytes) +
               " bytes ask for items of more than " + std::to_string(GetItemLimit()) + " bytes.\n");
  if (s_Reading.HasReferences) LinkReferences(object, source, errors);
  return !s_Reading.Spent;
}

void ReadingScope::AddSource(const XmlNode& source) {
  if (s_Reading.Scopes) AddTree(source);
}

bool ReadingScope::TakeItem(int64_t bytes) {
  if (!s_Reading.Scopes) return true;
  if (bytes > GetItemLimit() - s_Reading.ItemBytes) s_Reading.Spent = true;
  if (s_Reading.Spent) return false;
  s_Reading.ItemBytes += bytes;
  return true;
}

bool ReadingScope::IsSpent() { return s_Reading.Spent; }

void ReadingScope::Begin(BaseClass& receiver, void* data) {
  if (!receiver.IsClassRef()) return;
  receiver.UnlinkClass(data);
  s_Reading.HasReferences = true;
}
