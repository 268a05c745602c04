#include "ClassEngine/ValueTypes.h"

#include <cstdio>

#include "ClassEngine/EngineHost.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/NumberText.h"

namespace reflection {

void SaveInteger(XmlNode* node, int64_t value) { node->SetValue(std::to_string(value)); }

bool LoadInteger(const XmlNode* node, XmlErrorLog* errors, const char* word, int64_t low, int64_t high, int64_t& value) {
  std::string_view text = node->GetValueView();
  if (TakeInteger(text, low, high, value)) return true;
  ReportLoadError(errors, node, "unable to read %s from XML: %s\n", word, node->GetValue());
  return false;
}

bool ReadInteger(std::string_view text, int64_t low, int64_t high, int64_t& value, std::string& expected) {
  std::string_view rest = text;
  if (TakeInteger(rest, low, high, value) && TrimBlanks(rest).empty()) return true;
  expected = "a whole number";
  return false;
}

void SaveFloat(XmlNode* node, float value) { node->SetValue(PrintFixed(value)); }

bool LoadFloat(const XmlNode* node, XmlErrorLog* errors, float& value) {
  std::string_view text = node->GetValueView();
  if (TakeFloat(text, value)) return true;
  ReportLoadError(errors, node, "unable to read float from XML: %s\n", node->GetValue());
  return false;
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

bool LoadHex(const XmlNode* node, XmlErrorLog* errors, uint32_t& value) {
  std::string_view text = node->GetValueView();
  if (TakeHex(text, value)) return true;
  ReportLoadError(errors, node, "unable to read DWORD from XML: %s\n", node->GetValue());
  return false;
}

bool ReadHex(std::string_view text, uint32_t& value, std::string& expected) {
  std::string_view rest = text;
  if (TakeHex(rest, value) && TrimBlanks(rest).empty()) return true;
  expected = "up to eight hexadecimal digits";
  return false;
}

}  // namespace reflection

// --- _bool
// ---------------------------------------------------------------------------------------------------------------------------
bool _bool::CheckCompatibility(const char* typeName, size_t) const { return NormalizeClassName(typeName) == "bool"; }

void _bool::Save(XmlNode* node, void* data, void*) { node->SetValue(Get(data) ? "true" : "false"); }

bool _bool::Load(const XmlNode* node, void* data, XmlErrorLog*, void*) {
  std::string_view text = node->GetValueView();
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  Set(data, text.starts_with("true"));
  return true;
}

// Any byte may come; only 0 and 1 are values of a bool.
bool _bool::LoadBin(void* data, void*, BinStream& stream, const LargeNameHash*) {
  uint8_t byte;
  if (stream.Read(&byte, 1) != 1) return false;
  Set(data, byte != 0);
  return true;
}

bool _bool::ReadText(std::string_view text, void* data, void*, std::string& expected) {
  expected = "true or false";
  if (text != "true" && text != "false") return false;
  Set(data, text == "true");
  return true;
}

// --- _index
// --------------------------------------------------------------------------------------------------------------------------
namespace {

Enumerator* GetEnumerator(void* extra, const XmlNode* node) {
  if (!extra) ShowClassError("Enumerator not assigned for type \"_index\" for variable %s\n", node->GetName());
  return static_cast<Enumerator*>(extra);
}

}  // namespace

void _index::Save(XmlNode* node, void* data, void* extra) {
  const Enumerator* names = GetEnumerator(extra, node);
  if (!names) return;
  const int32_t found = names->FindIndexOfValue(Get(data));
  node->SetValue(names->EnumName(found < 0 ? 0 : found));
}

bool _index::Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) {
  const auto* names = static_cast<Enumerator*>(extra);
  if (!names) {
    ReportLoadError(errors, node, "Enumerator not assigned for type \"_index\" for variable %s\n", node->GetName());
    return false;
  }
  int32_t value = names->FindValue(node->GetValue());
  // An empty enumerator has no entry 0; then 0 is what it will most likely be called.
  if (value == -1 && names->FindIndex(node->GetValue()) < 0) value = names->GetCount() ? names->EnumValue(0) : 0;
  Set(data, value);
  return true;
}

bool _index::FullCopy(void* srcData, void* srcExtra, BaseClass* dst, void* dstData, void* dstExtra, int options) {
  if (srcExtra == dstExtra || !srcExtra || !dstExtra)
    return PlainValue::FullCopy(srcData, srcExtra, dst, dstData, dstExtra, options);
  XmlNode scratch;
  Save(&scratch, srcData, srcExtra);
  return dst->Load(&scratch, dstData, nullptr, dstExtra);
}

bool _index::ReadText(std::string_view text, void* data, void* extra, std::string& expected) {
  const auto* names = static_cast<Enumerator*>(extra);
  const std::string name(text);
  if (names && names->FindIndex(name.c_str()) >= 0) {
    Set(data, names->FindValue(name.c_str()));
    return true;
  }
  constexpr int32_t mostShown = 40;
  const int32_t count = names ? names->GetCount() : 0;
  expected = count ? "one of " : "an entry of an enumerator, which has none";
  for (int32_t i = 0; i < std::min(count, mostShown); i++) expected += std::string(i ? ", " : "") + names->EnumName(i);
  if (count > mostShown) expected += ", ...";
  return false;
}

// --- _TextureID
// ----------------------------------------------------------------------------------------------------------------------
void _TextureID::Save(XmlNode* node, void* data, void*) {
  const int32_t id = Get(data);
  if (id != -1) node->SetValue(GetEngineHost().GetTextureName(id));
}

bool _TextureID::Load(const XmlNode* node, void* data, XmlErrorLog*, void*) {
  Set(data, *node->GetValue() ? GetEngineHost().LoadTexture(node->GetValue()) : -1);
  return true;
}

bool _TextureID::ReadText(std::string_view text, void* data, void*, std::string& expected) {
  const int32_t id = text.empty() ? -1 : GetEngineHost().LoadTexture(std::string(text).c_str());
  expected = "the name of a texture file";
  if (!text.empty() && id == -1) return false;
  Set(data, id);
  return true;
}

// --- _cFloat3
// ------------------------------------------------------------------------------------------------------------------------
void _cFloat3::Save(XmlNode* node, void* data, void*) {
  const Float3Storage point = Get(data);
  node->SetValue(PrintShortest(point.Values[0]) + " " + PrintShortest(point.Values[1]) + " " + PrintShortest(point.Values[2]));
}

bool _cFloat3::Load(const XmlNode* node, void* data, XmlErrorLog* errors, void*) {
  std::string_view text = node->GetValueView();
  Float3Storage point;
  for (float& value : point.Values) {
    if (TakeFloat(text, value)) continue;
    ReportLoadError(errors, node, "Parsing error during \"_cFloat3\" read from XML: %s\n", node->GetValue());
    return false;
  }
  Set(data, point);
  return true;
}

// Blanks or commas between the numbers.
bool _cFloat3::ReadText(std::string_view text, void* data, void*, std::string& expected) {
  std::string rest(text);
  for (char& c : rest)
    if (c == ',') c = ' ';
  std::string_view left = rest;
  Float3Storage point;
  expected = "three numbers with blanks between";
  for (float& value : point.Values)
    if (!TakeFloat(left, value) || value - value != 0 || (!left.empty() && left[0] != ' ')) return false;
  if (!TrimBlanks(left).empty()) return false;
  Set(data, point);
  return true;
}

int _cFloat3::GetNumbers(const void* data, double (&numbers)[4]) const {
  const Float3Storage point = Get(data);
  for (int i = 0; i < 3; i++) numbers[i] = point.Values[i];
  return 3;
}

// --- _str_ref
// ------------------------------------------------------------------------------------------------------------------------
void _str_ref::ResetClass(void* data) {
  if (_str* text = At(data)) text->Release();
}

void _str_ref::Save(XmlNode* node, void* data, void*) {
  if (const _str* text = At(data)) node->SetValue(text->View());
}

bool _str_ref::Load(const XmlNode* node, void* data, XmlErrorLog*, void*) {
  if (_str* text = At(data)) text->Assign(node->GetValueView());
  return true;
}

void _str_ref::SaveBin(void* data, void*, BinStream& stream, const LargeNameHash* names, const NameHash*) {
  const _str* text = At(data);
  WriteBinString(stream, text ? text->View() : std::string_view(), names);
}

bool _str_ref::LoadBin(void* data, void*, BinStream& stream, const LargeNameHash* names) {
  StrBuffer read;
  if (!ReadBinString(stream, read, names)) return false;
  if (_str* text = At(data)) text->Swap(read);
  return true;
}

bool _str_ref::ReadText(std::string_view text, void* data, void* extra, std::string& expected) {
  if (_str* target = At(data)) return target->ReadText(text, nullptr, extra, expected);
  expected = "nothing, since there is no string to put it in";
  return false;
}
