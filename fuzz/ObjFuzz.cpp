// OBJ text: the fast reader against itself at two chunk sizes, then validator, merge and writer on what came out.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "comms/Log.h"
#include "comms/ObjReader.h"
#include "comms/cMeshIO.h"

using namespace comms;

static std::string MemoryFile(const uint8_t* data, size_t size) {
  static const int handle = memfd_create("fuzz", 0);
  if (ftruncate(handle, 0) != 0 || pwrite(handle, data, size, 0) != ssize_t(size)) std::abort();
  return "/proc/self/fd/" + std::to_string(handle);
}

template <class List>
static void Demand(const List& a, const List& b) {
  if (a.size() != b.size() || (!a.empty() && std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) != 0)) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const LogSink before = SetLogSink({});
  const std::string path = MemoryFile(data, size);
  cRawMesh meshes[2];
  bool isRead[2];
  for (int i = 0; i < 2; i++) {
    cFile file;
    file.Open(path.c_str(), cFile::Read);
    isRead[i] = ReadObj(file, meshes[i], {i ? 64 : 1 << 19});
  }
  if (isRead[0] != isRead[1]) std::abort();
  if (!isRead[0]) return 0;
  Demand(meshes[0].Positions, meshes[1].Positions);
  Demand(meshes[0].TexCoords, meshes[1].TexCoords);
  Demand(meshes[0].Normals, meshes[1].Normals);
  Demand(meshes[0].Polygons, meshes[1].Polygons);
  Demand(meshes[0].VertexColors, meshes[1].VertexColors);
  if (meshes[0].HasValidIndices() && meshes[0].Objects.size() < 1000 && meshes[0].Materials.size() < 1000)
    cMeshIO::SaveMesh(&meshes[0], "/dev/shm/morvane-fuzz.obj");
  meshes[0].Validate();
  meshes[1].Merge(meshes[0]);
  return 0;
}
