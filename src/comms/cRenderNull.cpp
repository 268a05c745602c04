#include "comms/cRenderNull.h"

#include "ClassEngine/Assert.h"

namespace comms {

void cRenderNull::BeginFrame(double timeSec) {
  State.FrameTimeSec = float(timeSec) - State.TimeSec;
  State.TimeSec = float(timeSec);
  Note("BeginFrame");
}

void cRenderNull::SetFillState(int id) {
  MORVANE_ASSERT(size_t(id) < m_FillStates.size());
  Note(m_FillStates[size_t(id)].Wireframe ? "SetFillState wire" : "SetFillState solid");
}

void cRenderNull::SetViewport(int, int, int width, int height) {
  State.ViewportWidth = width;
  State.ViewportHeight = height;
  Note(Format("SetViewport %d %d", width, height));
}

int cRenderNull::CreateTexture(const TextureDesc& desc, const void*) {
  Note(Format("CreateTexture %s %d %d", GetName(desc.Format), desc.Width, desc.Height));
  return m_NextTexture++;
}
int cRenderNull::LoadTexture(const cStr& fileName) {
  Note("LoadTexture " + fileName);
  return FindOrAdd(m_FileTextures, fileName);
}
void cRenderNull::UpdateTexture(int id, int, int, int, int, const void*) { Note(Format("UpdateTexture %d", id)); }
int cRenderNull::CreateTarget(const TargetDesc& desc) {
  Note(Format("CreateTarget %d %d", desc.Width, desc.Height));
  return m_NextTarget++;
}

int cRenderNull::CreateBuffer(BufferKind kind, size_t elementBytes, size_t count, const void* data) {
  MORVANE_ASSERT(elementBytes > 0 && count > 0);
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  Buffers.push_back({kind, elementBytes, count, cList<uint8_t>(bytes, bytes + elementBytes * count), true});
  const int handle = int(Buffers.size()) - 1;
  Note(Format("CreateBuffer %d %zu %zu", handle, elementBytes, count));
  return handle;
}
void cRenderNull::ReleaseBuffer(int handle) {
  MORVANE_ASSERT(size_t(handle) < Buffers.size() && Buffers[size_t(handle)].Alive);
  Buffers[size_t(handle)].Alive = false;
  Note(Format("ReleaseBuffer %d", handle));
}
void cRenderNull::SetVertexBuffer(int handle, const VertexLayout& layout) {
  m_VertexBuffer = handle;
  Note(Format("SetVertexBuffer %d %u", handle, layout.Stride));
}
void cRenderNull::SetIndexBuffer(int handle) {
  m_IndexBuffer = handle;
  Note(Format("SetIndexBuffer %d", handle));
}
void cRenderNull::SetTexture(int param, int texture, int sampler) {
  Note(Format("SetTexture %d %d %d", param, texture, sampler));
}

void cRenderNull::Draw(int mode, int firstVertex, int vertexCount) {
  if (m_VertexBuffer >= 0) {
    const Buffer& vertices = Buffers[size_t(m_VertexBuffer)];
    MORVANE_ASSERT(vertices.Alive && size_t(firstVertex + vertexCount) <= vertices.Count);
  }
  Note(Format("Draw %d %d %d", mode, firstVertex, vertexCount));
}
void cRenderNull::DrawIndexed(int mode, int firstIndex, int indexCount) {
  MORVANE_ASSERT(m_VertexBuffer >= 0 && Buffers[size_t(m_VertexBuffer)].Alive && m_IndexBuffer >= 0);
  const Buffer& indices = Buffers[size_t(m_IndexBuffer)];
  MORVANE_ASSERT(indices.Alive && indices.Kind == BufferKind::Index && size_t(firstIndex + indexCount) <= indices.Count);
  Note(Format("DrawIndexed %d %d %d", mode, firstIndex, indexCount));
}

int cRenderNull::AliveBuffers() const {
  int count = 0;
  for (const Buffer& buffer : Buffers) count += buffer.Alive;
  return count;
}

}  // namespace comms
