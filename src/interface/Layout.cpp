#include "interface/Layout.h"

#include <algorithm>

#include "interface/draw/Theme.h"

DECLARE_MEMBERS(ColumnWidget) {}
DECLARE_MEMBERS(RowWidget) {}

float StackHeight(const BaseWidget& parent, float width, Canvas& canvas, float gap) {
  if (gap < 0) gap = canvas.Px(Measures::RowGap);
  float height = 0;
  for (const BaseWidget* child : parent.Children)
    if (child->Visible) height += (height > 0 ? gap : 0) + child->HeightFor(width, canvas);
  return height;
}

void ArrangeStack(BaseWidget& parent, const cRect& rect, Canvas& canvas, float gap) {
  if (gap < 0) gap = canvas.Px(Measures::RowGap);
  float y = rect.Y;
  for (int32_t i = 0; i < parent.Children.Count; i++) {
    BaseWidget* child = parent.Children[i];
    if (!child->Visible) continue;
    const float height = child->HeightFor(rect.W, canvas);
    child->Arrange({rect.X, y, rect.W, height}, canvas);
    y += height + gap;
  }
}

void ColumnWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  ArrangeStack(*this, rect, canvas);
}
float ColumnWidget::HeightFor(float width, Canvas& canvas) const { return StackHeight(*this, width, canvas); }
float ColumnWidget::NarrowestFor(Canvas& canvas) const {
  float width = 0;
  for (const BaseWidget* child : Children)
    if (child->Visible) width = std::max(width, child->NarrowestFor(canvas));
  return width;
}

// Those whose share is too small get what they need, which makes the shares of the others smaller in turn.
void RowWidget::GiveNarrowest(std::vector<float>& weights, std::vector<float>& widths, float& left, Canvas& canvas) const {
  std::vector<float> needs(weights.size(), 0.0f);
  float all = 0, sum = 0;
  for (size_t i = 0; i < weights.size(); i++) {
    if (weights[i] > 0) needs[i] = std::ceil(Children[int32_t(i)]->NarrowestFor(canvas));
    all += needs[i];
    sum += weights[i];
  }
  if (all > left) return;
  for (bool again = true; again && sum > 0;) {
    again = false;
    for (size_t i = 0; i < weights.size(); i++) {
      if (weights[i] <= 0 || left * weights[i] / sum >= needs[i]) continue;
      widths[i] = needs[i];
      left -= needs[i];
      sum -= weights[i];
      weights[i] = 0;
      again = true;
      break;
    }
  }
}

// Whole pixels, so that borders stay sharp; what rounding leaves goes to the last one.
std::vector<float> RowWidget::Widths(float width, Canvas& canvas) const {
  std::vector<float> widths(size_t(Children.Count), 0.0f), weights(size_t(Children.Count), 0.0f);
  float left = width, sum = 0;
  int shown = 0, last = -1;
  for (int32_t i = 0; i < Children.Count; i++) {
    const BaseWidget* child = Children[i];
    if (!child->Visible) continue;
    shown++;
    const float own = child->WidthFor(canvas), given = size_t(i) < Weights.size() ? Weights[size_t(i)] : -1;
    const float weight = given >= 0 ? given : own > 0 ? 0.0f : 1.0f;
    if (weight > 0) {
      weights[size_t(i)] = weight;
    } else {
      widths[size_t(i)] = std::ceil(own);
      left -= widths[size_t(i)];
    }
  }
  left = std::max(0.0f, left - float(std::max(0, shown - 1)) * canvas.Px(Measures::Gap));
  GiveNarrowest(weights, widths, left, canvas);
  for (int32_t i = 0; i < Children.Count; i++)
    if (weights[size_t(i)] > 0) sum += weights[size_t(i)], last = i;
  float rest = left;
  for (int32_t i = 0; i < Children.Count; i++) {
    if (weights[size_t(i)] <= 0) continue;
    widths[size_t(i)] = i == last ? rest : std::floor(left * weights[size_t(i)] / sum);
    rest -= widths[size_t(i)];
  }
  return widths;
}

void RowWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const std::vector<float> widths = Widths(rect.W, canvas);
  float x = rect.X;
  for (int32_t i = 0; i < Children.Count; i++) {
    BaseWidget* child = Children[i];
    if (!child->Visible) continue;
    child->Arrange({x, rect.Y, widths[size_t(i)], rect.H}, canvas);
    x += widths[size_t(i)] + canvas.Px(Measures::Gap);
  }
}

float RowWidget::HeightFor(float width, Canvas& canvas) const {
  const std::vector<float> widths = Widths(width, canvas);
  float height = 0;
  for (int32_t i = 0; i < Children.Count; i++)
    if (Children[i]->Visible) height = std::max(height, Children[i]->HeightFor(widths[size_t(i)], canvas));
  return height;
}

float RowWidget::NarrowestFor(Canvas& canvas) const {
  float width = 0;
  for (int32_t i = 0; i < Children.Count; i++) {
    const BaseWidget* child = Children[i];
    if (!child->Visible) continue;
    // One that shares the rest breaks its text; the others have the width that they ask for.
    const bool shares = size_t(i) < Weights.size() && Weights[size_t(i)] > 0;
    width += (width > 0 ? canvas.Px(Measures::Gap) : 0) +
             std::max(child->NarrowestFor(canvas), shares ? 0.0f : child->WidthFor(canvas));
  }
  return width;
}
