#include "interface/ObjBrowser.h"

#include <algorithm>
#include <list>

#include "WidgetFixture.h"
#include "interface/TextEdit.h"

namespace {

/// A tree of strings.
class TreeOfNames : public ObjTreeModel {
 public:
  struct Entry {
    std::string Name;
    Node Parent = nullptr;
    uint8_t Flags = ObjVisible;
  };
  TreeOfNames() {
    for (const char* name : {"A", "B", "C"}) All.push_back({name});
    for (const char* name : {"B1", "B2"}) All.push_back({name, Find("B")});
  }
  std::list<Entry>::iterator At(Node node) {
    return std::find_if(All.begin(), All.end(), [&](const Entry& entry) { return &entry == node; });
  }
  static const Entry& Get(Node node) { return *static_cast<const Entry*>(node); }
  Node Find(std::string_view name) const {
    const auto at = std::find_if(All.begin(), All.end(), [&](const Entry& entry) { return entry.Name == name; });
    return at == All.end() ? nullptr : &*at;
  }
  /// "A B(B1 B2) C"
  std::string Print(Node parent = nullptr) const {
    std::string text;
    for (const Node child : GetChildren(parent)) {
      const std::string below = Print(child);
      text += (text.empty() ? "" : " ") + Get(child).Name + (below.empty() ? "" : "(" + below + ")");
    }
    return text;
  }
  std::vector<Node> GetChildren(Node parent) const override {
    std::vector<Node> children;
    for (const Entry& entry : All)
      if (entry.Parent == parent) children.push_back(&entry);
    return children;
  }
  std::string GetName(Node node) const override { return Get(node).Name; }
  bool IsSelected(Node node) const override { return std::find(Selected.begin(), Selected.end(), node) != Selected.end(); }
  void Select(Node node, bool extend) override {
    if (!extend) Selected.clear();
    Selected.push_back(node);
  }
  uint8_t GetOfferedFlags() const override { return ObjVisible | ObjLocked; }
  uint8_t GetFlags(Node node) const override { return Get(node).Flags; }
  void SetFlag(Node node, ObjFlags flag, bool on) override {
    At(node)->Flags = uint8_t(on ? Get(node).Flags | flag : Get(node).Flags & ~flag);
  }
  bool CanRename(Node) const override { return true; }
  bool Rename(Node node, const std::string& name, std::string&) override { return At(node)->Name = name, true; }
  bool CanDrag(Node) const override { return true; }
  bool CanMoveTo(Node, Node parent) const override { return !parent || Get(parent).Name[0] == 'B'; }
  void Move(Node node, Node parent, int index) override {
    const std::vector<Node> children = GetChildren(parent);
    const Node before = size_t(index) < children.size() ? children[size_t(index)] : nullptr;
    if (before == node) return;
    At(node)->Parent = parent;
    All.splice(At(before), All, At(node));
  }
  bool CanRemove(Node) const override { return true; }
  void Remove(Node node) override { All.erase(At(node)); }

  std::list<Entry> All;
  std::vector<Node> Selected;
};

class ObjBrowserTest : public WidgetTest {
 protected:
  ObjBrowserTest() : Tree(std::make_shared<TreeOfNames>()) { Browser = Place(new ObjBrowser(Tree), {100, 100, 240, 300}); }
  cRect Row(std::string_view name) { return Browser->RowRect(Tree->Find(name)); }
  void ClickRow(std::string_view name, uint8_t modifiers = 0, uint8_t clicks = 1) {
    Click(Row(name).X + 120, Row(name).Y + 5, modifiers, clicks);
  }
  /// Presses on a row, carries it to a part of the height of another one and lets go.
  void Drag(std::string_view from, std::string_view to, float part) {
    const cRect source = Row(from), target = Row(to);
    const float x = source.X + 120, y = target.Y + target.H * part;
    DragAlong({{x, source.Y + 5}, {x, source.Y + 15}, {x, y}, {x + 1, y}});
  }
  std::shared_ptr<TreeOfNames> Tree;
  ObjBrowser* Browser;
};

TEST_F(ObjBrowserTest, DragsReorderAndEnter) {
  const struct {
    const char *From, *To;
    float Part;
    const char* Tree;
  } rows[] = {
      {"C", "A", 0.1f, "C A B(B1 B2)"},  {"C", "A", 0.9f, "A C B(B1 B2)"}, {"A", "B", 0.5f, "C B(B1 B2 A)"},
      {"B1", "A", 0.9f, "C B(B2 A B1)"}, {"A", "C", 0.5f, "C A B(B2 B1)"},  // C takes nothing in: the place behind it
      {"B", "B2", 0.5f, "C A B(B2 B1)"},                                    // nothing goes into itself
  };
  for (const auto& row : rows) {
    Drag(row.From, row.To, row.Part);
    EXPECT_EQ(Tree->Print(), row.Tree);
  }
  Press(Row("C").X + 120, Row("C").Y + 5);
  Move(Row("C").X + 120, Row("C").Y + 40);
  Key(KeyEsc);
  Release(Row("A").X + 120, Row("A").Bottom());
  EXPECT_EQ(Tree->Print(), "C A B(B2 B1)") << "Esc drops the drag";
}

TEST_F(ObjBrowserTest, SelectsFoldsAndSetsFlags) {
  Notes notes(*Browser);
  ClickRow("A");
  ClickRow("C", ModControl);
  EXPECT_EQ(Tree->Selected.size(), 2u);
  EXPECT_EQ(notes.Clicks, 2);
  const cRect eye = Browser->FlagRect(Tree->Find("B"), ObjVisible);
  Click(eye.X + 5, eye.Y + 5);
  EXPECT_EQ(Tree->GetFlags(Tree->Find("B")), 0);
  EXPECT_EQ(Tree->Selected.size(), 2u) << "an icon selects nothing";
  EXPECT_EQ(notes.Changes, 1);
  EXPECT_EQ(Browser->FlagRect(Tree->Find("B"), ObjGhost), cRect{}) << "is not offered";
  ClickRow("B");
  Key(KeyLeft);
  EXPECT_EQ(Row("B1"), cRect{});
  Key(KeyDown);
  EXPECT_EQ(Tree->Selected, std::vector<ObjTreeModel::Node>{Tree->Find("C")});
  Key(KeyDelete);
  EXPECT_EQ(Tree->Print(), "A B(B1 B2)");
}

TEST_F(ObjBrowserTest, ADoubleClickRenames) {
  for (const auto& [key, name] : {std::pair{KeyEsc, "A"}, {KeyEnter, "Arm"}}) {
    ClickRow("A", 0, 2);
    ASSERT_TRUE(dynamic_cast<TextEdit*>(Widgets.Focused()));
    TypeAnew("Arm");
    Key(key);
    EXPECT_EQ(Tree->Print(), name + std::string(" B(B1 B2) C"));
  }
  Browser->BeginRename(Tree->Find("C"));
  Tree->Remove(Tree->Find("C"));
  Widgets.RequestArrange();
  DrawAll();
  EXPECT_EQ(Tree->Print(), "Arm B(B1 B2)") << "the object went under the field";
}

}  // namespace
