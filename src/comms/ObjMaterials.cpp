#include "comms/ObjMaterials.h"

#include <algorithm>
#include <unordered_map>

#include "comms/Log.h"
#include "comms/NameIndex.h"
#include "comms/ObjLine.h"
#include "comms/SafeFile.h"

namespace comms {

const MtlKeyword MtlKeywords[NumMtlKeywords] = {{"map_Kd ", cRawMaterial::Diffuse},
                                                {"map_Ks ", cRawMaterial::Specular},
                                                {"bump ", cRawMaterial::Bump},
                                                {"map_bump ", cRawMaterial::NormalBump},
                                                {"disp ", cRawMaterial::Bump}};

// --- text of a library
// -----------------------------------------------------------------------------------------------------------

constexpr std::string_view EntryWord = "newmtl ", BoundWord = "newmtl";
constexpr size_t MaxPathChars = 259;

// A name asked for is a token, so no more of an entry matters.
std::string_view MtlText::NameAt(uint32_t entry) const { return std::string_view(m_Text).substr(entry, ObjLine::MaxTokenChars); }

MtlText::MtlText(cStr text) : m_Text(std::move(text)), m_LastCr(m_Text.rfind('\r')), m_LastLf(m_Text.rfind('\n')) {
  const std::string_view view = m_Text;
  for (size_t at = view.find(BoundWord); at != view.npos; at = view.find(BoundWord, at + BoundWord.size())) {
    m_Bounds.push_back(uint32_t(at));
    if (view.substr(at).starts_with(EntryWord)) m_Entries.push_back(uint32_t(at + EntryWord.size()));
  }
  std::sort(m_Entries.begin(), m_Entries.end(), [&](uint32_t a, uint32_t b) { return NameAt(a) < NameAt(b); });
  const size_t n = m_Entries.size();
  m_First.resize(2 * n);
  std::copy(m_Entries.begin(), m_Entries.end(), m_First.begin() + ptrdiff_t(n));
  for (size_t i = n; i-- > 1;) m_First[i] = std::min(m_First[2 * i], m_First[2 * i + 1]);
}

int64_t MtlText::FindMaterial(std::string_view name) const {
  const auto cut = [&](uint32_t entry) { return NameAt(entry).substr(0, name.size()); };
  const auto begin = std::lower_bound(m_Entries.begin(), m_Entries.end(), name, [&](uint32_t e, auto n) { return cut(e) < n; });
  const auto end = std::upper_bound(begin, m_Entries.end(), name, [&](auto n, uint32_t e) { return n < cut(e); });
  if (begin == end) return -1;
  uint32_t first = *begin;
  size_t left = size_t(begin - m_Entries.begin()) + m_Entries.size(), right = size_t(end - m_Entries.begin()) + m_Entries.size();
  for (; left < right; left /= 2, right /= 2) {
    if (left & 1) first = std::min(first, m_First[left++]);
    if (right & 1) first = std::min(first, m_First[--right]);
  }
  return int64_t(first + name.size());
}

// Up to the first CR wherever it stands, or in a text without one, to the first LF; false with neither.
bool MtlText::ReadPath(size_t start, cStr& path) const {
  const auto isBehind = [&](size_t last) { return last != cStr::npos && last >= start; };
  if (!isBehind(m_LastCr) && !isBehind(m_LastLf)) return false;
  const std::string_view text = std::string_view(m_Text).substr(start, MaxPathChars);
  path = text.substr(0, text.find(isBehind(m_LastCr) ? '\r' : '\n'));
  return true;
}

MtlPaths MtlText::ReadPaths(int64_t start) const {
  const auto bound = std::lower_bound(m_Bounds.begin(), m_Bounds.end(), start);
  const size_t end = bound == m_Bounds.end() ? m_Text.size() : *bound;
  const std::string_view material = std::string_view(m_Text).substr(size_t(start), end - size_t(start));
  MtlPaths paths;
  for (const MtlKeyword& keyword : MtlKeywords) {
    const size_t hit = material.find(keyword.Text);
    // "map_bump " holds "bump ": the character before tells them apart, and there is no second search.
    if (hit == material.npos || m_Text[size_t(start) + hit - 1] == '_') continue;
    ReadPath(size_t(start) + hit + std::string_view(keyword.Text).size(), paths[size_t(keyword.Slot)]);
  }
  return paths;
}

// --- the libraries of a file
// -----------------------------------------------------------------------------------------------------

struct MtlLibraries::Library {
  cStr Name;
  std::unique_ptr<MtlText> Text;                // null: can't be read
  std::unordered_map<int64_t, MtlPaths> Known;  // several names may lead to one entry
};

MtlLibraries::MtlLibraries(const cStr& objPath) : m_Folder(GetFolder(objPath)) {}
MtlLibraries::~MtlLibraries() = default;

// The path of a regular file, both kinds of separators taken; empty where there is none.
static cStr FindRegularFile(cStr path) {
  if (path.find('\0') != path.npos) return {};
  if (GetFileSize(path) >= 0) return path;
  std::replace(path.begin(), path.end(), '\\', '/');
  return GetFileSize(path) >= 0 ? path : cStr();
}

MtlLibraries::Library* MtlLibraries::Open(std::string_view name) {
  for (const auto& library : m_Libraries)
    if (library->Name == name) return library.get();
  if (m_IsFull) return nullptr;
  constexpr size_t MaxLibraries = 1000;
  const cStr path = FindRegularFile(m_Folder + cStr(name));
  const int64_t size = path.empty() ? 0 : GetFileSize(path);
  if (m_Bytes + size > MaxBytes || m_Libraries.size() >= MaxLibraries) {
    LogWarning("The material library \"%s\" is left out: at most %lld bytes in %zu libraries are read for one file.",
               path.c_str(), static_cast<long long>(MaxBytes), MaxLibraries);
    m_IsFull = true;
    return nullptr;
  }
  m_Bytes += size;
  auto library = std::make_unique<Library>();
  library->Name = name;
  std::vector<uint8_t> bytes;
  cStr error;
  if (size > 0 && ReadWholeFile(path, bytes, error)) library->Text = std::make_unique<MtlText>(cStr(bytes.begin(), bytes.end()));
  return m_Libraries.emplace_back(std::move(library)).get();
}

cStr MtlLibraries::FindTexture(const cStr& path) const {
  const cStr name = GetFileName(path);
  if ((name.size() != path.size() && FileExists(path)) || path.find("-bm ") != path.npos) return path;
  const cStr beside = m_Folder + name;
  return beside.find('\0') == beside.npos && FileExists(beside) ? beside : path;
}

MtlPaths MtlLibraries::Find(std::string_view libraryName, std::string_view material) {
  Library* const library = Open(libraryName);
  if (!library || !library->Text) return {};
  const int64_t start = library->Text->FindMaterial(material);
  if (start < 0) return {};
  const auto [entry, isNew] = library->Known.try_emplace(start);
  if (isNew) {
    entry->second = library->Text->ReadPaths(start);
    for (cStr& path : entry->second)
      if (!path.empty()) path = FindTexture(path);
  }
  return entry->second;
}

// --- UV sets
// -----------------------------------------------------------------------------------------------------------------------

static std::string_view WithoutExtension(std::string_view path) {
  const size_t dot = path.find_last_of("./\\");
  return dot != path.npos && path[dot] == '.' ? path.substr(0, dot) : path;
}

// Text that the diffuse paths begin with, cut back to a whole folder. An empty path behind the first non-empty one leaves
// nothing.
static std::string_view FindCommonFolder(const cList<cRawMaterial>& materials) {
  std::string_view common;
  bool hasFirst = false;
  for (const cRawMaterial& material : materials) {
    const cStr& path = material.Textures[cRawMaterial::Diffuse].FileName;
    if (hasFirst) {
      const size_t most = std::min(common.size(), path.size());
      common = common.substr(
          0, size_t(std::mismatch(common.begin(), common.begin() + ptrdiff_t(most), path.begin()).first - common.begin()));
    } else if (!path.empty()) {
      common = path;
      hasFirst = true;
    }
  }
  return common.substr(0, common.find_last_of("/\\") + 1);
}

bool JoinUVSets(cRawMesh& mesh, cList<int>& setOf) {
  const std::string_view common = FindCommonFolder(mesh.Materials);
  NameIndex<cList<cRawUVSet>> sets(mesh.UVSets);
  bool isShared = false;
  setOf.clear();
  for (const cRawMaterial& material : mesh.Materials) {
    std::string_view candidate = WithoutExtension(material.Textures[cRawMaterial::Diffuse].FileName);
    candidate.remove_prefix(std::min(common.size(), candidate.size()));
    int set = candidate.empty() ? -1 : sets.Find(candidate);
    isShared |= set >= 0;
    if (set < 0) {
      set = int(mesh.UVSets.size());
      mesh.UVSets.push_back({candidate.empty() ? material.Name : cStr(candidate)});
      sets.AddLast();
    }
    setOf.push_back(set);
  }
  if (!isShared) mesh.UVSets.clear();
  return isShared;
}

}  // namespace comms
