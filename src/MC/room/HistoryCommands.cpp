// Undo, Redo.
#include "MC/room/RoomCommands.h"

namespace {

CommandResult Answer(VoxelScene& scene, VolumeObject* volume) {
  volume->RefreshSurfaces();
  return CommandResult::Done(JsonObject()
                                 .Add("volume", volume->Name)
                                 .Add("undoSteps", scene.History().UndoSteps())
                                 .Add("redoSteps", scene.History().Steps() - scene.History().UndoSteps()));
}

}  // namespace

void AddHistoryCommands(CommandTable& table, VoxelScene& scene) {
  table.Add<NoParameters>("Undo", "Takes the last stroke, dab or merged mesh back.", [&](const NoParameters&) {
    if (!scene.History().CanUndo()) return CommandResult::Fail("there is nothing to undo");
    VolumeObject* volume = scene.History().Undo();
    return volume ? Answer(scene, volume) : CommandResult::Fail("a stroke runs; it must end first");
  });
  table.Add<NoParameters>("Redo", "Does again what was taken back last.", [&](const NoParameters&) {
    if (!scene.History().CanRedo()) return CommandResult::Fail("there is nothing to redo");
    VolumeObject* volume = scene.History().Redo();
    return volume ? Answer(scene, volume) : CommandResult::Fail("a stroke runs; it must end first");
  });
}
