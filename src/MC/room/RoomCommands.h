#pragma once
// The commands of the voxel room, entered by theme. The scene and the messages outlive the table.
#include "MC/room/VoxelScene.h"
#include "shell/core/CommandTable.h"
#include "shell/core/Messages.h"

/// All of the commands below.
void AddRoomCommands(CommandTable& table, VoxelScene& scene, Messages& messages);

/// ImportMesh, Validate, Voxelize.
void AddMeshCommands(CommandTable& table, VoxelScene& scene, Messages& messages);
/// NewVolume, SelectVolume, DeleteVolume, ListVolumes, ClearScene.
void AddVolumeCommands(CommandTable& table, VoxelScene& scene, Messages& messages);
/// Stroke, Dab.
void AddSculptCommands(CommandTable& table, VoxelScene& scene);
/// Undo, Redo.
void AddHistoryCommands(CommandTable& table, VoxelScene& scene);
/// Polygonize, Report.
void AddSurfaceCommands(CommandTable& table, VoxelScene& scene);
/// ExportMesh, ExportStl.
void AddExportCommands(CommandTable& table, VoxelScene& scene);
/// Render.
void AddRenderCommands(CommandTable& table, VoxelScene& scene);
