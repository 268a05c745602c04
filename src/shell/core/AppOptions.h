#pragma once
// What a person sets once and keeps: AppOptions ("Options.xml", behind the preferences) and cSettings ("Xmls/Settings.xml", the
// switches of the view).
#include <string>

#include <vector>

#include "ClassEngine/BaseClass.h"
#include "shell/core/NaviSystem.h"

enum class ThemeChoice : int32_t { System, Dark, Light };

class AppOptions : public BaseClass {
  REFLECTED(AppOptions, BaseClass)
 public:
  // Look
  ThemeChoice Theme = ThemeChoice::System;
  int InterfaceScale = 0;  ///< percent, one of GetScaleSteps; 0: as the screen asks
  int Language = 0;        ///< as SetLanguages numbered them; 0 is English
  bool ShowHints = true;
  float HintDelay = 0.5f;  ///< seconds
  // Navigation
  int NavigationPreset = 0;  ///< index into GetNaviPresets
  float OrbitSpeed = 1, ZoomSpeed = 1;
  bool InvertWheel = false;
  bool Turntable = true;
  bool OrbitAroundPick = true, ZoomToCursor = true, SmoothViews = true;
  float FieldOfView = 40;  ///< degrees, vertical
  // Safety
  int UndoDepth = 100;  ///< steps
  int UndoMegabytes = 2048;
  // Meshes
  bool SwapYZ = false;  ///< files that are opened and exported have z up

  /// The languages to choose from, by the names of their files. English is always among them. Before the first Load.
  static void SetLanguages(const std::vector<std::string>& names);
  /// Name of the language's file, without extension.
  std::string LanguageName() const;
  /// Percentages of the interface's size, rising.
  static const std::vector<int>& GetScaleSteps();
  /// The scale that is used on a screen that asks for `screenScale`.
  float GetScale(float screenScale) const;
  NaviSettings GetNaviSettings() const;
  /// "Options.xml" of the data path; a bad file leaves the defaults. See ObjectFile.h.
  void Load();
  bool Store();
  /// A language whose file is missing today stays chosen: its name is among the languages from then on.
  bool Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) override;
};

class cSettings : public BaseClass {
  REFLECTED(cSettings, BaseClass)
 public:
  bool FullScreen = false;
  bool ShowGrid = true;
  bool Wireframe = false;
  bool ShowStatistics = false;  ///< frame times in the corner
  bool VerticalSync = true;

  /// "Xmls/Settings.xml" of the data path, under the name "Settings".
  void Load();
  bool Store();
  using BaseClass::Load;
};
