#pragma once
// A window of widgets on the device that draws nothing, and hands for it.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "ClassEngine/ValueTypes.h"
#include "Events.h"
#include "comms/cRenderNull.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

class WidgetTest : public testing::Test {
 protected:
  WidgetTest() : Screen(Render, MORVANE_DATA_DIR), Widgets(Screen) { Widgets.SetSize(800, 600, 1); }

  void Send(InputKind kind, float x, float y, MouseButton button, uint8_t modifiers = 0, uint8_t clicks = 1) {
    Send(PointerEvent(kind, x, y, button, modifiers, clicks));
  }
  void Send(const InputEvent& event) {
    Widgets.Queue(event);
    Widgets.HandleInputEvents();
  }
  void Move(float x, float y, uint8_t modifiers = 0) { Send(InputKind::PointerMove, x, y, MouseButton::None, modifiers); }
  void Press(float x, float y, uint8_t modifiers = 0, uint8_t clicks = 1) {
    Send(InputKind::ButtonDown, x, y, MouseButton::Left, modifiers, clicks);
  }
  void Release(float x, float y, uint8_t modifiers = 0) { Send(InputKind::ButtonUp, x, y, MouseButton::Left, modifiers); }
  void Click(float x, float y, uint8_t modifiers = 0, uint8_t clicks = 1) {
    Press(x, y, modifiers, clicks);
    Release(x, y, modifiers);
  }
  void ClickOnRect(const cRect& rect) { Click(rect.X + rect.W / 2, rect.Y + rect.H / 2); }
  void ClickOn(const BaseWidget& widget) { ClickOnRect(widget.Rect); }
  void Key(int key, uint8_t modifiers = 0) { Send(KeyEvent(key, modifiers)); }
  void KeyReleased(int key) { Send(KeyEvent(key, 0, InputKind::KeyUp)); }
  void Type(std::string_view text) {
    for (const char symbol : text) Send(TextEvent({&symbol, 1}));
  }
  void DrawAll() {
    Screen.Begin(800, 600, 1);
    Widgets.DrawLayer(-1);
    Screen.End();
  }
  template <class W>
  W* Place(W* widget, const cRect& rect, int layer = LayerDocks) {
    widget->Rect = rect;
    Widgets.Layer(layer).AddChild(widget);
    Widgets.ArrangeIfWanted();
    return widget;
  }

  comms::cRenderNull Render;
  Canvas Screen;
  cWidgets Widgets;
};

/// Takes notes of what its widget tells.
class Notes {
 public:
  bool Note(BaseWidget*, const WidgetEvent& event) {
    if (event.Kind == WidgetEventKind::Click) Clicks++;
    if (event.Kind == WidgetEventKind::Change) Changes++;
    if (event.Kind == WidgetEventKind::ChangeDone) Done++;
    return true;
  }
  void Listen(BaseWidget& widget) { widget.Callback = std::make_unique<wpcallback<Notes>>(this, &Notes::Note); }
  int Clicks = 0, Changes = 0, Done = 0;
};
