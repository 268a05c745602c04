#pragma once
// One allocation that holds a 32-bit count, a 32-bit capacity and the elements. A null pointer is the empty block, so that a cell
// that has none of something pays one pointer for it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "ClassEngine/GeneralMemory.h"

template <class T>
class Block {
  static_assert(std::is_trivially_copyable_v<T>);
  struct Header {
    uint32_t Count, Capacity;
  };

 public:
  Block() = default;
  ~Block() { Free(); }
  Block(Block&& other) noexcept : m_Header(std::exchange(other.m_Header, nullptr)) {}
  Block& operator=(Block&& other) noexcept {
    std::swap(m_Header, other.m_Header);
    return *this;
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  uint32_t Count() const { return m_Header ? m_Header->Count : 0; }
  bool Empty() const { return Count() == 0; }
  T* Data() { return m_Header ? reinterpret_cast<T*>(m_Header + 1) : nullptr; }
  const T* Data() const { return m_Header ? reinterpret_cast<const T*>(m_Header + 1) : nullptr; }
  T* begin() { return Data(); }
  T* end() { return Data() + Count(); }
  const T* begin() const { return Data(); }
  const T* end() const { return Data() + Count(); }
  T& operator[](uint32_t i) { return Data()[i]; }
  const T& operator[](uint32_t i) const { return Data()[i]; }

  /// Replaces the content by `count` elements; the allocation is kept where it fits without waste.
  void Assign(const T* elements, uint32_t count) {
    if (Resize(count)) std::memcpy(static_cast<void*>(Data()), elements, size_t(count) * sizeof(T));
  }
  void Assign(const Block& other) { Assign(other.Data(), other.Count()); }
  /// Sets the count; elements are uninitialised. True when count > 0. The block is empty where std::bad_alloc ends it.
  bool Resize(uint32_t count) {
    if (count == 0) return Free(), false;
    if (!m_Header || count > m_Header->Capacity || count < m_Header->Capacity - m_Header->Capacity / 4) {
      Free();
      m_Header = static_cast<Header*>(GeneralAllocate(sizeof(Header) + size_t(count) * sizeof(T)));
      m_Header->Capacity = count;
    }
    m_Header->Count = count;
    return true;
  }
  void Free() {
    std::free(m_Header);
    m_Header = nullptr;
  }
  /// Bytes of the allocation, the allocator's own word and its rounding to 16 bytes included.
  size_t HeapBytes() const {
    return m_Header ? (sizeof(Header) + size_t(m_Header->Capacity) * sizeof(T) + sizeof(size_t) + 15) & ~size_t(15) : 0;
  }

 private:
  Header* m_Header = nullptr;
};
