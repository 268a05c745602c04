// Values of uniforms: those that the caller sets by name, and the standard ones. Nothing is sent twice: most draws of a frame
// differ in little or nothing from the one before.
#include <epoxy/gl.h>
#include <algorithm>
#include <cstring>

#include "comms/render/cRenderGL.h"

namespace comms {

void cRenderGL::SetShader(int id) {
  if (size_t(id) < m_Shaders.size()) m_CurrentShader = id;
}

cRenderGL::Shader* cRenderGL::CurrentShader() {
  return size_t(m_CurrentShader) < m_Shaders.size() ? &m_Shaders[size_t(m_CurrentShader)] : nullptr;
}

cRenderGL::Uniform* cRenderGL::FindUniform(Shader& shader, std::string_view name) {
  const auto found = std::lower_bound(shader.Uniforms.begin(), shader.Uniforms.end(), name,
                                      [](const Uniform& uniform, std::string_view wanted) { return uniform.Name < wanted; });
  return found != shader.Uniforms.end() && found->Name == name ? &*found : nullptr;
}

int cRenderGL::GetTextureParam(const char* name) {
  Shader* shader = CurrentShader();
  const Uniform* uniform = shader ? FindUniform(*shader, name) : nullptr;
  return uniform ? uniform->TextureUnit : -1;
}

// --- one uniform -------------------------------------------------------------------------------------------------------------

static void Send(GLint location, GLenum type, const float* values) {
  switch (type) {
    case GL_FLOAT:
      glUniform1fv(location, 1, values);
      break;
    case GL_FLOAT_VEC2:
      glUniform2fv(location, 1, values);
      break;
    case GL_FLOAT_VEC3:
      glUniform3fv(location, 1, values);
      break;
    case GL_FLOAT_VEC4:
      glUniform4fv(location, 1, values);
      break;
    case GL_FLOAT_MAT4:
      glUniformMatrix4fv(location, 1, GL_FALSE, values);
      break;
    case GL_FLOAT_MAT3: {
      const float upper[9] = {values[0], values[1], values[2], values[4], values[5], values[6], values[8], values[9], values[10]};
      glUniformMatrix3fv(location, 1, GL_FALSE, upper);
      break;
    }
    case GL_INT:
    case GL_BOOL:
      glUniform1i(location, int(values[0]));
      break;
    default:
      break;
  }
}

// The program of the uniform is bound, or none. What is missing of `values` is 0.
void cRenderGL::SetFloats(Uniform& uniform, const float* values, int count) {
  const size_t bytes = size_t(count) * sizeof(float);
  if (uniform.Count == count && std::memcmp(uniform.Values, values, bytes) == 0) return;
  uniform.Count = count;
  std::memcpy(uniform.Values, values, bytes);
  std::fill(uniform.Values + count, std::end(uniform.Values), 0.0f);
  if (m_BoundProgram) Send(uniform.Location, uniform.Type, uniform.Values);
}

void cRenderGL::SetNamed(const char* name, const float* values, int count) {
  Shader* shader = CurrentShader();
  Uniform* uniform = shader ? FindUniform(*shader, name) : nullptr;
  if (!uniform) return;
  if (m_Loaded) BindProgram(shader->Program);  // else none is bound, and the value waits
  SetFloats(*uniform, values, count);
}
void cRenderGL::SetConstant(const char* name, float value) { SetNamed(name, &value, 1); }
void cRenderGL::SetConstant(const char* name, const cVec2& value) { SetNamed(name, &value.x, 2); }
void cRenderGL::SetConstant(const char* name, const cVec3& value) { SetNamed(name, &value.x, 3); }
void cRenderGL::SetConstant(const char* name, const cVec4& value) { SetNamed(name, &value.x, 4); }
void cRenderGL::SetConstant(const char* name, const cMat4& value) { SetNamed(name, value.m[0], 16); }

// --- standard uniforms -------------------------------------------------------------------------------------------------------

namespace {

// Parts of the state that change apart from each other.
enum Part : unsigned {
  World = 1,
  View = 2,
  Projection = 4,
  Texture0 = 8,
  Texture1 = 16,
  Texture2 = 32,
  Texture3 = 64,
  Time = 128,
  FrameTime = 256,
  Viewport = 512,
  AllParts = 1023
};

unsigned PartsOf(StandardUniform uniform) {
  static constexpr unsigned parts[] = {World,
                                       World,
                                       World | View,
                                       World | View | Projection,
                                       View | Projection,
                                       Projection,
                                       World,
                                       World | View,
                                       Viewport,
                                       Viewport,
                                       Texture0,
                                       Texture1,
                                       Texture2,
                                       Texture3,
                                       View,
                                       World | View,
                                       World | View,
                                       Time,
                                       FrameTime,
                                       Viewport,
                                       Viewport,
                                       Viewport,
                                       Viewport};
  static_assert(std::size(parts) == size_t(StandardUniformCount));
  return parts[size_t(uniform)];
}

template <class T>
unsigned Differs(const T& a, const T& b, unsigned part) {
  // Byte by byte: what is not a number must not look changed for ever, and -0 must not pass for 0.
  return std::memcmp(&a, &b, sizeof(T)) ? part : 0;  // NOLINT(bugprone-suspicious-memory-comparison)
}
unsigned FindChanges(const RenderState& a, const RenderState& b) {
  unsigned parts = Differs(a.World, b.World, World) | Differs(a.View, b.View, View) |
                   Differs(a.Projection, b.Projection, Projection) | Differs(a.TimeSec, b.TimeSec, Time) |
                   Differs(a.FrameTimeSec, b.FrameTimeSec, FrameTime) | Differs(a.ViewportWidth, b.ViewportWidth, Viewport) |
                   Differs(a.ViewportHeight, b.ViewportHeight, Viewport);
  for (int i = 0; i < 4; i++) parts |= Differs(a.Texture[i], b.Texture[i], Texture0 << i);
  return parts;
}

}  // namespace

void cRenderGL::SetStandardUniforms(Shader& shader) {
  static_assert(sizeof(RenderState) == 7 * sizeof(cMat4) + 4 * 4, "its bytes are compared, and each belongs to a part");
  if (shader.Standard.empty()) return;
  const unsigned changes = shader.Fresh ? unsigned(AllParts) : FindChanges(State, shader.Seen);
  if (!changes) return;
  for (const StandardUse& use : shader.Standard)
    if (changes & PartsOf(use.Which)) {
      const UniformValue value = Evaluate(use.Which, State);
      SetFloats(shader.Uniforms[use.Uniform], value.Floats, value.Count);
    }
  shader.Seen = State;
  shader.Fresh = false;
}

}  // namespace comms
