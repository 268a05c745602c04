#include "interface/DockPanels.h"

#include <gmock/gmock.h>

#include "ClassEngine/Xml.h"
#include "WidgetFixture.h"
#include "comms/Log.h"
#include "interface/Button.h"
#include "interface/DockWidgets.h"
#include "interface/Layout.h"
#include "interface/draw/Theme.h"
#include "shell/TestFolder.h"
#include "shell/core/DataPath.h"

namespace {

class DockPanelsTest : public WidgetTest {
 protected:
  DockPanelsTest() : Folder("docks"), Docks(Widgets) {
    for (const auto& [key, side, width] : {std::tuple{"Tools", DockSide::Left, 140.0f},
                                           {"Params", DockSide::Right, 264.0f},
                                           {"Tree", DockSide::Right, 264.0f},
                                           {"Log", DockSide::Bottom, 300.0f}})
      Docks.Add({key, "Settings", [this] { return Made++, new BaseWidget; }, side, width, 200});
    Docks.SetDefault({"Tools", "Params", "Tree"});
    ArrangeDocks(1200, 800);
  }
  void ArrangeDocks(float width, float height, float scale = 1) {
    Resize(int(width), int(height), scale);
    Docks.Arrange({0, 0, width, height}, Screen);
    Widgets.ArrangeIfWanted();
  }
  void Settle() {
    DrawAll();
    ArrangeDocks(1200, 800);
  }
  DockGroup* Find(const std::string& key) {
    const auto has = [&](const DockGroup& group) { return group.FindTab(key) >= 0; };
    DockGroup* docked = FindBelow<DockGroup>(Widgets.Layer(LayerDocks), has);
    return docked ? docked : FindBelow<DockGroup>(Widgets.Layer(LayerFloating), has);
  }
  bool Restore(const std::string& text) {
    Folder.Write("layout.xml", text);
    return Docks.RestoreLayout(Folder.Path("layout.xml"));
  }
  /// From the first place over the others, until everything has come to rest.
  void Carry(std::initializer_list<comms::cVec2> places) {
    DragAlong(places);
    Settle();
  }
  void Drag(const DockGroup& group, float x, float y) {
    const cRect header = group.Header->Rect;
    Carry({{header.X + 40, header.Y + 10}, {header.X + 50, header.Y + 30}, {x, y}});
  }
  int Made = 0;
  TestFolder Folder;
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
  for (const char* key : {"Params", "Params", "nobody knows it"}) Docks.Open(key);
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
}

TEST_F(DockPanelsTest, DragsFloatDockAndMakeTabs) {
  Drag(*Find("Tree"), 600, 400);
  EXPECT_TRUE(Find("Tree")->Floating);
  EXPECT_THAT(Find("Tree")->Header->GetWindowName(), testing::MatchesRegex("[0-9A-F]{8}_FLOATING"));
  const cRect params = Find("Params")->Rect;
  Drag(*Find("Tree"), params.X + params.W / 2, params.Y + params.H / 2);
  ASSERT_EQ(Find("Tree"), Find("Params")) << "the middle of a panel means a tab";
  DockGroup* both = Find("Params");
  EXPECT_EQ(both->Active, 1);
  const cRect tab = both->Header->TabRect(0, Screen);
  Click(tab.X + 10, tab.Y + 8);
  EXPECT_TRUE(both->Tabs[0].Content->Visible && !both->Tabs[1].Content->Visible);
  // One tab comes out alone.
  Carry({{tab.X + 10, tab.Y + 8}, {tab.X - 100, tab.Y + 100}, {5, 795}});
  EXPECT_NE(Find("Tree"), Find("Params"));
  ASSERT_TRUE(Find("Params")->Space());
  EXPECT_EQ(Find("Params")->Space()->Side, DockSide::Left);
  EXPECT_EQ(Made, 3) << "no panel was made anew on its way";
}

TEST_F(DockPanelsTest, SplittersSizeWithinTheirNeighbours) {
  DockGroup &params = *Find("Params"), &tree = *Find("Tree");
  const float x = params.Rect.X + 50, sum = params.Rect.H + tree.Rect.H, before = params.Rect.H;
  const auto split = [&](float distance) {
    const float y = params.Rect.Bottom() + 2;
    Carry({{x, y}, {x, y + distance}});
  };
  split(60);
  EXPECT_NEAR(params.Rect.H, before + 60, 1);
  EXPECT_EQ(params.Rect.H + tree.Rect.H, sum);
  split(5000);
  EXPECT_GE(tree.Rect.H, DockLeastHeight - 1);
  const float edge = Docks.SceneRect().Right();
  Carry({{edge + 2, 300}, {edge - 48, 300}});
  EXPECT_EQ(Docks.SceneRect().Right(), edge - 50);
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
    ArrangeDocks(width, height, scale);
    const cRect& scene = Docks.SceneRect();
    EXPECT_GE(scene.W, 0.6f * width) << width << " at " << scale;
    EXPECT_GE(scene.H, 0.6f * height) << width << " at " << scale;
    EXPECT_TRUE(Docks.IsOpen("Params"));
  }
  // Rather than with broken rows a panel is folded: 140 and 264 wide are to be at least 120 and 224.
  for (const auto& [width, folds] : {std::pair{865.0f, false}, {855.0f, true}}) {
    ArrangeDocks(1200, 800);
    ArrangeDocks(width, 600);
    EXPECT_EQ(Find("Params")->Space()->IsStrip(), folds) << width;
  }
  // A press on a folded dock opens it, and the other one gives way.
  ArrangeDocks(640, 480, 2);
  DockSpace *left = Find("Tools")->Space(), *right = Find("Params")->Space();
  DockSpace* folded = left->IsStrip() ? left : right;
  ASSERT_TRUE(folded->IsStrip());
  Click(folded->Rect.X + 20, folded->Rect.Y + 20);
  Docks.Arrange({0, 0, 640, 480}, Screen);
  EXPECT_FALSE(folded->IsStrip());
  EXPECT_TRUE((folded == left ? right : left)->IsStrip());
  ArrangeDocks(1200, 800);
  EXPECT_FALSE(left->IsStrip() || right->IsStrip()) << "all is back in a large window";
  // A panel that is opened is seen, whoever folded its side.
  Docks.Close("Params");
  ArrangeDocks(640, 480, 2);
  EXPECT_TRUE(right->IsStrip());
  Docks.Open("Params");
  ArrangeDocks(640, 480, 2);
  EXPECT_FALSE(right->IsStrip());
  ArrangeDocks(1200, 800);
  Docks.Close("Params");
  right->Collapsed = true;
  Docks.Open("Params");
  EXPECT_FALSE(right->IsStrip());
}

TEST_F(DockPanelsTest, WhereNotAllFitTheOneThatWasAskedForHasTheRoom) {
  ArrangeDocks(1200, 90);
  EXPECT_TRUE(Find("Tree")->Squeezed && !Find("Params")->Squeezed) << "the first one";
  ClickOn(*Find("Tree")->Header);
  ArrangeDocks(1200, 90);
  EXPECT_TRUE(!Find("Tree")->Squeezed && Find("Params")->Squeezed);
  EXPECT_FALSE(Find("Params")->Tabs[0].Content->Visible);
  Docks.Open("Params");
  ArrangeDocks(1200, 90);
  EXPECT_TRUE(Find("Params")->Tabs[0].Content->Visible);
  Settle();
  EXPECT_FALSE(Find("Tree")->IsFolded() || Find("Params")->IsFolded()) << "all are back in a large window";
}

TEST_F(DockPanelsTest, AFloatingPanelStandsWhereItWasOnEveryPage) {
  Drag(*Find("Tree"), 600, 400);
  const cRect place = Find("Tree")->Rect;
  Docks.SetDefault({"Tools"});  // a page whose layout knows nothing of it
  Docks.Open("Tree");
  Settle();
  EXPECT_EQ(Find("Tree")->Rect, place);
  WindowPos& kept = *Widgets.Positions.Find("Tree");
  kept.WndName = "Layers";
  kept.tpX = 120, kept.tpY = 64, kept.Width = 300, kept.Height = 400;
  XmlNode node;
  kept.Save(&node);
  StrBuffer text;
  node.Print(text, 0);
  EXPECT_EQ(text.View(),
            "<WindowPos>\n <WndName>Layers</WndName>\n <EnableTopmost>true</EnableTopmost>\n <EnablePopup>false</EnablePopup>\n"
            " <Width>300</Width>\n <Height>400</Height>\n <tpX>120</tpX>\n <tpY>64</tpY>\n <EnableSize>true</EnableSize>\n"
            "</WindowPos>\n");
  SetDataPath(Folder.Path(), MORVANE_DATA_DIR);
  ASSERT_TRUE(Widgets.Positions.Store());
  WindowPositions again;
  again.Load();
  ASSERT_TRUE(again.Find("Layers"));
  EXPECT_EQ(again.Find("Layers")->Place(), (cRect{120, 64, 300, 400}));
  Folder.Write("Xmls/WindowPositions.xml",
               "<WindowPositions><Windows><WindowPos><WndName>Far</WndName><Width>-7</Width><tpX>999999999</tpX></WindowPos>"
               "</Windows></WindowPositions>");
  again.Load();
  ASSERT_TRUE(again.Find("Far"));
  EXPECT_EQ(again.Find("Far")->Place(), (cRect{20000, 0, 0, 0})) << "a place that a window can be brought back from";
  // The default has every panel at its first place, and there it is to be docked when it is opened again.
  Docks.SetDefault({"Tree"});
  EXPECT_FALSE(Find("Tree")->Floating);
}

TEST_F(DockPanelsTest, ADockIsAsWideAsItsButtonsNeed) {
  const char* caption = "Unabbreviated Brush";
  Docks.Add({"A panel of some title", "Brush",
             [&] {
               auto* column = new ColumnWidget;
               column->AddChild(new Button(caption, "Brush"))->Align = TextAlign::Left;
               return column;
             },
             DockSide::Left, 100, 300});
  Docks.SetDefault({"A panel of some title"});
  for (const float scale : {1.0f, 2.0f, 3.0f}) {
    ArrangeDocks(1400, 900, scale);
    Screen.Begin(1400, 900, scale);
    Widgets.DrawLayer(LayerDocks);
    EXPECT_EQ(Screen.TextsCut(), 0) << scale;
    const auto* button = FindBelow<Button>(*Find("A panel of some title")->Tabs[0].Content, [](const Button&) { return true; });
    EXPECT_GT(button->Rect.H, 1.5f * scale * Measures::RowHeight) << "the caption takes two lines";
    Screen.End();
  }
}

TEST_F(DockPanelsTest, LayoutsComeBackAsTheyWereStored) {
  Drag(*Find("Tree"), 600, 400);
  Docks.Close("Tools");
  Settle();
  const cRect tree = Find("Tree")->Rect, params = Find("Params")->Rect;
  const std::string path = Folder.Path("stored.xml");
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
  const auto open = [](const char* tag, const char* kind) { return std::string("<") + tag + "><Kind>" + kind + "</Kind>"; };
  const auto panel = [&](const char* key) {
    return open("DockLayoutElement", "Panel") + "<Name>" + key + "</Name></DockLayoutElement>";
  };
  const auto layout = [&](const char* space, const char* group, const std::string& panels) {
    return "<DocksLayout><Elements>" + open("DockLayoutElement", "Space") + space + "<Elements>" +
           open("DockLayoutElement", "Group") + group + "<Elements>" + panels +
           "</Elements></DockLayoutElement></Elements></DockLayoutElement></Elements></DocksLayout>";
  };
  for (const std::string& text :
       {std::string("no xml at all <<"), std::string("<OtherThing></OtherThing>"), layout("", "", panel("Unknown"))}) {
    comms::LogRecorder log;
    EXPECT_FALSE(Restore(text)) << text;
    EXPECT_FALSE(log.Text().empty()) << text;
    EXPECT_TRUE(Docks.IsOpen("Tools") && Docks.IsOpen("Params") && Docks.IsOpen("Tree")) << text;
  }
  comms::LogRecorder log;
  EXPECT_FALSE(Docks.RestoreLayout(Folder.Path("missing.xml")));
  // What is possible of a half broken one is taken.
  EXPECT_TRUE(Restore(layout("<Side>Left</Side><Size>nan</Size>", "<Size>-5</Size><Active>99</Active>",
                             panel("Params") + panel("Params") + panel("Unknown"))));
  Settle();
  EXPECT_FALSE(Docks.IsOpen("Tools"));
  ASSERT_TRUE(Docks.IsOpen("Params"));
  EXPECT_EQ(Find("Params")->Tabs.size(), 1u);
  EXPECT_GT(Find("Params")->Rect.W, 50);
}

}  // namespace
