#include <epoxy/gl.h>
#include <algorithm>

#include "comms/render/DriverTime.h"
#include "comms/render/cRenderGL.h"

namespace comms {

// --- content -----------------------------------------------------------------------------------------------------------------

cRenderGL::Buffer* cRenderGL::FindBuffer(int handle) {
  return size_t(handle) < m_Buffers.size() && m_Buffers[size_t(handle)].Used ? &m_Buffers[size_t(handle)] : nullptr;
}

bool cRenderGL::HasBuffer(int handle) const {
  if (size_t(handle) >= m_Buffers.size()) return false;
  const Buffer& buffer = m_Buffers[size_t(handle)];
  return buffer.Used && (m_Loaded ? buffer.Object != 0 : buffer.Kept.size() == buffer.Bytes);
}

// The copy target leaves the bindings of the vertex arrays alone. Fresh storage each time: the driver need not wait until the
// last frame has read the old one.
void cRenderGL::UploadBuffer(Buffer& buffer, const void* data, bool changesOften) {
  if (!m_Loaded) {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    buffer.Kept.assign(bytes, bytes + buffer.Bytes);
    return;
  }
  if (!buffer.Object) {
    glGenBuffers(1, &buffer.Object);
    buffer.Serial = ++m_LastSerial;
  }
  const DriverTime driver;
  glBindBuffer(GL_COPY_WRITE_BUFFER, buffer.Object);
  glBufferData(GL_COPY_WRITE_BUFFER, GLsizeiptr(buffer.Bytes), data, changesOften ? GL_STREAM_DRAW : GL_STATIC_DRAW);
}

int cRenderGL::CreateBuffer(BufferKind kind, size_t elementBytes, size_t count, const void* data) {
  FreeReleasedBuffers();
  int handle = int(m_Buffers.size());
  if (m_FreeBuffers.empty()) {
    m_Buffers.emplace_back();
  } else {
    handle = m_FreeBuffers.back();
    m_FreeBuffers.pop_back();
  }
  Buffer& buffer = m_Buffers[size_t(handle)];
  buffer = {};
  buffer.Kind = kind;
  buffer.ElementBytes = elementBytes;
  buffer.Bytes = elementBytes * count;
  buffer.Used = true;
  UploadBuffer(buffer, data, false);
  return handle;
}

void cRenderGL::UpdateBuffer(int handle, size_t count, const void* data) {
  Buffer* buffer = FindBuffer(handle);
  if (!buffer) return;
  buffer->Bytes = buffer->ElementBytes * count;
  UploadBuffer(*buffer, data, true);
}

void cRenderGL::ReleaseBuffer(int handle) {
  const std::lock_guard lock(m_ReleasedMutex);
  m_ReleasedBuffers.push_back(handle);
}

void cRenderGL::FreeReleasedBuffers() {
  const std::lock_guard lock(m_ReleasedMutex);
  for (const int handle : m_ReleasedBuffers) {
    Buffer* buffer = FindBuffer(handle);
    if (!buffer) continue;
    DeleteBufferObjects(*buffer);
    *buffer = {};
    m_FreeBuffers.push_back(handle);
  }
  m_ReleasedBuffers.clear();
}

void cRenderGL::DeleteBufferObjects(Buffer& buffer) {
  if (!m_Loaded || !buffer.Object) return;
  for (const VertexArray& array : buffer.Arrays) glDeleteVertexArrays(1, &array.Object);
  if (m_BoundVertices == buffer.Serial) {  // deleting bound the vertex array 0, in which nothing can be drawn
    glBindVertexArray(m_NoVertices.Object);
    m_BoundVertices = 0;
  }
  glDeleteBuffers(1, &buffer.Object);
  buffer.Object = 0;
  buffer.Serial = 0;
  buffer.Arrays.clear();
}

// Reads the content back before the device goes; where it is gone already, nothing is kept.
void cRenderGL::SaveBuffer(Buffer& buffer) {
  buffer.Kept.clear();
  if (!buffer.Object) return;
  GlDebug::Attempt attempt(m_Debug);
  GLint64 bytes = 0;
  glBindBuffer(GL_COPY_READ_BUFFER, buffer.Object);
  glGetBufferParameteri64v(GL_COPY_READ_BUFFER, GL_BUFFER_SIZE, &bytes);
  if (attempt.TakeError() || size_t(bytes) != buffer.Bytes) return;
  buffer.Kept.resize(buffer.Bytes);
  glGetBufferSubData(GL_COPY_READ_BUFFER, 0, GLsizeiptr(buffer.Bytes), buffer.Kept.data());
  if (attempt.TakeError()) buffer.Kept = {};
}

// --- vertex arrays -----------------------------------------------------------------------------------------------------------

static bool SameLayout(const VertexLayout& a, const VertexLayout& b) {
  return a.Stride == b.Stride && std::equal(a.Elements.begin(), a.Elements.end(), b.Elements.begin(), b.Elements.end(),
                                            [](const VertexElement& x, const VertexElement& y) {
                                              return x.Usage == y.Usage && x.Format == y.Format && x.Offset == y.Offset;
                                            });
}

// By content: a program has a handful of layouts, and some of them are made on the spot.
size_t cRenderGL::FindLayout(const VertexLayout& layout) {
  for (size_t i = 0; i < m_Layouts.size(); i++)
    if (SameLayout(m_Layouts[i], layout)) return i;
  m_Layouts.push_back(layout);
  return m_Layouts.size() - 1;
}

static void DeclareVertices(const VertexLayout& layout) {
  static const struct {
    GLint Size;
    GLenum Type;
    GLboolean Normalized;
  } formats[size_t(VertexFormat::Count)] = {{1, GL_FLOAT, GL_FALSE},
                                            {2, GL_FLOAT, GL_FALSE},
                                            {3, GL_FLOAT, GL_FALSE},
                                            {4, GL_FLOAT, GL_FALSE},
                                            {4, GL_UNSIGNED_BYTE, GL_TRUE}};
  for (const VertexElement& element : layout.Elements) {
    const auto& format = formats[size_t(element.Format)];
    glVertexAttribPointer(GLuint(element.Usage), format.Size, format.Type, format.Normalized, GLsizei(layout.Stride),
                          reinterpret_cast<const void*>(uintptr_t(element.Offset)));
    glEnableVertexAttribArray(GLuint(element.Usage));
  }
}

// The array of `buffer` for `layout`, bound.
cRenderGL::VertexArray& cRenderGL::FindVertexArray(Buffer& buffer, size_t layout) {
  const bool bound = m_BoundVertices == buffer.Serial && m_BoundLayout == layout;
  m_BoundVertices = buffer.Serial;
  m_BoundLayout = layout;
  for (VertexArray& array : buffer.Arrays)
    if (array.Layout == layout) {
      if (!bound) glBindVertexArray(array.Object);
      return array;
    }
  VertexArray& array = buffer.Arrays.emplace_back();
  array.Layout = layout;
  glGenVertexArrays(1, &array.Object);
  glBindVertexArray(array.Object);
  glBindBuffer(GL_ARRAY_BUFFER, buffer.Object);
  DeclareVertices(m_Layouts[layout]);
  return array;
}

void cRenderGL::SetVertexBuffer(int handle, const VertexLayout& layout) {
  m_CurrentVertices = handle < 0 ? -1 : handle;
  m_CurrentLayout = handle < 0 ? 0 : FindLayout(layout);
}

void cRenderGL::SetIndexBuffer(int handle) { m_CurrentIndices = handle; }

// --- drawing -----------------------------------------------------------------------------------------------------------------

static GLenum ToGlMode(int mode) { return mode == 1 ? GL_POINTS : mode == 2 ? GL_LINES : GL_TRIANGLES; }

// False where nothing can be drawn: no device, no program, or a vertex buffer that is gone. `indices` null: without.
bool cRenderGL::PrepareDraw(const Buffer* indices) {
  Shader* shader = CurrentShader();
  if (!m_Loaded || !shader || !shader->Program) return false;
  VertexArray* array = &m_NoVertices;
  if (m_CurrentVertices == -1) {
    if (m_BoundVertices != 0) glBindVertexArray(m_NoVertices.Object);
    m_BoundVertices = 0;
  } else {
    Buffer* vertices = FindBuffer(m_CurrentVertices);
    if (!vertices || !vertices->Object) return false;
    array = &FindVertexArray(*vertices, m_CurrentLayout);
  }
  // The vertex array remembers its index buffer.
  if (indices && array->IndexSerial != indices->Serial) {
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices->Object);
    array->IndexSerial = indices->Serial;
  }
  BindProgram(shader->Program);
  SetStandardUniforms(*shader);
  return true;
}

void cRenderGL::Draw(int mode, int firstVertex, int vertexCount) {
  if (vertexCount <= 0 || !PrepareDraw(nullptr)) return;
  const DriverTime driver;
  glDrawArrays(ToGlMode(mode), firstVertex, vertexCount);
}

void cRenderGL::DrawIndexed(int mode, int firstIndex, int indexCount) {
  const Buffer* indices = FindBuffer(m_CurrentIndices);
  if (indexCount <= 0 || !indices || !indices->Object || !PrepareDraw(indices)) return;
  const DriverTime driver;
  glDrawElements(ToGlMode(mode), indexCount, indices->ElementBytes == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT,
                 reinterpret_cast<const void*>(uintptr_t(firstIndex) * uintptr_t(indices->ElementBytes)));
}

}  // namespace comms
