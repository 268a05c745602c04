#include "ClassEngine/ValueBases.h"

#include <algorithm>
#include <cstdio>

#include "ClassEngine/EngineHost.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ValueText.h"

namespace reflection {

bool ReportUnread(const XmlNode* node, XmlErrorLog* errors, const char* failure) {
  ReportLoadError(errors, node, "%s%s\n", failure, node->GetValue());
  return false;
}

// --- one number ----------------------------------------------------------------------------------
void SaveInteger(XmlNode* node, int64_t value) { node->SetValue(std::to_string(value)); }

bool LoadInteger(const XmlNode* node, XmlErrorLog* errors, const char* failure, int64_t low, int64_t high, int64_t& value) {
  std::string_view text = node->GetValueView();
  return TakeInteger(text, low, high, value) || ReportUnread(node, errors, failure);
}

bool ReadInteger(std::string_view text, int64_t low, int64_t high, int64_t& value, std::string& expected) {
  std::string_view rest = text;
  if (TakeInteger(rest, low, high, value) && TrimBlanks(rest).empty()) return true;
  expected = "a whole number";
  return false;
}

void SaveFloat(XmlNode* node, float value) { node->SetValue(PrintFixed(value)); }

bool LoadFloat(const XmlNode* node, XmlErrorLog* errors, const char* failure, float& value) {
  std::string_view text = node->GetValueView();
  return TakeFloat(text, value) || ReportUnread(node, errors, failure);
}

bool ReadFloat(std::string_view text, float& value, std::string& expected) {
  std::string_view rest = text;
  float read;
  expected = "a number";
  // A comma may stand for the point in files; on a command line it is more likely a list.
  if (text.find(',') != std::string_view::npos || !TakeFloat(rest, read) || !TrimBlanks(rest).empty() || read - read != 0)
    return false;
  value = read;
  return true;
}

void SaveHex(XmlNode* node, uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "%08X", value);
  node->SetValue(text);
}

bool LoadHex(const XmlNode* node, XmlErrorLog* errors, const char* failure, uint32_t& value) {
  std::string_view text = node->GetValueView();
  return TakeHex(text, value) || ReportUnread(node, errors, failure);
}

bool ReadHex(std::string_view text, uint32_t& value, std::string& expected) {
  std::string_view rest = text;
  if (TakeHex(rest, value) && TrimBlanks(rest).empty()) return true;
  expected = "up to eight hexadecimal digits";
  return false;
}

// --- several numbers -----------------------------------------------------------------------------
namespace {

std::string PrintElement(float value) { return PrintShortest(value); }
std::string PrintElement(int32_t value) { return std::to_string(value); }

bool TakeElement(std::string_view& text, float& value) { return TakeFloat(text, value); }
bool TakeElement(std::string_view& text, int32_t& value) {
  int64_t read;
  if (!TakeInteger(text, INT32_MIN, INT32_MAX, read)) return false;
  value = int32_t(read);
  return true;
}

const char* GetWanted(float, int count) {
  constexpr const char* words[] = {"a number", "two numbers with blanks between", "three numbers with blanks between",
                                   "four numbers with blanks between"};
  return words[count - 1];
}
const char* GetWanted(int32_t, int count) {
  constexpr const char* words[] = {"a whole number", "two whole numbers with blanks between",
                                   "three whole numbers with blanks between", "four whole numbers with blanks between"};
  return words[count - 1];
}

}  // namespace

template <class T>
void SaveNumbers(XmlNode* node, const T* values, int count) {
  std::string text;
  for (int i = 0; i < count; i++) text += (i ? " " : "") + PrintElement(values[i]);
  node->SetValue(std::string_view(text));
}

template <class T>
bool LoadNumbers(const XmlNode* node, XmlErrorLog* errors, const char* failure, T* values, int count) {
  std::string_view text = node->GetValueView();
  for (int i = 0; i < count; i++)
    if (!TakeElement(text, values[i])) return ReportUnread(node, errors, failure);
  return true;
}

template <class T>
bool ReadNumbers(std::string_view text, T* values, int count, std::string& expected) {
  std::string rest(text);
  std::replace(rest.begin(), rest.end(), ',', ' ');
  std::string_view left = rest;
  expected = GetWanted(T(), count);
  for (int i = 0; i < count; i++)
    if (!TakeElement(left, values[i]) || values[i] - values[i] != 0 || (!left.empty() && left[0] != ' ')) return false;
  // A comma behind a single number is a decimal comma, or a list.
  return TrimBlanks(left).empty() && (count > 1 || text.find(',') == std::string_view::npos);
}

template void SaveNumbers(XmlNode*, const float*, int);
template void SaveNumbers(XmlNode*, const int32_t*, int);
template bool LoadNumbers(const XmlNode*, XmlErrorLog*, const char*, float*, int);
template bool LoadNumbers(const XmlNode*, XmlErrorLog*, const char*, int32_t*, int);
template bool ReadNumbers(std::string_view, float*, int, std::string&);
template bool ReadNumbers(std::string_view, int32_t*, int, std::string&);

// --- entries of enumerators ----------------------------------------------------------------------
void SaveIndex(XmlNode* node, int32_t value, const char* tag, void* extra) {
  if (!extra) {
    ShowClassError("Enumerator not assigned for type \"%s\" for variable %s\n", tag, node->GetName());
    return;
  }
  const auto* names = static_cast<Enumerator*>(extra);
  const int32_t found = names->FindIndexOfValue(value);
  node->SetValue(names->EnumName(found < 0 ? 0 : found));
}

bool LoadIndex(const XmlNode* node, XmlErrorLog* errors, const char* tag, void* extra, int32_t& value) {
  const auto* names = static_cast<Enumerator*>(extra);
  if (!names) {
    ReportLoadError(errors, node, "Enumerator not assigned for type \"%s\" for variable %s\n", tag, node->GetName());
    return false;
  }
  value = names->FindValue(node->GetValue());
  // An empty enumerator has no entry 0; then 0 is what it will most likely be called.
  if (value == -1 && names->FindIndex(node->GetValue()) < 0) value = names->GetCount() ? names->EnumValue(0) : 0;
  return true;
}

bool ReadIndex(std::string_view text, void* extra, int32_t& value, std::string& expected) {
  const auto* names = static_cast<Enumerator*>(extra);
  const std::string name(text);
  if (names && names->FindIndex(name.c_str()) >= 0) {
    value = names->FindValue(name.c_str());
    return true;
  }
  constexpr int32_t mostShown = 40;
  const int32_t count = names ? names->GetCount() : 0;
  expected = count ? "one of " : "an entry of an enumerator, which has none";
  for (int32_t i = 0; i < std::min(count, mostShown); i++) expected += std::string(i ? ", " : "") + names->EnumName(i);
  if (count > mostShown) expected += ", ...";
  return false;
}

// --- textures ------------------------------------------------------------------------------------
void SaveTexture(XmlNode* node, int32_t id) {
  if (id != -1) node->SetValue(GetEngineHost().GetTextureName(id));
}

int32_t LoadTexture(std::string_view name) { return name.empty() ? -1 : GetEngineHost().LoadTexture(std::string(name).c_str()); }

bool ReadTexture(std::string_view text, int32_t& id, std::string& expected) {
  id = LoadTexture(text);
  expected = "the name of a texture file";
  return text.empty() || id != -1;
}

}  // namespace reflection
