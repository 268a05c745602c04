#include "MC/VoxelCell.h"

#include <algorithm>
#include <cstring>

#include "MC/VolumeObject.h"

#ifdef __AVX2__
#include <immintrin.h>
#endif

namespace {

void Extend(VolumeBox& box, const VolumeBox& other) {
  box.MinX = std::min(box.MinX, other.MinX);
  box.MinY = std::min(box.MinY, other.MinY);
  box.MinZ = std::min(box.MinZ, other.MinZ);
  box.MaxX = std::max(box.MaxX, other.MaxX);
  box.MaxY = std::max(box.MaxY, other.MaxY);
  box.MaxZ = std::max(box.MaxZ, other.MaxZ);
}

}  // namespace

// The numbers of an empty box bound nothing: what is added may lie beyond them.
void VolumeBox::Add(const VolumeBox& other) {
  if (other.Empty()) return;
  if (Empty())
    *this = other;
  else
    Extend(*this, other);
}

void VolumeBox::Add(float x, float y, float z) { Add(VolumeBox{x, y, z, x, y, z}); }

ColorLayer& ColorLayerList::Add(uint32_t layerId) {
  ColorLayer* layers = new ColorLayer[m_Count + 1];
  std::move(m_Layers, m_Layers + m_Count, layers);
  delete[] m_Layers;
  m_Layers = layers;
  m_Layers[m_Count].LayerId = layerId;
  return m_Layers[m_Count++];
}

void ColorLayerList::Assign(const ColorLayerList& other) {
  if (this == &other) return;
  Free();
  if (other.m_Count == 0) return;
  m_Layers = new ColorLayer[other.m_Count];
  m_Count = other.m_Count;
  for (uint32_t i = 0; i < m_Count; i++) {
    m_Layers[i].LayerId = other.m_Layers[i].LayerId;
    m_Layers[i].Colors.Assign(other.m_Layers[i].Colors);
    m_Layers[i].Second.Assign(other.m_Layers[i].Second);
  }
}

void ColorLayerList::Free() {
  delete[] m_Layers;
  m_Layers = nullptr;
  m_Count = 0;
}

size_t ColorLayerList::HeapBytes() const {
  size_t bytes = m_Count * sizeof(ColorLayer);
  for (uint32_t i = 0; i < m_Count; i++) bytes += m_Layers[i].Colors.HeapBytes() + m_Layers[i].Second.HeapBytes();
  return bytes;
}

const SurfaceExtras& SurfaceData::Extras() const {
  static const SurfaceExtras none;
  return m_Extras ? *m_Extras : none;
}

SurfaceExtras& SurfaceData::NeedExtras() {
  if (!m_Extras) m_Extras = std::make_unique<SurfaceExtras>();
  return *m_Extras;
}

void SurfaceData::DropEmptyExtras() {
  const SurfaceExtras& e = Extras();
  if (e.Saved.Empty() && e.ExtraVertices.Empty() && e.Auxiliary.Empty() && !e.ColorLayers.Count() && !e.Attachment)
    m_Extras.reset();
}

CellMesh SurfaceData::TakeSaved() {
  if (!m_Extras) return {};
  CellMesh saved = std::move(m_Extras->Saved);
  DropEmptyExtras();
  return saved;
}

void SurfaceData::FreeColorLayers() {
  if (!m_Extras) return;
  m_Extras->ColorLayers.Free();
  DropEmptyExtras();
}

void SurfaceData::UpdateBox() {
  Box = {};
  const BlockView<const VolumeVertex> vertices = std::as_const(Mesh).Vertices();
  if (vertices.Empty()) return;
  Box.Add(vertices[0].x, vertices[0].y, vertices[0].z);
  for (const VolumeVertex& v : vertices) Extend(Box, {v.x, v.y, v.z, v.x, v.y, v.z});
}

size_t SurfaceData::OtherHeapBytes() const {
  const SurfaceExtras& e = Extras();
  return (m_Extras ? sizeof(SurfaceExtras) : 0) + e.Saved.HeapBytes() + e.ExtraVertices.HeapBytes() + e.Auxiliary.HeapBytes() +
         VertexIds.HeapBytes() + e.ColorLayers.HeapBytes();
}

void VoxelCell::Expand(int mode, bool lock) {
  if (Density && (Flags & FillPending)) {
    std::fill_n(Density, CellSamples, UniformValue);
    Flags &= ~FillPending;
  }
  if (!Density && (mode & ExpandAllocate)) {
    Density = static_cast<uint16_t*>(Owner->VoxelPool.Allocate(lock));
    if (mode & ExpandFill)
      std::fill_n(Density, CellSamples, UniformValue);
    else
      Flags |= FillPending;
  }
  Flags |= Unpacked;
}

namespace {

/// Whether all samples equal the first one; stops early.
bool IsUniformBlock(const uint16_t* samples) {
#ifdef __AVX2__
  const __m256i first = _mm256_set1_epi16(short(samples[0]));
  auto differs = [&](int at) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples + at));
    return _mm256_movemask_epi8(_mm256_cmpeq_epi16(v, first)) != -1;
  };
  for (int at = 0; at + 16 <= CellSamples; at += 16)
    if (differs(at)) return false;
  return !differs(CellSamples - 16);
#else
  return std::all_of(samples, samples + CellSamples, [&](uint16_t v) { return v == samples[0]; });
#endif
}

/// HasOutside and HasInside as the samples have it; stops when both are found.
uint8_t FindSides(const uint16_t* samples) {
#ifdef __AVX2__
  // The sign bit of a sample says on which side it lies.
  uint32_t inside = 0, outside = 0;
  auto take = [&](int at) {
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(samples + at));
    const uint32_t signs = uint32_t(_mm256_movemask_epi8(v)) & 0xAAAAAAAAu;
    inside |= signs;
    outside |= ~signs & 0xAAAAAAAAu;
    return inside && outside;
  };
  bool both = false;
  for (int at = 0; at + 16 <= CellSamples && !both; at += 16) both = take(at);
  if (!both) take(CellSamples - 16);
  return uint8_t((outside ? HasOutside : 0) | (inside ? HasInside : 0));
#else
  uint8_t sides = 0;
  for (int i = 0; i < CellSamples && sides != (HasOutside | HasInside); i++)
    sides |= samples[i] >= SurfaceLevel ? HasInside : HasOutside;
  return sides;
#endif
}

}  // namespace

void VoxelCell::Analyze(bool compact, bool lock) {
  if (Density) {
    // A block whose fill is still pending is uniform by definition, whatever it holds.
    if (Flags & FillPending) Expand(0, lock);
    Flags &= ~(HasOutside | HasInside | UniformKept);
    Flags |= FindSides(Density);
    UniformValue = Density[0];
    if (!CrossesSurface() && IsUniformBlock(Density)) {
      if (compact) {
        Owner->VoxelPool.Free(Density, lock);
        Density = nullptr;
      } else {
        Flags |= UniformKept;
      }
    }
  }
  Flags &= ~Unpacked;
}

void VoxelCell::SetUniform(uint16_t value, bool lock) {
  if (Density) Owner->VoxelPool.Free(Density, lock);
  Density = nullptr;
  UniformValue = value;
  Flags &= ~(HasOutside | HasInside | UniformKept | FillPending | Unpacked);
  Flags |= value >= SurfaceLevel ? HasInside : HasOutside;
}
