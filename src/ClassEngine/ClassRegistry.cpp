#include "ClassEngine/ClassRegistry.h"

#include <cxxabi.h>

#include <cctype>
#include <cstdlib>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/NamedTable.h"

namespace {

using Registry = NamedTable<OneClassDesc>;

// Constant-initialised, so that it is there for every static constructor.
constinit const PendingClass* s_FirstPending = nullptr;

bool IsNameCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.'; }

void EraseWord(std::string& text, std::string_view word) {
  for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at)) {
    if (at && IsNameCharacter(text[at - 1]))
      at += word.size();
    else
      text.erase(at, word.size());
  }
}

}  // namespace

PendingClass::PendingClass(void (*enter)()) : m_Enter(enter), m_Next(s_FirstPending) { s_FirstPending = this; }

// One that is entered may mention others, by name too: each leaves the list before it runs.
void EnterPendingClasses() {
  while (const PendingClass* pending = s_FirstPending) {
    s_FirstPending = pending->m_Next;
    pending->m_Enter();
  }
}

std::string GetPrintedTypeName(const char* mangledName) {
  int status = 0;
  char* printed = abi::__cxa_demangle(mangledName, nullptr, nullptr, &status);
  std::string result = status == 0 && printed ? printed : mangledName;
  std::free(printed);
  return result;
}

std::string NormalizeClassName(std::string_view typeName) {
  std::string text(typeName);
  const bool mangled =
      !text.empty() && (std::isdigit(static_cast<unsigned char>(text[0])) ||
                        (text[0] == 'N' && text.size() > 1 && std::isdigit(static_cast<unsigned char>(text[1]))));
  if (mangled) text = GetPrintedTypeName(text.c_str());
  EraseWord(text, "struct ");
  EraseWord(text, "class ");
  std::string name;
  for (size_t i = 0; i < text.size(); i++) {
    if (text[i] == '<') {  // ClassArray<Pen> calls itself ClassArray.Pen
      name += '.';
    } else if (text[i] == ':') {  // what stands before is a namespace
      const size_t dot = name.rfind('.');
      name.erase(dot == std::string::npos ? 0 : dot + 1);
    } else if (IsNameCharacter(text[i])) {
      name += text[i];
    }
  }
  return name;
}

OneClassDesc* FindClassDesc(std::string_view name) { return Registry::Get().Find(name); }

BaseClass* FindClass(std::string_view name) {
  if (s_FirstPending) EnterPendingClasses();
  const OneClassDesc* desc = FindClassDesc(name);  // most names are clean already
  if (!desc) desc = FindClassDesc(NormalizeClassName(name));
  return desc ? desc->Prototype : nullptr;
}

OneClassDesc* EnsureClass(std::string_view name) {
  return &Registry::Get().FindOrCreate(name, [](const char* text, int32_t index) {
    auto* desc = new OneClassDesc;
    desc->Name = text;
    desc->Index = index;
    return desc;
  });
}

OneClassDesc* RequireClassDesc(std::string_view name) {
  if (s_FirstPending) EnterPendingClasses();
  OneClassDesc* desc = FindClassDesc(name);
  if (!desc) ShowClassError("class not registered: \"%.*s\"", int(name.size()), name.data());
  return desc;
}

void RegisterClass(BaseClass& object, const char* category) {
  const std::string name = NormalizeClassName(object.GetClassName());
  if (name.find('.') != std::string::npos) return;
  OneClassDesc* desc = EnsureClass(name);
  // A prototype of another class under this name is left over from a module that is gone.
  if (desc->Prototype && std::string_view(desc->Prototype->GetClassName()) != object.GetClassName()) desc->Prototype = nullptr;
  if (!desc->Prototype && !desc->Declaring) {
    BaseClass* made = object.New();  // a class of the declaration pattern makes its prototype itself on the way
    if (!desc->Prototype)
      desc->Prototype = made;
    else
      delete made;
  }
  if (desc->Prototype && !desc->Members.Count) desc->Prototype->RegisterMembers();
  if (!desc->Category) desc->Category = category;
}

DynArray<OneClassDesc*> GetAllClasses() {
  EnterPendingClasses();
  DynArray<OneClassDesc*> classes;
  for (OneClassDesc* desc : Registry::Get().GetAll())
    if (desc->Prototype && desc->Prototype->IsReflected()) classes.Add(desc);
  return classes;
}
