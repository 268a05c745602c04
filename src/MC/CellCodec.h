#pragma once
// How a block of samples is kept in files: the first sample as it is, then one byte a run. 1 .. 219 repeats the sample before so
// many times; 220 + n is followed by n 16-bit differences to the sample before, modulo 65536. Surface cells are mostly saturated
// at 0 or 65535 with a smooth ramp between, which repeats or differs in long runs.
#include <cstdint>

#include "ClassEngine/BinStream.h"

inline constexpr int CodecMaxRepeats = 219, CodecDeltaCode = 220, CodecMaxDeltas = 35;

/// Writes `n` samples; nothing for n = 0.
void EncodeCell(BinStream& out, const uint16_t* samples, int32_t n);
/// Reads `n` samples, never more, whatever the bytes say. Where the stream ends early the rest is 0 and the answer false.
bool DecodeCell(BinStream& in, uint16_t* samples, int32_t n);
