// The XML form of objects.
#include <algorithm>
#include <memory>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/EngineHost.h"
#include "ClassEngine/ReadingScope.h"

bool SaveOnlyChanges = false;

void BaseClass::Save(XmlNode* node, void* data, void*) {
  if (!data) data = this;
  RegisterMembers();
  const CurrentBaseScope current(static_cast<BaseClass*>(data));
  const int32_t count = GetElementCount();
  for (int32_t i = 0; i < count; i++) {
    const OneClassMember* member = FindElementMember(i);
    if (member && member->NoSave) continue;
    BaseClass* type = GetElementType(i);
    if (!type) continue;
    auto* child = new XmlNode(GetElementName(i));
    void* elementData = GetElementData(i, data);
    if (elementData)
      GetReceiver(type, elementData)->Save(child, elementData, GetElementExtra(i));
    else
      child->SetValue("NULL");
    node->AddChild(child);
  }
  if (SaveOnlyChanges && IsReflected() && count) RunDeltaPass(node);
  if (!*node->GetName()) node->SetName(GetClassName());
}

static bool SameText(const XmlNode& a, const XmlNode& b) {
  StrBuffer textA, textB;
  return a.Print(textA, 0) && b.Print(textB, 0) && textA == textB;
}

// Takes out the leaves that say what a fresh object says. An emptied container is a leaf too, and stays where a fresh object has
// items: leaving it out would bring them back.
void BaseClass::RunDeltaPass(XmlNode* node) {
  const std::unique_ptr<BaseClass> fresh(New());
  if (!fresh) return;
  SaveOnlyChanges = false;
  XmlNode scratch;
  fresh->Save(&scratch);
  for (int32_t i = node->GetChildCount() - 1; i >= 0; i--) {
    XmlNode* child = node->GetChild(i);
    const XmlNode* same = scratch.FindChild(child->GetNameView());
    if (!same) continue;
    const int32_t element = same->GetChildCount() ? FindElementIndex(child->GetNameView()) : -1;
    const bool isPart = element >= 0 && !GetElementType(element)->GetExpansionRules();
    if (isPart) RewritePart(element, child, *same);
    const bool isLeaf = !child->GetChildCount() && same->GetValueView() == child->GetValueView();
    if (isLeaf && (isPart || !same->GetChildCount())) node->RemoveChild(i);
  }
  SaveOnlyChanges = true;
}

// The pass over a part left out what a fresh part says. Where the owner's constructor gave the part values of its own, `inFresh`,
// a reader would get those instead: such a part is always written whole.
void BaseClass::RewritePart(int32_t element, XmlNode* child, const XmlNode& inFresh) {
  BaseClass* type = GetElementType(element);
  const std::unique_ptr<BaseClass> part(type->New());
  XmlNode made(inFresh.GetNameView());
  if (part) part->Save(&made);
  if (!part || SameText(made, inFresh)) return;
  void* data = GetElementData(element, this);
  if (!data) return;
  child->Clear();
  child->SetName(inFresh.GetNameView());
  GetReceiver(type, data)->Save(child, data, GetElementExtra(element));
}

bool BaseClass::Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* ownExtra) {
  if (!data) data = this;
  const DepthScope depth;
  if (depth.IsTooDeep()) {
    ReportLoadError(errors, node, "Objects nested deeper than %d levels were not read.\n", MaxObjectDepth);
    return false;
  }
  RegisterMembers();
  auto* object = static_cast<BaseClass*>(data);
  const CurrentBaseScope current(object);
  ReadingScope reading(*node);
  LoadElements(node, object, errors, ownExtra);
  ReadMemberSourceFile(node, data);
  return reading.Finish(*object, node, errors);
}

bool BaseClass::LoadElements(const XmlNode* node, BaseClass* object, XmlErrorLog* errors, void* ownExtra) {
  ReadingScope reading(*node);
  const int32_t count = node->GetChildCount();
  for (int32_t i = 0; i < count && !ReadingScope::IsSpent(); i++) LoadElement(node->GetChild(i), object, errors, ownExtra);
  return reading.Finish(*object, node, errors);
}

void BaseClass::LoadElement(const XmlNode* child, BaseClass* object, XmlErrorLog* errors, void* ownExtra) {
  BaseClass* type = this;
  void* elementData = object;
  void* extra = ownExtra;
  const int32_t element = FindElement(child->GetName(), type, elementData, extra, object);
  if (ReadingScope::IsSpent()) return;
  if (element < 0 || !type) {
    ReportLoadError(errors, child, "Unknown identifier %s of class %s.\n", child->GetName(), GetClassName());
    return;
  }
  if (!elementData) return;
  BaseClass* receiver = GetReceiver(type, elementData);
  if (receiver->IsReflected() && receiver->Parent != object) receiver->SetParentDeep(object);
  ReadingScope::Begin(*receiver, elementData);
  receiver->Load(child, elementData, errors, extra);
  if (const OneClassMember* member = FindElementMember(element)) member->NotifySet(object, elementData);
}

bool BaseClass::ReadMemberSourceFile(const XmlNode*, void* data) {
  const OneClassDesc* desc = GetClassDesc();
  const OneClassMember* source = desc ? desc->FindMember("SourceFile") : nullptr;
  const OneClassMember* rules = desc ? desc->FindMember("LoadingRules") : nullptr;
  if (!source || !rules || !source->Type || !rules->Type) return false;
  const SourceFileScope sourceFile;
  if (sourceFile.IsNested()) return false;
  auto* object = static_cast<BaseClass*>(data ? data : this);
  const auto getText = [object](const OneClassMember& member) {
    void* value = member.GetData(object);
    StrBuffer text;
    if (value) GetReceiver(member.Type, value)->GetValueText(text, value, member.Extra, "value");
    return std::string(text.View());
  };
  const std::string path = getText(*source);
  XmlNode root;
  if (path.empty() || !root.ReadFile(path.c_str())) return false;
  ReadingScope::AddSource(root);
  constexpr const char* gaps = " ,;\t\r\n";
  const std::string names = getText(*rules);
  for (size_t from = names.find_first_not_of(gaps); from != std::string::npos;) {
    const size_t to = std::min(names.find_first_of(gaps, from), names.size());
    const std::string_view name = std::string_view(names).substr(from, to - from);
    // The pair itself stays, see SourceFileScope.
    const XmlNode* child = name == "SourceFile" || name == "LoadingRules" ? nullptr : root.FindChild(name);
    if (child) LoadElement(child, object, nullptr, nullptr);
    from = names.find_first_not_of(gaps, to);
  }
  return true;
}

bool BaseClass::ReadFromFile(const char* path) { return SafeReadFromFile(path, true); }

bool BaseClass::SafeReadFromFile(const char* path, bool quiet) {
  if (!IsReflected()) return false;
  XmlNode root;
  if (!root.ReadFile(path)) return false;
  ReadingScope::AddSource(root);
  XmlErrorLog errors;
  errors.ShowBox = !quiet;
  const bool loaded = Load(&root, this, &errors);
  if (!errors.Messages.Empty()) GetEngineHost().Log(errors.Messages.Get());
  return loaded;
}

bool BaseClass::WriteToFile(const char* path) {
  CurrentXmlFile = path;
  XmlNode root;
  SaveOnlyChanges = IsDeltaSaved();
  Save(&root, this);
  SaveOnlyChanges = false;
  const bool written = root.WriteFile(path);
  CurrentXmlFile = "unknown";
  return written;
}

bool WriteChunkFromXml(BinStream& stream, uint32_t tag, BaseClass& object) {
  XmlNode root;
  object.Save(&root, &object);
  StrBuffer text;
  return root.Print(text, 0) && WriteTextChunk(stream, tag, text.View());
}

bool ReadXmlChunk(BinStream& stream, uint32_t size, BaseClass& object, XmlErrorLog* errors) {
  if (size >= INT32_MAX || !HasItems(stream, size, 1)) return false;
  StrBuffer text;
  text.SetLength(size);
  if (stream.Read(text.Data, size) != int64_t(size)) return false;
  XmlNode root;
  if (root.Parse(text.View()) <= 0) return false;
  ReadingScope::AddSource(root);
  return object.Load(&root, &object, errors);
}
