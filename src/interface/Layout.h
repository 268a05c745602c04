#pragma once
// Widgets that place others and draw nothing.
#include <vector>

#include "interface/BaseWidget.h"

/// Height of the visible children of `parent` below one another, with gaps between them.
float StackHeight(const BaseWidget& parent, float width, Canvas& canvas, float gap = -1);
/// Places them from the top of `rect` down, each as high as it wants. `gap` in pixels of now; -1 is the gap of rows.
void ArrangeStack(BaseWidget& parent, const cRect& rect, Canvas& canvas, float gap = -1);

/// Children below one another.
class ColumnWidget : public BaseWidget {
  REFLECTED(ColumnWidget, BaseWidget)
 public:
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float NarrowestFor(Canvas& canvas) const override;
};

/// Children side by side: those that know their width get it, the others share what is left by their weights, but none gets less
/// than what it shows needs as long as that is there for all of them.
class RowWidget : public BaseWidget {
  REFLECTED(RowWidget, BaseWidget)
 public:
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float NarrowestFor(Canvas& canvas) const override;
  /// Adds a child with its weight; 0: as wide as it wants to be.
  template <class W>
  W* AddWeighted(W* child, float weight) {
    Weights.resize(size_t(Children.Count), -1.0f);
    Weights.push_back(weight);
    return AddChild(child);
  }
  std::vector<float> Weights;  ///< by child; -1 or missing: 0 where the child knows its width, else 1

 private:
  std::vector<float> Widths(float width, Canvas& canvas) const;
  void GiveNarrowest(std::vector<float>& weights, std::vector<float>& widths, float& left, Canvas& canvas) const;
};
