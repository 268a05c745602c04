#include "shell/core/AppOptions.h"

#include <algorithm>
#include <iterator>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ValueTypes.h"
#include "shell/core/DataPath.h"
#include "shell/core/ObjectFile.h"

static constexpr float MinScale = 0.75f, MaxScale = 3;

DECLARE_MEMBERS(AppOptions) {
  Separator("Look");
  Member<_index>("Theme", Theme, "InterfaceThemes").Entries({"System", "Dark", "Light"}).Hint("Colours of the interface");
  Member<_float>("InterfaceScale", InterfaceScale).Range(0, MaxScale).Hint("Size of the interface; 0 follows the screen");
  Member<_str>("Language", Language).Hint("Language of the interface");
  Member<_bool>("ShowHints", ShowHints).Hint("Explain what the pointer rests on");
  Member<CtrlFSlider>("HintDelay", HintDelay, {0.0f, 3.0f, 0.5f}).Unit("seconds").Hint("Time until a hint appears");

  Separator("Navigation");
  Enumerator& presets = EnumRegistry::FindOrCreate("NavigationPresets");
  if (!presets.GetCount())
    for (size_t i = 0; i < GetNaviPresets().size(); ++i) presets.Add(GetNaviPresets()[i].Name, int32_t(i));
  Member<_index>("NavigationPreset", NavigationPreset, "NavigationPresets").Hint("Which buttons move the view");
  Member<CtrlFSlider>("OrbitSpeed", OrbitSpeed, {0.1f, 5.0f, 1.0f}).Hint("1: a drag over the view is half a turn");
  Member<CtrlFSlider>("ZoomSpeed", ZoomSpeed, {0.1f, 5.0f, 1.0f}).Hint("1: a notch of the wheel is a fifth");
  Member<_bool>("InvertWheel", InvertWheel).Hint("The wheel zooms the other way round");
  Member<_bool>("Turntable", Turntable).Hint("Keep the horizon level");
  Member<_bool>("OrbitAroundPick", OrbitAroundPick).Hint("Turn around the point under the pointer");
  Member<_bool>("ZoomToCursor", ZoomToCursor).Hint("Zoom to the point under the pointer");
  Member<_bool>("SmoothViews", SmoothViews).Hint("Move to standard views in a short time");
  Member<CtrlFSlider>("FieldOfView", FieldOfView, {10.0f, 120.0f, 40.0f}).Unit("degrees").Hint("Vertical angle of the view");

  Separator("Pen");
  Member<_index>("PenCursor", PenCursor, "PenCursors").Entries({"Circle", "Circle and dot", "Cross"}).Hint("Shape of the cursor");
  Member<_color>("PenCursorColor", PenCursorColor).Hint("Colour of the cursor");
  Member<_bool>("PenCursorOnSurface", PenCursorOnSurface).Hint("Lay the cursor on the surface");
  Member<CtrlFSlider>("PressureCurve", PressureCurve, {0.25f, 4.0f, 1.0f}).Hint("Exponent of the pressure; below 1 is softer");

  Separator("Symmetry");
  Member<_bool>("ShowSymmetryPlane", ShowSymmetryPlane).Hint("Show the planes of symmetry");
  Member<_color>("SymmetryColorX", SymmetryColorX).Hint("Colour of the plane across x");
  Member<_color>("SymmetryColorY", SymmetryColorY).Hint("Colour of the plane across y");
  Member<_color>("SymmetryColorZ", SymmetryColorZ).Hint("Colour of the plane across z");

  Separator("Safety");
  Member<CtrlISlider>("UndoDepth", UndoDepth, {1, 1000, 100}).Unit("steps").Hint("Steps that can be undone");
  Member<CtrlISlider>("UndoMegabytes", UndoMegabytes, {64, 65536, 2048}).Unit("MB").Hint("Memory for undo");
  Member<CtrlISlider>("AutosaveMinutes", AutosaveMinutes, {0, 120, 10}).Unit("minutes").Hint("Time between two backups; 0: none");
}

float AppOptions::GetScale(float screenScale) const {
  const float wanted = InterfaceScale >= MinScale ? InterfaceScale : screenScale;
  return wanted > 0 ? std::clamp(wanted, MinScale, MaxScale) : 1;
}

NaviSettings AppOptions::GetNaviSettings() const {
  return {NavigationPreset, OrbitSpeed, ZoomSpeed, InvertWheel, Turntable, OrbitAroundPick, ZoomToCursor, SmoothViews};
}

void AppOptions::Load() {
  RegisterMembers();
  LoadObjectFile(*this, GetFullPath("Options.xml"));
}

bool AppOptions::Store() {
  RegisterMembers();
  return StoreObjectFile(*this, GetFullPath("Options.xml"));
}

DECLARE_MEMBERS(cSettings) {
  Member<_bool>("FullScreen", FullScreen).Hint("The window covers the screen");
  Member<_bool>("ShowGrid", ShowGrid).Hint("Show the grid");
  Member<_color>("GridColor", GridColor).Hint("Colour of the grid");
  Member<_color>("GridAxisColor", GridAxisColor).Hint("Colour of the grid's middle lines");
  Member<_bool>("Wireframe", Wireframe).Hint("Draw edges in place of faces");
  Member<_bool>("ShowStatistics", ShowStatistics).Hint("Show the time of a frame");
  Member<_bool>("VerticalSync", VerticalSync).Hint("Wait for the screen before a frame is shown");
  Member<_bool>("ShowAxes", ShowAxes).Hint("Show the axes in the corner of the view");
}

static constexpr const char* SettingsName = "Settings";

void cSettings::Load() {
  RegisterMembers();
  LoadObjectFile(*this, GetFullPath("Xmls/Settings.xml"), SettingsName);
}

bool cSettings::Store() {
  RegisterMembers();
  return StoreObjectFile(*this, GetFullPath("Xmls/Settings.xml"), SettingsName);
}
