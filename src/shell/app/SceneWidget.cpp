#include "shell/app/SceneWidget.h"

DECLARE_MEMBERS(SceneWidget) {}

bool SceneWidget::OnMouse(const InputEvent& event) {
  if (m_Input) m_Input->OnEvent(event);
  return m_Input != nullptr;
}

MouseCursor SceneWidget::GetCursor(float, float) const {
  return GetCurrentTool().WantsSurfacePick() ? MouseCursor::Cross : MouseCursor::Arrow;
}
