#pragma once
// The plain record that every polygon file enters and leaves through: a polygon soup as the file says it. No tessellation, no
// adjacency, nothing of the renderer.
#include <cstdint>
#include <memory>

#include "comms/RawList.h"
#include "comms/Str.h"
#include "comms/Vec.h"

namespace comms {

/// Three words of the packed polygon stream. A polygon is one header {corners n, material word, object index} and n corners
/// {position, texture coordinate or -1, normal or -1}. The material word keeps the index into Materials in its low half and the
/// index into UVSets in its high half.
struct cRawPolyRec {
  int32_t Words[3];

  int Corners() const { return Words[0]; }
  int Material() const { return Words[1] & 0xFFFF; }
  int UVSet() const { return int(uint32_t(Words[1]) >> 16); }
  int Object() const { return Words[2]; }
  int Position() const { return Words[0]; }
  int TexCoord() const { return Words[1]; }
  int Normal() const { return Words[2]; }
  friend bool operator==(const cRawPolyRec&, const cRawPolyRec&) = default;
};
static_assert(sizeof(cRawPolyRec) == 12);

struct cRawTexSlot {
  cStr FileName;
  int Channel = 0, Mode = 1, Flags = 0;
  float Offset = 0, ScaleU = 1, ScaleV = 1;
};

struct cRawNode {
  uint8_t Bytes[16] = {};
};

struct cRawMaterial {
  /// Slot roles; the slots behind these are free.
  enum Slot { Diffuse, Specular, Bump, NormalBump, NumSlots = 8 };
  cStr Name;
  cVec4 ColorA{1, 1, 1, 1}, ColorB, ColorC{1, 1, 1, 1}, ColorD, ColorE{1, 1, 1, 1};
  float Surface[6] = {};
  float Opacity = 1;
  bool Smoothing = false;
  float SmoothAngle = 0.52358335f;  ///< radians
  cList<cRawNode> Nodes;
  cRawTexSlot Textures[NumSlots];
};

/// A group of the file; one whose name begins with InstancePrefix is a placed copy of another instead.
struct cRawObject {
  static constexpr const char* InstancePrefix = "NewInstance|";
  cStr Name;
  cMat4 Matrix;
  cVec3 Pivot;
  bool HasPivot = false;
};

struct cRawUVSet {
  cStr Name;
};

struct cRawMorph {
  cStr Name;
  cRawList<cVec3> Deltas;
};

/// One value of a per-vertex map.
struct cRawVMapValue {
  int32_t Vertex = -1, Polygon = -1;  ///< -1: for every polygon at the vertex
  float Value[4] = {};
};

/// A named per-vertex map; its values stand in VMapValues from FirstValue on.
struct cRawVMap {
  cStr Name;
  uint32_t Type = 0;
  int Dimension = 0, FirstValue = 0, NumValues = 0;
};

/// Reserved.
struct cRawExtra {
  int32_t Words[4] = {};
};

/// Indices come from files as they are: ask HasValidIndices before using them to reach into the arrays.
struct __attribute__((visibility("default"))) cRawMesh {
  cList<std::unique_ptr<cRawMorph>> Morphs;
  cStr Name;
  cRawList<cVec3> Positions;
  cRawList<cVec2> TexCoords;
  cRawList<cVec3> Normals;  ///< may be longer than Positions: normals per corner
  cList<cRawUVSet> UVSets;
  cRawList<cVec3> Tangents;
  cRawList<cRawPolyRec> Polygons;  ///< records, not polygons
  cList<cRawMaterial> Materials;
  cList<cRawObject> Objects;
  cRawList<cRawVMapValue> VMapValues;
  cList<cRawVMap> VMaps;
  cRawList<cRawExtra> Extra;
  cRawList<uint32_t> VertexColors;  ///< 0xAARRGGBB; counts only when there are as many as positions
  cRawList<cVec3> BiTangents;
  int64_t NumWordPositions = 0;  ///< positions whose text in the file holds no number, which reads as 0

  /// Appends polygons, arrays, objects, materials and UV sets of `source`, its indices moved behind ours. Morphs and vertex maps
  /// stay behind.
  void Merge(const cRawMesh& source);
  /// Turns the coordinate axes: forward (x, y, z) becomes (z, x, y), backward (y, z, x). Positions, normals and pivots; windings
  /// stay.
  void SwapYZ(bool forward);
  /// Logs every fault, one entry each, and returns how many there are.
  int64_t Validate() const;
  /// Whether the stream is whole and every position, texture coordinate and normal index lies in its array (-1 is fine for the
  /// last two). Runs on all cores.
  bool HasValidIndices() const;
  /// The same for one corner.
  bool HasValidIndices(const cRawPolyRec& corner) const {
    return uint32_t(corner.Position()) < Positions.size() && uint32_t(corner.TexCoord()) + 1 <= TexCoords.size() &&
           uint32_t(corner.Normal()) + 1 <= Normals.size();
  }
  /// Polygons in the stream.
  int64_t CountPolygons() const;
};

/// Starts of the `blockSize`-th polygons of a stream: Records[i] is the index of the header of polygon i * blockSize; one more
/// entry is the end. A broken stream (negative count, end before the last corner) ends at its last whole polygon.
struct cRawPolyBlocks {
  cList<size_t> Records;
  int64_t NumPolygons = 0;
  bool IsWhole = true;
};
cRawPolyBlocks FindPolyBlocks(const cRawList<cRawPolyRec>& polygons, int64_t blockSize);

}  // namespace comms
