// Programs: from files and back, and the list of uniforms of each.
#include <epoxy/gl.h>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/render/DriverTime.h"
#include "comms/render/cRenderGL.h"

namespace comms {

static const char* const AttributeNames[] = {"a_Position", "a_Normal", "a_Color", "a_TexCoord0", "a_TexCoord1", "a_Tangent"};
static_assert(std::size(AttributeNames) == size_t(VertexUsage::Count));

cStr cRenderGL::ShaderPath(const Shader& shader) const {
  return JoinPath(m_Options.DataFolder, Format("Shaders/%s.glsl", shader.Name.c_str()));
}

int cRenderGL::GetShaderID(const cStr& name, const cStr& defines) {
  for (size_t i = 0; i < m_Shaders.size(); i++)
    if (m_Shaders[i].Name == name && m_Shaders[i].Defines == defines) return int(i);
  Shader& shader = m_Shaders.emplace_back();
  shader.Name = name;
  shader.Defines = defines;
  if (m_Loaded) CompileShader(shader, true);
  return int(m_Shaders.size()) - 1;
}

bool cRenderGL::IsShaderSound(int id) const { return size_t(id) < m_Shaders.size() && m_Shaders[size_t(id)].Program != 0; }

int cRenderGL::ReloadChangedShaders() {
  if (!m_Loaded) return 0;
  int compiled = 0;
  for (Shader& shader : m_Shaders) {
    const FileStamp stamp = GetFileStamp(ShaderPath(shader));
    // Programs that write a file by renaming leave a moment without one.
    if (stamp == shader.Stamp || !stamp.IsThere()) continue;
    if (CompileShader(shader, true)) {
      compiled++;
    } else if (shader.Program) {
      LogWarning("The changed shader \"%s\" does not compile; the program of before stays in use.", shader.Name.c_str());
    }
  }
  if (compiled) LogInfo("Reloaded %d Shaders.", compiled);
  return compiled;
}

// The call as a developer would write it, one line.
static cStr MakeCall(const cStr& name, cStr defines) {
  for (size_t at = defines.find('\n'); at != cStr::npos; at = defines.find('\n', at + 2)) defines.replace(at, 1, "\\n");
  return "    IRS->GetShaderID(\"" + name + (defines.empty() ? "" : "\", \"" + defines) + "\");\n";
}

// From the file, or from the texts of the last program that linked. The program of before is replaced only by one that links.
bool cRenderGL::CompileShader(Shader& shader, bool readFile) {
  cStr log;
  ShaderFile file = shader.File;
  const cStr path = ShaderPath(shader);
  bool read = true;
  if (readFile) {
    // Looked at before it is read: a change in between is then seen the next time.
    shader.Stamp = GetFileStamp(path);
    cList<uint8_t> bytes;
    read = ReadWholeFile(path, bytes, log);
    if (!read) AppendToUnknownShaders(MakeCall(shader.Name, shader.Defines));
    read = read && SplitShaderFile(cStr(bytes.begin(), bytes.end()), path, file, log);
  }
  const unsigned program = read ? LinkProgram(file, shader.Defines, log) : 0;
  if (!program) {
    RecordFailure(shader, log);
    if (!shader.Program) UseShipped(shader);
    return false;
  }
  m_ToldFailures.erase(shader.Name);
  UseProgram(shader, program, file);
  return true;
}

void cRenderGL::UseProgram(Shader& shader, unsigned program, const ShaderFile& file) {
  if (shader.Program) glDeleteProgram(shader.Program);
  shader.Program = program;
  shader.File = file;
  ReadUniforms(shader);
}

// In place of a file that does not serve.
void cRenderGL::UseShipped(Shader& shader) {
  const char* text = FindShippedShader(shader.Name);
  ShaderFile file;
  cStr log;
  if (!text || !SplitShaderFile(text, shader.Name, file, log)) return;
  if (const unsigned program = LinkProgram(file, shader.Defines, log)) UseProgram(shader, program, file);
}

// What the compiler or linker says, and whether it was content.
static bool ReadOutcome(GLuint object, decltype(glGetShaderiv) getNumber, GLenum status, decltype(glGetShaderInfoLog) getLog,
                        cStr& log) {
  GLint done = GL_FALSE, length = 0;
  getNumber(object, status, &done);
  getNumber(object, GL_INFO_LOG_LENGTH, &length);
  if (!done && length > 0) {
    log.resize(size_t(length));
    getLog(object, length, nullptr, log.data());
    log.resize(std::strlen(log.c_str()));
  }
  return done;
}

// Compiles one stage and attaches it; the stage lives on as long as the program.
static bool CompileStage(GLuint program, GLenum stage, const cStr& source, cStr& log) {
  const GLuint object = glCreateShader(stage);
  const char* text = source.c_str();
  glShaderSource(object, 1, &text, nullptr);
  {
    const DriverTime driver;
    glCompileShader(object);
  }
  const bool done = ReadOutcome(object, glGetShaderiv, GL_COMPILE_STATUS, glGetShaderInfoLog, log);
  if (done) glAttachShader(program, object);
  glDeleteShader(object);
  return done;
}

unsigned cRenderGL::LinkProgram(const ShaderFile& file, const cStr& defines, cStr& log) const {
  GlDebug::Attempt attempt(m_Debug);  // what does not compile is the file's error
  const GLuint program = glCreateProgram();
  LogInfo("Compiling VS...");
  bool done = CompileStage(program, GL_VERTEX_SHADER, MakeShaderSource(file.Vertex, defines), log);
  if (done) {
    LogInfo("Compiling FS...");
    done = CompileStage(program, GL_FRAGMENT_SHADER, MakeShaderSource(file.Fragment, defines), log);
  }
  if (done) {
    LogInfo("Linking program...");
    for (GLuint slot = 0; slot < std::size(AttributeNames); slot++) glBindAttribLocation(program, slot, AttributeNames[slot]);
    glBindFragDataLocation(program, 0, "o_Color");
    const DriverTime driver;
    glLinkProgram(program);
    done = ReadOutcome(program, glGetProgramiv, GL_LINK_STATUS, glGetProgramInfoLog, log);
  }
  if (done) return program;
  glDeleteProgram(program);
  return 0;
}

static bool IsSampler(GLenum type) {
  return type == GL_SAMPLER_1D || type == GL_SAMPLER_2D || type == GL_SAMPLER_3D || type == GL_SAMPLER_CUBE;
}

// Reads what a new program declares. Constants and slots of samplers that the program of before had stay as they were.
void cRenderGL::ReadUniforms(Shader& shader) {
  cList<Uniform> before;
  before.swap(shader.Uniforms);
  GLint count = 0;
  glGetProgramiv(shader.Program, GL_ACTIVE_UNIFORMS, &count);
  for (GLint i = 0; i < count; i++) {
    char name[256];
    GLint size = 0;
    Uniform uniform;
    glGetActiveUniform(shader.Program, GLuint(i), sizeof name, nullptr, &size, &uniform.Type, name);
    uniform.Location = glGetUniformLocation(shader.Program, name);
    if (uniform.Location < 0) continue;
    uniform.Name = name;
    uniform.Name.resize(std::min(uniform.Name.find('['), uniform.Name.size()));  // arrays are called by their first element
    shader.Uniforms.push_back(uniform);
  }
  std::sort(shader.Uniforms.begin(), shader.Uniforms.end(), [](const Uniform& a, const Uniform& b) { return a.Name < b.Name; });

  BindProgram(shader.Program);
  uint64_t usedUnits = 0;  // 32 of each stage at most
  for (Uniform& uniform : shader.Uniforms) {
    const auto old = std::find_if(before.begin(), before.end(),
                                  [&](const Uniform& u) { return u.Name == uniform.Name && u.Type == uniform.Type; });
    if (old == before.end()) continue;
    uniform.TextureUnit = old->TextureUnit;
    if (uniform.TextureUnit >= 0) usedUnits |= uint64_t(1) << uniform.TextureUnit;
    if (old->Count > 0) SetFloats(uniform, old->Values, old->Count);
  }
  for (Uniform& uniform : shader.Uniforms) {
    if (!IsSampler(uniform.Type)) continue;
    for (int unit = 0; uniform.TextureUnit < 0; unit++)
      if (!(usedUnits & uint64_t(1) << unit)) usedUnits |= uint64_t(1) << (uniform.TextureUnit = unit);
    glUniform1i(uniform.Location, uniform.TextureUnit);
  }

  shader.Standard.clear();
  shader.Fresh = true;
  for (size_t i = 0; i < shader.Uniforms.size(); i++)
    for (int k = 0; k < StandardUniformCount; k++)
      if (shader.Uniforms[i].Name == StandardUniformNames[k]) shader.Standard.push_back({StandardUniform(k), i});
}

void cRenderGL::BindProgram(unsigned program) {
  if (program == m_BoundProgram) return;
  glUseProgram(program);
  m_BoundProgram = program;
}

// The log tells a file's fault once, however many variants are made of it; the developer's list has each of them.
void cRenderGL::RecordFailure(const Shader& shader, const cStr& log) {
  const cStr block =
      Format("shader: %s\ndefines: %s\ncompiling log:\n%s", shader.Name.c_str(), shader.Defines.c_str(), log.c_str());
  if (cStr& told = m_ToldFailures[shader.Name]; told != log) LogError("%s", (told = log, block).c_str());
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

}  // namespace comms
