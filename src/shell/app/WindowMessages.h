#pragma once
// Boxes and questions in the window, and what the class engine asks of the program.
#include <functional>
#include <string>
#include <vector>

#include "comms/cRender.h"
#include "interface/cWidgets.h"
#include "shell/core/Messages.h"

/// A question waits for its answer: the frames go on meanwhile, and everything but the box is blocked.
class WindowMessages : public Messages, public EngineHost {
 public:
  explicit WindowMessages(cWidgets& widgets) : m_Widgets(widgets) {}

  /// One pass of the message loop; false when the program is about to end, and then questions get their safe answer. Until it is
  /// set, questions do not wait.
  std::function<bool()> PumpOnce;
  comms::cRender* Render = nullptr;  ///< holds the textures of members; none before it is set

  bool ShowBox(const char* title, const char* text) override;
  int Ask(const char* title, const char* text, const std::vector<std::string>& answers, int safe) override;

  /// Shows that memory ran out, if it did since the last call. Waits for nobody; between frames, when nothing is half done.
  void TellMemoryFailure();

  void Log(const char* text) override;
  bool IsControlHeld() override { return m_Widgets.Modifiers() & ModControl; }
  std::string GetTempFileName() override;
  int LoadTexture(const char* fileName) override;
  std::string GetTextureName(int id) override;

 private:
  cWidgets& m_Widgets;
};
