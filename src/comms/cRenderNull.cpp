#include "comms/cRenderNull.h"

#include <algorithm>

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
  State.ViewportWidth = std::max(1, width);
  State.ViewportHeight = std::max(1, height);
  Note("SetViewport %d %d", width, height);
}

int cRenderNull::CreateTexture(const TextureDesc& desc, const void*) {
  Note("CreateTexture %s %d %d", GetName(desc.Format), desc.Width, desc.Height);
  m_TextureNames.emplace_back();
  return int(m_TextureNames.size()) - 1;
}
int cRenderNull::LoadTexture(const cStr& fileName) {
  Note("LoadTexture %s", fileName.c_str());
  return fileName.empty() ? -1 : FindOrAdd(m_TextureNames, fileName);
}
cStr cRenderNull::GetTextureName(int id) const {
  return size_t(id) < m_TextureNames.size() ? m_TextureNames[size_t(id)] : cStr();
}
void cRenderNull::UpdateTexture(int id, int, int, int, int, const void*) { Note("UpdateTexture %d", id); }
void cRenderNull::Unload() {
  Note("Unload");
  for (Buffer& buffer : Buffers) buffer.Lost |= LosesBuffers;
}
void cRenderNull::Reload() {
  Note("Reload");
  RaiseGeneration();
}
int cRenderNull::CreateTarget(const TargetDesc& desc) {
  Note("CreateTarget %d %d", desc.Width, desc.Height);
  return m_NextTarget++;
}

int cRenderNull::CreateBuffer(BufferKind kind, size_t elementBytes, size_t count, const void* data) {
  MORVANE_ASSERT(elementBytes > 0 && count > 0);
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  Buffer buffer{kind, elementBytes, count, {}, true, false};
  if (TakesNotes) buffer.Data.assign(bytes, bytes + elementBytes * count);
  int handle = int(Buffers.size());
  if (TakesNotes || m_FreeBuffers.empty()) {
    Buffers.push_back(std::move(buffer));
  } else {
    handle = m_FreeBuffers.back();
    m_FreeBuffers.pop_back();
    Buffers[size_t(handle)] = std::move(buffer);
  }
  Note("CreateBuffer %d %zu %zu", handle, elementBytes, count);
  return handle;
}
void cRenderNull::UpdateBuffer(int handle, size_t count, const void* data) {
  MORVANE_ASSERT(size_t(handle) < Buffers.size() && Buffers[size_t(handle)].Alive && count > 0);
  Buffer& buffer = Buffers[size_t(handle)];
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  buffer.Count = count;
  buffer.Lost = false;
  if (TakesNotes) buffer.Data.assign(bytes, bytes + buffer.ElementBytes * count);
  Note("UpdateBuffer %d %zu", handle, count);
}
void cRenderNull::ReleaseBuffer(int handle) {
  MORVANE_ASSERT(size_t(handle) < Buffers.size() && Buffers[size_t(handle)].Alive);
  Buffers[size_t(handle)].Alive = false;
  if (!TakesNotes) m_FreeBuffers.push_back(handle);
  Note("ReleaseBuffer %d", handle);
}
void cRenderNull::SetVertexBuffer(int handle, const VertexLayout& layout) {
  m_VertexBuffer = handle;
  Note("SetVertexBuffer %d %u", handle, layout.Stride);
}
void cRenderNull::SetIndexBuffer(int handle) {
  m_IndexBuffer = handle;
  Note("SetIndexBuffer %d", handle);
}
void cRenderNull::SetTexture(int param, int texture, int sampler) { Note("SetTexture %d %d %d", param, texture, sampler); }

void cRenderNull::Draw(int mode, int firstVertex, int vertexCount) {
  if (m_VertexBuffer >= 0) {
    const Buffer& vertices = Buffers[size_t(m_VertexBuffer)];
    MORVANE_ASSERT(vertices.Alive && !vertices.Lost && size_t(firstVertex + vertexCount) <= vertices.Count);
  }
  Note("Draw %d %d %d", mode, firstVertex, vertexCount);
}
void cRenderNull::DrawIndexed(int mode, int firstIndex, int indexCount) {
  MORVANE_ASSERT(HasBuffer(m_VertexBuffer) && HasBuffer(m_IndexBuffer));
  const Buffer& indices = Buffers[size_t(m_IndexBuffer)];
  MORVANE_ASSERT(indices.Kind == BufferKind::Index && size_t(firstIndex + indexCount) <= indices.Count);
  Note("DrawIndexed %d %d %d", mode, firstIndex, indexCount);
}

int cRenderNull::AliveBuffers() const {
  int count = 0;
  for (const Buffer& buffer : Buffers) count += buffer.Alive;
  return count;
}

}  // namespace comms
