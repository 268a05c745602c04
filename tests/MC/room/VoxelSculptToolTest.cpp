#include "MC/room/VoxelSculptTool.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "MC/SurfaceCells.h"
#include "MC/SurfaceStats.h"
#include "MC/VolumeChecks.h"
#include "MC/room/NewScene.h"
#include "MC/room/RoomCommands.h"
#include "comms/Log.h"
#include "interface/Events.h"
#include "shell/core/Actions.h"
#include "shell/core/KeyTable.h"
#include "shell/core/ToolInput.h"

using comms::cVec3;
using namespace volumechecks;

namespace {

/// Every sample of a volume; empty cells are as good as none.
SampleDump Densities(const VolumeObject& volume) { return DumpSamples(volume, false); }

class VoxelSculptToolTest : public testing::Test {
 protected:
  VoxelSculptToolTest() {
    Add(m_Scene);
    m_Scene.History().Clear();
    m_Tool.RegisterMembers();
    m_Tool.Active = true;
    m_Tool.SetScene(&m_Scene);
    m_Tool.SetView(m_Camera, m_Viewport);
    AddRoomCommands(m_Table, m_Scene, m_Messages);
  }
  static VolumeObject& Add(VoxelScene& scene) { return MakeSphereVolume(scene, "ball", 1, 0.02f); }
  VolumeObject& Volume() { return *m_Scene.Current(); }

  static InputEvent Pen(InputKind kind, float x, float y, float pressure = 1, uint8_t modifiers = 0) {
    InputEvent event = PointerEvent(kind, x, y, MouseButton::None, modifiers);
    event.Pressure = pressure;
    event.IsPen = true;
    return event;
  }
  bool Down(float x, float y, float pressure = 1, uint8_t modifiers = 0) {
    StrokeMode = modifiers & ModControl ? 1 : 0;
    return m_Tool.OnLeftDown(Pen(InputKind::ButtonDown, x, y, pressure, modifiers));
  }
  bool Move(float x, float y, float pressure = 1) { return m_Tool.ProcessInput(Pen(InputKind::PointerMove, x, y, pressure)); }
  bool Up(float x, float y) { return m_Tool.OnLeftUp(Pen(InputKind::ButtonUp, x, y, 0)); }
  /// A wave over the ball; `perFrame` samples between two frames.
  void Draw(int samples, int perFrame, uint8_t modifiers = 0, float y = 300) {
    ASSERT_TRUE(Down(330, y, 0.5f, modifiers));
    for (int i = 1; i < samples; i++) {
      const float part = float(i) / float(samples);
      Move(330 + 140 * part, y + 40 * std::sin(7 * part), 0.5f + 0.5f * part);
      if (i % perFrame == 0) m_Tool.Process(0);
    }
    EXPECT_TRUE(Up(470, y));
    m_Tool.Process(0);
    EXPECT_FALSE(m_Tool.IsStroking());
  }
  CommandResult Run(const char* name) {
    const Command* command = m_Table.Find(name);
    return command->Run(*command->MakeParameters());
  }
  const SceneCamera m_Camera{comms::LookAt({0.6f, 0.4f, 4}, {}, {0, 1, 0}), comms::Perspective(40, 4.0f / 3, 0.1f, 50)};
  const SceneViewport m_Viewport{0, 0, 800, 600, 600};
  BatchMessages m_Messages;
  CommandTable m_Table;
  VoxelScene m_Scene{MORVANE_DATA_DIR};
  VoxelSculptTool m_Tool;
};

TEST_F(VoxelSculptToolTest, EventsGiveTheSurfaceOfTheirStrokesHoweverTheyFallIntoFrames) {
  for (const VoxelBrush brush : {VoxelBrush::Sphere, VoxelBrush::Carve, VoxelBrush::Segment})
    for (const uint8_t modifiers : {uint8_t(0), uint8_t(ModControl)}) {
      m_Tool.SetTool(int32_t(brush), false);
      m_Tool.SymmetryX = modifiers != 0;
      m_Tool.Spacing = brush == VoxelBrush::Carve ? 0.2f : 0;
      SampleDump first;
      for (const int perFrame : {1, 3, 1000}) {
        SCOPED_TRACE(testing::Message() << "brush " << int(brush) << modifiers << ", " << perFrame << " samples a frame");
        m_Scene.Remove(Volume());
        Add(m_Scene);
        Draw(200, perFrame, modifiers);
        size_t samples = 0;
        VoxelScene other{MORVANE_DATA_DIR};
        Add(other);
        const auto untouched = Densities(*other.Current());
        for (const Stroke& stroke : m_Tool.LastStrokes()) {
          samples += stroke.Samples.size();
          ApplyStroke(*other.Current(), stroke);
        }
        EXPECT_EQ(samples, 200u) << "every one is used";
        if (perFrame == 1) first = Densities(Volume());
        EXPECT_NE(first, untouched);
        EXPECT_TRUE(Densities(Volume()) == first);
        EXPECT_TRUE(Densities(*other.Current()) == first);
      }
    }
}

TEST_F(VoxelSculptToolTest, WhatArrivedBeforeAFrameIsInItsSurface) {
  const auto before = Densities(Volume());
  Down(400, 300);
  Move(410, 300);
  EXPECT_TRUE(Densities(Volume()) == before);
  m_Tool.Process(0);
  EXPECT_FALSE(Densities(Volume()) == before);
  EXPECT_TRUE(Volume().DirtyCells.Empty() && Volume().DirtyGroups.Empty());
  m_Tool.CancelStroke();
  EXPECT_TRUE(Densities(Volume()) == before);
}

TEST_F(VoxelSculptToolTest, ABrushChosenInADragDrawsItsRest) {
  Down(400, 300);
  Move(410, 300);
  m_Tool.Process(0);
  m_Tool.SetTool(int32_t(VoxelBrush::Sphere), false);
  Move(430, 300);
  m_Tool.Process(0);
  EXPECT_TRUE(m_Tool.IsStroking());
  Up(440, 300);
  m_Tool.Process(0);
  ASSERT_FALSE(m_Tool.LastStrokes().empty());
  EXPECT_EQ(m_Tool.LastStrokes().back().Tool, StrokeTool::Sphere);
  EXPECT_GT(m_Tool.LastStrokes().back().Samples.size(), 1u);
  EXPECT_EQ(m_Scene.History().Steps(), 2u);
}

TEST_F(VoxelSculptToolTest, UndoAndRedoBringEveryByteBack) {
  std::vector states{DumpCells(Volume())};
  for (int i = 0; i < 4; i++) {
    Draw(30, 7, i & 1 ? ModControl : 0, 270 + 25.0f * float(i));
    states.push_back(DumpCells(Volume()));
    ASSERT_NE(states[size_t(i)], states.back());
  }
  const auto expect = [&](const char* command, size_t step) {
    ASSERT_TRUE(Run(command).Ok());
    EXPECT_TRUE(DumpCells(Volume()) == states[step]) << command << " to " << step;
  };
  for (size_t step = 4; step-- > 0;) expect("Undo", step);
  EXPECT_FALSE(Run("Undo").Ok());
  for (size_t step = 1; step <= 4; step++) expect("Redo", step);
  EXPECT_FALSE(Run("Redo").Ok());
  // A new stroke ends what could be redone; while it runs there is no way back. The bound drops the oldest steps and counts what
  // it holds.
  StrokeHistory& history = m_Scene.History();
  ASSERT_TRUE(Run("Undo").Ok());
  Down(400, 300);
  Move(410, 300);
  m_Tool.Process(0);
  EXPECT_FALSE(Run("Undo").Ok());
  m_Tool.CancelStroke();
  Draw(10, 5);
  EXPECT_TRUE(!history.CanRedo() && history.Steps() == 4);
  history.ByteBound = history.Bytes() / 2;
  Draw(10, 5);
  EXPECT_LT(history.Steps(), 5u);
  EXPECT_LE(history.Bytes(), history.ByteBound);
}

// What a person deletes by mistake is work: it comes back whole, and so does the way back to what it was before.
TEST_F(VoxelSculptToolTest, AVolumeThatWasDeletedComesBackWithItsSteps) {
  StrokeHistory& history = m_Scene.History();
  const SampleDump first = Densities(Volume());
  Draw(20, 5);
  m_Scene.Rename(Volume(), "head");
  Volume().SpaceMatrix = comms::cMat4::Scale(0.03f);
  const auto drawn = DumpCells(Volume());
  const size_t bytes = history.Bytes(), groups = Volume().RenderGroups.Count();
  const uint64_t state = history.State();
  Add(m_Scene);
  m_Scene.Select(*m_Scene.Find("head"));
  // A stroke that runs is no part of what leaves.
  Down(400, 300);
  Move(410, 300);
  m_Tool.Process(0);
  m_Scene.Remove(Volume());
  m_Tool.Process(0);
  EXPECT_FALSE(m_Tool.IsStroking());
  EXPECT_EQ(Volume().Name, "ball");
  EXPECT_GT(history.Bytes(), bytes + 100000) << "the volume is kept, and counts";
  // Its name is free meanwhile.
  m_Scene.Rename(Add(m_Scene), "head");
  for (int i = 0; i < 3; i++) ASSERT_TRUE(Run("Undo").Ok());
  ASSERT_EQ(m_Scene.Volumes().size(), 2u);
  EXPECT_EQ(m_Scene.Volumes()[0].get(), m_Scene.Current());
  EXPECT_EQ(Volume().Name, "head");
  EXPECT_EQ(Volume().SpaceMatrix.m[0][0], 0.03f);
  EXPECT_TRUE(DumpCells(Volume()) == drawn);
  Volume().RefreshChanges();
  EXPECT_EQ(Volume().RenderGroups.Count(), groups) << "nothing is seen of it";
  ASSERT_TRUE(Run("Undo").Ok());
  EXPECT_EQ(history.State(), state);
  for (int i = 0; i < 2; i++) ASSERT_TRUE(Run("Undo").Ok());
  EXPECT_EQ(Volume().Name, "ball");
  EXPECT_TRUE(Densities(Volume()) == first);
  for (int i = 0; i < 6; i++) ASSERT_TRUE(Run("Redo").Ok());
  EXPECT_EQ(m_Scene.Volumes().size(), 2u);
  EXPECT_FALSE(Run("Redo").Ok());
  // Whatever is kept goes before the volumes that it is of, in front of the present and behind it.
  for (int i = 0; i < 2; i++) ASSERT_TRUE(Run("Undo").Ok());
  history.Clear();
  EXPECT_EQ(history.Steps() + history.Bytes(), 0u);
}

TEST_F(VoxelSculptToolTest, KeysAndDragsChangeTheBrushOnTheSpot) {
  const auto press = [&](uint8_t modifiers) { return m_Tool.OnRightDown(Pen(InputKind::ButtonDown, 400, 300, 1, modifiers)); };
  const auto release = [&] { return m_Tool.OnRightUp(Pen(InputKind::ButtonUp, 425, 285)); };
  Move(400, 300);
  m_Tool.Process(0);
  const cVec3 place = m_Tool.Hover().Position;
  ASSERT_TRUE(m_Tool.Hover());
  const float radius = m_Tool.Radius, depth = m_Tool.Depth;
  Actions actions;
  m_Tool.AddActions(actions);
  EXPECT_TRUE(actions.Run("RadiusMore"));
  EXPECT_GT(m_Tool.Radius, radius);
  EXPECT_TRUE(actions.Run("RadiusLess"));
  EXPECT_NEAR(m_Tool.Radius, radius, 1e-3f);

  EXPECT_TRUE(press(0));
  EXPECT_TRUE(Move(425, 285));
  m_Tool.Process(0);
  EXPECT_NEAR(m_Tool.Radius, radius + 25, 1e-3f);
  EXPECT_NEAR(m_Tool.Depth, depth + 0.1f, 1e-4f);
  EXPECT_EQ(m_Tool.Hover().Position, place) << "the cursor stays where the drag began";
  EXPECT_TRUE(release());
  EXPECT_FALSE(Move(430, 285));
  press(ModShift);
  Move(440, 300);
  EXPECT_NEAR(m_Tool.Smoothness, 0.7f, 1e-4f);
  release();
  actions.Run("SizeBrush");
  Move(420, 300);
  actions.Find("SizeBrush")->Release();
  Move(500, 300);
  EXPECT_NEAR(m_Tool.Radius, radius + 5, 1e-3f);
  // From a menu it begins where the pointer comes in, and a press ends it.
  InputEvent leave;
  leave.Kind = InputKind::PointerLeave;
  m_Tool.ProcessInput(leave);
  actions.Run("SizeBrush");
  for (const float x : {100.0f, 110.0f}) Move(x, 300);
  EXPECT_TRUE(Down(110, 300));
  Move(400, 300);
  EXPECT_NEAR(m_Tool.Radius, radius + 15, 1e-3f);
  EXPECT_FALSE(m_Tool.IsStroking());
  // A key does not end what the mouse holds, and the brush of a stroke stays.
  press(0);
  actions.Find("SizeBrush")->Release();
  EXPECT_TRUE(Move(430, 285));
  release();
  ASSERT_TRUE(Down(400, 300));
  actions.Run("SizeBrush");
  m_Tool.ProcessInput(KeyEvent(KeyEsc));
  EXPECT_FALSE(Move(440, 300));
  // The report writes the memory report, and the surface is there again.
  const auto surface = DumpCells(Volume());
  comms::LogRecorder log;
  EXPECT_TRUE(actions.Run("MemoryReport"));
  EXPECT_NE(log.Text().find("\nMemory usage report:\nCells: " + std::to_string(Volume().Cells.Count()) + "\n"),
            std::string::npos);
  EXPECT_TRUE(DumpCells(Volume()) == surface);
  // Empty space belongs to the camera.
  EXPECT_FALSE(m_Tool.OnRightDown(Pen(InputKind::ButtonDown, 5, 5)) || Down(5, 5));
}

TEST_F(VoxelSculptToolTest, StatusTellsTheScaleOfTheVolume) {
  std::string text;
  m_Tool.GetStatusText(text);
  EXPECT_NE(text.find(": 0.02 UNITS_PER_VOXEL, Uniform\n"), std::string::npos) << text;
  Volume().SpaceMatrix = comms::cMat4::Scale(0.5f);
  Volume().SpaceMatrix.m[1][1] = 4;
  m_Tool.GetStatusText(text);
  EXPECT_NE(text.find(": 1 UNITS_PER_VOXEL, NonUniform\n"), std::string::npos) << text;
}

TEST_F(VoxelSculptToolTest, DepthIsTheHeightOverTheSurface) {
  const auto distance = [&] { return PickScene(m_Scene, PickRay(m_Camera, m_Viewport, 400, 300)).Distance; };
  m_Tool.FixedSize = true;
  m_Tool.SceneRadius = 0.3f;
  m_Tool.Smoothness = 0;
  for (const VoxelBrush brush : {VoxelBrush::Sphere, VoxelBrush::Carve, VoxelBrush::Segment})
    for (const float depth : {0.6f, -0.6f}) {
      m_Tool.SetTool(int32_t(brush), false);
      m_Tool.Depth = depth;
      const float before = distance();
      Down(400, 300);
      Up(400, 300);
      m_Tool.Process(0);
      EXPECT_NEAR(before - distance(), depth * 0.3f, 0.02f) << int(brush) << " " << depth;
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
  EXPECT_TRUE(CollectSurfaceCells(Volume()).empty());
}

// A dab has an end that a brush as large as the scene would reach; then it must not leave the surface torn.
TEST_F(VoxelSculptToolTest, TheLargestBrushLeavesTheSurfaceWhole) {
  m_Tool.FixedSize = true;
  m_Tool.SceneRadius = 1e6f;
  for (const VoxelBrush brush : {VoxelBrush::Sphere, VoxelBrush::Carve}) {
    m_Tool.SetTool(int32_t(brush), false);
    const SampleDump before = Densities(Volume());
    ASSERT_TRUE(Down(400, 300));
    Move(410, 300);
    Up(410, 300);
    m_Tool.Process(0);
    Volume().RefreshChanges();
    EXPECT_EQ(MeasureSurface(Volume()).BoundaryEdges, 0u) << int(brush);
    EXPECT_FALSE(Densities(Volume()) == before) << int(brush) << ": nothing was done";
    ASSERT_TRUE(Run("Undo").Ok());
  }
}

}  // namespace
