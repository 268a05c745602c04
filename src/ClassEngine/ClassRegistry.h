#pragma once
// The one table of all classes, by name. Filled as classes are first used, never emptied. Main thread.
#include <memory>
#include <string>
#include <string_view>

#include "ClassEngine/ClassMember.h"

class BaseClass;

/// The class name in a type name as the compiler prints or mangles it: "struct Pen", "3Pen" and "Pen *" are "Pen", "room::Pen"
/// too.
std::string NormalizeClassName(std::string_view typeName);
/// Type name of M, as the compiler prints it.
std::string GetPrintedTypeName(const char* mangledName);

/// The prototype; null where no class of that name is known.
BaseClass* FindClass(std::string_view name);
/// Finds or creates the record. The name is taken as it stands.
OneClassDesc* EnsureClass(std::string_view name);
/// The record; null where there is none.
OneClassDesc* FindClassDesc(std::string_view name);
/// The record; where there is none a box says "class not registered".
OneClassDesc* RequireClassDesc(std::string_view name);
/// Enters the class of `object`: prototype, members, category (null: none). Containers, with "." in their name, are not entered.
/// Called again it only adds what is missing.
void RegisterClass(BaseClass& object, const char* category = nullptr);
/// The records of all classes that can be made, in the order of registration.
DynArray<OneClassDesc*> GetAllClasses();

/// The type object of a tag: the prototype of a class, or, for containers, an instance that is kept for this.
template <class Tag>
BaseClass* EnsureTypeObject() {
  static BaseClass* const type = [] {
    const OneClassDesc* desc = FindClassDesc(Tag::StaticClassName());
    if (desc && desc->Prototype) return desc->Prototype;
    Tag* made = new Tag;
    RegisterClass(*made);
    desc = FindClassDesc(Tag::StaticClassName());
    if (!desc || !desc->Prototype) return static_cast<BaseClass*>(made);
    delete made;
    return desc->Prototype;
  }();
  return type;
}

/// Makes a class known by name before any instance of it exists, for classes that only files name. Written once in a source file,
/// at namespace scope; the class is entered when the registry is first asked. Static constructors only note it down.
#define REGISTER_CLASS(Class, Category)                    \
  [[maybe_unused]] static const PendingClass MORVANE_JOIN( \
      s_PendingClass, __COUNTER__)([] { RegisterClass(*std::make_unique<Class>(), Category); })
#define MORVANE_JOIN_NOW(a, b) a##b
#define MORVANE_JOIN(a, b) MORVANE_JOIN_NOW(a, b)

class PendingClass {
 public:
  explicit PendingClass(void (*enter)());

 private:
  friend void EnterPendingClasses();
  void (*m_Enter)();
  const PendingClass* m_Next;
};
