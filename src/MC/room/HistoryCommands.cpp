// Undo, Redo.
#include <new>

#include "MC/room/RoomCommands.h"

namespace {

using Step = VolumeObject* (StrokeHistory::*)();

// Where there is no memory for the surface that the step needs it is taken back: the scene is as it was.
CommandResult Take(VoxelScene& scene, Step step, Step back) {
  StrokeHistory& history = scene.History();
  VolumeObject* volume = (history.*step)();
  if (!volume) return CommandResult::Fail("a stroke runs; it must end first");
  try {
    volume->RefreshSurfaces();
  } catch (const std::bad_alloc&) {
    (history.*back)();
    throw;
  }
  return CommandResult::Done(JsonObject()
                                 .Add("volume", volume->Name)
                                 .Add("undoSteps", history.UndoSteps())
                                 .Add("redoSteps", history.Steps() - history.UndoSteps()));
}

}  // namespace

void AddHistoryCommands(CommandTable& table, VoxelScene& scene) {
  table.Add<NoParameters>("Undo", "Takes the last change of a volume, or of the list of volumes, back.",
                          [&](const NoParameters&) {
                            if (!scene.History().CanUndo()) return CommandResult::Fail("there is nothing to undo");
                            return Take(scene, &StrokeHistory::Undo, &StrokeHistory::Redo);
                          });
  table.Add<NoParameters>("Redo", "Does again what was taken back last.", [&](const NoParameters&) {
    if (!scene.History().CanRedo()) return CommandResult::Fail("there is nothing to redo");
    return Take(scene, &StrokeHistory::Redo, &StrokeHistory::Undo);
  });
}
