// MTL text: first byte says how long the name is, then the name, then the library. The index must find what a plain search finds.
#include <cstdlib>
#include <string>

#include "comms/ObjMaterials.h"

using namespace comms;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1 || size < 1u + data[0] % 8) return 0;
  const std::string name(data + 1, data + 1 + data[0] % 8);
  const std::string text(data + 1 + name.size(), data + size);
  const MtlText library({text.begin(), text.end()});
  const int64_t found = library.FindMaterial(name);
  const size_t plain = text.find("newmtl " + name);
  if (found != (plain == text.npos ? -1 : int64_t(plain + 7 + name.size()))) std::abort();
  if (found < 0) return 0;
  cRawMesh mesh;
  for (const cStr& path : library.ReadPaths(found)) mesh.Materials.emplace_back().Textures[0].FileName = path;
  cList<int> setOf;
  JoinUVSets(mesh, setOf);
  return 0;
}
