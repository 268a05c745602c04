// Any bytes as XML text: the parse agrees with itself after printing, memory comes back, nothing is read outside the text.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "ClassEngine/EngineHost.h"
#include "ClassEngine/Xml.h"
#include "ClassEngine/pool.h"

namespace {
struct QuietHost : EngineHost {
  bool ShowBox(const char*, const char*) override { return true; }
  void Log(const char*) override {}
} s_Host;

void Expect(bool condition) {
  if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SetEngineHost(&s_Host);
  RenewXmlErrorBox();
  const size_t live = GetPool().GetLiveCount();
  {
    // A block of exactly this size: the sanitizer sees a step past its end.
    const std::unique_ptr<char[]> text(new char[size]);
    for (size_t i = 0; i < size; i++) text[i] = char(data[i]);
    XmlNode node("untouched", "value");
    const int64_t used = node.Parse({text.get(), size});
    Expect(used >= -1 && used <= int64_t(size));
    if (used < 0) Expect(node.GetNameView() == "untouched" && node.GetValueView() == "value" && node.GetChildCount() == 0);
    // A printed tree reads and prints as itself.
    StrBuffer first, second;
    XmlNode again;
    Expect(node.Print(first, 0));
    Expect(again.Parse(first.View()) == first.Length - 1);
    Expect(again.Print(second, 0) && first == second);
    if (used > 0) {
      while (node.RemoveChild(node.GetChildCount() / 2)) node.SetName(node.GetValueView());
      Expect(node.Parse({text.get(), size}) == used);
    }
  }
  Expect(GetPool().GetLiveCount() == live);
  return 0;
}
