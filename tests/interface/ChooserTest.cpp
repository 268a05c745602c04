// The boxes in which a person chooses files and keys.
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "WidgetFixture.h"
#include "interface/FileBrowser.h"
#include "interface/FileList.h"
#include "interface/FolderRoot.h"
#include "interface/HotKeyWindow.h"
#include "interface/MessageBoxWidget.h"
#include "interface/TextMenu.h"

namespace fs = std::filesystem;

namespace {

TEST(FilePattern, FitsWholeNamesWhateverTheCase) {
  EXPECT_TRUE(FitsPattern("Head.OBJ", "*.obj"));
  EXPECT_TRUE(FitsPattern("a.b.obj", "*.obj"));
  EXPECT_TRUE(FitsPattern("layer12.png", "layer??.*"));
  EXPECT_TRUE(FitsPattern("", "*"));
  EXPECT_FALSE(FitsPattern("head.obj.bak", "*.obj"));
  EXPECT_FALSE(FitsPattern("obj", "*.obj"));
  EXPECT_FALSE(FitsPattern("layer1.png", "layer??.png"));
}

TEST(FileOrder, NumbersCountAndFoldersComeFirst) {
  std::vector<FileEntry> entries{
      {"head 10.obj", false, 5, 30}, {"Head 2.obj", false, 9, 20}, {"zoo", true, 0, 10}, {"arm.obj", false, 9, 40}};
  const auto names = [&](FileOrder order, bool descending) {
    SortEntries(entries, order, descending);
    std::string text;
    for (const FileEntry& entry : entries) text += entry.Name + "|";
    return text;
  };
  EXPECT_EQ(names(FileOrder::Name, false), "zoo|arm.obj|Head 2.obj|head 10.obj|");
  EXPECT_EQ(names(FileOrder::Name, true), "zoo|head 10.obj|Head 2.obj|arm.obj|");
  EXPECT_EQ(names(FileOrder::Size, true), "zoo|arm.obj|Head 2.obj|head 10.obj|");
  EXPECT_EQ(names(FileOrder::Time, false), "zoo|Head 2.obj|head 10.obj|arm.obj|");
}

class FileBrowserTest : public WidgetTest {
 protected:
  FileBrowserTest() : Folder(fs::canonical(fs::temp_directory_path()) / ("files_" + std::to_string(::getpid()))) {
    fs::create_directories(Folder / "inner");
    for (const char* name : {"one.obj", "two.obj", "note.txt", ".hidden.obj"}) std::ofstream(Folder / name) << name;
  }
  ~FileBrowserTest() override { fs::remove_all(Folder); }
  FileBrowser* Open(FileBrowserRequest::Kind what, const char* name = "") {
    FileBrowserRequest request;
    request.What = what;
    request.Title = "OPEN_FILE";
    request.Folder = Folder.string();
    request.FileName = name;
    request.Patterns = {"*.obj"};
    Answers.clear();
    return FileBrowser::Open(Widgets, request, [this](const std::string& path) { Answers.push_back(path); });
  }
  fs::path Folder;
  std::vector<std::string> Answers;
};

TEST_F(FileBrowserTest, OpensByKeyboard) {
  FileBrowser* box = Open(FileBrowserRequest::Kind::Open);
  DrawAll();
  ASSERT_EQ(box->List().Entries().size(), 3u) << "a folder and two files fit";
  Key(KeyEnter);
  EXPECT_TRUE(Answers.empty()) << "nothing is chosen";
  Type("tw");
  Key(KeyEnter);
  EXPECT_EQ(Answers, std::vector<std::string>{(Folder / "two.obj").string()});
  EXPECT_FALSE(Widgets.HasModal());
  box = Open(FileBrowserRequest::Kind::Open);
  Key(KeyDown);
  Key(KeyEnter);
  EXPECT_EQ(box->Folder(), (Folder / "inner").string());
  Key(KeyBackspace);
  EXPECT_EQ(box->Folder(), Folder.string());
  EXPECT_FALSE(box->Enter((Folder / "not there").string()));
  EXPECT_EQ(box->Folder(), Folder.string());
  Key(KeyEsc);
  EXPECT_EQ(Answers, std::vector<std::string>{""});
}

TEST_F(FileBrowserTest, AsksBeforeAFileIsWrittenOver) {
  FileBrowser* box = Open(FileBrowserRequest::Kind::Save, "one");
  box->Accept();
  auto* question = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal());
  ASSERT_TRUE(question) << "the name with its ending is there already";
  question->Answer(1);
  EXPECT_TRUE(Answers.empty());
  box->Accept();
  dynamic_cast<MessageBoxWidget*>(Widgets.TopModal())->Answer(0);
  EXPECT_EQ(Answers, std::vector<std::string>{(Folder / "one.obj").string()});
  box = Open(FileBrowserRequest::Kind::Save);
  box->MakeFolder("sub/dir");
  EXPECT_EQ(box->Folder(), Folder.string());
  box->MakeFolder("fresh");
  EXPECT_TRUE(fs::is_directory(Folder / "fresh"));
  Type("new.obj");
  Key(KeyEnter);
  if (Answers.empty()) Key(KeyEnter);
  EXPECT_EQ(Answers, std::vector<std::string>{(Folder / "fresh" / "new.obj").string()});
}

TEST_F(FileBrowserTest, AFolderTreeChoosesAddsAndRemoves) {
  FolderRoot root;
  root.RegisterMembers();
  root.Path = Folder.string();
  root.Patterns = "*.obj";
  auto* tree = Place(new FolderTree(root), {0, 0, 240, 300});
  Notes notes;
  notes.Listen(*tree);
  const auto find = [&](const char* name) -> ObjTreeModel::Node {
    const auto top = tree->Model()->GetChildren(nullptr).at(0);
    for (const auto node : tree->Model()->GetChildren(top))
      if (tree->Model()->GetName(node) == name) return node;
    return *name ? nullptr : top;
  };
  // Opens the first folder, and the menu of a node, and chooses by its key.
  const auto choose = [&](const char* name, const char* key) {
    if (tree->RowRect(find("inner")).W <= 0) {
      ClickOnRect(tree->RowRect(find("")));
      Key(KeyRight);
      DrawAll();
    }
    const cRect row = tree->RowRect(find(name));
    Send(InputKind::ButtonDown, row.X + 60, row.Y + 5, MouseButton::Right);
    Send(InputKind::ButtonUp, row.X + 60, row.Y + 5, MouseButton::Right);
    auto* menu = dynamic_cast<TextMenu*>(Widgets.Layer(LayerMenus).Children[0]);
    for (int i = 0; menu->Item(i); i++)
      if (menu->Item(i)->Text == key) return ClickOn(*menu->Item(i));
    FAIL() << key;
  };
  const auto answer = [&](int index) {
    auto* box = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal());
    ASSERT_TRUE(box);
    box->Answer(index);
    DrawAll();
  };
  EXPECT_EQ(tree->RowRect(find("one.obj")).W, 0) << "folders are folded at first";
  choose("one.obj", "REMOVE_FILE");
  EXPECT_EQ(root.Chosen, (Folder / "one.obj").string());
  answer(1);
  EXPECT_TRUE(fs::exists(Folder / "one.obj"));
  EXPECT_FALSE(find("note.txt")) << "fits no pattern";
  choose("one.obj", "REMOVE_FILE");
  answer(0);
  EXPECT_FALSE(fs::exists(Folder / "one.obj"));
  EXPECT_EQ(root.Chosen, "");
  std::ofstream(Folder / "inner" / "kept.txt") << "kept";
  choose("inner", "REMOVE_FOLDER");
  answer(0);
  answer(0);  // to what could not be done
  EXPECT_TRUE(fs::exists(Folder / "inner" / "kept.txt"));
  choose("inner", "ADD_NEW_FOLDER");
  EXPECT_EQ(std::distance(fs::directory_iterator(Folder / "inner"), {}), 2);
  choose("inner", "ADD_OBJECT");
  dynamic_cast<FileBrowser*>(Widgets.TopModal())->Answer((Folder / "two.obj").string());
  EXPECT_TRUE(fs::exists(Folder / "inner" / "two.obj"));
  choose("two.obj", "ADD_EX_FILDER");
  dynamic_cast<FileBrowser*>(Widgets.TopModal())->Answer((Folder / "inner").string());
  EXPECT_EQ(tree->Model()->GetChildren(nullptr).size(), 2u);
  EXPECT_EQ(notes.Done, 6) << "two choices and what was done four times";
  DrawAll();
}

class HotKeyWindowTest : public WidgetTest {
 protected:
  HotKeyWindowTest() {
    FillKeyTable();
    for (const auto& [name, key] : {std::pair{"Undo", "Ctrl+Z"}, {"Redo", "Ctrl+Y"}, {"Frame", ""}}) {
      Action action;
      action.Name = action.TextKey = name;
      action.Run = [] {};
      if (*key) action.DefaultKeys = {key};
      All.Add(action);
    }
    Keys.RegisterMembers();
    Keys.SetDefaults(All);
    Window = Place(new HotKeyWindow(Keys, All), {50, 50, 400, 400});
  }
  Actions All;
  HotKeys Keys;
  HotKeyWindow* Window;
};

TEST_F(HotKeyWindowTest, SearchLooksAtNamesAndKeys) {
  EXPECT_EQ(Window->Listed().size(), 3u);
  Window->Search("ctrl do");
  EXPECT_EQ(Window->Listed(), (std::vector<std::string>{"Undo", "Redo"}));
  Window->Search("ctrl+y");
  EXPECT_EQ(Window->Listed(), std::vector<std::string>{"Redo"});
  Window->Search("nothing like it");
  EXPECT_TRUE(Window->Listed().empty());
  DrawAll();
}

TEST_F(HotKeyWindowTest, TheNextKeyIsTakenAndAConflictAsked) {
  Window->BeginCapture("Frame");
  Key(KeyShift, ModShift);
  EXPECT_EQ(Window->Capturing(), "Frame") << "a modifier alone is no key";
  Key(70, ModShift);
  EXPECT_EQ(Window->Capturing(), "");
  EXPECT_EQ(Keys.KeyText("Frame"), "Shift+F");
  const auto tryTaken = [&](int answer) {
    Window->BeginCapture("Frame");
    Key(90, ModControl);
    auto* box = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal());
    ASSERT_TRUE(box);
    box->Answer(answer);
    DrawAll();
  };
  tryTaken(1);
  EXPECT_EQ(Keys.KeyText("Frame"), "Shift+F");
  EXPECT_EQ(Keys.KeyText("Undo"), "Ctrl+Z");
  tryTaken(0);
  EXPECT_EQ(Keys.KeyText("Frame"), "Ctrl+Z");
  EXPECT_EQ(Keys.KeyText("Undo"), "");
  Window->BeginCapture("Frame");
  Key(KeyEsc);
  EXPECT_EQ(Keys.KeyText("Frame"), "Ctrl+Z");
  Window->BeginCapture("Frame");
  Key(KeyDelete);
  EXPECT_EQ(Keys.KeyText("Frame"), "");
}

}  // namespace
