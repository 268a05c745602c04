#include "interface/Clipboard.h"

namespace {

class InnerClipboard : public Clipboard {
 public:
  std::string GetText() override { return m_Text; }
  void SetText(const std::string& text) override { m_Text = text; }

 private:
  std::string m_Text;
};

Clipboard* g_Clipboard = nullptr;

}  // namespace

Clipboard& GetClipboard() {
  static InnerClipboard inner;
  return g_Clipboard ? *g_Clipboard : inner;
}

Clipboard* SetClipboard(Clipboard* clipboard) {
  Clipboard* const before = g_Clipboard;
  g_Clipboard = clipboard;
  return before;
}
