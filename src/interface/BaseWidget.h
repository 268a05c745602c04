#pragma once
// The root of everything that is drawn over the scene and answers mouse and keyboard. A widget is a reflected object; its
// rectangle is in window pixels. Widgets form a tree: Children are drawn after their parent, in order, and asked for input
// before it, in reverse.
//
// Main thread.
#include <memory>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Method.h"
#include "interface/draw/Canvas.h"
#include "shell/core/InputEvent.h"

class cWidgets;

enum class WidgetEventKind : uint8_t { Click, Change, ChangeDone, DragOver, Drop };

/// What a widget tells its callback, and the rows of trees their objects.
struct WidgetEvent {
  WidgetEventKind Kind = WidgetEventKind::Click;
  const InputEvent* Input = nullptr;  ///< what caused it; may be null
  BaseClass* Dragged = nullptr;       ///< of DragOver and Drop
};

/// Place of a row that an object draws or builds by itself.
struct RowRect : cRect {};

enum class MouseCursor : uint8_t { Arrow, Hand, Text, SizeHorizontal, SizeVertical, Move, Cross, Wait, None };

class BaseWidget : public BaseClass {
  REFLECTED(BaseWidget, BaseClass)
 public:
  BaseWidget() = default;
  ~BaseWidget() override;
  BaseWidget(const BaseWidget&) = delete;
  BaseWidget& operator=(const BaseWidget&) = delete;
  /// Small widgets come from the size classes of the pool.
  static void* operator new(size_t size);
  static void operator delete(void* pointer, size_t size);

  /// Draws this widget alone; DrawTree draws the children after it.
  virtual void Draw(Canvas&) {}
  virtual std::string GetText() const { return {}; }
  virtual void OnEvent(const WidgetEvent&) {}
  /// A pointer event inside the rectangle, or anywhere while this widget has captured the mouse. True: handled.
  virtual bool OnMouse(const InputEvent&) { return false; }
  /// A copy without children and callback, owned by the caller.
  virtual BaseWidget* Clone() const;

  /// Keys and text while this widget has the focus. True: handled.
  virtual bool OnKey(const InputEvent&) { return false; }
  virtual bool TakesFocus() const { return false; }
  /// Whether a press gives it the focus too. Buttons take it by Tab alone: a press must not turn the space bar into a click.
  virtual bool TakesFocusByMouse() const { return TakesFocus(); }
  virtual void OnFocus(bool /*gained*/) {}
  /// Whether it shows by itself that the keys are its own, as a caret does. Others lose a focus that no ring shows to the scene.
  virtual bool ShowsKeyboard() const { return false; }
  /// Once a frame, before input.
  virtual void Process(double /*timeSec*/) {}
  /// Gives this widget its rectangle and its children theirs. `canvas` measures text.
  virtual void Arrange(const cRect& rect, Canvas& canvas);
  /// Height that it wants at that width. By default one row.
  virtual float HeightFor(float width, Canvas& canvas) const;
  /// Width that its content needs, without a share of the row it stands in; 0: takes what there is.
  virtual float WidthFor(Canvas& /*canvas*/) const { return 0; }
  /// Width below which some of what it shows would be cut.
  virtual float NarrowestFor(Canvas& canvas) const { return WidthFor(canvas); }
  /// Whether it is no control of a line, but stands below its label as wide as the panel.
  virtual bool StandsBelowLabel() const { return false; }
  /// Of a layer's child: where it wants to be on the screen. By default where it is.
  virtual cRect PlaceIn(const cRect& /*screen*/, Canvas& /*canvas*/) { return Rect; }
  virtual MouseCursor GetCursor(float /*x*/, float /*y*/) const { return MouseCursor::Arrow; }
  /// Hint under the pointer, translated; empty for none. By default the text of HintKey.
  virtual std::string GetHintText(float x, float y) const;
  /// Whether children are drawn and hit only inside the rectangle.
  virtual bool ClipsChildren() const { return false; }
  /// Whether the children are there now: drawn, hit and reached by Tab.
  virtual bool ShowsChildren() const { return true; }
  /// Scrolls as far as needed to show a rectangle, in window pixels; of widgets that scroll.
  virtual void ShowInside(const cRect& /*rect*/) {}
  /// Drawn after the children, for frames and shades over them.
  virtual void DrawOver(Canvas&) {}
  /// Calls off the drag for which it has captured the mouse: what that changed goes back. False where it drags nothing.
  virtual bool UndoDrag() { return false; }
  /// Whether what is dragged may be dropped here; then DragOver and Drop are told to OnEvent and to the callback.
  virtual bool AcceptsDrag(const BaseClass* /*object*/, const BaseWidget* /*source*/) const { return false; }
  /// The popup or box is being closed; told before it is taken away.
  virtual void OnClosed() {}

  /// Appends a child, which this widget owns from now on; returns it.
  template <class W>
  W* AddChild(W* child) {
    child->Owner = this;
    AppendChild(child);
    return child;
  }
  /// Deletes the children; later, after drawing, where the tree is shown, so that a child may ask for it.
  void RemoveChildren();
  void DrawTree(Canvas& canvas);
  /// The deepest visible widget there, with this one as the last resort; null outside.
  BaseWidget* FindAt(float x, float y);
  /// Whether `widget` is this one or below it.
  bool Holds(const BaseWidget* widget) const;
  /// Passes an event to OnEvent and to the callback; true when that handled it.
  bool Tell(WidgetEventKind kind, const InputEvent* input = nullptr);
  /// The manager at the root; null while the tree is not shown.
  cWidgets* Manager() const;
  bool IsHot() const;       ///< the pointer is over it and nobody else has captured the mouse
  bool IsCaptured() const;  ///< it has captured the mouse
  bool IsFocused() const;
  bool IsEnabled() const;  ///< it and all above it are
  /// Whether some text of its own found no room when it was drawn last; its hint tells the whole of GetText then.
  bool IsTextCut() const { return m_TextCut; }

  cRect Rect;
  bool Visible = true, Enabled = true;
  bool PassesMouse = false;     ///< is not hit itself, its children are
  std::string HintKey;          ///< language key of the hint
  BaseWidget* Owner = nullptr;  ///< the widget above; null at the root
  ClassArray<BaseWidget> Children;
  std::unique_ptr<WBaseCallback> Callback;
  BaseWidget* Opener = nullptr;  ///< of a popup: what opened it, with which it goes
  cWidgets* Root = nullptr;      ///< of layer roots alone

 private:
  void AppendChild(BaseWidget* child);
  bool m_TextCut = false;
};
