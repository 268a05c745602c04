#pragma once
// What is in force while objects are saved or loaded, and what bounds a reading: depth and memory follow the size of what is
// read, whatever a damaged or hostile file says.
#include "ClassEngine/BaseClass.h"

class CurrentBaseScope {
 public:
  explicit CurrentBaseScope(BaseClass* object) : m_Outer(CurrentBase) { CurrentBase = object; }
  ~CurrentBaseScope() { CurrentBase = m_Outer; }
  CurrentBaseScope(const CurrentBaseScope&) = delete;
  CurrentBaseScope& operator=(const CurrentBaseScope&) = delete;

 private:
  BaseClass* m_Outer;
};

/// Counts the objects that are being read one inside the other: the bound on recursion that input could drive.
class DepthScope {
 public:
  DepthScope() { s_Depth++; }
  ~DepthScope() { s_Depth--; }
  DepthScope(const DepthScope&) = delete;
  DepthScope& operator=(const DepthScope&) = delete;
  bool IsTooDeep() const { return s_Depth > MaxObjectDepth; }

 private:
  static inline int s_Depth = 0;
};

/// A file that a "SourceFile" member leads to: it must not lead on to others, or back to itself, through the objects in it.
class SourceFileScope {
 public:
  SourceFileScope() { s_Open++; }
  ~SourceFileScope() { s_Open--; }
  SourceFileScope(const SourceFileScope&) = delete;
  SourceFileScope& operator=(const SourceFileScope&) = delete;
  bool IsNested() const { return s_Open > 1; }

 private:
  static inline int s_Open = 0;
};

/// One reading, from the Load or LoadBin that a caller began to all that it calls: scopes inside the first belong to its reading.
///
/// A tag of a few bytes makes a whole object. The objects made for items, and the tree that they are read from, may together take
/// XmlMemoryBase and 4 times what is read; for the next one no item is made, and the reading stops. Counted are the objects with
/// what their constructors put into their reflected containers.
class ReadingScope {
 public:
  explicit ReadingScope(const XmlNode& source);
  /// What is read lies between the reading position and the end.
  explicit ReadingScope(const BinStream& source);
  ~ReadingScope();
  ReadingScope(const ReadingScope&) = delete;
  ReadingScope& operator=(const ReadingScope&) = delete;

  /// To be called when `object` has been read. At the end of a reading says once that it was cut off, and links the class
  /// references below `object`. False where the reading was cut off. `source` may be null.
  bool Finish(BaseClass& object, const XmlNode* source = nullptr, XmlErrorLog* errors = nullptr);

  /// A reading that goes on has gone over to a further tree.
  static void AddSource(const XmlNode& source);
  /// Whether there is memory left for an object of `bytes`, and if so, takes it. Always true outside of readings.
  static bool TakeItem(int64_t bytes);
  /// Whether the reading was cut off.
  static bool IsSpent();
  /// Readies an object that is about to be read: a class reference forgets what it refers to and is linked when the reading ends.
  static void Begin(BaseClass& receiver, void* data);
};
