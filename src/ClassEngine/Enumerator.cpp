#include "ClassEngine/Enumerator.h"

int32_t Enumerator::Add(const char* name, int32_t value) {
  const int32_t index = m_Names.Add(name, 0);
  if (index == m_Values.Count)
    m_Values.Add(value);
  else
    m_Values[index] = value;
  return index;
}

void Enumerator::Clear() {
  m_Names.Clear();
  m_Values.Clear();
}

const char* Enumerator::EnumName(int32_t index) const {
  if (index < 0 || index >= GetCount()) return nullptr;
  return index < m_Values.Count ? m_Names.GetKey(index) : m_Provider->GetName(index - m_Values.Count);
}

int32_t Enumerator::EnumValue(int32_t index) const {
  if (index >= 0 && index < m_Values.Count) return m_Values[index];
  const char* name = EnumName(index);
  return name ? m_Provider->FindByName(name) : -1;
}

int32_t Enumerator::FindValue(const char* name) const {
  if (m_Provider) {
    const int32_t value = m_Provider->FindByName(name);
    if (value != -1) return value;
  }
  const int32_t index = m_Names.Find(name);
  return index < 0 ? -1 : m_Values[index];
}

int32_t Enumerator::FindIndex(const char* name) const {
  const int32_t index = m_Names.Find(name);
  if (index >= 0 || !m_Provider) return index;
  const std::string_view wanted = name;
  for (int32_t i = 0; i < m_Provider->GetCount(); i++)
    if (wanted == m_Provider->GetName(i)) return m_Values.Count + i;
  return -1;
}

int32_t Enumerator::FindIndexOfValue(int32_t value) const {
  for (int32_t i = 0; i < GetCount(); i++)
    if (EnumValue(i) == value) return i;
  return -1;
}

namespace {
struct EnumTable {
  NameHash Names;  // to index in Enumerators
  DynArray<Enumerator*> Enumerators;
};
EnumTable& GetEnumTable() {
  static EnumTable& table = *new EnumTable;
  return table;
}
}  // namespace

Enumerator* EnumRegistry::Find(const char* name) {
  uint32_t index;
  return GetEnumTable().Names.Find(name, index) ? GetEnumTable().Enumerators[int32_t(index)] : nullptr;
}

Enumerator& EnumRegistry::FindOrCreate(const char* name) {
  if (Enumerator* found = Find(name)) return *found;
  EnumTable& table = GetEnumTable();
  const int32_t index = table.Names.Add(name, uint32_t(table.Enumerators.Count));
  auto* made = new Enumerator(Str_for_hash::Copy(table.Names.GetKeyView(index)));
  table.Enumerators.Add(made);
  return *made;
}
