#pragma once
// Member functions as elements: buttons of a panel.
#include "ClassEngine/BaseClass.h"

/// One member function of T. The object is shared by all instances of the class that declares it: a static member that stores
/// nothing.
template <class T>
class _method : public ValueType, public WithoutStorage {
 public:
  static const char* StaticClassName() { return "_method"; }
  explicit _method(void (T::*function)() = nullptr) : m_Function(function) {}
  const char* GetClassName() const override { return StaticClassName(); }
  BaseClass* New() const override { return new _method(m_Function); }
  bool IsMethod() const override { return true; }
  void Call(BaseClass* owner, void*) override {
    if (m_Function && owner) (static_cast<T*>(owner)->*m_Function)();
  }
  /// `other` of the same kind only.
  void CopyMethodFrom(const BaseClass* other) override {
    if (const auto* method = dynamic_cast<const _method*>(other)) m_Function = method->m_Function;
  }
  void ResetClass(void*) override {}
  void Save(XmlNode*, void*, void*) override {}
  bool Load(const XmlNode*, void*, XmlErrorLog*, void*) override { return true; }
  bool FullCopy(void*, void*, BaseClass*, void*, void*, int) override { return true; }

 private:
  void (T::*m_Function)();
};

template <template <class> class Kind, class T>
MemberBuilder BaseClass::Method(const char* name, void (T::*function)()) {
  auto* method = new Kind<T>(function);
  DeclStatic = DeclNoSave = true;
  return MemberBuilder(reflection::AddMember(method, method, name, nullptr, reflection::CurrentDeclaration->OwnerClass,
                                             reflection::CurrentDeclaration->SectionMask));
}

/// What a panel's control tells its owner. A widget holds one callback, and owns it.
class WBaseCallback : public BaseClass {
 public:
  /// True when the event was used up.
  virtual bool Invoke(BaseWidget*, const WidgetEvent&) { return false; }
};

/// Binds a control to a member function of an object, which must outlive it.
template <class T>
class wpcallback : public WBaseCallback {
 public:
  using Function = bool (T::*)(BaseWidget* widget, const WidgetEvent& event);
  wpcallback(T* object, Function function) : m_Object(object), m_Function(function) {}
  bool Invoke(BaseWidget* widget, const WidgetEvent& event) override {
    return m_Object && (m_Object->*m_Function)(widget, event);
  }

 private:
  T* m_Object;
  Function m_Function;
};
