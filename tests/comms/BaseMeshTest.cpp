#include "comms/BaseMesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "comms/cRenderNull.h"

using namespace comms;

namespace {

const VertexLayout PlainLayout{
    28, {{VertexUsage::Position, VertexFormat::Float3, 0}, {VertexUsage::Normal, VertexFormat::Float3, 12}}};

void StageTriangle(BaseMesh& mesh) {
  const float positions[3][7] = {{0, 0, 0}, {1, 0, 0}, {0, 2, -1}};
  const uint16_t indices[3] = {0, 1, 2};
  mesh.StageVertices(positions, 3, PlainLayout);
  mesh.StageIndices16(indices, 3);
}

}  // namespace

TEST(BaseMesh, AppendedPartsLieBehindEachOther) {
  const cList<size_t> parts = {5, 0, 1, 33, 65535, 7};  // vertices, and as many indices
  size_t total = 0;
  for (const size_t count : parts) total += count;
  BaseMesh mesh(total, total, PlainLayout);
  cList<uint8_t> expectedVertices;
  cList<uint32_t> expectedIndices;
  for (const size_t count : parts) {
    const uint32_t base = uint32_t(expectedIndices.size());
    const cList<uint8_t> vertices(count * PlainLayout.Stride, uint8_t(count));
    cList<uint16_t> indices(count);
    for (size_t i = 0; i < count; i++) {
      indices[i] = uint16_t(count - 1 - i);
      expectedIndices.push_back(base + indices[i]);
    }
    expectedVertices.insert(expectedVertices.end(), vertices.begin(), vertices.end());
    mesh.Append(vertices.data(), count, indices.data(), count);
  }
  mesh.Finish();
  EXPECT_EQ(std::memcmp(mesh.StagedVertices.get(), expectedVertices.data(), expectedVertices.size()), 0);
  EXPECT_EQ(std::memcmp(mesh.StagedIndices32.get(), expectedIndices.data(), total * 4), 0);
  EXPECT_EQ(mesh.Bytes(), expectedVertices.size() + total * 4);
}

TEST(BaseMesh, FlushMovesTheStagedBlocksAndReplacesOldOnes) {
  cRenderNull render;
  BaseMesh mesh;
  StageTriangle(mesh);
  mesh.Draw(nullptr);
  cVec3 minimum, maximum;
  ASSERT_TRUE(mesh.GetBounds(minimum, maximum)) << "without a device all stays on the heap";
  EXPECT_EQ(minimum, (cVec3{0, 0, -1}));
  EXPECT_EQ(maximum, (cVec3{1, 2, 0}));
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"CreateBuffer 0 2 3", "CreateBuffer 1 28 3", "SetVertexBuffer 1 28", "SetIndexBuffer 0",
                                       "DrawIndexed 3 0 3"}));
  EXPECT_FALSE(mesh.StagedVertices || mesh.StagedIndices16);
  EXPECT_EQ(render.Buffers[1].Data.size(), 84u);

  StageTriangle(mesh);
  render.Calls.clear();
  mesh.Flush(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"ReleaseBuffer 0", "CreateBuffer 2 2 3", "ReleaseBuffer 1", "CreateBuffer 3 28 3"}));

  mesh.StageVertices(nullptr, 0, PlainLayout);
  mesh.StageIndices16(nullptr, 0);
  render.Calls.clear();
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"ReleaseBuffer 2", "ReleaseBuffer 3", "SetVertexBuffer -1 28"}));
}

TEST(BaseMesh, BuffersEndWithTheMeshOrWithTheDevice) {
  auto render = std::make_unique<cRenderNull>();
  {
    BaseMesh mesh;
    StageTriangle(mesh);
    mesh.Draw(render.get());
    EXPECT_EQ(render->AliveBuffers(), 2);
  }
  EXPECT_EQ(render->AliveBuffers(), 0);
  BaseMesh kept;
  kept.KeepStaged = true;
  StageTriangle(kept);
  kept.Draw(render.get());
  kept.Draw(render.get());
  EXPECT_EQ(render->AliveBuffers(), 2) << "what is kept is sent once";
  render.reset();
  cRenderNull next;
  kept.Draw(&next);
  EXPECT_EQ(next.AliveBuffers(), 2) << "what is kept moves to the next device";
  for (const bool loses : {false, true}) {
    const int before = kept.VertexBuffer;
    next.LosesBuffers = loses;
    next.Unload();
    next.Reload();
    kept.Draw(&next);
    EXPECT_EQ(kept.VertexBuffer != before, loses);
  }
  EXPECT_EQ(next.AliveBuffers(), 2);
  const ColoredPoint points[4] = {};
  next.DrawLines(points, 4);
  next.DrawLines(points, 2);
  EXPECT_EQ(next.Calls.back(), "Draw 2 0 2");
  EXPECT_EQ(next.AliveBuffers(), 3) << "one buffer for all lines";
}

TEST(BaseMesh, DrawsByModeIndicesAndStages) {
  cRenderNull render;
  BaseMesh mesh;
  StageTriangle(mesh);
  const uint32_t wide[3] = {2, 1, 0};
  mesh.StageIndices32(wide, 3);
  mesh.Flush(&render);
  mesh.Shader = 4;
  mesh.Tex[0] = 10, mesh.TexParam[0] = -1;
  mesh.Tex[2] = 12, mesh.TexParam[2] = 1, mesh.TexSampler[2] = 6;
  render.Calls.clear();
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"SetShader 4", "SetTexture 1 12 6", "SetVertexBuffer 2 28", "SetIndexBuffer 1",
                                       "SetIndexBuffer 0", "DrawIndexed 3 0 3"}));
  mesh.PrimitiveType = BaseMesh::PointList;
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls.back(), "Draw 1 0 3") << "points take no indices";
  BaseMesh bare;
  bare.StageVertices(cList<uint8_t>(28 * 6).data(), 6, PlainLayout);
  bare.Draw(&render);
  EXPECT_EQ(render.Calls.back(), "Draw 3 0 6");
}

TEST(StaticMesh, StandsAtItsPlacementsAndLeavesTheStateAsItWas) {
  cRenderNull render;
  render.State.World = cMat4::Translation({1, 0, 0});
  StaticMesh mesh;
  StageTriangle(mesh);
  mesh.Instances = {cMat4::Scale(2), cMat4::Scale(3)};
  mesh.Wireframe = true;
  mesh.Draw(&render);
  EXPECT_EQ(std::count(render.Calls.begin(), render.Calls.end(), "DrawIndexed 3 0 3"), 2);
  EXPECT_EQ(render.Calls.front(), "SetFillState wire");
  EXPECT_EQ(render.Calls.back(), "SetFillState solid");
  EXPECT_EQ(render.State.World, cMat4::Translation({1, 0, 0}));
  mesh.Visible = false;
  render.Calls.clear();
  mesh.Draw(&render);
  EXPECT_TRUE(render.Calls.empty());
}
