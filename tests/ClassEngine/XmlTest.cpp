#include <random>

#include "ClassEngine/TestHost.h"
#include "ClassEngine/Xml.h"
#include "ClassEngine/pool.h"

namespace {

class XmlTest : public fixture::FolderTest {
 protected:
  XmlTest() { RenewXmlErrorBox(); }
};

std::string PrintToString(const XmlNode& node, int indent = 0) {
  StrBuffer text;
  EXPECT_TRUE(node.Print(text, indent));
  return std::string(text.View());
}

// --- second route: the rules written down recursively, with plain strings ------------------------

struct SlowNode {
  std::string Name, Value;
  std::vector<SlowNode> Children;
};

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

int64_t SlowParse(SlowNode& node, const std::string& text, bool& reported) {
  if (text.empty()) return 0;
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

std::string SlowPrint(const SlowNode& node, int indent) {
  std::string value = node.Value;
  ReplaceAll(value, "<", "&lt");
  ReplaceAll(value, ">", "&gt");
  std::string text = std::string(size_t(indent), ' ') + "<" + node.Name + ">";
  if (node.Children.empty()) return text + value + "</" + node.Name + ">\n";
  text += "\n";
  if (!value.empty()) text += std::string(size_t(indent) + 1, ' ') + value + "\n";
  for (const SlowNode& child : node.Children) text += SlowPrint(child, indent + 1);
  return text + std::string(size_t(indent), ' ') + "</" + node.Name + ">\n";
}

bool SameTree(const XmlNode& fast, const SlowNode& slow) {
  if (fast.GetName() != slow.Name || fast.GetValue() != slow.Value || size_t(fast.GetChildCount()) != slow.Children.size())
    return false;
  for (int i = 0; i < fast.GetChildCount(); i++)
    if (!SameTree(*fast.GetChild(i), slow.Children[size_t(i)])) return false;
  return true;
}

// Grammar-shaped text with faults: pieces that matter to the parser, mostly nested as they should be.
std::string MakeRandomText(std::mt19937& random) {
  static const char* const names[] = {"A",  "Ab", "Abc", "", "B", "long name with blanks and more than thirty-two bytes",
                                      "?x", "a<b"};
  static const char* const texts[] = {"",
                                      "\n ",
                                      "value",
                                      " two words \t",
                                      "&lt",
                                      "a&gtb&",
                                      "&&ltlt&l&gtt",
                                      "\r\n",
                                      "&l",
                                      "a text that goes on past thirty-two bytes before the next tag comes"};
  std::string text;
  std::vector<std::string> open;
  const int steps = int(random() % 12) + 1;
  for (int i = 0; i < steps; i++) {
    if (random() % 3 == 0) text += texts[random() % 10];
    if (!open.empty() && random() % 2) {
      text += "</" + open.back() + (random() % 8 ? "" : "tail") + ">";
      open.pop_back();
    } else {
      open.push_back(names[random() % 8]);
      text += "<" + open.back() + ">";
    }
  }
  while (!open.empty()) {
    text += std::string(texts[random() % 10]) + "</" + open.back() + ">";
    open.pop_back();
  }
  if (random() % 3 == 0) {
    const size_t at = random() % text.size();
    if (random() % 2)
      text.erase(at, 1 + random() % 3);
    else
      text.insert(at, 1, "<>/& A"[random() % 6]);
  }
  return text;
}

}  // namespace

TEST_F(XmlTest, AgreesWithTheRecursiveRules) {
  std::mt19937 random(17);
  int whole = 0, damaged = 0;
  for (int i = 0; i < 60000; i++) {
    const std::string text = MakeRandomText(random);
    SlowNode slow;
    bool reported = false;
    const int64_t expected = SlowParse(slow, text, reported);
    RenewXmlErrorBox();
    Boxes.clear();
    XmlNode fast;
    ASSERT_EQ(fast.Parse(text), expected) << text;
    ASSERT_EQ(!Boxes.empty(), reported) << text;
    if (expected < 0) {
      damaged++;
      ASSERT_EQ(fast.GetChildCount(), 0) << text;
      continue;
    }
    whole++;
    ASSERT_TRUE(SameTree(fast, slow)) << text;
    const int indent = int(random() % 3);
    ASSERT_EQ(PrintToString(fast, indent), SlowPrint(slow, indent)) << text;
  }
  EXPECT_GT(whole, 10000);
  EXPECT_GT(damaged, 5000);
}

TEST_F(XmlTest, KnownTexts) {
  const struct {
    const char* Text;
    int64_t Used;
    const char* Printed;
  } cases[] = {
      {"<A></A>", 7, "<A></A>\n"},
      {"<A>  \t\r\n </A>", 13, "<A></A>\n"},
      {"junk <A>x</A> tail", 13, "<A>x</A>\n"},
      {"<A>one<B></B>two</A>", 20, "<A>\n two\n <B></B>\n</A>\n"},
      {"<Ab>x</Abc>", 11, "<Ab>x</Ab>\n"},
      {"<A>&lt</A>", 10, "<A>&lt</A>\n"},
      {"<A>&lt; a&gtb & 1</A>", 21, "<A>&lt; a&gtb & 1</A>\n"},
      {"", 0, "<></>\n"},
  };
  for (const auto& item : cases) {
    XmlNode node;
    EXPECT_EQ(node.Parse(item.Text), item.Used) << item.Text;
    EXPECT_EQ(PrintToString(node), item.Printed) << item.Text;
  }
  for (const char* damaged : {"<A><B></A>", "<?xml version=\"1.0\"?><A></A>", "</A>", "no tag", "<A>", "<A></A", "<A"})
    EXPECT_EQ(XmlNode().Parse(damaged), -1) << damaged;
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
    root.GetChild(0)->FindChild("C")->SetName("a name that needs a buffer of its own");
    for (int i = 0; i < 100; i++) root.AddChild(new XmlNode("N"))->SetValue(i);
    // A second text joins the tree; the first one's names stay valid.
    ASSERT_GT(root.Parse("<S><New>&gt</New></S>"), 0);
    const std::string printed = PrintToString(root);
    EXPECT_EQ(printed.substr(0, printed.find("<N>")),
              "<S>\n v\n <B>\n  -42\n  <a name that needs a buffer of its own>3</a name that needs a buffer of its own>\n </B>\n"
              " <A>4</A>\n ");
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
  CurrentXmlFile = "unknown";
}

TEST_F(XmlTest, FilesComeBack) {
  XmlNode written("Root");
  for (int i = 0; i < 1000; i++) written.AddChild(new XmlNode("Item", "value <" + std::to_string(i) + ">"));
  const std::string path = MakeFile("file.xml", "old");
  EXPECT_TRUE(written.WriteFile(path.c_str()));
  XmlNode read;
  EXPECT_TRUE(read.ReadFile(path.c_str()));
  EXPECT_EQ(CurrentXmlFile, "unknown");
  EXPECT_EQ(PrintToString(read), PrintToString(written));
  EXPECT_FALSE(written.WriteFile(Path("absent/file.xml").c_str()));
  EXPECT_EQ(CountFiles(), 1u) << "no temporary file stays behind";
}

// --- hostile sizes -------------------------------------------------------------------------------

TEST_F(XmlTest, DepthCostsNoStack) {
  constexpr int Depth = 400000;
  std::string text;
  for (int i = 0; i < Depth; i++) text += "<a>";
  XmlNode node;
  EXPECT_EQ(node.Parse(text), -1);
  EXPECT_EQ(Boxes.size(), 1u);
  for (int i = 0; i < Depth; i++) text += "</a>";
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
  std::string text = "<r>";
  while (text.size() < 60000000) text += "<></>";
  text += "</r>";
  XmlNode node;
  EXPECT_EQ(node.Parse(text), -1);
  EXPECT_NE(LogText.find("is refused: its 12000001 tags in 60000007 bytes"), std::string::npos) << LogText;
  EXPECT_TRUE(Boxes.empty());
}
