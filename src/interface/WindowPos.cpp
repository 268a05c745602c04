#include "interface/WindowPos.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"
#include "shell/core/DataPath.h"
#include "shell/core/ObjectFile.h"

/// Lengths that a file may give; no screen is wider.
static constexpr int MostLength = 20000;

REGISTER_CLASS(WindowPos, nullptr);
REGISTER_CLASS(WindowPositions, nullptr);
DECLARE_MEMBERS(WindowPos) {
  Member<_str>("WndName", WndName);
  Member<_bool>("EnableTopmost", EnableTopmost);
  Member<_bool>("EnablePopup", EnablePopup);
  Member<_int>("Width", Width).Range(0, MostLength);
  Member<_int>("Height", Height).Range(0, MostLength);
  Member<_int>("tpX", tpX).Range(-MostLength, MostLength);
  Member<_int>("tpY", tpY).Range(-MostLength, MostLength);
  Member<_bool>("EnableSize", EnableSize);
}
DECLARE_MEMBERS(WindowPositions) { Member<ClonesArray<WindowPos>>("Windows", Windows); }

static int ToLength(float length) {
  return std::isfinite(length) ? int(std::lround(std::clamp(length, float(-MostLength), float(MostLength)))) : 0;
}

WindowPos* WindowPositions::Find(std::string_view name) const {
  for (WindowPos* window : Windows)
    if (window->WndName.View() == name) return window;
  return nullptr;
}

WindowPos& WindowPositions::Keep(std::string_view name, const cRect& place) {
  WindowPos* window = Find(name);
  if (!window) {
    if (Windows.Count >= MaxWindows) Windows.RemoveElement(0);
    window = new WindowPos;
    window->RegisterMembers();
    window->WndName = name;
    Windows.Add(window);
  }
  window->tpX = ToLength(place.X);
  window->tpY = ToLength(place.Y);
  window->Width = std::max(0, ToLength(place.W));
  window->Height = std::max(0, ToLength(place.H));
  return *window;
}

static std::string PathOfPositions() { return GetFullPath("Xmls/WindowPositions.xml"); }

void WindowPositions::Load() {
  RegisterMembers();
  LoadObjectFile(*this, PathOfPositions());
  for (WindowPos* window : Windows) ClampToRanges(*window);
  while (Windows.Count > MaxWindows) Windows.RemoveElement(0);
}

bool WindowPositions::Store() {
  RegisterMembers();
  return StoreObjectFile(*this, PathOfPositions());
}
