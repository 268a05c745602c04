#pragma once
// Strokes: lists of pen samples in world space, run as dabs with their mirror images.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MC/ApplyField.h"
#include "MC/StrokeConstants.h"
#include "comms/Vec.h"

enum class StrokeTool { Sphere, Segment, Carve, Stamp };

/// One pen sample; lengths in world units.
struct PenSample {
  comms::cVec3 Position;
  comms::cVec3 Normal{0, 0, 1};  ///< of the surface, outward; any length above 0
  float Radius = 1;              ///< > 0
  float Height = 1;              ///< Carve: depth of the dab in radii
  float Pressure = 1;            ///< 0 .. 1
};

struct Stroke {
  StrokeTool Tool = StrokeTool::Segment;
  int32_t Mode = ApplyAdd;  ///< ApplyMode
  bool Airbrush = false;
  int Symmetry = MirrorNone;   ///< axes of volume space about whose planes every dab is repeated
  float Spacing = 0;           ///< least distance between two ends of dabs, in radii; 0: every sample counts. Sphere dabs follow
                               ///< each other at this distance, at SphereSpacing where it is 0
  bool PressureRadius = true;  ///< pressure scales the radius
  bool PressureHeight = true;  ///< pressure scales the height
  float Falloff = 0;           ///< Carve: strength of the falloff curve, 0 .. 1
  float Base = 0;              ///< Carve: offset from the surface, world units
  std::shared_ptr<const std::string> StampName;  ///< Stamp: name of the source volume, for whoever resolves it; strokes share it
  const VolumeObject* StampSource = nullptr;     ///< Stamp: the source; the tool does nothing without one
  std::vector<PenSample> Samples;
  static constexpr float SphereSpacing = 0.25f;
  static constexpr double MostBalls = 1e6;  ///< of CountBalls, what a stroke that nobody watches should stay below
};

/// Hears of every stroke that changed something and owns what the stroke replaced: an undo record keeps it, or its bytes.
class StrokeListener {
 public:
  virtual ~StrokeListener() = default;
  virtual void OnStrokeEnd(VolumeObject& volume, StrokeCells replaced) = 0;
};

struct StrokeOptions {
  bool RefreshEachDab = false;  ///< RefreshChanges after every dab and its images, as the window does once a frame
  bool BuildGroups = true;      ///< whether refreshes build group meshes
  std::function<bool()> GoOn =
      {};  ///< asked before every dab and often within long ones; false ends the dabs. None: they all run
};

struct StrokeReport {
  int64_t Dabs = 0;   ///< dabs applied, images included
  ApplyReport Apply;  ///< sums over the dabs
};

/// Runs the dabs of a stroke; the stroke stays open, so that more may follow before FinishStroke. In a volume whose axes are
/// scaled apart Segment keeps its shape in world space; the other tools are round in voxels.
StrokeReport ApplyStroke(VolumeObject& volume, const Stroke& stroke, const StrokeOptions& options = {});

/// About how many balls, images included, a Sphere stroke sets between its samples; 0 for the other tools. One long way with a
/// small radius makes any number of them.
double CountBalls(VolumeObject& volume, const Stroke& stroke);

/// A stroke that comes in pieces, as a pen delivers it. However the samples are parted, the dabs are those of ApplyStroke with
/// all of them: what a dab needs of the samples before it is kept here.
class StrokeRun {
 public:
  /// `settings` gives all but the samples, which are passed over. The volume outlives the run.
  StrokeRun(VolumeObject& volume, const Stroke& settings, const StrokeOptions& options = {});
  ~StrokeRun();
  StrokeRun(const StrokeRun&) = delete;
  StrokeRun& operator=(const StrokeRun&) = delete;
  /// Segment and Carve reach from sample to sample, so the first one waits for the second.
  void Add(const PenSample& sample);
  /// No sample follows: one that stayed alone becomes a dab of its own. Once.
  void Finish();
  const StrokeReport& Report() const;

 private:
  friend double CountBalls(VolumeObject& volume, const Stroke& stroke);
  class Runner;
  std::unique_ptr<Runner> m_Runner;
};

/// Ends a stroke: the changes are refreshed, then the listener (null: none) gets the cells as they were before, unless nothing
/// was touched. Where std::bad_alloc ends it the stroke goes on, and EndStroke can take it back.
void FinishStroke(VolumeObject& volume, StrokeListener* listener = nullptr, const StrokeOptions& options = {});

/// Whether the axes of a volume are scaled alike: every ratio of two of them lies in 0.98 .. 1.02.
bool IsUniformSpace(const comms::cMat4& space);
