#include "comms/BaseMesh.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "ClassEngine/Assert.h"
#include "comms/cRender.h"

namespace comms {

// The staged blocks are written in full by their filler, so they begin uninitialised. A block of zero elements is staged too: it
// takes the place of what was there before.
template <class T>
static std::unique_ptr<T[]> CopyBlock(const T* elements, size_t count) {
  std::unique_ptr<T[]> block = std::make_unique_for_overwrite<T[]>(count);
  if (count) std::memcpy(block.get(), elements, count * sizeof(T));
  return block;
}

BaseMesh::BaseMesh(size_t vertexTotal, size_t indexTotal, const VertexLayout& layout) : VertexDecl(&layout) {
  MORVANE_ASSERT(vertexTotal <= INT_MAX && indexTotal <= INT_MAX && layout.Stride > 0);
  NumVertices = int(vertexTotal);
  NumIndices = int(indexTotal);
  StagedVertices = std::make_unique_for_overwrite<uint8_t[]>(vertexTotal * layout.Stride);
  StagedIndices32 = std::make_unique_for_overwrite<uint32_t[]>(indexTotal);
}

BaseMesh::~BaseMesh() { ReleaseBuffers(); }

static void WidenIndices(uint32_t* __restrict to, const uint16_t* __restrict from, size_t count, uint32_t base) {
  for (size_t i = 0; i < count; i++) to[i] = base + from[i];
}

void BaseMesh::Append(const void* vertices, size_t vertexCount, const uint16_t* indices, size_t indexCount) {
  MORVANE_ASSERT(VertexDecl && vertexCount <= size_t(NumVertices - m_AppendedVertices) &&
                 indexCount <= size_t(NumIndices - m_AppendedIndices));
  const size_t stride = VertexDecl->Stride;
  if (vertexCount) std::memcpy(StagedVertices.get() + size_t(m_AppendedVertices) * stride, vertices, vertexCount * stride);
  if (indexCount) WidenIndices(StagedIndices32.get() + m_AppendedIndices, indices, indexCount, uint32_t(m_AppendedVertices));
  m_AppendedVertices += int(vertexCount);
  m_AppendedIndices += int(indexCount);
}

void BaseMesh::Finish() { MORVANE_ASSERT(m_AppendedVertices == NumVertices && m_AppendedIndices == NumIndices); }

void BaseMesh::StageVertices(const void* vertices, size_t count, const VertexLayout& layout) {
  MORVANE_ASSERT(count <= INT_MAX && layout.Stride > 0);
  VertexDecl = &layout;
  NumVertices = int(count);
  StagedVertices = CopyBlock(static_cast<const uint8_t*>(vertices), count * layout.Stride);
  m_Uploaded = false;
}
void BaseMesh::StageIndices16(const uint16_t* indices, size_t count) {
  MORVANE_ASSERT(count <= INT_MAX);
  NumIndices = int(count);
  StagedIndices16 = CopyBlock(indices, count);
  m_Uploaded = false;
}
void BaseMesh::StageIndices32(const uint32_t* indices, size_t count) {
  MORVANE_ASSERT(count <= INT_MAX);
  NumIndices = int(count);
  StagedIndices32 = CopyBlock(indices, count);
  m_Uploaded = false;
}

void BaseMesh::ReleaseBuffers() {
  if (const auto alive = m_RenderAlive.lock())
    for (const int handle : {VertexBuffer, IndexBuffer16, IndexBuffer32})
      if (handle >= 0) m_Render->ReleaseBuffer(handle);
  VertexBuffer = IndexBuffer16 = IndexBuffer32 = -1;
  m_Uploaded = false;
  m_Render = nullptr;
  m_RenderAlive.reset();
}

static bool LostBuffers(const cRender& render, const BaseMesh& mesh) {
  for (const int handle : {mesh.VertexBuffer, mesh.IndexBuffer16, mesh.IndexBuffer32})
    if (handle >= 0 && !render.HasBuffer(handle)) return true;
  return false;
}

void BaseMesh::Flush(cRender* render) {
  if (!render) return;
  const bool moved = m_Render != render || m_RenderAlive.expired();
  if (moved || (m_Generation != render->Generation() && LostBuffers(*render, *this))) {
    ReleaseBuffers();
    m_Render = render;
    m_RenderAlive = render->Alive();
  }
  m_Generation = render->Generation();
  if (m_Uploaded) return;
  const auto upload = [&](auto& staged, int& handle, BufferKind kind, size_t elementBytes, int count) {
    if (!staged) return;
    if (handle >= 0) render->ReleaseBuffer(handle);
    handle = count > 0 ? render->CreateBuffer(kind, elementBytes, size_t(count), staged.get()) : -1;
    if (!KeepStaged) staged.reset();
  };
  upload(StagedIndices16, IndexBuffer16, BufferKind::Index, 2, NumIndices);
  upload(StagedIndices32, IndexBuffer32, BufferKind::Index, 4, NumIndices);
  if (VertexDecl) upload(StagedVertices, VertexBuffer, BufferKind::Vertex, VertexDecl->Stride, NumVertices);
  m_Uploaded = true;
}

void BaseMesh::Draw(cRender* render) {
  if (!render) return;
  Flush(render);
  if (Shader != -1) render->SetShader(Shader);
  for (int stage = 0; stage < TextureStages; stage++)
    if (Tex[stage] >= 0 && TexParam[stage] >= 0) render->SetTexture(TexParam[stage], Tex[stage], TexSampler[stage]);
  DrawPrimitives(*render);
}

void BaseMesh::DrawPrimitives(cRender& render) {
  if (!VertexDecl) return;
  render.SetVertexBuffer(VertexBuffer, *VertexDecl);
  if (PrimitiveType == PointList || (IndexBuffer16 < 0 && IndexBuffer32 < 0)) {
    if (NumVertices > 0 && VertexBuffer >= 0) render.Draw(PrimitiveType, 0, NumVertices);
    return;
  }
  for (const int buffer : {IndexBuffer32, IndexBuffer16})
    if (buffer >= 0) render.SetIndexBuffer(buffer);
  if (NumIndices > 0 && VertexBuffer >= 0) render.DrawIndexed(PrimitiveType, 0, NumIndices);
}

void StaticMesh::Draw(cRender* render) {
  if (!render || !Visible) return;
  if (Wireframe) render->SetFillState(render->CreateFillState({.Wireframe = true}));
  if (Instances.empty()) {
    BaseMesh::Draw(render);
  } else {
    const cMat4 world = render->State.World;
    for (const cMat4& placement : Instances) {
      render->State.World = placement * world;
      BaseMesh::Draw(render);
    }
    render->State.World = world;
  }
  if (Wireframe) render->SetFillState(render->CreateFillState({}));
}

const uint8_t* BaseMesh::StagedPositions() const {
  if (!StagedVertices || !VertexDecl || NumVertices == 0) return nullptr;
  for (const VertexElement& element : VertexDecl->Elements)
    if (element.Usage == VertexUsage::Position &&
        (element.Format == VertexFormat::Float3 || element.Format == VertexFormat::Float4))
      return StagedVertices.get() + element.Offset;
  return nullptr;
}

bool BaseMesh::GetBounds(cVec3& minimum, cVec3& maximum) const {
  const uint8_t* at = StagedPositions();
  if (!at) return false;
  std::memcpy(&minimum, at, sizeof minimum);
  maximum = minimum;
  for (int i = 1; i < NumVertices; i++) {
    at += VertexDecl->Stride;
    cVec3 p;
    std::memcpy(&p, at, sizeof p);
    minimum = {std::min(minimum.x, p.x), std::min(minimum.y, p.y), std::min(minimum.z, p.z)};
    maximum = {std::max(maximum.x, p.x), std::max(maximum.y, p.y), std::max(maximum.z, p.z)};
  }
  return true;
}

size_t BaseMesh::Bytes() const {
  const size_t stride = VertexDecl ? VertexDecl->Stride : 0;
  return (StagedVertices ? stride * size_t(NumVertices) : 0) + (StagedIndices16 ? 2 * size_t(NumIndices) : 0) +
         (StagedIndices32 ? 4 * size_t(NumIndices) : 0);
}

}  // namespace comms
