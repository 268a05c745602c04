#include "ClassEngine/Enumerator.h"

#include "ClassEngine/NamedTable.h"

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

Enumerator* EnumRegistry::Find(const char* name) { return NamedTable<Enumerator>::Get().Find(name); }

Enumerator& EnumRegistry::FindOrCreate(const char* name) {
  return NamedTable<Enumerator>::Get().FindOrCreate(name, [](const char*, int32_t) { return new Enumerator; });
}
