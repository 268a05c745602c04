#pragma once
// All widgets of the window, in layers: it draws them, finds who is under the pointer, hands over the queued input, and keeps
// capture, focus, hints, drag and drop, and the widgets that wait for their end.
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "interface/BaseWidget.h"
#include "interface/WindowPos.h"

/// Layers of the interface; 33 in all. Higher ones lie over lower ones and are asked for input first.
enum WidgetLayer : int { LayerScene = 0, LayerDocks = 1, LayerFloating = 2, LayerMenus = 3, LayerModal = 4, LayerCount = 33 };

class cWidgets {
 public:
  explicit cWidgets(Canvas& canvas);
  ~cWidgets();
  cWidgets(const cWidgets&) = delete;
  cWidgets& operator=(const cWidgets&) = delete;

  Canvas& GetCanvas() const { return m_Canvas; }
  /// Root of a layer; covers the window. Its children are the layer's widgets.
  BaseWidget& Layer(int layer);
  /// Size of the window in pixels and scale of the interface. A change closes menus and arranges everything anew.
  void SetSize(int width, int height, float scale);
  float Scale() const { return m_Scale; }
  WindowPositions Positions;  ///< of floating panels and of boxes, as the person left them
  bool ShowHints = true;
  /// Shows a sentence below a place at once, for some seconds or until a press; without a text takes it away.
  void Say(const cRect& place, std::string text);
  const std::string& Said() const { return m_Said; }
  double HintDelay = 0.6;  ///< seconds for which the pointer rests before a hint appears
  /// Asks for a new arrangement before the next drawing.
  void RequestArrange() { m_ArrangeWanted = true; }
  bool IsArrangeWanted() const { return m_ArrangeWanted; }
  void ArrangeIfWanted();

  // --- input -------------------------------------------------------------------------------------------------------------
  void Queue(const InputEvent& event) { m_Events.push_back(event); }
  /// Hands the queued events to the widgets. What no widget wanted goes to `Unhandled`, in order.
  void HandleInputEvents();
  std::function<bool(const InputEvent&)> Unhandled;
  /// Lets every widget react to time.
  void Process(double timeSec);

  /// Who handles a press has captured the mouse, unless the press opened a popup: it gets all pointer events until the last
  /// button goes up.
  BaseWidget* Captured() const { return m_Captured; }
  BaseWidget* Hot() const { return m_Hot; }
  /// Of the hint in the last frame; without width where none was shown.
  const cRect& HintRect() const { return m_HintRect; }
  BaseWidget* Focused() const { return m_Focused; }
  void Focus(BaseWidget* widget);
  /// Whether the focus came by the keyboard, so that it is to be seen.
  bool ShowsFocus() const { return m_ShowsFocus; }
  /// To the next or previous widget that takes the focus, in the order of the tree, within the topmost layer that has one open.
  void MoveFocus(bool backward);
  /// Gets the keys that no widget under the focus wanted, before Unhandled does: the menu bar, for Alt.
  void SetKeyFallback(BaseWidget* widget) { m_KeyFallback = widget; }
  /// Presses, wheel turns and keys so far.
  uint32_t InputCount() const { return m_InputCount; }
  float PointerX() const { return m_PointerX; }
  float PointerY() const { return m_PointerY; }
  uint8_t Modifiers() const { return m_Modifiers; }
  MouseCursor GetCursor() const;

  // --- menus, boxes, drag and drop ---------------------------------------------------------------------------------------------
  /// Puts a popup on the menu layer, owned there. A press outside of it closes it and all opened after it.
  void OpenPopup(BaseWidget* popup);
  void ClosePopups(BaseWidget* downTo = nullptr);
  /// Puts a box in the middle of the modal layer; the layers below get no input while it is there.
  void OpenModal(BaseWidget* box);
  bool HasModal() { return TopModal() != nullptr; }
  bool HasPopups() const { return !m_Popups.empty(); }
  bool IsPopup(const BaseWidget* widget) const;
  /// Takes a box away; the focus goes back to where it was.
  void CloseModal(BaseWidget* box);
  /// The box that blocks all below it; null where there is none.
  BaseWidget* TopModal();
  /// Starts to drag an object; `label` follows the pointer. Ends at the release, with Drop told to who is under it.
  void BeginDrag(BaseClass* object, std::string label, BaseWidget* source);
  BaseClass* Dragged() const { return m_Dragged; }
  void CancelDrag();

  /// Takes a widget out of its parent and deletes it after the last layer is drawn.
  void DeleteLater(BaseWidget* widget);
  void EmptyDeferredList();

  // --- drawing -----------------------------------------------------------------------------------------------------------
  /// One layer; -1 draws all, in order. Hints and the dragged label are drawn with LayerModal.
  void DrawLayer(int layer);
  /// Whether something moves or blinks, so that a frame is wanted before `seconds` have passed.
  double SecondsToNextFrame() const { return m_SecondsToNextFrame; }
  void WantFrameIn(double seconds);

 private:
  friend class BaseWidget;
  bool Dispatch(const InputEvent& event);
  bool DispatchPointer(const InputEvent& event);
  bool DispatchKey(const InputEvent& event);
  BaseWidget* FindUnder(float x, float y);
  void DrawHint();
  void DrawSaid();
  void DrawHintBox(const cRect& box, const std::string& text, uint32_t border);
  cRect MeasureHint(const std::string& text) const;
  cRect PlaceHint(float width, float height) const;
  void DrawDragLabel();
  /// Nothing refers to the widget, or to one below it, any more.
  void Forget(const BaseWidget* widget);
  bool Offer(const InputEvent& event, BaseWidget*& handler);
  bool OfferUp(BaseWidget* hit, const InputEvent& event, BaseWidget*& handler);
  bool HandlePress(const InputEvent& event);
  bool HandleDrag(const InputEvent& event);
  bool IsOverScene();
  void ReleaseAll();
  void UpdateHot();
  void SetFocus(BaseWidget* widget, bool byKey);
  BaseWidget* KeyScope();

  Canvas& m_Canvas;
  std::vector<std::unique_ptr<BaseWidget>> m_Layers;
  std::deque<InputEvent> m_Events;
  std::vector<std::unique_ptr<BaseWidget>> m_Deferred;
  std::vector<BaseWidget*> m_Popups;  // in the order of their opening
  // Where the focus was when the popup or box was opened.
  std::vector<std::pair<const BaseWidget*, BaseWidget*>> m_FocusBefore;
  BaseWidget* m_KeyFallback = nullptr;
  uint32_t m_InputCount = 0;
  bool m_ShowsFocus = false, m_HintHidden = false;
  bool m_PressSwallowed =
      false;  // the press closed a popup, or its drag was called off: nobody gets what follows until the release
  bool m_OutsideHasMouse = false;  // a press that no widget wanted: all goes to Unhandled until the release
  BaseWidget *m_Captured = nullptr, *m_Hot = nullptr, *m_Focused = nullptr, *m_DragSource = nullptr;
  BaseClass* m_Dragged = nullptr;
  std::string m_DragLabel;
  cRect m_HintRect;
  std::string m_Said;
  cRect m_SaidPlace;
  double m_SaidUntil = 0;
  float m_PointerX = -1, m_PointerY = -1, m_Scale = 1;
  int m_Width = 0, m_Height = 0;
  uint8_t m_Modifiers = 0, m_ButtonsDown = 0;
  bool m_ArrangeWanted = true;
  double m_HotSince = 0, m_TimeSec = 0, m_SecondsToNextFrame = 1e9;
};
