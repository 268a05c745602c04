// What cells and volumes cost in memory.
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "Claims.h"
#include "MC/MeshVoxelizer.h"
#include "MC/VolumeObject.h"

namespace {

/// A dented sphere: cells cut by the surface at every angle, full ones inside.
void FillDentedSphere(VolumeObject& volume, int radius) {
  const int cells = radius / 8 + 2;
  uint16_t samples[CellSamples];
  for (int cz = -cells; cz < cells; cz++)
    for (int cy = -cells; cy < cells; cy++)
      for (int cx = -cells; cx < cells; cx++) {
        bool any = false;
        for (int z = 0; z < CellEdge; z++)
          for (int y = 0; y < CellEdge; y++)
            for (int x = 0; x < CellEdge; x++) {
              const double px = 8 * cx + x, py = 8 * cy + y, pz = 8 * cz + z;
              const double distance =
                  std::sqrt(px * px + py * py + pz * pz) - radius + 4 * std::sin(px / 9) * std::sin(py / 7 + pz / 8);
              samples[SampleIndex(x, y, z)] = uint16_t(std::clamp(0.5 - distance / 4, 0.0, 1.0) * 65535);
              any |= samples[SampleIndex(x, y, z)] != 0;
            }
        if (!any) continue;
        VoxelCell* cell = volume.GetCell(cx, cy, cz, true, false, false);
        cell->Expand(ExpandAllocate, false);
        cell->Flags &= ~FillPending;
        std::copy_n(samples, CellSamples, cell->Density);
        cell->Analyze(true, false);
      }
  volume.MarkAllChanged();
  volume.RefreshSurfaces();
}

/// Bytes that the allocator really spends on a block, its own word included.
template <class T>
size_t HeapCost(const Block<T>& block) {
  // A block begins eight bytes before its elements.
  return block.Data()
             ? malloc_usable_size(const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>(block.Data()) - 8)) + sizeof(size_t)
             : 0;
}

const bench::Benchmark cellMemory("MemoryCells", [](std::vector<bench::Claim>& claims) {
  VolumeObject volume;
  FillDentedSphere(volume, 200);
  constexpr size_t tableEntry = 16, blockOverhead = 16;
  size_t surfaceCells = 0, uniformBlocks = 0, spent = 0, listed = 0;
  const size_t table = volume.Cells.Bytes();
  volume.ForEachCell([&](const CellKey&, VoxelCell& cell) {
    if (!cell.CrossesSurface()) {
      const bool uniform = !cell.Density || std::all_of(cell.Density, cell.Density + CellSamples,
                                                        [&](uint16_t v) { return v == cell.Density[0]; });
      uniformBlocks += uniform && cell.Density;
      return;
    }
    const SurfaceData& s = *cell.Surface;
    surfaceCells++;
    spent += volume.CellPool.BlockBytes() + volume.VoxelPool.BlockBytes() + volume.SurfacePool.BlockBytes() +
             HeapCost(s.Vertices) + HeapCost(s.Indices);
    listed += sizeof(VoxelCell) + CellSamples * sizeof(uint16_t) + sizeof(SurfaceData) + tableEntry +
              s.Vertices.Count() * sizeof(VolumeVertex) + s.Indices.Count() * sizeof(uint16_t) + 2 * blockOverhead;
  });
  const double tableShare = double(table) / double(volume.Cells.Count());
  bench::Claim claim;
  claim.Text = "Memory of a surface cell: bytes above its records, table entry and block headers";
  claim.Goal = "<= 16";
  claim.Ours = double(spent) / double(surfaceCells) + tableShare;
  claim.Peer = double(listed) / double(surfaceCells);
  claim.Ratio = claim.Ours - claim.Peer;
  const size_t slabs = volume.CellPool.SlabBytes() + volume.VoxelPool.SlabBytes() + volume.SurfacePool.SlabBytes();
  const size_t used = volume.CellPool.UsedBlocks() * volume.CellPool.BlockBytes() +
                      volume.VoxelPool.UsedBlocks() * volume.VoxelPool.BlockBytes() +
                      volume.SurfacePool.UsedBlocks() * volume.SurfacePool.BlockBytes();
  char note[160];
  std::snprintf(note, sizeof note, "%zu surface cells; table %.1f a cell; record %zu + %zu bytes; slabs hold %.1f%% unused",
                surfaceCells, tableShare, sizeof(VoxelCell), sizeof(SurfaceData), 100.0 * double(slabs - used) / double(slabs));
  claim.Note = note;
  claims.push_back(claim);

  bench::Claim uniform;
  uniform.Text = "Memory of an empty or full cell: density blocks held by uniform cells";
  uniform.Goal = "<= 0";
  uniform.Ours = uniform.Ratio = double(uniformBlocks);
  claims.push_back(uniform);
});

/// Reads a scan, voxelises it and makes its surface and group meshes; all of it stays in memory to the end.
const bench::ChildTask voxelisedScan("VoxelisedScan", [](const std::string& file) {
  bench::TriangleSoup mesh;
  if (!bench::LoadBenchMesh(file, mesh)) std::exit(1);
  std::vector<comms::cVec3> positions;
  for (size_t i = 0; i < mesh.Positions.size(); i += 3)
    positions.push_back({mesh.Positions[i], mesh.Positions[i + 1], mesh.Positions[i + 2]});
  VoxelizeOptions options;
  options.Resolution = 512;
  VolumeObject volume;
  VoxelizeReport report;
  std::string error;
  const TriangleView view{positions.data(), positions.size(), mesh.Triangles.data(), mesh.Triangles.size() / 3};
  if (!VoxelizeMesh(view, options, volume, report, error)) {
    std::fprintf(stderr, "%s: %s\n", file.c_str(), error.c_str());
    std::exit(1);
  }
  volume.RefreshChanges();
});

const bench::Benchmark scanMemory("MemoryScan", [](std::vector<bench::Claim>& claims) {
  for (const char* file : {"koala.obj", "nefertiti_280k.ply"}) {
    bench::Claim claim;
    claim.Text = "Peak memory of " + std::string(file) + " voxelised at 512, with surface and group meshes, in MB";
    claim.Goal = "<= 600";
    claim.Peer = 600;
    const double peak = bench::PeakBytesInChild("VoxelisedScan", file);
    if (peak < 0)
      claim.Skipped = "mesh not there, or the child failed";
    else
      claim.Ours = claim.Ratio = peak / 1e6;
    claims.push_back(claim);
  }
});

}  // namespace
