#include "interface/DockPanels.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "WidgetFixture.h"
#include "comms/Log.h"
#include "interface/DockWidgets.h"
#include "interface/draw/Theme.h"

namespace fs = std::filesystem;

namespace {

class DockPanelsTest : public WidgetTest {
 protected:
  DockPanelsTest() : Docks(Widgets) {
    Folder = fs::temp_directory_path() / ("docks_" + std::to_string(::getpid()));
    fs::create_directories(Folder);
    Widgets.SetSize(1200, 800, 1);
    for (const auto& [key, side, width] : {std::tuple{"Tools", DockSide::Left, 140.0f},
                                           {"Params", DockSide::Right, 264.0f},
                                           {"Tree", DockSide::Right, 264.0f},
                                           {"Log", DockSide::Bottom, 300.0f}})
      Docks.Add({key, "Settings", [this] { return Made++, new BaseWidget; }, side, width, 200});
    Docks.SetDefault({"Tools", "Params", "Tree"});
    Arrange(1200, 800);
  }
  ~DockPanelsTest() override { fs::remove_all(Folder); }
  void Arrange(float width, float height, float scale = 1) {
    Widgets.SetSize(int(width), int(height), scale);
    Docks.Arrange({0, 0, width, height}, Screen);
    Widgets.ArrangeIfWanted();
  }
  void Settle() {
    DrawAll();
    Docks.Arrange({0, 0, 1200, 800}, Screen);
    Widgets.ArrangeIfWanted();
  }
  DockGroup* Find(const std::string& key) {
    return FindIn(Widgets.Layer(LayerDocks), key) ?: FindIn(Widgets.Layer(LayerFloating), key);
  }
  static DockGroup* FindIn(BaseWidget& widget, const std::string& key) {
    if (auto* group = dynamic_cast<DockGroup*>(&widget); group && group->FindTab(key) >= 0) return group;
    for (BaseWidget* child : widget.Children)
      if (DockGroup* found = FindIn(*child, key)) return found;
    return nullptr;
  }
  std::string Write(const std::string& text) {
    const std::string path = (Folder / "layout.xml").string();
    std::ofstream(path) << text;
    return path;
  }
  void Drag(const DockGroup& group, float x, float y) {
    const cRect header = group.Header->Rect;
    Press(header.X + 40, header.Y + 10);
    Move(header.X + 50, header.Y + 30);
    Move(x, y);
    Release(x, y);
    Settle();
  }
  int Made = 0;
  fs::path Folder;
  DockPanels Docks;
};

TEST_F(DockPanelsTest, OpensClosesAndComesBackWhereItStood) {
  EXPECT_EQ(Made, 3);
  EXPECT_EQ(Docks.SceneRect(), (cRect{140, 0, 1200 - 140 - 264, 800}));
  EXPECT_LT(Find("Params")->Rect.Y, Find("Tree")->Rect.Y);
  const cRect before = Find("Params")->Rect;
  Docks.Close("Params");
  Settle();
  EXPECT_FALSE(Docks.IsOpen("Params"));
  Docks.Open("Params");
  Docks.Open("Params");
  Settle();
  EXPECT_EQ(Made, 4) << "open is open";
  EXPECT_EQ(Find("Params")->Rect, before);
  ClickOn(*Find("Tools")->Header->Children[2]);
  Settle();
  EXPECT_FALSE(Docks.IsOpen("Tools"));
  EXPECT_EQ(Docks.SceneRect().X, 0);
  Docks.CloseAll();
  Settle();
  EXPECT_EQ(Docks.SceneRect(), (cRect{0, 0, 1200, 800}));
  Docks.Open("nobody knows it");
}

TEST_F(DockPanelsTest, DragsFloatDockAndMakeTabs) {
  Drag(*Find("Tree"), 600, 400);
  EXPECT_TRUE(Find("Tree")->Floating);
  EXPECT_TRUE(Find("Tree")->Header->GetWindowName().ends_with("_FLOATING"));
  EXPECT_EQ(Find("Tree")->Header->GetWindowName().size(), 8u + 9u);
  const cRect params = Find("Params")->Rect;
  Drag(*Find("Tree"), params.X + params.W / 2, params.Y + params.H / 2);
  ASSERT_EQ(Find("Tree"), Find("Params")) << "the middle of a panel means a tab";
  DockGroup* both = Find("Params");
  EXPECT_EQ(both->Active, 1);
  const cRect tab = both->Header->TabRect(0, Screen);
  Click(tab.X + 10, tab.Y + 8);
  EXPECT_EQ(both->Active, 0);
  EXPECT_TRUE(both->Tabs[0].Content->Visible);
  EXPECT_FALSE(both->Tabs[1].Content->Visible);
  // One tab comes out alone.
  Press(tab.X + 10, tab.Y + 8);
  Move(tab.X - 100, tab.Y + 100);
  Move(5, 795);
  Release(5, 795);
  Settle();
  EXPECT_NE(Find("Tree"), Find("Params"));
  EXPECT_TRUE(Find("Params")->Space());
  EXPECT_EQ(Find("Params")->Space()->Side, DockSide::Left);
  EXPECT_EQ(Made, 3) << "no panel was made anew on its way";
}

TEST_F(DockPanelsTest, SplittersSizeWithinTheirNeighbours) {
  DockGroup &params = *Find("Params"), &tree = *Find("Tree");
  const float y = params.Rect.Bottom() + 2, x = params.Rect.X + 50, sum = params.Rect.H + tree.Rect.H;
  const float before = params.Rect.H;
  Press(x, y);
  Move(x, y + 60);
  Release(x, y + 60);
  Settle();
  EXPECT_NEAR(params.Rect.H, before + 60, 1);
  EXPECT_EQ(params.Rect.H + tree.Rect.H, sum);
  Press(x, params.Rect.Bottom() + 2);
  Move(x, 5000);
  Release(x, 5000);
  Settle();
  EXPECT_GE(tree.Rect.H, DockLeastHeight - 1);
  const float edge = Docks.SceneRect().Right();
  Press(edge + 2, 300);
  Move(edge - 98, 300);
  Release(edge - 98, 300);
  Settle();
  EXPECT_EQ(Docks.SceneRect().Right(), edge - 100);
  tree.SetCollapsed(true);
  Settle();
  EXPECT_EQ(tree.Rect.H, Measures::HeaderHeight);
}

TEST_F(DockPanelsTest, EscTakesADragBack) {
  const auto places = [this] {
    std::vector<cRect> rects;
    for (const char* key : {"Tools", "Params", "Tree"}) rects.push_back(Find(key)->Rect);
    return rects;
  };
  Drag(*Find("Tree"), 600, 400);
  Drag(*Find("Tree"), Find("Params")->Rect.X + 100, Find("Params")->Rect.Y + 400);
  ASSERT_EQ(Find("Tree"), Find("Params"));
  const std::vector<cRect> before = places();
  const float edge = Docks.SceneRect().Right() + 2;
  for (const auto& [x, y] :
       {std::pair{Find("Tools")->Header->Rect.X + 40, 10.0f}, {Find("Tree")->Header->Rect.X + 20, 10.0f}, {edge, 300.0f}}) {
    Press(x, y);
    Move(x - 20, y + 30);
    Move(600, 400);
    Key(KeyEsc);
    Release(600, 400);
    Settle();
    EXPECT_EQ(places(), before) << x;
    EXPECT_EQ(Find("Tree"), Find("Params"));
  }
  EXPECT_EQ(Widgets.Layer(LayerFloating).Children.Count + Widgets.Layer(LayerMenus).Children.Count, 0) << "no mark is left";
  EXPECT_EQ(Made, 3) << "no panel was made anew";
}

TEST_F(DockPanelsTest, TheSceneKeepsItsShareOfASmallWindow) {
  for (const auto& [width, height, scale] :
       {std::tuple{640.0f, 480.0f, 1.0f}, {640.0f, 480.0f, 2.0f}, {640.0f, 480.0f, 3.0f}, {200.0f, 150.0f, 1.0f}}) {
    Docks.Open("Log");
    Arrange(width, height, scale);
    const cRect& scene = Docks.SceneRect();
    EXPECT_GE(scene.W, 0.4f * width) << width << " at " << scale;
    EXPECT_GE(scene.H, 0.4f * height) << width << " at " << scale;
    EXPECT_TRUE(Docks.IsOpen("Params"));
    DrawAll();
  }
  // A press on a folded dock opens it, and the other one gives way.
  Arrange(640, 480, 2);
  DockSpace *left = Find("Tools")->Space(), *right = Find("Params")->Space();
  DockSpace* folded = left->IsStrip() ? left : right;
  ASSERT_TRUE(folded->IsStrip());
  Click(folded->Rect.X + 20, folded->Rect.Y + 20);
  Docks.Arrange({0, 0, 640, 480}, Screen);
  EXPECT_FALSE(folded->IsStrip());
  EXPECT_TRUE((folded == left ? right : left)->IsStrip());
  Arrange(1200, 800);
  EXPECT_FALSE(left->IsStrip() || right->IsStrip()) << "all is back in a large window";
}

TEST_F(DockPanelsTest, LayoutsComeBackAsTheyWereStored) {
  Drag(*Find("Tree"), 600, 400);
  Docks.Close("Tools");
  Settle();
  const cRect tree = Find("Tree")->Rect, params = Find("Params")->Rect;
  const std::string path = (Folder / "stored.xml").string();
  ASSERT_TRUE(Docks.StoreLayout(path));
  Docks.SetDefault({"Log", "Tools"});
  Settle();
  EXPECT_FALSE(Docks.IsOpen("Tree"));
  ASSERT_TRUE(Docks.RestoreLayout(path));
  Settle();
  EXPECT_EQ(Find("Tree")->Rect, tree);
  EXPECT_TRUE(Find("Tree")->Floating);
  EXPECT_EQ(Find("Params")->Rect, params);
  EXPECT_FALSE(Docks.IsOpen("Tools") || Docks.IsOpen("Log"));
  Docks.Open("Tools");
  Settle();
  EXPECT_EQ(Find("Tools")->Rect.X, DockSpaceDist) << "closed panels keep their places in the file";
}

TEST_F(DockPanelsTest, BrokenLayoutsChangeNothing) {
  const auto rejected = [&](const std::string& text) {
    comms::LogRecorder log;
    const bool restored = Docks.RestoreLayout(Write(text));
    return !restored && !log.Text().empty() && Docks.IsOpen("Tools") && Docks.IsOpen("Params") && Docks.IsOpen("Tree");
  };
  EXPECT_TRUE(rejected("no xml at all <<"));
  EXPECT_TRUE(rejected("<OtherThing></OtherThing>"));
  EXPECT_TRUE(
      rejected("<DocksLayout><Elements><DockLayoutElement><Kind>Space</Kind><Elements><DockLayoutElement><Kind>Group</Kind>"
               "<Elements><DockLayoutElement><Kind>Panel</Kind><Name>Unknown</Name></DockLayoutElement></Elements>"
               "</DockLayoutElement></Elements></DockLayoutElement></Elements></DocksLayout>"));
  comms::LogRecorder log;
  EXPECT_FALSE(Docks.RestoreLayout((Folder / "missing.xml").string()));
  // What is possible of a half broken one is taken.
  EXPECT_TRUE(Docks.RestoreLayout(
      Write("<DocksLayout><Elements><DockLayoutElement><Kind>Space</Kind><Side>Left</Side><Size>nan</Size><Elements>"
            "<DockLayoutElement><Kind>Group</Kind><Size>-5</Size><Active>99</Active><Elements>"
            "<DockLayoutElement><Kind>Panel</Kind><Name>Params</Name></DockLayoutElement>"
            "<DockLayoutElement><Kind>Panel</Kind><Name>Params</Name></DockLayoutElement>"
            "<DockLayoutElement><Kind>Panel</Kind><Name>Unknown</Name></DockLayoutElement>"
            "</Elements></DockLayoutElement></Elements></DockLayoutElement></Elements></DocksLayout>")));
  Settle();
  EXPECT_TRUE(Docks.IsOpen("Params"));
  EXPECT_EQ(Find("Params")->Tabs.size(), 1u);
  EXPECT_GT(Find("Params")->Rect.W, 50);
  EXPECT_FALSE(Docks.IsOpen("Tools"));
}

}  // namespace
