#pragma once
// The byte stream that all binary persistence goes through, and what every stream shares: little-endian scalars, chunks, the
// record of the last failure.
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// One thread uses a stream at a time. Positions and sizes are bytes. A stream that only reads refuses writes, and the reverse.
class BinStream {
 public:
  BinStream() = default;
  virtual ~BinStream() = default;
  BinStream(const BinStream&) = delete;
  BinStream& operator=(const BinStream&) = delete;

  /// Puts `size` bytes at the writing position and advances it. False, with LastStreamError set, when not all were taken.
  virtual bool Write(const void* data, int64_t size) = 0;
  /// Reads up to `size` bytes; returns how many, 0 at the end.
  virtual int64_t Read(void* data, int64_t size) = 0;
  /// Makes the content into the file `path`, whole or not at all.
  virtual bool WriteToFile(const char* path) = 0;
  /// Replaces the content by that of the file, or opens it for reading. False and empty where it can't be read.
  virtual bool ReadFromFile(const char* path) = 0;
  virtual int64_t Size() const = 0;
  virtual void SetReadPos(int64_t pos) = 0;
  virtual void SetWritePos(int64_t pos) = 0;
  virtual int64_t GetReadPos() const = 0;
  virtual int64_t GetWritePos() const = 0;
  /// The bytes; null for streams that don't hold them in memory.
  virtual const uint8_t* GetData() const = 0;
  /// Releases all; back to the empty state.
  virtual void Clear() = 0;
  /// Moves the reading position on by `size` bytes, at most to the end; returns how many.
  virtual int64_t Skip(int64_t size);
};

/// Only counts what is written: a sizing pass.
class BinStreamCounter : public BinStream {
 public:
  bool Write(const void*, int64_t size) override {
    m_Count += size;
    return true;
  }
  int64_t Read(void*, int64_t) override { return 0; }
  bool WriteToFile(const char*) override { return false; }
  bool ReadFromFile(const char*) override { return false; }
  int64_t Size() const override { return m_Count; }
  void SetReadPos(int64_t) override {}
  void SetWritePos(int64_t) override {}
  int64_t GetReadPos() const override { return 0; }
  int64_t GetWritePos() const override { return m_Count; }
  const uint8_t* GetData() const override { return nullptr; }
  void Clear() override { m_Count = 0; }

 private:
  int64_t m_Count = 0;
};

// --- scalars -------------------------------------------------------------------------------------
bool WriteDWORD(BinStream& stream, uint32_t value);
bool WriteWORD(BinStream& stream, uint16_t value);
bool WriteBYTE(BinStream& stream, uint8_t value);
/// A read past the end gives 0 and takes what is left.
uint32_t ReadDWORD(BinStream& stream);
uint16_t ReadWORD(BinStream& stream);
uint8_t ReadBYTE(BinStream& stream);

/// Bytes between the reading position and the end.
inline int64_t GetBytesLeft(const BinStream& stream) { return stream.Size() - stream.GetReadPos(); }
/// Whether `count` items of `itemSize` bytes can still be read. Ask before memory is taken for a count out of a file.
bool HasItems(const BinStream& stream, uint64_t count, uint64_t itemSize);

// --- chunks: tag, payload size, payload ----------------------------------------------------------
/// The first character stands in the highest byte; shorter text is padded with 0 in the low ones.
constexpr uint32_t ChunkTag(std::string_view text) {
  uint32_t tag = 0;
  for (size_t i = 0; i < 4; i++) tag = tag << 8 | (i < text.size() ? uint8_t(text[i]) : 0);
  return tag;
}
/// "MESH" for its tag; other bytes than visible ASCII as "?".
std::string GetTagText(uint32_t tag);

bool WriteChunk(BinStream& stream, uint32_t tag, const void* data, uint32_t size);
/// The text with its terminator, which the size counts.
bool WriteTextChunk(BinStream& stream, uint32_t tag, std::string_view text);

/// The outcome of a walk over chunks.
struct ChunkWalk {
  int Known = 0, Skipped = 0;  ///< chunks taken and passed over
  bool Damaged = false;        ///< a header is cut off, or a chunk announces more than there is; the walk ended there
  std::string Message;         ///< of the damage: what, where, found, expected; empty when sound
};
/// Reads chunks up to the absolute position `end`, which must not lie past the end of the stream. take(tag, size) reads the
/// payload and returns true, or returns false for a tag it doesn't know. In both cases the walk goes on behind the payload,
/// wherever the taker stopped reading. Nested chunks: walk again inside `take`, up to its own end.
ChunkWalk ReadChunks(BinStream& stream, int64_t end, const std::function<bool(uint32_t tag, uint32_t size)>& take);

// --- failures ------------------------------------------------------------------------------------
enum StreamError : int {
  StreamOk = 0,
  StreamShortWrite = 1,  ///< fewer bytes were written than asked, or they did not reach the disk
  StreamNoFile = 2       ///< a file couldn't be created or put in its place
};
/// The last failure of any stream, the background writer's too. Streams set it; who cares clears it before and looks after.
extern std::atomic<int> LastStreamError;
/// Name of the file that failed last.
std::string LastStreamFile();
void SetStreamError(StreamError error, const std::string& file);
/// Back to StreamOk and no file.
void ClearStreamError();
