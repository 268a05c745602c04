#pragma once
// Mouse and pen of the work view, handed to the current tool or to the camera.
#include <functional>

#include "shell/core/BasicTool.h"
#include "shell/core/NaviSystem.h"

/// 1: the stroke takes away where it would add (a pen that strokes, Control held at the press); else 0. Set by every left press.
extern int StrokeMode;
/// The person asks for point editing: tools that EditsPoints get the Alt variants of the buttons.
extern bool AlternativeInput;

/// What is known of the stroke that is going on, or of the last one. Prepared before the tool hears of the press.
struct StrokeState {
  bool Running = false;
  MouseButton Button = MouseButton::None;
  InputEvent Start;  ///< the press
  InputEvent Last;   ///< the newest sample, the press included
  int Samples = 0;   ///< the press counts
  float MaxPressure = 0;
};
extern StrokeState CurrentStroke;

/// Dispatch of the scene widget. The order: a widget that has captured the mouse blocks everything; then the navigation's
/// bindings; then the tool; what the tool doesn't handle turns the view (NaviSystem::BeginDefault).
class ToolInput {
 public:
  explicit ToolInput(NaviSystem& navi) : m_Navi(navi) {}

  /// Whether a widget has captured the mouse. Empty: never.
  std::function<bool()> IsMouseCaptured;
  /// Whether the scene widget is blocked; asked in the alternative input state alone. Empty: never.
  std::function<bool()> IsBlocked;

  /// By the kind of the event; true when the tool or the navigation took it.
  bool OnEvent(const InputEvent& event);
  bool OnPress(const InputEvent& event);
  bool OnRelease(const InputEvent& event);
  /// Moves, and everything else that is no press and no release.
  bool OnMove(const InputEvent& event);
  /// Releases what is held: the tool hears of an end for every press it heard of.
  void OnFocusLost(const InputEvent& event);

 private:
  bool IsToolHolding() const { return m_Held[1].Down || m_Held[2].Down || m_Held[3].Down; }
  NaviSystem& m_Navi;
  // Who got the press gets the release, whatever has become current meanwhile.
  struct HeldButton {
    bool Down = false, Alternative = false;
    BasicTool* Tool = nullptr;
  };
  HeldButton m_Held[4];
};
