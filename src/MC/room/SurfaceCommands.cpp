// Polygonize, Report.
#include "ClassEngine/ValueTypes.h"
#include "MC/RefreshProgress.h"
#include "MC/SurfaceStats.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/RoomHelpers.h"

namespace {

class OneVolumeParams : public CommandParameters {
  REFLECTED(OneVolumeParams, CommandParameters)
 public:
  _str Volume;
};
DECLARE_MEMBERS(OneVolumeParams) { Member<_str>("Volume", Volume).Hint("Name of the volume; empty: the current one"); }

class PolygonizeParams : public CommandParameters {
  REFLECTED(PolygonizeParams, CommandParameters)
 public:
  _str Volume;
  bool Whole = false;
};
DECLARE_MEMBERS(PolygonizeParams) {
  Member<_str>("Volume", Volume).Hint("Name of the volume; empty: the current one");
  Member<_bool>("Whole", Whole).Hint("All of the surface, and not only what changed since it was made last");
}

CommandResult Polygonize(const VoxelScene& scene, const PolygonizeParams& parameters) {
  std::string error;
  VolumeObject* volume = scene.FindOrCurrent(parameters.Volume.ToString(), error);
  if (!volume) return CommandResult::Fail(error);
  if (parameters.Whole) volume->MarkAllChanged();
  RefreshProgress progress;
  volume->RefreshChanges();
  if (progress.IsCancelled()) return CommandResult::Fail(CancelledSentence);
  size_t surfaceCells = 0, vertices = 0, triangles = 0;
  volume->ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    if (!cell.Surface || cell.Surface->Empty()) return;
    ++surfaceCells;
    vertices += cell.Surface->Vertices().Count();
    triangles += cell.Surface->Indices().Count() / 3;
  });
  return CommandResult::Done(
      JsonObject().Add("surfaceCells", surfaceCells).Add("cellVertices", vertices).Add("triangles", triangles));
}

JsonObject BytesFigure(const VolumeMemory& memory) {
  return JsonObject()
      .Add("table", memory.TableBytes)
      .Add("cells", memory.CellBytes)
      .Add("density", memory.DensityBytes)
      .Add("surface", memory.SurfaceBytes)
      .Add("vertices", memory.VertexBytes)
      .Add("indices", memory.IndexBytes)
      .Add("otherBlocks", memory.OtherBlockBytes)
      .Add("boxTree", memory.BoxTreeBytes)
      .Add("groupMeshes", memory.GroupMeshBytes)
      .Add("total", memory.Total());
}

JsonArray PointFigure(const SurfaceStats::Point& p) { return JsonArray().AddNumber(p.x).AddNumber(p.y).AddNumber(p.z); }

CommandResult Report(const VoxelScene& scene, const OneVolumeParams& parameters) {
  std::string error;
  VolumeObject* volume = scene.FindOrCurrent(parameters.Volume.ToString(), error);
  if (!volume) return CommandResult::Fail(error);
  RefreshProgress progress;
  volume->RefreshSurfaces();
  if (progress.IsCancelled()) return CommandResult::Fail(CancelledSentence);
  const SurfaceStats stats = MeasureSurface(*volume);
  if (progress.IsCancelled()) return CommandResult::Fail(CancelledSentence);
  JsonObject figures;
  figures.Add("name", volume->Name).Add("voxelSize", GetVoxelSize(*volume));
  figures.Add("cells", stats.Cells).Add("blocks", stats.Blocks).Add("surfaceCells", stats.SurfaceCells);
  figures.Add("vertices", stats.Vertices).Add("triangles", stats.Triangles);
  figures.Add("volume", stats.Volume).Add("area", stats.Area);
  figures.Add("bounds", JsonObject().Add("min", PointFigure(stats.Min)).Add("max", PointFigure(stats.Max)));
  figures.Add("components", stats.Components);
  if (stats.Genus >= 0)
    figures.Add("genus", stats.Genus);
  else
    figures.AddEncoded("genus", "null");
  figures.Add("boundaryEdges", stats.BoundaryEdges).Add("nonManifoldEdges", stats.NonManifoldEdges);
  figures.Add("bytes", BytesFigure(volume->CountMemory()));
  return CommandResult::Done(figures);
}

}  // namespace

void AddSurfaceCommands(CommandTable& table, VoxelScene& scene) {
  table.Add<PolygonizeParams>("Polygonize", "Makes the surface of a volume up to date.",
                              [&](const PolygonizeParams& parameters) { return Polygonize(scene, parameters); });
  table.Add<OneVolumeParams>("Report",
                             "Measures a volume and its surface, welded: cells, triangles, volume, area, bounds, pieces, genus "
                             "(null where it has none), open "
                             "edges, memory.",
                             [&](const OneVolumeParams& parameters) { return Report(scene, parameters); });
}
