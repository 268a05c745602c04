#pragma once
// The shortcuts of sticky, slow and bounce keys: Shift pressed five times, or held for eight seconds, would change what the keys
// of a sculptor do in the middle of a stroke.

struct XHandles;

/// While it lives, the shortcuts of the display are off. A person who uses one of these helps keeps the shortcuts.
class AccessKeyShortcuts {
 public:
  AccessKeyShortcuts() = default;
  ~AccessKeyShortcuts() { Restore(); }
  AccessKeyShortcuts(const AccessKeyShortcuts&) = delete;
  AccessKeyShortcuts& operator=(const AccessKeyShortcuts&) = delete;

  /// Switches them off where they are on. The server restores them where this process ends without doing so. A line in the log
  /// where the display offers none of that.
  void SwitchOff(const XHandles& handles);
  /// Brings back what was there. The display of SwitchOff is still open.
  void Restore();

 private:
  void* m_Display = nullptr;  ///< where something is to be restored
};
