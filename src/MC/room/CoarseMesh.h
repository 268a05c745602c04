#pragma once
// A group mesh with about a seventh of the triangles of a smooth surface, a quarter of a rough one, for views in motion on
// machines without a graphics card.
#include <memory>

#include "MC/VolumeObject.h"

/// Vertex clustering after Rossignac and Borrel (1993): the vertices of a cube of three voxels along its edges become one, at
/// their mean, and triangles that lose a corner go. Vertices in the border planes of the group stay, so a coarse group meets its
/// neighbours without gaps, coarse or not; so do those of a cube that holds an edge. Staged data is kept. A mesh without
/// triangles where all of them went, or where the group has none.
std::unique_ptr<comms::BaseMesh> MakeCoarseMesh(const VolumeObject& volume, const CellKey& group);
