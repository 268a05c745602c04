#pragma once
// Closed meshes of known topology, and the topology of any mesh.
#include "Claims.h"

namespace bench {

/// Round the z axis: radius 1 to the middle of the tube, 0.35 of the tube. Genus 1.
TriangleSoup MakeTorus();
/// The twelve edges of a cube from -1 to 1 as bars about 0.6 thick. Genus 5.
TriangleSoup MakeCubeFrame();

/// Genus over all components, vertices of equal positions taken as one; -1 where an edge has not exactly two triangles that run
/// along it in opposite directions.
int GenusOf(const TriangleSoup& mesh);

}  // namespace bench
