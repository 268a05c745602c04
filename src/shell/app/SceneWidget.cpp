#include "shell/app/SceneWidget.h"

bool SceneWidget::OnMouse(const InputEvent& event) {
  m_Input.OnEvent(event);
  return true;
}

MouseCursor SceneWidget::GetCursor(float, float) const {
  return GetCurrentTool().UsesPen() ? MouseCursor::Cross : MouseCursor::Arrow;
}
