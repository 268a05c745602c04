#include "ClassEngine/Str.h"

#include <cstring>

void WriteBinString(BinStream& stream, std::string_view text, const LargeNameHash* names) {
  const int32_t index = names ? names->Find(text) : -1;
  if (index >= 0 && index <= 65534) {
    WriteBYTE(stream, 255);
    WriteWORD(stream, uint16_t(index));
    return;
  }
  if (text.size() < 254) {
    WriteBYTE(stream, uint8_t(text.size()));
  } else {
    WriteBYTE(stream, 254);
    WriteWORD(stream, uint16_t(text.size()));
  }
  stream.Write(text.data(), int64_t(text.size()));
}

bool ReadBinString(BinStream& stream, StrBuffer& text, const LargeNameHash* names) {
  text.Release();
  if (GetBytesLeft(stream) < 1) return false;
  int32_t length = ReadBYTE(stream);
  if (length >= 254) {
    const bool isIndex = length == 255;
    if (GetBytesLeft(stream) < 2) return false;
    length = ReadWORD(stream);
    if (isIndex) {
      if (names && length <= 65534 && length < names->GetCount()) text.Assign(names->GetKeyView(length));
      return true;
    }
  }
  if (length < 1) return true;
  if (GetBytesLeft(stream) < length) return false;
  text.SetLength(length);
  if (stream.Read(text.Data, length) == length) return true;
  text.Release();
  return false;
}

void _str::Save(XmlNode* node, void* data, void*) { node->SetValue((data ? At(data) : *this).View()); }

bool _str::Load(const XmlNode* node, void* data, XmlErrorLog*, void*) {
  (data ? At(data) : *this).Assign(node->GetValueView());
  return true;
}

bool _str::FullCopy(void* srcData, void*, BaseClass* dst, void* dstData, void*, int) {
  const _str& from = srcData ? At(srcData) : *this;
  auto* to = dynamic_cast<_str*>(dstData ? static_cast<BaseClass*>(dstData) : dst);
  if (!to) return false;
  if (to != &from) to->Assign(from.View());
  return true;
}

void _str::SaveBin(void* data, void*, BinStream& stream, const LargeNameHash* names, const NameHash*) {
  WriteBinString(stream, (data ? At(data) : *this).View(), names);
}

bool _str::LoadBin(void* data, void*, BinStream& stream, const LargeNameHash* names) {
  return ReadBinString(stream, data ? At(data) : *this, names);
}

bool _str::ReadText(std::string_view text, void* data, void*, std::string& expected) {
  if (text.find('\0') != std::string_view::npos) {
    expected = "a text without zero bytes";
    return false;
  }
  (data ? At(data) : *this).Assign(text);
  return true;
}
