#include "shell/app/DataFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace {

// Every place wins over the ones behind it, and a named place that is not there is no reason to take another.
TEST(DataFolder, PlacesInOrder) {
  const fs::path root = fs::path(testing::TempDir()) / "DataFolderTest";
  fs::remove_all(root);
  for (const char* folder : {"option", "bin/data", "share/morvane", "build"}) fs::create_directories(root / folder);
  DataFolderPlaces places{(root / "option/").string(), (root / "bin/morvane").string(), (root / "build").string()};
  std::string error;
  EXPECT_EQ(FindDataFolder(places, error), root / "option");
  fs::remove(root / "option");
  EXPECT_EQ(FindDataFolder(places, error), "");
  EXPECT_NE(error.find("--data"), std::string::npos) << error;
  places.Option.clear();
  EXPECT_EQ(FindDataFolder(places, error), root / "bin/data");
  fs::remove(root / "bin/data");
  EXPECT_EQ(FindDataFolder(places, error), root / "share/morvane");
  fs::remove(root / "share/morvane");
  EXPECT_EQ(FindDataFolder(places, error), root / "build");
  fs::remove(root / "build");
  EXPECT_EQ(FindDataFolder(places, error), "");
  EXPECT_NE(error.find((root / "build").string()), std::string::npos) << error;
  fs::remove_all(root);
}

}  // namespace
