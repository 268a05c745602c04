#include "shell/core/AppOptions.h"

#include <algorithm>
#include <iterator>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ValueTypes.h"
#include "comms/Str.h"
#include "shell/core/DataPath.h"
#include "shell/core/FileTitle.h"
#include "shell/core/ObjectFile.h"

static Enumerator& Languages() {
  Enumerator& languages = EnumRegistry::FindOrCreate("Languages");
  if (!languages.GetCount()) languages.Add("English", 0);
  return languages;
}

static void FillScales() {
  Enumerator& scales = EnumRegistry::FindOrCreate("InterfaceScales");
  if (scales.GetCount()) return;
  scales.Add("Automatic", 0);
  for (const int percent : AppOptions::GetScaleSteps()) scales.Add(comms::Format("%d %%", percent).c_str(), percent);
}

REGISTER_CLASS(AppOptions, nullptr);
REGISTER_CLASS(cSettings, nullptr);
DECLARE_MEMBERS(AppOptions) {
  FillScales();
  Languages();

  Separator("Look");
  Member<_index>("Theme", Theme, "InterfaceThemes").Entries({"System", "Dark", "Light"}).Hint("Colours of the interface");
  Member<_index>("InterfaceScale", InterfaceScale, "InterfaceScales").Hint("Size of the interface");
  Member<_index>("Language", Language, "Languages").Hint("Language of the interface");
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

  Separator("Safety");
  Member<CtrlISlider>("UndoDepth", UndoDepth, {1, 1000, 100}).Unit("steps").Hint("Steps that can be undone");
  Member<CtrlISlider>("UndoMegabytes", UndoMegabytes, {64, 65536, 2048}).Unit("MB").Hint("Memory for undo");

  Separator("Meshes");
  Member<_bool>("SwapYZ", SwapYZ).Hint("Mesh files have z up, for opening and exporting");
}

float AppOptions::GetScale(float screenScale) const {
  const float wanted = InterfaceScale > 0 ? float(InterfaceScale) / 100 : screenScale;
  return wanted > 0 ? std::clamp(wanted, float(GetScaleSteps().front()) / 100, float(GetScaleSteps().back()) / 100) : 1;
}

const std::vector<int>& AppOptions::GetScaleSteps() {
  static const std::vector<int> steps{75, 100, 125, 150, 175, 200, 225, 250, 275, 300};
  return steps;
}

void AppOptions::SetLanguages(const std::vector<std::string>& names) {
  Enumerator& languages = Languages();
  for (const std::string& name : names)
    if (languages.FindIndex(name.c_str()) < 0) languages.Add(name.c_str(), languages.GetCount());
}

std::string AppOptions::LanguageName() const {
  const char* name = Languages().EnumName(Languages().FindIndexOfValue(Language));
  return name ? name : Languages().EnumName(0);
}

NaviSettings AppOptions::GetNaviSettings() const {
  return {NavigationPreset, OrbitSpeed, ZoomSpeed, InvertWheel, Turntable, OrbitAroundPick, ZoomToCursor, SmoothViews};
}

bool AppOptions::Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) {
  const XmlNode* language = node->FindChild("Language");
  if (language && IsFileTitle(std::string(language->GetValueView()))) SetLanguages({std::string(language->GetValueView())});
  return BaseClass::Load(node, data, errors, extra);
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
  Member<_bool>("Wireframe", Wireframe).Hint("Draw edges in place of faces");
  Member<_bool>("ShowStatistics", ShowStatistics).Hint("Show the time of a frame");
  Member<_bool>("VerticalSync", VerticalSync).Hint("Wait for the screen before a frame is shown");
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
