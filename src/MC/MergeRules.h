#pragma once
// How the samples of a field meet those of a cell: the one arithmetic behind brushes and voxelised meshes.
#include <cstdint>

#include "MC/ApplyField.h"

enum class MergeRule { Max, MinComplement, Min, Subtract };

/// `mode` is an ApplyMode.
MergeRule MergeRuleOf(int32_t mode, bool airbrush);

/// What becomes of a sample v where the field is q.
uint16_t MergeSample(MergeRule rule, uint16_t v, uint16_t q);

/// Of the samples after a merge; Changed is not 0 where one of them differs from before.
struct MergeResult {
  uint16_t Low = 65535, High = 0, Changed = 0;
};
/// Merges CellSamples samples; `after` is another array than the two others.
MergeResult MergeSamples(MergeRule rule, const uint16_t* before, const uint16_t* q, uint16_t* after);

/// HasOutside and HasInside of samples that lie between the two.
inline uint8_t SidesOf(const MergeResult& result) {
  return uint8_t((result.Low < SurfaceLevel ? HasOutside : 0) | (result.High >= SurfaceLevel ? HasInside : 0));
}
