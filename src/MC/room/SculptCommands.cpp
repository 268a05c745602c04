// Stroke, Dab.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "ClassEngine/ValueTypes.h"
#include "MC/StrokeFile.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/RoomHelpers.h"
#include "MC/room/StrokePlacement.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/InputFiles.h"

using comms::cVec3;
using comms::Format;

namespace {

enum class StrokeSpace : int32_t { World, Box };
enum class DabTool : int32_t { Sphere, Segment, Carve };

class StrokeParams : public CommandParameters {
  REFLECTED(StrokeParams, CommandParameters)
 public:
  _str File, Volume;
  StrokeSpace Space = StrokeSpace::World;
  bool Project = false;
};
DECLARE_MEMBERS(StrokeParams) {
  Member<_str>("File", File).Hint("Text file of strokes: tool, mode, symmetry and pen samples");
  Member<_str>("Volume", Volume).Hint("Name of the volume; empty: the current one");
  Member<_index>("Space", Space, "StrokeSpaces")
      .Entries({"World", "Box"})
      .Hint("Unit of the file's lengths: world units, or half the longest side of the surface's box, from its middle");
  Member<_bool>("Project", Project).Hint("Move every sample against its normal onto the surface; those that miss it are dropped");
}

class DabParams : public CommandParameters {
  REFLECTED(DabParams, CommandParameters)
 public:
  DabTool Tool = DabTool::Segment;
  cVec3 Center, End, Normal{0, 0, 1};
  float Radius = 0.1f, Radius2 = 0, Height = 1;
  int32_t Mode = ApplyAdd;
  bool Airbrush = false;
  int32_t Symmetry = MirrorNone;
  _str Volume;
};
DECLARE_MEMBERS(DabParams) {
  Member<_index>("Tool", Tool, "DabTools")
      .Entries({"Sphere", "Segment", "Carve"})
      .Hint(
          "Sphere: a ball at Center; Segment: a capsule from Center to End; Carve: a lens of the pen about the plane across "
          "Normal");
  Member<_cFloat3>("Center", Center).Unit("world units").Hint("First end of the dab");
  Member<_cFloat3>("End", End).Unit("world units").Hint("Second end of the dab; not given: Center");
  Member<_float>("Radius", Radius).Range(1e-6, 1e6).Unit("world units").Hint("Radius at Center");
  Member<_float>("Radius2", Radius2)
      .Range(0, 1e6)
      .Unit("world units")
      .Hint("Radius at End, together with which it is given; 0: as Radius");
  Member<_cFloat3>("Normal", Normal).Hint("Normal of the surface there, for Carve");
  Member<_float>("Height", Height).Range(0, 100).Unit("radii").Hint("Depth of Carve");
  Member<_int>("Mode", Mode).Range(0, 2).Hint("0 adds, 1 subtracts, 2 leaves what lies within the dab");
  Member<_bool>("Airbrush", Airbrush).Hint("Subtract a part of the density each time instead of all at once");
  Member<_index>("Symmetry", Symmetry, "SymmetryAxes")
      .Entries({"none", "x", "y", "xy", "z", "xz", "yz", "xyz"})
      .Hint("Repeat the dab mirrored about the planes through the volume's origin across these axes");
  Member<_str>("Volume", Volume).Hint("Name of the volume; empty: the current one");
}

// Runs strokes as one change of the volume: all of them, or none where the person cancels.
CommandResult RunStrokes(VoxelScene& scene, VolumeObject& volume, const std::vector<Stroke>& strokes, const char* stepName,
                         JsonObject figures) {
  if (volume.BackupCount != 0) return CommandResult::Fail(Format("a stroke runs on the volume '%s'", volume.Name.c_str()));
  for (const Stroke& stroke : strokes) {
    for (const PenSample& sample : stroke.Samples)
      if (const std::string fault = CheckReach(volume, sample); !fault.empty()) return CommandResult::Fail(fault);
  }
  double balls = 0;
  for (const Stroke& stroke : strokes) balls += CountBalls(volume, stroke);
  if (balls > Stroke::MostBalls)
    return CommandResult::Fail(
        Format("between the samples lie about %.0f dabs, at most %.0f are made; a larger radius or spacing, or larger voxels, "
               "are needed",
               balls, Stroke::MostBalls));
  size_t samples = 0, done = 0;
  for (const Stroke& stroke : strokes) samples += stroke.Samples.size();
  StrokeOptions options{.RefreshEachDab = false, .BuildGroups = false};
  options.GoOn = [&] { return comms::ShowProgress(double(done), double(samples), "Stroke"); };
  StrokeReport sum;
  const StrokeScope scope(volume);
  for (const Stroke& stroke : strokes) {
    StrokeRun run(volume, stroke, options);
    for (const PenSample& sample : stroke.Samples) {
      run.Add(sample);
      if (run.Report().Apply.Capped || run.Report().Apply.Cancelled) break;
      ++done;
    }
    run.Finish();
    sum.Dabs += run.Report().Dabs;
    sum.Apply = sum.Apply + run.Report().Apply;
    if (sum.Apply.Cancelled) return CommandResult::Fail("cancelled; the volume is as it was");
    if (sum.Apply.Capped)
      return CommandResult::Fail(
          "a dab reaches more cells than are changed at once; a smaller radius or larger voxels are needed");
  }
  FinishStep(scene, volume, stepName);
  figures.Add("dabs", sum.Dabs).Add("cellsReached", sum.Apply.TargetCells).Add("cellsChanged", sum.Apply.ChangedCells);
  return CommandResult::Done(figures);
}

// Stamps name their source; a volume can't be stamped into itself.
std::string ResolveStamps(const VoxelScene& scene, const VolumeObject& target, std::vector<Stroke>& strokes) {
  for (Stroke& stroke : strokes) {
    if (stroke.Tool != StrokeTool::Stamp) continue;
    if (!stroke.StampName) return "a stroke's tool is Stamp, and no line 'stamp NAME' says with which volume";
    stroke.StampSource = scene.Find(*stroke.StampName);
    if (!stroke.StampSource) return Format("there is no volume '%s' to stamp with", stroke.StampName->c_str());
    if (stroke.StampSource == &target) return Format("the volume '%s' can't be stamped into itself", stroke.StampName->c_str());
  }
  return {};
}

CommandResult RunStrokeFile(VoxelScene& scene, const StrokeParams& parameters) {
  std::string error;
  VolumeObject* volume = scene.FindOrCurrent(parameters.Volume.ToString(), error);
  if (!volume) return CommandResult::Fail(error);
  std::vector<Stroke> strokes;
  if (!ReadStrokeFile(FindInputFile(parameters.File.ToString()), strokes, error)) return CommandResult::NoInput(error);
  error = ResolveStamps(scene, *volume, strokes);
  if (!error.empty()) return CommandResult::Fail(error);

  JsonObject figures;
  size_t samples = 0;
  for (const Stroke& stroke : strokes) samples += stroke.Samples.size();
  figures.Add("strokes", strokes.size()).Add("samples", samples);
  if (parameters.Space == StrokeSpace::Box || parameters.Project) {
    volume->RefreshSurfaces();
    cVec3 minimum, maximum;
    if (!GetSurfaceBounds(*volume, minimum, maximum))
      return CommandResult::Fail(Format("the volume '%s' has no surface to place strokes on", volume->Name.c_str()));
    int missed = 0;
    if (parameters.Space == StrokeSpace::Box)
      for (Stroke& stroke : strokes) PlaceInBox(minimum, maximum, stroke);
    if (parameters.Project) {
      std::vector<Stroke> placed;
      for (const Stroke& stroke : strokes) {
        std::vector<Stroke> pieces = ProjectOnSurface(*volume, stroke, missed);
        std::move(pieces.begin(), pieces.end(), std::back_inserter(placed));
      }
      strokes = std::move(placed);
      figures.Add("samplesMissed", missed);
    }
  }
  return RunStrokes(scene, *volume, strokes, "Stroke", std::move(figures));
}

// What a tool has no use for is told, not passed over.
std::string FindUnusedParameter(const DabParams& parameters) {
  static constexpr struct {
    DabTool Tool;
    const char *Parameter, *Sentence;
  } unused[] = {
      {DabTool::Sphere, "End", "Tool=Sphere has no End; a capsule is Tool=Segment"},
      {DabTool::Sphere, "Radius2", "Tool=Sphere has no Radius2; a capsule is Tool=Segment"},
      {DabTool::Sphere, "Height", "Tool=Sphere has no Height; it belongs to Tool=Carve"},
      {DabTool::Sphere, "Normal", "Tool=Sphere has no Normal; it belongs to Tool=Carve"},
      {DabTool::Segment, "Height", "Tool=Segment has no Height; it belongs to Tool=Carve"},
      {DabTool::Segment, "Normal", "Tool=Segment has no Normal; it belongs to Tool=Carve"},
  };
  for (const auto& one : unused)
    if (one.Tool == parameters.Tool && parameters.IsGiven(one.Parameter)) return one.Sentence;
  if (parameters.IsGiven("Radius2") && !parameters.IsGiven("End")) return "Radius2 is the radius at End, and no End is given";
  return {};
}

CommandResult RunDab(VoxelScene& scene, const DabParams& parameters) {
  std::string error;
  VolumeObject* volume = scene.FindOrCurrent(parameters.Volume.ToString(), error);
  if (!volume) return CommandResult::Fail(error);
  const bool hasEnd = parameters.IsGiven("End");
  if (const std::string unused = FindUnusedParameter(parameters); !unused.empty()) return CommandResult::Refuse(unused);
  if (parameters.Tool == DabTool::Carve && !(Length(parameters.Normal) > 0)) return CommandResult::Refuse("Normal has no length");

  Stroke stroke;
  stroke.Tool = parameters.Tool == DabTool::Sphere    ? StrokeTool::Sphere
                : parameters.Tool == DabTool::Segment ? StrokeTool::Segment
                                                      : StrokeTool::Carve;
  stroke.Mode = parameters.Mode;
  stroke.Airbrush = parameters.Airbrush;
  stroke.Symmetry = parameters.Symmetry;
  const float radius2 = parameters.Radius2 > 0 ? parameters.Radius2 : parameters.Radius;
  stroke.Samples.push_back({parameters.Center, parameters.Normal, parameters.Radius, parameters.Height, 1});
  if (hasEnd) stroke.Samples.push_back({parameters.End, parameters.Normal, radius2, parameters.Height, 1});
  return RunStrokes(scene, *volume, {stroke}, "Dab", {});
}

}  // namespace

void AddSculptCommands(CommandTable& table, VoxelScene& scene) {
  table.Add<StrokeParams>(
      "Stroke", "Runs the strokes of a file on a volume.",
      [&](const StrokeParams& parameters) { return RunStrokeFile(scene, parameters); }, {"File"}, true);
  table.Add<DabParams>(
      "Dab", "Applies one dab of a brush to a volume.", [&](const DabParams& parameters) { return RunDab(scene, parameters); },
      {"Center", "Radius"}, true);
}
