#pragma once
// Texture paths out of MTL libraries, and the UV sets that follow from them.
#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "comms/cRawMesh.h"

namespace comms {

/// Keywords of the texture paths in a library, and the slot each fills. The last is only read, never written.
struct MtlKeyword {
  const char* Text;
  int Slot;
};
constexpr int NumMtlKeywords = 5, NumMtlSlots = 4;
extern const MtlKeyword MtlKeywords[NumMtlKeywords];

/// Texture paths by slot; empty where a material has none.
using MtlPaths = std::array<cStr, NumMtlSlots>;

/// An MTL text in memory, indexed: material names are found by any prefix, however many there are.
class MtlText {
 public:
  static constexpr int64_t MaxBytes = (int64_t(1) << 32) - 1;
  explicit MtlText(cList<uint8_t> text);
  /// Bytes of an index over `text`.
  static int64_t CountIndexBytes(const cList<uint8_t>& text);
  /// Position of the first "newmtl " that `name` follows, plus that text's length; -1 without one.
  int64_t FindMaterial(std::string_view name) const;
  /// Raw paths of the material whose text begins at `start`, up to the next "newmtl".
  MtlPaths ReadPaths(int64_t start) const;

 private:
  std::string_view Text() const { return {reinterpret_cast<const char*>(m_Text.data()), m_Text.size()}; }
  std::string_view NameAt(uint32_t entry) const;
  bool ReadPath(size_t start, cStr& path) const;
  cList<uint8_t> m_Text;
  cList<uint32_t> m_Entries;  // behind each "newmtl ", in order of the names there
  cList<uint32_t> m_First;    // tournament tree over m_Entries: the smallest below each node
  cList<uint32_t> m_Bounds;   // every "newmtl", in order
  size_t m_LastCr, m_LastLf;
};

/// What reading one OBJ file may take in memory: a few bytes can announce many, and a file of nothing else must not fill it.
class ObjBudget {
 public:
  explicit ObjBudget(int64_t limit) : m_Limit(limit) {}
  int64_t Limit() const { return m_Limit; }
  int64_t Left() const { return m_Limit - m_Taken; }
  /// False, and nothing taken, where that is not left.
  bool Take(int64_t bytes) {
    if (bytes > Left()) return false;
    m_Taken += bytes;
    return true;
  }

 private:
  const int64_t m_Limit;
  int64_t m_Taken = 0;
};
/// What a string takes besides its own bytes.
int64_t GetHeapBytes(const cStr& text);

/// The libraries that one OBJ file names. Each is read once; what can't be read has no materials. Texts, indices and paths are
/// taken from the budget, and a library that goes beyond it is left out with a warning, as are those behind it.
class MtlLibraries {
 public:
  MtlLibraries(const cStr& objPath, ObjBudget& budget);
  ~MtlLibraries();
  /// Texture paths of the first entry whose name begins with `material`; all empty without one.
  MtlPaths Find(std::string_view library, std::string_view material);

 private:
  struct Library;
  Library* Open(std::string_view name);
  std::unique_ptr<MtlText> Read(const cStr& path);
  MtlPaths ReadPaths(const MtlText& text, int64_t start);
  cStr FindTexture(const cStr& path) const;
  cStr m_Folder;
  ObjBudget& m_Budget;
  cList<std::unique_ptr<Library>> m_Libraries;
  bool m_IsFull = false;
};

/// Gives materials that share a diffuse texture one UV set: true with UVSets filled and the set of every material in `setOf`, or
/// false with no UV sets where no two materials share one.
bool JoinUVSets(cRawMesh& mesh, cList<int>& setOf);

}  // namespace comms
