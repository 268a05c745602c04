#pragma once
// The triangles of one cell: vertices and indices in one allocation, since they come and go together and a cell has few of
// either.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "ClassEngine/GeneralMemory.h"

/// Vertex of a cell's mesh. Position in voxels of volume space; the normal is the density gradient and points into the solid.
struct VolumeVertex {
  float x, y, z;
  float nx, ny, nz;
  uint16_t EdgeKey;  ///< 65535 inside the cell, else x + 9 y + 81 z + 729 axis of the grid edge on the cell's boundary
  uint16_t Pass;     ///< free for passes
};
static_assert(sizeof(VolumeVertex) == 28);
inline constexpr uint16_t InteriorEdge = 65535;

/// Elements that another object owns; stale once that one is assigned to or freed.
template <class T>
class BlockView {
 public:
  BlockView() = default;
  BlockView(T* data, uint32_t count) : m_Data(data), m_Count(count) {}
  operator BlockView<const T>() const { return {m_Data, m_Count}; }
  uint32_t Count() const { return m_Count; }
  bool Empty() const { return m_Count == 0; }
  T* Data() const { return m_Data; }
  T* begin() const { return m_Data; }
  T* end() const { return m_Data + m_Count; }
  T& operator[](uint32_t i) const { return m_Data[i]; }

 private:
  T* m_Data = nullptr;
  uint32_t m_Count = 0;
};

/// A null pointer is the empty mesh.
class CellMesh {
  struct Header {
    uint32_t VertexCount, IndexCount, Capacity;  // bytes behind the header
  };
  static_assert(sizeof(Header) % alignof(VolumeVertex) == 0);

 public:
  static constexpr size_t HeaderBytes = sizeof(Header);

  CellMesh() = default;
  ~CellMesh() { Free(); }
  CellMesh(CellMesh&& other) noexcept : m_Header(std::exchange(other.m_Header, nullptr)) {}
  CellMesh& operator=(CellMesh&& other) noexcept {
    std::swap(m_Header, other.m_Header);
    return *this;
  }
  CellMesh(const CellMesh&) = delete;
  CellMesh& operator=(const CellMesh&) = delete;

  bool Empty() const { return !m_Header; }
  BlockView<VolumeVertex> Vertices() { return {FirstVertex(), m_Header ? m_Header->VertexCount : 0}; }
  BlockView<const VolumeVertex> Vertices() const { return {FirstVertex(), m_Header ? m_Header->VertexCount : 0}; }
  BlockView<uint16_t> Indices() { return {FirstIndex(), m_Header ? m_Header->IndexCount : 0}; }
  BlockView<const uint16_t> Indices() const { return {FirstIndex(), m_Header ? m_Header->IndexCount : 0}; }

  /// Replaces the content; the allocation is kept where the new one fits without waste. No vertices: empty. It is empty too where
  /// std::bad_alloc ends it. `vertices` and `indices` lie elsewhere.
  void Assign(BlockView<const VolumeVertex> vertices, BlockView<const uint16_t> indices) {
    if (vertices.Empty()) return Free();
    Resize(vertices.Count(), indices.Count());
    std::memcpy(static_cast<void*>(FirstVertex()), vertices.Data(), vertices.Count() * sizeof(VolumeVertex));
    if (!indices.Empty()) std::memcpy(FirstIndex(), indices.Data(), indices.Count() * sizeof(uint16_t));
  }
  void Assign(const CellMesh& other) { Assign(other.Vertices(), other.Indices()); }
  void Free() {
    std::free(m_Header);
    m_Header = nullptr;
  }
  /// Bytes of the allocation, the allocator's own word and its rounding to 16 bytes included.
  size_t HeapBytes() const { return m_Header ? (sizeof(Header) + m_Header->Capacity + sizeof(size_t) + 15) & ~size_t(15) : 0; }

 private:
  VolumeVertex* FirstVertex() const { return m_Header ? reinterpret_cast<VolumeVertex*>(m_Header + 1) : nullptr; }
  uint16_t* FirstIndex() const { return m_Header ? reinterpret_cast<uint16_t*>(FirstVertex() + m_Header->VertexCount) : nullptr; }
  void Resize(uint32_t vertices, uint32_t indices) {
    const size_t bytes = size_t(vertices) * sizeof(VolumeVertex) + size_t(indices) * sizeof(uint16_t);
    if (!m_Header || bytes > m_Header->Capacity || bytes < m_Header->Capacity - m_Header->Capacity / 4) {
      Free();
      m_Header = static_cast<Header*>(GeneralAllocate(sizeof(Header) + bytes));
      m_Header->Capacity = uint32_t(bytes);
    }
    m_Header->VertexCount = vertices;
    m_Header->IndexCount = indices;
  }

  Header* m_Header = nullptr;
};
