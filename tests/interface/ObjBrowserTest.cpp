#include "interface/ObjBrowser.h"

#include <algorithm>

#include "WidgetFixture.h"
#include "interface/TextEdit.h"

namespace {

/// A tree of strings.
class TreeOfNames : public ObjTreeModel {
 public:
  struct Entry {
    std::string Name;
    Entry* Parent = nullptr;
    std::vector<Entry*> Below{};
    uint8_t Flags = ObjVisible;
  };
  TreeOfNames() {
    for (const char* name : {"A", "B", "C"}) Add(name, &Root);
    Add("B1", Root.Below[1]);
    Add("B2", Root.Below[1]);
  }
  Entry* Add(const char* name, Entry* parent) {
    All.push_back(std::make_unique<Entry>(Entry{name, parent}));
    parent->Below.push_back(All.back().get());
    return All.back().get();
  }
  Entry* At(Node node) const { return node ? static_cast<Entry*>(const_cast<void*>(node)) : const_cast<Entry*>(&Root); }
  Node Find(std::string_view name) const {
    for (const auto& entry : All)
      if (entry->Name == name) return entry.get();
    return nullptr;
  }
  /// "A B(B1 B2) C"
  std::string Print(const Entry* entry = nullptr) const {
    std::string text;
    for (const Entry* child : (entry ? entry : &Root)->Below)
      text += (text.empty() ? "" : " ") + child->Name + (child->Below.empty() ? "" : "(" + Print(child) + ")");
    return text;
  }
  std::vector<Node> GetChildren(Node parent) const override {
    const Entry* entry = At(parent);
    return {entry->Below.begin(), entry->Below.end()};
  }
  std::string GetName(Node node) const override { return At(node)->Name; }
  bool IsSelected(Node node) const override { return std::find(Selected.begin(), Selected.end(), node) != Selected.end(); }
  void Select(Node node, bool extend) override {
    if (!extend) Selected.clear();
    Selected.push_back(node);
  }
  uint8_t GetOfferedFlags() const override { return ObjVisible | ObjLocked; }
  uint8_t GetFlags(Node node) const override { return At(node)->Flags; }
  void SetFlag(Node node, ObjFlags flag, bool on) override {
    if (on)
      At(node)->Flags |= flag;
    else
      At(node)->Flags &= uint8_t(~flag);
  }
  bool CanRename(Node) const override { return true; }
  bool Rename(Node node, const std::string& name, std::string& expected) override {
    if (name.empty()) return expected = "a name", false;
    At(node)->Name = name;
    return true;
  }
  bool CanDrag(Node) const override { return true; }
  bool CanMoveTo(Node, Node parent) const override { return !parent || At(parent)->Name[0] == 'B'; }
  void Move(Node node, Node parent, int index) override {
    Entry *moved = At(node), *from = moved->Parent, *to = At(parent);
    const auto at = std::find(from->Below.begin(), from->Below.end(), moved);
    if (from == to && at - from->Below.begin() < index) index--;
    from->Below.erase(at);
    to->Below.insert(to->Below.begin() + index, moved);
    moved->Parent = to;
  }
  bool CanRemove(Node) const override { return true; }
  void Remove(Node node) override { std::erase(At(node)->Parent->Below, At(node)); }

  Entry Root;
  std::vector<std::unique_ptr<Entry>> All;
  std::vector<Node> Selected;
};

class ObjBrowserTest : public WidgetTest {
 protected:
  ObjBrowserTest() : Tree(std::make_shared<TreeOfNames>()) { Browser = Place(new ObjBrowser(Tree), {100, 100, 240, 300}); }
  cRect Row(std::string_view name) { return Browser->RowRect(Tree->Find(name)); }
  /// Presses on a row, carries it to a part of the height of another one and lets go.
  void Drag(std::string_view from, std::string_view to, float part) {
    const cRect source = Row(from), target = Row(to);
    Press(source.X + 120, source.Y + 5);
    Move(source.X + 120, source.Y + 15);
    Move(target.X + 120, target.Y + target.H * part);
    Move(target.X + 121, target.Y + target.H * part);
    DrawAll();
    Release(target.X + 121, target.Y + target.H * part);
    DrawAll();
  }
  std::shared_ptr<TreeOfNames> Tree;
  ObjBrowser* Browser;
};

TEST_F(ObjBrowserTest, DragsReorderAndEnter) {
  Drag("C", "A", 0.1f);
  EXPECT_EQ(Tree->Print(), "C A B(B1 B2)");
  Drag("C", "A", 0.9f);
  EXPECT_EQ(Tree->Print(), "A C B(B1 B2)");
  Drag("A", "B", 0.5f);
  EXPECT_EQ(Tree->Print(), "C B(B1 B2 A)");
  Drag("B1", "A", 0.9f);
  EXPECT_EQ(Tree->Print(), "C B(B2 A B1)");
  Drag("A", "C", 0.5f);
  EXPECT_EQ(Tree->Print(), "C A B(B2 B1)") << "C takes nothing in: the place behind it";
  Drag("B", "B2", 0.5f);
  EXPECT_EQ(Tree->Print(), "C A B(B2 B1)") << "nothing goes into itself";
  Press(Row("C").X + 120, Row("C").Y + 5);
  Move(Row("C").X + 120, Row("C").Y + 40);
  Key(KeyEsc);
  Release(Row("A").X + 120, Row("A").Bottom());
  EXPECT_EQ(Tree->Print(), "C A B(B2 B1)") << "Esc drops the drag";
}

TEST_F(ObjBrowserTest, SelectsFoldsAndSetsFlags) {
  Notes notes;
  notes.Listen(*Browser);
  Click(Row("A").X + 120, Row("A").Y + 5);
  Click(Row("C").X + 120, Row("C").Y + 5, ModControl);
  EXPECT_EQ(Tree->Selected.size(), 2u);
  EXPECT_EQ(notes.Clicks, 2);
  const cRect eye = Browser->FlagRect(Tree->Find("B"), ObjVisible);
  Click(eye.X + 5, eye.Y + 5);
  EXPECT_EQ(Tree->At(Tree->Find("B"))->Flags, 0);
  EXPECT_EQ(Tree->Selected.size(), 2u) << "an icon selects nothing";
  EXPECT_EQ(notes.Changes, 1);
  EXPECT_EQ(Browser->FlagRect(Tree->Find("B"), ObjGhost), cRect{}) << "is not offered";
  Click(Row("B").X + 120, Row("B").Y + 5);
  Key(KeyLeft);
  EXPECT_EQ(Row("B1"), cRect{});
  Key(KeyDown);
  EXPECT_EQ(Tree->Selected, std::vector<ObjTreeModel::Node>{Tree->Find("C")});
  Key(KeyDelete);
  EXPECT_EQ(Tree->Print(), "A B(B1 B2)");
}

TEST_F(ObjBrowserTest, ADoubleClickRenames) {
  const auto rename = [&](const char* text, int key) {
    Click(Row("A").X + 120, Row("A").Y + 5, 0, 2);
    ASSERT_TRUE(dynamic_cast<TextEdit*>(Widgets.Focused()));
    Key(65, ModControl);
    Type(text);
    Key(key);
    DrawAll();
  };
  rename("Arm", KeyEsc);
  EXPECT_EQ(Tree->Print(), "A B(B1 B2) C");
  rename("Arm", KeyEnter);
  EXPECT_EQ(Tree->Print(), "Arm B(B1 B2) C");
  Browser->BeginRename(Tree->Find("C"));
  Tree->Remove(Tree->Find("C"));
  Widgets.RequestArrange();
  DrawAll();
  EXPECT_EQ(Tree->Print(), "Arm B(B1 B2)") << "the object went under the field";
}

}  // namespace
