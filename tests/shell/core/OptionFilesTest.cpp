#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ClassEngine/ClassHelp.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "shell/core/AppOptions.h"
#include "shell/core/DataPath.h"
#include "shell/core/ObjectFile.h"
#include "shell/core/PresetsManager.h"
#include "shell/core/WindowPlacement.h"

namespace fs = std::filesystem;

namespace {

class OptionFilesTest : public testing::Test {
 protected:
  OptionFilesTest() : Folder(fs::path(testing::TempDir()) / ("options" + std::to_string(getpid()))) {
    fs::remove_all(Folder);
    SetDataPath((Folder / "own").string(), (Folder / "program").string());
  }
  ~OptionFilesTest() override {
    SetDataPath("", "");
    fs::remove_all(Folder);
  }
  void Write(const std::string& name, const std::string& text) const {
    fs::create_directories((Folder / "own" / name).parent_path());
    std::ofstream(Folder / "own" / name) << text;
  }
  std::string Read(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(Folder / "own" / name).rdbuf();
    return text.str();
  }
  bool Exists(const std::string& name) const { return fs::exists(Folder / "own" / name); }
  fs::path Folder;
  comms::LogRecorder Log;
};

// Every member, whatever its type, comes back as it was stored.
TEST_F(OptionFilesTest, OptionsComeBack) {
  AppOptions options;
  options.RegisterMembers();
  std::string error, text;
  int changed = 0;
  for (const MemberInfo& member : DescribeMembers(options)) {
    std::string other = member.Default + "x";
    if (member.Default == "true" || member.Default == "false")
      other = member.Default == "true" ? "false" : "true";
    else if (!member.Entries.empty())
      other = member.Entries.back();
    else if (member.HasRange)
      other = comms::Format("%g", member.MaxValue);
    else if (member.Type == "_color")
      other = "12345678";
    ASSERT_TRUE(SetMemberFromText(options, member.Name, other, error)) << error;
    ++changed;
  }
  ASSERT_GT(changed, 20);
  ASSERT_TRUE(options.Store());
  AppOptions read;
  read.Load();
  for (const MemberInfo& member : DescribeMembers(options)) {
    std::string wanted;
    GetMemberText(options, member.Name, wanted);
    GetMemberText(read, member.Name, text);
    EXPECT_EQ(text, wanted) << member.Name;
    EXPECT_NE(text, member.Default) << member.Name;
  }
  EXPECT_FALSE(Exists("Options.xml.bad"));
}

TEST_F(OptionFilesTest, BrokenOptionsLeaveTheDefaultsAndAreKept) {
  const char* const broken[]{"", "garbage", "<AppOptions><UndoDepth>7</UndoDepth>", "<cSettings></cSettings>",
                             "<AppOptions><UndoDepth>7</UndoDepth></cSettings>"};
  for (const char* text : broken) {
    Write("Options.xml", text);
    AppOptions options;
    options.Load();
    EXPECT_EQ(options.UndoDepth, 100) << text;
    EXPECT_TRUE(Exists("Options.xml.bad")) << text;
    EXPECT_EQ(Read("Options.xml.bad"), text);
    fs::remove(Folder / "own/Options.xml.bad");
  }
  EXPECT_NE(Log.Text().find("Options.xml"), std::string::npos);
}

TEST_F(OptionFilesTest, WhatIsSoundInAFileIsTaken) {
  Write("Options.xml",
        "<AppOptions><UndoDepth>-5</UndoDepth><AutosaveMinutes>abc</AutosaveMinutes><OrbitSpeed>nan</OrbitSpeed>"
        "<InterfaceScale>99</InterfaceScale><NoSuchOption>1</NoSuchOption><Language>Deutsch</Language></AppOptions>");
  AppOptions options;
  options.Load();
  EXPECT_EQ(options.UndoDepth, 1);
  EXPECT_EQ(options.AutosaveMinutes, 10);
  EXPECT_TRUE(options.OrbitSpeed >= 0.1f && options.OrbitSpeed <= 5) << options.OrbitSpeed;
  EXPECT_EQ(options.InterfaceScale, 3);
  EXPECT_EQ(options.Language, "Deutsch");
  EXPECT_TRUE(Exists("Options.xml.bad"));
  EXPECT_NE(Log.Text().find("UndoDepth"), std::string::npos) << Log.Text();
}

TEST_F(OptionFilesTest, ScaleFollowsTheScreenUnlessItIsSet) {
  AppOptions options;
  EXPECT_EQ(options.GetScale(2), 2);
  EXPECT_EQ(options.GetScale(9), 3);
  for (const float bad : {0.0f, -1.0f, NAN}) EXPECT_EQ(options.GetScale(bad), 1);
  options.InterfaceScale = 1.5f;
  EXPECT_EQ(options.GetScale(2), 1.5f);
}

TEST_F(OptionFilesTest, SettingsHaveTheirOwnName) {
  cSettings settings;
  settings.ShowGrid = false;
  ASSERT_TRUE(settings.Store());
  EXPECT_EQ(Read("Xmls/Settings.xml").substr(0, 10), "<Settings>");
  cSettings read;
  read.Load();
  EXPECT_FALSE(read.ShowGrid);
}

TEST_F(OptionFilesTest, PresetsAndTheirCopies) {
  cSettings parameters;
  parameters.RegisterMembers();
  EXPECT_TRUE(PresetsManager::List().empty());
  EXPECT_FALSE(PresetsManager::Load(parameters));
  parameters.Wireframe = true;
  ASSERT_TRUE(PresetsManager::Save(parameters));
  EXPECT_EQ(Read("ToolsPresets/Custom/cSettings.txt"), Read("ToolsPresets/Backup/cSettings.txt"));
  EXPECT_EQ(PresetsManager::List(), std::vector<std::string>{"cSettings"});
  Write("ToolsPresets/Custom/cSettings.txt", "<cSettings");
  parameters.Wireframe = false;
  EXPECT_TRUE(PresetsManager::Load(parameters)) << "from the copy";
  EXPECT_TRUE(parameters.Wireframe);
  EXPECT_TRUE(PresetsManager::Delete("cSettings"));
  EXPECT_FALSE(PresetsManager::Delete("cSettings"));
  EXPECT_TRUE(Exists("ToolsPresets/Backup/cSettings.txt"));
  EXPECT_FALSE(PresetsManager::Load(parameters)) << "a deleted one does not come back";
}

TEST_F(OptionFilesTest, WindowRect) {
  WindowRect rect;
  const auto parse = [&](const char* text) { return ParseWindowRect(text, rect); };
  EXPECT_TRUE(parse("10 20 810 620"));
  EXPECT_EQ(rect, (WindowRect{10, 20, 810, 620, false}));
  EXPECT_TRUE(parse("-1900\n-20\t-10 +620 0"));
  EXPECT_EQ(rect, (WindowRect{-1900, -20, -10, 620, false}));
  EXPECT_TRUE(parse("10 20 810 -620"));
  EXPECT_EQ(rect, (WindowRect{10, 20, 810, 620, true}));
  EXPECT_TRUE(parse("10 20 810 -620 1 and more"));
  EXPECT_EQ(rect, (WindowRect{10, 20, 810, 620, true}));
  EXPECT_TRUE(parse("10 20 810 620 1"));
  EXPECT_EQ(rect, (WindowRect{10, 20, 810, 620, true}));
  const WindowRect kept = rect;
  for (const char* bad : {"", "10 20 810", "10 20 x 620", "810 20 810 620", "10 620 810 620", "10 620 810 -600", "10,20,810,620",
                          "10 20 99999999999 620", "10 20 810 -2147483648", "10 20 +-5 620"})
    EXPECT_FALSE(parse(bad)) << bad;
  EXPECT_EQ(rect, kept);

  EXPECT_FALSE(LoadWindowRect(rect));
  fs::create_directories(Folder / "own");
  for (const WindowRect& stored : {WindowRect{0, 0, 960, 640, false}, WindowRect{-5, 7, 960, 640, true}}) {
    ASSERT_TRUE(StoreWindowRect(stored));
    ASSERT_TRUE(LoadWindowRect(rect));
    EXPECT_EQ(rect, stored);
  }
}

TEST(DataPath, Order) {
  DataPathInputs inputs;
  inputs.Documents = "/home/me/Documents";
  EXPECT_EQ(FindDataPath(inputs), "/home/me/Documents/MorvaneV3/");
  inputs.TitleFile = " leading blank";
  EXPECT_EQ(FindDataPath(inputs), "/home/me/Documents/MorvaneV3/");
  inputs.TitleFile = "Studio edition\n";
  EXPECT_EQ(FindDataPath(inputs), "/home/me/Documents/Studio/");
  for (const char* empty : {"", " \r\n\t "}) {
    inputs.PathFile = empty;
    EXPECT_EQ(FindDataPath(inputs), "/home/me/Documents/Studio/");
  }
  inputs.PathFile = "\n  /data/my files \r\n";
  EXPECT_EQ(FindDataPath(inputs), "/data/my files/");
  inputs.PathFile = "D:\\files\\";
  EXPECT_EQ(FindDataPath(inputs), "D:\\files\\");
  inputs.PathFile = "/" + std::string(600, 'a');
  EXPECT_EQ(FindDataPath(inputs), "/" + std::string(510, 'a') + "/");
  inputs.Environment = "/env/";
  EXPECT_EQ(FindDataPath(inputs), "/env/");
}

TEST(DataPath, DocumentsFolder) {
  EXPECT_EQ(FindDocumentsFolder("/home/me", ""), "/home/me/Documents");
  EXPECT_EQ(FindDocumentsFolder("/home/me", "# XDG_DOCUMENTS_DIR=\"/no\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente/\"\n"),
            "/home/me/Dokumente");
  EXPECT_EQ(FindDocumentsFolder("/home/me", "XDG_DOCUMENTS_DIR=\"/srv/docs\""), "/srv/docs");
  EXPECT_EQ(FindDocumentsFolder("/home/me", "XDG_DOCUMENTS_DIR=\"relative\""), "/home/me/Documents");
}

TEST_F(OptionFilesTest, FullPaths) {
  EXPECT_EQ(GetFullPath("Temp/a.xml"), (Folder / "own/Temp/a.xml").string());
  EXPECT_EQ(GetFullPath("/etc/x"), "/etc/x");
  EXPECT_EQ(FindDataFile("Pages.txt"), GetFullPath("Pages.txt"));
  fs::create_directories(Folder / "program");
  std::ofstream(Folder / "program/Pages.txt") << "x";
  EXPECT_EQ(FindDataFile("Pages.txt"), (Folder / "program/Pages.txt").string());
  Write("Pages.txt", "y");
  EXPECT_EQ(FindDataFile("Pages.txt"), GetFullPath("Pages.txt"));
  EXPECT_TRUE(MakeFolderOf(GetFullPath("a/b/c.txt")));
  EXPECT_TRUE(Exists("a/b"));
  EXPECT_FALSE(MakeFolderOf(GetFullPath("Pages.txt/c.txt")));
}

}  // namespace
