// What menus, keys and panels of the voxel room offer.
#include "MC/room/VoxelSculptTool.h"
#include "interface/ActionWidgets.h"
#include "interface/MenuBar.h"
#include "interface/TextMenu.h"
#include "shell/core/Pages.h"

void VoxelSculptTool::AddActions(Actions& actions) {
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

void VoxelSculptTool::BuildRoomMenu(MenuBar& bar) {
  AddActionMenu(bar, "VOXMENU", {"BrushCarve", "BrushSphere", "BrushSegment", "BrushStamp", "", "ClearScene"});
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
  AddActionButtons(panel, "VOXSURFMODES", {"BrushCarve", "BrushSphere", "BrushSegment", "BrushStamp"});
  AddActionButtons(panel, "VOXSURFMODES2", {"SymmetryX", "SymmetryY", "SymmetryZ"});
}
