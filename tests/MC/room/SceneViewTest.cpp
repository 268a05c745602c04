#include "MC/room/SceneView.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <random>
#include <string_view>

#include "MC/Dabs.h"
#include "MC/room/GroupsInSight.h"
#include "MC/room/NewScene.h"
#include "MC/room/SurfacePick.h"
#include "comms/cRenderNull.h"
#include "comms/render/EglContext.h"
#include "comms/render/cRenderGL.h"

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

/// A scene with a ball of radius 1.
struct SceneTest : testing::Test {
  VoxelScene Scene{MORVANE_DATA_DIR};
  VolumeObject& Volume = MakeSphereVolume(Scene, "ball", 1, 0.02f);
};
using SurfacePick = SceneTest;

struct SceneViewTest : SceneTest {
  SceneViewTest() { Options.SoftShadow = false; }  // its map is drawn from all groups
  int Groups() const { return int(Volume.RenderGroups.Count()); }
  int Count(std::string_view call) const {
    return int(std::count_if(Render.Calls.begin(), Render.Calls.end(),
                             [&](const comms::cStr& line) { return line.compare(0, call.size(), call) == 0; }));
  }
  void Draw(const SceneFrame& frame) {
    Render.Calls.clear();
    View.Draw(Render, Scene, frame, Options);
  }
  void Dab(const cVec3& place) { ApplySphereDab(Volume, Volume.WorldToVolume(place), 3, {}); }
  comms::cRenderNull Render;
  SceneView View;
  SceneViewOptions Options;
};

TEST_F(SceneViewTest, DrawsWhatIsInSightAndNothingElse) {
  ASSERT_GT(Groups(), 20);
  Draw(LookFrom({0, 0, 5}, {}));
  EXPECT_EQ(Count("DrawIndexed"), Groups());
  Draw(LookFrom({0, 0, 5}, {0, 0, 10}));
  EXPECT_EQ(Count("DrawIndexed"), 0) << "the ball is behind the eye";
  // Whatever is left out has no corner in the view.
  const SceneFrame frame = LookFrom({0.7f, 0.2f, 1.5f}, {0.5f, 0.1f, 0});
  Draw(frame);
  EXPECT_GT(Count("DrawIndexed"), 0);
  EXPECT_LT(Count("DrawIndexed"), Groups()) << "most of the ball is outside of the view";
  Volume.RenderGroups.ForEach([&](const auto&, const RenderGroup& group) {
    if (group.LastFrame == Volume.CurrentFrame) return;
    for (int i = 0; i < 8; i++) {
      const cVec3 corner{i & 1 ? group.Box.MinX : group.Box.MaxX, i & 2 ? group.Box.MinY : group.Box.MaxY,
                         i & 4 ? group.Box.MinZ : group.Box.MaxZ};
      comms::cVec2 pixel;
      const bool before = ProjectPoint(frame.Camera, frame.Viewport, Volume.VolumeToWorld(corner), pixel);
      EXPECT_FALSE(before && pixel.x > 20 && pixel.x < 20 + Width && pixel.y > 30 && pixel.y < 30 + Height);
    }
  });
}

// The tree leaves out nothing that is in sight, and shows no group of which the view sees nothing.
TEST_F(SceneViewTest, TreeOfBoxesFindsWhatALookAtEveryCellFinds) {
  ApplySphereDab(Volume, {300, -200, 40}, 20, {});  // far from the ball, in other blocks
  Volume.EndStroke(false);
  Volume.RefreshChanges();
  std::mt19937 random(3);
  std::uniform_real_distribution<float> noise(-1, 1);
  const auto place = [&](float reach) { return cVec3{noise(random), noise(random), noise(random)} * reach; };
  int partial = 0;
  for (int i = 0; i < 300; i++) {
    const SceneFrame frame = LookFrom(place(i % 3 ? 4.0f : 1.2f), place(3));
    const Frustum frustum(Volume.SpaceMatrix * frame.Camera.View * frame.Camera.Projection);
    std::map<std::array<int, 3>, bool> wanted;
    Volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
      if (!cell.Surface || !frustum.Sees(cell.Surface->Box)) return;
      const CellKey group = GroupOf(key);
      wanted[{group.x, group.y, group.z}] = true;
    });
    int found = 0;
    ForEachGroupInSight(Volume, frustum, [&](const CellKey& key, const RenderGroup& group) {
      found++;
      wanted.erase({key.x, key.y, key.z});
      EXPECT_TRUE(frustum.Sees(group.Box));
    });
    EXPECT_TRUE(wanted.empty()) << wanted.size() << " groups are missing from view " << i;
    EXPECT_LE(found, Groups()) << "none twice";
    partial += found > 0 && found < Groups();
  }
  EXPECT_GT(partial, 100);
}

TEST_F(SceneViewTest, ShadowMapIsKeptWhileLampAndVolumesStand) {
  Options.SoftShadow = true;
  SceneFrame frame = LookFrom({0.7f, 0.2f, 1.5f}, {0.5f, 0.1f, 0});
  const auto isMapDrawn = [&] {
    Draw(frame);
    return Count("ClearDepth") > 0;
  };
  EXPECT_TRUE(isMapDrawn());
  EXPECT_LT(View.LastStatistics().VisibleGroups, Groups());
  EXPECT_EQ(Count("DrawIndexed"), Groups() + View.LastStatistics().VisibleGroups) << "what is out of sight throws shadow, too";
  const struct {
    const char* Name;
    bool Redraws;
    std::function<void()> Change;
  } changes[] = {{"pan", false,
                  [&] {
                    frame.Camera.View = frame.Camera.View * comms::cMat4::Translation({0.1f, 0, 0});
                  }},
                 {"zoom", false,
                  [&] {
                    frame.Camera.View = frame.Camera.View * comms::cMat4::Translation({0, 0, -1});
                  }},
                 {"turn", true,
                  [&] {
                    frame.Camera.View = LookFrom({0.9f, 0.2f, 1.5f}, {0.5f, 0.1f, 0}).Camera.View;
                  }},
                 {"dab", true,
                  [&] {
                    Dab({0, 0, 1});
                    Volume.EndStroke(false);
                  }},
                 {"volume", true, [&] { Volume.SpaceMatrix = Volume.SpaceMatrix * comms::cMat4::Scale(1.5f); }},
                 {"matcap", false, [&] { Options.Material = SceneMaterial::Matcap; }},
                 {"dab without shadow", false,
                  [&] {
                    Dab({0, 1.5f, 0});
                  }},
                 {"clay", true, [&] { Options.Material = SceneMaterial::Clay; }},
                 {"turn at fast quality", false,
                  [&] {
                    Options.Quality = SceneQuality::Fast;
                    frame.Camera.View = LookFrom({0.5f, 0.2f, 1.5f}, {0.5f, 0.1f, 0}).Camera.View;
                  }},
                 {"quiet", true, [&] { frame.Quiet = true; }}};
  for (const auto& change : changes) {
    change.Change();
    EXPECT_EQ(isMapDrawn(), change.Redraws) << change.Name;
  }
}

// On the device: the colours of vertices, those that have none, and the switch for them.
TEST_F(SceneViewTest, SurfacesShowTheirOwnColors) {
  comms::cStr error;
  const auto context = comms::EglContext::Create(error);
  if (!context) GTEST_SKIP() << error;
  comms::cRenderGL device;
  ASSERT_TRUE(device.Init({MORVANE_DATA_DIR, ""}, error)) << error;
  SceneFrame frame = LookFrom({0, 0, 5}, {});
  frame.Viewport = {0, 0, Width, Height, Height};
  frame.FinalTarget = device.CreateTarget({Width, Height, comms::TextureFormat::Rgba8, comms::TextureFormat::None});
  const auto redOverBlue = [&](int x) {
    comms::cImage image;
    View.Draw(device, Scene, frame, Options);
    EXPECT_TRUE(device.ReadTarget(frame.FinalTarget, image));
    const uint8_t* pixel = image.Pixel(x, Height / 2);
    return float(pixel[0] + 1) / float(pixel[2] + 1);
  };
  const auto isRowShown = [&] {
    Options.SceneHasColors = View.SceneHasColors();
    for (int32_t row = 0; row < Options.GetVisibleElementCount(&Options, 7); row++)
      if (std::string_view(Options.GetVisibleElementName(row, &Options, 7)) == "VertexColors")
        return !Options.IsElementHiddenInPanel(row, &Options, 7);
    return false;
  };
  constexpr int left = Width / 2 - 60, right = Width / 2 + 60;
  Options.RegisterMembers();
  Options.Clay = ClayKind::Grey;
  const float plainLeft = redOverBlue(left), plainRight = redOverBlue(right);
  EXPECT_FALSE(isRowShown());
  Volume.ForEachCell([&](const CellKey& key, VoxelCell& cell) {
    if (!cell.Surface || key.x >= 0) return;
    Block<uint32_t>& colors = cell.Surface->NeedExtras().ColorLayers.Add(1).Colors;
    colors.Resize(cell.Surface->Vertices().Count());
    std::fill(colors.begin(), colors.end(), 0xFF0000FF);  // red lies first
    Volume.MarkCellChanged(key.x, key.y, key.z, true, false);
  });
  EXPECT_GT(redOverBlue(left), 4 * plainLeft);
  EXPECT_NEAR(redOverBlue(right), plainRight, 0.02f) << "vertices without a colour are as they were, whatever group they are in";
  EXPECT_TRUE(isRowShown());
  Options.VertexColors = false;
  EXPECT_NEAR(redOverBlue(left), plainLeft, 0.02f);
  device.DeleteTarget(frame.FinalTarget);
}

TEST_F(SceneViewTest, UploadsChangesAloneAndNewGroupsWithinTheBudget) {
  const SceneFrame frame = LookFrom({0, 0, 5}, {});
  View.UploadBudget = 200000;
  int frames = 0, uploads = 0;
  do {
    Draw(frame);
    uploads += View.LastStatistics().Uploads;
    EXPECT_LE(View.LastStatistics().UploadedBytes, 200000 + 2000000) << "one group at least, and then no more than the budget";
    EXPECT_EQ(Count("DrawIndexed"), uploads);
    ASSERT_LT(++frames, 200);
  } while (View.NeedsAnotherFrame());
  EXPECT_EQ(uploads, Groups());
  EXPECT_GT(frames, 1);
  Draw(frame);
  EXPECT_EQ(Count("Create"), 0) << "nothing changed";

  // A dab at the front changes few groups; they come at once, and without a hole, whatever the budget.
  View.UploadBudget = 1;
  Dab({0, 0, 1});
  Volume.EndStroke(false);
  const int alive = Render.AliveBuffers();
  Draw(frame);
  EXPECT_GT(View.LastStatistics().Uploads, 0);
  EXPECT_LE(View.LastStatistics().Uploads, 8);
  EXPECT_FALSE(View.NeedsAnotherFrame());
  EXPECT_EQ(Count("DrawIndexed"), Groups());
  EXPECT_EQ(Render.AliveBuffers(), alive) << "the buffers before the change were given back";
}

TEST_F(SceneViewTest, AnotherDeviceAndOneThatLostItsBuffersGetEverythingAnew) {
  SceneFrame frame = LookFrom({0, 1, 5}, {});
  Draw(frame);
  const int groups = View.LastStatistics().Uploads, passes = Count("Draw 3");
  EXPECT_EQ(Count("CreateTexture"), 1) << "the shadow";
  comms::cRenderNull other;
  View.Draw(other, Scene, frame, Options);
  EXPECT_EQ(View.LastStatistics().Uploads, groups);
  EXPECT_EQ(other.AliveBuffers(), 2 * groups);
  Draw(frame);  // and back again
  frame.Moving = true;
  for (const bool loses : {false, true}) {
    Render.LosesBuffers = loses;
    Render.Unload();
    Render.Reload();
    Draw(frame);
    EXPECT_EQ(Count("DrawIndexed"), groups);
    EXPECT_EQ(Count("Draw 3"), passes) << "grid and shadow too, though the view moves";
    EXPECT_EQ(View.LastStatistics().Uploads, loses ? groups : 0);
  }
  Draw(frame);
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
  SceneFrame frame = LookFrom({0, 1, 5}, {});
  Draw(frame);
  const int all = Count("Draw 3");
  frame.Grid = Options.GroundShadow = false;
  Draw(frame);
  EXPECT_EQ(Count("Draw 3"), all - 2);
  Options.AmbientOcclusion = false;
  frame.Wireframe = true;
  Draw(frame);
  EXPECT_EQ(Count("Draw 3"), all - 4);
  EXPECT_EQ(Count("DrawIndexed"), 2 * View.LastStatistics().VisibleGroups);
  // Whoever draws next finds solid triangles.
  const auto states = [&](const char* state) { return std::find(Render.Calls.rbegin(), Render.Calls.rend(), state); };
  EXPECT_LT(states("SetFillState solid") - states("SetFillState wire"), 0);
}

// One full picture, one with smooth edges once all is quiet, and none after that until something changes.
TEST_F(SceneViewTest, APictureOfWhichNothingHasChangedIsKept) {
  Options.Quality = SceneQuality::Fast;
  SceneFrame frame = LookFrom({0, 1, 5}, {});
  const auto isDrawn = [&] {
    Draw(frame);
    EXPECT_GE(Count("Draw 3"), 1) << "the window shows the picture in any case";
    return Count("DrawIndexed") > 0;
  };
  EXPECT_TRUE(isDrawn());
  EXPECT_FALSE(isDrawn());
  frame.Quiet = true;
  EXPECT_TRUE(isDrawn() && !View.LastStatistics().Changed) << "edges become smooth";
  EXPECT_FALSE(isDrawn());
  const std::function<void()> changes[] = {[&] {
                                             frame.Camera.View = comms::LookAt({0, 1, 4}, {}, {0, 1, 0});
                                           },
                                           [&] { frame.Wireframe = true; },
                                           [&] { Options.Clay = ClayKind::Slate; },
                                           [&] { frame.Viewport.Width--; },
                                           [&] { frame.BackgroundTop++; },
                                           [&] {
                                             Dab({0, 0, 1});
                                           },
                                           [&] { Volume.SpaceMatrix = Volume.SpaceMatrix * comms::cMat4::Scale(1.5f); },
                                           [&] { View.Forget(); }};
  for (size_t i = 0; i < std::size(changes); i++) {
    changes[i]();
    EXPECT_TRUE(isDrawn() && View.LastStatistics().Changed) << i;
    EXPECT_TRUE(isDrawn()) << i << ", smooth";
    EXPECT_FALSE(isDrawn()) << i;
  }
}

// Edges without a counterpart in the surface as it is drawn: coarse groups where there are any, full ones elsewhere. Corners are
// places: those that meshes share are equal but for the order of a sum.
int CountOpenEdges(const VolumeObject& volume) {
  using Place = std::array<long, 3>;
  std::map<std::pair<Place, Place>, int> surplus;  // of an edge over the same one in the other direction
  volume.RenderGroups.ForEach([&](const CoordInt3& key, const RenderGroup& group) {
    VolumeBox box;
    ScreenRect rect;
    const auto full = volume.BuildGroupMesh(key.x, key.y, key.z, box, rect);
    const comms::BaseMesh& mesh = group.Coarse ? *group.Coarse : *full;
    const auto corner = [&](int i) {
      const size_t vertex = size_t(mesh.StagedIndices32[size_t(i)]) * mesh.VertexDecl->Stride;
      const auto* p = reinterpret_cast<const float*>(mesh.StagedVertices.get() + vertex);
      return Place{std::lround(p[0] * 256), std::lround(p[1] * 256), std::lround(p[2] * 256)};
    };
    for (int i = 0; i < mesh.NumIndices; i++) {
      const Place a = corner(i), b = corner(i % 3 == 2 ? i - 2 : i + 1);
      surplus[{a, b}]++;
      surplus[{b, a}]--;
    }
  });
  EXPECT_GT(surplus.size(), 1000u);
  return int(std::count_if(surplus.begin(), surplus.end(), [](const auto& edge) { return edge.second != 0; }));
}

TEST_F(SceneViewTest, MotionIsCoarseAtFastQualityAndWithoutGaps) {
  SceneFrame frame = LookFrom({0, 0, 5}, {});
  frame.DeviceQuality = SceneQuality::Fast;
  Draw(frame);
  const SceneView::Statistics& seen = View.LastStatistics();
  const int64_t all = seen.Triangles;
  const int groups = seen.VisibleGroups, aside = groups - 8;  // a dab changes at most 8
  const auto turn = [&](float x) {
    frame.Camera.View = LookFrom({x, 0, 5}, {}).Camera.View;
    frame.Moving = true;
    Draw(frame);
    return seen.CoarseGroups;
  };
  const auto stand = [&] {
    frame.Moving = false;
    Draw(frame);
    EXPECT_EQ(seen.CoarseGroups, 0);
  };
  EXPECT_EQ(turn(0.1f), groups);
  EXPECT_LT(seen.Triangles, all / 4);
  EXPECT_GT(seen.Triangles, all / 20);
  EXPECT_EQ(CountOpenEdges(Volume), 0);
  EXPECT_EQ(turn(0.1f), groups) << "until it has settled";
  stand();
  EXPECT_EQ(seen.Triangles, all);

  // A stroke: nothing is coarse for a click; in a longer one everything is but what the stroke works on, also where the pen
  // rests.
  frame.Moving = true;
  for (const float x : {0.0f, 0.05f, 0.1f}) {
    Dab({x, 0, 1});
    Draw(frame);
    EXPECT_GE(seen.CoarseGroups, x == 0 ? 0 : aside);
    EXPECT_LT(seen.CoarseGroups, x == 0 ? 1 : groups);
    EXPECT_EQ(CountOpenEdges(Volume), 0);
  }
  Draw(frame);
  EXPECT_LT(seen.CoarseGroups, groups);
  Volume.EndStroke(false);

  // Meshes are made as many as a frame bears.
  stand();
  View.CoarseBudget = 1;
  const int few = turn(0.2f);
  EXPECT_LT(few, groups);
  EXPECT_GT(few, aside);
  View.CoarseBudget = 1000000;
  EXPECT_EQ(turn(0.3f), groups);
  Options.Quality = SceneQuality::Normal;
  EXPECT_EQ(turn(0.4f), 0) << "what a person chose counts";
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
      EXPECT_NEAR(std::hypot(pixel.x - x, pixel.y - y), 0, 0.02f);
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

TEST_F(SurfacePick, MeetsASphereWhereItIs) {
  // A volume that is turned, moved and scaled.
  const float c = std::cos(0.5f), s = std::sin(0.5f);
  Volume.SpaceMatrix =
      Volume.SpaceMatrix * comms::cMat4{{{2 * c, 0, 2 * s, 0}, {0, 2, 0, 0}, {-2 * s, 0, 2 * c, 0}, {3, -1, 2, 1}}};
  const cVec3 middle{3, -1, 2};
  const float voxel = 0.04f, radius = 2;
  std::mt19937 random(1);
  std::uniform_real_distribution<float> noise(-1, 1);
  for (int i = 0; i < 400; i++) {
    const cVec3 out = Normalized(cVec3{noise(random), noise(random), noise(random)}, {0, 1, 0});
    const cVec3 across = Normalized(Cross(out, {0.3f, 0.8f, 0.5f}), {1, 0, 0});
    const float aside = 0.9f * radius * noise(random), away = 25 + 20 * noise(random);
    const SceneRay ray{middle + out * away + across * aside, -out};
    const SurfaceHit hit = PickScene(Scene, ray);
    ASSERT_TRUE(hit) << i;
    EXPECT_NEAR(Length(hit.Position - middle), radius, 0.05f * voxel) << i;
    EXPECT_NEAR(Length(hit.Position - (ray.Origin + ray.Direction * hit.Distance)), 0, 1e-3f * voxel + 1e-5f * away);
    EXPECT_NEAR(hit.Distance, away - std::sqrt(radius * radius - aside * aside), 0.2f * voxel) << i;
    EXPECT_GT(Dot(hit.Normal, Normalized(hit.Position - middle)), 0.999f);
    EXPECT_FALSE(PickScene(Scene, {ray.Origin, out})) << "the ball is behind";
    EXPECT_FALSE(PickScene(Scene, ray, hit.Distance - voxel)) << "beyond the limit";
    EXPECT_FALSE(PickScene(Scene, {ray.Origin + across * 5, -out})) << "past it";
  }
  EXPECT_FALSE(PickScene(Scene, {middle, {0, 1, 0}})) << "from within there is only a way out";
}

TEST_F(SurfacePick, SeesTheSurfaceAtTheBeginOfTheStroke) {
  const SceneRay ray{{0, 0, 4}, {0, 0, -1}};
  const float before = PickScene(Scene, ray).Distance;
  ApplySphereDab(Volume, Volume.WorldToVolume({0, 0, 1.2f}), 20, {});
  Volume.RefreshChanges();
  EXPECT_EQ(PickScene(Scene, ray).Distance, before);
  Volume.EndStroke(false);
  EXPECT_LT(PickScene(Scene, ray).Distance, before - 0.4f);
}

}  // namespace
