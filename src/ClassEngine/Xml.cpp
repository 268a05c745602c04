#include "ClassEngine/Xml.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "ClassEngine/Assert.h"
#include "ClassEngine/FileBinStream.h"
#include "ClassEngine/dynarray.h"
#include "ClassEngine/pool.h"

std::string CurrentXmlFile = "unknown";

void* XmlNode::operator new(size_t size) { return GetPool().Allocate(size); }
void XmlNode::operator delete(void* pointer, size_t size) { GetPool().Free(pointer, size); }

// --- text ----------------------------------------------------------------------------------------

void XmlNode::TextRef::Free() {
  if (Owned) GetPool().Free(Data, size_t(Length) + 1);
  Data = nullptr;
  Length = Owned = 0;
}

void XmlNode::TextRef::Borrow(char* data, size_t length) {
  if (Owned) Free();
  Data = data;
  Length = uint32_t(length) & INT32_MAX;
  data[length] = 0;
}

// The new buffer comes first: `text` may lie in the old one.
void XmlNode::TextRef::Set(std::string_view text) {
  if (text.size() > size_t(INT32_MAX) - 1) throw std::bad_alloc();
  char* data = nullptr;
  if (!text.empty()) {
    data = static_cast<char*>(GetPool().Allocate(text.size() + 1));
    std::memcpy(data, text.data(), text.size());
    data[text.size()] = 0;
  }
  Free();
  Data = data;
  Length = uint32_t(text.size()) & INT32_MAX;
  Owned = data != nullptr;
}

void XmlNode::SetValue(int value) {
  char text[16];
  const int length = std::snprintf(text, sizeof text, "%d", value);
  m_Value.Set({text, size_t(length)});
}

// --- tree ----------------------------------------------------------------------------------------

XmlNode* XmlNode::GetChild(int32_t index) const {
  return index >= 0 && index < GetChildCount() ? m_Children->Items[index] : nullptr;
}

void XmlNode::ReserveChildren(uint32_t count) {
  const bool first = !m_Children;
  const uint32_t old = first ? 0 : m_Children->Capacity;
  if (!first && count <= old) return;
  // Small blocks fill their size class of the pool: 2, 6 and 14 children.
  uint32_t capacity = count;
  if (BlockBytes(count) <= PooledAllocator::MaxPooled)
    capacity = uint32_t((std::bit_ceil(BlockBytes(count)) - BlockBytes(0)) / sizeof(XmlNode*));
  m_Children = static_cast<ChildBlock*>(GetPool().Reallocate(m_Children, first ? 0 : BlockBytes(old), BlockBytes(capacity)));
  m_Children->Capacity = capacity;
  if (!first) return;
  m_Children->Count = 0;
  m_Children->Texts = nullptr;
}

XmlNode* XmlNode::AddChild(XmlNode* node) {
  if (!node) return nullptr;
  const uint32_t count = uint32_t(GetChildCount());
  if (!m_Children || count == m_Children->Capacity) ReserveChildren(count < 14 ? count + 1 : count + 1 + count / 2 + 15);
  m_Children->Items[m_Children->Count++] = node;
  return node;
}

bool XmlNode::RemoveChild(int32_t index) {
  XmlNode* child = GetChild(index);
  if (!child) return false;
  XmlNode** items = m_Children->Items;
  std::memmove(items + index, items + index + 1, size_t(m_Children->Count - uint32_t(index) - 1) * sizeof(XmlNode*));
  m_Children->Count--;
  delete child;
  return true;
}

XmlNode* XmlNode::FindChild(std::string_view name) const {
  for (int32_t i = 0; i < GetChildCount(); i++)
    if (m_Children->Items[i]->GetNameView() == name) return m_Children->Items[i];
  return nullptr;
}

void XmlNode::FreeTexts(TextBlock* texts) {
  while (texts) {
    TextBlock* next = texts->Next;
    GeneralFree(texts);
    texts = next;
  }
}

void XmlNode::FreeBlock() {
  if (!m_Children) return;
  FreeTexts(m_Children->Texts);
  GetPool().Free(m_Children, BlockBytes(m_Children->Capacity));
  m_Children = nullptr;
}

// Goes down to the last child each time and up when none is left. The way up is kept in the names, which are gone by then: no
// stack, no memory, whatever the depth.
void XmlNode::Clear() {
  m_Name.Free();
  m_Value.Free();
  if (m_Children) FreeTexts(std::exchange(m_Children->Texts, nullptr));
  size_t freed = 0;
  for (XmlNode* node = this;;) {
    if (node->HasChildren()) {
      XmlNode* child = node->m_Children->Items[--node->m_Children->Count];
      child->m_Name.Free();
      child->m_Value.Free();
      child->m_Name.Data = reinterpret_cast<char*>(node);
      node = child;
      continue;
    }
    node->FreeBlock();
    if (node == this) break;
    XmlNode* parent = reinterpret_cast<XmlNode*>(node->m_Name.Data);
    operator delete(node, sizeof(XmlNode));
    node = parent;
    freed++;
  }
  // A tree of many million nodes must not stay behind as free elements.
  constexpr size_t ManyNodes = 1 << 18;
  if (freed > ManyNodes) GetPool().Compact();
}

// --- printing ------------------------------------------------------------------------------------

// Writes into the unused room behind the text of a string.
class XmlPrinter {
 public:
  explicit XmlPrinter(StrBuffer& dest) : m_Dest(dest), m_Length(dest.Length) {}

  /// Bytes of the text before escapes.
  static int64_t GetPlainSize(const XmlNode& root, int32_t indent);
  static XmlNode::Bytes CountBytes(const XmlNode& root);
  bool Print(const XmlNode& root, int32_t indent);

 private:
  struct Level {
    const XmlNode* Node;
    int32_t Next;
  };
  static constexpr int64_t MaxBytes = INT32_MAX - 64;
  // enter(node, depth) for each node in printing order, leave(node, depth) behind its children; false ends the walk.
  template <class Enter, class Leave>
  static void Walk(const XmlNode& root, Enter&& enter, Leave&& leave);
  bool MakeRoom(int64_t bytes);
  void PrintBlanks(int64_t count);
  void PrintText(std::string_view text);
  bool PrintEscaped(std::string_view text);
  bool PrintOpening(const XmlNode& node, int64_t indent);
  void PrintClosing(const XmlNode& node);

  StrBuffer& m_Dest;
  int64_t m_Length;
};

template <class Enter, class Leave>
void XmlPrinter::Walk(const XmlNode& root, Enter&& enter, Leave&& leave) {
  DynArray<Level> open;
  if (!enter(root, 0)) return;
  if (root.HasChildren()) open.Add({&root, 0});
  while (open.Count) {
    Level& level = open.Data[open.Count - 1];
    if (level.Next == level.Node->GetChildCount()) {
      open.Count--;
      if (!leave(*level.Node, open.Count)) return;
      continue;
    }
    const XmlNode* child = level.Node->m_Children->Items[level.Next++];
    if (!enter(*child, open.Count)) return;
    if (child->HasChildren()) open.Add({child, 0});
  }
}

int64_t XmlPrinter::GetPlainSize(const XmlNode& root, int32_t indent) {
  int64_t size = 0;
  const auto enter = [&](const XmlNode& node, int64_t depth) {
    size += indent + depth + 2 * int64_t(node.m_Name.Length) + node.m_Value.Length + 6;
    if (node.HasChildren()) size += indent + depth + 1 + (node.m_Value.Length ? indent + depth + 2 : 0);
    return size <= MaxBytes;
  };
  Walk(root, enter, [](const XmlNode&, int64_t) { return true; });
  return size;
}

XmlNode::Bytes XmlPrinter::CountBytes(const XmlNode& root) {
  XmlNode::Bytes bytes;
  const auto enter = [&](const XmlNode& node, int64_t) {
    const int64_t text = 2 * int64_t(node.m_Name.Length) + node.m_Value.Length + 5;
    bytes.Text += text;
    bytes.Memory += text + int64_t(sizeof(XmlNode));
    if (node.m_Children) bytes.Memory += int64_t(XmlNode::BlockBytes(node.m_Children->Capacity));
    return true;
  };
  Walk(root, enter, [](const XmlNode&, int64_t) { return true; });
  return bytes;
}

bool XmlPrinter::Print(const XmlNode& root, int32_t indent) {
  const int64_t plain = GetPlainSize(root, indent);
  if (!MakeRoom(plain)) return false;
  bool fits = true;
  const auto enter = [&](const XmlNode& node, int64_t depth) { return fits = PrintOpening(node, indent + depth); };
  const auto leave = [&](const XmlNode& node, int64_t depth) {
    fits = MakeRoom(indent + depth + node.m_Name.Length + 4);
    if (!fits) return false;
    PrintBlanks(indent + depth);
    PrintClosing(node);
    return true;
  };
  Walk(root, enter, leave);
  if (!fits) return false;
  m_Dest.Length = int32_t(m_Length);
  m_Dest.Data[m_Length] = 0;
  return true;
}

bool XmlPrinter::MakeRoom(int64_t bytes) {
  if (m_Length + bytes < m_Dest.Capacity) return true;
  if (m_Length + bytes > MaxBytes) return false;
  // What was printed lies behind Length until the end, so that a refusal changes nothing.
  const int32_t length = std::exchange(m_Dest.Length, int32_t(m_Length));
  m_Dest.Reserve(m_Length + bytes);
  m_Dest.Length = length;
  return true;
}

void XmlPrinter::PrintBlanks(int64_t count) {
  std::memset(m_Dest.Data + m_Length, ' ', size_t(count));
  m_Length += count;
}

void XmlPrinter::PrintText(std::string_view text) {
  std::memcpy(m_Dest.Data + m_Length, text.data(), text.size());
  m_Length += int64_t(text.size());
}

// A piece at a time, so that room for the worst case, three bytes for one, stays small.
bool XmlPrinter::PrintEscaped(std::string_view text) {
  constexpr size_t PieceBytes = 4096;
  for (size_t start = 0; start < text.size(); start += PieceBytes) {
    const std::string_view piece = text.substr(start, PieceBytes);
    if (!MakeRoom(int64_t(piece.size()) * 3)) return false;
    char* out = m_Dest.Data + m_Length;
    for (const char symbol : piece) {
      if (symbol != '<' && symbol != '>') {
        *out++ = symbol;
        continue;
      }
      *out++ = '&';
      *out++ = symbol == '<' ? 'l' : 'g';
      *out++ = 't';
    }
    m_Length = out - m_Dest.Data;
  }
  return true;
}

bool XmlPrinter::PrintOpening(const XmlNode& node, int64_t indent) {
  const bool children = node.HasChildren();
  const int64_t name = node.m_Name.Length;
  if (!MakeRoom(2 * indent + name + 8)) return false;
  PrintBlanks(indent);
  m_Dest.Data[m_Length++] = '<';
  PrintText(node.GetNameView());
  m_Dest.Data[m_Length++] = '>';
  if (children) m_Dest.Data[m_Length++] = '\n';
  if (node.m_Value.Length) {
    if (children) PrintBlanks(indent + 1);
    if (!PrintEscaped(node.GetValueView()) || !MakeRoom(name + 8)) return false;
    if (children) m_Dest.Data[m_Length++] = '\n';
  }
  if (!children) {
    if (!MakeRoom(name + 4)) return false;
    PrintClosing(node);
  }
  return true;
}

void XmlPrinter::PrintClosing(const XmlNode& node) {
  PrintText("</");
  PrintText(node.GetNameView());
  PrintText(">\n");
}

XmlNode::Bytes XmlNode::CountBytes() const { return XmlPrinter::CountBytes(*this); }

bool XmlNode::Print(StrBuffer& dest, int32_t indent) const {
  MORVANE_ASSERT(indent >= 0);
  const bool printed = XmlPrinter(dest).Print(*this, indent);
  if (!printed && dest.Data) dest.Data[dest.Length] = 0;
  return printed;
}

bool XmlNode::WriteFile(const char* path) const {
  StrBuffer text;
  try {
    if (!Print(text, 0)) {
      SetStreamError(StreamShortWrite, path);
      return false;
    }
  } catch (const std::bad_alloc&) {
    SetStreamError(StreamShortWrite, path);
    return false;
  }
  FileWriteBinStream file(path);
  return file.Write(text.Get(), text.Length) && file.Close();
}
