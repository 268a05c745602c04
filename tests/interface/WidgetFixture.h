#pragma once
// A window of widgets on the device that draws nothing, and hands for it.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

#include "ClassEngine/ValueTypes.h"
#include "Events.h"
#include "comms/cRenderNull.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

class WidgetTest : public testing::Test {
 protected:
  WidgetTest() : Screen(Render, MORVANE_DATA_DIR), Widgets(Screen) { Resize(800, 600); }

  void Send(InputKind kind, float x, float y, MouseButton button, uint8_t modifiers = 0, uint8_t clicks = 1) {
    Send(PointerEvent(kind, x, y, button, modifiers, clicks));
  }
  /// The event and the frame that follows it.
  void Send(const InputEvent& event) {
    Widgets.Queue(event);
    Widgets.HandleInputEvents();
    DrawAll();
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
  void RightClick(float x, float y) {
    Send(InputKind::ButtonDown, x, y, MouseButton::Right);
    Send(InputKind::ButtonUp, x, y, MouseButton::Right);
  }
  /// Presses at the first place, carries it over the others and lets go at the last.
  void DragAlong(std::initializer_list<comms::cVec2> places) {
    Press(places.begin()->x, places.begin()->y);
    for (const comms::cVec2& place : places) Move(place.x, place.y);
    Release((places.end() - 1)->x, (places.end() - 1)->y);
  }
  void ClickOnRect(const cRect& rect) { Click(rect.X + rect.W / 2, rect.Y + rect.H / 2); }
  void ClickOn(const BaseWidget& widget) { ClickOnRect(widget.Rect); }
  void Key(int key, uint8_t modifiers = 0) { Send(KeyEvent(key, modifiers)); }
  void Keys(std::initializer_list<int> keys) {
    for (const int key : keys) Key(key);
  }
  void KeyReleased(int key) { Send(KeyEvent(key, 0, InputKind::KeyUp)); }
  void Type(std::string_view text) {
    for (const char symbol : text) Send(TextEvent({&symbol, 1}));
  }
  /// In place of what stands in the field.
  void TypeAnew(std::string_view text) {
    Key('A', ModControl);
    Type(text);
  }
  void Resize(int width, int height, float scale = 1) { Widgets.SetSize(m_Width = width, m_Height = height, m_Scale = scale); }
  void DrawAll() {
    Screen.Begin(m_Width, m_Height, m_Scale);
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

 private:
  int m_Width = 0, m_Height = 0;
  float m_Scale = 1;
};

/// The first widget of a class that `fits`, at any depth.
template <class W, class F>
W* FindBelow(BaseWidget& widget, F&& fits) {
  if (auto* found = dynamic_cast<W*>(&widget); found && fits(*found)) return found;
  for (BaseWidget* child : widget.Children)
    if (W* found = FindBelow<W>(*child, fits)) return found;
  return nullptr;
}

/// Takes notes of what its widget tells.
class Notes {
 public:
  explicit Notes(BaseWidget& widget) { widget.Callback = std::make_unique<wpcallback<Notes>>(this, &Notes::Note); }
  bool Note(BaseWidget*, const WidgetEvent& event) {
    if (event.Kind == WidgetEventKind::Click) Clicks++;
    if (event.Kind == WidgetEventKind::Change) Changes++;
    if (event.Kind == WidgetEventKind::ChangeDone) Done++;
    return true;
  }
  int Clicks = 0, Changes = 0, Done = 0;
};
