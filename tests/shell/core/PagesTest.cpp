#include "shell/core/Pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "comms/Log.h"
#include "shell/TestFolder.h"
#include "shell/core/BasicTool.h"
#include "shell/core/DataPath.h"

namespace fs = std::filesystem;

namespace {

class RoomTool : public BasicTool {
  REFLECTED(RoomTool, BasicTool)
 public:
  std::string Room = "Paint";
  bool Pen = false;
  int Entered = 0;
  const char* GetRoomName() const override { return Room.c_str(); }
  bool UsesPen() const override { return Pen; }
  void OnRoomEnter() override { ++Entered; }
};
DECLARE_MEMBERS(RoomTool) {}

class PagesTest : public testing::Test {
 protected:
  PagesTest() : Files("pages") {
    SetDataPath(Files.Path("own"), Files.Path("program"));
    PageHooks hooks;
    hooks.StoreLayout = [this](const std::string& path) {
      std::ofstream(path) << "layout";
      Log += "store " + Short(path) + "\n";
      return true;
    };
    hooks.RestoreLayout = [this](const std::string& path) {
      Log += "restore " + Short(path) + "\n";
      std::string text;
      std::ifstream(path) >> text;
      return text == "layout";
    };
    hooks.BuildDefaultLayout = [this](int page) { Log += "default " + std::to_string(page) + "\n"; };
    hooks.RebuildPanels = [this] { Log += "rebuild " + std::to_string(CurrentPage) + "\n"; };
    InitPages(std::move(hooks));
  }
  ~PagesTest() override {
    InitPages({});
    ReleaseTools();
    SetDataPath("", "");
  }
  std::string Short(const std::string& path) const { return fs::relative(path, Files.Path()).string(); }
  RoomTool& AddRoom(const char* room, bool roomTool, bool pen) {
    RoomTool& tool = CreateTool<RoomTool>();
    tool.Room = room;
    tool.IsRoomTool = roomTool;
    tool.Pen = pen;
    return tool;
  }
  TestFolder Files;
  std::string Log;
};

TEST_F(PagesTest, ASwitchStoresRestoresAndRebuilds) {
  EXPECT_TRUE(SwitchPage(1));
  EXPECT_EQ(Log, "store own/Temp/page_0.xml\nstore own/Temp/Prev/page_0.xml\ndefault 1\nrebuild 1\n");
  Log.clear();
  EXPECT_TRUE(SwitchPage(0));
  EXPECT_EQ(Log, "store own/Temp/page_1.xml\nstore own/Temp/Prev/page_1.xml\nrestore own/Temp/page_0.xml\nrebuild 0\n");
  Log.clear();
  for (const int page : {-1, 5, 0}) EXPECT_FALSE(SwitchPage(page));
  EXPECT_EQ(CurrentPage, 0);
  EXPECT_EQ(Log, "");
}

TEST_F(PagesTest, LayoutsFallBack) {
  Files.Write("program/ToolsPresets/page_3.xml", "layout");
  EXPECT_TRUE(EnterPage(3));
  EXPECT_EQ(Log, "restore program/ToolsPresets/page_3.xml\nrebuild 3\n");
  Files.Write("own/Temp/page_3.xml", "damaged");
  Log.clear();
  EnterPage(3);
  EXPECT_EQ(Log, "restore own/Temp/page_3.xml\nrestore program/ToolsPresets/page_3.xml\nrebuild 3\n");
  Files.Write("own/Temp/Prev/page_3.xml", "layout");
  Log.clear();
  EnterPage(3);
  EXPECT_EQ(Log, "restore own/Temp/page_3.xml\nrestore own/Temp/Prev/page_3.xml\nrebuild 3\n");
}

TEST_F(PagesTest, TheMainToolIsActiveOnEntry) {
  AddRoom("Paint", false, false);  // comes first, and is no pen
  RoomTool& pen = AddRoom("Paint", false, true);
  RoomTool& voxels = AddRoom("Voxels", true, false);
  EXPECT_TRUE(EnterPage(FindPage("Voxels")));
  EXPECT_EQ(&GetCurrentTool(), &voxels);
  EXPECT_EQ(voxels.Entered, 1);
  SwitchPage(FindPage("Paint"));
  EXPECT_EQ(&GetCurrentTool(), &pen);
  SwitchPage(FindPage("Retopo"));
  EXPECT_EQ(&GetCurrentTool(), &GetDefaultTool()) << "a room without a tool";
}

TEST_F(PagesTest, AllowedPages) {
  for (const char* all : {"", " ,;\t\r\n"}) EXPECT_TRUE(IsPageAllowed("Paint", all));
  const char* some = "Voxels,Render;\tSculpt\r\nRetopology";
  for (const char* name : {"Voxels", "Render", "Sculpt"}) EXPECT_TRUE(IsPageAllowed(name, some));
  for (const char* name : {"Paint", "Retopo", "voxels", ""}) EXPECT_FALSE(IsPageAllowed(name, some));
  EXPECT_EQ(ListAllowedPages().size(), 5u) << "no file";
  InitPages({});
  Files.Write("own/Pages.txt", "Voxels, Render");
  EXPECT_EQ(ListAllowedPages(), (std::vector<int>{0, 4}));
  Files.Write("own/Pages.txt", "Paint");
  EXPECT_TRUE(IsPageAllowed("Voxels")) << "read once";
  comms::LogRecorder log;
  for (const char* text : {"Paint", "voxels Painting", ""}) {
    InitPages({});
    Files.Write("own/Pages.txt", text);
    for (int again = 0; again < 2; again++) ListAllowedPages();
  }
  EXPECT_EQ(std::ranges::count(log.Text(), '\n'), 1) << log.Text() << "of the one that names no page";
}

TEST_F(PagesTest, TagsOfItems) {
  EXPECT_TRUE(IsShownOnPage("Layers", 3));
  for (const int page : {0, 1, 3, 12}) {
    EXPECT_EQ(IsShownOnPage("[Page1][Page3]Layers", page), page == 1 || page == 3) << page;
    EXPECT_EQ(IsShownOnPage("Layers[Page12]", page), page == 12) << "a number is read whole";
    EXPECT_TRUE(IsShownOnPage("[Page]Layers", page)) << "no number";
    EXPECT_FALSE(IsShownOnPage("[Page99999999999999999999]", page));
  }
  EXPECT_EQ(StripPageTags("[Page1][Page3]Layers [Page] x[Page2"), "Layers [Page] x");
}

}  // namespace
