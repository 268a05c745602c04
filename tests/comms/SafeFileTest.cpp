#include "comms/SafeFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

namespace fs = std::filesystem;
using namespace comms;

namespace {

class SafeFile : public testing::Test {
 protected:
  void SetUp() override {
    m_Folder = fs::temp_directory_path() / ("morvane-safefile-" + std::to_string(::getpid()));
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder);
  }
  void TearDown() override { fs::remove_all(m_Folder); }

  std::string Path(const std::string& name) const { return (m_Folder / name).string(); }
  static bool Save(const std::string& path, const std::string& text, std::string* error = nullptr) {
    SafeFileWriter writer(path);
    const bool done = writer.Write(text.data(), text.size()) && writer.Commit();
    EXPECT_EQ(done, !writer.Failed());
    if (error) *error = writer.Error();
    return done;
  }
  static std::string Load(const std::string& path) {
    std::vector<uint8_t> bytes;
    std::string error;
    return ReadWholeFile(path, bytes, error) ? std::string(bytes.begin(), bytes.end()) : "<" + error + ">";
  }
  size_t CountEntries() const { return size_t(std::distance(fs::directory_iterator(m_Folder), {})); }
  static mode_t Mode(const std::string& path) {
    struct stat info = {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
  }
  fs::path m_Folder;
};

}  // namespace

TEST_F(SafeFile, WritesWhatWasGivenInAnyPieces) {
  std::string expected;
  SafeFileWriter writer(Path("a"));
  for (size_t size : {size_t(1), size_t(0), size_t(100'000), size_t(200'000), size_t(1'000'000), size_t(7)}) {
    const std::string piece(size, char('a' + size % 26));
    expected += piece;
    ASSERT_TRUE(writer.Write(piece.data(), size));
  }
  EXPECT_FALSE(FileExists(Path("a"))) << "nothing is there before Commit";
  ASSERT_TRUE(writer.Commit());
  EXPECT_EQ(Load(Path("a")), expected);
  EXPECT_EQ(GetFileSize(Path("a")), int64_t(expected.size()));
  EXPECT_FALSE(writer.Write("x", 1)) << "it is closed";
  EXPECT_EQ(Load(Path("a")), expected);
  EXPECT_TRUE(Save(Path("empty"), ""));
  EXPECT_EQ(GetFileSize(Path("empty")), 0);
  EXPECT_EQ(CountEntries(), 2u);
}

TEST_F(SafeFile, OldFileIsWholeUntilCommitAndAfterDrop) {
  ASSERT_TRUE(Save(Path("a"), "old"));
  {
    SafeFileWriter writer(Path("a"));
    const std::string big(1'000'000, 'n');
    ASSERT_TRUE(writer.Write(big.data(), big.size()));
    EXPECT_EQ(Load(Path("a")), "old");
  }
  EXPECT_EQ(Load(Path("a")), "old");
  EXPECT_EQ(CountEntries(), 1u) << "the temporary file is gone";
}

TEST_F(SafeFile, FullDiskLeavesTheOldFileWhole) {
  ASSERT_TRUE(Save(Path("a"), "old"));
  rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit small = before;
  small.rlim_cur = 300'000;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  std::string error;
  bool saved[2];
  saved[0] = Save(Path("a"), std::string(1'000'000, 'n'), &error);  // fails in Write
  saved[1] = Save(Path("b"), std::string(250'000, 'n')) && Save(Path("b"), std::string(299'000, 'm'));
  SafeFileWriter late(Path("a"));  // fails in Commit: the rest is still in memory
  const std::string piece(200'000, 'p');
  const bool lateDone = late.Write(piece.data(), piece.size()) && late.Write(piece.data(), piece.size()) && late.Commit();
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_FALSE(saved[0]);
  EXPECT_TRUE(saved[1]) << "below the limit all is well";
  EXPECT_FALSE(lateDone);
  EXPECT_EQ(Load(Path("a")), "old");
  EXPECT_NE(error.find(Path("a")), std::string::npos) << error;
  EXPECT_NE(error.find("large"), std::string::npos) << "the system's reason: " << error;
}

TEST_F(SafeFile, KeepsPermissionsAndLinks) {
  ASSERT_TRUE(Save(Path("a"), "old"));
  ASSERT_EQ(::chmod(Path("a").c_str(), 0640), 0);
  fs::create_symlink("a", m_Folder / "link");
  ASSERT_TRUE(Save(Path("link"), "new"));
  EXPECT_TRUE(fs::is_symlink(m_Folder / "link"));
  EXPECT_EQ(Load(Path("a")), "new");
  EXPECT_EQ(Mode(Path("a")), 0640u);
  const mode_t mask = ::umask(027);
  EXPECT_TRUE(Save(Path("fresh"), "x"));
  ::umask(mask);
  EXPECT_EQ(Mode(Path("fresh")), 0640u);
}

TEST_F(SafeFile, TakesNamesAtTheLengthLimit) {
  EXPECT_TRUE(Save(Path(std::string(255, 'n')), "x"));
  EXPECT_FALSE(Save(Path(std::string(256, 'n')), "x"));
  EXPECT_EQ(CountEntries(), 1u);
}

TEST_F(SafeFile, RefusesFoldersMissingFoldersAndProtectedFiles) {
  fs::create_directory(m_Folder / "folder");
  ASSERT_TRUE(Save(Path("file"), "x"));
  for (const std::string& path : {Path("folder"), Path("folder/"), Path("none/a"), Path("file/a"), Path("new/"), std::string()}) {
    std::string error;
    EXPECT_FALSE(Save(path, "x", &error)) << path;
    EXPECT_NE(error.find("Can't write \"" + path + "\": "), std::string::npos) << error;
  }
  EXPECT_TRUE(fs::is_directory(m_Folder / "folder"));
  EXPECT_EQ(CountEntries(), 2u);
}

TEST_F(SafeFile, RefusesWhatIsWriteProtected) {
  ASSERT_TRUE(Save(Path("file"), "x"));
  fs::create_directory(m_Folder / "folder");
  ASSERT_TRUE(Save(Path("folder/old"), "x"));
  ASSERT_EQ(::chmod(Path("file").c_str(), 0444), 0);
  ASSERT_EQ(::chmod(Path("folder").c_str(), 0555), 0);
  ASSERT_EQ(::chmod(Path("folder/old").c_str(), 0666), 0);
  const uid_t before = ::geteuid();
  if (before == 0) {  // the superuser may write everywhere, so the test becomes somebody else
    const uid_t nobody = 65534;
    ASSERT_EQ(::chown(m_Folder.c_str(), nobody, gid_t(-1)), 0);
    ASSERT_EQ(::seteuid(nobody), 0);
  }
  const bool savedFile = Save(Path("file"), "y"), savedNew = Save(Path("folder/a"), "y"),
             savedOld = Save(Path("folder/old"), "y");
  const bool savedFree = Save(Path("free"), "y");
  if (before == 0) {
    ASSERT_EQ(::seteuid(before), 0);
  }
  ASSERT_EQ(::chmod(Path("folder").c_str(), 0755), 0);
  EXPECT_FALSE(savedFile) << "the file";
  EXPECT_FALSE(savedNew) << "a new file in the folder";
  EXPECT_FALSE(savedOld) << "a file whose folder takes no temporary one";
  EXPECT_TRUE(savedFree);
  EXPECT_EQ(Load(Path("file")), "x");
  EXPECT_EQ(Load(Path("folder/old")), "x");
}

TEST_F(SafeFile, WritesPipesAndDevicesDirectly) {
  EXPECT_TRUE(Save("/dev/null", "x"));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
  std::string got;
  std::thread reader([&] { got = Load(Path("pipe")); });
  const std::string text(500'000, 'q');  // more than a pipe holds at once
  EXPECT_TRUE(Save(Path("pipe"), text));
  reader.join();
  EXPECT_EQ(got, text);
  EXPECT_TRUE(fs::is_fifo(m_Folder / "pipe"));
}

TEST_F(SafeFile, ReadingSaysWhatIsWrong) {
  EXPECT_EQ(Load(Path("none")), "<Can't read \"" + Path("none") + "\": No such file or directory.>");
  EXPECT_EQ(Load(m_Folder.string()), "<Can't read \"" + m_Folder.string() + "\": it is a folder.>");
  EXPECT_NE(Load("/proc/self/status").find("Pid:"), std::string::npos) << "files whose size reads as zero";
  EXPECT_EQ(GetFileSize(Path("none")), -1);
  EXPECT_EQ(GetFileSize(m_Folder.string()), -1);
  EXPECT_FALSE(FileExists(m_Folder.string()));
}
