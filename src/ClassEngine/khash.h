#pragma once
// Hash tables with string keys for class, member and other name sets.
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "ClassEngine/Assert.h"
#include "ClassEngine/dynarray.h"

/// Key policy of the name tables: exact, case-sensitive match; every entry keeps a private copy of its key.
struct Str_for_hash {
  using View = std::string_view;
  static uint32_t GetHash(View key) {
    uint64_t h = 0xCBF29CE484222325u;  // FNV-1a
    for (const char c : key) h = (h ^ uint8_t(c)) * 0x100000001B3u;
    return uint32_t(h ^ h >> 32);
  }
  static char* Copy(View key) {
    char* copy = static_cast<char*>(GeneralAllocate(key.size() + 1));
    std::memcpy(copy, key.data(), key.size());
    copy[key.size()] = 0;
    return copy;
  }
};

/// From a key to 32 bits, with access by index of insertion. `Buckets` chains at first, room for `Capacity` entries; past that
/// the chains grow in number with the entries, so that a lookup stays O(1).
template <class Key, int Buckets, int Capacity>
class Hash {
 public:
  Hash() = default;
  ~Hash() { Clear(); }
  Hash(const Hash& other) { *this = other; }
  Hash& operator=(const Hash& other) {
    if (this == &other) return *this;
    Clear();
    for (int32_t i = 0; i < other.GetCount(); i++) Add(other.GetKeyView(i), other.GetValue(i));
    return *this;
  }

  int32_t GetCount() const { return m_Entries.Count; }
  /// Index of the entry with this key; -1 when there is none.
  int32_t Find(typename Key::View key) const {
    if (!m_Heads.Count) return -1;
    const uint32_t hash = Key::GetHash(key);
    for (int32_t i = m_Heads.Data[hash % uint32_t(m_Heads.Count)]; i >= 0; i = m_Entries.Data[i].Next) {
      const Entry& entry = m_Entries.Data[i];
      if (entry.Hash == hash && View(entry) == key) return i;
    }
    return -1;
  }
  bool Find(typename Key::View key, uint32_t& value) const {
    const int32_t index = Find(key);
    if (index < 0) return false;
    value = m_Entries.Data[index].Value;
    return true;
  }
  /// Index of the entry with this key, which is new with `value` or the old one with its old value.
  int32_t Add(typename Key::View key, uint32_t value) {
    const int32_t found = Find(key);
    if (found >= 0) return found;
    if (!m_Heads.Count)
      SetBuckets(Buckets);
    else if (m_Entries.Count >= Capacity && m_Entries.Count >= m_Heads.Count)
      SetBuckets(m_Heads.Count * 2 + 1);
    const uint32_t hash = Key::GetHash(key);
    int32_t& head = m_Heads.Data[hash % uint32_t(m_Heads.Count)];
    if (!m_Entries.Capacity) m_Entries.Reserve(Capacity < 16 ? Capacity : 16);
    const int32_t index = m_Entries.Add({Key::Copy(key), uint32_t(key.size()), hash, value, head});
    head = index;
    return index;
  }
  void Clear() {
    for (const Entry& entry : m_Entries) GeneralFree(entry.Text);
    m_Entries.Release();
    m_Heads.Release();
  }

  const char* GetKey(int32_t index) const { return EntryAt(index).Text; }
  std::string_view GetKeyView(int32_t index) const { return View(EntryAt(index)); }
  uint32_t GetValue(int32_t index) const { return EntryAt(index).Value; }

 private:
  struct Entry {
    char* Text;
    uint32_t Length, Hash, Value;
    int32_t Next;  // in the chain; -1 at its end
  };
  static std::string_view View(const Entry& entry) { return {entry.Text, entry.Length}; }
  const Entry& EntryAt(int32_t index) const {
    MORVANE_ASSERT(index >= 0 && index < m_Entries.Count);
    return m_Entries.Data[index];
  }
  void SetBuckets(int32_t count) {
    m_Heads.Release();
    m_Heads.Reserve(count);
    m_Heads.Count = count;
    std::memset(m_Heads.Data, 0xFF, size_t(count) * sizeof(int32_t));
    for (int32_t i = 0; i < m_Entries.Count; i++) {
      int32_t& head = m_Heads.Data[m_Entries.Data[i].Hash % uint32_t(count)];
      m_Entries.Data[i].Next = head;
      head = i;
    }
  }

  DynArray<Entry, 15> m_Entries;
  DynArray<int32_t, 15> m_Heads;  // first entry of each chain; -1 is none
};

using NameHash = Hash<Str_for_hash, 257, 256>;         ///< class and member tables
using LargeNameHash = Hash<Str_for_hash, 1027, 1024>;  ///< large name sets
