// How the class engine says that something is wrong.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/EngineHost.h"

namespace {

constexpr const char* Title = "Class engine error";
constexpr size_t MaxSourceText = 500;
// A damaged file can be wrong in every tag; past this much nobody reads on.
constexpr int32_t MaxMessages = 1 << 20;

std::string FormatText(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(length > 0 ? size_t(length) : 0, 0);
  if (length > 0) std::vsnprintf(text.data(), size_t(length) + 1, format, again);
  va_end(again);
  return text;
}

}  // namespace

void ShowClassError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string text = FormatText(format, arguments);
  va_end(arguments);
  GetEngineHost().ShowBox(Title, text.c_str());
}

void ReportLoadError(XmlErrorLog* errors, const XmlNode* source, const char* format, ...) {
  if (!errors) return;
  va_list arguments;
  va_start(arguments, format);
  std::string text = FormatText(format, arguments);
  va_end(arguments);
  if (errors->Messages.Length < MaxMessages) {
    errors->Messages.Append(text);
    if (errors->Messages.Length >= MaxMessages) errors->Messages.Append("Further messages are left out.\n");
  }
  if (!errors->ShowBox) return;
  StrBuffer printed;
  source->Print(printed, 0);
  std::string shown(printed.View().substr(0, MaxSourceText));
  if (printed.View().size() > MaxSourceText) shown += "...";
  text += "XML source:\n\n" + shown + "\n";
  if (!GetEngineHost().ShowBox(Title, text.c_str())) std::exit(1);
}
