#pragma once
// The render back end on OpenGL 3.3 core: the only door to OpenGL. It draws into the context that is current on the thread that
// calls Init; window or off-screen makes no difference to it.
#include <map>
#include <memory>
#include <mutex>

#include "comms/cRender.h"

namespace comms {

class cRenderGL : public cRender {
 public:
  struct Options {
    cStr DataFolder;  ///< holds "Shaders"
    cStr UserFolder;  ///< "UnknownShaders.txt" is written here; empty: failures go to the log alone
  };

  cRenderGL();
  ~cRenderGL() override;

  /// Takes the current context. Logs the report of the device. False with one sentence where the context does not serve.
  bool Init(const Options& options, cStr& error);
  /// Largest width and height of a target.
  int MaxTargetSize() const { return m_MaxTargetSize; }
  /// Whether a shader compiled and linked.
  bool IsShaderSound(int id) const;
  /// The device's name, for reports: "Vendor, Renderer".
  const cStr& DeviceName() const { return m_DeviceName; }

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

  int CreateTexture(const TextureDesc& desc, const void* pixels) override;
  int LoadTexture(const cStr& fileName) override;
  void UpdateTexture(int id, int x, int y, int width, int height, const void* pixels) override;
  void DeleteTexture(int id) override;
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
  void ReleaseBuffer(int handle) override;
  void SetVertexBuffer(int handle, const VertexLayout& layout) override;
  void SetIndexBuffer(int handle) override;

  int GetShaderID(const cStr& name, const cStr& defines) override;
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
    int Location = -1;
    unsigned Type = 0;
    int TextureUnit = -1;  // of samplers
  };
  struct Shader {
    cStr Name, Defines;
    unsigned Program = 0;  // 0: did not compile, draws nothing
    std::map<cStr, Uniform, std::less<>> Uniforms;
    cList<std::pair<StandardUniform, Uniform>> Standard;
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
  struct Buffer {
    unsigned Object = 0;
    BufferKind Kind = BufferKind::Vertex;
    size_t ElementBytes = 0;
  };

  // shaders
  void CompileShader(Shader& shader);
  unsigned LinkProgram(const Shader& shader, cStr& log);
  void ReadUniforms(Shader& shader);
  void RecordFailure(const Shader& shader, const cStr& log) const;
  void AppendToUnknownShaders(const cStr& text) const;
  void SetFloats(const Uniform& uniform, const float* values, int count);
  void SetNamed(const char* name, const float* values, int count);
  bool PrepareDraw();
  // textures
  bool UploadTexture(Texture& texture, const void* pixels);
  int AddTexture(Texture texture);
  bool ReadTextureFile(Texture& texture);
  const Texture* FindTexture(int id) const;
  bool AttachTextures(Target& target);
  bool AttachBuffers(Target& target);
  void FreeReleasedBuffers();

  Options m_Options;
  cStr m_DeviceName;
  int m_MaxTargetSize = 0, m_MaxSamples = 1;
  float m_MaxAnisotropy = 1;
  bool m_HasDxt = false;
  unsigned m_VertexArray = 0;
  cList<DepthState> m_DepthStates;
  cList<BlendState> m_BlendStates;
  cList<FillState> m_FillStates;
  cList<Shader> m_Shaders;
  cList<Texture> m_Textures;
  cList<Target> m_Targets;
  cList<Buffer> m_Buffers;
  cList<int> m_FreeBuffers;
  std::mutex m_ReleasedMutex;
  cList<int> m_ReleasedBuffers;  // waiting for the main thread
  struct Sampler {
    TextureFilter Filter;
    AddressMode Address;
    unsigned Object;
  };
  cList<Sampler> m_Samplers;
  int m_CurrentShader = -1, m_CurrentTarget = -1, m_CurrentDepth = -1, m_CurrentBlend = -1, m_IndexElementBytes = 0;
};

}  // namespace comms
