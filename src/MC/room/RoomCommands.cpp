#include "MC/room/RoomCommands.h"

void AddRoomCommands(CommandTable& table, VoxelScene& scene, Messages& messages) {
  AddMeshCommands(table, scene, messages);
  AddVolumeCommands(table, scene, messages);
  AddSculptCommands(table, scene);
  AddHistoryCommands(table, scene);
  AddSurfaceCommands(table, scene);
  AddExportCommands(table, scene);
  AddRenderCommands(table, scene);
}
