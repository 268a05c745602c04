#include "interface/PageLayouts.h"

#include "WidgetFixture.h"
#include "comms/Log.h"
#include "interface/DockPanels.h"
#include "shell/TestFolder.h"
#include "shell/core/DataPath.h"
#include "shell/core/Pages.h"

namespace {

class PageLayoutsTest : public WidgetTest {
 protected:
  PageLayoutsTest() : Folder("layouts"), Docks(Widgets), PathBefore(GetDataPath()) {
    SetDataPath(Folder.Path(), Folder.Path());
    for (const char* key : {"Tools", "Params"}) Docks.Add({key, "", [] { return new BaseWidget; }, DockSide::Left, 200, 200});
    PageHooks hooks;
    hooks.StoreLayout = [this](const std::string& path) { return Docks.StoreLayout(path); };
    hooks.RestoreLayout = [this](const std::string& path) { return Docks.RestoreLayout(path); };
    hooks.BuildDefaultLayout = [this](int) { Docks.SetDefault({"Tools"}); };
    InitPages(hooks);
    EnterPage(0);
  }
  ~PageLayoutsTest() override {
    InitPages({});
    CurrentPage = 0;
    SetDataPath(PathBefore, "");
  }
  TestFolder Folder;
  DockPanels Docks;
  std::string PathBefore;
};

TEST_F(PageLayoutsTest, ANameThatIsTakenMissingOrNoneIsRefused) {
  for (const char* name : {"mine", "alpha"}) ASSERT_TRUE(StoreThisPageLayout(Docks, name));
  comms::LogRecorder log;
  const auto list = [] { return ListPageLayouts(LayoutKind::OnePage); };
  EXPECT_EQ(list(), (std::vector<std::string>{"alpha", "mine"}));
  for (const char* name : {"mine", "../alpha"}) EXPECT_FALSE(RenamePageLayout(LayoutKind::OnePage, "alpha", name));
  EXPECT_TRUE(RenamePageLayout(LayoutKind::OnePage, "alpha", "zeta"));
  EXPECT_TRUE(DeletePageLayout(LayoutKind::OnePage, "mine"));
  EXPECT_FALSE(DeletePageLayout(LayoutKind::OnePage, "mine"));
  EXPECT_FALSE(RestoreThisPageLayout(Docks, "mine"));
  EXPECT_FALSE(StoreThisPageLayout(Docks, "../../mine"));
  EXPECT_EQ(list(), std::vector<std::string>{"zeta"});
}

TEST_F(PageLayoutsTest, AllPagesAreStoredAsTheyAreNow) {
  const std::string kept = "kept";
  const std::string folder = "UserData/Layouts/kept/";
  Docks.Open("Params");
  SwitchPage(1);
  Docks.CloseAll();
  ASSERT_TRUE(StoreAllPagesLayout(kept));
  EXPECT_TRUE(Folder.Has(folder + GetPageNames()[0] + ".OnePageLayout"));
  EXPECT_FALSE(Folder.Has(folder + GetPageNames()[2] + ".OnePageLayout")) << "was never shown";
  ResetAllPagesToDefault();
  EXPECT_TRUE(Docks.IsOpen("Tools"));
  SwitchPage(0);
  EXPECT_FALSE(Docks.IsOpen("Params")) << "the other page was reset too";
  ASSERT_TRUE(RestoreAllPagesLayout(kept));
  EXPECT_TRUE(Docks.IsOpen("Params"));
  SwitchPage(1);
  EXPECT_FALSE(Docks.IsOpen("Tools"));
  comms::LogRecorder log;
  EXPECT_FALSE(RestoreAllPagesLayout("nothing"));
  EXPECT_FALSE(log.Text().empty());
  EXPECT_EQ(ListPageLayouts(LayoutKind::AllPages), std::vector<std::string>{"kept"});
  EXPECT_TRUE(DeletePageLayout(LayoutKind::AllPages, "kept"));
  EXPECT_FALSE(Folder.Has(folder));
}

}  // namespace
