// Parsing in two passes without recursion. The first only looks: it finds out whether the text holds a whole node, what it uses
// and how large the tree gets, so that nothing is allocated for damaged text and hostile text is refused by its figures. The
// second cuts a copy of the text into names and values in place.
#include <immintrin.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "ClassEngine/Assert.h"
#include "ClassEngine/EngineHost.h"
#include "ClassEngine/FileBinStream.h"
#include "ClassEngine/Xml.h"
#include "ClassEngine/dynarray.h"
#include "ClassEngine/pool.h"

static bool IsBlank(char symbol) { return symbol == ' ' || symbol == '\n' || symbol == '\t' || symbol == '\r'; }

// First `symbol` in [from, end), null when there is none. Tags are short: the first 32 bytes are looked at without a call.
static const char* FindByte(const char* from, const char* end, char symbol) {
  if (end - from >= 32) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const uint32_t hits = uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(symbol))));
    if (hits) return from + std::countr_zero(hits);
    from += 32;
  }
  return static_cast<const char*>(std::memchr(from, symbol, size_t(end - from)));
}
static char* FindByte(char* from, char* end, char symbol) {
  return const_cast<char*>(FindByte(static_cast<const char*>(from), static_cast<const char*>(end), symbol));
}

// --- first pass ----------------------------------------------------------------------------------

namespace {

/// What a text holds.
struct XmlScan {
  bool Whole = false;      ///< a node from its "<" to the ">" of its closing tag
  bool Corrupted = false;  ///< not whole, and worth a report: a child is damaged or a closing tag is another's
  bool Refused = false;    ///< too large, or hostile by its figures
  size_t Start = 0;        ///< of the node
  size_t Used = 0;         ///< bytes from the start of the text to the end of the node
  size_t Nodes = 0;
  size_t PeakBytes = 0;  ///< memory of the tree and of building and freeing it, the text not counted
};

class XmlScanner {
 public:
  explicit XmlScanner(std::string_view text) : m_Begin(text.data()), m_End(text.data() + text.size()) {}
  XmlScan Run();

 private:
  struct Open {
    uint32_t Offset;  // of "<"
    uint32_t Children;
  };
  const char* ReadOpening(const char* at);
  const char* ReadClosing(const char* at);
  void CountMemory();

  const char* const m_Begin;
  const char* const m_End;
  DynArray<Open> m_Open;
  XmlScan m_Scan;
  size_t m_BlockBytes = 0, m_Blocks = 0, m_Pending = 0, m_MaxPending = 0, m_MaxDepth = 0;
};

// Behind the opening tag at `at`; null where it has no end.
const char* XmlScanner::ReadOpening(const char* at) {
  const char* nameEnd = FindByte(at + 1, m_End, '>');
  if (!nameEnd) {
    m_Scan.Corrupted = m_Open.Count > 0;
    return nullptr;
  }
  m_Open.Add({uint32_t(at - m_Begin), 0});
  m_Scan.Nodes++;
  m_MaxDepth = std::max(m_MaxDepth, size_t(m_Open.Count));
  return nameEnd + 1;
}

// Behind the closing tag at `at`; null where it is damaged. It only has to begin with the name.
const char* XmlScanner::ReadClosing(const char* at) {
  const Open node = m_Open.RemoveLast();
  const char* name = m_Begin + node.Offset + 1;
  const size_t length = size_t(FindByte(name, m_End, '>') - name);
  if (size_t(m_End - at) < length + 2 || std::memcmp(at + 2, name, length) != 0) {
    m_Scan.Corrupted = true;
    return nullptr;
  }
  const char* tagEnd = FindByte(at + 2 + length, m_End, '>');
  if (!tagEnd) {
    m_Scan.Corrupted = m_Open.Count > 0;
    return nullptr;
  }
  if (node.Children) {
    const size_t bytes = 16 + size_t(node.Children) * sizeof(XmlNode*);
    m_BlockBytes += bytes <= PooledAllocator::MaxPooled ? std::bit_ceil(bytes) : bytes + 16;
    m_Blocks++;
    m_Pending -= node.Children;
  }
  m_Pending++;
  m_MaxPending = std::max(m_MaxPending, m_Pending);
  if (m_Open.Count) m_Open.Data[m_Open.Count - 1].Children++;
  return tagEnd + 1;
}

XmlScan XmlScanner::Run() {
  const char* at = FindByte(m_Begin, m_End, '<');
  if (!at || (at + 1 < m_End && at[1] == '/')) return m_Scan;
  m_Scan.Start = size_t(at - m_Begin);
  do {
    const bool closing = m_Open.Count && at + 1 < m_End && at[1] == '/';
    const char* behind = closing ? ReadClosing(at) : ReadOpening(at);
    if (!behind) return m_Scan;
    if (!m_Open.Count) {
      m_Scan.Whole = true;
      m_Scan.Used = size_t(behind - m_Begin);
      CountMemory();
      return m_Scan;
    }
    at = FindByte(behind, m_End, '<');
  } while (at);
  m_Scan.Corrupted = m_Open.Count > 1;
  return m_Scan;
}

void XmlScanner::CountMemory() {
  const size_t tree = m_Scan.Nodes * sizeof(XmlNode) + m_BlockBytes;
  const size_t building = m_MaxPending * sizeof(XmlNode*) + m_MaxDepth * 16;
  const size_t freeing = (m_Scan.Nodes + m_Blocks) * sizeof(void*);  // entries of the pool's lists; the text is gone by then
  m_Scan.PeakBytes = tree + std::max(building, freeing);
}

}  // namespace

// --- second pass ---------------------------------------------------------------------------------

// Builds the tree of a text that was found whole.
class XmlBuilder {
 public:
  XmlBuilder(XmlNode& root, char* text, size_t size) : m_Root(root), m_Text(text), m_End(text + size) {}
  // After a failed allocation: what was made so far goes.
  ~XmlBuilder() {
    for (XmlNode* node : m_Pending) delete node;
    for (const Open& open : m_Open)
      if (open.Node != &m_Root) delete open.Node;
  }
  void Run();

 private:
  struct Open {
    XmlNode* Node;
    int32_t FirstPending;
  };
  char* ReadOpening(XmlNode* node, char* at);
  void TakeValue(XmlNode& node, char* begin, char* end);
  char* ReadClosing(char* at);

  XmlNode& m_Root;
  char* const m_Text;
  char* const m_End;
  DynArray<Open> m_Open;
  DynArray<XmlNode*> m_Pending;  // finished children of the open nodes
};

// A terminator stands where the ">" was.
char* XmlBuilder::ReadOpening(XmlNode* node, char* at) {
  char* nameEnd = FindByte(at + 1, m_End, '>');
  m_Open.Add({node, m_Pending.Count});
  node->m_Name.Borrow(at + 1, size_t(nameEnd - at - 1));
  return nameEnd + 1;
}

// The last run of text wins. Its terminator may replace the "<" behind it, which has been seen by then.
void XmlBuilder::TakeValue(XmlNode& node, char* begin, char* end) {
  while (begin < end && IsBlank(*begin)) begin++;
  if (begin == end) return;
  while (IsBlank(end[-1])) end--;
  node.m_Value.Borrow(begin, size_t(end - begin));
}

char* XmlBuilder::ReadClosing(char* at) {
  char* tagEnd = FindByte(at + 2, m_End, '>');
  const Open open = m_Open.Data[m_Open.Count - 1];
  XmlNode& node = *open.Node;
  node.m_Value.Unescape();
  if (const uint32_t children = uint32_t(m_Pending.Count - open.FirstPending)) {
    const uint32_t before = uint32_t(node.GetChildCount());
    node.ReserveChildren(before + children);
    std::memcpy(node.m_Children->Items + before, m_Pending.Data + open.FirstPending, children * sizeof(XmlNode*));
    node.m_Children->Count += children;
    m_Pending.Count = open.FirstPending;
  }
  m_Open.Count--;
  if (m_Open.Count) m_Pending.Add(&node);
  return tagEnd + 1;
}

void XmlBuilder::Run() {
  char* behind = ReadOpening(&m_Root, m_Text);
  while (m_Open.Count) {
    char* at = FindByte(behind, m_End, '<');
    TakeValue(*m_Open.Data[m_Open.Count - 1].Node, behind, at);
    behind = at[1] == '/' ? ReadClosing(at) : ReadOpening(new XmlNode, at);
  }
}

// "&lt" and "&gt", without a semicolon, wherever they stand.
void XmlNode::TextRef::Unescape() {
  if (!Length) return;
  const char* end = Data + Length;
  const char* from = FindByte(static_cast<const char*>(Data), end, '&');
  if (!from) return;
  if (Owned) {  // a buffer of its own is as long as its text
    std::string copy(View());
    TextRef borrowed;
    borrowed.Borrow(copy.data(), copy.size());
    borrowed.Unescape();
    Set(borrowed.View());
    return;
  }
  char* to = Data + (from - Data);
  while (from < end) {
    if (end - from >= 3 && from[0] == '&' && (from[1] == 'l' || from[1] == 'g') && from[2] == 't') {
      *to++ = from[1] == 'l' ? '<' : '>';
      from += 3;
    } else {
      *to++ = *from++;
    }
  }
  Borrow(Data, size_t(to - Data));
}

// --- corruption ----------------------------------------------------------------------------------

static bool s_BoxShown = false;

void RenewXmlErrorBox() { s_BoxShown = false; }

// The whole of a short text; of a longer one a piece of its start and one of its end, cut at line ends where there are any
// nearby.
static std::string MakeExtract(std::string_view text) {
  constexpr size_t ShownWhole = 400, Near = 200, Far = 290;
  if (text.size() < ShownWhole) return std::string(text);
  size_t cut = Near;
  while (cut < Far && text[cut] != '\n') cut++;
  size_t back = Near;
  while (back < Far && text[text.size() - back] != '\n') back++;
  std::string extract(text.substr(0, cut));
  extract += "\n...";
  extract += ".....\n";
  return extract.append(text.substr(text.size() - back));
}

static void ReportCorruption(std::string_view text) {
  if (std::exchange(s_BoxShown, true)) return;
  const std::string message =
      "Probably XML file [" + CurrentXmlFile +
      "] is corrupted.\nPlease delete it manually. Press and keep CTRL to skip errors and delete corrupted "
      "XML files automatically.\n" +
      MakeExtract(text);
  GetEngineHost().ShowBox("XML Error!", message.c_str());
}

// Looks at a text of which `copies` lie in memory while its tree is built. False, after its report, where no tree is to be made.
static bool Accept(std::string_view text, size_t copies, XmlScan& scan) {
  const size_t limit = 4 * text.size() + size_t(XmlMemoryBase);
  std::string refusal;
  if (text.size() >= size_t(INT32_MAX))
    refusal = "it has " + std::to_string(text.size()) + " bytes, more than 2 GiB";
  else if (scan = XmlScanner(text).Run(); scan.Whole && scan.PeakBytes + copies * text.size() > limit)
    refusal = "its " + std::to_string(scan.Nodes) + " tags in " + std::to_string(text.size()) + " bytes would take " +
              std::to_string(scan.PeakBytes) + " bytes of memory";
  scan.Refused = !refusal.empty();
  if (scan.Refused) GetEngineHost().Log(("XML text [" + CurrentXmlFile + "] is refused: " + refusal + ".\n").c_str());
  if (scan.Corrupted) ReportCorruption(text);
  return scan.Whole && !scan.Refused;
}

// --- entry points --------------------------------------------------------------------------------

static std::string_view CutAtZero(std::string_view text) { return text.substr(0, std::min(text.find('\0'), text.size())); }

XmlNode::TextBlock* XmlNode::MakeTextBlock(size_t size) {
  TextBlock* block = static_cast<TextBlock*>(GeneralAllocate(offsetof(TextBlock, Text) + size + 1));
  block->Next = nullptr;
  return block;
}

void XmlNode::Build(TextBlock* block, char* text, size_t size) {
  try {
    ReserveChildren(0);
    XmlBuilder(*this, text, size).Run();
  } catch (...) {
    m_Name.Free();
    m_Value.Free();
    GeneralFree(block);
    throw;
  }
  block->Next = m_Children->Texts;
  m_Children->Texts = block;
}

int64_t XmlNode::Parse(std::string_view text) {
  text = CutAtZero(text);
  if (text.empty()) {
    m_Value.Unescape();
    return 0;
  }
  XmlScan scan;
  if (!Accept(text, 2, scan)) return -1;
  const size_t size = scan.Used - scan.Start;
  TextBlock* block = MakeTextBlock(size);
  std::memcpy(block->Text, text.data() + scan.Start, size);
  Build(block, block->Text, size);
  return int64_t(scan.Used);
}

bool XmlNode::ReadFile(const char* path) {
  FileReadBinStream file(path);
  if (file.Size() <= 0) return false;
  XmlScan scan;
  bool whole = false;
  TextBlock* block = nullptr;
  try {
    // One byte past the limit of Accept is enough for its refusal.
    const int64_t wanted = std::min<int64_t>(file.Size(), INT32_MAX);
    block = MakeTextBlock(size_t(wanted));
    const std::string_view text = CutAtZero({block->Text, size_t(file.Read(block->Text, wanted))});
    if (text.empty()) {
      GeneralFree(block);
      return false;
    }
    CurrentXmlFile = path;
    whole = Accept(text, 1, scan);
    if (whole) {
      TextBlock* taken = std::exchange(block, nullptr);
      Build(taken, taken->Text + scan.Start, scan.Used - scan.Start);
    }
  } catch (const std::bad_alloc&) {
    whole = false;
    scan.Refused = true;
  }
  GeneralFree(block);
  if (whole) {
    CurrentXmlFile = "unknown";
    return true;
  }
  GetEngineHost().Log(("XML Load Error! XML: " + std::string(path) + "\n").c_str());
  if (!scan.Refused && GetEngineHost().IsControlHeld()) std::remove(path);
  return false;
}
