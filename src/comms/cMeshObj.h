#pragma once
// OBJ text with its MTL library, read on all cores and written on all cores. Three extensions live in comments: "#MRGB" blocks
// hold a colour for every vertex, "#pivot" the pivot of the group above it, "# matrix4x4" an instance of another group.
#include "comms/cMeshCodec.h"

namespace comms {

class cMeshObj : public cMeshCodec {
 public:
  /// Null at the end of the file, or after one message. Indices stay as the file gives them, out of range or not; a zero position
  /// index and too short v, vt and vn lines fail, and so does a file of a mesh far larger than itself (see ObjReader.h). Text
  /// that holds no number reads as 0, one too large for a float as infinity.
  cRawMesh* Decode(cFile& file) override;
  bool DecodeObj(cFile& file, cRawMesh& mesh);
  /// Writes `mesh` to `file` and its materials beside it. Only what belongs to an object of the list is written. Blanks in
  /// material names become "_" in the mesh itself, a mesh with more normals than positions gets its polygons sorted by smoothing
  /// group, and morphs are written to files of their own and removed. A mesh with indices out of range is refused.
  void Encode(cRawMesh* mesh, cFile* file) override;
};

}  // namespace comms
