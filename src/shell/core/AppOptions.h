#pragma once
// What a person sets once and keeps: AppOptions ("Options.xml", behind the preferences) and cSettings ("Xmls/Settings.xml", the
// switches of the view).
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Str.h"
#include "shell/core/NaviSystem.h"

enum class ThemeChoice : int32_t { System, Dark, Light };
enum class PenCursorKind : int32_t { Circle, CircleAndDot, Cross };

class AppOptions : public BaseClass {
  REFLECTED(AppOptions, BaseClass)
 public:
  // Look
  ThemeChoice Theme = ThemeChoice::System;
  float InterfaceScale = 0;  ///< 0: as the screen asks; else 0.75 .. 3
  _str Language = "English";
  bool ShowHints = true;
  float HintDelay = 0.5f;  ///< seconds
  // Navigation
  int NavigationPreset = 0;  ///< index into GetNaviPresets
  float OrbitSpeed = 1, ZoomSpeed = 1;
  bool InvertWheel = false;
  bool Turntable = true;
  bool OrbitAroundPick = true, ZoomToCursor = true, SmoothViews = true;
  float FieldOfView = 40;  ///< degrees, vertical
  // Pen
  PenCursorKind PenCursor = PenCursorKind::CircleAndDot;
  uint32_t PenCursorColor = 0xFFFFFFFF;
  bool PenCursorOnSurface = true;  ///< lies on the surface; else flat on the screen
  float PressureCurve = 1;         ///< exponent of the device's pressure; below 1 is softer
  // Symmetry
  bool ShowSymmetryPlane = true;
  uint32_t SymmetryColorX = 0x60FF5050, SymmetryColorY = 0x6050FF50, SymmetryColorZ = 0x605080FF;
  // Safety
  int UndoDepth = 100;  ///< steps
  int UndoMegabytes = 2048;
  int AutosaveMinutes = 10;  ///< 0: never

  /// The scale that is used on a screen that asks for `screenScale`.
  float GetScale(float screenScale) const;
  NaviSettings GetNaviSettings() const;
  /// "Options.xml" of the data path; a bad file leaves the defaults. See ObjectFile.h.
  void Load();
  bool Store();
  using BaseClass::Load;
};

class cSettings : public BaseClass {
  REFLECTED(cSettings, BaseClass)
 public:
  bool FullScreen = false;
  bool ShowGrid = true;
  uint32_t GridColor = 0x60808080, GridAxisColor = 0xA0A0A0A0;
  bool Wireframe = false;
  bool ShowStatistics = false;  ///< frame times in the corner
  bool VerticalSync = true;
  bool ShowAxes = true;

  /// "Xmls/Settings.xml" of the data path, under the name "Settings".
  void Load();
  bool Store();
  using BaseClass::Load;
};
