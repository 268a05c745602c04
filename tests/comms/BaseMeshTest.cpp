#include "comms/BaseMesh.h"

#include <gtest/gtest.h>

#include <algorithm>

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

TEST(BaseMesh, FlushMovesTheStagedBlocksAndReplacesOldOnes) {
  cRenderNull render;
  BaseMesh mesh;
  StageTriangle(mesh);
  mesh.Draw(nullptr);
  cVec3 minimum, maximum;
  ASSERT_TRUE(mesh.GetBounds(minimum, maximum)) << "without a device all stays on the heap";
  EXPECT_EQ(minimum, (cVec3{0, 0, -1}));
  EXPECT_EQ(maximum, (cVec3{1, 2, 0}));
  mesh.Flush(&render);
  EXPECT_EQ(render.Calls, (cList<cStr>{"CreateBuffer 0 2 3", "CreateBuffer 1 28 3"}));
  EXPECT_FALSE(mesh.StagedVertices || mesh.StagedIndices16);
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
  BaseMesh kept;
  kept.KeepStaged = true;
  {
    BaseMesh mesh;
    for (BaseMesh* each : {&mesh, &kept, &kept}) {
      StageTriangle(*each);
      each->Draw(render.get());
    }
    EXPECT_EQ(render->AliveBuffers(), 4);
  }
  EXPECT_EQ(render->AliveBuffers(), 2);
  render.reset();
  cRenderNull next;
  kept.Draw(&next);
  EXPECT_EQ(next.AliveBuffers(), 2) << "what is kept moves to the next device";
  const ColoredPoint points[4] = {};
  for (const int count : {4, 2}) next.DrawLines(points, count);
  EXPECT_EQ(next.Calls.back(), "Draw 2 0 2");
  EXPECT_EQ(next.AliveBuffers(), 3) << "one buffer for all lines";
}

TEST(BaseMesh, DrawsByModeIndicesAndStages) {
  cRenderNull render;
  BaseMesh mesh;
  mesh.StageVertices(cList<uint8_t>(28 * 6).data(), 6, PlainLayout);
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls.back(), "Draw 3 0 6") << "without indices";
  StageTriangle(mesh);
  mesh.Shader = 4;
  mesh.Tex[0] = 10, mesh.TexParam[0] = -1;
  mesh.Tex[2] = 12, mesh.TexParam[2] = 1, mesh.TexSampler[2] = 6;
  mesh.Flush(&render);
  render.Calls.clear();
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls,
            (cList<cStr>{"SetShader 4", "SetTexture 1 12 6", "SetVertexBuffer 2 28", "SetIndexBuffer 1", "DrawIndexed 3 0 3"}));
  mesh.PrimitiveType = BaseMesh::PointList;
  mesh.Draw(&render);
  EXPECT_EQ(render.Calls.back(), "Draw 1 0 3") << "points take no indices";
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
