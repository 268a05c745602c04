#pragma once
// The surface of volumes as one polygon soup, for the mesh files.
#include <memory>
#include <vector>

#include "MC/VolumeObject.h"
#include "comms/cRawMesh.h"

/// World-space triangles wound outwards, welded by vertex ids within each volume; one normal a vertex, of unit length and turned
/// outwards; one object a volume, named after it; one material "default". The surfaces are up to date (RefreshChanges); ids are
/// assigned where they are not current. Vertices and triangles follow the cells by z, y, x, whatever the thread count.
std::unique_ptr<comms::cRawMesh> ExtractSurface(const std::vector<VolumeObject*>& volumes);
