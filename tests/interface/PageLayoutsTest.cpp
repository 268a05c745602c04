#include "interface/PageLayouts.h"

#include <unistd.h>

#include <filesystem>

#include "WidgetFixture.h"
#include "comms/Log.h"
#include "interface/DockPanels.h"
#include "shell/core/DataPath.h"
#include "shell/core/Pages.h"

namespace fs = std::filesystem;

namespace {

class PageLayoutsTest : public WidgetTest {
 protected:
  PageLayoutsTest()
      : Folder(fs::temp_directory_path() / ("layouts_" + std::to_string(::getpid()))), Docks(Widgets), PathBefore(GetDataPath()) {
    fs::create_directories(Folder);
    SetDataPath(Folder.string() + "/", Folder.string() + "/");
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
    fs::remove_all(Folder);
  }
  fs::path Folder;
  DockPanels Docks;
  std::string PathBefore;
};

TEST_F(PageLayoutsTest, APageIsStoredRestoredAndReset) {
  Docks.Open("Params");
  ASSERT_TRUE(StoreThisPageLayout(Docks, "mine"));
  ResetThisPageToDefault();
  EXPECT_TRUE(Docks.IsOpen("Tools"));
  EXPECT_FALSE(Docks.IsOpen("Params"));
  EXPECT_TRUE(RestoreThisPageLayout(Docks, "mine"));
  EXPECT_TRUE(Docks.IsOpen("Params"));

  comms::LogRecorder log;
  const auto list = [] { return ListPageLayouts(LayoutKind::OnePage); };
  ASSERT_TRUE(StoreThisPageLayout(Docks, "alpha"));
  EXPECT_EQ(list(), (std::vector<std::string>{"alpha", "mine"}));
  EXPECT_FALSE(RenamePageLayout(LayoutKind::OnePage, "alpha", "mine")) << "another one has the name";
  EXPECT_FALSE(RenamePageLayout(LayoutKind::OnePage, "alpha", "../alpha"));
  EXPECT_TRUE(RenamePageLayout(LayoutKind::OnePage, "alpha", "zeta"));
  EXPECT_TRUE(DeletePageLayout(LayoutKind::OnePage, "mine"));
  EXPECT_FALSE(DeletePageLayout(LayoutKind::OnePage, "mine"));
  EXPECT_FALSE(RestoreThisPageLayout(Docks, "mine"));
  EXPECT_FALSE(StoreThisPageLayout(Docks, "../../mine"));
  EXPECT_EQ(list(), std::vector<std::string>{"zeta"});
}

TEST_F(PageLayoutsTest, AllPagesAreStoredAsTheyAreNow) {
  const std::string kept = "kept";
  const fs::path folder = Folder / "UserData/Layouts/kept";
  Docks.Open("Params");
  SwitchPage(1);
  Docks.CloseAll();
  ASSERT_TRUE(StoreAllPagesLayout(kept));
  EXPECT_TRUE(fs::exists(folder / (GetPageNames()[0] + ".OnePageLayout")));
  EXPECT_FALSE(fs::exists(folder / (GetPageNames()[2] + ".OnePageLayout"))) << "was never shown";
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
  EXPECT_FALSE(fs::exists(folder));
}

}  // namespace
