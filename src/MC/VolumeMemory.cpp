// What a volume costs.
#include <cstdarg>
#include <cstdio>

#include "MC/VolumeObject.h"

namespace {

constexpr double Megabyte = 1000000;

// What the report's lines count, the same on every machine: the bare contents of the records with pointers of four bytes. What
// this machine really spends stands in brackets behind the total.
constexpr size_t CellBytes = 16 + 28, SamplesBytes = 2 * CellSamples, SurfaceBytes = 68, BlockBytes = 16;
size_t CountedBlock(size_t count, size_t elementBytes) { return count ? BlockBytes + count * elementBytes : 0; }

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
      const size_t vertices = s->Vertices().Count() * sizeof(VolumeVertex);
      memory.VertexBytes += vertices;
      memory.IndexBytes += s->Mesh.HeapBytes() - vertices;
      memory.OtherBlockBytes += s->OtherHeapBytes();
    }
    if (const SurfaceData* s = cell.Backup ? cell.Backup->Surface : nullptr)
      memory.OtherBlockBytes += s->Mesh.HeapBytes() + s->OtherHeapBytes();
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
  size_t vertexBytes = 0, indexBytes = 0;
  ForEachCell([&](const CellKey&, VoxelCell& cell) {
    if (!cell.Surface) return;
    const uint32_t vertexCount = cell.Surface->Vertices().Count(), indexCount = cell.Surface->Indices().Count();
    vertices.Count(vertexCount);
    triangles.Count(indexCount / 3);
    vertexBytes += CountedBlock(vertexCount, sizeof(VolumeVertex));
    indexBytes += CountedBlock(indexCount, sizeof(uint16_t));
    cell.Surface->Mesh.Free();
  });
  m_IdsCurrent = false;

  const size_t empty = memory.UniformCells * CellBytes, filled = memory.FilledCells * (CellBytes + SamplesBytes);
  const size_t surface = memory.SurfaceCells * (CellBytes + SamplesBytes + SurfaceBytes);
  const size_t counted = empty + filled + surface + vertexBytes + indexBytes + memory.BoxTreeBytes + memory.OtherBlockBytes;
  const auto megabytes = [](size_t bytes) { return double(bytes) / Megabyte; };
  std::string text;
  Print(
      text,
      "\nMemory usage report:\nCells: %d\nEmpty cells: %d (%.02f mb)\nSurfaceCells: %d (%.02f mb)\nFilled cells: %d (%.02f mb)\n",
      int(memory.Cells), int(memory.UniformCells), megabytes(empty), int(memory.SurfaceCells), megabytes(surface),
      int(memory.FilledCells), megabytes(filled));
  Print(text, "Vertex cash: %.02f mb\nIndex cash: %.02f mb\nOcTree: %.02f\nExtra data: %.02f mb\n\nTotal: %.02f mb (%.02f mb)\n",
        megabytes(vertexBytes), megabytes(indexBytes), megabytes(memory.BoxTreeBytes), megabytes(memory.OtherBlockBytes),
        megabytes(counted), megabytes(memory.Total()));
  Print(text, "vpool: %.02f mb\ncpool: %.02f mb\napool: %.02f\n", megabytes(memory.DensityBytes), megabytes(memory.CellBytes),
        megabytes(memory.SurfaceBytes));
  vertices.PrintTo(text, "Vertices usage stats:");
  triangles.PrintTo(text, "Triangles usage stats:");
  return text;
}
