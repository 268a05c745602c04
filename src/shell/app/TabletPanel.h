#pragma once
// Shows live what the pen reports, so that a person sees whether it works.
#include <functional>

#include "interface/BaseWidget.h"
#include "shell/platform/Tablet.h"

class TabletPanel : public BaseWidget {
 public:
  explicit TabletPanel(std::function<PenState()> getState) : m_GetState(std::move(getState)) {}
  void Draw(Canvas& canvas) override;
  void Process(double timeSec) override;

 private:
  std::function<PenState()> m_GetState;
};
