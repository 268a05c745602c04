#pragma once
// Root of the mesh codecs. Plug-ins implement it too: the order of the virtual operations is a promise.

namespace comms {

struct cRawMesh;
class cFile;

class __attribute__((visibility("default"))) cMeshCodec {
 public:
  virtual ~cMeshCodec() = default;
  /// A new mesh owned by the caller, or null after one message. An error in the log beside a mesh says that it is not what the
  /// file says: it can be looked at and is not imported.
  virtual cRawMesh* Decode(cFile& file) = 0;
  /// Writes `mesh`, which may be changed on the way. Failures go to file.Fail.
  virtual void Encode(cRawMesh* mesh, cFile* file) = 0;
};

}  // namespace comms
