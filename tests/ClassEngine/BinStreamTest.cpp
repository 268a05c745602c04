#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
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
  for (size_t i = 0; i < size; i++) bytes[i] = char((i + seed) * 0x9E3779B97F4A7C15u >> 56);
  return bytes;
}

void PutAt(std::string& content, int64_t at, const std::string& piece) {
  if (!piece.empty() && size_t(at) > content.size()) content.resize(size_t(at));
  content.replace(std::min(size_t(at), content.size()), piece.size(), piece);
}

// Now and then about as long as a buffer, if there is one.
size_t PickSize(std::mt19937& random, int64_t buffer) {
  if (buffer && random() % 2) return size_t(buffer) - 1 + random() % 3;
  return random() % (random() % 2 ? 40 : 3000);
}

// What the stream has to hold afterwards.
std::string WriteAtRandom(BinStream& stream, std::mt19937& random, int pieces, int64_t buffer) {
  const std::string bytes = MakeBytes(size_t(buffer) + 4096, random());
  std::string content;
  while (pieces-- > 0) {
    if (random() % 3 == 0) stream.SetWritePos(int64_t(random() % (content.size() + 50)));
    const int64_t at = stream.GetWritePos();
    const std::string piece = bytes.substr(random() % 1000, PickSize(random, buffer));
    EXPECT_TRUE(stream.Write(piece.data(), int64_t(piece.size())));
    PutAt(content, at, piece);
    EXPECT_EQ(stream.GetWritePos(), at + int64_t(piece.size()));
    EXPECT_EQ(stream.Size(), int64_t(content.size()));
  }
  return content;
}

void ReadAtRandom(BinStream& stream, const std::string& content, std::mt19937& random, int64_t buffer) {
  const int64_t total = int64_t(content.size());
  ASSERT_EQ(stream.Size(), total);
  for (int i = 0; i < 20; i++) {
    const int64_t far = int64_t(random() % uint64_t(total + 1000)), step = i % 2 ? far : far % 5000;
    int64_t at = stream.GetReadPos();
    if (random() % 3 == 0) {
      at = std::min(far, total);
      stream.SetReadPos(far);
    } else if (random() % 2) {
      ASSERT_EQ(stream.Skip(step), std::min(step, total - at));
      at = std::min(at + step, total);
    }
    ASSERT_EQ(stream.GetReadPos(), at);
    std::string got(PickSize(random, buffer), 0);
    const std::string expected = content.substr(size_t(at), got.size());
    got.resize(size_t(stream.Read(got.data(), int64_t(got.size()))));
    ASSERT_TRUE(got == expected);
    ASSERT_EQ(stream.GetReadPos(), at + int64_t(got.size()));
  }
}

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

// Random pieces at random places into every writer and out of every reader, small ones and such about the size of the buffers.
TEST_F(BinStreamTest, EveryStreamBehavesLikeAnArray) {
  const size_t live = GetPool().GetLiveCount();
  std::mt19937 random(23);
  for (int round = 0; round < 200; round++) {
    MemoryBinStream stream;
    std::string content = WriteAtRandom(stream, random, 40, 0);
    const int64_t at = stream.GetWritePos();
    stream.Write(stream.GetData(), stream.Size());
    PutAt(content, at, std::string(content));
    ReadAtRandom(stream, content, random, 0);
  }
  EXPECT_EQ(GetPool().GetLiveCount(), live);

  const int64_t buffer = FILE_WriteBinStream::BufferBytes;
  const std::string path = Path("array.dat");
  for (int pieces = 0; pieces < 5; pieces++)
    for (const int kind : {0, 1, 2}) {
      SCOPED_TRACE(kind);
      const auto write = [&](auto&& writer) { return WriteAtRandom(writer, random, pieces, buffer); };
      const std::string content =
          kind ? write(FILE_WriteBinStream(path.c_str(), kind == 2)) : write(FileWriteBinStream(path.c_str()));
      // A reader opened now waits for a delayed writer.
      FileReadBinStream direct(path.c_str());
      FILE_ReadBinStream buffered(path.c_str());
      MemoryBinStream memory;
      ASSERT_TRUE(memory.ReadFromFile(path.c_str()));
      for (BinStream* reader : std::initializer_list<BinStream*>{&direct, &buffered, &memory})
        ReadAtRandom(*reader, content, random, buffer);
    }
  EXPECT_EQ(LastStreamError, StreamOk);
  EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(BinStreamTest, PositionsPastThirtyTwoBits) {
  const int64_t end = (int64_t(5) << 30) + 3;
  FILE_WriteBinStream stream(Path("sparse.dat").c_str());
  stream.SetWritePos(end);
  WriteDWORD(stream, 0xCAFE);
  EXPECT_TRUE(stream.Close());
  FILE_ReadBinStream reader(Path("sparse.dat").c_str());
  EXPECT_EQ(reader.Skip(end), end);
  EXPECT_EQ(ReadDWORD(reader), 0xCAFEu);
  EXPECT_EQ(reader.Size(), end + 4);
}

TEST_F(BinStreamTest, SizingPassesStoreNothing) {
  BinStreamCounter counter;
  FILE_WriteBinStream none("none");
  for (BinStream* stream : std::initializer_list<BinStream*>{&counter, &none}) {
    stream->Write(nullptr, int64_t(1) << 40);
    WriteDWORD(*stream, 1);
    EXPECT_EQ(stream->Size(), (int64_t(1) << 40) + 4);
  }
  EXPECT_FALSE(fs::exists("none"));
}

// --- the temporary file and the way to the final name --------------------------------------------

TEST_F(BinStreamTest, TheOldFileStandsUntilTheNewOneIsComplete) {
  const std::string path = MakeFile("project.dat", "old");
  fs::create_symlink("project.dat", Path("link.dat"));
  {
    FILE_WriteBinStream stream(Path("link.dat").c_str());
    stream.Write("new content", 11);
    EXPECT_EQ(ReadBack(path), "old");
  }
  EXPECT_EQ(ReadBack(path), "new content");
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
  if (stat(m_Folder.c_str(), &here) != 0 || stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev)
    GTEST_SKIP() << "there is no second file system";
  FILE_WriteBinStream stream(nullptr);
  const std::string bytes = MakeBytes(3000000, 4);
  stream.Write(bytes.data(), int64_t(bytes.size()));
  EXPECT_TRUE(stream.WriteToFile((other / "copy.dat").c_str()));
  EXPECT_TRUE(ReadBack(other / "copy.dat") == bytes);
  EXPECT_EQ(fs::remove_all(other), 2u) << "the folder and the file";
  EXPECT_EQ(CountFiles(), 0u);
}

TEST_F(BinStreamTest, DelayedWritesKeepTheirOrder) {
  // The last of many generations handed over must stand at the end.
  for (int i = 0; i <= 50; i++) {
    FILE_WriteBinStream stream(Path("autosave.dat").c_str(), true);
    WriteDWORD(stream, uint32_t(i));
  }
  FILE_ReadBinStream reader(Path("autosave.dat").c_str());
  EXPECT_EQ(ReadDWORD(reader), 50u);
  ForbidDelayedWriting = true;
  FILE_WriteBinStream stream(Path("autosave.dat").c_str(), true);
  WriteDWORD(stream, 77);
  EXPECT_TRUE(stream.Close());
  EXPECT_FALSE(IsWriterBusy());
  EXPECT_EQ(ReadBack(Path("autosave.dat")).substr(0, 1), "\x4D");
}

// --- failures ------------------------------------------------------------------------------------

TEST_F(BinStreamTest, AFullDiskLeavesTheOldFileWhole) {
  const std::string path = MakeFile("kept.dat", "old content"), bytes = MakeBytes(200000, 3);
  for (const bool delayed : {false, true}) {
    ClearStreamError();
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{100000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    FILE_WriteBinStream stream(path.c_str(), delayed);
    stream.Write(bytes.data(), int64_t(bytes.size()));
    EXPECT_EQ(stream.Close(), delayed) << "a delayed stream can't know yet";
    WaitForWriter();
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(LastStreamError, StreamShortWrite);
    EXPECT_EQ(LastStreamFile(), fs::canonical(path).string());
    EXPECT_EQ(ReadBack(path), "old content");
    EXPECT_EQ(CountFiles(), 1u);
  }
}

TEST_F(BinStreamTest, FilesThatCanNotBeOpened) {
  FILE_WriteBinStream homeless(Path("absent/x.dat").c_str()), fileless(nullptr);
  EXPECT_EQ(LastStreamError, StreamNoFile);
  EXPECT_FALSE(WriteBYTE(homeless, 1));
  EXPECT_FALSE(homeless.Close());
  ClearStreamError();
  WriteBYTE(fileless, 1);
  EXPECT_FALSE(fileless.WriteToFile((MakeFile("file", "a file is no folder") + "/x.dat").c_str()));
  EXPECT_EQ(LastStreamError, StreamNoFile);
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
    seen += GetTagText(tag) + std::to_string(size) + " ";
    if (tag != ChunkTag("LIST")) return tag == ChunkTag("TAIL");
    ReadChunks(stream, stream.GetReadPos() + size, [&](uint32_t innerTag, uint32_t innerSize) {
      seen += "(" + GetTagText(innerTag) + std::to_string(innerSize) + ")";
      ReadBYTE(stream);  // stops early
      return true;
    });
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
  }
  MemoryBinStream stream;
  WriteDWORD(stream, ChunkTag("HUGE"));
  WriteDWORD(stream, 0xFFFFFFFF);
  const ChunkWalk walk = ReadChunks(stream, stream.Size(), TakeAll);
  EXPECT_EQ(walk.Message, "Chunk \"HUGE\" at byte 0 announces 4294967295 bytes, 0 are left.");
  EXPECT_TRUE(ReadChunks(stream, 100, TakeAll).Damaged);
}
