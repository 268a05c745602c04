#pragma once
// The render back end as the rest of the system sees it: integer handles and the operations on them. Nothing here knows a
// graphics library; comms/render holds the back end that does, and one that only takes notes. A handle is >= 0; -1 stands for
// none, and every operation on a handle that is not there does nothing.
//
// All calls are on the main thread, ReleaseBuffer excepted.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "comms/Image.h"
#include "comms/RenderState.h"
#include "comms/Str.h"
#include "comms/TextureFormat.h"
#include "comms/Vec.h"
#include "comms/VertexLayout.h"

namespace comms {

enum class BufferKind { Vertex, Index };

struct DepthState {
  bool Test = true, Write = true;
  bool LessEqual = true;  ///< false: less
  friend bool operator==(const DepthState&, const DepthState&) = default;
};
enum class BlendMode { Opaque, Alpha, PremultipliedAlpha, Additive, Multiply };
struct BlendState {
  BlendMode Mode = BlendMode::Opaque;
  bool WriteColor = true;
  friend bool operator==(const BlendState&, const BlendState&) = default;
};
enum class CullMode { None, Back, Front };
struct FillState {
  CullMode Cull = CullMode::None;  ///< front faces run counter-clockwise as seen
  bool Wireframe = false;
  friend bool operator==(const FillState&, const FillState&) = default;
};

struct TextureDesc {
  TextureFormat Format = TextureFormat::Rgba8;
  int Width = 0, Height = 0;
  TextureFilter Filter = TextureFilter::Linear;  ///< the three-level filters build the smaller levels
  AddressMode Address = AddressMode::Wrap;
};

/// An off-screen target: one colour texture and, unless DepthFormat is None, one of depth. Both can be sampled, except with
/// Samples above 1: such a target is resolved into another one of the same size first.
struct TargetDesc {
  int Width = 0, Height = 0;
  TextureFormat ColorFormat = TextureFormat::Rgba8, DepthFormat = TextureFormat::Depth24;
  TextureFilter Filter = TextureFilter::Nearest;
  int Samples = 1;
};

class cRender {
 public:
  cRender() : m_Alive(std::make_shared<char>()) {}
  virtual ~cRender() = default;
  cRender(const cRender&) = delete;
  cRender& operator=(const cRender&) = delete;

  /// Expires with this object, so that owners of handles know whether there is still somebody to give them back to.
  std::weak_ptr<void> Alive() const { return m_Alive; }

  // --- frame -------------------------------------------------------------------------------------------------------------
  virtual void BeginFrame(double timeSec) = 0;
  virtual void EndFrame() = 0;

  // --- state objects: equal descriptions give the same id ------------------------------------------------------------------
  virtual int CreateDepthState(const DepthState& state) = 0;
  virtual int CreateBlendState(const BlendState& state) = 0;
  virtual int CreateFillState(const FillState& state) = 0;
  virtual void SetDepthState(int id) = 0;
  virtual void SetBlendState(int id) = 0;
  virtual void SetFillState(int id) = 0;

  // --- viewport and clear --------------------------------------------------------------------------------------------------
  /// In pixels of the current target, from its lower left corner; the standard uniforms follow.
  virtual void SetViewport(int x, int y, int width, int height) = 0;
  virtual void Clear(const cVec4& color, float depth) = 0;

  // --- textures ------------------------------------------------------------------------------------------------------------
  /// `pixels` are rows from top to bottom without padding, in the layout of the format; null leaves the content open. -1 with a
  /// line in the log where the size does not fit the format or the device.
  virtual int CreateTexture(const TextureDesc& desc, const void* pixels) = 0;
  /// Loads a picture file once; the same name gives the same id. -1 with a line in the log where it can't be read.
  virtual int LoadTexture(const cStr& fileName) = 0;
  virtual void UpdateTexture(int id, int x, int y, int width, int height, const void* pixels) = 0;
  virtual void DeleteTexture(int id) = 0;
  /// Before the device changes: gives up all device objects of textures and shaders, keeping ids and sources ...
  virtual void Unload() = 0;
  /// ... and makes them anew.
  virtual void Reload() = 0;

  // --- render targets ------------------------------------------------------------------------------------------------------
  /// -1 with a line in the log where the device can't.
  virtual int CreateTarget(const TargetDesc& desc) = 0;
  virtual void SetTarget(int id) = 0;
  virtual int GetTargetTexture(int id) const = 0;
  virtual int GetTargetDepth(int id) const = 0;
  virtual void ResolveTarget(int from, int to) = 0;
  /// Reads the colours back, rows from the top. False where the target has no 8-bit colours.
  virtual bool ReadTarget(int id, cImage& image) = 0;
  virtual void DeleteTarget(int id) = 0;

  // --- buffers -------------------------------------------------------------------------------------------------------------
  /// Copies `count` elements. Index elements are 2 or 4 bytes.
  virtual int CreateBuffer(BufferKind kind, size_t elementBytes, size_t count, const void* data) = 0;
  /// From any thread.
  virtual void ReleaseBuffer(int handle) = 0;
  virtual void SetVertexBuffer(int handle, const VertexLayout& layout) = 0;
  virtual void SetIndexBuffer(int handle) = 0;

  // --- shaders -------------------------------------------------------------------------------------------------------------
  /// Id of the shader file `name` with `defines`, one a line ("#define SRC_2D"); compiled at the first call. Always a valid id:
  /// one that did not compile draws nothing.
  virtual int GetShaderID(const cStr& name, const cStr& defines = {}) = 0;
  virtual void SetShader(int id) = 0;
  /// Slot of a sampler ("s_Decal") of the current shader for SetTexture; -1 where it has none.
  virtual int GetTextureParam(const char* name) = 0;
  /// `sampler` -1: filter and address mode that the texture was made with.
  virtual void SetTexture(int param, int texture, int sampler = -1) = 0;
  virtual int CreateSampler(TextureFilter filter, AddressMode address) = 0;
  // Constants of the current shader by name ("c_Alpha"); a name that it does not have is passed over.
  virtual void SetConstant(const char* name, float value) = 0;
  virtual void SetConstant(const char* name, const cVec2& value) = 0;
  virtual void SetConstant(const char* name, const cVec3& value) = 0;
  virtual void SetConstant(const char* name, const cVec4& value) = 0;
  virtual void SetConstant(const char* name, const cMat4& value) = 0;

  // --- drawing -------------------------------------------------------------------------------------------------------------
  /// `mode` is one of BaseMesh's drawing modes: vertices of one primitive. Standard uniforms are taken from State at this moment.
  virtual void Draw(int mode, int firstVertex, int vertexCount) = 0;
  virtual void DrawIndexed(int mode, int firstIndex, int indexCount) = 0;

  /// What the standard uniforms are made from. Matrices, viewer and texture matrices are free to set; time and viewport follow
  /// BeginFrame and SetViewport.
  RenderState State;

 private:
  std::shared_ptr<void> m_Alive;
};

}  // namespace comms
