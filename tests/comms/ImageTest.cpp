#include "comms/Image.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include "comms/SafeFile.h"

using namespace comms;

namespace {

cStr TempName() {
  return (std::filesystem::temp_directory_path() / ("morvane-image-" + std::to_string(::getpid()) + ".png")).string();
}

void SaveBytes(const cStr& path, const cList<uint8_t>& bytes) {
  SafeFileWriter file(path);
  ASSERT_TRUE(file.Write(bytes.data(), bytes.size()) && file.Commit());
}

cImage RandomImage(int width, int height) {
  cImage image(width, height);
  std::mt19937 random(unsigned(width * 1000 + height));
  for (int y = 0; y < height; y++)
    for (int i = 0; i < width * 4; i++) image.Row(y)[i] = uint8_t(random());
  return image;
}

void PutBig(cList<uint8_t>& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; i++) bytes[at + size_t(i)] = uint8_t(value >> (24 - 8 * i));
}
// The check sum of PNG chunks, bit by bit.
uint32_t Crc(const uint8_t* bytes, size_t count) {
  uint32_t crc = ~0u;
  for (size_t i = 0; i < count; i++) {
    crc ^= bytes[i];
    for (int bit = 0; bit < 8; bit++) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
  }
  return ~crc;
}

}  // namespace

TEST(Image, PngKeepsEveryByte) {
  const cStr path = TempName();
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(3, 7), std::pair(257, 64)}) {
    const cImage image = RandomImage(width, height);
    cImage loaded;
    cStr error;
    ASSERT_TRUE(SavePng(image, path, error)) << error;
    ASSERT_TRUE(LoadPng(path, loaded, error)) << error;
    EXPECT_EQ(loaded.Width(), width);
    EXPECT_EQ(loaded.Pixels(), image.Pixels());
  }
  std::filesystem::remove(path);
}

TEST(Image, EveryPrefixOfAFileIsRefusedWithASentence) {
  const cStr path = TempName();
  cStr error;
  ASSERT_TRUE(SavePng(RandomImage(9, 5), path, error));
  cList<uint8_t> whole;
  ASSERT_TRUE(ReadWholeFile(path, whole, error));
  cImage image(2, 2);
  const size_t endChunk = 12;  // the picture is complete without it
  for (size_t size = 0; size + endChunk < whole.size(); size++) {
    SaveBytes(path, cList<uint8_t>(whole.begin(), whole.begin() + std::ptrdiff_t(size)));
    error.clear();
    ASSERT_FALSE(LoadPng(path, image, error)) << size;
    ASSERT_EQ(error.find("Can't read \"" + path + "\": "), 0u) << error;
    ASSERT_EQ(image.Width(), 2) << "the picture stays as it was";
  }
  std::filesystem::remove(path);
}

TEST(Image, AnnouncedSizesAreHeldAgainstTheFile) {
  const cStr path = TempName();
  cStr error;
  ASSERT_TRUE(SavePng(RandomImage(9, 5), path, error));
  cList<uint8_t> bytes;
  ASSERT_TRUE(ReadWholeFile(path, bytes, error));
  const struct {
    uint32_t Width, Height;
    const char* Reason;
  } cases[] = {{20000, 20000, "it announces 20000 x 20000 pixels, more than its"},
               {1, 70000, "at most 65535 a side"},
               {60000, 60000, "in all are read"}};
  for (const auto& c : cases) {
    PutBig(bytes, 16, c.Width);
    PutBig(bytes, 20, c.Height);
    PutBig(bytes, 29, Crc(bytes.data() + 12, 17));
    SaveBytes(path, bytes);
    cImage image;
    EXPECT_FALSE(LoadPng(path, image, error));
    EXPECT_NE(error.find(c.Reason), cStr::npos) << error;
  }
  std::filesystem::remove(path);
}

TEST(Image, SavingSaysWhatIsWrong) {
  cStr error;
  EXPECT_FALSE(SavePng(cImage(), TempName(), error));
  EXPECT_NE(error.find("the picture is empty"), cStr::npos);
  EXPECT_FALSE(SavePng(RandomImage(2, 2), "/none/a.png", error));
  EXPECT_NE(error.find("/none/a.png"), cStr::npos);
}
