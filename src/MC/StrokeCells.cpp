#include "MC/StrokeCells.h"

#include <new>
#include <utility>

#include "ClassEngine/Assert.h"
#include "MC/VolumeObject.h"

StrokeCells::StrokeCells(StrokeCells&& other) noexcept
    : m_Volume(other.m_Volume), m_Entries(std::exchange(other.m_Entries, {})) {}

StrokeCells& StrokeCells::operator=(StrokeCells&& other) noexcept {
  std::swap(m_Volume, other.m_Volume);
  std::swap(m_Entries, other.m_Entries);
  return *this;
}

void StrokeCells::Free() {
  for (const Entry& entry : m_Entries)
    if (entry.Cell) m_Volume->FreeCell(entry.Cell);
  m_Entries.clear();
}

/// The triangles that a cell had when the stroke began go to its backup, as the backup's own.
void VolumeObject::MoveSavedSurface(VoxelCell& cell) {
  CellMesh saved = cell.Surface->TakeSaved();
  if (cell.Backup->SurfaceWasStale || saved.Empty()) return;
  AllocateSurface(*cell.Backup);
  cell.Backup->Surface->Mesh = std::move(saved);
}

StrokeCells VolumeObject::TakeStroke() {
  StrokeCells replaced(*this);
  replaced.m_Entries.reserve(size_t(BackupCount));
  const auto take = [&](const CellKey& key, VoxelCell& cell) {
    if (!cell.Backup) return;
    if (cell.StrokeBase) VoxelPool.Free(std::exchange(cell.StrokeBase, nullptr), true);
    if (cell.Surface) MoveSavedSurface(cell);
    replaced.m_Entries.push_back({key, std::exchange(cell.Backup, nullptr)});
  };
  try {
    if (size_t(BackupCount) <= StrokeCellKeys.size()) {
      for (const CellKey& key : StrokeCellKeys)
        if (VoxelCell* cell = FindCell(key)) take(key, *cell);
    } else {
      ForEachCell(take);  // more cells than keys are kept for
    }
  } catch (...) {
    PutBackups(replaced);
    throw;
  }
  for (StrokeCells::Entry& entry : replaced.m_Entries)
    if (entry.Cell->WasMissing) FreeCell(std::exchange(entry.Cell, nullptr));
  StrokeCellKeys.clear();
  BackupCount = 0;
  return replaced;
}

void VolumeObject::PutBackups(StrokeCells& taken) {
  for (const StrokeCells::Entry& entry : taken.m_Entries) FindCell(entry.Key)->Backup = entry.Cell;
  taken.m_Entries.clear();
}

void VolumeObject::EndStroke(bool restore) {
  if (restore)
    RestoreStroke();
  else
    TakeStroke();
}

void VolumeObject::MarkOrNote(const CellKey& key, bool boxOnly) {
  try {
    MarkCellChanged(key.x, key.y, key.z, boxOnly, false);
  } catch (const std::bad_alloc&) {
    m_MarksLost = true;
  }
}

/// Makes a cell what its backup says. True where there was none: it is out of use and waits to be removed from the table.
bool VolumeObject::RestoreCell(const CellKey& key, VoxelCell& cell) {
  if (!cell.Backup) return false;
  VoxelCell& backup = *cell.Backup;
  SurfaceData* surface = cell.Surface;
  const bool wasSaved = surface && !backup.SurfaceWasStale && !surface->Saved().Empty();
  const bool hadTriangles = wasSaved || (backup.Surface && !backup.Surface->Empty());
  MarkOrNote(key, hadTriangles);
  // The record of the present surface becomes the old one's where that has none: a new one might find no memory.
  if (wasSaved) {
    if (!backup.Surface) {
      std::swap(cell.Surface, backup.Surface);
      surface->VertexIds.Free();
      surface->FreeColorLayers();
    }
    backup.Surface->Mesh = surface->TakeSaved();
  }
  cell.Backup = nullptr;
  const bool missing = backup.WasMissing;
  if (!missing) {
    // The record in the table stays, and with it the stamp that drawing compares and what outlives a stroke.
    std::swap(cell, backup);
    std::swap(cell.DrawStamp, backup.DrawStamp);
    cell.Flags |= backup.Flags & FrozenCell;
  }
  FreeCell(&backup);
  return missing;
}

void VolumeObject::RestoreStroke() {
  const auto restore = [&](const CellKey& key, VoxelCell& cell) {
    const bool missing = RestoreCell(key, cell);
    if (missing) FreeCell(&cell);
    return missing;
  };
  if (size_t(BackupCount) <= StrokeCellKeys.size()) {
    for (const CellKey& key : StrokeCellKeys) {
      VoxelCell* cell = FindCell(key);
      if (cell && restore(key, *cell)) Cells.Remove(key);
    }
  } else {
    Cells.RemoveIf(restore);  // more cells than keys are kept for
  }
  StrokeCellKeys.clear();
  BackupCount = 0;
  m_IdsCurrent = false;
  for (FixedPool* pool : {&VoxelPool, &CellPool, &SurfacePool}) pool->Trim();
  try {
    MarkLostMarks();
  } catch (const std::bad_alloc&) {
    // the next refresh tries it again
  }
}

/// Enters the cells that are to come to keys without one: what needs memory, and all or none of it.
static void InsertMissing(CellTable& table, const std::vector<StrokeCells::Entry>& entries) {
  size_t done = 0;
  try {
    for (; done < entries.size(); done++)
      if (entries[done].Cell && !table.Find(entries[done].Key)) table.Insert(entries[done].Key, entries[done].Cell);
  } catch (const std::bad_alloc&) {
    for (size_t i = 0; i < done; i++)
      if (entries[i].Cell && table.Find(entries[i].Key) == entries[i].Cell) table.Remove(entries[i].Key);
    throw;
  }
}

void VolumeObject::ExchangeCells(StrokeCells& cells) {
  MORVANE_ASSERT(cells.m_Volume == this && BackupCount == 0);
  InsertMissing(Cells, cells.m_Entries);
  for (StrokeCells::Entry& entry : cells.m_Entries) {
    const CellKey& key = entry.Key;
    VoxelCell* present = FindCell(key);
    const bool wasMissing = present && present == entry.Cell;
    // Triangles that wait for a refresh are of no use to whoever brings the cell back.
    const int32_t* dirty = DirtyCells.Find(key);
    if (present && !wasMissing && present->Surface && dirty && *dirty == DirtyPolygonize) present->Surface->Mesh.Free();
    if (wasMissing) {
      entry.Cell = nullptr;
    } else if (present && entry.Cell) {
      // The record in the table stays, and with it the stamp that drawing compares and what outlives a stroke.
      std::swap(*present, *entry.Cell);
      std::swap(present->DrawStamp, entry.Cell->DrawStamp);
      present->Flags |= entry.Cell->Flags & FrozenCell;
    } else if (present) {
      entry.Cell = Cells.Remove(key);
      present = nullptr;
    }
    const bool hasTriangles = present && present->Surface && !present->Surface->Empty();
    MarkOrNote(key, hasTriangles);
  }
  m_IdsCurrent = false;
}
