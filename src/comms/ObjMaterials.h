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

/// The libraries that one OBJ file names. Each is read once; what can't be read has no materials.
class MtlLibraries {
 public:
  /// Bytes of all libraries together; what goes beyond is left out with one warning.
  static constexpr int64_t MaxBytes = 16 << 20;

  explicit MtlLibraries(const cStr& objPath);
  ~MtlLibraries();
  /// Texture paths of the first entry whose name begins with `material`; all empty without one.
  MtlPaths Find(std::string_view library, std::string_view material);

 private:
  struct Library;
  Library* Open(std::string_view name);
  cStr FindTexture(const cStr& path) const;
  cStr m_Folder;
  cList<std::unique_ptr<Library>> m_Libraries;
  int64_t m_Bytes = 0;
  bool m_IsFull = false;
};

/// An MTL text in memory, indexed: material names are found by any prefix, however many there are.
class MtlText {
 public:
  explicit MtlText(cStr text);
  /// Position of the first "newmtl " that `name` follows, plus that text's length; -1 without one.
  int64_t FindMaterial(std::string_view name) const;
  /// Raw paths of the material whose text begins at `start`, up to the next "newmtl".
  MtlPaths ReadPaths(int64_t start) const;

 private:
  std::string_view NameAt(uint32_t entry) const;
  bool ReadPath(size_t start, cStr& path) const;
  cStr m_Text;
  cList<uint32_t> m_Entries;  // behind each "newmtl ", in order of the names there
  cList<uint32_t> m_First;    // tournament tree over m_Entries: the smallest below each node
  cList<uint32_t> m_Bounds;   // every "newmtl", in order
  size_t m_LastCr, m_LastLf;
};

/// Gives materials that share a diffuse texture one UV set: true with UVSets filled and the set of every material in `setOf`, or
/// false with no UV sets where no two materials share one.
bool JoinUVSets(cRawMesh& mesh, cList<int>& setOf);

}  // namespace comms
