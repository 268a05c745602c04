#pragma once
// Figures of a volume's surface, welded by vertex ids.
#include <cstddef>

#include "MC/VolumeObject.h"

struct SurfaceStats {
  struct Point {
    double x = 0, y = 0, z = 0;
  };
  size_t Cells = 0, Blocks = 0, SurfaceCells = 0;  ///< all cells; cells with a density block; cells with triangles
  size_t Vertices = 0, Triangles = 0;
  double Volume = 0, Area = 0;  ///< world units; the volume is positive for a surface wound outwards and closed
  Point Min, Max;               ///< world space; both 0 without a surface
  size_t Components = 0;
  int Genus = -1;               ///< over all components; -1 where the surface is not a closed orientable manifold
  size_t BoundaryEdges = 0;     ///< edges with one triangle
  size_t NonManifoldEdges = 0;  ///< edges with more than two, or with two that run the same way
};

/// Assigns the vertex ids where they are not current. The figures do not depend on the thread count.
SurfaceStats MeasureSurface(VolumeObject& volume);
