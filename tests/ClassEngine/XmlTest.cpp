#include <random>
#include <tuple>

#include "ClassEngine/TestHost.h"
#include "ClassEngine/Xml.h"
#include "ClassEngine/pool.h"

namespace {

class XmlTest : public fixture::FolderTest {
 protected:
  XmlTest() { RenewXmlErrorBox(); }
};

std::string PrintToString(const XmlNode& node) {
  StrBuffer text;
  EXPECT_TRUE(node.Print(text, 0));
  return std::string(text.View());
}

// --- second route: the rules written down recursively, with plain strings ------------------------

struct SlowNode {
  std::string Name, Value;
  std::vector<SlowNode> Children;
  bool operator==(const SlowNode&) const = default;
};

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

int64_t SlowParse(SlowNode& node, const std::string& text, bool& reported) {
  size_t at = text.find('<');
  if (at == std::string::npos || text.compare(at, 2, "</") == 0) return -1;
  size_t behind = text.find('>', at);
  if (behind == std::string::npos) return -1;
  node.Name = text.substr(at + 1, behind - at - 1);
  for (;;) {
    at = text.find('<', behind);
    if (at == std::string::npos) return -1;
    const std::string run = text.substr(behind + 1, at - behind - 1);
    const size_t first = run.find_first_not_of(" \t\r\n");
    if (first != std::string::npos) node.Value = run.substr(first, run.find_last_not_of(" \t\r\n") - first + 1);
    if (text.compare(at, 2, "</") == 0) break;
    SlowNode child;
    const int64_t used = SlowParse(child, text.substr(at), reported);
    if (used < 0) {
      reported = true;
      return -1;
    }
    node.Children.push_back(child);
    behind = at + size_t(used) - 1;
  }
  if (text.compare(at + 2, node.Name.size(), node.Name) != 0) {
    reported = true;
    return -1;
  }
  const size_t end = text.find('>', at);
  if (end == std::string::npos) return -1;
  ReplaceAll(node.Value, "&lt", "<");
  ReplaceAll(node.Value, "&gt", ">");
  return int64_t(end + 1);
}

SlowNode ToSlow(const XmlNode& node) {
  SlowNode slow{std::string(node.GetNameView()), std::string(node.GetValueView()), {}};
  for (int i = 0; i < node.GetChildCount(); i++) slow.Children.push_back(ToSlow(*node.GetChild(i)));
  return slow;
}

// A few of the pieces in a row; now and then more than the 32 bytes that the parser looks at in one step.
std::string Join(std::mt19937& random, const std::vector<const char*>& pieces) {
  std::string text;
  for (unsigned count = random() % 8 ? random() % 4 : random() % 40; count > 0; count--) text += pieces[random() % pieces.size()];
  return text;
}

// A node of pieces that matter to the parser, with wrong closing tags here and there.
std::string MakeRandomText(std::mt19937& random, int depth) {
  const std::string name = Join(random, {"A", "b", "?", "<", " "});
  const std::vector<const char*> texts{"a", "&", "lt", "&gt", " ", "\n", "\t", "\r"};
  std::string text = "<" + name + ">";
  for (unsigned children = depth ? random() % 4 : 0; children > 0; children--)
    text += Join(random, texts) + MakeRandomText(random, depth - 1);
  return text + Join(random, texts) + "</" + name + (random() % 16 ? "" : "tail") + ">";
}

}  // namespace

TEST_F(XmlTest, AgreesWithTheRecursiveRules) {
  std::mt19937 random(17);
  int whole = 0;
  for (int i = 0; i < 60000; i++) {
    std::string text = MakeRandomText(random, i % 4);
    const size_t at = random() % text.size();
    if (i % 5 == 0) text.erase(at, 1 + random() % 3);
    if (i % 7 == 0) text.insert(at, 1, "<>/& A"[random() % 6]);
    SlowNode slow;
    bool reported = false;
    const int64_t expected = SlowParse(slow, text, reported);
    RenewXmlErrorBox();
    Boxes.clear();
    XmlNode fast;
    ASSERT_EQ(fast.Parse(text), expected) << text;
    ASSERT_EQ(!Boxes.empty(), reported) << text;
    if (expected < 0) {
      ASSERT_EQ(fast.GetChildCount(), 0) << text;
      continue;
    }
    whole++;
    ASSERT_TRUE(ToSlow(fast) == slow) << text;
    XmlNode again;
    ASSERT_GT(again.Parse(PrintToString(fast)), 0) << text;
    ASSERT_TRUE(ToSlow(again) == slow) << text;
  }
  EXPECT_GT(whole, 10000);
  EXPECT_LT(whole, 50000);
}

TEST_F(XmlTest, KnownTexts) {
  const std::tuple<const char*, int64_t, const char*> cases[] = {
      {"junk <A>x</A> tail", 13, "<A>x</A>\n"},
      {"<A>one<B></B>two</A>", 20, "<A>\n two\n <B></B>\n</A>\n"},
      {"<A>&lt; a&gtb & 1</A>", 21, "<A>&lt; a&gtb & 1</A>\n"},
      {"<?xml version=\"1.0\"?><A></A>", -1, "<></>\n"},
      {"", 0, "<></>\n"},
  };
  for (const auto& [text, used, printed] : cases) {
    XmlNode node;
    EXPECT_EQ(node.Parse(text), used) << text;
    EXPECT_EQ(PrintToString(node), printed) << text;
  }
}

TEST_F(XmlTest, TreesCanBeChangedAfterParsing) {
  const size_t live = GetPool().GetLiveCount();
  {
    XmlNode root;
    ASSERT_GT(root.Parse("<R>v<A>1</A><B>2<C>3</C></B><A>4</A></R>"), 0);
    EXPECT_STREQ(root.FindChild("A")->GetValue(), "1");
    EXPECT_EQ(root.FindChild("a"), nullptr);
    EXPECT_EQ(root.GetChild(3), nullptr);
    EXPECT_EQ(root.GetChild(-1), nullptr);
    EXPECT_TRUE(root.RemoveChild(0));
    EXPECT_FALSE(root.RemoveChild(2));
    root.SetName(root.GetNameView().substr(0, 1));
    root.GetChild(0)->SetValue(-42);
    root.GetChild(0)->FindChild("C")->SetName("Own");
    for (int i = 0; i < 100; i++) root.AddChild(new XmlNode("N"))->SetValue(i);
    // A second text joins the tree; the first one's names stay valid.
    ASSERT_GT(root.Parse("<S><New>&gt</New></S>"), 0);
    EXPECT_TRUE(PrintToString(root).starts_with("<S>\n v\n <B>\n  -42\n  <Own>3</Own>\n </B>\n <A>4</A>\n <N>0</N>\n"));
    EXPECT_EQ(root.GetChildCount(), 103);
    EXPECT_STREQ(root.FindChild("New")->GetValue(), ">");
    root.Clear();
    EXPECT_EQ(PrintToString(root), "<></>\n");
    root.SetValue("a&ltb");
    EXPECT_EQ(root.Parse(""), 0);
    EXPECT_STREQ(root.GetValue(), "a<b") << "empty text unescapes what the node holds";
  }
  EXPECT_EQ(GetPool().GetLiveCount(), live);
}

// --- corruption ----------------------------------------------------------------------------------

static std::string DescribeCorruption(const std::string& extract) {
  return "XML Error!|Probably XML file [unknown] is corrupted.\nPlease delete it manually. Press and keep CTRL to skip errors "
         "and delete corrupted XML files automatically.\n" +
         extract;
}

TEST_F(XmlTest, CorruptionBoxComesOnceWithAnExtract) {
  XmlNode node;
  EXPECT_EQ(node.Parse("<A><B></A>"), -1);
  EXPECT_EQ(node.Parse("<A><B></A>"), -1);
  EXPECT_EQ(Boxes, std::vector{DescribeCorruption("<A><B></A>")});

  const std::string shortest(400 - 10, 'x');  // 400 bytes in all, no line end: cut at 290 on both sides
  const std::string text = "<A><B></A>" + shortest;
  RenewXmlErrorBox();
  node.Parse(text);
  EXPECT_EQ(Boxes.back(), DescribeCorruption(text.substr(0, 290) + "\n........\n" + text.substr(400 - 290)));

  std::string lines = "<A><B></A>";
  for (int i = 0; lines.size() < 2000; i++) lines += "line " + std::to_string(i) + "\n";
  const size_t cut = lines.find('\n', 200), back = lines.rfind('\n', lines.size() - 200);
  RenewXmlErrorBox();
  node.Parse(lines);
  EXPECT_EQ(Boxes.back(), DescribeCorruption(lines.substr(0, cut) + "\n........\n" + lines.substr(back)));
}

TEST_F(XmlTest, FilesThatCanNotBeRead) {
  XmlNode node("Kept");
  for (const std::string& path : {Path("absent.xml"), m_Folder.string(), MakeFile("empty.xml", "")}) {
    EXPECT_FALSE(node.ReadFile(path.c_str()));
    EXPECT_EQ(LogText, "");
    EXPECT_EQ(CurrentXmlFile, "unknown") << "a later box must not name it";
  }
  const std::string path = MakeFile("file.xml", "<A><B></A>");
  EXPECT_FALSE(node.ReadFile(path.c_str()));
  EXPECT_EQ(LogText, "XML Load Error! XML: " + path + "\n");
  EXPECT_NE(Boxes.at(0).find("[" + path + "]"), std::string::npos);
  EXPECT_EQ(CurrentXmlFile, path);
  EXPECT_TRUE(std::filesystem::exists(path));
  ControlHeld = true;
  EXPECT_FALSE(node.ReadFile(path.c_str()));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_STREQ(node.GetName(), "Kept");
  EXPECT_FALSE(node.WriteFile(Path("absent/file.xml").c_str()));
  CurrentXmlFile = "unknown";
}

// --- hostile sizes -------------------------------------------------------------------------------

TEST_F(XmlTest, DepthCostsNoStack) {
  constexpr int Depth = 400000;
  const std::string open = fixture::Repeat("<a>", Depth), text = open + fixture::Repeat("</a>", Depth);
  XmlNode node;
  EXPECT_EQ(node.Parse(open), -1);
  EXPECT_EQ(Boxes.size(), 1u);
  ASSERT_EQ(node.Parse(text), int64_t(text.size()));
  const XmlNode* deepest = &node;
  int depth = 1;
  for (; deepest->GetChild(0); depth++) deepest = deepest->GetChild(0);
  EXPECT_EQ(depth, Depth);
  StrBuffer printed("before");
  EXPECT_FALSE(node.Print(printed, 0)) << "blanks alone would be 2 * 400000^2 / 2 bytes";
  EXPECT_STREQ(printed.Get(), "before");
}

TEST_F(XmlTest, TreesOutOfProportionAreRefused) {
  EXPECT_EQ(XmlNode().Parse("<r>" + fixture::Repeat("<></>", 12000000) + "</r>"), -1);
  EXPECT_NE(LogText.find("is refused: its 12000001 tags in 60000007 bytes"), std::string::npos) << LogText;
  EXPECT_TRUE(Boxes.empty());
}
