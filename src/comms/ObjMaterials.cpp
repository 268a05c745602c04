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

// --- text of a library ------------------------------------------------------------------------------------------------------

constexpr std::string_view EntryWord = "newmtl ", BoundWord = "newmtl";
constexpr size_t MaxPathChars = 259;

// A name asked for is a token, so no more of an entry matters.
std::string_view MtlText::NameAt(uint32_t entry) const { return Text().substr(entry, ObjLine::MaxTokenChars); }

// Calls visit(position of a "newmtl", whether it begins an entry) for each in order.
template <class Visit>
static void ForEachBound(std::string_view text, Visit visit) {
  for (size_t at = text.find(BoundWord); at != text.npos; at = text.find(BoundWord, at + BoundWord.size()))
    visit(at, text.substr(at).starts_with(EntryWord));
}

int64_t MtlText::CountIndexBytes(const cList<uint8_t>& text) {
  int64_t bytes = 0;
  ForEachBound({reinterpret_cast<const char*>(text.data()), text.size()},
               [&](size_t, bool isEntry) { bytes += int64_t(sizeof(uint32_t)) * (isEntry ? 4 : 1); });
  return bytes;
}

MtlText::MtlText(cList<uint8_t> text) : m_Text(std::move(text)), m_LastCr(Text().rfind('\r')), m_LastLf(Text().rfind('\n')) {
  size_t bounds = 0, entries = 0;
  ForEachBound(Text(), [&](size_t, bool isEntry) { bounds++, entries += isEntry; });
  m_Bounds.reserve(bounds);
  m_Entries.reserve(entries);
  ForEachBound(Text(), [&](size_t at, bool isEntry) {
    m_Bounds.push_back(uint32_t(at));
    if (isEntry) m_Entries.push_back(uint32_t(at + EntryWord.size()));
  });
  std::sort(m_Entries.begin(), m_Entries.end(), [&](uint32_t a, uint32_t b) { return NameAt(a) < NameAt(b); });
  m_First.resize(2 * entries);
  std::copy(m_Entries.begin(), m_Entries.end(), m_First.begin() + ptrdiff_t(entries));
  for (size_t i = entries; i-- > 1;) m_First[i] = std::min(m_First[2 * i], m_First[2 * i + 1]);
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
  const std::string_view text = Text().substr(start, MaxPathChars);
  path = text.substr(0, text.find(isBehind(m_LastCr) ? '\r' : '\n'));
  return true;
}

MtlPaths MtlText::ReadPaths(int64_t start) const {
  const auto bound = std::lower_bound(m_Bounds.begin(), m_Bounds.end(), start);
  const size_t end = bound == m_Bounds.end() ? m_Text.size() : *bound;
  const std::string_view material = Text().substr(size_t(start), end - size_t(start));
  MtlPaths paths;
  for (const MtlKeyword& keyword : MtlKeywords) {
    const size_t hit = material.find(keyword.Text);
    // "map_bump " holds "bump ": the character before tells them apart, and there is no second search.
    if (hit == material.npos || m_Text[size_t(start) + hit - 1] == '_') continue;
    ReadPath(size_t(start) + hit + std::string_view(keyword.Text).size(), paths[size_t(keyword.Slot)]);
  }
  return paths;
}

// --- the libraries of a file ------------------------------------------------------------------------------------------------

struct MtlLibraries::Library {
  cStr Name;
  std::unique_ptr<MtlText> Text;                // null: can't be read
  std::unordered_map<int64_t, MtlPaths> Known;  // several names may lead to one entry
};

int64_t GetHeapBytes(const cStr& text) {
  constexpr size_t overhead = 16;
  return text.capacity() > cStr().capacity() ? int64_t(text.capacity() + 1 + overhead) : 0;
}

MtlLibraries::MtlLibraries(const cStr& objPath, ObjBudget& budget) : m_Folder(GetFolder(objPath)), m_Budget(budget) {}
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
  constexpr size_t MaxLibraries = 1000;
  if (m_IsFull) return nullptr;
  const cStr path = FindRegularFile(m_Folder + cStr(name));
  std::unique_ptr<MtlText> text = path.empty() || m_Libraries.size() >= MaxLibraries ? nullptr : Read(path);
  m_IsFull |= m_Libraries.size() >= MaxLibraries;
  if (m_IsFull) {
    LogWarning(
        "The material library \"%s\" and those behind it are left out: one file may name %zu, and all that is read for it "
        "may take %lld bytes in memory.",
        path.c_str(), MaxLibraries, static_cast<long long>(m_Budget.Limit()));
    return nullptr;
  }
  auto library = std::make_unique<Library>();
  library->Name = name;
  library->Text = std::move(text);
  return m_Libraries.emplace_back(std::move(library)).get();
}

// Null where it can't be read, and, with m_IsFull, where there is no memory left for it.
std::unique_ptr<MtlText> MtlLibraries::Read(const cStr& path) {
  const int64_t size = GetFileSize(path);
  if (size <= 0) return nullptr;
  m_IsFull = size > MtlText::MaxBytes || !m_Budget.Take(size);
  cList<uint8_t> bytes;
  cStr error;
  if (m_IsFull || !ReadWholeFile(path, bytes, error)) return nullptr;
  m_IsFull = !m_Budget.Take(MtlText::CountIndexBytes(bytes));
  return m_IsFull ? nullptr : std::make_unique<MtlText>(std::move(bytes));
}

cStr MtlLibraries::FindTexture(const cStr& path) const {
  const cStr name = GetFileName(path);
  if ((name.size() != path.size() && FileExists(path)) || path.find("-bm ") != path.npos) return path;
  const cStr beside = m_Folder + name;
  return beside.find('\0') == beside.npos && FileExists(beside) ? beside : path;
}

MtlPaths MtlLibraries::ReadPaths(const MtlText& text, int64_t start) {
  MtlPaths paths = text.ReadPaths(start);
  for (cStr& path : paths)
    if (!path.empty()) path = FindTexture(path);
  return paths;
}

MtlPaths MtlLibraries::Find(std::string_view libraryName, std::string_view material) {
  Library* const library = Open(libraryName);
  if (!library || !library->Text) return {};
  const int64_t start = library->Text->FindMaterial(material);
  if (start < 0) return {};
  const auto known = library->Known.find(start);
  if (known != library->Known.end()) return known->second;
  constexpr int64_t entryBytes = int64_t(sizeof(MtlPaths)) + 64;
  MtlPaths paths = ReadPaths(*library->Text, start);
  int64_t bytes = entryBytes;
  for (const cStr& path : paths) bytes += GetHeapBytes(path);
  if (m_Budget.Take(bytes)) library->Known.emplace(start, paths);
  return paths;
}

// --- UV sets ----------------------------------------------------------------------------------------------------------------

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
