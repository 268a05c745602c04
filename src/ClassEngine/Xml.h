#pragma once
// The private XML dialect: a tree of named nodes with text. No attributes, comments, declaration or encodings; two escapes.
//
// A parsed tree keeps one copy of its text, and names and values point into it, so that a node costs 32 bytes, its place in the
// list of its parent 8, and no allocation of its own for text. Changed or added text goes to buffers of its own.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ClassEngine/StrBuffer.h"

/// What reading XML may take beside four times the text, in bytes: with what the process has anyway it stays below 64 MiB.
inline constexpr int64_t XmlMemoryBase = int64_t(40) << 20;

/// Nodes come from the pool and belong to its thread. No operation recurses, however deep the tree.
class XmlNode {
 public:
  XmlNode() = default;
  explicit XmlNode(std::string_view name) { SetName(name); }
  XmlNode(std::string_view name, std::string_view value) {
    SetName(name);
    SetValue(value);
  }
  ~XmlNode() { Clear(); }
  XmlNode(const XmlNode&) = delete;
  XmlNode& operator=(const XmlNode&) = delete;
  static void* operator new(size_t size);
  static void operator delete(void* pointer, size_t size);

  /// Never null, "" when absent. Valid until the text is changed or the root it was parsed into is cleared.
  const char* GetName() const { return m_Name.Get(); }
  const char* GetValue() const { return m_Value.Get(); }
  std::string_view GetNameView() const { return m_Name.View(); }
  std::string_view GetValueView() const { return m_Value.View(); }
  void SetName(std::string_view text) { m_Name.Set(text); }
  void SetValue(std::string_view text) { m_Value.Set(text); }
  void SetName(const char* text) { SetName(text ? std::string_view(text) : std::string_view()); }    ///< null is empty
  void SetValue(const char* text) { SetValue(text ? std::string_view(text) : std::string_view()); }  ///< null is empty
  void SetValue(int value);

  int32_t GetChildCount() const { return m_Children ? int32_t(m_Children->Count) : 0; }
  /// In file order; null when out of range.
  XmlNode* GetChild(int32_t index) const;
  /// Takes ownership of a node made by `new`; returns it. Null is ignored.
  XmlNode* AddChild(XmlNode* node);
  /// Frees the subtree. False when out of range.
  bool RemoveChild(int32_t index);
  /// First child of that name, case-sensitive; null when there is none.
  XmlNode* FindChild(std::string_view name) const;
  /// No name, no value, no children.
  void Clear();
  /// What the node and all below it cost.
  struct Bytes {
    int64_t Text = 0;    ///< as text, blanks and escapes not counted
    int64_t Memory = 0;  ///< as a tree, the text counted
  };
  /// O(nodes).
  Bytes CountBytes() const;

  /// Reads one node with all below it out of `text`, which ends at its first zero byte. Returns the bytes used, up to and with
  /// the ">" of the closing tag; 0 for empty text; -1 where the text is damaged, or where a tree of it would need more than 4
  /// times the text and XmlMemoryBase (only text of tags a few bytes long does). After -1 the node is as it was. Children are
  /// added to those that are there, and a value stays where the text brings none.
  int64_t Parse(std::string_view text);
  /// Appends the node as text, `indent` blanks deep. False, with `dest` as it was, where it would pass 2^31 bytes.
  bool Print(StrBuffer& dest, int32_t indent) const;
  /// Parses a whole file; CurrentXmlFile is its name meanwhile, and stays so where it is damaged. False for a file that is
  /// missing, empty or damaged; a damaged one gets a line in the log, and is deleted while the Control key is held.
  bool ReadFile(const char* path);
  /// Prints into the file, whole or not at all. False where it can't be written (LastStreamError says why); the old file stays.
  bool WriteFile(const char* path) const;

 private:
  // A terminated text that is either in a buffer of its own out of the pool or in the text that a root of the tree was parsed
  // from.
  struct __attribute__((packed)) TextRef {
    char* Data = nullptr;
    uint32_t Length : 31 = 0;
    uint32_t Owned : 1 = 0;
    const char* Get() const { return Data ? Data : ""; }
    std::string_view View() const { return {Get(), Length}; }
    void Set(std::string_view text);
    void Borrow(char* data, size_t length);
    void Free();
    void Unescape();
  };
  // The texts that were parsed into one root, one behind the other.
  struct TextBlock {
    TextBlock* Next;
    char Text[1];
  };
  struct ChildBlock {
    uint32_t Count, Capacity;
    TextBlock* Texts;  // null unless this is a root
    XmlNode* Items[1];
  };
  friend class XmlBuilder;
  friend class XmlPrinter;
  static size_t BlockBytes(uint32_t capacity) { return offsetof(ChildBlock, Items) + capacity * sizeof(XmlNode*); }
  static void FreeTexts(TextBlock* texts);
  bool HasChildren() const { return m_Children && m_Children->Count; }
  void FreeBlock();
  void ReserveChildren(uint32_t count);
  static TextBlock* MakeTextBlock(size_t size);
  void Build(TextBlock* block, char* text, size_t size);

  TextRef m_Name, m_Value;
  ChildBlock* m_Children = nullptr;
};
static_assert(sizeof(XmlNode) == 32, "one element of the pool's 32-byte class");

/// The next damaged text shows its box again, as in a new session.
void RenewXmlErrorBox();

/// Path of the file that is being read or written, or of the last damaged one; else "unknown". Main thread.
extern std::string CurrentXmlFile;

/// What loading out of a tree reports into: the messages so far, and whether each also shows a box.
struct XmlErrorLog {
  StrBuffer Messages;
  bool ShowBox = false;
};
