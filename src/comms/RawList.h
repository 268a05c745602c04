#pragma once
// The list of mesh data: std::vector, except that growing it by resize leaves plain elements unset, so that a reader can fill
// hundreds of megabytes from all cores without a first pass that writes zeros. Whoever resizes writes every element.
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace comms {

template <class T>
struct RawAllocator {
  using value_type = T;
  RawAllocator() = default;
  template <class U>
  RawAllocator(const RawAllocator<U>&) {}
  T* allocate(std::size_t count) {
    static_assert(alignof(T) <= alignof(std::max_align_t));
    if (count > std::size_t(-1) / 2 / sizeof(T)) throw std::bad_array_new_length();
    // Small pages: asking the system for large ones costs more in compaction than it saves in faults.
    void* const data = std::malloc(count * sizeof(T));
    if (!data) throw std::bad_alloc();
    return static_cast<T*>(data);
  }
  void deallocate(T* data, std::size_t) { std::free(data); }
  template <class U>
  void construct(U* at) {
    if constexpr (!std::is_trivially_copyable_v<U>) ::new (static_cast<void*>(at)) U();
  }
  template <class U, class First, class... Rest>
  void construct(U* at, First&& first, Rest&&... rest) {
    std::construct_at(at, std::forward<First>(first), std::forward<Rest>(rest)...);
  }
  friend bool operator==(const RawAllocator&, const RawAllocator&) { return true; }
};

template <class T>
using cRawList = std::vector<T, RawAllocator<T>>;

}  // namespace comms
