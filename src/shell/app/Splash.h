#pragma once
// Name and version over the first frames. It is drawn in them and costs the start no window of its own; it hears nothing of mouse
// and keys, so that work can begin under it.
#include <string>

#include "interface/draw/Canvas.h"

class Splash {
 public:
  static constexpr double Seconds = 0.5;

  Splash(std::string name, std::string version, double timeSec)
      : m_Name(std::move(name)), m_Version(std::move(version)), m_StartSec(timeSec) {}
  /// Whether it has been up for long enough.
  bool IsOver(double timeSec) const { return timeSec - m_StartSec > Seconds; }
  void Draw(Canvas& canvas) const;

 private:
  std::string m_Name, m_Version;
  double m_StartSec;
};
