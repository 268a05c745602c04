#include "comms/Image.h"

#include <gtest/gtest.h>

#include <random>

#include "MeshFiles.h"

using namespace comms;

namespace {

cImage RandomImage(int width, int height) {
  cImage image(width, height);
  std::mt19937 random(unsigned(width * 1000 + height));
  for (int y = 0; y < height; y++)
    for (int i = 0; i < width * 4; i++) image.Row(y)[i] = uint8_t(random());
  return image;
}

void PutBig(std::string& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; i++) bytes[at + size_t(i)] = char(value >> (24 - 8 * i));
}
// The check sum of PNG chunks, bit by bit.
uint32_t Crc(std::string_view bytes) {
  uint32_t crc = ~0u;
  for (const char c : bytes) {
    crc ^= uint8_t(c);
    for (int bit = 0; bit < 8; bit++) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
  }
  return ~crc;
}

}  // namespace

TEST(Image, PngKeepsEveryByte) {
  const TestFolder folder;
  const cStr path = folder.Path("a.png");
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(3, 7), std::pair(257, 64)}) {
    const cImage image = RandomImage(width, height);
    cImage loaded;
    cStr error;
    ASSERT_TRUE(SavePng(image, path, error)) << error;
    ASSERT_TRUE(LoadPng(path, loaded, error)) << error;
    EXPECT_EQ(loaded.Width(), width);
    EXPECT_EQ(loaded.Pixels(), image.Pixels());
  }
}

// Cut anywhere, or announcing sizes that it can't hold.
TEST(Image, BrokenFilesAreRefusedWithASentence) {
  const TestFolder folder;
  const cStr path = folder.Path("a.png");
  cImage image(2, 2);
  cStr error;
  ASSERT_TRUE(SavePng(RandomImage(9, 5), path, error));
  std::string bytes = folder.Read("a.png");
  const auto refuse = [&](std::string_view file, const cStr& reason) {
    folder.Write("a.png", std::string(file));
    ASSERT_FALSE(LoadPng(path, image, error)) << file.size();
    ASSERT_EQ(error.find("Can't read \"" + path + "\": "), 0u) << error;
    ASSERT_NE(error.find(reason), cStr::npos) << error;
    ASSERT_EQ(image.Width(), 2) << "the picture stays as it was";
  };
  const size_t endChunk = 12;  // the picture is complete without it
  for (size_t size = 0; size + endChunk < bytes.size(); size++) refuse(std::string_view(bytes).substr(0, size), "");
  const struct {
    uint32_t Width, Height;
    const char* Reason;
  } cases[] = {{20000, 20000, "it announces 20000 x 20000 pixels, more than its"},
               {1, 70000, "at most 65535 a side"},
               {60000, 60000, "in all are read"}};
  for (const auto& c : cases) {
    PutBig(bytes, 16, c.Width);
    PutBig(bytes, 20, c.Height);
    PutBig(bytes, 29, Crc(std::string_view(bytes).substr(12, 17)));
    refuse(bytes, c.Reason);
  }
}
