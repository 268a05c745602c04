#pragma once
// The render back end on OpenGL 3.3 core: the only door to OpenGL. It draws into the context that is current on the thread that
// calls Init; window or off-screen makes no difference to it. It remembers what is set in the context, so nobody else may set
// anything there. Device, states and frames are in cRenderGL.cpp, the rest in RenderTextures.cpp, RenderTargets.cpp,
// RenderBuffers.cpp, RenderShaders.cpp and RenderConstants.cpp.
#include <map>
#include <memory>
#include <mutex>

#include "comms/cRender.h"
#include "comms/render/GlDebug.h"
#include "comms/render/ShaderFile.h"

namespace comms {

class cRenderGL : public cRender {
 public:
  struct Options {
    cStr DataFolder;  ///< holds "Shaders"
    cStr UserFolder;  ///< "UnknownShaders.txt" is written here; empty: failures go to the log alone
  };

  cRenderGL();
  ~cRenderGL() override;

  /// Takes the current context. Logs the report of the device. Compiles what "Shaders/PC/Cache.txt" of the data folder names, if
  /// it is there. False with one sentence (what the driver offers, what is missing) where the context does not serve.
  bool Init(const Options& options, cStr& error);
  /// Largest width and height of a target.
  int MaxTargetSize() const { return m_MaxTargetSize; }
  /// Whether a shader compiled and linked.
  bool IsShaderSound(int id) const;
  /// The device's name, for reports: "Vendor, Renderer".
  const cStr& DeviceName() const { return m_DeviceName; }
  /// Errors of OpenGL so far, each a mistake of a caller or of this back end; a texture or target that the device refuses is
  /// none. Counted at once where the driver reports them (see GlDebug), else at EndFrame.
  int GlErrorCount() const { return m_Debug.ErrorCount(); }

  /// State counts the time from the first frame.
  void BeginFrame(double timeSec) override;
  void EndFrame() override;

  int CreateDepthState(const DepthState& state) override;
  int CreateBlendState(const BlendState& state) override;
  int CreateFillState(const FillState& state) override;
  void SetDepthState(int id) override;
  void SetBlendState(int id) override;
  void SetFillState(int id) override;

  void SetViewport(int x, int y, int width, int height) override;
  void Clear(const cVec4& color, float depth) override;
  void ClearDepth(float depth) override;
  void SetScissor(int x, int y, int width, int height) override;

  int CreateTexture(const TextureDesc& desc, const void* pixels) override;
  int LoadTexture(const cStr& fileName) override;
  cStr GetTextureName(int id) const override;
  void UpdateTexture(int id, int x, int y, int width, int height, const void* pixels) override;
  void DeleteTexture(int id) override;
  bool IsLost() const override;
  void Unload() override;
  void Reload() override;

  int CreateTarget(const TargetDesc& desc) override;
  void SetTarget(int id) override;
  int GetTargetTexture(int id) const override;
  int GetTargetDepth(int id) const override;
  void ResolveTarget(int from, int to) override;
  bool ReadTarget(int id, cImage& image) override;
  void DeleteTarget(int id) override;

  int CreateBuffer(BufferKind kind, size_t elementBytes, size_t count, const void* data) override;
  bool HasBuffer(int handle) const override;
  void UpdateBuffer(int handle, size_t count, const void* data) override;
  void ReleaseBuffer(int handle) override;
  void SetVertexBuffer(int handle, const VertexLayout& layout) override;
  void SetIndexBuffer(int handle) override;

  int GetShaderID(const cStr& name, const cStr& defines) override;
  int ReloadChangedShaders() override;
  void SetShader(int id) override;
  int GetTextureParam(const char* name) override;
  void SetTexture(int param, int texture, int sampler) override;
  int CreateSampler(TextureFilter filter, AddressMode address) override;
  void SetConstant(const char* name, float value) override;
  void SetConstant(const char* name, const cVec2& value) override;
  void SetConstant(const char* name, const cVec3& value) override;
  void SetConstant(const char* name, const cVec4& value) override;
  void SetConstant(const char* name, const cMat4& value) override;

  void Draw(int mode, int firstVertex, int vertexCount) override;
  void DrawIndexed(int mode, int firstIndex, int indexCount) override;

 private:
  struct Uniform {
    cStr Name;
    int Location = -1;
    unsigned Type = 0;
    int TextureUnit = -1;  // of samplers
    int Count = 0;         // of Values that the program has; 0: not set yet
    float Values[16] = {};
  };
  struct StandardUse {
    StandardUniform Which;
    size_t Uniform;  // among the shader's
  };
  struct Shader {
    cStr Name, Defines;
    FileStamp Stamp;          // of the file when it was last read
    ShaderFile File;          // texts of the last program that linked
    unsigned Program = 0;     // 0: did not compile, draws nothing
    cList<Uniform> Uniforms;  // by name
    cList<StandardUse> Standard;
    RenderState Seen;  // what the standard uniforms were last made from
    bool Fresh = true;
  };
  struct Texture {
    TextureDesc Desc;
    cStr FileName;
    cList<uint8_t> Source;  // what it was made from, for Reload
    unsigned Object = 0;
    bool Used = false;
    bool OfTarget = false;
  };
  struct Target {
    TargetDesc Desc;
    unsigned Framebuffer = 0, ColorBuffer = 0, DepthBuffer = 0;  // the buffers are for Samples > 1
    int ColorTexture = -1, DepthTexture = -1;
    bool Used = false;
  };
  struct VertexArray {
    size_t Layout = 0;  // in m_Layouts
    unsigned Object = 0;
    uint64_t IndexSerial = 0;  // of the index buffer that is bound in it
  };
  struct Buffer {
    BufferKind Kind = BufferKind::Vertex;
    size_t ElementBytes = 0, Bytes = 0;
    bool Used = false;
    unsigned Object = 0;
    uint64_t Serial = 0;  // no two buffers ever have the same; 0: none
    cList<VertexArray> Arrays;
    cList<uint8_t> Kept;  // content while there is no device
  };
  struct Sampler {
    TextureFilter Filter;
    AddressMode Address;
    unsigned Object;
  };
  struct TextureUnit {
    unsigned Texture = 0, Sampler = 0;
  };
  struct PixelBox {
    int X = 0, Y = 0, Width = -1, Height = -1;
  };

  // device
  void SetUpDevice();
  void ReleaseObjects();
  void ApplyDepthState();
  void ApplyBlendState();
  void ApplyFillState();
  void CompileCacheList();
  // shaders
  cStr ShaderPath(const Shader& shader) const;
  bool CompileShader(Shader& shader, bool readFile);
  void UseProgram(Shader& shader, unsigned program, const ShaderFile& file);
  void UseShipped(Shader& shader);
  unsigned LinkProgram(const ShaderFile& file, const cStr& defines, cStr& log) const;
  void ReadUniforms(Shader& shader);
  void RecordFailure(const Shader& shader, const cStr& log);
  void AppendToUnknownShaders(const cStr& text) const;
  void BindProgram(unsigned program);
  // constants
  Shader* CurrentShader();
  static Uniform* FindUniform(Shader& shader, std::string_view name);
  void SetFloats(Uniform& uniform, const float* values, int count);
  void SetNamed(const char* name, const float* values, int count);
  void SetStandardUniforms(Shader& shader);
  // textures
  bool CheckTexture(const TextureDesc& desc) const;
  bool UploadTexture(Texture& texture, const void* pixels);
  int AddTexture(Texture texture);
  bool ReadTextureFile(Texture& texture);
  const Texture* FindTexture(int id) const;
  void BindForEdit(const Texture& texture);
  void ActivateUnit(unsigned unit);
  void DeleteTextureObject(Texture& texture);
  void MakeSampler(Sampler& sampler);
  int ReloadTextures();
  // targets
  const Target* FindTarget(int id) const;
  bool BuildTarget(Target& target);
  void BindTarget();
  bool AttachBuffers(Target& target);
  static void DeleteTargetObjects(Target& target);
  // buffers
  Buffer* FindBuffer(int handle);
  void UploadBuffer(Buffer& buffer, const void* data, bool changesOften);
  void SaveBuffer(Buffer& buffer);
  void DeleteBufferObjects(Buffer& buffer);
  void FreeReleasedBuffers();
  size_t FindLayout(const VertexLayout& layout);
  VertexArray& FindVertexArray(Buffer& buffer, size_t layout);
  bool PrepareDraw(const Buffer* indices);

  Options m_Options;
  cStr m_DeviceName;
  int m_MaxTargetSize = 0, m_MaxSamples = 1;
  float m_MaxAnisotropy = 1;
  bool m_HasDxt = false, m_HasKhrRobustness = false, m_HasArbRobustness = false;
  bool m_Loaded = false;                     // objects are on the device
  double m_FirstTime = -1, m_LastTime = -1;  // of the frames
  mutable GlDebug m_Debug;
  cList<DepthState> m_DepthStates;
  cList<BlendState> m_BlendStates;
  cList<FillState> m_FillStates;
  cList<Shader> m_Shaders;
  std::map<cStr, cStr> m_ToldFailures;  ///< by shader name, what the log said of it last
  cList<Texture> m_Textures;
  cList<Target> m_Targets;
  cList<Buffer> m_Buffers;
  cList<int> m_FreeBuffers;
  std::mutex m_ReleasedMutex;
  cList<int> m_ReleasedBuffers;  // waiting for the main thread
  cList<Sampler> m_Samplers;
  cList<VertexLayout> m_Layouts;
  uint64_t m_LastSerial = 0;
  // what the caller set ...
  int m_CurrentShader = -1, m_CurrentTarget = -1, m_CurrentDepth = -1, m_CurrentBlend = -1, m_CurrentFill = -1;
  int m_CurrentVertices = -1, m_CurrentIndices = -1;
  size_t m_CurrentLayout = 0;
  PixelBox m_Viewport, m_Scissor;
  // ... and what the context has, for leaving out what changes nothing
  unsigned m_BoundProgram = 0, m_ActiveUnit = 0;
  cList<TextureUnit> m_Units;
  VertexArray m_NoVertices;      // for shaders that make their vertices from the number alone
  uint64_t m_BoundVertices = 0;  // serial of the buffer of the bound vertex array; 0: m_NoVertices
  size_t m_BoundLayout = 0;
};

}  // namespace comms
