#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "ClassEngine/BackgroundWriter.h"
#include "ClassEngine/FileBinStream.h"
#include "ClassEngine/MemoryBinStream.h"
#include "ClassEngine/StreamFile.h"
#include "ClassEngine/TestHost.h"
#include "ClassEngine/pool.h"

namespace {

namespace fs = std::filesystem;

class BinStreamTest : public fixture::FolderTest {
 protected:
  ~BinStreamTest() override {
    WaitForWriter();
    ForbidDelayedWriting = false;
  }
};

std::string MakeBytes(size_t size, uint32_t seed) {
  std::string bytes(size, 0);
  std::mt19937 random(seed);
  for (size_t i = 0; i + 4 <= size; i += 4) {
    const uint32_t word = random();
    std::memcpy(&bytes[i], &word, 4);
  }
  return bytes;
}

/// The process may write no file longer than `bytes` while this lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &m_Old);
    const rlimit tight{bytes, m_Old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tight);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_Old); }

 private:
  rlimit m_Old;
};

bool TakeAll(uint32_t, uint32_t) { return true; }

}  // namespace

TEST_F(BinStreamTest, TagsAndScalarsHaveTheirBytes) {
  static_assert(ChunkTag("MESH") == 0x4D455348 && ChunkTag("AB") == 0x41420000 && ChunkTag("") == 0);
  EXPECT_EQ(GetTagText(ChunkTag("MESH")), "MESH");
  MemoryBinStream stream;
  WriteDWORD(stream, ChunkTag("MESH"));
  WriteWORD(stream, 0x0201);
  WriteBYTE(stream, 0xFE);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(stream.GetData()), size_t(stream.Size())), "HSEM\x01\x02\xFE");
  EXPECT_EQ(ReadDWORD(stream), ChunkTag("MESH"));
  EXPECT_EQ(ReadDWORD(stream), 0u) << "three bytes are no number";
  EXPECT_EQ(ReadBYTE(stream), 0u);
  EXPECT_EQ(stream.GetReadPos(), 7);
  stream.SetReadPos(3);
  EXPECT_TRUE(HasItems(stream, 1, 4));
  EXPECT_FALSE(HasItems(stream, 2, 4));
  EXPECT_FALSE(HasItems(stream, 0x4000000000000001, 4)) << "the product wraps to 4";
}

// Random operations against a plain byte array.
TEST_F(BinStreamTest, MemoryStreamBehavesLikeAnArray) {
  const size_t live = GetPool().GetLiveCount();
  std::mt19937 random(23);
  for (int round = 0; round < 200; round++) {
    MemoryBinStream stream;
    std::string reference;
    size_t writePos = 0, readPos = 0;
    for (int i = 0; i < 60; i++) {
      const size_t size = random() % (round % 2 ? 40 : 3000);
      switch (random() % 4) {
        case 0:
        case 1: {
          const std::string bytes = MakeBytes(size, random());
          stream.Write(bytes.data(), int64_t(size));
          if (size && writePos > reference.size()) reference.resize(writePos);
          reference.replace(std::min(writePos, reference.size()), size, bytes);
          writePos += size;
          break;
        }
        case 2: {
          std::string got(size, 0);
          got.resize(size_t(stream.Read(got.data(), int64_t(size))));
          ASSERT_EQ(got, reference.substr(readPos, size));
          readPos += got.size();
          break;
        }
        default:
          writePos = random() % (reference.size() + 50);
          stream.SetWritePos(int64_t(writePos));
          readPos = random() % (reference.size() + 1);
          stream.SetReadPos(int64_t(readPos));
      }
      ASSERT_EQ(stream.Size(), int64_t(reference.size()));
      ASSERT_EQ(stream.GetWritePos(), int64_t(writePos));
      ASSERT_EQ(stream.GetReadPos(), int64_t(readPos));
    }
    const std::string own = reference;
    stream.Write(stream.GetData(), stream.Size());
    if (!own.empty()) reference.resize(std::max(own.size(), writePos));
    reference.replace(std::min(writePos, reference.size()), own.size(), own);
    ASSERT_EQ(std::string(reinterpret_cast<const char*>(stream.GetData()), size_t(stream.Size())), reference);
    char none;
    stream.SetReadPos(stream.Size());
    EXPECT_EQ(stream.Read(&none, 1) + stream.Read(&none, 0), 0);
    EXPECT_EQ(stream.GetReadPos(), stream.Size());
  }
  EXPECT_EQ(GetPool().GetLiveCount(), live);
}

// Every writer with every reader, around the size of the buffers, with pieces below and above it.
TEST_F(BinStreamTest, FilesComeBackThroughEveryWriterAndReader) {
  const int64_t buffer = FILE_WriteBinStream::BufferBytes;
  const std::string bytes = MakeBytes(size_t(buffer) * 3 + 77, 1);
  const std::vector<std::vector<int64_t>> plans = {
      {}, {1}, {buffer - 1, 1, 1}, {5, buffer, 7}, {3, buffer + 1, 9}, {buffer, buffer, 3}, {10, 2 * buffer + 5, 100, 1}};
  const std::vector<std::function<std::unique_ptr<BinStream>(const char*)>> writers = {
      [](const char* path) { return std::make_unique<FileWriteBinStream>(path); },
      [](const char* path) { return std::make_unique<FILE_WriteBinStream>(path); },
      [](const char* path) { return std::make_unique<FILE_WriteBinStream>(path, true); }};
  for (const auto& plan : plans) {
    int64_t total = 0;
    for (const int64_t size : plan) total += size;
    for (size_t w = 0; w < writers.size(); w++) {
      const std::string path = Path("plan.dat");
      std::unique_ptr<BinStream> writer = writers[w](path.c_str());
      for (int64_t at = 0; const int64_t size : plan) {
        ASSERT_TRUE(writer->Write(bytes.data() + at, size));
        at += size;
        ASSERT_EQ(writer->GetWritePos(), at);
      }
      writer.reset();
      // A reader opened now waits for a delayed writer.
      FileReadBinStream direct(path.c_str());
      FILE_ReadBinStream buffered(path.c_str());
      MemoryBinStream memory;
      ASSERT_TRUE(memory.ReadFromFile(path.c_str()));
      for (BinStream* reader : std::initializer_list<BinStream*>{&direct, &buffered, &memory}) {
        ASSERT_EQ(reader->Size(), total) << "writer " << w;
        std::string got(size_t(total) + 10, 0);
        int64_t at = 0;
        for (size_t i = plan.size(); i-- > 0;) {  // the same pieces in another order
          ASSERT_EQ(reader->Read(got.data() + at, plan[i]), plan[i]);
          at += plan[i];
        }
        EXPECT_EQ(reader->Read(got.data() + at, 10), 0);
        got.resize(size_t(total));
        EXPECT_TRUE(got == bytes.substr(0, size_t(total))) << "writer " << w;
      }
    }
  }
  EXPECT_EQ(LastStreamError, StreamOk);
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(BinStreamTest, BufferedReaderSkipsAndSeeks) {
  const int64_t buffer = FILE_ReadBinStream::BufferBytes;
  const std::string bytes = MakeBytes(size_t(buffer) * 3 + 1234, 5);
  FILE_ReadBinStream stream(MakeFile("seek.dat", bytes).c_str());
  std::mt19937 random(9);
  const int64_t total = int64_t(bytes.size());
  for (int i = 0; i < 400; i++) {
    const int64_t far = int64_t(random() % uint64_t(total + 1000));
    if (i % 3 == 0) {
      stream.SetReadPos(far);
      ASSERT_EQ(stream.GetReadPos(), std::min(far, total));
    } else if (i % 3 == 1) {
      const int64_t before = stream.GetReadPos(), step = i % 2 ? far : far % 5000;
      ASSERT_EQ(stream.Skip(step), std::min(step, total - before));
      ASSERT_EQ(stream.GetReadPos(), std::min(before + step, total));
    }
    char got[64];
    const int64_t at = stream.GetReadPos(), count = stream.Read(got, sizeof got);
    ASSERT_EQ(count, std::min<int64_t>(64, total - at));
    ASSERT_EQ(std::memcmp(got, bytes.data() + at, size_t(count)), 0);
  }
}

TEST_F(BinStreamTest, SizesCanBeFilledInLater) {
  const std::string path = Path("patched.dat"), payload = MakeBytes(9000000, 2);
  for (const bool delayed : {false, true})
    for (const int64_t end : {int64_t(9000004), (int64_t(5) << 30) + 3}) {  // past 32 bits too
      FILE_WriteBinStream stream(path.c_str(), delayed);
      WriteDWORD(stream, 0);
      stream.Write(payload.data(), int64_t(payload.size()));
      stream.SetWritePos(0);
      WriteDWORD(stream, uint32_t(payload.size()));
      EXPECT_EQ(stream.Size(), 9000004);
      stream.SetWritePos(end);
      WriteDWORD(stream, 0xCAFE);
      EXPECT_TRUE(stream.Close());
      FILE_ReadBinStream buffered(path.c_str());
      FileReadBinStream direct(path.c_str());
      for (BinStream* reader : std::initializer_list<BinStream*>{&buffered, &direct}) {
        EXPECT_EQ(ReadDWORD(*reader), payload.size());
        EXPECT_EQ(reader->Skip(end - 4), end - 4);
        EXPECT_EQ(ReadDWORD(*reader), 0xCAFEu);
        EXPECT_EQ(reader->GetReadPos(), reader->Size());
        EXPECT_EQ(reader->Size(), end + 4);
      }
    }
}

TEST_F(BinStreamTest, SizingPassesStoreNothing) {
  BinStreamCounter counter;
  FILE_WriteBinStream none("none");
  for (BinStream* stream : std::initializer_list<BinStream*>{&counter, &none}) {
    WriteDWORD(*stream, 1);
    stream->Write(nullptr, int64_t(1) << 40);
    EXPECT_EQ(stream->Size(), (int64_t(1) << 40) + 4);
    EXPECT_EQ(stream->GetWritePos(), stream->Size());
    stream->Clear();
    EXPECT_EQ(stream->Size(), 0);
  }
  EXPECT_FALSE(fs::exists("none"));
  EXPECT_EQ(CountFiles(), 0u);
}

// --- the temporary file and the way to the final name --------------------------------------------

TEST_F(BinStreamTest, TheOldFileStandsUntilTheNewOneIsComplete) {
  const std::string path = MakeFile("project.dat", "old");
  fs::permissions(path, fs::perms(0640));
  fs::create_symlink("project.dat", Path("link.dat"));
  {
    FILE_WriteBinStream stream(Path("link.dat").c_str());
    stream.Write("new content", 11);
    EXPECT_EQ(ReadBack(path), "old");
  }
  EXPECT_EQ(ReadBack(path), "new content");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
  EXPECT_TRUE(fs::is_symlink(Path("link.dat")));
  {
    FILE_WriteBinStream stream(path.c_str());
    stream.Write("dropped", 7);
    stream.Clear();
  }
  EXPECT_EQ(ReadBack(path), "new content");
  EXPECT_EQ(CountFiles(), 2u);
}

TEST_F(BinStreamTest, FilelessStreamsAreRenamedIntoFoldersOfTheirOwn) {
  FILE_WriteBinStream first(nullptr), second(nullptr, true), unused(nullptr);
  EXPECT_EQ(first.GetTempName(), Path("tempfile.temp"));
  EXPECT_NE(second.GetTempName(), first.GetTempName()) << "two at a time must not share a file";
  WriteDWORD(first, 1);
  WriteDWORD(second, 2);
  EXPECT_TRUE(second.WriteToFile(Path("Undo/deep/2.dat").c_str()));
  EXPECT_TRUE(first.WriteToFile(Path("Undo/deep/1.dat").c_str()));
  EXPECT_TRUE(unused.Close());
  EXPECT_EQ(ReadBack(Path("Undo/deep/1.dat")), std::string("\1\0\0\0", 4));
  EXPECT_EQ(ReadBack(Path("Undo/deep/2.dat")), std::string("\2\0\0\0", 4));
  EXPECT_EQ(CountFiles(), 1u);
  // A file that an ended process left behind is taken over, and emptied.
  MakeFile("tempfile.temp", "left over from a crash");
  FILE_WriteBinStream third(nullptr);
  EXPECT_EQ(third.GetTempName(), Path("tempfile.temp"));
  WriteBYTE(third, 'x');
  EXPECT_TRUE(third.WriteToFile(Path("third.dat").c_str()));
  EXPECT_EQ(ReadBack(Path("third.dat")), "x");
  // Closed and not yet in place, a file must not be taken over.
  const std::shared_ptr<WriterFile> closed = CreateServiceFile();
  EXPECT_TRUE(closed->Write("kept", 4) && SetFinalName(*closed, Path("fourth.dat")) && closed->Prepare());
  const std::shared_ptr<WriterFile> next = CreateServiceFile();
  EXPECT_EQ(ReadBack(closed->TempName), "kept");
}

TEST_F(BinStreamTest, FilelessStreamsReachOtherDisks) {
  const fs::path other = fs::path("/dev/shm") / ("streams" + std::to_string(getpid()));
  struct stat here, there;
  std::error_code failed;
  fs::create_directories(other, failed);
  const bool isOther = !stat(m_Folder.c_str(), &here) && !stat(other.c_str(), &there) && here.st_dev != there.st_dev;
  if (isOther) {
    FILE_WriteBinStream stream(nullptr);
    const std::string bytes = MakeBytes(3000000, 4);
    stream.Write(bytes.data(), int64_t(bytes.size()));
    EXPECT_TRUE(stream.WriteToFile((other / "copy.dat").c_str()));
    EXPECT_TRUE(ReadBack(other / "copy.dat") == bytes);
    EXPECT_EQ(std::distance(fs::directory_iterator(other), {}), 1);
    EXPECT_EQ(CountFiles(), 0u);
  }
  fs::remove_all(other, failed);
  if (!isOther) GTEST_SKIP() << "there is no second file system";
}

TEST_F(BinStreamTest, DelayedWritesKeepTheirOrder) {
  // The last of many generations handed over must stand at the end.
  for (int i = 0; i <= 50; i++) {
    FILE_WriteBinStream stream(Path("autosave.dat").c_str(), true);
    WriteDWORD(stream, uint32_t(i));
  }
  FILE_ReadBinStream reader(Path("autosave.dat").c_str());
  EXPECT_EQ(ReadDWORD(reader), 50u);
  EXPECT_FALSE(IsWriterBusy());
  ForbidDelayedWriting = true;
  FILE_WriteBinStream stream(Path("autosave.dat").c_str(), true);
  WriteDWORD(stream, 77);
  EXPECT_TRUE(stream.Close());
  EXPECT_FALSE(IsWriterBusy());
  EXPECT_EQ(ReadBack(Path("autosave.dat")).substr(0, 1), "\x4D");
}

// --- failures ------------------------------------------------------------------------------------

TEST_F(BinStreamTest, AFullDiskLeavesTheOldFileWhole) {
  const std::string path = MakeFile("kept.dat", "old content");
  const std::string bytes = MakeBytes(200000, 3);
  for (const bool delayed : {false, true}) {
    ClearStreamError();
    {
      const FileSizeLimit limit(100000);
      FILE_WriteBinStream stream(path.c_str(), delayed);
      stream.Write(bytes.data(), int64_t(bytes.size()));
      EXPECT_EQ(stream.Close(), delayed) << "a delayed stream can't know yet";
      WaitForWriter();
    }
    EXPECT_EQ(LastStreamError, StreamShortWrite);
    EXPECT_EQ(LastStreamFile(), fs::canonical(path).string());
    EXPECT_EQ(ReadBack(path), "old content");
    EXPECT_EQ(CountFiles(), 1u);
  }
  ClearStreamError();
  FileWriteBinStream full("/dev/full");
  EXPECT_FALSE(full.Write("x", 1));
  EXPECT_FALSE(full.Write("x", 1));
  EXPECT_FALSE(full.Close());
  EXPECT_EQ(LastStreamError, StreamShortWrite);
  EXPECT_EQ(LastStreamFile(), "/dev/full");
}

TEST_F(BinStreamTest, FilesThatCanNotBeOpened) {
  const std::string blocked = MakeFile("file", "a file is no folder");
  for (const std::string& path : {Path("absent/x.dat"), m_Folder.string(), blocked + "/x.dat", std::string()}) {
    ClearStreamError();
    FILE_WriteBinStream stream(path.c_str());
    EXPECT_EQ(LastStreamError, StreamNoFile) << path;
    EXPECT_FALSE(WriteBYTE(stream, 1));
    EXPECT_FALSE(stream.Close());
  }
  ClearStreamError();
  FILE_WriteBinStream fileless(nullptr);
  WriteBYTE(fileless, 1);
  EXPECT_FALSE(fileless.WriteToFile((blocked + "/x.dat").c_str()));
  EXPECT_EQ(LastStreamError, StreamNoFile);
  EXPECT_EQ(ReadBack(blocked), "a file is no folder");
  EXPECT_EQ(CountFiles(), 1u);
  // What can't be read is empty.
  FILE_ReadBinStream buffered(Path("absent").c_str());
  FileReadBinStream direct(m_Folder.c_str());
  MemoryBinStream memory;
  WriteDWORD(memory, 5);
  EXPECT_FALSE(memory.ReadFromFile(Path("absent").c_str()));
  for (BinStream* stream : std::initializer_list<BinStream*>{&buffered, &direct, &memory}) {
    EXPECT_EQ(stream->Size(), 0);
    EXPECT_EQ(ReadDWORD(*stream), 0u);
    EXPECT_EQ(stream->Skip(10), 0);
  }
}

// --- chunks --------------------------------------------------------------------------------------

TEST_F(BinStreamTest, ChunksAreTakenSkippedAndNested) {
  MemoryBinStream stream, inner;
  WriteChunk(inner, ChunkTag("PART"), "abc", 3);
  WriteTextChunk(inner, ChunkTag("TEXT"), "<A></A>");
  WriteChunk(stream, ChunkTag("NEW1"), "from a newer version", 20);
  WriteChunk(stream, ChunkTag("LIST"), inner.GetData(), uint32_t(inner.Size()));
  WriteChunk(stream, ChunkTag("TAIL"), nullptr, 0);

  std::string seen;
  const ChunkWalk walk = ReadChunks(stream, stream.Size(), [&](uint32_t tag, uint32_t size) {
    seen.append(GetTagText(tag)).append(std::to_string(size)).append(" ");
    if (tag != ChunkTag("LIST")) return tag == ChunkTag("TAIL");
    const ChunkWalk nested = ReadChunks(stream, stream.GetReadPos() + size, [&](uint32_t innerTag, uint32_t innerSize) {
      seen.append("(").append(GetTagText(innerTag)).append(std::to_string(innerSize)).append(")");
      ReadBYTE(stream);  // stops early
      return true;
    });
    EXPECT_FALSE(nested.Damaged);
    ReadDWORD(stream);  // runs over
    return true;
  });
  EXPECT_EQ(seen, "NEW120 LIST27 (PART3)(TEXT8)TAIL0 ");
  EXPECT_FALSE(walk.Damaged);
  EXPECT_EQ(walk.Known, 2);
  EXPECT_EQ(walk.Skipped, 1);
}

// Cut at every length: the chunks before the cut are read, and the damage is told where it is.
TEST_F(BinStreamTest, CutChunksEndTheWalk) {
  MemoryBinStream whole;
  for (int i = 0; i < 3; i++) WriteChunk(whole, ChunkTag("DATA"), "0123456789", uint32_t(i * 5));
  const int64_t ends[] = {0, 8, 21, 39};
  for (int64_t cut = 0; cut <= whole.Size(); cut++) {
    MemoryBinStream stream;
    stream.Write(whole.GetData(), cut);
    const ChunkWalk walk = ReadChunks(stream, stream.Size(), TakeAll);
    const auto complete = std::upper_bound(std::begin(ends), std::end(ends), cut) - std::begin(ends) - 1;
    const bool sound = ends[complete] == cut;
    ASSERT_EQ(walk.Known, complete) << cut;
    ASSERT_EQ(walk.Damaged, !sound) << cut;
    ASSERT_EQ(walk.Message.empty(), sound) << cut;
  }
  MemoryBinStream stream;
  WriteDWORD(stream, ChunkTag("HUGE"));
  WriteDWORD(stream, 0xFFFFFFFF);
  const ChunkWalk walk = ReadChunks(stream, stream.Size(), TakeAll);
  EXPECT_EQ(walk.Message, "Chunk \"HUGE\" at byte 0 announces 4294967295 bytes, 0 are left.");
  EXPECT_TRUE(ReadChunks(stream, 100, TakeAll).Damaged);
}
