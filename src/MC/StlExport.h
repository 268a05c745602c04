#pragma once
// Binary STL of polygonised volumes. Triangles come as the cells hold them, in the order of cell keys (z, y, x), so that the
// bytes do not depend on how the volume came to be.
#include <cstdint>
#include <string>
#include <vector>

class VolumeObject;

struct StlOptions {
  bool SwapYZ = false;  ///< (x, y, z) is written as (x, z, -y): the Z-up convention
};

/// Writes the surfaces of `volumes`, as they were last refreshed, to `path` in world units. The file at `path` is replaced as a
/// whole or stays as it was; false with one sentence in `error` then, also where the person cancelled. Attribute words are 2, as
/// readers of this flavour expect.
bool ExportStl(const std::vector<const VolumeObject*>& volumes, const std::string& path, const StlOptions& options,
               std::string& error);

/// The first 80 bytes of the file.
std::string MakeStlHeader();
