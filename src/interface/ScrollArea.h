#pragma once
#include "interface/BaseWidget.h"

/// A vertical scroll bar. Positions are pixels of the content.
class VScroller : public BaseWidget {
  REFLECTED(VScroller, BaseWidget)
 public:
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool UndoDrag() override;
  float WidthFor(Canvas& canvas) const override;
  /// Held to what the content allows; tells Change.
  void SetPosition(float position, const InputEvent* event = nullptr);
  float Position() const { return m_Position; }
  float MaxPosition() const { return ContentHeight > ViewHeight ? ContentHeight - ViewHeight : 0; }

  float ContentHeight = 0, ViewHeight = 0;

 private:
  cRect Thumb() const;
  float m_Position = 0, m_Grab = 0, m_Before = 0;
};

/// Shows a part of its children, which are below one another, and scrolls by wheel and bar.
class ScrollArea : public BaseWidget {
  REFLECTED(ScrollArea, BaseWidget)
 public:
  ScrollArea();
  /// The children go here.
  BaseWidget& Content() { return *m_Content; }
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float NarrowestFor(Canvas& canvas) const override;
  /// All of the content.
  float HeightFor(float width, Canvas& canvas) const override;
  bool OnMouse(const InputEvent& event) override;
  bool ClipsChildren() const override { return true; }
  void ShowInside(const cRect& rect) override;
  VScroller& Scroller() { return *m_Scroller; }

  float Padding = 0;  ///< around the content, at scale 1

 private:
  bool OnScroll(BaseWidget* widget, const WidgetEvent& event);
  BaseWidget* m_Content;
  VScroller* m_Scroller;
};
