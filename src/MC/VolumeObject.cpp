#include "MC/VolumeObject.h"

#include <algorithm>
#include <new>
#include <utility>

#include "ClassEngine/Assert.h"

VolumeObject::VolumeObject()
    : VoxelPool(CellSamples * sizeof(uint16_t)), CellPool(sizeof(VoxelCell)), SurfacePool(sizeof(SurfaceData)) {}

VolumeObject::~VolumeObject() { FreeAllCells(); }

VoxelCell* VolumeObject::NewCell(bool lock) {
  VoxelCell* cell = new (CellPool.Allocate(lock)) VoxelCell;
  cell->Owner = this;
  return cell;
}

VoxelCell* VolumeObject::GetCell(int32_t x, int32_t y, int32_t z, bool create, bool backup, bool lock) {
  SpinGuard guard(lock ? &m_TableLock : nullptr);
  const CellKey key{x, y, z};
  VoxelCell* cell = Cells.Find(key);
  const bool missing = !cell;
  if (missing) {
    if (!create) return nullptr;
    cell = NewCell(lock);
    try {
      Cells.Insert(key, cell);
    } catch (...) {
      FreeCell(cell);
      throw;
    }
    MinCell = {std::min(MinCell.x, x), std::min(MinCell.y, y), std::min(MinCell.z, z)};
    MaxCell = {std::max(MaxCell.x, x), std::max(MaxCell.y, y), std::max(MaxCell.z, z)};
  }
  if (!backup || cell->Backup) return cell;
  try {
    MakeBackup(key, *cell, missing, lock);
  } catch (...) {
    if (missing) FreeCell(Cells.Remove(key));
    throw;
  }
  return cell;
}

VoxelCell* VolumeObject::BackupCell(int32_t x, int32_t y, int32_t z) {
  VoxelCell* cell = Cells.Find({x, y, z});
  if (cell && !cell->Backup) MakeBackup({x, y, z}, *cell, false, true);
  return cell ? cell->Backup : nullptr;
}

void VolumeObject::MakeBackup(const CellKey& key, VoxelCell& source, bool wasMissing, bool lock) {
  VoxelCell* copy = NewCell(lock);
  copy->WasMissing = wasMissing;
  try {
    FillBackup(key, source, *copy, lock);
    if (StrokeCellKeys.size() < MaxStrokeKeys) StrokeCellKeys.push_back(key);
  } catch (...) {
    FreeCell(copy);
    if (source.Surface) source.Surface->TakeSaved();
    throw;
  }
  source.Backup = copy;
  BackupCount++;
}

void VolumeObject::FillBackup(const CellKey& key, VoxelCell& source, VoxelCell& copy, bool lock) {
  if (SurfaceData* surface = source.Surface) {
    if (surface->Saved().Empty() && !surface->Empty()) surface->NeedExtras().Saved.Assign(surface->Mesh);
    const int32_t* dirty = DirtyCells.Find(key);
    copy.SurfaceWasStale = dirty && *dirty == DirtyPolygonize;
    if (!surface->VertexIds.Empty() || surface->ColorLayers().Count()) {
      AllocateSurface(copy);
      copy.Surface->VertexIds.Assign(surface->VertexIds);
      if (surface->ColorLayers().Count()) copy.Surface->NeedExtras().ColorLayers.Assign(surface->ColorLayers());
    }
  }
  copy.Edge = source.Edge;
  copy.UniformValue = source.UniformValue;
  copy.Flags = uint8_t((source.Flags & (HasOutside | HasInside | ShadowCell)) | Touched);
  if (source.HasSamples()) {
    copy.Density = static_cast<uint16_t*>(VoxelPool.Allocate(lock));
    std::copy_n(source.Density, CellSamples, copy.Density);
  }
}

const VoxelCell* VolumeObject::FindCellOrBackup(int32_t x, int32_t y, int32_t z) const {
  const VoxelCell* cell = Cells.Find({x, y, z});
  return cell && cell->Backup ? cell->Backup : cell;
}

void VolumeObject::AllocateSurface(VoxelCell& cell) {
  if (!cell.Surface) cell.Surface = new (SurfacePool.Allocate(true)) SurfaceData;
}

void VolumeObject::FreeSurface(VoxelCell& cell) {
  if (!cell.Surface) return;
  if (cell.Backup) MoveSavedSurface(cell);
  cell.Surface->~SurfaceData();
  SurfacePool.Free(cell.Surface, true);
  cell.Surface = nullptr;
}

void VolumeObject::FreeCell(VoxelCell* cell) {
  if (cell->Backup) FreeCell(std::exchange(cell->Backup, nullptr));
  FreeSurface(*cell);
  if (cell->Density) VoxelPool.Free(cell->Density, true);
  if (cell->StrokeBase) VoxelPool.Free(cell->StrokeBase, true);
  cell->~VoxelCell();
  CellPool.Free(cell, true);
}

void VolumeObject::DeleteCell(const CellKey& key) {
  VoxelCell* cell = Cells.Remove(key);
  if (!cell) return;
  if (cell->Surface && !cell->Surface->Empty()) m_IdsCurrent = false;
  FreeCell(cell);
}

void VolumeObject::FreeAllCells() {
  ForEachCell([&](const CellKey&, VoxelCell& cell) { FreeCell(&cell); });
  Cells.Clear();
}

void VolumeObject::Clear() {
  FreeAllCells();
  // Slabs go back to the system unless somebody else still holds a block (an undo frame that took backups over).
  for (FixedPool* pool : {&VoxelPool, &CellPool, &SurfacePool})
    if (pool->UsedBlocks() == 0) pool->Clear();
  StrokeCellKeys = {};
  BackupCount = 0;
  MinCell = {10000, 10000, 10000};
  MaxCell = {-10000, -10000, -10000};
  DirtyGroups.Clear();
  DirtyCells.Clear();
  RedrawCells.Clear();
  RenderGroups.Clear();
  BoxTree.Clear();
  NextVertexId = 0;
  m_IdsCurrent = m_MarksLost = false;
}
