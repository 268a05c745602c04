#pragma once
// A window of widgets on the device that draws nothing, and hands for it.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "ClassEngine/ValueTypes.h"
#include "comms/cRenderNull.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

class WidgetTest : public testing::Test {
 protected:
  WidgetTest() : Screen(Render, MORVANE_DATA_DIR), Widgets(Screen) { Widgets.SetSize(800, 600, 1); }

  void Send(InputKind kind, float x, float y, MouseButton button, uint8_t modifiers = 0, uint8_t clicks = 1) {
    InputEvent event;
    event.Kind = kind;
    event.X = x;
    event.Y = y;
    event.Button = button;
    event.Modifiers = modifiers;
    event.Clicks = clicks;
    Send(event);
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
  void ClickOn(const BaseWidget& widget) { Click(widget.Rect.X + widget.Rect.W / 2, widget.Rect.Y + widget.Rect.H / 2); }
  void Key(int key, uint8_t modifiers = 0) {
    InputEvent event;
    event.Kind = InputKind::KeyDown;
    event.Key = key;
    event.Modifiers = modifiers;
    Send(event);
  }
  void KeyReleased(int key) {
    InputEvent event;
    event.Kind = InputKind::KeyUp;
    event.Key = key;
    Send(event);
  }
  void Type(std::string_view text) {
    for (const char symbol : text) {
      InputEvent event;
      event.Kind = InputKind::Text;
      event.Text = symbol;
      Send(event);
    }
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
