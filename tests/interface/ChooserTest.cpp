// The boxes in which a person chooses files and keys.
#include "WidgetFixture.h"
#include "interface/BoxParts.h"
#include "interface/Button.h"
#include "interface/DockWidgets.h"
#include "interface/FileBrowser.h"
#include "interface/FileList.h"
#include "interface/FolderRoot.h"
#include "interface/HotKeyWindow.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NameBox.h"
#include "interface/TextMenu.h"
#include "shell/TestFolder.h"

namespace {

TEST(FilePattern, FitsWholeNamesWhateverTheCase) {
  for (const auto& [name, pattern, fits] : {std::tuple{"Head.OBJ", "*.obj", true},
                                            {"a.b.obj", "*.obj", true},
                                            {"layer12.png", "layer??.*", true},
                                            {"", "*", true},
                                            {"head.obj.bak", "*.obj", false},
                                            {"obj", "*.obj", false},
                                            {"layer1.png", "layer??.png", false}})
    EXPECT_EQ(FitsPattern(name, pattern), fits) << name;
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
  FileBrowserTest() : Folder("files") {
    for (const char* name : {"one.obj", "two.obj", "note.txt", ".hidden.obj", "inner/kept.txt"}) Folder.Write(name, name);
  }
  FileBrowser* Open(FileBrowserRequest::Kind what, const char* name = "") {
    FileBrowserRequest request;
    request.What = what;
    request.Title = "OPEN_FILE";
    request.Folder = Folder.Path();
    request.FileName = name;
    request.Patterns = {"*.obj"};
    Answers.clear();
    return FileBrowser::Open(Widgets, request, [this](const std::string& path) { Answers.push_back(path); });
  }
  void AnswerTheQuestion(int index) {
    auto* box = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal());
    ASSERT_TRUE(box);
    box->Answer(index);
    DrawAll();
  }
  TestFolder Folder;
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
  EXPECT_EQ(Answers, std::vector<std::string>{Folder.Path("two.obj")});
  EXPECT_FALSE(Widgets.HasModal());
  box = Open(FileBrowserRequest::Kind::Open);
  Key(KeyDown);
  Key(KeyEnter);
  EXPECT_EQ(box->Folder(), Folder.Path("inner"));
  Key(KeyBackspace);
  EXPECT_EQ(box->Folder() + "/", Folder.Path());
  EXPECT_FALSE(box->Enter(Folder.Path("not there")));
  EXPECT_EQ(box->Folder() + "/", Folder.Path());
  Key(KeyEsc);
  EXPECT_EQ(Answers, std::vector<std::string>{""});
}

TEST_F(FileBrowserTest, OpensWhereThePersonLeftIt) {
  FileBrowser* box = Open(FileBrowserRequest::Kind::Open);
  DrawAll();
  const cRect first = box->Rect;
  // By its title, then at its lower right corner, and far past the least size and the window.
  DragAlong({{first.X + 200, first.Y + 20}, {first.X + 190, first.Y + 5}});
  EXPECT_EQ(box->Rect, (cRect{first.X - 10, first.Y - 15, first.W, first.H}));
  const auto corner = [&] { return comms::cVec2{box->Rect.Right() - 2, box->Rect.Bottom() - 2}; };
  DragAlong({corner(), {corner().x - 100, corner().y - 50}});
  const cRect left = box->Rect;
  EXPECT_EQ(left, (cRect{first.X - 10, first.Y - 15, first.W - 100, first.H - 50}));
  Key(KeyEsc);
  box = Open(FileBrowserRequest::Kind::Open);
  DrawAll();
  EXPECT_EQ(box->Rect, left);
  Press(corner().x, corner().y);
  Move(5, 5);
  EXPECT_EQ(box->Rect.W, 320);
  EXPECT_TRUE(box->UndoDrag());
  DrawAll();
  EXPECT_EQ(box->Rect, left);
  Resize(400, 300);
  DrawAll();
  EXPECT_EQ(box->Rect.Intersection(Screen.Screen()), box->Rect) << "a smaller window holds it whole";
}

TEST_F(FileBrowserTest, NothingOfABoxOverlapsInASmallWindow) {
  std::string error;
  ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, "German", error)) << error;
  for (const float scale : {1.0f, 1.5f, 2.0f, 3.0f}) {
    Resize(640, 480, scale);
    MessageBoxWidget::Ask(Widgets, "SAVE_CHANGES_HDR", "SAVE_CHANGES", {"SAVE_AS", "DONT_SAVE", "CANCEL"}, nullptr);
    NameBox::Ask(Widgets, "StoreThisPageLayout", "", [](const std::string&, std::string&) { return true; });
    Open(FileBrowserRequest::Kind::Open);
    Open(FileBrowserRequest::Kind::Save);
    while (BaseWidget* box = Widgets.TopModal()) {
      DrawAll();
      EXPECT_EQ(Screen.TextsCut(), 0) << box->GetClassName() << " at " << scale;
      for (int i = 0; i < box->Children.Count; i++) {
        const BaseWidget& child = *box->Children[i];
        if (!child.Visible) continue;
        EXPECT_EQ(child.Rect.Intersection(box->Rect), child.Rect) << box->GetClassName() << i << " at " << scale;
        for (int k = 0; k < i; k++) {
          const cRect both = child.Rect.Intersection(box->Children[k]->Rect);
          EXPECT_FALSE(box->Children[k]->Visible && both.W > 0 && both.H > 0) << box->GetClassName() << k << i << " at " << scale;
        }
      }
      Widgets.CloseModal(box);
      Widgets.EmptyDeferredList();
    }
  }
  LoadLanguage(MORVANE_DATA_DIR, "English", error);
}

TEST_F(FileBrowserTest, AComplaintOfANameGoesWithTheName) {
  std::string error;
  ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, "English", error)) << error;
  EXPECT_EQ(GetBoxTitle("StoreThisPageLayout"), "Save layout as");
  const NameBox* box = NameBox::Ask(Widgets, "StoreThisPageLayout", "", [](const std::string&, std::string&) { return false; });
  DrawAll();
  const float height = box->Rect.H;
  Type("a");
  Key(KeyEnter);
  EXPECT_GT(box->Rect.H, height) << "it is told why not";
  Type("b");
  EXPECT_EQ(box->Rect.H, height);
}

TEST_F(FileBrowserTest, AsksBeforeAFileIsWrittenOver) {
  FileBrowser* box = Open(FileBrowserRequest::Kind::Save, "one");
  box->Accept();  // the name with its ending is there already
  AnswerTheQuestion(1);
  EXPECT_TRUE(Answers.empty());
  box->Accept();
  AnswerTheQuestion(0);
  EXPECT_EQ(Answers, std::vector<std::string>{Folder.Path("one.obj")});
  box = Open(FileBrowserRequest::Kind::Save);
  box->MakeFolder("sub/dir");
  EXPECT_EQ(box->Folder() + "/", Folder.Path());
  box->MakeFolder("fresh");
  EXPECT_EQ(box->Folder(), Folder.Path("fresh"));
  Key(KeyEnter);
  EXPECT_TRUE(Answers.empty() && Widgets.HasModal()) << "there is no name";
  Type("new.obj");
  Key(KeyEnter);
  EXPECT_EQ(Answers, std::vector<std::string>{Folder.Path("fresh/new.obj")});
}

TEST_F(FileBrowserTest, AFolderTreeChoosesAddsAndRemoves) {
  FolderRoot root;
  root.RegisterMembers();
  root.Path = Folder.Path();
  root.Patterns = "*.obj";
  auto* tree = Place(new FolderTree(root), {0, 0, 240, 300});
  Notes notes(*tree);
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
    }
    const cRect row = tree->RowRect(find(name));
    RightClick(row.X + 60, row.Y + 5);
    auto* menu = dynamic_cast<TextMenu*>(Widgets.Layer(LayerMenus).Children[0]);
    for (int i = 0; menu->Item(i); i++)
      if (menu->Item(i)->Text == key) return ClickOn(*menu->Item(i));
    FAIL() << key;
  };
  const auto answerPath = [&](const char* name) { dynamic_cast<FileBrowser*>(Widgets.TopModal())->Answer(Folder.Path(name)); };
  EXPECT_EQ(tree->RowRect(find("one.obj")).W, 0) << "folders are folded at first";
  EXPECT_FALSE(find("note.txt")) << "fits no pattern";
  choose("one.obj", "REMOVE_FILE");
  EXPECT_EQ(root.Chosen, Folder.Path("one.obj"));
  AnswerTheQuestion(1);
  EXPECT_TRUE(Folder.Has("one.obj"));
  choose("one.obj", "REMOVE_FILE");
  AnswerTheQuestion(0);
  EXPECT_FALSE(Folder.Has("one.obj"));
  EXPECT_EQ(root.Chosen, "");
  choose("inner", "REMOVE_FOLDER");
  for (int question = 0; question < 2; question++) AnswerTheQuestion(0);  // the second tells what could not be done
  EXPECT_TRUE(Folder.Has("inner/kept.txt"));
  choose("inner", "ADD_NEW_FOLDER");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Folder.Path("inner")), {}), 2);
  choose("inner", "ADD_OBJECT");
  answerPath("two.obj");
  EXPECT_TRUE(Folder.Has("inner/two.obj"));
  choose("two.obj", "ADD_EX_FILDER");
  answerPath("inner");
  EXPECT_EQ(tree->Model()->GetChildren(nullptr).size(), 2u);
  EXPECT_EQ(notes.Done, 6) << "two choices and what was done four times";
}

class DabParameters : public CommandParameters {
  REFLECTED(DabParameters, CommandParameters)
 public:
  float Radius = 1;
};
DECLARE_MEMBERS(DabParameters) { Member<_float>("Radius", Radius); }

class HotKeyWindowTest : public WidgetTest {
 protected:
  HotKeyWindowTest() {
    FillKeyTable();
    for (const auto& [name, key] : {std::pair{"Undo", "Ctrl+Z"}, {"Redo", "Ctrl+Y"}, {"Frame", ""}}) {
      Action action;
      action.Name = action.TextKey = name;
      if (action.Name == "Frame") action.TextKey = "Look at all";
      action.Run = [] {};
      if (*key) action.DefaultKeys = {key};
      if (action.Name == "Redo") action.DefaultKeys.push_back("Ctrl+Shift+Z");
      All.Add(action);
    }
    Keys.RegisterMembers();
    Keys.SetDefaults(All);
    Commands.Add<DabParameters>("Dab", "Puts a dab", {});
    Commands.Add<DabParameters>("Export", "Writes a file", {}, {"Radius"});
    Window = Place(new HotKeyWindow(Keys, All, &Commands), {50, 50, 400, 400});
  }
  std::vector<std::string> Listed(const std::string& words) {
    Window->Search(words);
    std::vector<std::string> names;
    for (const HotKeyTarget& target : Window->Listed()) names.push_back(target.Command + target.Tool + "|" + target.Parameters);
    DrawAll();
    return names;
  }
  Actions All;
  HotKeys Keys;
  CommandTable Commands;
  HotKeyWindow* Window;
};

TEST_F(HotKeyWindowTest, SearchLooksAtNamesAndKeys) {
  const std::pair<const char*, std::vector<std::string>> rows[] = {{"", {"Undo|", "Redo|", "Frame|", "Dab|"}},
                                                                   {"ctrl do", {"Undo|", "Redo|"}},
                                                                   {"ctrl+y", {"Redo|"}},
                                                                   {"all", {"Frame|"}},
                                                                   {"frame", {}},  // nobody sees that name
                                                                   {"nothing like it", {}},
                                                                   {"Export", {}},
                                                                   {" Export  Radius=2 ", {"Export|Radius=2"}},
                                                                   {"Export Size=2", {}}};
  for (const auto& [text, listed] : rows) EXPECT_EQ(Listed(text), listed) << text;
  // A command that asks for parameters is offered as the beginning of its line.
  Listed("exp");
  const std::function<Button*(BaseWidget&)> find = [&](BaseWidget& root) -> Button* {
    auto* button = dynamic_cast<Button*>(&root);
    if (button && button->GetText() == "Export Radius=…") return button;
    for (BaseWidget* child : root.Children)
      if (Button* found = find(*child)) return found;
    return nullptr;
  };
  Button* const offer = find(*Window);
  ASSERT_TRUE(offer);
  offer->Action();
  Send(TextEvent("5"));
  DrawAll();
  ASSERT_EQ(Window->Listed().size(), 1u);
  EXPECT_EQ(Window->Listed()[0], (HotKeyTarget{"Export", "Radius=5", {}}));
}

TEST_F(HotKeyWindowTest, CommandsAndToolsAreGivenKeysToo) {
  const HotKeyTarget dab{"Dab", "Radius=3", {}}, fill{{}, {}, "FILL_TOOL"};
  ASSERT_TRUE(Keys.Assign(fill, {'G', 0}));
  for (const int key : {int('D'), int(KeyDelete)}) {
    Listed("Dab Radius=3");
    Window->BeginCapture(dab);
    Key(key);
    const std::vector<std::string> all = Listed("");
    EXPECT_EQ(std::count(all.begin(), all.end(), "Dab|Radius=3"), key == 'D');
    EXPECT_EQ(std::count(all.begin(), all.end(), "FILL_TOOL|"), 1);
    EXPECT_EQ(Keys.KeyText(dab), key == 'D' ? "D" : "");
  }
}

TEST_F(HotKeyWindowTest, NoKeyIsCut) {
  std::string error;
  for (const char* language : {"English", "German"})
    for (const float width : {DockLeastWidth, 262.0f, 400.0f}) {
      ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, language, error)) << error;
      Window->Arrange({50, 50, width, 500}, Screen);
      Screen.Begin(800, 600, 1);
      Window->DrawTree(Screen);
      EXPECT_EQ(Screen.TextsCut(), 0) << language << ", " << width << " wide";
      Screen.End();
    }
  LoadLanguage(MORVANE_DATA_DIR, "English", error);
}

TEST_F(HotKeyWindowTest, TheNextKeyIsTakenAndAConflictAsked) {
  const auto capture = [this](int key, uint8_t modifiers, int answer = -1) {
    Window->BeginCapture({"Frame", {}, {}});
    Key(key, modifiers);
    if (auto* box = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal())) box->Answer(answer);
    DrawAll();
    return Keys.KeyText("Frame") + "|" + Keys.KeyText("Undo");
  };
  EXPECT_EQ(capture(KeyShift, ModShift), "|Ctrl+Z");
  EXPECT_EQ(Window->Capturing().Command, "Frame") << "a modifier alone is no key";
  EXPECT_EQ(capture('F', ModShift), "Shift+F|Ctrl+Z");
  EXPECT_EQ(Window->Capturing().Command, "");
  EXPECT_EQ(capture('Z', ModControl, 1), "Shift+F|Ctrl+Z");
  EXPECT_EQ(capture('Z', ModControl, 0), "Ctrl+Z|");
  EXPECT_EQ(capture(KeyEsc, 0), "Ctrl+Z|");
  EXPECT_EQ(capture(KeyDelete, 0), "|");
}

}  // namespace
