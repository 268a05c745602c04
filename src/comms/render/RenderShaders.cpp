#include <epoxy/gl.h>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/render/ShaderFile.h"
#include "comms/render/cRenderGL.h"

namespace comms {

static const char* const AttributeNames[] = {"a_Position", "a_Normal", "a_Color", "a_TexCoord0", "a_TexCoord1", "a_Tangent"};
static_assert(std::size(AttributeNames) == size_t(VertexUsage::Count));

int cRenderGL::GetShaderID(const cStr& name, const cStr& defines) {
  for (size_t i = 0; i < m_Shaders.size(); i++)
    if (m_Shaders[i].Name == name && m_Shaders[i].Defines == defines) return int(i);
  m_Shaders.push_back({name, defines, 0, {}, {}});
  CompileShader(m_Shaders.back());
  return int(m_Shaders.size()) - 1;
}

bool cRenderGL::IsShaderSound(int id) const { return size_t(id) < m_Shaders.size() && m_Shaders[size_t(id)].Program != 0; }

void cRenderGL::CompileShader(Shader& shader) {
  cStr log;
  shader.Uniforms.clear();
  shader.Standard.clear();
  shader.Program = LinkProgram(shader, log);
  if (shader.Program) {
    ReadUniforms(shader);
  } else {
    RecordFailure(shader, log);
  }
}

// Compiles one stage and attaches it; the stage lives on as long as the program.
static bool CompileStage(GLuint program, GLenum stage, const cStr& source, cStr& log) {
  const GLuint object = glCreateShader(stage);
  const char* text = source.c_str();
  glShaderSource(object, 1, &text, nullptr);
  glCompileShader(object);
  GLint done = GL_FALSE, length = 0;
  glGetShaderiv(object, GL_COMPILE_STATUS, &done);
  glGetShaderiv(object, GL_INFO_LOG_LENGTH, &length);
  if (!done && length > 0) {
    log.resize(size_t(length));
    glGetShaderInfoLog(object, length, nullptr, log.data());
    log.resize(std::strlen(log.c_str()));
  }
  if (done) glAttachShader(program, object);
  glDeleteShader(object);
  return done;
}

unsigned cRenderGL::LinkProgram(const Shader& shader, cStr& log) {
  const cStr fileName = JoinPath(m_Options.DataFolder, Format("Shaders/%s.glsl", shader.Name.c_str()));
  cList<uint8_t> bytes;
  ShaderFile file;
  if (!ReadWholeFile(fileName, bytes, log)) {
    AppendToUnknownShaders("    IRS->GetShaderID(\"" + shader.Name + "\");\n");
    return 0;
  }
  if (!SplitShaderFile(cStr(bytes.begin(), bytes.end()), fileName, file, log)) return 0;

  const GLuint program = glCreateProgram();
  LogInfo("Compiling VS...");
  bool done = CompileStage(program, GL_VERTEX_SHADER, MakeShaderSource(file.Vertex, shader.Defines), log);
  if (done) {
    LogInfo("Compiling FS...");
    done = CompileStage(program, GL_FRAGMENT_SHADER, MakeShaderSource(file.Fragment, shader.Defines), log);
  }
  if (done) {
    LogInfo("Linking program...");
    for (GLuint slot = 0; slot < std::size(AttributeNames); slot++) glBindAttribLocation(program, slot, AttributeNames[slot]);
    glBindFragDataLocation(program, 0, "o_Color");
    glLinkProgram(program);
    GLint linked = GL_FALSE, length = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    if (!linked && length > 0) {
      log.resize(size_t(length));
      glGetProgramInfoLog(program, length, nullptr, log.data());
      log.resize(std::strlen(log.c_str()));
    }
    done = linked;
  }
  if (done) return program;
  glDeleteProgram(program);
  return 0;
}

static bool IsSampler(GLenum type) {
  return type == GL_SAMPLER_1D || type == GL_SAMPLER_2D || type == GL_SAMPLER_3D || type == GL_SAMPLER_CUBE;
}

void cRenderGL::ReadUniforms(Shader& shader) {
  glUseProgram(shader.Program);
  GLint count = 0;
  glGetProgramiv(shader.Program, GL_ACTIVE_UNIFORMS, &count);
  int units = 0;
  for (GLint i = 0; i < count; i++) {
    char name[256];
    GLint size = 0;
    Uniform uniform;
    glGetActiveUniform(shader.Program, GLuint(i), sizeof name, nullptr, &size, &uniform.Type, name);
    uniform.Location = glGetUniformLocation(shader.Program, name);
    if (uniform.Location < 0) continue;
    if (IsSampler(uniform.Type)) {
      uniform.TextureUnit = units++;
      glUniform1i(uniform.Location, uniform.TextureUnit);
    }
    cStr key = name;
    key.resize(std::min(key.find('['), key.size()));  // arrays are called by their first element
    shader.Uniforms[key] = uniform;
    for (int k = 0; k < StandardUniformCount; k++)
      if (key == StandardUniformNames[k]) shader.Standard.push_back({StandardUniform(k), uniform});
  }
  glUseProgram(m_CurrentShader >= 0 ? m_Shaders[size_t(m_CurrentShader)].Program : 0);
}

void cRenderGL::RecordFailure(const Shader& shader, const cStr& log) const {
  const cStr block =
      Format("shader: %s\ndefines: %s\ncompiling log:\n%s", shader.Name.c_str(), shader.Defines.c_str(), log.c_str());
  LogError("%s", block.c_str());
  AppendToUnknownShaders(block + '\n');
}

void cRenderGL::AppendToUnknownShaders(const cStr& text) const {
  if (m_Options.UserFolder.empty()) return;
  const cStr path = JoinPath(m_Options.UserFolder, "UnknownShaders.txt");
  std::FILE* file = std::fopen(path.c_str(), "ab");
  const bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
  const bool closed = file && std::fclose(file) == 0;
  if (!written || !closed) LogWarning("Can't append to \"%s\".", path.c_str());
}

// --- constants ---------------------------------------------------------------------------------------------------------------

void cRenderGL::SetShader(int id) {
  if (size_t(id) >= m_Shaders.size()) return;
  m_CurrentShader = id;
  glUseProgram(m_Shaders[size_t(id)].Program);
}

void cRenderGL::SetFloats(const Uniform& uniform, const float* values, int count) {
  float full[16] = {};
  std::memcpy(full, values, size_t(count) * sizeof(float));
  switch (uniform.Type) {
    case GL_FLOAT:
      glUniform1fv(uniform.Location, 1, full);
      break;
    case GL_FLOAT_VEC2:
      glUniform2fv(uniform.Location, 1, full);
      break;
    case GL_FLOAT_VEC3:
      glUniform3fv(uniform.Location, 1, full);
      break;
    case GL_FLOAT_VEC4:
      glUniform4fv(uniform.Location, 1, full);
      break;
    case GL_FLOAT_MAT4:
      glUniformMatrix4fv(uniform.Location, 1, GL_FALSE, full);
      break;
    case GL_FLOAT_MAT3: {
      const float upper[9] = {full[0], full[1], full[2], full[4], full[5], full[6], full[8], full[9], full[10]};
      glUniformMatrix3fv(uniform.Location, 1, GL_FALSE, upper);
      break;
    }
    case GL_INT:
    case GL_BOOL:
      glUniform1i(uniform.Location, int(full[0]));
      break;
    default:
      break;
  }
}

void cRenderGL::SetNamed(const char* name, const float* values, int count) {
  if (size_t(m_CurrentShader) >= m_Shaders.size()) return;
  const auto& uniforms = m_Shaders[size_t(m_CurrentShader)].Uniforms;
  const auto found = uniforms.find(std::string_view(name));
  if (found != uniforms.end()) SetFloats(found->second, values, count);
}
void cRenderGL::SetConstant(const char* name, float value) { SetNamed(name, &value, 1); }
void cRenderGL::SetConstant(const char* name, const cVec2& value) { SetNamed(name, &value.x, 2); }
void cRenderGL::SetConstant(const char* name, const cVec3& value) { SetNamed(name, &value.x, 3); }
void cRenderGL::SetConstant(const char* name, const cVec4& value) { SetNamed(name, &value.x, 4); }
void cRenderGL::SetConstant(const char* name, const cMat4& value) { SetNamed(name, value.m[0], 16); }

int cRenderGL::GetTextureParam(const char* name) {
  if (size_t(m_CurrentShader) >= m_Shaders.size()) return -1;
  const auto& uniforms = m_Shaders[size_t(m_CurrentShader)].Uniforms;
  const auto found = uniforms.find(std::string_view(name));
  return found == uniforms.end() ? -1 : found->second.TextureUnit;
}

}  // namespace comms
