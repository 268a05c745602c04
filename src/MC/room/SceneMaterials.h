#pragma once
// What surfaces in the view are made of.
#include "MC/room/SceneView.h"
#include "comms/Image.h"

/// Linear.
comms::cVec3 GetClayAlbedo(ClayKind kind);
/// Luminance of the surface's own colour, 0 .. 1.
float GetBrightness(const SceneViewOptions& options);

/// A matcap: the light of a sphere as the viewer sees it, `side` pixels a side, row 0 on top; each channel is the root of a
/// quarter of the linear light. Computed from lamps and a surface of our own, no picture is read.
comms::cImage MakeMatcap(MatcapKind kind, int side);
