#pragma once
// The render back end as the rest of the system sees it: integer handles and the operations on them. Nothing here knows a
// graphics library; comms/render holds the back end that does, and cRenderNull only takes notes. A handle is >= 0; -1 stands for
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

/// A corner of the lines of DrawLines.
struct ColoredPoint {
  cVec3 Position;
  cColor Color;
};
/// What DrawGrid draws: lines parallel to x and z on the plane at the height of Center, stronger at every tenth, with the axes of
/// the world among them. They fade towards the edge and where they would stand closer than pixels. Colours are linear light.
struct GridDesc {
  cVec3 Center;
  cVec2 Half{10, 10};  ///< half the sides along x and z
  float Spacing = 1;   ///< of the fine lines, world units, above 0
  cVec3 Color{0.5f, 0.5f, 0.5f}, AxisX{0.7f, 0.2f, 0.2f}, AxisZ{0.2f, 0.2f, 0.7f};
  float Alpha = 1;
};

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

enum class TextureKind {
  Flat,
  Line,    ///< one row: Height is 1
  Volume,  ///< Depth pictures, one behind the other
  Cube     ///< six square pictures, seen from within: +x, -x, +y, -y, +z, -z
};
struct TextureDesc {
  TextureFormat Format = TextureFormat::Rgba8;
  int Width = 0, Height = 0;
  TextureFilter Filter = TextureFilter::Linear;  ///< the three-level filters build the smaller levels
  AddressMode Address = AddressMode::Wrap;
  TextureKind Kind = TextureKind::Flat;
  int Depth = 1;  ///< of volumes
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
  /// Leaves the colours as they are.
  virtual void ClearDepth(float depth) = 0;
  /// Drawing and clearing reach only this part of the target, pixels from its lower left corner; a negative width ends that.
  virtual void SetScissor(int x, int y, int width, int height) = 0;

  // --- textures ------------------------------------------------------------------------------------------------------------
  /// `pixels` are rows from top to bottom without padding, in the layout of the format, the pictures of a volume or cube one
  /// behind the other; null leaves the content open. -1 with a line in the log where the size does not fit the format, the kind
  /// or the device.
  virtual int CreateTexture(const TextureDesc& desc, const void* pixels) = 0;
  /// Loads a picture file once; the same name gives the same id. -1 with a line in the log where it can't be read.
  virtual int LoadTexture(const cStr& fileName) = 0;
  /// The file that LoadTexture was asked for; empty for other textures.
  virtual cStr GetTextureName(int id) const = 0;
  /// Replaces a part of a flat texture or a line.
  virtual void UpdateTexture(int id, int x, int y, int width, int height, const void* pixels) = 0;
  virtual void DeleteTexture(int id) = 0;
  /// Whether the driver reset the device underneath the program, by a hang or in a sleep: all that was on it is gone. The way
  /// back is Unload, a new context, Reload. Devices that can't tell say false.
  virtual bool IsLost() const { return false; }
  /// Before the device changes: gives up all objects of the device, keeping every id and what it was made from. Buffers are read
  /// back from the device where it still answers. Until Reload nothing is drawn; creating, updating and deleting go on.
  virtual void Unload() = 0;
  /// On the new device: makes everything anew under the ids of before. Targets come back without their pictures.
  virtual void Reload() = 0;
  /// Rises with every Reload: who keeps a picture in a target draws it again, and a buffer for which HasBuffer is false then is
  /// filled again by its owner (UpdateBuffer) or released.
  int Generation() const { return m_Generation; }

  // --- render targets ------------------------------------------------------------------------------------------------------
  /// -1 with a line in the log where the device can't.
  virtual int CreateTarget(const TargetDesc& desc) = 0;
  virtual void SetTarget(int id) = 0;
  virtual int GetTargetTexture(int id) const = 0;
  virtual int GetTargetDepth(int id) const = 0;
  virtual void ResolveTarget(int from, int to) = 0;
  /// Reads the colours back, rows from the top. False where the target has no 8-bit colours.
  /// -1 stands for the window, of the size of the viewport.
  virtual bool ReadTarget(int id, cImage& image) = 0;
  virtual void DeleteTarget(int id) = 0;

  // --- buffers -------------------------------------------------------------------------------------------------------------
  /// Copies `count` elements. Index elements are 2 or 4 bytes.
  virtual int CreateBuffer(BufferKind kind, size_t elementBytes, size_t count, const void* data) = 0;
  /// Whether `handle` stands for a buffer whose content is there or will be after Reload. False after the loss of a device that
  /// did not give the content back.
  virtual bool HasBuffer(int handle) const = 0;
  /// Replaces the content of a buffer by `count` elements of the size that it was made with; for what changes every frame.
  virtual void UpdateBuffer(int handle, size_t count, const void* data) = 0;
  /// From any thread.
  virtual void ReleaseBuffer(int handle) = 0;
  virtual void SetVertexBuffer(int handle, const VertexLayout& layout) = 0;
  virtual void SetIndexBuffer(int handle) = 0;

  // --- shaders -------------------------------------------------------------------------------------------------------------
  /// Id of the shader file `name` with `defines`, one a line ("#define SRC_2D"); compiled at the first call. Always a valid id:
  /// one that did not compile draws nothing.
  virtual int GetShaderID(const cStr& name, const cStr& defines = {}) = 0;
  /// Compiles shaders anew whose files changed since they were read, and returns how many came out well. Ids, slots of samplers
  /// and constants stay. Where a changed file does not compile, the program of before stays in use, with one report a change.
  /// Costs one look at each file.
  virtual int ReloadChangedShaders() = 0;
  virtual void SetShader(int id) = 0;
  /// Slot of a sampler ("s_Decal") of the current shader for SetTexture; -1 where it has none.
  virtual int GetTextureParam(const char* name) = 0;
  /// `sampler` -1: filter and address mode that the texture was made with.
  virtual void SetTexture(int param, int texture, int sampler = -1) = 0;
  virtual int CreateSampler(TextureFilter filter, AddressMode address) = 0;
  // Constants of the current shader by name ("c_Alpha"); a name that it does not have is passed over. A shader keeps its
  // constants until they are set again, through Reload and ReloadChangedShaders, too.
  virtual void SetConstant(const char* name, float value) = 0;
  virtual void SetConstant(const char* name, const cVec2& value) = 0;
  virtual void SetConstant(const char* name, const cVec3& value) = 0;
  virtual void SetConstant(const char* name, const cVec4& value) = 0;
  virtual void SetConstant(const char* name, const cMat4& value) = 0;

  // --- drawing -------------------------------------------------------------------------------------------------------------
  /// `mode` is one of BaseMesh's drawing modes: vertices of one primitive. Standard uniforms are taken from State at this moment.
  virtual void Draw(int mode, int firstVertex, int vertexCount) = 0;
  virtual void DrawIndexed(int mode, int firstIndex, int indexCount) = 0;
  /// Lines through world space (State.World applies), two points each, `count` even; for handles and measures, not for masses.
  /// Shader and buffer are its own, depth, blend and fill state the caller's. Colours are written as they are.
  void DrawLines(const ColoredPoint* points, size_t count);
  /// One call, under the caller's states; the output is premultiplied. State.World does not apply.
  void DrawGrid(const GridDesc& grid);

  /// What the standard uniforms are made from. Matrices, viewer and texture matrices are free to set; time and viewport follow
  /// BeginFrame and SetViewport.
  RenderState State;

 protected:
  void RaiseGeneration() { m_Generation++; }

 private:
  std::shared_ptr<void> m_Alive;
  int m_Generation = 0;
  int m_LineBuffer = -1, m_LineShader = -1, m_GridShader = -1;
};

}  // namespace comms
