#include "ClassEngine/BinStream.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

#include "ClassEngine/Assert.h"

int64_t BinStream::Skip(int64_t size) {
  const int64_t step = std::clamp<int64_t>(size, 0, GetBytesLeft(*this));
  if (step) SetReadPos(GetReadPos() + step);
  return step;
}

// --- scalars -------------------------------------------------------------------------------------

bool WriteDWORD(BinStream& stream, uint32_t value) { return stream.Write(&value, sizeof value); }
bool WriteWORD(BinStream& stream, uint16_t value) { return stream.Write(&value, sizeof value); }
bool WriteBYTE(BinStream& stream, uint8_t value) { return stream.Write(&value, sizeof value); }

template <class Number>
static Number ReadNumber(BinStream& stream) {
  Number value = 0;
  return stream.Read(&value, sizeof value) == int64_t(sizeof value) ? value : Number(0);
}
uint32_t ReadDWORD(BinStream& stream) { return ReadNumber<uint32_t>(stream); }
uint16_t ReadWORD(BinStream& stream) { return ReadNumber<uint16_t>(stream); }
uint8_t ReadBYTE(BinStream& stream) { return ReadNumber<uint8_t>(stream); }

bool HasItems(const BinStream& stream, uint64_t count, uint64_t itemSize) {
  MORVANE_ASSERT(itemSize > 0);
  const int64_t left = GetBytesLeft(stream);
  return left >= 0 && count <= uint64_t(left) / itemSize;
}

// --- chunks --------------------------------------------------------------------------------------

std::string GetTagText(uint32_t tag) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char symbol = char(tag >> shift);
    text += symbol > ' ' && symbol < 127 ? symbol : '?';
  }
  return text;
}

bool WriteChunk(BinStream& stream, uint32_t tag, const void* data, uint32_t size) {
  return WriteDWORD(stream, tag) && WriteDWORD(stream, size) && stream.Write(data, size);
}

bool WriteTextChunk(BinStream& stream, uint32_t tag, std::string_view text) {
  MORVANE_ASSERT(text.size() < UINT32_MAX);
  return WriteDWORD(stream, tag) && WriteDWORD(stream, uint32_t(text.size() + 1)) &&
         stream.Write(text.data(), int64_t(text.size())) && WriteBYTE(stream, 0);
}

ChunkWalk ReadChunks(BinStream& stream, int64_t end, const std::function<bool(uint32_t tag, uint32_t size)>& take) {
  constexpr int64_t HeaderBytes = 8;
  ChunkWalk walk;
  const auto damage = [&](const char* format, auto... values) {
    char text[160];
    std::snprintf(text, sizeof text, format, values...);
    walk.Damaged = true;
    walk.Message = text;
    return walk;
  };
  if (end > stream.Size())
    return damage("A chunk list up to byte %lld is announced, the data end at byte %lld.", (long long)end,
                  (long long)stream.Size());
  for (;;) {
    const int64_t start = stream.GetReadPos(), left = end - start;
    if (left <= 0) return walk;
    if (left < HeaderBytes)
      return damage("A chunk header of 8 bytes is expected at byte %lld, %lld bytes are left.", (long long)start,
                    (long long)left);
    const uint32_t tag = ReadDWORD(stream), size = ReadDWORD(stream);
    if (size > left - HeaderBytes)
      return damage("Chunk \"%s\" at byte %lld announces %u bytes, %lld are left.", GetTagText(tag).c_str(), (long long)start,
                    size, (long long)(left - HeaderBytes));
    (take(tag, size) ? walk.Known : walk.Skipped)++;
    stream.SetReadPos(start + HeaderBytes + size);
  }
}

// --- failures ------------------------------------------------------------------------------------

std::atomic<int> LastStreamError{StreamOk};

namespace {
// The background writer reports too.
struct FailedFile {
  std::mutex Lock;
  std::string Name;
};
FailedFile& GetFailedFile() {
  static FailedFile* file = new FailedFile;
  return *file;
}
}  // namespace

std::string LastStreamFile() {
  FailedFile& file = GetFailedFile();
  const std::lock_guard lock(file.Lock);
  return file.Name;
}

void SetStreamError(StreamError error, const std::string& name) {
  FailedFile& file = GetFailedFile();
  const std::lock_guard lock(file.Lock);
  file.Name = name;
  LastStreamError = error;
}

void ClearStreamError() { SetStreamError(StreamOk, {}); }
