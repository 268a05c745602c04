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
  ASSERT_TRUE(StoreThisPageLayout(Docks, (Folder / "mine").string()));
  ResetThisPageToDefault();
  EXPECT_TRUE(Docks.IsOpen("Tools"));
  EXPECT_FALSE(Docks.IsOpen("Params"));
  EXPECT_TRUE(RestoreThisPageLayout(Docks, (Folder / "mine.OnePageLayout").string()));
  EXPECT_TRUE(Docks.IsOpen("Params"));
}

TEST_F(PageLayoutsTest, AllPagesAreStoredAsTheyAreNow) {
  const std::string kept = (Folder / "kept").string();
  Docks.Open("Params");
  SwitchPage(1);
  Docks.CloseAll();
  ASSERT_TRUE(StoreAllPagesLayout(kept));
  EXPECT_TRUE(fs::exists(Folder / "kept" / (GetPageNames()[0] + ".OnePageLayout")));
  EXPECT_FALSE(fs::exists(Folder / "kept" / (GetPageNames()[2] + ".OnePageLayout"))) << "was never shown";
  ResetAllPagesToDefault();
  EXPECT_TRUE(Docks.IsOpen("Tools"));
  SwitchPage(0);
  EXPECT_FALSE(Docks.IsOpen("Params")) << "the other page was reset too";
  ASSERT_TRUE(RestoreAllPagesLayout(kept));
  EXPECT_TRUE(Docks.IsOpen("Params"));
  SwitchPage(1);
  EXPECT_FALSE(Docks.IsOpen("Tools"));
  comms::LogRecorder log;
  EXPECT_FALSE(RestoreAllPagesLayout((Folder / "nothing").string()));
  EXPECT_FALSE(log.Text().empty());
}

}  // namespace
