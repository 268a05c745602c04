// The rooms as their main tools make them, and the tools of every room.
#include <cmath>
#include <numbers>

#include "ClassEngine/MemoryBinStream.h"
#include "MC/room/NewScene.h"
#include "comms/BaseMesh.h"
#include "interface/Button.h"
#include "interface/DrawTexRect.h"
#include "shell/app/MainFormFixture.h"

namespace {

class ToolsTest : public MainFormTest {};

TEST_F(ToolsTest, EveryRoomHasItsMenusAndPanels) {
  for (const int page : ListAllowedPages()) {
    Press(KeyF1 + 4 + page);
    ASSERT_EQ(CurrentPage, page);
    const bool voxels = GetPageNames()[size_t(page)] == "Voxels";
    EXPECT_EQ(ReadMenus().size(), voxels ? 7u : 5u) << GetPageNames()[size_t(page)];
    EXPECT_EQ(Form->Docks().IsOpen("ToolsPanel"), voxels || GetPageNames()[size_t(page)] == "Paint");
    EXPECT_EQ(Form->Docks().IsOpen("RoomNotePanel"), !voxels);
  }
  Press(KeyF1 + 4);
  EXPECT_EQ(ReadMenus().size(), 7u) << "back again";
  OpenAllPanels();
  EXPECT_GE(Form->ViewRect().W, float(Width) * DockPanels::SceneShare - 1);

  Files.Write("Pages.txt", "Render, Paint");
  CloseForm();
  OpenForm();
  EXPECT_EQ(CurrentPage, FindPage("Paint")) << "the first one that is allowed";
}

/// A room that is not built yet, as its main tool would make it.
class RoomOfTests : public BasicTool {
  REFLECTED(RoomOfTests, BasicTool)
 public:
  RoomOfTests() { IsRoomTool = true; }
  int DrawState = 1, Drawn = 0, Cleared = 0, Preview = 7;
  comms::BaseMesh Mesh;
  const char* GetRoomName() const override { return "Retopo"; }
  const char* GetToolKey() const override { return "Stamp"; }
  const char* GetHintKey() const override { return "BrushStamp_HINT"; }
  void BuildRoomMenu(MenuBar& bar) override {
    bar.AddMenu("Retopo", [](TextMenu& menu) { menu.Add("Jade", [] {}); });
  }
  void BuildRoomPopups(TextMenu& menu) override {
    menu.Add("Bronze", [] {});
  }
  void BuildToolButtons(BaseWidget& panel) override { panel.AddChild(new Button("Pearl")); }
  uint64_t GetDrawState() const override { return uint64_t(DrawState); }
  void DrawIn3D(comms::cRender&) override { Drawn++; }
  int GetPreviewTexture() override { return Preview; }
  comms::BaseMesh* GetPreviewMesh() override { return &Mesh; }
  void OnNewScene() override { Cleared++; }
};
DECLARE_MEMBERS(RoomOfTests) {}

TEST_F(ToolsTest, ARoomIsWhatItsMainToolMakesOfIt) {
  auto& room = CreateTool<RoomOfTests>();
  static const comms::VertexLayout layout{12, {{comms::VertexUsage::Position, comms::VertexFormat::Float3, 0}}};
  const comms::cVec3 corners[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  room.Mesh.StageVertices(corners, 3, layout);
  Press(KeyF1 + 6);
  ASSERT_EQ(&GetCurrentTool(), &room);
  for (int i = 0; i < 3; i++) Frame();
  EXPECT_EQ(Find<StatusLine>(Widgets.Layer(LayerDocks))->Message, GetText("BrushStamp_HINT"));
  EXPECT_TRUE(OpenMenuWith("Jade"));
  CloseMenus();
  EXPECT_TRUE(OpenMenuWith("Bronze") && FindItem("Presets"));
  CloseMenus();
  EXPECT_TRUE(Find<Button>(Widgets.Layer(LayerDocks), "Pearl"));
  EXPECT_TRUE(Find<Button>(Widgets.Layer(LayerDocks), "Stamp")->Checked()) << "the tool's own button";
  const auto preview = [&] {
    Frame();
    Frame();
    for (DrawTexRect* picture : FindAll<DrawTexRect>(Widgets.Layer(LayerDocks)))
      if (picture->Visible && picture->Texture == 7) return true;
    return false;
  };
  EXPECT_TRUE(preview());
  room.Preview = -1;
  EXPECT_FALSE(preview());

  const int drawn = room.Drawn;
  for (int i = 0; i < 3; i++) Frame();
  EXPECT_EQ(room.Drawn, drawn) << "the picture is kept";
  room.DrawState = 2;
  Frame();
  EXPECT_EQ(room.Drawn, drawn + 1);
  EXPECT_TRUE(room.Mesh.HasBuffers()) << "the preview is drawn";
  ASSERT_TRUE(Form->RunCommand("ClearScene"));
  EXPECT_EQ(room.Cleared, 1);
  Press(KeyF1 + 4);
  Frame();
  EXPECT_FALSE(OpenMenuWith("Jade") || Find<Button>(Widgets.Layer(LayerDocks), "Pearl")) << "the panels are those of the room";
}

// A click sets a place where the surface is, the held key moves places, and the figures are those of a unit ball seen from the
// front.
TEST_F(ToolsTest, LengthsAndAnglesAreMeasured) {
  MakeSphereVolume(Scene, "ball", 1, 0.02f);
  Form->Navi().Settings.SmoothViews = false;
  for (const int key : {int('5'), int('1')}) Press(key);
  LookAtAll();
  Press('M');
  MeasureTool& tool = Form->Measuring();
  ASSERT_EQ(&GetCurrentTool(), &tool);
  const cRect view = Form->ViewRect();
  const float x = view.X + view.W / 2, y = view.Y + view.H / 2,
              pixel = Form->Navi().View.ViewHeight(Form->Navi().View.Distance()) / view.H;
  const float half = 0.5f / pixel;
  for (const float at : {-half, 0.0f, half}) Click(x + at, y);
  ASSERT_EQ(tool.Points().size(), 3u);
  // A chord over 30 degrees, and the angle between two of them: 180 degrees less half of both arcs.
  for (const double length : tool.Lengths()) EXPECT_NEAR(length, 2 * std::sin(std::numbers::pi / 12), 0.02);
  EXPECT_NEAR(tool.AngleAt(1), 150, 3);
  EXPECT_EQ(tool.AngleAt(0), -1) << "an end";
  tool.UnitsPerWorld = 10;
  tool.UnitName = "mm";
  EXPECT_NE(tool.GetWorkHint().find(" mm"), std::string::npos);
  tool.Closed = true;
  ASSERT_EQ(tool.Lengths().size(), 3u);
  EXPECT_NEAR(tool.Lengths()[2], 10, 0.3);
  EXPECT_NEAR(tool.AngleAt(0), 15, 3);

  Widgets.Queue(KeyEvent('V'));
  Widgets.Queue(PointerEvent(InputKind::ButtonDown, x + half, y, MouseButton::Left));
  Widgets.Queue(PointerEvent(InputKind::PointerMove, x, y - half));
  Send(PointerEvent(InputKind::ButtonUp, x, y - half, MouseButton::Left));
  EXPECT_NEAR(tool.Points()[2].y, 0.5, 0.02);
  EXPECT_EQ(tool.Points().size(), 3u) << "moved, not added";
  Widgets.Queue(PointerEvent(InputKind::ButtonDown, x, y, MouseButton::Right));
  Send(PointerEvent(InputKind::ButtonUp, x, y, MouseButton::Right));
  EXPECT_EQ(tool.Points().size(), 2u);
  Send(KeyEvent('V', 0, InputKind::KeyUp));
  Click(view.X + 4, view.Y + 4);
  EXPECT_EQ(tool.Points().size(), 2u) << "beside the surface";
  Press(KeyDelete);
  EXPECT_EQ(tool.Points().size(), 1u);
  for (int i = 0; i < 2; i++) Press(KeyEsc);
  EXPECT_TRUE(tool.Points().empty());
  EXPECT_EQ(&GetCurrentTool(), &Form->VoxelTool()) << "back to the room";
}

TEST_F(ToolsTest, PicturesStandInTheSceneAndAreKept) {
  comms::cImage drawing(40, 20);
  std::string error;
  ASSERT_TRUE(comms::SavePng(drawing, Files.Path("front.png"), error)) << error;
  StillImageTool& images = Form->StillImages();
  const auto add = [&](const std::string& path) -> StillImage& {
    auto* image = new StillImage;
    image->RegisterMembers();
    image->Picture = path;
    images.Images.Add(image);
    return *image;
  };
  add(Files.Path("front.png")).OffsetX = 3;
  add(Files.Path("none.png"));
  const auto boxOf = [](const StillImageTool& tool) {
    SceneBox box;
    tool.AddBounds(box);
    return box;
  };
  Frame();
  EXPECT_EQ(boxOf(images), (SceneBox{{1, -1, 0}, {5, 1, 0}})) << "two units high, twice as wide";
  EXPECT_GE(images.GetPreviewTexture(), 0);
  images.Visible = false;
  EXPECT_TRUE(boxOf(images).Empty() && !images.GetDrawState());

  MemoryBinStream stream;
  ASSERT_TRUE(images.SaveProjectChunk(stream));
  Form->StoreChanges();
  CloseForm();
  OpenForm();
  StillImageTool& again = Form->StillImages();
  ASSERT_EQ(again.Images.Count, 2);
  EXPECT_EQ(again.Images[0]->OffsetX, 3);
  again.Images.Clear();
  EXPECT_FALSE(again.LoadProjectChunk(stream, 3)) << "the payload goes on behind its end";
  EXPECT_EQ(again.Images.Count, 0);
  stream.SetReadPos(0);
  EXPECT_TRUE(again.LoadProjectChunk(stream, uint32_t(stream.Size())));
  EXPECT_TRUE(again.Images.Count == 2 && again.Images[1]->Picture == Files.Path("none.png") && !again.Visible);
}

}  // namespace
