#pragma once
// The renderable mesh. The surface, retopology, primitive and preview code fill one from their own data; it knows no files.
//
// Vertices and indices are staged on the heap and become objects of the render back end at the next Flush or Draw. Where there is
// no back end the staged data simply stays, so meshes can be built and read without a display.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "comms/Vec.h"
#include "comms/VertexLayout.h"

namespace comms {

class cRender;

class BaseMesh {
 public:
  static constexpr int TextureStages = 8;
  /// Drawing modes, equal to the vertices of one primitive.
  enum : int { PointList = 1, LineList = 2, TriangleList = 3 };

  BaseMesh() = default;
  /// A mesh of triangles with room for exactly `vertexTotal` vertices and `indexTotal` 32-bit indices, filled by Append. `layout`
  /// outlives the mesh.
  BaseMesh(size_t vertexTotal, size_t indexTotal, const VertexLayout& layout);
  virtual ~BaseMesh();
  BaseMesh(const BaseMesh&) = delete;
  BaseMesh& operator=(const BaseMesh&) = delete;

  /// Adds vertices (`vertexCount` times the stride) and indices that count from the first of them; the part so far is added to
  /// each index. The totals of the constructor hold.
  void Append(const void* vertices, size_t vertexCount, const uint16_t* indices, size_t indexCount);
  /// Ends the appending. The counts announced and the counts appended are equal.
  void Finish();

  /// Replaces what is staged by copies. NumVertices, NumIndices and, where given, VertexDecl follow. Indices are triples for
  /// triangles; with both kinds in buffers the 16-bit ones, bound last, are drawn.
  void StageVertices(const void* vertices, size_t count, const VertexLayout& layout);
  void StageIndices16(const uint16_t* indices, size_t count);
  void StageIndices32(const uint32_t* indices, size_t count);

  /// Turns each staged block into an object of the back end and frees it (with KeepStaged it stays); an old object is released
  /// first, and a count of zero gives -1. Buffers that the device lost are given up; with KeepStaged they are made anew. Nothing
  /// happens where `render` is null. Main thread.
  void Flush(cRender* render);
  /// Flushes, binds shader and textures and draws whole. Main thread.
  virtual void Draw(cRender* render);
  /// Gives the objects of the back end back, if it still exists. Staged data stays.
  void ReleaseBuffers();
  bool HasBuffers() const { return VertexBuffer >= 0; }

  /// First staged position, three floats; the next one is VertexDecl->Stride bytes on. Null where nothing is staged or the layout
  /// has no position of at least three floats.
  const uint8_t* StagedPositions() const;
  /// Box of the staged positions. False where there is none.
  bool GetBounds(cVec3& minimum, cVec3& maximum) const;
  /// Staged bytes on the heap.
  size_t Bytes() const;

  int PrimitiveType = TriangleList;
  bool KeepStaged = false;  ///< staged blocks outlive Flush: the mesh can move to another device
  const VertexLayout* VertexDecl = nullptr;
  int VertexBuffer = -1, IndexBuffer16 = -1, IndexBuffer32 = -1;
  int NumIndices = 0, NumVertices = 0;
  std::unique_ptr<uint8_t[]> StagedVertices;
  std::unique_ptr<uint16_t[]> StagedIndices16;
  std::unique_ptr<uint32_t[]> StagedIndices32;
  int Shader = -1;
  int TexParam[TextureStages] = {};  ///< shader parameter of texture stage i; -1 leaves the stage out
  int Tex[TextureStages] = {-1, -1, -1, -1, -1, -1, -1, -1};
  int TexSampler[TextureStages] = {-1, -1, -1, -1, -1, -1, -1, -1};

 private:
  void DrawPrimitives(cRender& render);
  int m_AppendedVertices = 0, m_AppendedIndices = 0;
  bool m_Uploaded = false;  // staged blocks that were kept are in the buffers already
  cRender* m_Render = nullptr;
  std::weak_ptr<void> m_RenderAlive;  // empty once m_Render is gone
  int m_Generation = 0;               // of the device when the buffers were last looked at
};

/// A mesh that stands in the scene, once or several times.
class StaticMesh : public BaseMesh {
 public:
  void Draw(cRender* render) override;
  bool Visible = true;
  bool Wireframe = false;  ///< its drawing leaves the plain fill state set
  cList<cMat4> Instances;  ///< placements before the world matrix; empty: once, as it is
};

}  // namespace comms
