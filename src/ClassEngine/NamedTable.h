#pragma once
// Records by name that live until the program ends.
#include <string_view>

#include "ClassEngine/dynarray.h"
#include "ClassEngine/khash.h"

/// The program's one table of records of type T, filled as names are first mentioned, never emptied. Main thread.
template <class T>
class NamedTable {
 public:
  static NamedTable& Get() {
    static NamedTable& table = *new NamedTable;  // never destroyed: static objects may still ask
    return table;
  }
  /// Null where nobody has mentioned the name.
  T* Find(std::string_view name) const {
    uint32_t index;
    return m_Names.Find(name, index) ? m_Records[int32_t(index)] : nullptr;
  }
  /// make(name, index) gives the record of a new name, by new; the name it gets lives as long as the record.
  template <class Make>
  T& FindOrCreate(std::string_view name, Make&& make) {
    if (T* found = Find(name)) return *found;
    const int32_t index = m_Names.Add(name, uint32_t(m_Records.Count));
    T* made = make(m_Names.GetKey(index), index);
    m_Records.Add(made);
    return *made;
  }
  /// In the order of first mention.
  const DynArray<T*>& GetAll() const { return m_Records; }

 private:
  NameHash m_Names;  // to index in m_Records
  DynArray<T*> m_Records;
};
