#include "interface/BaseWidget.h"

#include "ClassEngine/ValueTypes.h"
#include "ClassEngine/pool.h"
#include "interface/Language.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"

DECLARE_MEMBERS(BaseWidget) {
  Member<_bool>("Visible", Visible);
  Member<_bool>("Enabled", Enabled);
}

// The manager must know of nobody who is gone. The children go first, while they can still find the way up.
BaseWidget::~BaseWidget() {
  if (cWidgets* manager = Manager()) manager->Forget(this);
  Children.Clear();
}

void* BaseWidget::operator new(size_t size) { return GetPool().Allocate(size); }
void BaseWidget::operator delete(void* pointer, size_t size) { GetPool().Free(pointer, size); }

BaseWidget* BaseWidget::Clone() const {
  auto* made = static_cast<BaseWidget*>(New());
  auto* self = const_cast<BaseWidget*>(this);  // reading an object goes through its write operations' signature
  self->FullCopy(static_cast<BaseClass*>(self), nullptr, made, static_cast<BaseClass*>(made), nullptr);
  made->Rect = Rect;
  made->HintKey = HintKey;
  made->PassesMouse = PassesMouse;
  return made;
}

void BaseWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  for (BaseWidget* child : Children) child->Arrange(child->Rect, canvas);
}

float BaseWidget::HeightFor(float, Canvas& canvas) const { return canvas.Px(Measures::RowHeight); }

std::string BaseWidget::GetHintText(float, float) const { return HintKey.empty() ? std::string() : ::GetHintText(HintKey); }

void BaseWidget::AppendChild(BaseWidget* child) {
  Children.Add(child);
  if (cWidgets* manager = Manager()) manager->RequestArrange();
}

void BaseWidget::RemoveChildren() {
  cWidgets* manager = Manager();
  if (!manager) {
    Children.Clear();
    return;
  }
  while (Children.Count) manager->DeleteLater(Children[Children.Count - 1]);
}

void BaseWidget::DrawTree(Canvas& canvas) {
  if (!Visible) return;
  const int cut = canvas.TextsCut();
  Draw(canvas);
  m_TextCut = canvas.TextsCut() > cut;
  const bool clips = ClipsChildren();
  if (clips) canvas.PushClip(Rect);
  for (int32_t i = 0; ShowsChildren() && i < Children.Count; i++) {
    BaseWidget* child = Children[i];
    const cRect seen = clips ? child->Rect.Intersection(canvas.Clip()) : child->Rect;
    if (!clips || (seen.W > 0 && seen.H > 0)) child->DrawTree(canvas);
  }
  if (clips) canvas.PopClip();
  DrawOver(canvas);
}

BaseWidget* BaseWidget::FindAt(float x, float y) {
  if (!Visible || !Rect.Contains(x, y)) return nullptr;
  for (int32_t i = Children.Count - 1; ShowsChildren() && i >= 0; i--)
    if (BaseWidget* found = Children[i]->FindAt(x, y)) return found;
  return PassesMouse ? nullptr : this;
}

bool BaseWidget::Holds(const BaseWidget* widget) const {
  while (widget && widget != this) widget = widget->Owner;
  return widget != nullptr;
}

bool BaseWidget::Tell(WidgetEventKind kind, const InputEvent* input) {
  const WidgetEvent event{kind, input, nullptr};
  OnEvent(event);
  return Callback && Callback->Invoke(this, event);
}

cWidgets* BaseWidget::Manager() const {
  const BaseWidget* top = this;
  while (top->Owner) top = top->Owner;
  return top->Root;
}

bool BaseWidget::IsHot() const {
  const cWidgets* manager = Manager();
  return manager && manager->Hot() == this;
}
bool BaseWidget::IsCaptured() const {
  const cWidgets* manager = Manager();
  return manager && manager->Captured() == this;
}
bool BaseWidget::IsFocused() const {
  const cWidgets* manager = Manager();
  return manager && manager->Focused() == this;
}
bool BaseWidget::IsEnabled() const {
  for (const BaseWidget* widget = this; widget; widget = widget->Owner)
    if (!widget->Enabled) return false;
  return true;
}
