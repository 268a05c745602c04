#pragma once
// The records of one 8 x 8 x 8 cell of a volume: its density samples and its polygonal surface.
#include <cstdint>
#include <memory>

#include "MC/Block.h"
#include "MC/CellKey.h"
#include "MC/CellMesh.h"

class VolumeObject;

inline constexpr int CellSize = 8, CellShift = 3, CellEdge = CellSize + 1;
inline constexpr int CellSamples = CellEdge * CellEdge * CellEdge;  // 729
inline constexpr uint16_t SurfaceLevel = 32768;                     // at least this is inside

/// Index of a sample in a density block; x, y, z in 0 .. 8.
inline constexpr int SampleIndex(int x, int y, int z) { return (z * CellEdge + y) * CellEdge + x; }

inline constexpr uint32_t SharedVertexBit = 0x80000000;  ///< in VertexIds: a vertex on a cell's boundary

/// Axis-aligned box in volume space. The empty box is inverted: min 100000, max -100000; adding it changes nothing.
struct VolumeBox {
  float MinX = 100000, MinY = 100000, MinZ = 100000, MaxX = -100000, MaxY = -100000, MaxZ = -100000;
  bool Empty() const { return MaxX < MinX; }
  void Add(const VolumeBox& other);
  void Add(float x, float y, float z);
  friend bool operator==(const VolumeBox&, const VolumeBox&) = default;
};

/// Colours of one paint layer, one RGBA word (alpha in the top byte) per vertex of the cell.
struct ColorLayer {
  uint32_t LayerId = 0;
  Block<uint32_t> Colors, Second;
};
inline constexpr uint32_t DefaultVertexColor = 0xFF808080;

/// Owns the ColorLayer entries of one surface; an array with a count, null when empty.
class ColorLayerList {
 public:
  ColorLayerList() = default;
  ~ColorLayerList() { Free(); }
  ColorLayerList(const ColorLayerList&) = delete;
  ColorLayerList& operator=(const ColorLayerList&) = delete;
  uint32_t Count() const { return m_Count; }
  ColorLayer& operator[](uint32_t i) { return m_Layers[i]; }
  const ColorLayer& operator[](uint32_t i) const { return m_Layers[i]; }
  ColorLayer& Add(uint32_t layerId);
  void Assign(const ColorLayerList& other);
  void Free();
  size_t HeapBytes() const;

 private:
  ColorLayer* m_Layers = nullptr;
  uint32_t m_Count = 0;
};

struct ScreenRect {
  int16_t x = 0, y = 0, w = 0, h = 0;
};

/// An object hung on a surface and deleted with it.
class SurfaceAttachment {
 public:
  virtual ~SurfaceAttachment() = default;
};

/// What a surface has only during a stroke, or only where something was painted or hung on it.
struct SurfaceExtras {
  CellMesh Saved;  ///< the mesh at the start of the stroke
  Block<VolumeVertex> ExtraVertices;
  Block<uint32_t> Auxiliary;
  ColorLayerList ColorLayers;
  std::unique_ptr<SurfaceAttachment> Attachment;
};

/// Polygonal data of a cell that crosses the surface. Lives in SurfacePool of its volume. Most surfaces are at rest and bare, so
/// the rest of the record stands apart and costs a pointer where there is none.
struct SurfaceData {
  ::ScreenRect ScreenRect;
  VolumeBox Box;
  CellMesh Mesh;
  Block<uint32_t> VertexIds;  ///< one global id a vertex, see VolumeObject::AssignVertexIds

  BlockView<VolumeVertex> Vertices() { return Mesh.Vertices(); }
  BlockView<const VolumeVertex> Vertices() const { return std::as_const(Mesh).Vertices(); }
  BlockView<uint16_t> Indices() { return Mesh.Indices(); }
  BlockView<const uint16_t> Indices() const { return std::as_const(Mesh).Indices(); }
  bool Empty() const { return Mesh.Empty(); }

  /// Vertices and indices at the start of the stroke; empty between strokes.
  const CellMesh& Saved() const { return Extras().Saved; }
  const ColorLayerList& ColorLayers() const { return Extras().ColorLayers; }
  /// To read; what nobody asked for is empty.
  const SurfaceExtras& Extras() const;
  /// To write; makes the record. std::bad_alloc leaves the surface as it was.
  SurfaceExtras& NeedExtras();
  /// Hands out the mesh at the start of the stroke and has none after.
  CellMesh TakeSaved();
  void FreeColorLayers();

  /// Sets Box to the extent of the vertices; inverted when there are none.
  void UpdateBox();
  /// Heap bytes of all but Mesh.
  size_t OtherHeapBytes() const;

 private:
  void DropEmptyExtras();
  std::unique_ptr<SurfaceExtras> m_Extras;
};

enum CellFlag : uint8_t {
  HasOutside = 1,    ///< some sample is below 32768
  HasInside = 2,     ///< some sample is at least 32768
  Touched = 4,       ///< created or changed since a whole-volume pass last took it
  Unpacked = 8,      ///< the block was expanded for writing
  UniformKept = 16,  ///< analysis found all samples equal but kept the block
  FillPending = 32,  ///< the block was allocated but not yet filled with UniformValue
  ShadowCell = 64,   ///< carries a copy of another volume's cell
  FrozenCell = 128,  ///< a fixed border for an operation
};

enum ExpandMode : int { ExpandAllocate = 1, ExpandFill = 2 };

/// One existing cell. Density null: all samples are UniformValue. A writer that allocates a block without filling it calls Expand
/// once more before it reads a sample.
struct VoxelCell {
  SurfaceData* Surface = nullptr;
  VolumeObject* Owner = nullptr;
  VoxelCell* Backup = nullptr;     ///< this cell when the present stroke first touched it; null between strokes
  uint16_t* StrokeBase = nullptr;  ///< second density block of strokes that compare with their start
  uint16_t* Density = nullptr;     ///< 729 samples from VoxelPool, index (z * 9 + y) * 9 + x
  uint16_t UniformValue = 0;
  uint16_t DrawStamp = 0;
  uint8_t Flags = Touched | HasOutside;
  uint8_t Edge = CellEdge;
  bool WasMissing = false;       ///< of a Backup: the stroke created the cell
  bool SurfaceWasStale = false;  ///< of a Backup: the triangles waited for a refresh, so they are not those of the samples

  bool Has(uint8_t flags) const { return (Flags & flags) == flags; }
  bool CrossesSurface() const { return Has(HasOutside | HasInside); }
  /// Whether Density holds the samples; otherwise all of them are UniformValue.
  bool HasSamples() const { return Density && !(Flags & FillPending); }
  /// Makes the block writable: allocates it (ExpandAllocate) and fills it with UniformValue (ExpandFill) or leaves the fill
  /// pending; carries out a pending fill of an existing block. Sets Unpacked.
  void Expand(int mode, bool lock);
  /// Rebuilds HasOutside, HasInside and UniformValue after writing. A uniform block goes back to the pool with `compact`, else it
  /// is kept and UniformKept is set. Clears Unpacked.
  void Analyze(bool compact, bool lock);
  /// Gives the block back and makes the cell uniform at `value`, flags included.
  void SetUniform(uint16_t value, bool lock);
};
