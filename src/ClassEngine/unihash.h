#pragma once
// Hash table keyed by three integers: voxel, cell or group coordinates.
//
// Entries lie in one dense array, so that a walk costs no more than the entries and its order depends only on the sequence of
// operations: insertion order, except that Remove moves the last entry into the gap. An open-addressing index of 32-bit entry
// numbers (power of two, linear probing, deletion by moving back) finds them. A lookup costs O(1), also for the compact blocks
// and planes of keys that volumes make.
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "ClassEngine/Assert.h"

/// Anything with three integers x, y, z is a key.
template <class Key>
concept CoordKey = requires(const Key& key) {
  { key.x } -> std::convertible_to<int32_t>;
  { key.y } -> std::convertible_to<int32_t>;
  { key.z } -> std::convertible_to<int32_t>;
};

/// The key as the table hands it out; turns into any key type that is built as {x, y, z}.
struct CoordInt3 {
  int32_t x = 0, y = 0, z = 0;
  friend bool operator==(const CoordInt3&, const CoordInt3&) = default;
  template <CoordKey Key>
  requires(!std::same_as<Key, CoordInt3>) operator Key() const { return Key{x, y, z}; }
};

/// V may be move-only. Pointers to values are valid until the next call that adds, removes or clears.
template <class V>
class CoordHash {
 public:
  /// The value at `key`; null when there is none.
  template <CoordKey Key>
  V* Find(const Key& key) {
    const size_t slot = FindSlot(Pack(key));
    return slot == NoSlot ? nullptr : &m_Entries[m_Slots[slot] - 1].Value;
  }
  template <CoordKey Key>
  const V* Find(const Key& key) const {
    return const_cast<CoordHash*>(this)->Find(key);
  }
  template <CoordKey Key>
  bool Contains(const Key& key) const {
    return Find(key) != nullptr;
  }
  /// The value at `key`, made by V() when there was none; `added` tells which.
  template <CoordKey Key>
  V& FindOrAdd(const Key& key, bool* added = nullptr) {
    if ((m_Entries.size() + 1) * 8 > m_Slots.size() * 5) Rehash(m_Slots.empty() ? MinSlots : m_Slots.size() * 2);
    const CoordInt3 packed = Pack(key);
    size_t slot = Hash(packed) & m_Mask;
    for (; m_Slots[slot]; slot = (slot + 1) & m_Mask) {
      Entry& entry = m_Entries[m_Slots[slot] - 1];
      if (entry.Key == packed) {
        if (added) *added = false;
        return entry.Value;
      }
    }
    m_Entries.push_back(Entry{packed, V()});
    m_Slots[slot] = uint32_t(m_Entries.size());
    if (added) *added = true;
    return m_Entries.back().Value;
  }
  /// Puts `value` at `key`, over the old one if there is one.
  template <CoordKey Key>
  V& Set(const Key& key, V value) {
    return FindOrAdd(key) = std::move(value);
  }
  /// False when there was nothing at `key`.
  template <CoordKey Key>
  bool Remove(const Key& key) {
    const size_t slot = FindSlot(Pack(key));
    if (slot == NoSlot) return false;
    const uint32_t gone = m_Slots[slot] - 1;
    CloseGap(slot);
    const uint32_t last = uint32_t(m_Entries.size() - 1);
    if (gone != last) {
      m_Slots[FindSlot(m_Entries[last].Key)] = gone + 1;
      m_Entries[gone] = std::move(m_Entries[last]);
    }
    m_Entries.pop_back();
    return true;
  }
  /// Removes all. Memory stays for the next filling of like size; a table that was far larger once gives it back.
  void Clear() {
    const size_t wanted = m_Entries.size() * 8;
    m_Entries.clear();
    if (m_Slots.size() > KeptSlots && m_Slots.size() > wanted) {
      m_Entries.shrink_to_fit();
      m_Slots = std::vector<uint32_t>();
      m_Mask = 0;
    } else {
      m_Slots.assign(m_Slots.size(), 0);
    }
  }
  /// Makes room for `count` entries in all.
  void Reserve(size_t count) {
    m_Entries.reserve(count);
    size_t slots = m_Slots.empty() ? MinSlots : m_Slots.size();
    while (count * 8 > slots * 5) slots *= 2;
    if (slots > m_Slots.size()) Rehash(slots);
  }

  size_t Count() const { return m_Entries.size(); }
  bool Empty() const { return m_Entries.empty(); }
  /// Bytes of the table itself, without what the values own.
  size_t Bytes() const { return m_Entries.capacity() * sizeof(Entry) + m_Slots.capacity() * sizeof(uint32_t); }

  /// Key by number, 0 .. Count() - 1, in walking order: lets a parallel pass share the entries out.
  const CoordInt3& KeyAt(size_t index) const {
    MORVANE_ASSERT(index < m_Entries.size());
    return m_Entries[index].Key;
  }

  /// visit(key, value) for every entry; the key turns into any key type. The table must not change meanwhile, the values may.
  template <class Visit>
  void ForEach(Visit&& visit) {
    for (Entry& entry : m_Entries) visit(static_cast<const CoordInt3&>(entry.Key), entry.Value);
  }
  template <class Visit>
  void ForEach(Visit&& visit) const {
    for (const Entry& entry : m_Entries) visit(entry.Key, entry.Value);
  }

 private:
  struct Entry {
    CoordInt3 Key;
    V Value;
  };
  static constexpr size_t NoSlot = ~size_t(0), MinSlots = 16, KeptSlots = 4096;

  template <CoordKey Key>
  static CoordInt3 Pack(const Key& key) {
    return {int32_t(key.x), int32_t(key.y), int32_t(key.z)};
  }
  // Each coordinate meets an odd 64-bit constant of its own, then the high half, where all bits have met, is folded down twice:
  // neighbouring keys, planes and multiples of a power of two must not share slots.
  static size_t Hash(const CoordInt3& key) {
    uint64_t h = uint64_t(uint32_t(key.x)) * 0x9E3779B97F4A7C15u;
    h ^= h >> 32;
    h = (h + uint32_t(key.y)) * 0xD6E8FEB86659FD93u;
    h ^= h >> 32;
    h = (h + uint32_t(key.z)) * 0xA0761D6478BD642Fu;
    return size_t(h ^ h >> 32);
  }
  size_t FindSlot(const CoordInt3& key) const {
    if (m_Entries.empty()) return NoSlot;
    for (size_t slot = Hash(key) & m_Mask; m_Slots[slot]; slot = (slot + 1) & m_Mask)
      if (m_Entries[m_Slots[slot] - 1].Key == key) return slot;
    return NoSlot;
  }
  // Entries behind the gap move back as far as their own place lets them, so that no probe stops early.
  void CloseGap(size_t gap) {
    for (size_t next = (gap + 1) & m_Mask; m_Slots[next]; next = (next + 1) & m_Mask) {
      const size_t home = Hash(m_Entries[m_Slots[next] - 1].Key) & m_Mask;
      if (((next - home) & m_Mask) < ((next - gap) & m_Mask)) continue;
      m_Slots[gap] = m_Slots[next];
      gap = next;
    }
    m_Slots[gap] = 0;
  }
  void Rehash(size_t slots) {
    m_Slots.assign(slots, 0);
    m_Mask = slots - 1;
    for (size_t i = 0; i < m_Entries.size(); i++) {
      size_t slot = Hash(m_Entries[i].Key) & m_Mask;
      while (m_Slots[slot]) slot = (slot + 1) & m_Mask;
      m_Slots[slot] = uint32_t(i + 1);
    }
  }

  std::vector<Entry> m_Entries;
  std::vector<uint32_t> m_Slots;  // entry number + 1; 0 is free
  size_t m_Mask = 0;
};
