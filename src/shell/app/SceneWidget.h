#pragma once
// The work view: takes mouse and pen for the tools and the camera. The scene itself is drawn by the frame.
#include "interface/BaseWidget.h"
#include "shell/core/ToolInput.h"

class SceneWidget : public BaseWidget {
  REFLECTED(SceneWidget, BaseWidget)
 public:
  SceneWidget() = default;
  explicit SceneWidget(ToolInput& input) : m_Input(&input) {}
  bool OnMouse(const InputEvent& event) override;
  MouseCursor GetCursor(float x, float y) const override;
  void Arrange(const cRect&, Canvas&) override {}  // its rectangle is what the docks leave

 private:
  ToolInput* m_Input = nullptr;  // null: a copy that nobody has linked takes nothing
};
