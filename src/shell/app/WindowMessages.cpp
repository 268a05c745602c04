#include "shell/app/WindowMessages.h"

#include "comms/Log.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "shell/core/DataPath.h"

bool WindowMessages::ShowBox(const char* title, const char* text) { return Ask(title, text, {"OK", "CANCEL"}, 0) == 0; }

int WindowMessages::Ask(const char* title, const char* text, const std::vector<std::string>& answers, int safe) {
  comms::LogInfo("%s: %s", title, text);
  if (!PumpOnce) return safe;
  int answer = -1;
  MessageBoxWidget* box = MessageBoxWidget::Ask(m_Widgets, title, text, answers, [&](int index) { answer = index; });
  while (answer < 0)
    if (!PumpOnce()) {
      m_Widgets.CloseModal(box);
      return safe;
    }
  return answer;
}

void WindowMessages::TellMemoryFailure() {
  const auto bytes = TakeMemoryFailure();
  if (!bytes) return;
  comms::LogError("%s", DescribeMemoryFailure(*bytes).c_str());
  const MemoryTexts texts{GetText("OUT_OFMEM"), GetText("OUT_OFMEM_BYTES"), GetText("OUT_OFMEM_MEGABYTES")};
  MessageBoxWidget::Ask(m_Widgets, "FATAL_ERROR", DescribeMemoryFailure(*bytes, texts), {"OK"}, nullptr);
}

void WindowMessages::Log(const char* text) { comms::LogInfo("%s", text); }

int WindowMessages::LoadTexture(const char* fileName) { return Render ? Render->LoadTexture(fileName) : -1; }
std::string WindowMessages::GetTextureName(int id) { return Render ? Render->GetTextureName(id) : std::string(); }

std::string WindowMessages::GetTempFileName() { return GetFullPath("tempfile.temp"); }
