#include "ClassEngine/ValueTypes.h"

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
