#include "shell/core/ToolInput.h"

#include <algorithm>
#include <utility>

int StrokeMode = 0;
bool AlternativeInput = false;
StrokeState CurrentStroke;

using Handler = bool (BasicTool::*)(const InputEvent&);
struct ButtonHandlers {
  Handler Down, Up, AltDown, AltUp;
};

// By MouseButton. The middle button has no variant of the alternative input state.
static const ButtonHandlers& HandlersOf(MouseButton button) {
  static constexpr ButtonHandlers left{&BasicTool::OnLeftDown, &BasicTool::OnLeftUp, &BasicTool::OnAltLeftDown,
                                       &BasicTool::OnAltLeftUp};
  static constexpr ButtonHandlers right{&BasicTool::OnRightDown, &BasicTool::OnRightUp, &BasicTool::OnAltRightDown,
                                        &BasicTool::OnAltRightUp};
  static constexpr ButtonHandlers middle{&BasicTool::OnMiddleDown, &BasicTool::OnMiddleUp, nullptr, nullptr};
  return button == MouseButton::Left ? left : button == MouseButton::Right ? right : middle;
}

static void PrepareStroke(const InputEvent& press) { CurrentStroke = {true, press.Button, press, press, 1, press.Pressure}; }

static bool Ask(const std::function<bool()>& question) { return question && question(); }

bool ToolInput::OnEvent(const InputEvent& event) {
  switch (event.Kind) {
    case InputKind::ButtonDown:
      return OnPress(event);
    case InputKind::ButtonUp:
      return OnRelease(event);
    case InputKind::FocusLost:
      OnFocusLost(event);
      return false;  // everybody else wants to know it too
    default:
      return OnMove(event);
  }
}

bool ToolInput::OnPress(const InputEvent& event) {
  if (event.Button == MouseButton::None || Ask(IsMouseCaptured)) return false;
  BasicTool& tool = GetCurrentTool();
  if (event.Button == MouseButton::Left)
    StrokeMode = tool.UsesPen() && tool.UsesStroke() && (event.Modifiers & ModControl) ? 1 : 0;

  const ButtonHandlers& handlers = HandlersOf(event.Button);
  const bool alternative = AlternativeInput && tool.EditsPoints() && handlers.AltDown && !Ask(IsBlocked);
  // A second button in the middle of a stroke is the tool's: the view doesn't move under a stroke.
  if (!alternative && !IsToolHolding() && m_Navi.OnPress(event, tool.WantsSurfacePick())) return true;

  const StrokeState before = CurrentStroke;
  if (!IsToolHolding()) PrepareStroke(event);
  if ((tool.*(alternative ? handlers.AltDown : handlers.Down))(event)) {
    m_Held[size_t(event.Button)] = {true, alternative, &tool};
    return true;
  }
  CurrentStroke = before;
  if (IsToolHolding()) return false;
  return (alternative && m_Navi.OnPress(event, tool.WantsSurfacePick())) || m_Navi.BeginDefault(event);
}

bool ToolInput::OnRelease(const InputEvent& event) {
  if (event.Button == MouseButton::None) return false;
  HeldButton& held = m_Held[size_t(event.Button)];
  if (!held.Down) return m_Navi.OnRelease(event);
  const HeldButton pressed = std::exchange(held, {});
  if (CurrentStroke.Running) CurrentStroke.Last = event;
  const ButtonHandlers& handlers = HandlersOf(event.Button);
  const Handler release = pressed.Alternative ? handlers.AltUp : handlers.Up;
  if (release) (pressed.Tool->*release)(event);
  if (event.Button == CurrentStroke.Button) CurrentStroke.Running = false;
  return true;
}

bool ToolInput::OnMove(const InputEvent& event) {
  if (event.Kind == InputKind::PointerMove && m_Navi.OnMove(event)) return true;
  if (!IsToolHolding() && Ask(IsMouseCaptured)) return false;
  BasicTool* tool = &GetCurrentTool();
  for (const HeldButton& held : m_Held)
    if (held.Down) tool = held.Tool;
  if (event.Kind == InputKind::PointerMove && CurrentStroke.Running) {
    CurrentStroke.Last = event;
    ++CurrentStroke.Samples;
    CurrentStroke.MaxPressure = std::max(CurrentStroke.MaxPressure, event.Pressure);
  }
  return tool->ProcessInput(event) || (event.Kind == InputKind::Wheel && !IsToolHolding() && m_Navi.OnWheel(event));
}

void ToolInput::OnFocusLost(const InputEvent& event) {
  m_Navi.EndDrag();
  for (const MouseButton button : {MouseButton::Left, MouseButton::Right, MouseButton::Middle}) {
    if (!m_Held[size_t(button)].Down) continue;
    InputEvent release = CurrentStroke.Last;
    release.Kind = InputKind::ButtonUp;
    release.Button = button;
    release.TimeSec = event.TimeSec;
    OnRelease(release);
  }
  GetCurrentTool().ProcessInput(event);
}
