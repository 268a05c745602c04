#pragma once
// Reflected containers that own objects of one class and of classes derived from it.
//
// In XML an item is a child with its class name as tag. Adding by name takes classes that the registry knows and that derive from
// the item class: a name out of a file never makes an object of another kind.
#include <memory>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ReadingScope.h"
#include "ClassEngine/Str.h"

/// The order is that of insertion. Looking up a class name costs O(1), so loading is linear in the items.
template <class T>
class ClassArray : public BaseClass, public DynArray<T*, 15> {
  using Array = DynArray<T*, 15>;

 public:
  using Array::Count;
  using Array::Data;

  static const char* StaticClassName() {
    static const std::string name = std::string("ClassArray.") + T::StaticClassName();
    return name.c_str();
  }
  ClassArray() = default;
  ~ClassArray() override { DeleteItems(); }
  ClassArray(const ClassArray&) = delete;
  ClassArray& operator=(const ClassArray&) = delete;

  /// Takes ownership of an object made by new. Its index.
  int32_t Add(T* item) {
    item->SetParentDeep(this);
    return Array::Add(item);
  }
  void InsertAt(int32_t index, T* item) {
    item->SetParentDeep(this);
    Array::InsertAt(index, item);
  }
  /// Deletes `count` items and closes the gap.
  void RemoveAt(int32_t index, int32_t count = 1) {
    for (int32_t i = index; i < index + count; i++) delete (*this)[i];
    Array::RemoveAt(index, count);
  }
  /// Hands the item over to the caller.
  T* Release(int32_t index) {
    T* item = (*this)[index];
    Array::RemoveAt(index);
    item->SetParent(nullptr);
    return item;
  }
  /// Deletes all items.
  void Clear() { DeleteItems(); }

  void ResetClass(void* data = nullptr) override { At(data).DeleteItems(); }
  bool Load(const XmlNode* node, void* data = nullptr, XmlErrorLog* errors = nullptr, void* extra = nullptr) override {
    ClassArray& to = At(data);
    to.DeleteItems();
    return to.LoadElements(node, &to, errors, extra);
  }
  const char* GetClassName() const override { return StaticClassName(); }
  int32_t GetElementCount() override { return Count; }
  const char* GetElementName(int32_t i) override { return IsItem(i) ? Data[i]->GetClassName() : nullptr; }
  BaseClass* GetElementType(int32_t i) override { return IsItem(i) ? Data[i] : nullptr; }
  void* GetElementData(int32_t i, void* data) override {
    const ClassArray& from = At(data);
    return from.IsItem(i) ? static_cast<BaseClass*>(from.Data[i]) : nullptr;
  }
  void* GetElementExtra(int32_t) override { return nullptr; }
  bool RemoveElement(int32_t i) override {
    if (!IsItem(i)) return false;
    RemoveAt(i);
    return true;
  }
  bool IsReflected() const override { return true; }
  int32_t ExpandWith(const char* className, void* data = nullptr) override {
    T* item = MakeItem(className);
    return item ? At(data).Add(item) : -1;
  }
  int GetExpansionRules() const override { return AddDerivedClasses; }
  const char* GetExpandableClass() const override { return T::StaticClassName(); }
  bool MoveElement(int32_t i, int32_t delta) override {
    if (!IsItem(i)) return false;
    if (delta == 0) return true;
    if (delta < -i || delta >= Count - i) return false;
    T* item = Data[i];
    Array::RemoveAt(i);
    Array::InsertAt(i + delta, item);
    return true;
  }
  bool FullCopy(void* srcData, void*, BaseClass* dst, void* dstData, void*, int options = 0) override {
    ClassArray& from = At(srcData);
    auto* to = dynamic_cast<ClassArray*>(dstData ? static_cast<BaseClass*>(dstData) : dst);
    if (!to) return false;
    if (to == &from) return true;
    // A copy joins the target when it is complete: where the target lies inside the item, the copying would not end.
    for (int32_t i = 0, count = from.Count; i < count; i++) {
      std::unique_ptr<BaseClass> made(from.Data[i]->New());
      if (!made) return false;
      made->SetParent(to);
      from.Data[i]->FullCopy(static_cast<BaseClass*>(from.Data[i]), nullptr, made.get(), made.get(), nullptr, options);
      to->Add(static_cast<T*>(made.release()));
    }
    return true;
  }
  void SaveBin(void* data, void*, BinStream& stream, const LargeNameHash* names = nullptr, const NameHash* = nullptr) override {
    const ClassArray& from = At(data);
    WriteDWORD(stream, uint32_t(from.Count));
    for (T* item : from) {
      WriteBinString(stream, item->GetClassName(), names);
      item->SaveBin(static_cast<BaseClass*>(item), nullptr, stream, names);
    }
  }
  /// Behind the name of a class that can't be made nothing can be read: what came before it stays.
  bool LoadBin(void* data, void*, BinStream& stream, const LargeNameHash* names = nullptr) override {
    ClassArray& to = At(data);
    to.DeleteItems();
    ReadingScope reading(stream);
    const bool read = to.LoadBinItems(stream, names);
    return reading.Finish(to) && read;
  }
  void SetParentDeep(BaseClass* parent) override {
    SetParent(parent);
    for (T* item : *this)
      if (item->Parent != this) item->SetParentDeep(this);
  }
  BaseClass* New() const override { return new ClassArray; }

 protected:
  /// A fresh item, not yet owned; null where the class can't stand here.
  virtual T* MakeItem(const char* className) const { return reflection::MakeItem<T>(className); }

 private:
  bool IsItem(int32_t i) const { return i >= 0 && i < Count; }
  ClassArray& At(void* data) { return data ? *static_cast<ClassArray*>(static_cast<BaseClass*>(data)) : *this; }
  bool LoadBinItems(BinStream& stream, const LargeNameHash* names) {
    if (GetBytesLeft(stream) < 4) return false;
    const uint32_t count = ReadDWORD(stream);
    if (!HasItems(stream, count, 2)) return false;  // a name and at least one byte each
    StrBuffer className;
    for (uint32_t n = 0; n < count; n++) {
      if (!ReadBinString(stream, className, names)) return false;
      const int32_t i = ExpandWith(className.Get());
      if (i < 0 || !LoadBinElement(Data[i], GetElementData(i, nullptr), nullptr, stream, names)) return false;
    }
    return true;
  }
  // From the end, so that an item's destructor that looks at the array sees no dead item.
  void DeleteItems() {
    while (Count) delete Array::RemoveLast();
    Array::Release();
  }
};

/// A ClassArray with items of exactly class T.
template <class T>
class ClonesArray : public ClassArray<T> {
 public:
  static const char* StaticClassName() {
    static const std::string name = std::string("ClonesArray.") + T::StaticClassName();
    return name.c_str();
  }
  const char* GetClassName() const override { return StaticClassName(); }
  int GetExpansionRules() const override { return AddItemClass; }
  BaseClass* New() const override { return new ClonesArray; }

 protected:
  T* MakeItem(const char* className) const override {
    return std::string_view(className) == T::StaticClassName() ? reflection::MakeItem<T>(className) : nullptr;
  }
};
