#include "comms/cRawMesh.h"

#include <tbb/parallel_for.h>
#include <algorithm>
#include <atomic>

namespace comms {

// --- polygon stream ---------------------------------------------------------------------------------------------------------

// Most streams hold polygons of one size: then the headers stand at a fixed distance, and if the first words there all agree,
// they are the headers. Found on all cores, where the walk from header to header is bound to one.
static bool HasOneSize(const cRawList<cRawPolyRec>& polygons, size_t stride) {
  if (polygons.size() % stride) return false;
  const size_t count = polygons.size() / stride;
  constexpr size_t Piece = 1 << 16;
  std::atomic<bool> isSame{true};
  tbb::parallel_for(size_t(0), (count + Piece - 1) / Piece, [&](size_t piece) {
    const size_t end = std::min((piece + 1) * Piece, count);
    for (size_t i = piece * Piece; i < end; i++)
      if (size_t(polygons[i * stride].Words[0]) + 1 != stride) {
        isSame = false;
        return;
      }
  });
  return isSame;
}

cRawPolyBlocks FindPolyBlocks(const cRawList<cRawPolyRec>& polygons, int64_t blockSize) {
  cRawPolyBlocks blocks;
  const size_t size = polygons.size();
  const size_t stride = size && polygons[0].Corners() > 0 ? size_t(polygons[0].Corners()) + 1 : 0;
  if (stride && HasOneSize(polygons, stride)) {
    blocks.NumPolygons = int64_t(size / stride);
    for (int64_t i = 0; i < blocks.NumPolygons; i += blockSize) blocks.Records.push_back(size_t(i) * stride);
    blocks.Records.push_back(size);
    return blocks;
  }
  size_t at = 0;
  while (at < size) {
    const int corners = polygons[at].Corners();
    if (corners < 0 || size_t(corners) >= size - at) break;
    if (blocks.NumPolygons++ % blockSize == 0) blocks.Records.push_back(at);
    at += size_t(corners) + 1;
  }
  blocks.IsWhole = at == size;
  blocks.Records.push_back(at);
  return blocks;
}

int64_t cRawMesh::CountPolygons() const { return FindPolyBlocks(Polygons, int64_t(1) << 40).NumPolygons; }

bool cRawMesh::HasValidIndices() const {
  const cRawPolyBlocks blocks = FindPolyBlocks(Polygons, 1 << 14);
  if (!blocks.IsWhole) return false;
  std::atomic<bool> isValid{true};
  tbb::parallel_for(size_t(0), blocks.Records.size() - 1, [&](size_t block) {
    bool areIn = true;
    size_t at = blocks.Records[block];
    while (at < blocks.Records[block + 1]) {
      const size_t end = at + size_t(Polygons[at].Corners()) + 1;
      for (at++; at < end; at++) areIn = areIn && HasValidIndices(Polygons[at]);
    }
    if (!areIn) isValid = false;
  });
  return isValid;
}

// --- merging and turning ----------------------------------------------------------------------------------------------------

template <class List>
static void Append(List& list, const List& other) {
  list.insert(list.end(), other.begin(), other.end());
}

// Indices may be anything a file says: they wrap rather than overflow.
static int32_t Move(int32_t index, int by) { return int32_t(uint32_t(index) + uint32_t(by)); }

void cRawMesh::Merge(const cRawMesh& source) {
  const int positions = int(Positions.size()), normals = int(Normals.size()), texCoords = int(TexCoords.size());
  const int objects = int(Objects.size());
  const uint32_t materialWord = uint32_t(UVSets.size() << 16) + uint32_t(Materials.size());
  const size_t records = Polygons.size();
  Append(Positions, source.Positions);
  Append(Normals, source.Normals);
  Append(TexCoords, source.TexCoords);
  Append(Objects, source.Objects);
  Append(Materials, source.Materials);
  Append(UVSets, source.UVSets);
  Append(Polygons, source.Polygons);
  Append(VertexColors, source.VertexColors);
  NumWordPositions += source.NumWordPositions;
  for (size_t at = records; at < Polygons.size();) {
    cRawPolyRec& header = Polygons[at];
    header.Words[1] = int32_t(uint32_t(header.Words[1]) + materialWord);
    header.Words[2] = Move(header.Object(), objects);
    const size_t end = at + 1 + std::min(size_t(std::max(header.Corners(), 0)), Polygons.size() - at - 1);
    for (at++; at < end; at++) {
      int32_t* const corner = Polygons[at].Words;
      corner[0] = Move(corner[0], positions);
      if (corner[1] != -1) corner[1] = Move(corner[1], texCoords);
      if (corner[2] != -1) corner[2] = Move(corner[2], normals);
    }
  }
}

void cRawMesh::SwapYZ(bool forward) {
  const auto turn = [&](cVec3& v) { v = forward ? cVec3{v.z, v.x, v.y} : cVec3{v.y, v.z, v.x}; };
  for (cVec3& position : Positions) turn(position);
  for (cVec3& normal : Normals) turn(normal);
  for (cRawObject& object : Objects) turn(object.Pivot);
}

}  // namespace comms
