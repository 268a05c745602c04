#pragma once
// Names for integers: what members of type _index and combo boxes choose from.
#include "ClassEngine/dynarray.h"
#include "ClassEngine/khash.h"

/// Entries that somebody else keeps and that come and go.
class EnumProvider {
 public:
  virtual ~EnumProvider() = default;
  /// Value of the name; -1 when unknown.
  virtual int32_t FindByName(const char* name) const = 0;
  virtual int32_t GetCount() const = 0;
  /// Null when out of range.
  virtual const char* GetName(int32_t index) const = 0;
};

/// Static entries in the order of insertion, then those of the provider. A _index holds an entry's value.
class Enumerator {
 public:
  /// Index of the entry; a name that is there gets the new value.
  int32_t Add(const char* name, int32_t value);
  /// Removes the static entries.
  void Clear();
  int32_t GetCount() const { return m_Names.GetCount() + (m_Provider ? m_Provider->GetCount() : 0); }
  /// Null when out of range.
  const char* EnumName(int32_t index) const;
  /// -1 when out of range.
  int32_t EnumValue(int32_t index) const;
  /// Asks the provider first. -1 when unknown; FindIndex tells that from an entry of value -1.
  int32_t FindValue(const char* name) const;
  /// -1 when unknown.
  int32_t FindIndex(const char* name) const;
  /// Index of the first entry of that value; -1 when there is none. O(entries).
  int32_t FindIndexOfValue(int32_t value) const;
  /// Null takes it away. The caller keeps ownership.
  void SetProvider(const EnumProvider* provider) { m_Provider = provider; }

 private:
  NameHash m_Names;  // name to index
  DynArray<int32_t> m_Values;
  const EnumProvider* m_Provider = nullptr;
};

/// All enumerators by name. Made on first mention, filled by who owns them, never removed.
class EnumRegistry {
 public:
  static Enumerator& FindOrCreate(const char* name);
  /// Null where nobody has mentioned it.
  static Enumerator* Find(const char* name);
};
