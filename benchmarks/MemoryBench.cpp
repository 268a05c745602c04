// What cells and volumes cost in memory.
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Claims.h"
#include "MC/Dabs.h"
#include "MC/MeshVoxelizer.h"
#include "MC/SurfaceCells.h"
#include "MC/VolumeObject.h"
#include "ScanVolume.h"

namespace {

/// Bytes that the allocator really spends on the triangles of a cell, its own word included.
size_t HeapCost(const CellMesh& mesh) {
  // The allocation begins before the first vertex.
  if (mesh.Empty()) return 0;
  void* begin = const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>(mesh.Vertices().Data()) - CellMesh::HeaderBytes);
  return malloc_usable_size(begin) + sizeof(size_t);
}

// What a surface cell may spend: the bare contents of its records with pointers of four bytes, a table entry, and two blocks with
// a header each. The figures are written out, so that a record that grows is seen as one.
constexpr size_t ListedCell = 28, ListedSurface = 68, ListedDensity = 9 * 9 * 9 * 2, ListedVertex = 28, ListedIndex = 2;
constexpr size_t TableEntry = 16, BlockOverhead = 16;
static_assert(sizeof(VoxelCell) <= 48, "the record of a cell grew");
static_assert(sizeof(SurfaceData) <= 56, "the record of a surface grew");

bench::Claim MeasureSurfaceCells(const VolumeObject& volume, const std::string& name) {
  size_t surfaceCells = 0, blocks = 0, listedBlocks = 0;
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    if (!cell.CrossesSurface() || !cell.Surface) return;
    const SurfaceData& s = *cell.Surface;
    surfaceCells++;
    blocks += HeapCost(s.Mesh);
    listedBlocks += s.Vertices().Count() * ListedVertex + s.Indices().Count() * ListedIndex + 2 * BlockOverhead;
  });
  const size_t records = volume.CellPool.BlockBytes() + volume.VoxelPool.BlockBytes() + volume.SurfacePool.BlockBytes();
  constexpr size_t listedRecords = ListedCell + ListedDensity + ListedSurface;
  const double tableShare = double(volume.Cells.Bytes()) / double(volume.Cells.Count());
  bench::Claim claim;
  claim.Text = "Surface cell, " + name + ": bytes above its records as listed, table entry and block headers";
  claim.Goal = "<= 16";
  claim.Ours = double(records) + tableShare + double(blocks) / double(surfaceCells);
  claim.Peer = double(listedRecords + TableEntry) + double(listedBlocks) / double(surfaceCells);
  claim.Ratio = claim.Ours - claim.Peer;
  char note[400];
  std::snprintf(note, sizeof note,
                "%zu surface cells; limit: cell %zu, surface %zu, samples %zu, table %zu, two blocks with %zu each; above it: "
                "records %zd (ours %zu + %zu + %zu), table %.1f, blocks %.1f",
                surfaceCells, ListedCell, ListedSurface, ListedDensity, TableEntry, BlockOverhead,
                ptrdiff_t(records) - ptrdiff_t(listedRecords), volume.CellPool.BlockBytes(), volume.SurfacePool.BlockBytes(),
                volume.VoxelPool.BlockBytes(), tableShare - TableEntry,
                (double(blocks) - double(listedBlocks)) / double(surfaceCells));
  claim.Note = note;
  return claim;
}

/// Cells of one value throughout that hold a density block all the same.
bench::Claim CountUniformBlocks(const VolumeObject& volume, const std::string& name) {
  size_t uniformBlocks = 0, uniform = 0, full = 0;
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    const bool same = !cell.HasSamples() ||
                      std::all_of(cell.Density, cell.Density + CellSamples, [&](uint16_t v) { return v == cell.Density[0]; });
    uniform += same;
    full += same && (cell.HasSamples() ? cell.Density[0] : cell.UniformValue) == 65535;
    uniformBlocks += same && (cell.Density || cell.StrokeBase);
  });
  bench::Claim claim;
  claim.Text = "Empty and full cells with a density block, " + name;
  claim.Goal = "== 0";
  claim.Ours = claim.Ratio = double(uniformBlocks);
  claim.Note = "of " + std::to_string(uniform) + " uniform cells, " + std::to_string(full) + " of them full; " +
               std::to_string(volume.Cells.Count()) + " cells in all";
  return claim;
}

/// Balls of radius 32 about vertices of the surface, strewn evenly over it. False where none changed a cell.
bool ApplyDabs(VolumeObject& volume, int mode) {
  volume.RefreshSurfaces();
  std::vector<comms::cVec3> places;
  const std::vector<SurfaceCell> cells = CollectSurfaceCells(volume);
  for (size_t i = 0; i < cells.size(); i += cells.size() / 24 + 1) {
    const VolumeVertex& v = cells[i].Surface->Vertices()[0];
    places.push_back({v.x, v.y, v.z});
  }
  ApplyReport report;
  for (const comms::cVec3& place : places) report = report + ApplySphereDab(volume, place, 32, {mode, false, MirrorNone});
  volume.EndStroke(false);
  return report.ChangedCells > 0;
}

const bench::Benchmark cellMemory("MemoryCells", [](std::vector<bench::Claim>& claims) {
  bench::TriangleSoup mesh;
  const bool loaded = bench::LoadBenchMesh("koala.obj", mesh);
  for (const int resolution : {256, 512}) {
    const auto volume = loaded ? bench::VoxelizeScan(mesh, bench::LongestSide(mesh) / resolution) : nullptr;
    const std::string name = "koala at " + std::to_string(resolution);
    if (!volume) {
      claims.push_back({.Text = "Memory of cells, " + name, .Skipped = "koala.obj is not there, or was refused"});
      continue;
    }
    claims.push_back(CountUniformBlocks(*volume, name + " voxelised"));
    volume->RefreshSurfaces();
    claims.push_back(MeasureSurfaceCells(*volume, name));
    for (const auto& [mode, what] :
         {std::pair(ApplyAdd, ", after dabs that add"), std::pair(ApplySubtract, ", then dabs that subtract")}) {
      const bool changed = ApplyDabs(*volume, mode);
      claims.push_back(CountUniformBlocks(*volume, name + what));
      if (!changed) claims.back().Failed = "the dabs changed nothing";
    }
  }
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
    bench::TriangleSoup mesh;
    if (bench::LoadBenchMesh(file, mesh))
      claim.Ours = claim.Ratio = bench::PeakBytesInChild("VoxelisedScan", file) / 1e6;
    else
      claim.Skipped = std::string(file) + " is not there";
    if (claim.Ours < 0) claim.Failed = "the child failed";
    claims.push_back(claim);
  }
});

}  // namespace
