#include "MC/room/VoxelSculptTool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "MC/VolumeChecks.h"
#include "MC/room/NewScene.h"
#include "MC/room/RoomCommands.h"
#include "comms/Log.h"
#include "shell/core/KeyTable.h"

using comms::cVec3;
using namespace volumechecks;

namespace {

/// Every sample of a volume; empty cells are as good as none.
SampleDump Densities(const VolumeObject& volume) { return DumpSamples(volume, false); }

class VoxelSculptToolTest : public testing::Test {
 protected:
  VoxelSculptToolTest() {
    Add(m_Scene);
    m_Tool.RegisterMembers();
    m_Tool.Active = true;
    m_Tool.SetScene(&m_Scene);
    SceneCamera camera;
    camera.View = comms::LookAt({0.6f, 0.4f, 4}, {}, {0, 1, 0});
    camera.Projection = comms::Perspective(40, 4.0f / 3, 0.1f, 50);
    m_Tool.SetView(camera, {0, 0, 800, 600, 600});
    AddRoomCommands(m_Table, m_Scene, m_Messages);
  }
  static VolumeObject& Add(VoxelScene& scene) { return MakeSphereVolume(scene, "ball", 1, 0.02f); }
  VolumeObject& Volume() { return *m_Scene.Current(); }

  static InputEvent At(InputKind kind, float x, float y, float pressure = 1) {
    InputEvent event;
    event.Kind = kind;
    event.X = x;
    event.Y = y;
    event.Pressure = pressure;
    event.IsPen = true;
    return event;
  }
  /// A wave over the ball; `perFrame` samples between two frames.
  void Draw(int samples, int perFrame, uint8_t modifiers = 0, float y = 300) {
    InputEvent down = At(InputKind::ButtonDown, 330, y, 0.5f);
    down.Modifiers = modifiers;
    ASSERT_TRUE(m_Tool.OnLeftDown(down));
    for (int i = 1; i < samples; i++) {
      const float part = float(i) / float(samples);
      m_Tool.ProcessInput(At(InputKind::PointerMove, 330 + 140 * part, y + 40 * std::sin(7 * part), 0.5f + 0.5f * part));
      if (i % perFrame == 0) m_Tool.Process(0);
    }
    EXPECT_TRUE(m_Tool.OnLeftUp(At(InputKind::ButtonUp, 470, y, 0)));
    m_Tool.Process(0);
    EXPECT_FALSE(m_Tool.IsStroking());
  }
  CommandResult Run(const char* name) {
    const Command* command = m_Table.Find(name);
    return command->Run(*command->MakeParameters());
  }
  BatchMessages m_Messages;
  CommandTable m_Table;
  VoxelScene m_Scene{MORVANE_DATA_DIR};
  VoxelSculptTool m_Tool;
};

TEST_F(VoxelSculptToolTest, EventsGiveTheSurfaceOfTheirStrokes) {
  for (const VoxelBrush brush : {VoxelBrush::Sphere, VoxelBrush::Carve, VoxelBrush::Segment})
    for (const int perFrame : {1, 3, 1000})
      for (const uint8_t modifiers : {uint8_t(0), uint8_t(ModControl)}) {
        m_Scene.Remove(Volume());
        Add(m_Scene);
        const auto before = Densities(Volume());
        m_Tool.SetTool(int32_t(brush), false);
        m_Tool.SymmetryX = perFrame == 3;
        m_Tool.Spacing = brush == VoxelBrush::Carve ? 0.2f : 0;
        Draw(60, perFrame, modifiers);
        ASSERT_NE(Densities(Volume()), before);
        VoxelScene other{MORVANE_DATA_DIR};
        for (Add(other); const Stroke& stroke : m_Tool.LastStrokes()) ApplyStroke(*other.Current(), stroke);
        EXPECT_TRUE(Densities(Volume()) == Densities(*other.Current())) << int(brush) << " " << perFrame;
      }
}

TEST_F(VoxelSculptToolTest, EverySampleOfAFrameIsUsed) {
  m_Tool.Spacing = 0;
  Draw(500, 250);
  size_t samples = 0;
  for (const Stroke& stroke : m_Tool.LastStrokes()) samples += stroke.Samples.size();
  EXPECT_EQ(samples, 500u);
  const auto all = Densities(Volume());
  ASSERT_TRUE(Run("Undo").Ok());
  Draw(500, 1);
  EXPECT_TRUE(Densities(Volume()) == all) << "how samples fall into frames makes no difference";
  // What arrived before the frame is in its surface.
  ASSERT_TRUE(Run("Undo").Ok());
  const auto before = Densities(Volume());
  m_Tool.OnLeftDown(At(InputKind::ButtonDown, 400, 300));
  m_Tool.ProcessInput(At(InputKind::PointerMove, 410, 300));
  EXPECT_TRUE(Densities(Volume()) == before);
  m_Tool.Process(0);
  EXPECT_FALSE(Densities(Volume()) == before);
  EXPECT_TRUE(Volume().DirtyCells.Empty() && Volume().DirtyGroups.Empty());
  m_Tool.CancelStroke();
  EXPECT_TRUE(Densities(Volume()) == before);
}

TEST_F(VoxelSculptToolTest, UndoAndRedoBringEveryByteBack) {
  std::vector states{DumpCells(Volume())};
  for (int i = 0; i < 4; i++) {
    Draw(30, 7, i & 1 ? ModControl : 0, 270 + 25.0f * float(i));
    states.push_back(DumpCells(Volume()));
    ASSERT_NE(states[size_t(i)], states.back());
  }
  for (int round = 0; round < 2; round++) {
    for (size_t step = 4; step-- > 0;) {
      ASSERT_TRUE(Run("Undo").Ok());
      EXPECT_TRUE(DumpCells(Volume()) == states[step]) << step;
    }
    EXPECT_FALSE(Run("Undo").Ok());
    for (size_t step = 1; step <= 4; step++) {
      ASSERT_TRUE(Run("Redo").Ok());
      EXPECT_TRUE(DumpCells(Volume()) == states[step]) << step;
    }
    EXPECT_FALSE(Run("Redo").Ok());
  }
  // A new stroke ends what could be redone; the bound drops the oldest steps and counts what it holds.
  ASSERT_TRUE(Run("Undo").Ok());
  Draw(10, 5);
  EXPECT_FALSE(m_Scene.History().CanRedo());
  EXPECT_EQ(m_Scene.History().Steps(), 4u);
  m_Scene.History().ByteBound = m_Scene.History().Bytes() / 2;
  Draw(10, 5);
  EXPECT_LT(m_Scene.History().Steps(), 5u);
  EXPECT_LE(m_Scene.History().Bytes(), m_Scene.History().ByteBound);
  // While a stroke runs there is no way back, and a volume takes its steps along.
  m_Tool.OnLeftDown(At(InputKind::ButtonDown, 400, 300));
  m_Tool.ProcessInput(At(InputKind::PointerMove, 410, 300));
  m_Tool.Process(0);
  EXPECT_FALSE(Run("Undo").Ok());
  m_Scene.Remove(Volume());
  m_Tool.Process(0);
  EXPECT_FALSE(m_Tool.IsStroking());
  EXPECT_EQ(m_Scene.History().Steps(), 0u);
  EXPECT_EQ(m_Scene.History().Bytes(), 0u);
}

TEST_F(VoxelSculptToolTest, KeysAndDragsChangeTheBrushOnTheSpot) {
  const auto move = [&](float x, float y) { return m_Tool.ProcessInput(At(InputKind::PointerMove, x, y)); };
  const auto key = [&](InputKind kind, int code) {
    InputEvent event;
    event.Kind = kind;
    event.Key = code;
    return m_Tool.ProcessInput(event);
  };
  move(400, 300);
  m_Tool.Process(0);
  const cVec3 place = m_Tool.Hover().Position;
  ASSERT_TRUE(m_Tool.Hover());
  const float radius = m_Tool.Radius, depth = m_Tool.Depth;
  EXPECT_TRUE(key(InputKind::KeyDown, KeyRightBracket));
  EXPECT_GT(m_Tool.Radius, radius);
  EXPECT_TRUE(key(InputKind::KeyDown, KeyLeftBracket));
  EXPECT_NEAR(m_Tool.Radius, radius, 1e-3f);

  EXPECT_TRUE(m_Tool.OnRightDown(At(InputKind::ButtonDown, 400, 300)));
  EXPECT_TRUE(move(425, 285));
  m_Tool.Process(0);
  EXPECT_NEAR(m_Tool.Radius, radius + 25, 1e-3f);
  EXPECT_NEAR(m_Tool.Depth, depth + 0.1f, 1e-4f);
  EXPECT_EQ(m_Tool.Hover().Position, place) << "the cursor stays where the drag began";
  EXPECT_TRUE(m_Tool.OnRightUp(At(InputKind::ButtonUp, 425, 285)));
  EXPECT_FALSE(move(430, 285));

  InputEvent shifted = At(InputKind::ButtonDown, 400, 300);
  shifted.Modifiers = ModShift;
  m_Tool.OnRightDown(shifted);
  move(440, 300);
  EXPECT_NEAR(m_Tool.Smoothness, 0.7f, 1e-4f);
  m_Tool.OnRightUp(At(InputKind::ButtonUp, 440, 300));

  key(InputKind::KeyDown, 'B');
  move(420, 300);
  EXPECT_TRUE(key(InputKind::KeyUp, 'B'));
  EXPECT_NEAR(m_Tool.Radius, radius + 5, 1e-3f);
  // The debug key writes the memory report, and the surface is there again.
  const auto surface = DumpCells(Volume());
  InputEvent report;
  report.Kind = InputKind::KeyDown;
  report.Key = 'M';
  report.Modifiers = ModControl | ModAlt;
  comms::LogRecorder log;
  EXPECT_TRUE(m_Tool.ProcessInput(report));
  EXPECT_NE(log.Text().find("Memory usage report:"), std::string::npos);
  EXPECT_TRUE(DumpCells(Volume()) == surface);
  // Empty space belongs to the camera.
  EXPECT_FALSE(m_Tool.OnRightDown(At(InputKind::ButtonDown, 5, 5)));
  EXPECT_FALSE(m_Tool.OnLeftDown(At(InputKind::ButtonDown, 5, 5)));
}

TEST_F(VoxelSculptToolTest, DepthIsTheHeightOverTheSurface) {
  const SceneRay ray = PickRay({comms::LookAt({0.6f, 0.4f, 4}, {}, {0, 1, 0}), comms::Perspective(40, 4.0f / 3, 0.1f, 50)},
                               {0, 0, 800, 600, 600}, 400, 300);
  for (const VoxelBrush brush : {VoxelBrush::Sphere, VoxelBrush::Carve, VoxelBrush::Segment})
    for (const float depth : {0.6f, -0.6f}) {
      m_Tool.SetTool(int32_t(brush), false);
      m_Tool.FixedSize = true;
      m_Tool.SceneRadius = 0.3f;
      m_Tool.Depth = depth;
      m_Tool.Smoothness = 0;
      const float before = PickScene(m_Scene, ray).Distance;
      m_Tool.OnLeftDown(At(InputKind::ButtonDown, 400, 300));
      m_Tool.OnLeftUp(At(InputKind::ButtonUp, 400, 300));
      m_Tool.Process(0);
      EXPECT_NEAR(before - PickScene(m_Scene, ray).Distance, depth * 0.3f, 0.02f) << int(brush) << " " << depth;
      ASSERT_TRUE(Run("Undo").Ok());
    }
}

TEST_F(VoxelSculptToolTest, AnEmptyVolumeTakesItsFirstClay) {
  auto volume = std::make_unique<VolumeObject>();
  volume->Name = "empty";
  volume->SpaceMatrix = comms::cMat4::Scale(0.02f);
  m_Scene.Add(std::move(volume));
  m_Tool.SetTool(int32_t(VoxelBrush::Segment), false);
  Draw(20, 4);
  EXPECT_GT(Volume().RenderGroups.Count(), 0u);
  ASSERT_TRUE(Run("Undo").Ok());
  Volume().ForEachCell(
      [](const CellKey&, const VoxelCell& cell) { EXPECT_TRUE(!cell.Surface || cell.Surface->Indices.Empty()); });
}

}  // namespace
