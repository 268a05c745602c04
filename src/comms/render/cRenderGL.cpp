// Device, frames and states. See cRenderGL.h for what is where.
#include "comms/render/cRenderGL.h"

#include <epoxy/gl.h>
#include <algorithm>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/render/DeviceReport.h"
#include "comms/render/DriverTime.h"

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

static DeviceFacts ReadVersion() {
  DeviceFacts facts;
  facts.VersionNumber = epoxy_gl_version();
  facts.ShadingVersion = epoxy_glsl_version();
  facts.IsDesktop = epoxy_is_desktop_gl();
  facts.Vendor = GetText(GL_VENDOR);
  facts.Renderer = GetText(GL_RENDERER);
  facts.Version = GetText(GL_VERSION);
  facts.HasExtension = [](const char* name) { return epoxy_has_gl_extension(name); };
  return facts;
}

static void ReadLimits(DeviceFacts& facts) {
  facts.FragmentTextureUnits = GetInteger(GL_MAX_TEXTURE_IMAGE_UNITS);
  if (facts.VersionNumber >= 46 || facts.HasExtension("GL_EXT_texture_filter_anisotropic"))
    facts.MaxAnisotropy = GetInteger(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT);
  facts.VertexAttributes = GetInteger(GL_MAX_VERTEX_ATTRIBS);
  facts.VertexUniformVectors = GetInteger(GL_MAX_VERTEX_UNIFORM_COMPONENTS) / 4;
  GLint viewport[2] = {};
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
  facts.MaxTargetSize =
      std::min({GetInteger(GL_MAX_TEXTURE_SIZE), GetInteger(GL_MAX_RENDERBUFFER_SIZE), int(viewport[0]), int(viewport[1])});
  facts.DrawTargets = GetInteger(GL_MAX_DRAW_BUFFERS);
}

cStr DescribeCurrentDevice() {
  const DeviceFacts facts = ReadVersion();
  const cStr missing = DescribeMissingNeeds(facts);
  return !missing.empty()
             ? missing
             : Format("The graphics driver of \"%s\" offers \"%s\" with shading language %d.%02d.", facts.Renderer.c_str(),
                      facts.Version.c_str(), facts.ShadingVersion / 100, facts.ShadingVersion % 100);
}

bool cRenderGL::Init(const Options& options, cStr& error) {
  m_Options = options;
  const DeviceFacts facts = ReadVersion();
  error = DescribeMissingNeeds(facts);
  if (!error.empty()) return false;
  m_CurrentDepth = CreateDepthState({});
  m_CurrentBlend = CreateBlendState({});
  m_CurrentFill = CreateFillState({});
  SetUpDevice();
  CompileCacheList();
  return true;
}

// Everything that a context does not begin with. Run again for each new device.
void cRenderGL::SetUpDevice() {
  DeviceFacts facts = ReadVersion();
  ReadLimits(facts);
  m_DeviceName = facts.Vendor + ", " + facts.Renderer;
  m_MaxTargetSize = facts.MaxTargetSize;
  m_MaxSamples = std::max(1, GetInteger(GL_MAX_SAMPLES));
  m_MaxAnisotropy = float(std::max(1, facts.MaxAnisotropy));
  m_HasDxt = facts.HasExtension("GL_EXT_texture_compression_s3tc");
  m_HasKhrRobustness = facts.VersionNumber >= 45 || facts.HasExtension("GL_KHR_robustness");
  m_HasArbRobustness = facts.HasExtension("GL_ARB_robustness");
  LogInfo("%s", MakeDeviceReport(facts).c_str());

  m_Loaded = true;
  m_Debug.Start();
  m_Units.assign(size_t(facts.FragmentTextureUnits), {});
  m_ActiveUnit = 0;
  m_BoundProgram = 0;
  m_NoVertices = {};
  m_BoundVertices = 0;
  glGenVertexArrays(1, &m_NoVertices.Object);
  glBindVertexArray(m_NoVertices.Object);
  glVertexAttrib4f(GLuint(VertexUsage::Color), 1, 1, 1, 1);  // of vertices without colour
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glEnable(GL_MULTISAMPLE);
  glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
  ApplyDepthState();
  ApplyBlendState();
  ApplyFillState();
}

void cRenderGL::CompileCacheList() {
  const cStr path = JoinPath(m_Options.DataFolder, "Shaders/PC/Cache.txt");
  if (!FileExists(path)) return;
  cList<uint8_t> bytes;
  cStr error;
  if (!ReadWholeFile(path, bytes, error)) {
    LogWarning("%s", error.c_str());
    return;
  }
  const cList<cStr> names = SplitCacheList({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  for (const cStr& name : names) cRenderGL::GetShaderID(name, {});
  LogInfo("%d Cached Shaders", int(names.size()));
}

// Takes all objects off the device and leaves what they are made from.
void cRenderGL::ReleaseObjects() {
  GlDebug::Attempt attempt(m_Debug);  // a device that was lost does not know them any more
  for (Target& target : m_Targets)
    if (target.Used) DeleteTargetObjects(target);
  for (Texture& texture : m_Textures) DeleteTextureObject(texture);
  for (Shader& shader : m_Shaders) {
    if (shader.Program) glDeleteProgram(shader.Program);
    shader.Program = 0;
  }
  for (Sampler& sampler : m_Samplers) glDeleteSamplers(1, &sampler.Object);
  for (Buffer& buffer : m_Buffers) DeleteBufferObjects(buffer);
  glDeleteVertexArrays(1, &m_NoVertices.Object);
  m_BoundProgram = 0;
  m_Debug.Stop();
  m_Loaded = false;
}

cRenderGL::~cRenderGL() {
  if (m_Loaded) ReleaseObjects();
}

bool cRenderGL::IsLost() const {
  if (!m_Loaded) return false;
  if (m_HasKhrRobustness) return glGetGraphicsResetStatus() != GL_NO_ERROR;
  return m_HasArbRobustness && glGetGraphicsResetStatusARB() != GL_NO_ERROR;
}

void cRenderGL::Unload() {
  if (!m_Loaded) return;
  FreeReleasedBuffers();
  for (Buffer& buffer : m_Buffers) SaveBuffer(buffer);
  const auto textures = std::count_if(m_Textures.begin(), m_Textures.end(),
                                      [](const Texture& texture) { return texture.Object && !texture.OfTarget; });
  ReleaseObjects();
  LogInfo("Unloaded %d Textures.", int(textures));
}

void cRenderGL::Reload() {
  if (m_Loaded) Unload();
  SetUpDevice();
  for (Sampler& sampler : m_Samplers) MakeSampler(sampler);
  LogInfo("Reloaded %d textures.", ReloadTextures());
  for (Target& target : m_Targets)
    if (target.Used && !BuildTarget(target))
      LogError("Can't make the render target of %d x %d pixels anew.", target.Desc.Width, target.Desc.Height);
  for (Buffer& buffer : m_Buffers) {
    if (buffer.Used && buffer.Bytes > 0 && buffer.Kept.size() == buffer.Bytes) UploadBuffer(buffer, buffer.Kept.data(), false);
    buffer.Kept = {};
  }
  int shaders = 0;
  for (Shader& shader : m_Shaders) shaders += CompileShader(shader, shader.File.Vertex.Text.empty());
  LogInfo("Reloaded %d Shaders.", shaders);
  BindTarget();
  if (m_Viewport.Width >= 0) glViewport(m_Viewport.X, m_Viewport.Y, m_Viewport.Width, m_Viewport.Height);
  SetScissor(m_Scissor.X, m_Scissor.Y, m_Scissor.Width, m_Scissor.Height);
  RaiseGeneration();
}

// --- frames ------------------------------------------------------------------------------------------------------------------

void cRenderGL::BeginFrame(double timeSec) {
  FreeReleasedBuffers();
  // A clock that counts from the start of the machine soon outgrows the digits of a float.
  if (m_FirstTime < 0) m_FirstTime = m_LastTime = timeSec;
  State.TimeSec = float(timeSec - m_FirstTime);
  State.FrameTimeSec = float(timeSec - m_LastTime);
  m_LastTime = timeSec;
}
void cRenderGL::EndFrame() {
  if (!m_Loaded) return;
  const DriverTime driver;
  glFlush();
  m_Debug.Poll();
}

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

// What is set already is left alone.
static bool Replace(int& current, int id, size_t count) {
  if (size_t(id) >= count || id == current) return false;
  current = id;
  return true;
}
void cRenderGL::SetDepthState(int id) {
  if (Replace(m_CurrentDepth, id, m_DepthStates.size())) ApplyDepthState();
}
void cRenderGL::SetBlendState(int id) {
  if (Replace(m_CurrentBlend, id, m_BlendStates.size())) ApplyBlendState();
}
void cRenderGL::SetFillState(int id) {
  if (Replace(m_CurrentFill, id, m_FillStates.size())) ApplyFillState();
}

void cRenderGL::ApplyDepthState() {
  if (!m_Loaded) return;
  const DepthState& state = m_DepthStates[size_t(m_CurrentDepth)];
  // Writing goes through the test: without comparison the test stays on and always passes.
  Enable(GL_DEPTH_TEST, state.Test || state.Write);
  glDepthFunc(!state.Test ? GL_ALWAYS : state.LessEqual ? GL_LEQUAL : GL_LESS);
  glDepthMask(state.Write);
}

void cRenderGL::ApplyBlendState() {
  if (!m_Loaded) return;
  const BlendState& state = m_BlendStates[size_t(m_CurrentBlend)];
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

void cRenderGL::ApplyFillState() {
  if (!m_Loaded) return;
  const FillState& state = m_FillStates[size_t(m_CurrentFill)];
  Enable(GL_CULL_FACE, state.Cull != CullMode::None);
  if (state.Cull != CullMode::None) glCullFace(state.Cull == CullMode::Back ? GL_BACK : GL_FRONT);
  glPolygonMode(GL_FRONT_AND_BACK, state.Wireframe ? GL_LINE : GL_FILL);
}

void cRenderGL::SetViewport(int x, int y, int width, int height) {
  m_Viewport = {x, y, std::max(0, width), std::max(0, height)};
  if (m_Loaded) glViewport(m_Viewport.X, m_Viewport.Y, m_Viewport.Width, m_Viewport.Height);
  State.ViewportWidth = std::max(1, width);
  State.ViewportHeight = std::max(1, height);
}

void cRenderGL::Clear(const cVec4& color, float depth) {
  if (!m_Loaded) return;
  // Clearing obeys the write masks, so they are opened for it.
  glDepthMask(GL_TRUE);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glClearColor(color.x, color.y, color.z, color.w);
  glClearDepth(depth);
  const DriverTime driver;
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  ApplyDepthState();
  ApplyBlendState();
}

void cRenderGL::ClearDepth(float depth) {
  if (!m_Loaded) return;
  glDepthMask(GL_TRUE);
  glClearDepth(depth);
  glClear(GL_DEPTH_BUFFER_BIT);
  ApplyDepthState();
}

void cRenderGL::SetScissor(int x, int y, int width, int height) {
  m_Scissor = {x, y, width, std::max(0, height)};
  if (!m_Loaded) return;
  Enable(GL_SCISSOR_TEST, width >= 0);
  if (width >= 0) glScissor(x, y, width, m_Scissor.Height);
}

}  // namespace comms
