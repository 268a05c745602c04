#pragma once
// What is in force while an object is saved or loaded.
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
