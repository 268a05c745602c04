#pragma once
// One process writes into a user folder; a second one is told so and works in a temporary folder of its own.
#include <string>

class InstanceLock {
 public:
  InstanceLock() = default;
  ~InstanceLock();  ///< gives the folder free; removes a temporary one with everything in it
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  /// Takes `folder`, which is made where it is not there. Where another process has it, a temporary folder is made instead and
  /// IsSecond is true; the lock of a process that died is free. False with one sentence in `error` where neither can be had.
  bool Acquire(const std::string& folder, std::string& error);
  bool IsSecond() const { return m_IsTemporary; }
  /// The folder to write into, without a slash at its end.
  const std::string& Folder() const { return m_Folder; }

 private:
  void Release();
  std::string m_Folder;
  int m_Handle = -1;
  bool m_IsTemporary = false;
};
