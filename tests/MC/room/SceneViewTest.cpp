#include "MC/room/SceneView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string_view>

#include "MC/Dabs.h"
#include "MC/room/NewScene.h"
#include "MC/room/SceneMaterials.h"
#include "MC/room/SurfacePick.h"
#include "comms/cRenderNull.h"

using comms::cVec3;

namespace {

constexpr int Width = 640, Height = 480;

SceneFrame LookFrom(const cVec3& eye, const cVec3& target) {
  SceneFrame frame;
  frame.Camera.View = comms::LookAt(eye, target, {0, 1, 0});
  frame.Camera.Projection = comms::Perspective(40, float(Width) / Height, 0.05f, 100);
  frame.Viewport = {20, 30, Width, Height, Height + 50};
  return frame;
}

struct SceneViewTest : testing::Test {
  SceneViewTest() { MakeSphereVolume(Scene, "ball", 1, 0.02f); }
  int Count(std::string_view call) const {
    return int(std::count_if(Render.Calls.begin(), Render.Calls.end(),
                             [&](const comms::cStr& line) { return line.compare(0, call.size(), call) == 0; }));
  }
  void Draw(const SceneFrame& frame) {
    Render.Calls.clear();
    View.Draw(Render, Scene, frame, Options);
  }
  VoxelScene Scene{MORVANE_DATA_DIR};
  comms::cRenderNull Render;
  SceneView View;
  SceneViewOptions Options;
};

TEST_F(SceneViewTest, DrawsWhatIsInSightAndNothingElse) {
  const int groups = int(Scene.Current()->RenderGroups.Count());
  ASSERT_GT(groups, 20);
  Draw(LookFrom({0, 0, 5}, {}));
  EXPECT_EQ(View.LastStatistics().VisibleGroups, groups);
  EXPECT_EQ(Count("DrawIndexed"), groups);
  Draw(LookFrom({0, 0, 5}, {0, 0, 10}));
  EXPECT_EQ(Count("DrawIndexed"), 0) << "the ball is behind the eye";
  Draw(LookFrom({0, 0, 1.3f}, {0, 0, 0}));
  const int near = Count("DrawIndexed");
  EXPECT_GT(near, 0);
  EXPECT_LT(near, groups) << "most of the ball is outside of the view";
  // Whatever is left out has no corner in the view.
  const SceneFrame frame = LookFrom({0.7f, 0.2f, 1.5f}, {0.5f, 0.1f, 0});
  Draw(frame);
  VolumeObject& volume = *Scene.Current();
  volume.RenderGroups.ForEach([&](const auto&, const RenderGroup& group) {
    if (group.LastFrame == volume.CurrentFrame) return;
    for (int i = 0; i < 8; i++) {
      const cVec3 corner{i & 1 ? group.Box.MinX : group.Box.MaxX, i & 2 ? group.Box.MinY : group.Box.MaxY,
                         i & 4 ? group.Box.MinZ : group.Box.MaxZ};
      comms::cVec2 pixel;
      const bool before = ProjectPoint(frame.Camera, frame.Viewport, volume.VolumeToWorld(corner), pixel);
      EXPECT_FALSE(before && pixel.x > 20 && pixel.x < 20 + Width && pixel.y > 30 && pixel.y < 30 + Height);
    }
  });
}

TEST_F(SceneViewTest, UploadsChangesAloneAndNewGroupsWithinTheBudget) {
  const SceneFrame frame = LookFrom({0, 0, 5}, {});
  View.UploadBudget = 200000;
  const int groups = int(Scene.Current()->RenderGroups.Count());
  int frames = 0, uploads = 0;
  do {
    Draw(frame);
    uploads += View.LastStatistics().Uploads;
    EXPECT_LE(View.LastStatistics().UploadedBytes, 200000 + 2000000) << "one group at least, and then no more than the budget";
    EXPECT_EQ(Count("DrawIndexed"), uploads);
    ASSERT_LT(++frames, 200);
  } while (View.NeedsAnotherFrame());
  EXPECT_EQ(uploads, groups);
  EXPECT_GT(frames, 1);
  Draw(frame);
  EXPECT_EQ(Count("CreateBuffer"), 0) << "nothing changed";
  EXPECT_EQ(Count("CreateT"), 0);

  // A dab at the front changes few groups; they come at once, and without a hole, whatever the budget.
  View.UploadBudget = 1;
  VolumeObject& volume = *Scene.Current();
  ApplySphereDab(volume, volume.WorldToVolume({0, 0, 1}), 3, {});
  volume.EndStroke(false);
  const int alive = Render.AliveBuffers();
  Draw(frame);
  EXPECT_GT(View.LastStatistics().Uploads, 0);
  EXPECT_LE(View.LastStatistics().Uploads, 8);
  EXPECT_EQ(View.LastStatistics().WaitingUploads, 0);
  EXPECT_EQ(Count("DrawIndexed"), groups);
  EXPECT_EQ(Render.AliveBuffers(), alive) << "the buffers before the change were given back";
}

TEST_F(SceneViewTest, AnotherDeviceAndOneThatLostItsBuffersGetEverythingAnew) {
  const SceneFrame frame = LookFrom({0, 1, 5}, {});
  Draw(frame);
  const int groups = View.LastStatistics().Uploads, passes = Count("Draw 3"), textures = Count("CreateTexture");
  EXPECT_EQ(textures, 1) << "the shadow";
  comms::cRenderNull other;
  View.Draw(other, Scene, frame, Options);
  EXPECT_EQ(View.LastStatistics().Uploads, groups);
  EXPECT_EQ(other.AliveBuffers(), 2 * groups);
  Draw(frame);  // and back again
  for (const bool loses : {false, true}) {
    Render.LosesBuffers = loses;
    Render.Unload();
    Render.Reload();
    SceneFrame moving = frame;
    moving.Moving = true;
    Draw(moving);
    EXPECT_EQ(Count("DrawIndexed"), groups);
    EXPECT_EQ(Count("Draw 3"), passes) << "grid and shadow too, though the view moves";
    EXPECT_EQ(View.LastStatistics().Uploads, loses ? groups : 0);
  }
  Draw(frame);
  EXPECT_EQ(Count("DrawIndexed"), groups);
  EXPECT_EQ(Count("CreateBuffer"), 0);
}

// The ground lies under the scene, and its shadow on it, though the view has never stood.
TEST_F(SceneViewTest, FirstFrameInMotionHasItsGround) {
  SceneFrame frame = LookFrom({0, -0.5f, 5}, {});  // over the ground of the ball, under the plane through its middle
  frame.Moving = true;
  Draw(frame);
  EXPECT_EQ(Count("CreateTexture"), 1);
}

TEST_F(SceneViewTest, OptionsChooseThePasses) {
  const SceneFrame frame = LookFrom({0, 1, 5}, {});
  Draw(frame);
  const int all = Count("Draw 3");
  Options.Grid = Options.GroundShadow = false;
  Draw(frame);
  EXPECT_EQ(Count("Draw 3"), all - 2);
  Options.AmbientOcclusion = false;
  Draw(frame);
  EXPECT_EQ(Count("Draw 3"), all - 4);
  Options.Wireframe = true;
  Draw(frame);
  EXPECT_EQ(Count("DrawIndexed"), 2 * View.LastStatistics().VisibleGroups);
  EXPECT_EQ(Count("SetFillState wire"), 1);
  EXPECT_EQ(Render.Calls.back().compare(0, 4, "Draw"), 0);
  const auto solid = std::find(Render.Calls.rbegin(), Render.Calls.rend(), "SetFillState solid");
  const auto wire = std::find(Render.Calls.rbegin(), Render.Calls.rend(), "SetFillState wire");
  EXPECT_LT(solid - Render.Calls.rbegin(), wire - Render.Calls.rbegin()) << "whoever draws next finds solid triangles";
}

// Edges without a counterpart in the surface as it is drawn: coarse groups where there are any, full ones elsewhere. Corners are
// places: those that meshes share are equal but for the order of a sum.
int CountOpenEdges(const VolumeObject& volume) {
  std::map<std::array<long, 3>, int> corners;
  std::map<std::pair<int, int>, int> edges;
  volume.RenderGroups.ForEach([&](const CoordInt3& key, const RenderGroup& group) {
    VolumeBox box;
    ScreenRect rect;
    const auto full = volume.BuildGroupMesh(key.x, key.y, key.z, box, rect);
    const comms::BaseMesh& mesh = group.Coarse ? *group.Coarse : *full;
    for (int i = 0; i < mesh.NumIndices; i += 3) {
      int c[3];
      for (int k = 0; k < 3; k++) {
        const auto* p = reinterpret_cast<const float*>(mesh.StagedVertices.get() +
                                                       size_t(mesh.StagedIndices32[size_t(i + k)]) * mesh.VertexDecl->Stride);
        const std::array place{std::lround(p[0] * 256), std::lround(p[1] * 256), std::lround(p[2] * 256)};
        c[k] = corners.try_emplace(place, int(corners.size())).first->second;
      }
      for (int k = 0; k < 3; k++)
        if (c[k] != c[(k + 1) % 3]) edges[{c[k], c[(k + 1) % 3]}]++;
    }
  });
  int open = 0;
  for (const auto& [edge, count] : edges) {
    const auto back = edges.find({edge.second, edge.first});
    open += back == edges.end() || back->second != count;
  }
  EXPECT_GT(edges.size(), 1000u);
  return open;
}

TEST_F(SceneViewTest, MotionIsCoarseAtFastQualityAndWithoutGaps) {
  Options.Quality = SceneQuality::Fast;
  VolumeObject& volume = *Scene.Current();
  SceneFrame frame = LookFrom({0, 0, 5}, {});
  Draw(frame);
  const SceneView::Statistics& seen = View.LastStatistics();
  const int64_t all = seen.Triangles;
  const int groups = seen.VisibleGroups;
  const auto turn = [&](float x) {
    frame.Camera.View = LookFrom({x, 0, 5}, {}).Camera.View;
    frame.Moving = true;
    Draw(frame);
  };
  turn(0.1f);
  EXPECT_EQ(seen.CoarseGroups, groups);
  EXPECT_LT(seen.Triangles, all / 4);
  EXPECT_GT(seen.Triangles, all / 20);
  EXPECT_EQ(CountOpenEdges(volume), 0);
  turn(0.1f);
  EXPECT_EQ(seen.CoarseGroups, groups) << "until it has settled";
  frame.Moving = false;
  Draw(frame);
  EXPECT_EQ(seen.Triangles, all);

  // A stroke: nothing is coarse for a click; in a longer one everything is but what the stroke works on.
  const auto dab = [&](float x) {
    ApplySphereDab(volume, volume.WorldToVolume({x, 0, 1}), 3, {});
    Draw(frame);
  };
  frame.Moving = true;
  dab(0);
  EXPECT_EQ(seen.CoarseGroups, 0);
  for (const float x : {0.05f, 0.1f}) {
    dab(x);
    EXPECT_LT(seen.CoarseGroups, groups);
    EXPECT_GE(seen.CoarseGroups, groups - 8);
    EXPECT_EQ(CountOpenEdges(volume), 0);
  }
  Draw(frame);
  EXPECT_LT(seen.CoarseGroups, groups) << "the pen rests: what was touched stays full";
  volume.EndStroke(false);

  // Meshes are made as many as a frame bears.
  frame.Moving = false;
  Draw(frame);
  View.CoarseBudget = 1;
  const int before = groups - 8;
  turn(0.2f);
  EXPECT_LT(seen.CoarseGroups, groups);
  EXPECT_GT(seen.CoarseGroups, before);
  View.CoarseBudget = 1000000;
  turn(0.3f);
  EXPECT_EQ(seen.CoarseGroups, groups);
  Options.Quality = SceneQuality::Normal;
  turn(0.4f);
  EXPECT_EQ(seen.CoarseGroups, 0);
}

TEST(SceneCamera, RaysAndPixelsAgree) {
  SceneFrame frame = LookFrom({2, 1, 4}, {0.2f, 0, 0});
  for (const bool parallel : {false, true}) {
    if (parallel) frame.Camera.Projection = {{{0.5f, 0, 0, 0}, {0, 0.6f, 0, 0}, {0, 0, -0.02f, 0}, {0, 0, -1, 1}}};
    for (const auto& [x, y] : {std::pair{20.0f, 30.0f}, {340.5f, 270.25f}, {659.0f, 509.0f}}) {
      const SceneRay ray = PickRay(frame.Camera, frame.Viewport, x, y);
      EXPECT_NEAR(Length(ray.Direction), 1, 1e-5f);
      comms::cVec2 pixel;
      ASSERT_TRUE(ProjectPoint(frame.Camera, frame.Viewport, ray.Origin + ray.Direction * 3, pixel));
      EXPECT_NEAR(pixel.x, x, 0.02f);
      EXPECT_NEAR(pixel.y, y, 0.02f);
    }
    const cVec3 place{0.1f, 0.3f, -0.2f};
    comms::cVec2 a, b;
    ProjectPoint(frame.Camera, frame.Viewport, place, a);
    comms::cMat4 inverse;
    comms::Invert(frame.Camera.View, inverse);
    const float size = PixelSizeAt(frame.Camera, frame.Viewport, place);
    ProjectPoint(frame.Camera, frame.Viewport, place + inverse.TransformDirection({0, 1, 0}) * (10 * size), b);
    EXPECT_NEAR(a.y - b.y, 10, 0.05f);
  }
}

TEST(SurfacePick, MeetsASphereWhereItIs) {
  VoxelScene scene{MORVANE_DATA_DIR};
  VolumeObject& volume = MakeSphereVolume(scene, "ball", 1, 0.02f);
  // A volume that is turned, moved and scaled.
  const float c = std::cos(0.5f), s = std::sin(0.5f);
  volume.SpaceMatrix =
      volume.SpaceMatrix * comms::cMat4{{{2 * c, 0, 2 * s, 0}, {0, 2, 0, 0}, {-2 * s, 0, 2 * c, 0}, {3, -1, 2, 1}}};
  const cVec3 middle{3, -1, 2};
  const float voxel = 0.04f, radius = 2;
  int hits = 0;
  for (int i = 0; i < 400; i++) {
    const auto noise = [&](int k) {
      return std::fmod(std::fabs(std::sin(float(i * 7 + k) * 12.9898f)) * 43758.547f, 1.0f) * 2 - 1;
    };
    const cVec3 out = Normalized(cVec3{noise(0), noise(1), noise(2)}, {0, 1, 0});
    const cVec3 aside = Normalized(Cross(out, {0.3f, 0.8f, 0.5f}), {1, 0, 0}) * (0.9f * radius * noise(3));
    const float away = 5 + 40 * std::fabs(noise(4));
    const SceneRay ray{middle + out * away + aside, -out};
    const SurfaceHit hit = PickScene(scene, ray);
    ASSERT_TRUE(hit) << i;
    const float half = std::sqrt(radius * radius - Dot(aside, aside));
    EXPECT_NEAR(Length(hit.Position - middle), radius, 0.05f * voxel) << i;
    EXPECT_NEAR(Length(hit.Position - (ray.Origin + ray.Direction * hit.Distance)), 0, 1e-3f * voxel + 1e-5f * away);
    EXPECT_NEAR(hit.Distance, away - half, 0.2f * voxel) << i;
    EXPECT_GT(Dot(hit.Normal, Normalized(hit.Position - middle)), 0.999f);
    hits++;
    EXPECT_FALSE(PickScene(scene, {ray.Origin, out})) << "the ball is behind";
    EXPECT_FALSE(PickScene(scene, ray, hit.Distance - voxel)) << "beyond the limit";
    EXPECT_FALSE(PickScene(scene, {ray.Origin + Normalized(aside, {1, 0, 0}) * 5, -out})) << "past it";
  }
  EXPECT_EQ(hits, 400);
  EXPECT_FALSE(PickScene(scene, {middle, {0, 1, 0}})) << "from within there is only a way out";
}

TEST(SurfacePick, SeesTheSurfaceAtTheBeginOfTheStroke) {
  VoxelScene scene{MORVANE_DATA_DIR};
  VolumeObject& volume = MakeSphereVolume(scene, "ball", 1, 0.02f);
  const SceneRay ray{{0, 0, 4}, {0, 0, -1}};
  const float before = PickScene(scene, ray).Distance;
  ApplySphereDab(volume, volume.WorldToVolume({0, 0, 1.2f}), 20, {});
  volume.RefreshChanges();
  EXPECT_EQ(PickScene(scene, ray).Distance, before);
  volume.EndStroke(false);
  EXPECT_LT(PickScene(scene, ray).Distance, before - 0.4f);
}

TEST(SceneMaterials, MatcapsDifferAndAreLitFromAbove) {
  comms::cImage last;
  for (int kind = 0; kind <= int(MatcapKind::Pearl); kind++) {
    const comms::cImage image = MakeMatcap(MatcapKind(kind), 64);
    const auto sum = [&](int row) {
      int light = 0;
      for (int x = 16; x < 48; x++)
        for (int i = 0; i < 3; i++) light += image.Pixel(x, row)[i];
      return light;
    };
    EXPECT_GT(sum(16), sum(52)) << kind;
    EXPECT_TRUE(last.Empty() || image.Pixels() != last.Pixels()) << kind;
    last = image;
  }
}

}  // namespace
