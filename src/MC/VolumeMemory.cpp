// What a volume costs.
#include <cstdarg>
#include <cstdio>

#include "MC/VolumeObject.h"

namespace {

constexpr double Megabyte = 1000000;
constexpr int LargestCounted = 255;

void Print(std::string& text, const char* format, ...) __attribute__((format(printf, 2, 3)));
void Print(std::string& text, const char* format, ...) {
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  text += line;
}

/// How many cells have how many of something.
struct Histogram {
  int Cells[LargestCounted + 1] = {};
  int Above = 0;
  void Count(uint32_t size) { size > LargestCounted ? Above++ : Cells[size]++; }
  void PrintTo(std::string& text, const char* title) const {
    Print(text, "%s\n", title);
    for (int size = 1; size <= LargestCounted; size++) Print(text, "%03d : %d\n", size, Cells[size]);
    Print(text, "Above: %d\n", Above);
  }
};

}  // namespace

size_t VolumeMemory::Total() const {
  return TableBytes + CellBytes + DensityBytes + SurfaceBytes + VertexBytes + IndexBytes + OtherBlockBytes + BoxTreeBytes +
         GroupMeshBytes;
}

VolumeMemory VolumeObject::CountMemory() const {
  VolumeMemory memory;
  ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    memory.Cells++;
    if (cell.Surface)
      memory.SurfaceCells++;
    else if (cell.Density)
      memory.FilledCells++;
    else
      memory.UniformCells++;
    if (const SurfaceData* s = cell.Surface) {
      memory.VertexBytes += s->Vertices.HeapBytes();
      memory.IndexBytes += s->Indices.HeapBytes();
      memory.OtherBlockBytes += s->OtherHeapBytes();
    }
    if (const SurfaceData* s = cell.Backup ? cell.Backup->Surface : nullptr)
      memory.OtherBlockBytes += s->Vertices.HeapBytes() + s->Indices.HeapBytes() + s->OtherHeapBytes();
  });
  memory.TableBytes = Cells.Bytes();
  memory.CellBytes = CellPool.SlabBytes();
  memory.DensityBytes = VoxelPool.SlabBytes();
  memory.SurfaceBytes = SurfacePool.SlabBytes();
  memory.BoxTreeBytes = BoxTree.Bytes();
  memory.OtherBlockBytes +=
      DirtyGroups.Bytes() + DirtyCells.Bytes() + RedrawCells.Bytes() + StrokeCellKeys.capacity() * sizeof(CellKey);
  memory.GroupMeshBytes = RenderGroups.Bytes();
  RenderGroups.ForEach(
      [&](const CellKey&, const RenderGroup& group) { memory.GroupMeshBytes += sizeof(comms::BaseMesh) + group.Mesh->Bytes(); });
  return memory;
}

std::string VolumeObject::MemoryReport() {
  const VolumeMemory memory = CountMemory();
  Histogram vertices, triangles;
  ForEachCell([&](const CellKey&, VoxelCell& cell) {
    if (!cell.Surface) return;
    vertices.Count(cell.Surface->Vertices.Count());
    triangles.Count(cell.Surface->Indices.Count() / 3);
    cell.Surface->Vertices.Free();
    cell.Surface->Indices.Free();
  });
  m_IdsCurrent = false;

  // Table share and record of one cell; density and surface records come on top.
  const double cellBytes = double(sizeof(VoxelCell)) + (memory.Cells ? double(memory.TableBytes) / double(memory.Cells) : 0);
  const double filledBytes = cellBytes + double(VoxelPool.BlockBytes());
  const double empty = double(memory.UniformCells) * cellBytes, filled = double(memory.FilledCells) * filledBytes;
  const double surface = double(memory.SurfaceCells) * (filledBytes + sizeof(SurfaceData));
  const double counted = empty + filled + surface + double(memory.VertexBytes) + double(memory.IndexBytes) +
                         double(memory.BoxTreeBytes) + double(memory.OtherBlockBytes);
  std::string text;
  Print(
      text,
      "\nMemory usage report:\nCells: %d\nEmpty cells: %d (%.02f mb)\nSurfaceCells: %d (%.02f mb)\nFilled cells: %d (%.02f mb)\n",
      int(memory.Cells), int(memory.UniformCells), empty / Megabyte, int(memory.SurfaceCells), surface / Megabyte,
      int(memory.FilledCells), filled / Megabyte);
  Print(text, "Vertex cash: %.02f mb\nIndex cash: %.02f mb\nOcTree: %.02f\nExtra data: %.02f mb\n\nTotal: %.02f mb (%.02f mb)\n",
        double(memory.VertexBytes) / Megabyte, double(memory.IndexBytes) / Megabyte, double(memory.BoxTreeBytes) / Megabyte,
        double(memory.OtherBlockBytes) / Megabyte, counted / Megabyte, double(memory.Total()) / Megabyte);
  Print(text, "vpool: %.02f mb\ncpool: %.02f mb\napool: %.02f\n", double(memory.DensityBytes) / Megabyte,
        double(memory.CellBytes) / Megabyte, double(memory.SurfaceBytes) / Megabyte);
  vertices.PrintTo(text, "Vertices usage stats:");
  triangles.PrintTo(text, "Triangles usage stats:");
  return text;
}
