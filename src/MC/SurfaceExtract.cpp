#include "MC/SurfaceExtract.h"

#include <oneapi/tbb/parallel_for.h>

#include <algorithm>

#include "ClassEngine/Assert.h"
#include "MC/SurfaceCells.h"

using comms::cMat4;
using comms::cRawMesh;
using comms::cRawPolyRec;
using comms::cVec3;

namespace {

/// Where one volume's part lies in the mesh.
struct Part {
  VolumeObject* Volume;
  std::vector<SurfaceCell> Cells;
  std::vector<size_t> FirstRecord;  ///< of each cell in Polygons
  size_t FirstVertex = 0;
  uint32_t Vertices = 0;
  int Object = 0;
};

class VertexWriter {
 public:
  VertexWriter(const Part& part, cRawMesh& mesh) : m_Part(part), m_Mesh(mesh) {
    comms::Invert(part.Volume->SpaceMatrix, m_Inverse);
  }

  /// Normals turn with the inverse transpose; the gradient points into the solid.
  void Write(const VolumeVertex& v, uint32_t id) const {
    const size_t at = m_Part.FirstVertex + (id & ~SharedVertexBit);
    m_Mesh.Positions[at] = m_Part.Volume->VolumeToWorld({v.x, v.y, v.z});
    const auto& m = m_Inverse.m;
    const cVec3 n{v.nx * m[0][0] + v.ny * m[0][1] + v.nz * m[0][2], v.nx * m[1][0] + v.ny * m[1][1] + v.nz * m[1][2],
                  v.nx * m[2][0] + v.ny * m[2][1] + v.nz * m[2][2]};
    m_Mesh.Normals[at] = comms::Normalized(cVec3{0 - n.x, 0 - n.y, 0 - n.z}, {0, 0, 1});
  }

 private:
  const Part& m_Part;
  cRawMesh& m_Mesh;
  cMat4 m_Inverse;
};

void WriteVertices(const Part& part, cRawMesh& mesh) {
  const VertexWriter writer(part, mesh);
  std::vector<uint32_t> owned(part.Cells.size());
  tbb::parallel_for(size_t(0), part.Cells.size(), [&](size_t i) {
    const SurfaceData& surface = *part.Cells[i].Surface;
    const BlockView<const VolumeVertex> vertices = surface.Vertices();
    for (uint32_t v = 0; v < vertices.Count(); v++)
      if (IsOwnedVertex(vertices[v])) {
        writer.Write(vertices[v], surface.VertexIds[v]);
        owned[i]++;
      }
  });
  size_t written = 0;
  for (uint32_t count : owned) written += count;
  if (written == part.Vertices) return;
  // Vertices whose owner is missing have ids above all others; any of their copies will do.
  for (const SurfaceCell& cell : part.Cells)
    for (uint32_t v = 0; v < cell.Surface->Vertices().Count(); v++)
      if ((cell.Surface->VertexIds[v] & ~SharedVertexBit) >= written)
        writer.Write(cell.Surface->Vertices()[v], cell.Surface->VertexIds[v]);
}

void WriteTriangles(const Part& part, cRawMesh& mesh) {
  const bool mirrored = comms::Determinant3(part.Volume->SpaceMatrix) < 0;
  tbb::parallel_for(size_t(0), part.Cells.size(), [&](size_t i) {
    const SurfaceData& surface = *part.Cells[i].Surface;
    cRawPolyRec* out = mesh.Polygons.data() + part.FirstRecord[i];
    const BlockView<const uint16_t> indices = surface.Indices();
    auto corner = [&](uint32_t index) {
      const int32_t vertex = int32_t(part.FirstVertex + (surface.VertexIds[indices[index]] & ~SharedVertexBit));
      return cRawPolyRec{{vertex, -1, vertex}};
    };
    for (uint32_t t = 0; t + 2 < indices.Count(); t += 3) {
      *out++ = {{3, 0, part.Object}};
      *out++ = corner(t);
      *out++ = corner(mirrored ? t + 2 : t + 1);
      *out++ = corner(mirrored ? t + 1 : t + 2);
    }
  });
}

}  // namespace

std::unique_ptr<cRawMesh> ExtractSurface(const std::vector<VolumeObject*>& volumes) {
  auto mesh = std::make_unique<cRawMesh>();
  std::vector<Part> parts;
  size_t vertices = 0, records = 0;
  for (VolumeObject* volume : volumes) {
    Part part{volume, {}, {}, vertices, volume->AssignVertexIds(), int(parts.size())};
    part.Cells = CollectSurfaceCells(*volume);
    for (const SurfaceCell& cell : part.Cells) {
      part.FirstRecord.push_back(records);
      records += size_t(cell.Surface->Indices().Count()) / 3 * 4;
    }
    vertices += part.Vertices;
    comms::cRawObject object;
    object.Name = volume->Name;
    mesh->Objects.push_back(std::move(object));
    parts.push_back(std::move(part));
  }
  MORVANE_ASSERT(vertices <= INT32_MAX);
  mesh->Materials.emplace_back();
  mesh->Materials.back().Name = "default";
  mesh->Positions.resize(vertices);
  mesh->Normals.resize(vertices);
  mesh->Polygons.resize(records);
  for (const Part& part : parts) {
    WriteVertices(part, *mesh);
    WriteTriangles(part, *mesh);
  }
  return mesh;
}
