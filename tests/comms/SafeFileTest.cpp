#include "comms/SafeFile.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "MeshFiles.h"

namespace fs = std::filesystem;
using namespace comms;

namespace {

bool Save(const std::string& path, const std::string& text, std::string* error = nullptr) {
  SafeFileWriter writer(path);
  const bool done = writer.Write(text.data(), text.size()) && writer.Commit();
  EXPECT_EQ(done, !writer.Failed());
  if (error) *error = writer.Error();
  return done;
}
std::string Load(const std::string& path) {
  std::vector<uint8_t> bytes;
  std::string error;
  return ReadWholeFile(path, bytes, error) ? std::string(bytes.begin(), bytes.end()) : "<" + error + ">";
}
std::ptrdiff_t CountEntries(const TestFolder& folder) { return std::distance(fs::directory_iterator(folder.Path()), {}); }

}  // namespace

TEST(SafeFile, WritesWhatWasGivenInAnyPieces) {
  const TestFolder folder;
  const std::string path = folder.Path("a");
  std::string expected;
  SafeFileWriter writer(path);
  for (const size_t size : {1, 150'000, 0, 100'000, 200'000, 1'000'000, 7}) {
    const std::string piece(size, char('a' + size % 26));
    expected += piece;
    ASSERT_TRUE(writer.Write(piece.data(), size));
  }
  EXPECT_FALSE(FileExists(path)) << "nothing is there before Commit";
  ASSERT_TRUE(writer.Commit());
  EXPECT_FALSE(writer.Write("x", 1)) << "it is closed";
  EXPECT_EQ(Load(path), expected);
  EXPECT_EQ(GetFileSize(path), int64_t(expected.size()));
}

TEST(SafeFile, FullDiskLeavesTheOldFilesWhole) {
  const TestFolder folder;
  const std::string a = folder.Write("a", "old"), b = folder.Write("b", "old"), text(1'000'000, 'n');
  rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit small = before;
  small.rlim_cur = 300'000;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  std::string error;
  const bool saved = Save(a, text, &error);  // fails in Write
  bool written, together;
  {
    SafeFileWriter first(a), late(b);  // fails in Commit: the rest is still in memory
    written = first.Write("new", 3) && late.Write(text.data(), 200'000) && late.Write(text.data(), 120'000);
    together = SafeFileWriter::CommitTogether({&first, &late});
  }
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_FALSE(saved);
  EXPECT_EQ(error, "Can't write \"" + a + "\": File too large.");
  EXPECT_TRUE(written);
  EXPECT_FALSE(together);
  EXPECT_EQ(Load(a) + Load(b), "oldold") << "no file of a pair changes where one can't be written";
  EXPECT_EQ(CountEntries(folder), 2) << "the temporary files are gone";
}

// A folder that appears at the last name while the files are written lets everything pass but the last rename.
TEST(SafeFile, FilesThatBelongTogetherChangeTogether) {
  const TestFolder folder;
  const std::string old = folder.Write("old", "old");
  ASSERT_EQ(::chmod(old.c_str(), 0604), 0);
  const auto commit = [&](bool blocked) {
    SafeFileWriter first(old), second(folder.Path("fresh")), last(folder.Path("last"));
    for (SafeFileWriter* writer : {&first, &second, &last}) EXPECT_TRUE(writer->Write("new", 3));
    if (blocked) fs::create_directory(folder.Path("last"));
    const bool done = SafeFileWriter::CommitTogether({&first, &second, &last});
    EXPECT_EQ(last.Failed(), blocked);
    return done;
  };
  EXPECT_FALSE(commit(true));
  EXPECT_EQ(Load(old), "old");
  EXPECT_EQ(CountEntries(folder), 2) << "what took a name that was free is gone again, and so are the temporary files";
  EXPECT_TRUE(fs::remove(folder.Path("last")));
  const mode_t mask = ::umask(027);
  EXPECT_TRUE(commit(false));
  ::umask(mask);
  EXPECT_EQ(Load(old) + folder.Read("fresh") + folder.Read("last"), "newnewnew");
  EXPECT_EQ(CountEntries(folder), 3);
  EXPECT_EQ(fs::status(old).permissions(), fs::perms(0604));
  EXPECT_EQ(fs::status(folder.Path("fresh")).permissions(), fs::perms(0640));
}

TEST(SafeFile, RefusesFoldersMissingFoldersAndLongNames) {
  const TestFolder folder;
  fs::create_directory(folder.Path("folder"));
  EXPECT_TRUE(Save(folder.Path(std::string(255, 'n')), "x")) << "at the limit there is no room for a longer temporary name";
  ASSERT_TRUE(Save(folder.Path("file"), "x"));
  for (const std::string& path : {folder.Path("folder"), folder.Path("folder/"), folder.Path("none/a"), folder.Path("file/a"),
                                  folder.Path("new/"), folder.Path(std::string(256, 'n')), std::string()}) {
    std::string error;
    EXPECT_FALSE(Save(path, "x", &error)) << path;
    EXPECT_NE(error.find("Can't write \"" + path + "\": "), std::string::npos) << error;
  }
  EXPECT_TRUE(fs::is_directory(folder.Path("folder")));
  EXPECT_EQ(CountEntries(folder), 3);
}

TEST(SafeFile, RefusesWhatIsWriteProtected) {
  const TestFolder folder;
  fs::create_directory(folder.Path("folder"));
  const std::string file = folder.Write("file", "x"), old = folder.Write("folder/old", "x");
  ASSERT_EQ(::chmod(file.c_str(), 0444) | ::chmod(old.c_str(), 0666) | ::chmod(folder.Path("folder").c_str(), 0555), 0);
  const uid_t before = ::geteuid();
  if (before == 0) {  // the superuser may write everywhere, so the test becomes somebody else
    const uid_t nobody = 65534;
    ASSERT_EQ(::chown(folder.Path().c_str(), nobody, gid_t(-1)), 0);
    ASSERT_EQ(::seteuid(nobody), 0);
  }
  const bool saved[] = {Save(file, "y"), Save(folder.Path("folder/new"), "y"), Save(old, "y"), Save(folder.Path("free"), "y")};
  ASSERT_EQ(::seteuid(before), 0);
  ASSERT_EQ(::chmod(folder.Path("folder").c_str(), 0755), 0);
  EXPECT_THAT(saved, testing::ElementsAre(false, false, false, true))
      << "the file, a new one in the folder, one whose folder takes no temporary one, a free one";
  EXPECT_EQ(Load(file) + Load(old), "xx");
}

TEST(SafeFile, WritesPipesAndDevicesDirectly) {
  const TestFolder folder;
  EXPECT_TRUE(Save("/dev/null", "x"));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  const std::string pipe = folder.Path("pipe"), text(500'000, 'q');  // more than a pipe holds at once
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::string got;
  std::thread reader([&] { got = Load(pipe); });
  EXPECT_TRUE(Save(pipe, text));
  reader.join();
  EXPECT_EQ(got, text);
  EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST(SafeFile, ReadingSaysWhatIsWrong) {
  const TestFolder folder;
  EXPECT_EQ(Load(folder.Path("none")), "<Can't read \"" + folder.Path("none") + "\": No such file or directory.>");
  EXPECT_EQ(Load(folder.Path()), "<Can't read \"" + folder.Path() + "\": it is a folder.>");
  EXPECT_NE(Load("/proc/self/status").find("Pid:"), std::string::npos) << "files whose size reads as zero";
}
