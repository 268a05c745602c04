// Any bytes as nested chunks, through the memory stream: walks end, positions stay inside, payloads are no longer than the data.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "ClassEngine/MemoryBinStream.h"

static void Expect(bool condition) {
  if (!condition) std::abort();
}

static void Walk(BinStream& stream, int64_t end, int depth) {
  const ChunkWalk walk = ReadChunks(stream, end, [&](uint32_t tag, uint32_t size) {
    const int64_t payloadEnd = stream.GetReadPos() + size;
    Expect(payloadEnd <= end && stream.GetReadPos() >= 0);
    switch (tag >> 24 & 3) {
      case 0:
        return false;
      case 1: {  // a counted list, checked before memory is taken
        const uint32_t count = ReadDWORD(stream);
        if (!HasItems(stream, count, 2)) return true;
        std::vector<uint16_t> items(count);
        for (uint16_t& item : items) item = ReadWORD(stream);
        Expect(stream.GetReadPos() <= stream.Size());
        return true;
      }
      case 2: {
        MemoryBinStream copy;
        Expect(copy.ReadFrom(stream, size) == int64_t(size) && copy.Size() == int64_t(size));
        if (depth < 6) Walk(copy, copy.Size(), depth + 1);
        return true;
      }
      default:
        if (depth < 6) Walk(stream, payloadEnd, depth + 1);
        return true;
    }
  });
  Expect(walk.Damaged != walk.Message.empty());
  Expect(walk.Damaged || stream.GetReadPos() == end);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  MemoryBinStream stream;
  stream.Write(data, int64_t(size));
  Walk(stream, stream.Size(), 0);
  return 0;
}
