// Any bytes as nested chunks, through the memory stream: walks end, positions stay inside, payloads are no longer than the data.
// The same bytes as an object with parts and items, in the binary form and as the text of a chunk: what was read reads again from
// what is written, and all memory comes back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ClassPtr.h"
#include "ClassEngine/EngineHost.h"
#include "ClassEngine/MemoryBinStream.h"
#include "ClassEngine/ValueTypes.h"
#include "ClassEngine/pool.h"

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

namespace {

struct QuietHost : EngineHost {
  bool ShowBox(const char*, const char*) override { return true; }
  void Log(const char*) override {}
} s_Host;

class Part : public BaseClass {
  REFLECTED(Part, BaseClass)
 public:
  bool Flag = false;
  int32_t Number = 7;
  int32_t Kind = 1;
  float Size = 0.5f;
  uint8_t Byte = 1;
  uint32_t Tint = 0xFF102030u;
  _str Text;
};
DECLARE_MEMBERS(Part) {
  Member<_bool>("Flag", Flag);
  Member<_int>("Number", Number);
  Member<_index>("Kind", Kind, "FuzzKinds").Entries({"Ball", "Box", "Cone"});
  Member<_float>("Size", Size);
  Member<_BYTE>("Byte", Byte);
  Member<_color>("Tint", Tint);
  Member<_str>("Text", Text);
}

/// A tree of itself: a nested object, items of two classes, items of one, an owned object.
class Whole : public Part {
  REFLECTED(Whole, Part)
 public:
  Part Nested;
  ClassArray<Part> Mixed;
  ClonesArray<Whole> Clones;
  ClassPtr<Part> Single;
};
DECLARE_MEMBERS(Whole) {
  Member<Part>("Nested", Nested);
  Member<ClassArray<Part>>("Mixed", Mixed);
  Member<ClonesArray<Whole>>("Clones", Clones);
  Member<ClassPtr<Part>>("Single", Single);
}
REGISTER_CLASS(Part, "Fuzz");
REGISTER_CLASS(Whole, "Fuzz");

}  // namespace

static void SaveBytes(BaseClass& object, MemoryBinStream& stream) { object.SaveBin(nullptr, nullptr, stream); }

static void LoadObject(MemoryBinStream& stream) {
  Whole object;
  stream.SetReadPos(0);
  const bool isRead = object.LoadBin(nullptr, nullptr, stream);
  Expect(stream.GetReadPos() <= stream.Size());
  MemoryBinStream first, second;
  SaveBytes(object, first);  // what a damaged stream left is an object too
  if (!isRead) return;
  Whole again;
  Expect(again.LoadBin(nullptr, nullptr, first) && first.GetReadPos() == first.Size());
  SaveBytes(again, second);
  Expect(first.Size() == second.Size() && !std::memcmp(first.GetData(), second.GetData(), size_t(first.Size())));
}

static void LoadXmlObject(MemoryBinStream& stream) {
  Whole object;
  XmlErrorLog errors;
  stream.SetReadPos(0);
  RenewXmlErrorBox();
  const bool isRead = ReadXmlChunk(stream, uint32_t(stream.Size()), object, &errors);
  Expect(stream.GetReadPos() <= stream.Size());
  MemoryBinStream chunk;
  Whole again;
  Expect(WriteChunkFromXml(chunk, ChunkTag("FUZZ"), object));
  Expect(ReadDWORD(chunk) == ChunkTag("FUZZ"));
  const uint32_t size = ReadDWORD(chunk);
  Expect(ReadXmlChunk(chunk, size, again, &errors) || !isRead);
  Expect(chunk.GetReadPos() == chunk.Size());
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SetEngineHost(&s_Host);
  static const bool isReady = [] {  // what the first use of a class leaves behind stays
    MemoryBinStream stream;
    Whole whole;
    whole.Mixed.Add(new Part);
    SaveBytes(whole, stream);
    LoadObject(stream);
    LoadXmlObject(stream);
    return true;
  }();
  const size_t live = GetPool().GetLiveCount();
  {
    MemoryBinStream stream;
    stream.Write(data, int64_t(size));
    Walk(stream, stream.Size(), 0);
    LoadObject(stream);
    LoadXmlObject(stream);
  }
  Expect(isReady && GetPool().GetLiveCount() == live);
  return 0;
}
