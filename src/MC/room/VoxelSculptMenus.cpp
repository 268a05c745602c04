// What menus, keys and panels of the voxel room offer.
#include "MC/room/VoxelSculptTool.h"
#include "interface/ActionWidgets.h"
#include "interface/Language.h"
#include "interface/MenuBar.h"
#include "interface/TextMenu.h"
#include "shell/core/Pages.h"

static constexpr float RadiusStep = 1.1f;

void VoxelSculptTool::AddActions(Actions& actions) {
  AddBrushActions(actions);
  AddSizeActions(actions);
  Action memory;
  memory.Name = memory.TextKey = "MemoryReport";
  memory.Icon = "Info";
  memory.DefaultKeys = {"Ctrl+Alt+M"};
  memory.Run = [this] { LogMemory(); };
  memory.IsEnabled = [this] { return !m_Stroking; };
  actions.Add(std::move(memory));
}

void VoxelSculptTool::AddBrushActions(Actions& actions) {
  const struct {
    const char *Name, *Icon, *Key;
    VoxelBrush Brush;
  } brushes[] = {{"BrushCarve", "Carve", "C", VoxelBrush::Carve},
                 {"BrushSphere", "Sphere", "S", VoxelBrush::Sphere},
                 {"BrushSegment", "Pen", "L", VoxelBrush::Segment},
                 {"BrushStamp", "Copy", "P", VoxelBrush::Stamp}};
  for (const auto& brush : brushes) {
    const VoxelBrush id = brush.Brush;
    Action action;
    action.Name = action.TextKey = brush.Name;
    action.Icon = brush.Icon;
    action.DefaultKeys = {brush.Key};
    action.Run = [this, id] {
      RadioActivate(*this);
      SetTool(int32_t(id), true);
    };
    action.IsEnabled = [this] { return FindMainTool(CurrentPage) == this; };
    action.IsChecked = [this, id] { return IsActive() && CurrentToolId == id; };
    actions.Add(std::move(action));
  }
  const struct {
    const char *Name, *Key;
    bool& Value;
  } planes[] = {{"SymmetryX", "X", SymmetryX}, {"SymmetryY", "Y", SymmetryY}, {"SymmetryZ", "Z", SymmetryZ}};
  for (const auto& plane : planes) {
    Action action;
    action.Name = action.TextKey = plane.Name;
    action.Icon = "Symmetry";
    action.DefaultKeys = {plane.Key};
    action.Run = [&value = plane.Value] { value = !value; };
    action.IsChecked = [&value = plane.Value] { return value; };
    actions.Add(std::move(action));
  }
}

// Every keyboard has comma and period; on many the brackets take a third finger or are other letters.
void VoxelSculptTool::AddSizeActions(Actions& actions) {
  const auto add = [this, &actions](const char* name, std::vector<std::string> keys, std::function<void()> run) -> Action& {
    Action action;
    action.Name = action.TextKey = name;
    action.Icon = "Sphere";
    action.DefaultKeys = std::move(keys);
    action.Run = std::move(run);
    action.IsEnabled = [this] { return IsActive(); };
    return actions.Add(std::move(action));
  };
  add("RadiusLess", {"[", ","}, [this] { ScaleRadius(1 / RadiusStep); }).Repeats = true;
  add("RadiusMore", {"]", "."}, [this] { ScaleRadius(RadiusStep); }).Repeats = true;
  const auto addHold = [&](const char* name, const char* key, Adjusting kind) {
    Action& action = add(name, {key}, [this, kind] { SwitchAdjustingByKey(kind); });
    action.Release = [this] { EndAdjustingByKey(); };
    action.Hold = true;
  };
  addHold("SizeBrush", "B", Adjusting::RadiusDepth);
  addHold("SmoothBrush", "Shift+B", Adjusting::Smoothness);
}

// What changes the brush, with the keys that do so now.
std::string VoxelSculptTool::GetGestureHint() const {
  const auto keyOf = [](const char* action) { return WithKey({}, {action, {}, {}}); };
  std::string hint = GetText("WORKHINT_CUT");
  const auto add = [&hint](const char* key, const std::string& first = {}, const std::string& second = {}) {
    hint += " · " + FillIn(FillIn(GetText(key), first), second);
  };
  const std::string less = keyOf("RadiusLess"), more = keyOf("RadiusMore"), size = keyOf("SizeBrush"),
                    smooth = keyOf("SmoothBrush");
  if (!less.empty() && !more.empty()) add("WORKHINT_RADIUS", less, more);
  if (RightDragIsOurs) {
    add(size.empty() ? "WORKHINT_DRAG_SIZE" : "WORKHINT_DRAG_OR_KEY_SIZE", size);
    add("WORKHINT_DRAG_SMOOTHNESS");
  } else {
    if (!size.empty()) add("WORKHINT_KEY_SIZE", size);
    if (!smooth.empty()) add("WORKHINT_KEY_SMOOTHNESS", smooth);
  }
  return hint;
}

void VoxelSculptTool::BuildRoomMenu(MenuBar& bar) {
  AddActionMenu(bar, "VOXMENU",
                {"BrushSphere", "BrushCarve", "BrushSegment", "BrushStamp", "", "RadiusLess", "RadiusMore", "SizeBrush",
                 "SmoothBrush", "", "MemoryReport", "ClearScene"});
}

void VoxelSculptTool::BuildRoomPopups(TextMenu& menu) {
  if (!m_Scene || m_Scene->Volumes().empty()) return;
  menu.AddSub(
      "VoxTreePanel",
      [this](TextMenu& volumes) {
        for (const auto& volume : m_Scene->Volumes()) {
          TextItem* item = volumes.Add(volume->Name, [this, name = volume->Name] {
            if (VolumeObject* chosen = m_Scene->Find(name)) m_Scene->Select(*chosen);
          });
          item->Literal = true;
          item->Checked = volume.get() == m_Scene->Current();
        }
      },
      "Layers");
  if (ListStamps().empty()) return;
  menu.AddSub(
      "StampVolume",
      [this](TextMenu& stamps) {
        for (const std::string& name : ListStamps()) {
          TextItem* item = stamps.Add(name, [this, name] { StampVolume = name.c_str(); });
          item->Literal = true;
          item->Checked = StampVolume.View() == name;
        }
      },
      "Copy");
}

void VoxelSculptTool::BuildToolButtons(BaseWidget& panel) {
  AddActionButtons(panel, "VOXSURFMODES", {"BrushSphere", "BrushCarve", "BrushSegment", "BrushStamp"});
  AddActionButtons(panel, "VOXSURFMODES2", {"SymmetryX", "SymmetryY", "SymmetryZ"});
}
