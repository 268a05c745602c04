#include "MC/CellCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "ClassEngine/MemoryBinStream.h"
#include "MC/VoxelCell.h"

namespace {

std::vector<uint8_t> Encode(const std::vector<uint16_t>& samples) {
  MemoryBinStream stream;
  EncodeCell(stream, samples.data(), int32_t(samples.size()));
  return {stream.GetData(), stream.GetData() + stream.Size()};
}

// Decodes into a buffer with guards on both sides; the samples, and whether the stream had them all and no more.
std::vector<uint16_t> Decode(const std::vector<uint8_t>& bytes, size_t n, bool& whole) {
  MemoryBinStream stream;
  stream.Write(bytes.data(), int64_t(bytes.size()));
  std::vector<uint16_t> guarded(n + 16, 0xABCD);
  whole = DecodeCell(stream, guarded.data() + 8, int32_t(n));
  for (size_t i = 0; i < 8; i++) {
    EXPECT_EQ(guarded[i], 0xABCD);
    EXPECT_EQ(guarded[n + 8 + i], 0xABCD);
  }
  whole = whole && stream.GetReadPos() == int64_t(bytes.size());
  return {guarded.begin() + 8, guarded.end() - 8};
}

// The format as it is told, one sample at a time.
std::vector<uint8_t> EncodeSlowly(const std::vector<uint16_t>& s) {
  std::vector<uint8_t> bytes{uint8_t(s[0]), uint8_t(s[0] >> 8)};
  for (size_t i = 1; i < s.size();) {
    size_t repeats = 0;
    while (i + repeats < s.size() && repeats < 219 && s[i + repeats] == s[i + repeats - 1]) repeats++;
    if (repeats) {
      bytes.push_back(uint8_t(repeats));
      i += repeats;
      continue;
    }
    size_t deltas = 0;
    while (i + deltas < s.size() && deltas < 35 && s[i + deltas] != s[i + deltas - 1]) deltas++;
    bytes.push_back(uint8_t(220 + deltas));
    for (size_t k = 0; k < deltas; k++, i++) {
      const uint16_t delta = uint16_t(s[i] - s[i - 1]);
      bytes.push_back(uint8_t(delta));
      bytes.push_back(uint8_t(delta >> 8));
    }
  }
  return bytes;
}

std::vector<uint16_t> MakeSamples(unsigned seed, size_t n) {
  std::mt19937 random(seed);
  std::vector<uint16_t> samples;
  const unsigned longest = 1 + random() % 300;
  while (samples.size() < n) {
    const size_t run = 1 + random() % longest;
    const bool ramp = random() % 2;
    const uint16_t first = uint16_t(random() % 4 ? random() : 65535);
    for (size_t i = 0; i < run; i++) samples.push_back(uint16_t(first + (ramp ? 65521 * i : 0)));
  }
  samples.resize(n);
  return samples;
}

}  // namespace

TEST(CellCodec, BytesEqualTheSlowEncoderAndComeBack) {
  for (unsigned seed = 0; seed < 400; seed++) {
    const size_t n = seed < 40 ? 1 + seed : seed % 3 ? size_t(CellSamples) : 5000;  // lengths at every offset of a word
    const std::vector<uint16_t> samples = MakeSamples(seed, n);
    const std::vector<uint8_t> bytes = Encode(samples);
    ASSERT_EQ(bytes, EncodeSlowly(samples)) << seed;
    bool whole = false;
    ASSERT_EQ(Decode(bytes, n, whole), samples) << seed;
    EXPECT_TRUE(whole);
  }
}

TEST(CellCodec, EveryPrefixAndGarbageStayInBounds) {
  const std::vector<uint16_t> samples = MakeSamples(5, CellSamples);
  const std::vector<uint8_t> bytes = Encode(samples);
  bool whole = false;
  for (size_t size = 0; size < bytes.size(); size++) {
    const std::vector<uint16_t> read = Decode({bytes.begin(), bytes.begin() + long(size)}, CellSamples, whole);
    EXPECT_FALSE(whole);
    // What was there is right up to where the bytes end, the rest is 0.
    const size_t good = size_t(std::mismatch(read.begin(), read.end(), samples.begin()).first - read.begin());
    EXPECT_TRUE(std::all_of(read.begin() + long(good), read.end(), [](uint16_t v) { return v == 0; })) << size;
  }
  std::mt19937 random(9);
  for (int i = 0; i < 3000; i++) {
    std::vector<uint8_t> garbage(random() % 600);
    for (uint8_t& byte : garbage) byte = uint8_t(i % 3 ? random() : random() % 2 ? 220 : 0);  // runs of nothing among them
    Decode(garbage, size_t(1 + random() % CellSamples), whole);
  }
}
