#pragma once
// The clipboard as text fields see it. The platform installs the real one; until then a text stays within the program.
#include <string>

class Clipboard {
 public:
  virtual ~Clipboard() = default;
  /// UTF-8; empty where the clipboard holds no text.
  virtual std::string GetText() = 0;
  virtual void SetText(const std::string& text) = 0;
};

/// Never null.
Clipboard& GetClipboard();
/// Null: back to the one inside the program. Returns the one before; the caller keeps ownership.
Clipboard* SetClipboard(Clipboard* clipboard);
