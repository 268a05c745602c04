#pragma once
// Where the first element of a name stands in a list that grows at its end; four to eight bytes an element.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include "comms/Str.h"

namespace comms {

/// `List` holds elements with a member Name and outlives the index.
template <class List>
class NameIndex {
 public:
  explicit NameIndex(const List& list) : m_List(list) {}

  /// Index of the first element of that name, -1 without one.
  int Find(std::string_view name) const { return m_Table.empty() ? -1 : m_Table[FindPlace(name)]; }
  /// Takes the last element of the list in, unless an earlier one has its name.
  void AddLast() {
    if (m_Used * 2 >= m_Table.size()) Grow();
    int& entry = m_Table[FindPlace(m_List.back().Name)];
    if (entry >= 0) return;
    entry = int(m_List.size()) - 1;
    m_Used++;
  }

 private:
  size_t FindPlace(std::string_view name) const {
    const size_t mask = m_Table.size() - 1;
    size_t place = std::hash<std::string_view>()(name) & mask;
    while (m_Table[place] >= 0 && m_List[size_t(m_Table[place])].Name != name) place = (place + 1) & mask;
    return place;
  }
  void Grow() {
    cList<int> old(m_Table.empty() ? 16 : m_Table.size() * 2, -1);
    old.swap(m_Table);
    for (const int entry : old)
      if (entry >= 0) m_Table[FindPlace(m_List[size_t(entry)].Name)] = entry;
  }

  const List& m_List;
  cList<int> m_Table;  // a power of two of places, at most half of them taken
  size_t m_Used = 0;
};

}  // namespace comms
