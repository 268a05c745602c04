// How input finds its widget.
#include <algorithm>
#include <vector>

#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

namespace {

void TellDrag(BaseWidget& widget, WidgetEventKind kind, const InputEvent& input, BaseClass* object) {
  const WidgetEvent event{kind, &input, object};
  widget.OnEvent(event);
  if (widget.Callback) widget.Callback->Invoke(&widget, event);
}

void FindFocusable(BaseWidget& widget, std::vector<BaseWidget*>& list) {
  if (!widget.Visible || !widget.Enabled) return;
  if (widget.TakesFocus()) list.push_back(&widget);
  if (!widget.ShowsChildren()) return;
  for (BaseWidget* child : widget.Children) FindFocusable(*child, list);
}

// The buttons of a pen are other ones than those of the mouse.
constexpr uint8_t MouseBits = 0x0F, PenBits = 0xF0;
uint8_t ButtonBit(MouseButton button, bool isPen) { return uint8_t(1u << (unsigned(button) + (isPen ? 4 : 0))); }

}  // namespace

void cWidgets::HandleInputEvents() {
  // What comes in meanwhile waits for the next frame.
  for (size_t left = m_Events.size(); left && !m_Events.empty(); left--) {
    const InputEvent event = std::move(m_Events.front());
    m_Events.pop_front();
    ArrangeIfWanted();
    if (!Dispatch(event) && Unhandled) Unhandled(event);
  }
  // What was opened, closed or moved may lie under the resting pointer.
  ArrangeIfWanted();
  UpdateHot();
}

bool cWidgets::Dispatch(const InputEvent& event) {
  m_Modifiers = event.Modifiers;
  switch (event.Kind) {
    case InputKind::PointerMove:
    case InputKind::ButtonDown:
    case InputKind::ButtonUp:
    case InputKind::Wheel:
    case InputKind::Drop:
      return DispatchPointer(event);
    case InputKind::PointerLeave:
      if (!m_ButtonsDown) m_PointerX = m_PointerY = -1;
      UpdateHot();
      return false;
    case InputKind::FocusLost:
      ReleaseAll();
      return false;
    case InputKind::KeyDown:
    case InputKind::KeyUp:
    case InputKind::Text:
      return DispatchKey(event);
  }
  return false;
}

// --- pointer -----------------------------------------------------------------------------------------------------------------

bool cWidgets::DispatchPointer(const InputEvent& event) {
  // A drag or a stroke belongs to the device that began it: what a pen draws is not pulled along by an elbow at the mouse.
  if (event.Kind != InputKind::Wheel && event.Kind != InputKind::Drop && (m_ButtonsDown & (event.IsPen ? MouseBits : PenBits)))
    return true;
  if (event.Kind != InputKind::Drop && (event.X != m_PointerX || event.Y != m_PointerY)) {
    m_PointerX = event.X;
    m_PointerY = event.Y;
    m_HotSince = m_TimeSec;
  }
  if (event.Kind == InputKind::ButtonDown) m_ButtonsDown |= ButtonBit(event.Button, event.IsPen);
  if (event.Kind == InputKind::ButtonUp) m_ButtonsDown &= uint8_t(~ButtonBit(event.Button, event.IsPen));
  if (event.Kind == InputKind::ButtonDown || event.Kind == InputKind::Wheel) m_InputCount++;
  const bool lastRelease = event.Kind == InputKind::ButtonUp && !m_ButtonsDown;
  if (m_Dragged) return HandleDrag(event);
  if (m_PressSwallowed || m_OutsideHasMouse) {
    const bool swallowed = m_PressSwallowed;
    if (lastRelease) m_PressSwallowed = m_OutsideHasMouse = false;
    UpdateHot();
    return swallowed;
  }
  if (BaseWidget* captured = m_Captured) {
    captured->OnMouse(event);
    if (lastRelease) m_Captured = nullptr;
    UpdateHot();
    return true;
  }
  UpdateHot();
  if (event.Kind == InputKind::ButtonDown) return HandlePress(event);
  BaseWidget* handler = nullptr;
  return Offer(event, handler);
}

bool cWidgets::HandlePress(const InputEvent& event) {
  m_HintHidden = true;
  m_Said.clear();
  BaseWidget* hit = FindUnder(event.X, event.Y);
  BaseWidget* inPopup = nullptr;
  for (BaseWidget* popup : m_Popups)
    if (popup->Holds(hit)) inPopup = popup;
  if (!m_Popups.empty()) {
    ClosePopups(inPopup);
    if (!inPopup) {
      m_PressSwallowed = true;
      return true;
    }
  }
  BaseWidget* focus = hit;
  while (focus && !(focus->TakesFocusByMouse() && focus->IsEnabled())) focus = focus->Owner;
  const bool focusStays = inPopup && m_Focused && !inPopup->Holds(m_Focused);
  if (focus || !focusStays) SetFocus(focus, false);
  // Losing the focus may have written a value and changed what is here.
  ArrangeIfWanted();
  const size_t popups = m_Popups.size();
  BaseWidget *const modal = TopModal(), *handler = nullptr;
  if (!Offer(event, handler)) {
    m_OutsideHasMouse = true;
    UpdateHot();
    return false;
  }
  const bool opened = m_Popups.size() != popups || TopModal() != modal || m_Dragged;
  if (handler && !m_Captured && !opened && handler->Manager()) m_Captured = handler;
  UpdateHot();
  return true;
}

// From the topmost layer down, in each to the widget there and those that hold it. True also where a box blocks the rest.
bool cWidgets::Offer(const InputEvent& event, BaseWidget*& handler) {
  for (int layer = LayerCount - 1; layer >= 0; layer--) {
    BaseWidget* const blocking = layer == LayerModal ? TopModal() : nullptr;
    const BaseWidget& root = Layer(layer);
    for (int32_t i = root.Children.Count - 1; i >= 0 && i < root.Children.Count; i--) {
      BaseWidget* child = root.Children[i];
      if (BaseWidget* hit = child->FindAt(event.X, event.Y)) {
        if (OfferUp(hit, event, handler)) return true;
      }
      if (child == blocking) return true;
    }
    if (layer == LayerMenus && !m_Popups.empty() && event.Kind == InputKind::Wheel) return true;
  }
  return false;
}

bool cWidgets::OfferUp(BaseWidget* hit, const InputEvent& event, BaseWidget*& handler) {
  for (BaseWidget* widget = hit; widget && !widget->Root; widget = widget->Owner) {
    if (!widget->IsEnabled()) continue;
    if (widget->OnMouse(event)) {
      handler = widget;
      return true;
    }
    if (!widget->Manager()) return true;  // it has gone by its own doing
  }
  return false;
}

bool cWidgets::HandleDrag(const InputEvent& event) {
  BaseClass* const object = m_Dragged;
  BaseWidget* target = FindUnder(event.X, event.Y);
  while (target && !(target->IsEnabled() && target->AcceptsDrag(object, m_DragSource))) target = target->Owner;
  if (event.Kind == InputKind::PointerMove) {
    if (target) TellDrag(*target, WidgetEventKind::DragOver, event, object);
  } else if (event.Kind == InputKind::ButtonUp && !m_ButtonsDown) {
    CancelDrag();
    if (target) TellDrag(*target, WidgetEventKind::Drop, event, object);
  }
  UpdateHot();
  return true;
}

// The window lost the keyboard: whoever has the mouse sees the buttons go up.
void cWidgets::ReleaseAll() {
  CancelDrag();
  const bool isPen = (m_ButtonsDown & PenBits) != 0;
  for (const MouseButton button : {MouseButton::Left, MouseButton::Right, MouseButton::Middle}) {
    if (!(m_ButtonsDown & ButtonBit(button, isPen))) continue;
    m_ButtonsDown &= uint8_t(~ButtonBit(button, isPen));
    InputEvent release;
    release.IsPen = isPen;
    release.Kind = InputKind::ButtonUp;
    release.Button = button;
    release.X = m_PointerX;
    release.Y = m_PointerY;
    if (m_Captured) m_Captured->OnMouse(release);
  }
  m_Captured = nullptr;
  m_OutsideHasMouse = m_PressSwallowed = false;
  m_Modifiers = 0;
  ClosePopups();
  UpdateHot();
}

// The same order as Offer.
BaseWidget* cWidgets::FindUnder(float x, float y) {
  for (int layer = LayerCount - 1; layer >= 0; layer--) {
    BaseWidget* const blocking = layer == LayerModal ? TopModal() : nullptr;
    const BaseWidget& root = Layer(layer);
    for (int32_t i = root.Children.Count - 1; i >= 0; i--) {
      BaseWidget* child = root.Children[i];
      if (BaseWidget* hit = child->FindAt(x, y)) return hit;
      if (child == blocking) return nullptr;
    }
  }
  return nullptr;
}

void cWidgets::UpdateHot() {
  BaseWidget* hot = m_Captured;
  if (!hot && !m_OutsideHasMouse && !m_PressSwallowed) hot = FindUnder(m_PointerX, m_PointerY);
  if (hot == m_Hot) return;
  m_Hot = hot;
  m_HotSince = m_TimeSec;
  m_HintHidden = m_ButtonsDown != 0;
}

MouseCursor cWidgets::GetCursor() const {
  if (m_Dragged) return MouseCursor::Move;
  for (const BaseWidget* widget = m_Hot; widget; widget = widget->Owner) {
    const MouseCursor cursor = widget->GetCursor(m_PointerX, m_PointerY);
    if (cursor != MouseCursor::Arrow) return cursor;
  }
  return MouseCursor::Arrow;
}

// --- keyboard ------------------------------------------------------------------------------------------------------------------

// While a popup or a box is open, the keys are its own.
BaseWidget* cWidgets::KeyScope() { return m_Popups.empty() ? TopModal() : m_Popups.back(); }

bool cWidgets::DispatchKey(const InputEvent& event) {
  const bool down = event.Kind == InputKind::KeyDown;
  if (down) m_InputCount++;
  if (m_Dragged && down && event.Key == KeyEsc) {
    CancelDrag();
    return true;
  }
  if (m_Captured && down && event.Key == KeyEsc && m_Captured->UndoDrag()) {
    m_Captured = nullptr;
    m_PressSwallowed = true;
    UpdateHot();
    return true;
  }
  BaseWidget* const scope = KeyScope();
  if (down && !scope && m_Focused && !m_ShowsFocus && !m_Focused->ShowsKeyboard() && IsOverScene()) SetFocus(nullptr, false);
  BaseWidget* target = m_Focused && (!scope || scope->Holds(m_Focused)) ? m_Focused : scope;
  for (; target && !target->Root; target = target->Owner) {
    if (target->IsEnabled() && target->OnKey(event)) return true;
    if (target == scope || !target->Manager()) break;
  }
  if (down && event.Key == KeyTab && !(event.Modifiers & (ModControl | ModAlt | ModSuper)) && (scope || m_Focused)) {
    MoveFocus(event.Modifiers & ModShift);
    return true;
  }
  if (down && event.Key == KeyEsc) {
    if (IsPopup(scope)) {
      ClosePopups(m_Popups.size() > 1 ? m_Popups[m_Popups.size() - 2] : nullptr);
      return true;
    }
    const bool wasSeen = m_Focused && m_ShowsFocus;
    if (!scope) SetFocus(nullptr, false);
    if (wasSeen) return true;
  }
  // The release of a key that was held before the box came still reaches the tool.
  if (scope) return event.Kind != InputKind::KeyUp;
  return m_KeyFallback && m_KeyFallback->IsEnabled() && m_KeyFallback->OnKey(event);
}

bool cWidgets::IsOverScene() { return m_PointerX >= 0 && (!m_Hot || Layer(LayerScene).Holds(m_Hot)); }

void cWidgets::Focus(BaseWidget* widget) { SetFocus(widget, m_ShowsFocus); }

void cWidgets::SetFocus(BaseWidget* widget, bool byKey) {
  m_ShowsFocus = byKey && widget;
  if (widget == m_Focused) return;
  BaseWidget* const before = m_Focused;
  m_Focused = widget;
  if (before) before->OnFocus(false);
  if (!widget || m_Focused != widget) return;
  widget->OnFocus(true);
  for (BaseWidget* owner = widget->Owner; owner && byKey; owner = owner->Owner) owner->ShowInside(widget->Rect);
}

void cWidgets::MoveFocus(bool backward) {
  std::vector<BaseWidget*> list;
  if (BaseWidget* scope = KeyScope()) {
    FindFocusable(*scope, list);
  } else {
    for (int layer = LayerCount - 1; layer >= 0 && list.empty(); layer--) {
      if (m_Focused && !Layer(layer).Holds(m_Focused)) continue;
      FindFocusable(Layer(layer), list);
    }
  }
  if (list.empty()) return;
  const auto at = std::find(list.begin(), list.end(), m_Focused);
  const size_t count = list.size();
  size_t next = backward ? count - 1 : 0;
  if (at != list.end()) next = (size_t(at - list.begin()) + (backward ? count - 1 : 1)) % count;
  SetFocus(list[next], true);
}
