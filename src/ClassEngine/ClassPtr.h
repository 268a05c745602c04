#pragma once
// One owned reflected object, or none.
#include <memory>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ReadingScope.h"
#include "ClassEngine/Str.h"

/// Holds an object of class T or of one derived from it. In XML the object is a child with its class name as tag; loading a node
/// without one leaves null.
template <class T>
class ClassPtr : public BaseClass {
 public:
  static const char* StaticClassName() {
    static const std::string name = std::string("ClassPtr.") + T::StaticClassName();
    return name.c_str();
  }
  ClassPtr() = default;
  ~ClassPtr() override = default;
  ClassPtr(const ClassPtr&) = delete;
  ClassPtr& operator=(const ClassPtr&) = delete;

  T* Get() const { return m_Object.get(); }
  T* operator->() const { return m_Object.get(); }
  T& operator*() const { return *m_Object; }
  explicit operator bool() const { return m_Object != nullptr; }
  /// Deletes the object held and takes ownership of another, made by new; null clears.
  void Set(T* object) {
    if (object == m_Object.get()) return;
    if (object) object->SetParentDeep(this);
    m_Object.reset(object);
  }
  /// Hands the object over to the caller.
  T* Release() {
    if (m_Object) m_Object->SetParent(nullptr);
    return m_Object.release();
  }

  void ResetClass(void* data = nullptr) override { At(data).Set(nullptr); }
  bool Load(const XmlNode* node, void* data = nullptr, XmlErrorLog* errors = nullptr, void* extra = nullptr) override {
    ClassPtr& to = At(data);
    to.Set(nullptr);
    return to.LoadElements(node, &to, errors, extra);
  }
  const char* GetClassName() const override { return StaticClassName(); }
  int32_t GetElementCount() override { return m_Object ? 1 : 0; }
  const char* GetElementName(int32_t i) override { return IsObject(i) ? m_Object->GetClassName() : nullptr; }
  BaseClass* GetElementType(int32_t i) override { return IsObject(i) ? m_Object.get() : nullptr; }
  void* GetElementData(int32_t i, void* data) override {
    const ClassPtr& from = At(data);
    return from.IsObject(i) ? static_cast<BaseClass*>(from.m_Object.get()) : nullptr;
  }
  void* GetElementExtra(int32_t) override { return nullptr; }
  bool RemoveElement(int32_t i) override {
    if (!IsObject(i)) return false;
    Set(nullptr);
    return true;
  }
  bool IsReflected() const override { return true; }
  /// Replaces the object.
  int32_t ExpandWith(const char* className, void* data = nullptr) override {
    T* object = reflection::MakeItem<T>(className);
    if (!object) return -1;
    At(data).Set(object);
    return 0;
  }
  int GetExpansionRules() const override { return (std::is_abstract_v<T> ? 0 : AddItemClass) | AddDerivedClasses | AddAtMostOne; }
  const char* GetExpandableClass() const override { return T::StaticClassName(); }
  bool IsTransparentElement() const override { return true; }
  bool MoveElement(int32_t i, int32_t delta) override { return IsObject(i) && delta == 0; }
  /// The copy replaces what `dst` holds, when it is complete: the one pointer may lie inside the object of the other.
  bool FullCopy(void* srcData, void*, BaseClass* dst, void* dstData, void*, int options = 0) override {
    ClassPtr& from = At(srcData);
    auto* to = dynamic_cast<ClassPtr*>(dstData ? static_cast<BaseClass*>(dstData) : dst);
    if (!to) return false;
    if (to == &from) return true;
    std::unique_ptr<BaseClass> made(from.m_Object ? from.m_Object->New() : nullptr);
    bool copied = !from.m_Object;
    if (made) {
      made->SetParent(to);
      copied = from.m_Object->FullCopy(from.GetElementData(0, nullptr), nullptr, made.get(), made.get(), nullptr, options);
    }
    to->Set(static_cast<T*>(made.release()));
    return copied;
  }
  void SaveBin(void* data, void*, BinStream& stream, const LargeNameHash* names = nullptr, const NameHash* = nullptr) override {
    ClassPtr& from = At(data);
    WriteBYTE(stream, from.m_Object ? 1 : 0);
    if (!from.m_Object) return;
    WriteBinString(stream, from.m_Object->GetClassName(), names);
    from.m_Object->SaveBin(from.GetElementData(0, nullptr), nullptr, stream, names);
  }
  bool LoadBin(void* data, void*, BinStream& stream, const LargeNameHash* names = nullptr) override {
    ClassPtr& to = At(data);
    to.Set(nullptr);
    ReadingScope reading(stream);
    const bool read = to.LoadBinObject(stream, names);
    return reading.Finish(to) && read;
  }
  void SetParentDeep(BaseClass* parent) override {
    SetParent(parent);
    if (m_Object && m_Object->Parent != this) m_Object->SetParentDeep(this);
  }
  BaseClass* New() const override { return new ClassPtr; }

 private:
  bool LoadBinObject(BinStream& stream, const LargeNameHash* names) {
    if (GetBytesLeft(stream) < 1) return false;
    if (!ReadBYTE(stream)) return true;
    StrBuffer className;
    if (!ReadBinString(stream, className, names) || ExpandWith(className.Get()) < 0) return false;
    return LoadBinElement(m_Object.get(), GetElementData(0, nullptr), nullptr, stream, names);
  }
  bool IsObject(int32_t i) const { return i == 0 && m_Object; }
  ClassPtr& At(void* data) { return data ? *static_cast<ClassPtr*>(static_cast<BaseClass*>(data)) : *this; }
  std::unique_ptr<T> m_Object;
};
