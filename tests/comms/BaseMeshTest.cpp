#include "comms/BaseMesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "comms/cRenderNull.h"

using namespace comms;

namespace {

const VertexLayout PlainLayout{
    28, {{VertexUsage::Position, VertexFormat::Float3, 0}, {VertexUsage::Normal, VertexFormat::Float3, 12}}};

cList<uint8_t> RandomVertices(std::mt19937& random, size_t count) {
  cList<uint8_t> bytes(count * PlainLayout.Stride);
  for (uint8_t& byte : bytes) byte = uint8_t(random());
  return bytes;
}

void StageTriangle(BaseMesh& mesh) {
  const float positions[3][7] = {{0, 0, 0}, {1, 0, 0}, {0, 2, -1}};
  const uint16_t indices[3] = {0, 1, 2};
  mesh.StageVertices(positions, 3, PlainLayout);
  mesh.StageIndices16(indices, 3);
}

}  // namespace

TEST(BaseMesh, AppendedPartsLieBehindEachOther) {
  std::mt19937 random(3);
  const cList<size_t> vertexCounts = {5, 0, 1, 33, 65535, 7}, indexCounts = {9, 0, 3, 127, 6, 0};
  size_t vertexTotal = 0, indexTotal = 0;
  for (size_t i = 0; i < vertexCounts.size(); i++) vertexTotal += vertexCounts[i], indexTotal += indexCounts[i];
  BaseMesh mesh(vertexTotal, indexTotal, PlainLayout);
  cList<uint8_t> expectedVertices;
  cList<uint32_t> expectedIndices;
  for (size_t part = 0; part < vertexCounts.size(); part++) {
    const cList<uint8_t> vertices = RandomVertices(random, vertexCounts[part]);
    cList<uint16_t> indices(indexCounts[part]);
    const uint32_t base = uint32_t(expectedVertices.size() / PlainLayout.Stride);
    for (uint16_t& index : indices) {
      index = uint16_t(random() % vertexCounts[part]);
      expectedIndices.push_back(base + index);
    }
    expectedVertices.insert(expectedVertices.end(), vertices.begin(), vertices.end());
    mesh.Append(vertices.data(), vertexCounts[part], indices.data(), indices.size());
  }
  mesh.Finish();
  ASSERT_EQ(mesh.NumVertices, int(vertexTotal));
  ASSERT_EQ(mesh.NumIndices, int(indexTotal));
  EXPECT_EQ(std::memcmp(mesh.StagedVertices.get(), expectedVertices.data(), expectedVertices.size()), 0);
  EXPECT_EQ(std::memcmp(mesh.StagedIndices32.get(), expectedIndices.data(), indexTotal * 4), 0);
  EXPECT_EQ(mesh.Bytes(), expectedVertices.size() + indexTotal * 4);
}

TEST(BaseMeshDeathTest, TotalsArePromises) {
  const uint8_t vertex[28] = {};
  const uint16_t index = 0;
  BaseMesh mesh(1, 1, PlainLayout);
  EXPECT_DEATH(mesh.Finish(), "assertion failed");
  EXPECT_DEATH(mesh.Append(vertex, 2, &index, 0), "assertion failed");
  mesh.Append(vertex, 1, &index, 1);
  EXPECT_DEATH(mesh.Append(vertex, 0, &index, 1), "assertion failed");
}

TEST(BaseMesh, StaysOnTheHeapWithoutADevice) {
  BaseMesh mesh;
  StageTriangle(mesh);
  mesh.Flush(nullptr);
  mesh.Draw(nullptr);
  ASSERT_TRUE(mesh.StagedVertices && mesh.StagedIndices16);
  cVec3 minimum, maximum;
  ASSERT_TRUE(mesh.GetBounds(minimum, maximum));
  EXPECT_EQ(minimum, (cVec3{0, 0, -1}));
  EXPECT_EQ(maximum, (cVec3{1, 2, 0}));
}

TEST(BaseMesh, FlushMovesTheStagedBlocksAndReplacesOldOnes) {
  cRenderNull render;
  BaseMesh mesh;
  StageTriangle(mesh);
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"CreateBuffer 0 2 3", "CreateBuffer 1 28 3", "SetVertexBuffer 1 28", "SetIndexBuffer 0",
                                       "DrawIndexed 3 0 3"}));
  EXPECT_FALSE(mesh.StagedVertices || mesh.StagedIndices16);
  EXPECT_EQ(render.Buffers[1].Data.size(), 84u);

  render.Calls.clear();
  mesh.Draw(&render);  // nothing staged: nothing made
  EXPECT_EQ(render.Calls, (cList<cStr>{"SetVertexBuffer 1 28", "SetIndexBuffer 0", "DrawIndexed 3 0 3"}));

  StageTriangle(mesh);
  render.Calls.clear();
  mesh.Flush(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"ReleaseBuffer 0", "CreateBuffer 2 2 3", "ReleaseBuffer 1", "CreateBuffer 3 28 3"}));
  EXPECT_EQ(render.AliveBuffers(), 2);

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
}

TEST(BaseMesh, DrawsByTheModeAndTheIndicesThatAreThere) {
  cRenderNull render;
  BaseMesh mesh;
  StageTriangle(mesh);
  mesh.PrimitiveType = BaseMesh::PointList;
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls.back(), "Draw 1 0 3") << "points take no indices";
  BaseMesh bare;
  bare.StageVertices(cList<uint8_t>(28 * 6).data(), 6, PlainLayout);
  bare.Draw(&render);
  EXPECT_EQ(render.Calls.back(), "Draw 3 0 6");
  BaseMesh empty(0, 0, PlainLayout);
  empty.Finish();
  render.Calls.clear();
  empty.Draw(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"SetVertexBuffer -1 28"}));
}

TEST(BaseMesh, BindsShaderAndTheStagesThatHaveTextureAndParameter) {
  cRenderNull render;
  BaseMesh mesh;
  StageTriangle(mesh);
  mesh.Flush(&render);
  mesh.Shader = 4;
  mesh.Tex[0] = 10, mesh.TexParam[0] = -1;
  mesh.Tex[2] = 12, mesh.TexParam[2] = 1, mesh.TexSampler[2] = 6;
  render.Calls.clear();
  mesh.Draw(&render);
  ASSERT_GE(render.Calls.size(), 2u);
  EXPECT_EQ(render.Calls[0], "SetShader 4");
  EXPECT_EQ(render.Calls[1], "SetTexture 1 12 6");
  EXPECT_EQ(render.Calls[2], "SetVertexBuffer 1 28");
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
