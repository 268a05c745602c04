// Device, state, buffers and drawing. Textures and targets are in RenderTextures.cpp, shaders in RenderShaders.cpp.
#include "comms/render/cRenderGL.h"

#include <epoxy/gl.h>
#include <algorithm>

#include "comms/Log.h"
#include "comms/render/DeviceReport.h"

namespace comms {

cRenderGL::cRenderGL() = default;

// --- device ------------------------------------------------------------------------------------------------------------------

static int GetInteger(GLenum name) {
  GLint values[2] = {};  // some limits are pairs
  glGetIntegerv(name, values);
  return values[0];
}
static cStr GetText(GLenum name) {
  const GLubyte* text = glGetString(name);
  return text ? reinterpret_cast<const char*>(text) : "";
}

bool cRenderGL::Init(const Options& options, cStr& error) {
  m_Options = options;
  DeviceFacts facts;
  facts.VersionNumber = epoxy_gl_version();
  facts.Vendor = GetText(GL_VENDOR);
  facts.Renderer = GetText(GL_RENDERER);
  facts.Version = GetText(GL_VERSION);
  if (facts.VersionNumber < 33 || !epoxy_is_desktop_gl()) {
    error = Format("The graphics driver offers \"%s\"; OpenGL 3.3 is needed.", facts.Version.c_str());
    return false;
  }
  facts.HasExtension = [](const char* name) { return epoxy_has_gl_extension(name); };
  const bool anisotropy = facts.VersionNumber >= 46 || facts.HasExtension("GL_EXT_texture_filter_anisotropic");
  if (anisotropy) glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &m_MaxAnisotropy);
  GLint viewport[2] = {};
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
  m_MaxTargetSize =
      std::min({GetInteger(GL_MAX_TEXTURE_SIZE), GetInteger(GL_MAX_RENDERBUFFER_SIZE), int(viewport[0]), int(viewport[1])});
  m_MaxSamples = std::max(1, GetInteger(GL_MAX_SAMPLES));
  m_HasDxt = facts.HasExtension("GL_EXT_texture_compression_s3tc");
  m_DeviceName = facts.Vendor + ", " + facts.Renderer;
  facts.FragmentTextureUnits = GetInteger(GL_MAX_TEXTURE_IMAGE_UNITS);
  facts.MaxAnisotropy = int(m_MaxAnisotropy);
  facts.VertexAttributes = GetInteger(GL_MAX_VERTEX_ATTRIBS);
  facts.VertexUniformVectors = GetInteger(GL_MAX_VERTEX_UNIFORM_COMPONENTS) / 4;
  facts.MaxTargetSize = m_MaxTargetSize;
  facts.DrawTargets = GetInteger(GL_MAX_DRAW_BUFFERS);
  LogInfo("%s", MakeDeviceReport(facts).c_str());

  glGenVertexArrays(1, &m_VertexArray);
  glBindVertexArray(m_VertexArray);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glEnable(GL_MULTISAMPLE);
  SetDepthState(CreateDepthState({}));
  SetBlendState(CreateBlendState({}));
  SetFillState(CreateFillState({}));
  return true;
}

cRenderGL::~cRenderGL() {
  if (!m_VertexArray) return;
  for (size_t i = 0; i < m_Targets.size(); i++) cRenderGL::DeleteTarget(int(i));
  for (const Texture& texture : m_Textures)
    if (texture.Object) glDeleteTextures(1, &texture.Object);
  for (const Shader& shader : m_Shaders)
    if (shader.Program) glDeleteProgram(shader.Program);
  for (const Sampler& sampler : m_Samplers) glDeleteSamplers(1, &sampler.Object);
  for (const Buffer& buffer : m_Buffers)
    if (buffer.Object) glDeleteBuffers(1, &buffer.Object);
  glDeleteVertexArrays(1, &m_VertexArray);
}

void cRenderGL::BeginFrame(double timeSec) {
  FreeReleasedBuffers();
  State.FrameTimeSec = float(timeSec) - State.TimeSec;
  State.TimeSec = float(timeSec);
}
void cRenderGL::EndFrame() { glFlush(); }

// --- state -------------------------------------------------------------------------------------------------------------------

template <class T>
static int FindOrAdd(cList<T>& list, const T& value) {
  const auto found = std::find(list.begin(), list.end(), value);
  if (found != list.end()) return int(found - list.begin());
  list.push_back(value);
  return int(list.size()) - 1;
}
static void Enable(GLenum capability, bool on) { on ? glEnable(capability) : glDisable(capability); }

int cRenderGL::CreateDepthState(const DepthState& state) { return FindOrAdd(m_DepthStates, state); }
int cRenderGL::CreateBlendState(const BlendState& state) { return FindOrAdd(m_BlendStates, state); }
int cRenderGL::CreateFillState(const FillState& state) { return FindOrAdd(m_FillStates, state); }

void cRenderGL::SetDepthState(int id) {
  if (size_t(id) >= m_DepthStates.size()) return;
  m_CurrentDepth = id;
  const DepthState& state = m_DepthStates[size_t(id)];
  // Writing goes through the test: without comparison the test stays on and always passes.
  Enable(GL_DEPTH_TEST, state.Test || state.Write);
  glDepthFunc(!state.Test ? GL_ALWAYS : state.LessEqual ? GL_LEQUAL : GL_LESS);
  glDepthMask(state.Write);
}

void cRenderGL::SetBlendState(int id) {
  if (size_t(id) >= m_BlendStates.size()) return;
  m_CurrentBlend = id;
  const BlendState& state = m_BlendStates[size_t(id)];
  Enable(GL_BLEND, state.Mode != BlendMode::Opaque);
  switch (state.Mode) {
    case BlendMode::Opaque:
      break;
    case BlendMode::Alpha:
      glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
      break;
    case BlendMode::PremultipliedAlpha:
      glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
      break;
    case BlendMode::Additive:
      glBlendFunc(GL_ONE, GL_ONE);
      break;
    case BlendMode::Multiply:
      glBlendFunc(GL_DST_COLOR, GL_ZERO);
      break;
  }
  const GLboolean write = state.WriteColor;
  glColorMask(write, write, write, write);
}

void cRenderGL::SetFillState(int id) {
  if (size_t(id) >= m_FillStates.size()) return;
  const FillState& state = m_FillStates[size_t(id)];
  Enable(GL_CULL_FACE, state.Cull != CullMode::None);
  if (state.Cull != CullMode::None) glCullFace(state.Cull == CullMode::Back ? GL_BACK : GL_FRONT);
  glPolygonMode(GL_FRONT_AND_BACK, state.Wireframe ? GL_LINE : GL_FILL);
}

void cRenderGL::SetViewport(int x, int y, int width, int height) {
  glViewport(x, y, width, height);
  State.ViewportWidth = std::max(1, width);
  State.ViewportHeight = std::max(1, height);
}

void cRenderGL::Clear(const cVec4& color, float depth) {
  // Clearing obeys the write masks, so they are opened for it.
  glDepthMask(GL_TRUE);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glClearColor(color.x, color.y, color.z, color.w);
  glClearDepth(depth);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  SetDepthState(m_CurrentDepth);
  SetBlendState(m_CurrentBlend);
}

// --- buffers -----------------------------------------------------------------------------------------------------------------

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
  buffer = {0, kind, elementBytes};
  glGenBuffers(1, &buffer.Object);
  // The copy target leaves the bindings of the vertex array alone.
  glBindBuffer(GL_COPY_WRITE_BUFFER, buffer.Object);
  glBufferData(GL_COPY_WRITE_BUFFER, GLsizeiptr(elementBytes * count), data, GL_STATIC_DRAW);
  return handle;
}

void cRenderGL::ReleaseBuffer(int handle) {
  const std::lock_guard lock(m_ReleasedMutex);
  m_ReleasedBuffers.push_back(handle);
}

void cRenderGL::FreeReleasedBuffers() {
  const std::lock_guard lock(m_ReleasedMutex);
  for (const int handle : m_ReleasedBuffers) {
    if (size_t(handle) >= m_Buffers.size() || !m_Buffers[size_t(handle)].Object) continue;
    glDeleteBuffers(1, &m_Buffers[size_t(handle)].Object);
    m_Buffers[size_t(handle)].Object = 0;
    m_FreeBuffers.push_back(handle);
  }
  m_ReleasedBuffers.clear();
}

void cRenderGL::SetVertexBuffer(int handle, const VertexLayout& layout) {
  static const struct {
    GLint Size;
    GLenum Type;
    GLboolean Normalized;
  } formats[size_t(VertexFormat::Count)] = {{1, GL_FLOAT, GL_FALSE},
                                            {2, GL_FLOAT, GL_FALSE},
                                            {3, GL_FLOAT, GL_FALSE},
                                            {4, GL_FLOAT, GL_FALSE},
                                            {4, GL_UNSIGNED_BYTE, GL_TRUE}};
  const bool valid = size_t(handle) < m_Buffers.size() && m_Buffers[size_t(handle)].Object;
  bool given[size_t(VertexUsage::Count)] = {};
  if (valid) {
    glBindBuffer(GL_ARRAY_BUFFER, m_Buffers[size_t(handle)].Object);
    for (const VertexElement& element : layout.Elements) {
      const auto& format = formats[size_t(element.Format)];
      const GLuint slot = GLuint(element.Usage);
      glVertexAttribPointer(slot, format.Size, format.Type, format.Normalized, GLsizei(layout.Stride),
                            reinterpret_cast<const void*>(uintptr_t(element.Offset)));
      glEnableVertexAttribArray(slot);
      given[slot] = true;
    }
  }
  for (GLuint slot = 0; slot < GLuint(VertexUsage::Count); slot++)
    if (!given[slot]) {
      glDisableVertexAttribArray(slot);
      if (slot == GLuint(VertexUsage::Color)) glVertexAttrib4f(slot, 1, 1, 1, 1);
    }
}

void cRenderGL::SetIndexBuffer(int handle) {
  const bool valid = size_t(handle) < m_Buffers.size() && m_Buffers[size_t(handle)].Object;
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, valid ? m_Buffers[size_t(handle)].Object : 0);
  m_IndexElementBytes = valid ? int(m_Buffers[size_t(handle)].ElementBytes) : 0;
}

// --- drawing -----------------------------------------------------------------------------------------------------------------

static GLenum ToGlMode(int mode) { return mode == 1 ? GL_POINTS : mode == 2 ? GL_LINES : GL_TRIANGLES; }

bool cRenderGL::PrepareDraw() {
  if (size_t(m_CurrentShader) >= m_Shaders.size()) return false;
  const Shader& shader = m_Shaders[size_t(m_CurrentShader)];
  if (!shader.Program) return false;
  for (const auto& [standard, uniform] : shader.Standard) {
    const UniformValue value = Evaluate(standard, State);
    SetFloats(uniform, value.Floats, value.Count);
  }
  return true;
}

void cRenderGL::Draw(int mode, int firstVertex, int vertexCount) {
  if (vertexCount > 0 && PrepareDraw()) glDrawArrays(ToGlMode(mode), firstVertex, vertexCount);
}

void cRenderGL::DrawIndexed(int mode, int firstIndex, int indexCount) {
  if (indexCount <= 0 || m_IndexElementBytes == 0 || !PrepareDraw()) return;
  glDrawElements(ToGlMode(mode), indexCount, m_IndexElementBytes == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT,
                 reinterpret_cast<const void*>(uintptr_t(firstIndex) * uintptr_t(m_IndexElementBytes)));
}

}  // namespace comms
