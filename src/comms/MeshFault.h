#pragma once
// What keeps a mesh from being worked on, told by where it stands in its file.
#include "comms/cRawMesh.h"

namespace comms {

/// The first vertex that is not finite, else the first polygon whose indices leave their arrays, as one sentence with file,
/// place, found and expected; empty for a sound mesh. `mesh` is what `fileName`, one file, was read into: the line of OBJ text is
/// looked up there, other formats are told by the number of the vertex or polygon, from 1. Costs one pass over the arrays, and
/// over the file where there is a fault.
cStr FindMeshFault(const cRawMesh& mesh, const cStr& fileName);

}  // namespace comms
