#include "MC/CellCodec.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace {

// Four samples as one word; lane 0 is the first.
uint64_t LoadFour(const uint16_t* samples) {
  uint64_t word;
  std::memcpy(&word, samples, sizeof word);
  return word;
}
// Number of the lowest lane in which `word` is not 0, 4 where all are.
int FirstSetLane(uint64_t word) { return std::countr_zero(word) / 16; }
// The same for lanes that are 0: a borrow can only reach lanes above the lowest zero.
int FirstZeroLane(uint64_t word) { return std::countr_zero((word - 0x0001000100010001u) & ~word & 0x8000800080008000u) / 16; }

// Samples from `at` on, up to `end`, that equal (or differ from) the one before each.
template <bool equal>
int CountRun(const uint16_t* samples, int at, int end) {
  int i = at;
  for (; i + 4 <= end; i += 4) {
    const uint64_t difference = LoadFour(samples + i) ^ LoadFour(samples + i - 1);
    const int lane = equal ? FirstSetLane(difference) : FirstZeroLane(difference);
    if (lane < 4) return i + lane - at;
  }
  while (i < end && (samples[i] == samples[i - 1]) == equal) i++;
  return i - at;
}

}  // namespace

void EncodeCell(BinStream& out, const uint16_t* samples, int32_t n) {
  if (n <= 0) return;
  uint8_t bytes[4096];
  size_t size = 0;
  const auto put16 = [&](uint16_t value) {
    bytes[size++] = uint8_t(value);
    bytes[size++] = uint8_t(value >> 8);
  };
  put16(samples[0]);
  for (int i = 1; i < n;) {
    if (size + 1 + 2 * CodecMaxDeltas > sizeof bytes) {
      out.Write(bytes, size);
      size = 0;
    }
    if (const int repeats = CountRun<true>(samples, i, std::min(n, i + CodecMaxRepeats))) {
      bytes[size++] = uint8_t(repeats);
      i += repeats;
    } else {
      const int deltas = CountRun<false>(samples, i, std::min(n, i + CodecMaxDeltas));
      bytes[size++] = uint8_t(CodecDeltaCode + deltas);
      for (const int end = i + deltas; i < end; i++) put16(uint16_t(samples[i] - samples[i - 1]));
    }
  }
  out.Write(bytes, size);
}

bool DecodeCell(BinStream& in, uint16_t* samples, int32_t n) {
  if (n <= 0) return true;
  const auto endEarly = [&](int from) {
    std::fill(samples + from, samples + n, uint16_t(0));
    return false;
  };
  uint8_t bytes[2 * CodecMaxDeltas];
  if (in.Read(bytes, 2) != 2) return endEarly(0);
  uint16_t value = uint16_t(bytes[0] | bytes[1] << 8);
  samples[0] = value;
  for (int i = 1; i < n;) {
    uint8_t code = 0;
    if (in.Read(&code, 1) != 1) return endEarly(i);
    if (code < CodecDeltaCode) {
      const int end = std::min(n, i + code);
      std::fill(samples + i, samples + end, value);
      i = end;
      continue;
    }
    const int wanted = std::min(n - i, code - CodecDeltaCode);
    const int found = int(in.Read(bytes, size_t(wanted) * 2)) / 2;
    for (int k = 0; k < found; k++) samples[i++] = value = uint16_t(value + (bytes[2 * k] | bytes[2 * k + 1] << 8));
    if (found < wanted) return endEarly(i);
  }
  return true;
}
