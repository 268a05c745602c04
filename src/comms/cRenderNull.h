#pragma once
// A render back end without a device: hands out handles, checks that they are used as promised and takes notes of what would have
// been drawn. Stands behind cRender in tests and where there is no display.
#include "comms/cRender.h"

namespace comms {

class cRenderNull : public cRender {
 public:
  void BeginFrame(double timeSec) override;
  void EndFrame() override { Note("EndFrame"); }

  int CreateDepthState(const DepthState& state) override { return FindOrAdd(m_DepthStates, state); }
  int CreateBlendState(const BlendState& state) override { return FindOrAdd(m_BlendStates, state); }
  int CreateFillState(const FillState& state) override { return FindOrAdd(m_FillStates, state); }
  void SetDepthState(int id) override { Note("SetDepthState %d", id); }
  void SetBlendState(int id) override { Note("SetBlendState %d", id); }
  void SetFillState(int id) override;

  void SetViewport(int x, int y, int width, int height) override;
  void Clear(const cVec4&, float) override { Note("Clear"); }
  void ClearDepth(float) override { Note("ClearDepth"); }
  void SetScissor(int x, int y, int width, int height) override { Note("SetScissor %d %d %d %d", x, y, width, height); }

  int CreateTexture(const TextureDesc& desc, const void* pixels) override;
  int LoadTexture(const cStr& fileName) override;
  cStr GetTextureName(int id) const override;
  void UpdateTexture(int id, int x, int y, int width, int height, const void* pixels) override;
  void DeleteTexture(int id) override { Note("DeleteTexture %d", id); }
  void Unload() override;
  void Reload() override;

  int CreateTarget(const TargetDesc& desc) override;
  void SetTarget(int id) override { Note("SetTarget %d", id); }
  int GetTargetTexture(int) const override { return -1; }
  int GetTargetDepth(int) const override { return -1; }
  void ResolveTarget(int from, int to) override { Note("ResolveTarget %d %d", from, to); }
  bool ReadTarget(int, cImage&) override { return false; }
  void DeleteTarget(int id) override { Note("DeleteTarget %d", id); }

  int CreateBuffer(BufferKind kind, size_t elementBytes, size_t count, const void* data) override;
  bool HasBuffer(int handle) const override {
    return size_t(handle) < Buffers.size() && Buffers[size_t(handle)].Alive && !Buffers[size_t(handle)].Lost;
  }
  void UpdateBuffer(int handle, size_t count, const void* data) override;
  void ReleaseBuffer(int handle) override;
  void SetVertexBuffer(int handle, const VertexLayout& layout) override;
  void SetIndexBuffer(int handle) override;

  int GetShaderID(const cStr& name, const cStr& defines) override { return FindOrAdd(m_Shaders, name + '\n' + defines); }
  int ReloadChangedShaders() override { return 0; }
  void SetShader(int id) override { Note("SetShader %d", id); }
  int GetTextureParam(const char* name) override { return FindOrAdd(m_Params, cStr(name)); }
  void SetTexture(int param, int texture, int sampler) override;
  int CreateSampler(TextureFilter, AddressMode) override { return 0; }
  void SetConstant(const char* name, float) override { Note("SetConstant %s", name); }
  void SetConstant(const char* name, const cVec2&) override { Note("SetConstant %s", name); }
  void SetConstant(const char* name, const cVec3&) override { Note("SetConstant %s", name); }
  void SetConstant(const char* name, const cVec4&) override { Note("SetConstant %s", name); }
  void SetConstant(const char* name, const cMat4&) override { Note("SetConstant %s", name); }

  void Draw(int mode, int firstVertex, int vertexCount) override;
  void DrawIndexed(int mode, int firstIndex, int indexCount) override;

  struct Buffer {
    BufferKind Kind = BufferKind::Vertex;
    size_t ElementBytes = 0, Count = 0;
    cList<uint8_t> Data;
    bool Alive = false, Lost = false;
  };
  /// Off: Calls stays as it is and buffers keep no content; their places are used again. For runs that are measured.
  bool TakesNotes = true;
  cList<cStr> Calls;      ///< one line a call, in order: name and handles
  cList<Buffer> Buffers;  ///< by handle; released ones stay with Alive false
  int AliveBuffers() const;
  bool LosesBuffers = false;  ///< Unload finds the device gone: the content of all buffers is lost

 private:
  template <class T>
  static int FindOrAdd(cList<T>& list, const T& value) {
    for (size_t i = 0; i < list.size(); i++)
      if (list[i] == value) return int(i);
    list.push_back(value);
    return int(list.size()) - 1;
  }
  template <class... Arguments>
  void Note(const char* format, Arguments... arguments) {
    if (!TakesNotes) return;
    if constexpr (sizeof...(arguments) == 0)
      Calls.emplace_back(format);
    else
      Calls.push_back(Format(format, arguments...));
  }
  cList<DepthState> m_DepthStates;
  cList<BlendState> m_BlendStates;
  cList<FillState> m_FillStates;
  cList<cStr> m_Shaders, m_Params;
  cList<cStr> m_TextureNames;  // by id; empty for those that no file was asked for
  cList<int> m_FreeBuffers;
  int m_NextTarget = 0, m_VertexBuffer = -1, m_IndexBuffer = -1;
};

}  // namespace comms
