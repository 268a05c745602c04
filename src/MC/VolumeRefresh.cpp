// From marked cells to drawable meshes: the pass that runs once a frame.
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <tuple>

#include "ClassEngine/Assert.h"
#include "MC/RefreshProgress.h"
#include "MC/VolumeObject.h"

using comms::BaseMesh;
using comms::StageProgress;
using comms::VertexFormat;
using comms::VertexLayout;
using comms::VertexUsage;

namespace {

constexpr int NeverUsed = 1234;  // a new group counts as unused for this many frames

const VertexLayout& CellVertexLayout() {
  static const VertexLayout layout{sizeof(VolumeVertex),
                                   {{VertexUsage::Position, VertexFormat::Float3, offsetof(VolumeVertex, x)},
                                    {VertexUsage::Normal, VertexFormat::Float3, offsetof(VolumeVertex, nx)}}};
  return layout;
}

// A vertex of a group in which some surface has colours. Bytes as they lie in memory: red first.
struct ColoredVertex {
  VolumeVertex Vertex;
  uint32_t Color;
};
const VertexLayout& ColoredVertexLayout() {
  static const VertexLayout layout = [] {
    VertexLayout colored = CellVertexLayout();
    colored.Stride = sizeof(ColoredVertex);
    colored.Elements.push_back({VertexUsage::Color, VertexFormat::Color8, offsetof(ColoredVertex, Color)});
    return colored;
  }();
  return layout;
}

// The surface's vertices with their base colours, those of the first layer.
void TakeColored(const SurfaceData& surface, std::vector<ColoredVertex>& vertices) {
  const uint32_t count = surface.Vertices().Count();
  const Block<uint32_t>* colors = surface.ColorLayers().Count() ? &surface.ColorLayers()[0].Colors : nullptr;
  vertices.resize(count);
  for (uint32_t i = 0; i < count; i++)
    vertices[i] = {surface.Vertices()[i], colors && i < colors->Count() ? (*colors)[i] : DefaultVertexColor};
}

/// visit(cell) for the cells of a group that are drawn with it, x fastest.
template <class Visit>
void ForEachDrawnCell(const CellTable& cells, int32_t gx, int32_t gy, int32_t gz, Visit&& visit) {
  CellTable::Cursor cursor;
  for (int z = 0; z < GroupSize; z++)
    for (int y = 0; y < GroupSize; y++)
      for (int x = 0; x < GroupSize; x++) {
        const VoxelCell* cell = cells.Find({gx * GroupSize + x, gy * GroupSize + y, gz * GroupSize + z}, cursor);
        if (cell && cell->Surface && !cell->Has(ShadowCell)) visit(*cell);
      }
}

void Merge(ScreenRect& into, const ScreenRect& rect) {
  RedrawArea area;
  area.Dirty = into;
  area.Merge(rect);
  into = area.Dirty;
}

StageProgress* s_Told = nullptr;  // of the RefreshProgress that lives

bool IsCancelled() { return s_Told && s_Told->IsCancelled(); }

/// work(i) for 0 .. count - 1 on all threads; where the person cancels, the rest is left out.
template <class Work>
void ForEachTold(size_t count, Work&& work) {
  StageProgress* const told = s_Told;
  if (told) told->Begin(count);
  tbb::parallel_for(tbb::blocked_range<size_t>(0, count), [&](const tbb::blocked_range<size_t>& range) {
    if (told && told->IsCancelled()) return;
    for (size_t i = range.begin(); i != range.end(); i++) work(i);
    if (told) told->Advance(range.size());
  });
}

}  // namespace

RefreshProgress::RefreshProgress() : m_Stage(0, 1, "Polygonize") {
  MORVANE_ASSERT(!s_Told);
  s_Told = &m_Stage;
}

RefreshProgress::~RefreshProgress() { s_Told = nullptr; }

void VolumeObject::MarkCellChanged(int32_t x, int32_t y, int32_t z, bool boxOnly, bool lock) {
  const CellKey key{x, y, z};
  SpinGuard guard(lock ? &m_TableLock : nullptr);
  if (VoxelCell* cell = FindCell(key)) {
    cell->Flags |= Touched;
    cell->DrawStamp = uint16_t(cell->DrawStamp - 1234);
    if (Redraw && cell->Surface) Redraw->Merge(cell->Surface->ScreenRect);
  }
  DirtyCells.Set(key, int32_t(boxOnly ? DirtyBoxOnly : DirtyPolygonize));
  DirtyGroups.Set(GroupOf(key), 1);
  RedrawCells.Set(key, 1);
}

void VolumeObject::MarkAllChanged() {
  DirtyCells.Reserve(Cells.Count());
  ForEachCell([&](const CellKey& key, VoxelCell&) { MarkCellChanged(key.x, key.y, key.z, false, false); });
}

void VolumeObject::RefreshChanges() {
  PolygonizeMarked();
  if (IsCancelled()) return;
  RefreshGroups();
  BoxTree.Update(*this);
}

void VolumeObject::RefreshSurfaces() {
  PolygonizeMarked();
  if (IsCancelled()) return;
  BoxTree.Update(*this);
}

void VolumeObject::MarkLostMarks() {
  if (!m_MarksLost) return;
  MarkAllChanged();
  RenderGroups.ForEach([&](const CellKey& group, const RenderGroup&) { DirtyGroups.Set(group, 1); });
  BoxTree.RequestRebuild();
  m_MarksLost = false;
}

void VolumeObject::PolygonizeMarked() {
  MarkLostMarks();
  std::vector<CellKey> rebuild, boxOnly;
  // Surface records are taken here, on one thread, so that the workers leave their pool alone.
  DirtyCells.ForEach([&](const CellKey& key, int32_t state) {
    VoxelCell* cell = state == DirtyPolygonize ? FindCell(key) : nullptr;
    if (cell && cell->CrossesSurface() && cell->Density) AllocateSurface(*cell);
    (cell ? rebuild : boxOnly).push_back(key);
  });
  ForEachTold(rebuild.size(), [&](size_t i) { PolygonizeCell(rebuild[i].x, rebuild[i].y, rebuild[i].z); });
  if (IsCancelled()) return;
  for (const std::vector<CellKey>* list : {&rebuild, &boxOnly})
    for (const CellKey& key : *list) {
      VoxelCell* cell = FindCell(key);
      SurfaceData* surface = cell ? cell->Surface : nullptr;
      if (surface) {
        if (list == &boxOnly) surface->UpdateBox();
        cell->DrawStamp = uint16_t(cell->DrawStamp - 10012);
      }
      BoxTree.SetBox(0, key, surface ? surface->Box : VolumeBox());
    }
  if (Redraw)
    RedrawCells.ForEach([&](const CellKey& key, int32_t) {
      VoxelCell* cell = FindCell(key);
      if (!cell || !cell->Surface) return;
      cell->Surface->ScreenRect = Redraw->Project(cell->Surface->Box);
      Redraw->Merge(cell->Surface->ScreenRect);
    });
  DirtyCells.Clear();
  RedrawCells.Clear();
}

void VolumeObject::RefreshGroups() {
  struct Built {
    CellKey Key;
    RenderGroup Group;
  };
  std::vector<Built> built(DirtyGroups.Count());
  for (size_t i = 0; i < built.size(); i++) built[i].Key = DirtyGroups.KeyAt(i);
  // Marking may have run on workers in any order; the groups are entered in one.
  std::sort(built.begin(), built.end(), [](const Built& a, const Built& b) {
    return std::tie(a.Key.z, a.Key.y, a.Key.x) < std::tie(b.Key.z, b.Key.y, b.Key.x);
  });
  ForEachTold(built.size(), [&](size_t i) {
    Built& b = built[i];
    b.Group.Mesh = BuildGroupMesh(b.Key.x, b.Key.y, b.Key.z, b.Group.Box, b.Group.ScreenRect);
  });
  if (IsCancelled()) return;
  for (Built& b : built) {
    if (b.Group.Mesh) {
      b.Group.LastFrame = CurrentFrame - NeverUsed;
      RenderGroups.Set(b.Key, std::move(b.Group));
    } else {
      RenderGroups.Remove(b.Key);
    }
  }
  DirtyGroups.Clear();
}

std::unique_ptr<BaseMesh> VolumeObject::BuildGroupMesh(int32_t gx, int32_t gy, int32_t gz, VolumeBox& box,
                                                       ::ScreenRect& rect) const {
  box = {};
  rect = {};
  size_t vertexTotal = 0, indexTotal = 0;
  bool hasColors = false;
  ForEachDrawnCell(Cells, gx, gy, gz, [&](const VoxelCell& cell) {
    box.Add(cell.Surface->Box);
    Merge(rect, cell.Surface->ScreenRect);
    hasColors = hasColors || cell.Surface->ColorLayers().Count();
    vertexTotal += cell.Surface->Vertices().Count();
    indexTotal += cell.Surface->Indices().Count();
  });
  if (vertexTotal == 0 || indexTotal == 0) return nullptr;
  auto mesh = std::make_unique<BaseMesh>(vertexTotal, indexTotal, hasColors ? ColoredVertexLayout() : CellVertexLayout());
  std::vector<ColoredVertex> colored;
  ForEachDrawnCell(Cells, gx, gy, gz, [&](const VoxelCell& cell) {
    const SurfaceData& surface = *cell.Surface;
    if (hasColors) TakeColored(surface, colored);
    const void* vertices = hasColors ? static_cast<const void*>(colored.data()) : surface.Vertices().Data();
    mesh->Append(vertices, surface.Vertices().Count(), surface.Indices().Data(), surface.Indices().Count());
  });
  mesh->Finish();
  return mesh;
}
