#pragma once
// Mesh files by extension: the registry of codecs, loading and saving. Main thread only.
#include "comms/Str.h"

namespace comms {

class cMeshCodec;
struct cRawMesh;

class cMeshIO {
 public:
  /// Exchange files use the Z-up axis convention.
  static bool m_SwapYZ;

  /// Appends a codec, which is never freed. False where `extension` (case of A to Z ignored) has one already.
  static bool AddCodec(const char* extension, cMeshCodec* codec);
  /// Registers the codecs of the plug-in folder, then the built-in ones, so that a plug-in wins. Runs once; the others call it.
  static void Init();
  /// Folder searched for plug-ins (*.so) by Init; "Plugins/MeshCodecs/" unless set before. A plug-in exports
  ///   int GetNumMeshCodecs();  comms::cMeshCodec* GetMeshCodec(int);  const char* GetMeshCodecName(int);   (the extension)
  /// A library that can't be loaded or lacks one of them is passed over.
  static void SetPluginFolder(const cStr& folder);
  static cMeshCodec* FindCodec(const char* extension);

  /// A new mesh owned by the caller, or null after a message. Several names parted by ";" give one merged mesh, never null unless
  /// memory ran out; names that fail are left out of it. Where a file has the whole text for its name, that file alone is read.
  static cRawMesh* LoadMesh(const char* fileName);
  /// False after a message; the old file is then whole. With m_SwapYZ on, `mesh` comes back turned in the cases that return early
  /// and for the program's own folders: hand in a mesh that is thrown away afterwards.
  static bool SaveMesh(cRawMesh* mesh, const char* fileName);
  static void Merge(cRawMesh& target, const cRawMesh& source);
  static void SwapYZ(cRawMesh& mesh, bool forward);
};

}  // namespace comms
