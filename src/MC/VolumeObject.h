#pragma once
// The sparse volume: an unbounded grid of 16-bit density samples in 8 x 8 x 8 cells that exist only where something is stored.
//
// Density: 32768 is the surface, at least 32768 is inside; one voxel of distance is 16384 units, the ramp is 4 voxels wide. A
// cell stores 9 x 9 x 9 samples: the far planes repeat the first planes of its neighbours, and every writer computes all 729
// samples, so that shared planes hold equal values by construction.
//
// Threads: lookups and sampling are free for all while nobody writes. A parallel pass gives each cell one owner; creation of
// cells and of blocks on workers passes lock = true.
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ClassEngine/unihash.h"
#include "MC/BoxTree.h"
#include "MC/CellTable.h"
#include "MC/FixedPool.h"
#include "MC/RedrawArea.h"
#include "MC/StrokeCells.h"
#include "MC/VoxelCell.h"
#include "comms/BaseMesh.h"
#include "comms/Vec.h"

/// Cells along each edge of a render group.
inline constexpr int GroupSize = 6;

/// Drawable mesh of one group of cells.
struct RenderGroup {
  std::unique_ptr<comms::BaseMesh> Mesh;
  std::unique_ptr<comms::BaseMesh> Coarse;  ///< the same with fewer triangles, by whoever draws; null until it is wanted
  VolumeBox Box;
  ::ScreenRect ScreenRect;
  int LastFrame = 0;
};

/// What a volume holds in memory, by kind; bytes as they really are on this machine.
struct VolumeMemory {
  size_t Cells = 0, UniformCells = 0, SurfaceCells = 0, FilledCells = 0;
  size_t TableBytes = 0, CellBytes = 0, DensityBytes = 0, SurfaceBytes = 0, VertexBytes = 0, IndexBytes = 0;
  size_t OtherBlockBytes = 0, BoxTreeBytes = 0, GroupMeshBytes = 0;
  size_t Total() const;
};

/// What a key of DirtyCells asks for.
enum DirtyState : int32_t { DirtyPolygonize = 1, DirtyBoxOnly = 2 };

class VolumeObject {
 public:
  /// The cell that the last read touched: consecutive reads in one cell skip the table.
  struct Cursor {
    CellKey Key{INT32_MAX, INT32_MAX, INT32_MAX};
    const VoxelCell* Cell = nullptr;
    CellTable::Cursor Table;
  };

  VolumeObject();
  ~VolumeObject();
  VolumeObject(const VolumeObject&) = delete;
  VolumeObject& operator=(const VolumeObject&) = delete;

  // --- cells -------------------------------------------------------------------------------------------------------------
  /// The cell at a key. Missing: null, or with `create` a new empty one (Touched, HasOutside, uniform 0). `backup` keeps a copy
  /// for undo on the first touch of a stroke. `lock` holds the table's spin lock. The volume is as it was where std::bad_alloc
  /// ends it.
  VoxelCell* GetCell(int32_t x, int32_t y, int32_t z, bool create, bool backup, bool lock);
  VoxelCell* FindCell(const CellKey& key) const { return Cells.Find(key); }
  /// Copies a cell into its Backup (density, ids, colours; vertices and indices into the Saved blocks of the source), if it has
  /// none. BackupCount counts them all, StrokeCellKeys lists the first MaxStrokeKeys.
  VoxelCell* BackupCell(int32_t x, int32_t y, int32_t z);
  /// A cell's Backup if it has one, else the cell.
  const VoxelCell* FindCellOrBackup(int32_t x, int32_t y, int32_t z) const;
  /// Takes a cell out of the table and returns all it holds to the pools, its backup too: a stroke that is to be undone must not.
  void DeleteCell(const CellKey& key);
  /// Ends the stroke and hands over every cell that it backed up, as the cell was before: for undo. Cells that the stroke created
  /// have a null entry. Empties StrokeCellKeys and BackupCount; all backups are null then. The stroke goes on where
  /// std::bad_alloc ends it.
  StrokeCells TakeStroke();
  /// Puts `cells` in place of the present ones, which `cells` holds afterwards, and marks them changed: undo, and redo on the
  /// next call. All bytes come back, those of the triangles too where they were current; the others are made anew by the next
  /// refresh. Not within a stroke. Both are as they were where std::bad_alloc ends it.
  void ExchangeCells(StrokeCells& cells);
  /// Ends the stroke for good: its backups are dropped, or put back (`restore`), which needs no memory and gives back what the
  /// stroke took, so that a stroke that ran out of it can be taken back.
  void EndStroke(bool restore);
  void AllocateSurface(VoxelCell& cell);
  void FreeSurface(VoxelCell& cell);
  /// Returns every record, block and surface to the pools.
  void Clear();
  template <class Visit>
  void ForEachCell(Visit&& visit) const {
    Cells.ForEach(visit);
  }

  // --- sampling ----------------------------------------------------------------------------------------------------------
  /// Sample at integer voxel coordinates; 0 where there is no cell. Never reads the shared far planes.
  uint16_t SampleVoxel(int32_t x, int32_t y, int32_t z, Cursor& cursor, bool fromBackup) const;
  /// Trilinear value, 0 .. 65535.
  double SampleTrilinear(float x, float y, float z, bool fromBackup) const;
  /// Value at a point on a grid edge (linear along it), for normals; 0 where two coordinates lie between samples.
  double SampleEdge(float x, float y, float z, Cursor& cursor) const;
  /// Unit density gradient (into the solid) at a surface point that lies on a grid edge. The difference runs away from the origin
  /// plane of each axis, as the mirrored traversal does, so that normals of a symmetric volume are mirror images to the last bit.
  comms::cVec3 GetNormal(float x, float y, float z) const;
  comms::cVec3 GetNormal(float x, float y, float z, Cursor& cursor) const;
  /// Unit central difference of the density as it was before the stroke (backups are read).
  comms::cVec3 GetCentralNormal(float x, float y, float z) const;

  // --- change and surface ------------------------------------------------------------------------------------------------
  /// Every writer calls this once per changed cell, far-plane changes included. A cell whose own samples stay is not marked: it
  /// keeps its triangles, and the normals at its border too, although these read samples beyond it. With `lock` the table's spin
  /// lock is held.
  void MarkCellChanged(int32_t x, int32_t y, int32_t z, bool boxOnly, bool lock);
  /// Rebuilds the triangles of one cell. Safe on many threads for different cells while nobody writes density.
  VoxelCell* PolygonizeCell(int32_t x, int32_t y, int32_t z);
  /// Polygonises all marked cells, renews boxes, group meshes and the box tree. The frame-time pass; on the drawing thread.
  void RefreshChanges();
  /// RefreshChanges without the group meshes, for callers that draw nothing; the groups stay marked.
  void RefreshSurfaces();
  /// Null when the group has no vertices or no indices.
  std::unique_ptr<comms::BaseMesh> BuildGroupMesh(int32_t gx, int32_t gy, int32_t gz, VolumeBox& box, ::ScreenRect& rect) const;
  /// Gives every vertex its 32-bit id in VertexIds; shared vertices have the top bit set and equal ids in all their cells. Does
  /// nothing where the ids are current. Returns the number of distinct ids (NextVertexId).
  uint32_t AssignVertexIds();

  // --- space -------------------------------------------------------------------------------------------------------------
  comms::cVec3 VolumeToWorld(const comms::cVec3& p) const { return SpaceMatrix.TransformPoint(p); }
  comms::cVec3 WorldToVolume(const comms::cVec3& p) const;
  comms::cVec3 VolumeToWorldDirection(const comms::cVec3& d) const { return SpaceMatrix.TransformDirection(d); }
  comms::cVec3 WorldToVolumeDirection(const comms::cVec3& d) const;

  // --- memory ------------------------------------------------------------------------------------------------------------
  VolumeMemory CountMemory() const;
  /// The text of the memory report. Releases Vertices and Indices of every cell that it counted: re-polygonise afterwards
  /// (`MarkAllChanged`, `RefreshChanges`).
  std::string MemoryReport();
  void MarkAllChanged();

  std::string Name, ShaderName;
  std::vector<CellKey> StrokeCellKeys;  ///< keys backed up since the last undo frame, at most MaxStrokeKeys
  static constexpr size_t MaxStrokeKeys = 18192;
  FixedPool VoxelPool, CellPool, SurfacePool;
  ABOcTree BoxTree;
  int32_t RampWidth = 4;
  CellKey MinCell{10000, 10000, 10000}, MaxCell{-10000, -10000, -10000};
  comms::cMat4 SpaceMatrix;  ///< from voxels to world
  VolumeObject* Reference = nullptr;
  bool SurfaceMode = false;
  int32_t BackupCount = 0;
  CoordHash<int32_t> DirtyGroups, DirtyCells, RedrawCells;
  CoordHash<RenderGroup> RenderGroups;
  CellTable Cells;
  uint32_t NextVertexId = 0;
  int CurrentFrame = 0;          ///< frame stamp of the drawing, kept by who draws
  RedrawArea* Redraw = nullptr;  ///< incremental redraw is active while this is set

 private:
  VoxelCell* NewCell(bool lock);
  friend class StrokeCells;
  void MakeBackup(const CellKey& key, VoxelCell& source, bool wasMissing, bool lock);
  void FillBackup(const CellKey& key, VoxelCell& source, VoxelCell& copy, bool lock);
  void MoveSavedSurface(VoxelCell& cell);
  void PutBackups(StrokeCells& taken);
  bool RestoreCell(const CellKey& key, VoxelCell& cell);
  void RestoreStroke();
  void MarkOrNote(const CellKey& key, bool boxOnly);
  void MarkLostMarks();
  void FreeCell(VoxelCell* cell);
  void FreeAllCells();
  void PolygonizeMarked();
  void RefreshGroups();
  SpinLock m_TableLock;  // of Cells and of the three lists of changes
  std::atomic<bool> m_IdsCurrent{false};
  bool m_MarksLost = false;  // there was no memory to list a change: the next refresh takes all for changed
};

/// Unit normal at a world position over several volumes, in world space: each volume with density there adds its central normal,
/// and the deepest one decides, since the weight is the density over SurfaceLevel to the power of 64. Zero where no volume has
/// density.
comms::cVec3 GetBlendedNormal(std::span<const VolumeObject* const> volumes, const comms::cVec3& world);
