// A mesh codec in a library of its own, as the tests load it: takes "obj" before the built-in one, and an extension nobody has.
#include <cstdio>

#include "comms/cFile.h"
#include "comms/cMeshCodec.h"
#include "comms/cRawMesh.h"

namespace {
class PluginCodec : public comms::cMeshCodec {
 public:
  comms::cRawMesh* Decode(comms::cFile& file) override {
    auto* const mesh = new comms::cRawMesh;
    mesh->Name = "plugin read " + std::to_string(file.Size()) + " bytes";
    return mesh;
  }
  void Encode(comms::cRawMesh*, comms::cFile*) override {}
};
}  // namespace

#define EXPORTED __attribute__((visibility("default")))
EXPORTED int GetNumMeshCodecs() { return 2; }
EXPORTED comms::cMeshCodec* GetMeshCodec(int) {
  static PluginCodec codec;
  return &codec;
}
EXPORTED const char* GetMeshCodecName(int index) { return index ? "xyz" : "obj"; }
