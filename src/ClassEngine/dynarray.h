#pragma once
// The plain growing array of the class engine.
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "ClassEngine/Assert.h"
#include "ClassEngine/GeneralMemory.h"

/// Items are raw memory to it: no constructor, destructor or assignment of T runs, and items are moved by their bytes. `Margin`
/// is what is added on every growth. Memory comes from the general allocator, so an array may be used by any one thread.
template <class T, int Margin = 15>
class DynArray {
  static_assert(std::is_trivially_copyable_v<T>, "items are moved by their bytes");

 public:
  T* Data = nullptr;
  int32_t Count = 0;
  int32_t Capacity = 0;

  DynArray() = default;
  ~DynArray() { GeneralFree(Data); }
  DynArray(const DynArray& other) { AddMany(other.Data, other.Count); }
  DynArray(DynArray&& other) noexcept { Swap(other); }
  DynArray& operator=(const DynArray& other) {
    if (this == &other) return *this;
    Count = 0;
    AddMany(other.Data, other.Count);
    return *this;
  }
  DynArray& operator=(DynArray&& other) noexcept {
    Swap(other);
    return *this;
  }
  void Swap(DynArray& other) noexcept {
    std::swap(Data, other.Data);
    std::swap(Count, other.Count);
    std::swap(Capacity, other.Capacity);
  }

  /// Index of the new item. `item` may stand in this array.
  int32_t Add(const T& item) {
    const T copy = item;
    if (Count == Capacity) Grow(int64_t(Count) + 1);
    Data[Count] = copy;
    return Count++;
  }
  /// Appends `count` items from elsewhere; index of the first.
  int32_t AddMany(const T* items, int32_t count) {
    MORVANE_ASSERT(count >= 0);
    const int32_t first = Count;
    if (!count) return first;
    if (int64_t(Count) + count > Capacity) Grow(int64_t(Count) + count);
    std::memcpy(static_cast<void*>(Data + Count), items, size_t(count) * sizeof(T));
    Count += count;
    return first;
  }
  /// Puts an item at `index`, 0 .. Count; those from there on move up.
  void InsertAt(int32_t index, const T& item) {
    MORVANE_ASSERT(index >= 0 && index <= Count);
    const T copy = item;
    if (Count == Capacity) Grow(int64_t(Count) + 1);
    std::memmove(static_cast<void*>(Data + index + 1), Data + index, size_t(Count - index) * sizeof(T));
    Data[index] = copy;
    Count++;
  }
  /// Closes the gap that `count` items leave.
  void RemoveAt(int32_t index, int32_t count = 1) {
    MORVANE_ASSERT(index >= 0 && count >= 0 && index <= Count - count);
    if (!count) return;
    std::memmove(static_cast<void*>(Data + index), Data + index + count, size_t(Count - index - count) * sizeof(T));
    Count -= count;
  }
  T RemoveLast() {
    MORVANE_ASSERT(Count > 0);
    return Data[--Count];
  }
  /// Index of the first equal item; -1 when there is none.
  int32_t Find(const T& item) const {
    for (int32_t i = 0; i < Count; i++)
      if (Data[i] == item) return i;
    return -1;
  }

  T& operator[](int32_t index) {
    MORVANE_ASSERT(index >= 0 && index < Count);
    return Data[index];
  }
  const T& operator[](int32_t index) const {
    MORVANE_ASSERT(index >= 0 && index < Count);
    return Data[index];
  }

  /// Room for `capacity` items in all, exactly; Count stays.
  void Reserve(int32_t capacity) {
    if (capacity > Capacity) SetCapacity(capacity);
  }
  /// Gives back what lies more than `margin` items past the last one.
  void Shrink(int32_t margin) {
    if (int64_t(Count) + margin < Capacity) SetCapacity(int64_t(Count) + margin);
  }
  /// Empties and keeps the memory.
  void Clear() { Count = 0; }
  /// Empties and gives the memory back.
  void Release() { DynArray().Swap(*this); }

  T* begin() { return Data; }
  T* end() { return Data + Count; }
  const T* begin() const { return Data; }
  const T* end() const { return Data + Count; }

 private:
  void Grow(int64_t needed) { SetCapacity(Capacity ? needed + Capacity / 2 + Margin : needed + Margin); }
  void SetCapacity(int64_t capacity) {
    // A count is 32 bits wide: close to the end the margin gives way.
    if (capacity > INT32_MAX) capacity = INT32_MAX;
    MORVANE_ASSERT(capacity >= Count && capacity != Capacity);
    Data = static_cast<T*>(GeneralReallocate(Data, size_t(capacity) * sizeof(T)));
    Capacity = int32_t(capacity);
  }
};
