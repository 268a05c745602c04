#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "ClassEngine/ClassHelp.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "shell/TestFolder.h"
#include "shell/core/AppOptions.h"
#include "shell/core/DataPath.h"
#include "shell/core/FileTitle.h"
#include "shell/core/HotKeys.h"
#include "shell/core/ObjectFile.h"
#include "shell/core/PresetsManager.h"
#include "shell/core/WindowPlacement.h"

namespace fs = std::filesystem;

namespace {

class OptionFilesTest : public testing::Test {
 protected:
  OptionFilesTest() : Files("options") { SetDataPath(Files.Path("own"), Files.Path("program")); }
  ~OptionFilesTest() override { SetDataPath("", ""); }
  void Write(const std::string& name, const std::string& text) const { Files.Write("own/" + name, text); }
  std::string Read(const std::string& name) const { return Files.Read("own/" + name); }
  bool Exists(const std::string& name) const { return Files.Has("own/" + name); }
  TestFolder Files;
  comms::LogRecorder Log;
};

// Every member, whatever its type, comes back as it was stored.
template <class Options>
void ExpectStored() {
  Options options, read;
  options.RegisterMembers();
  std::string error, wanted, text;
  for (const MemberInfo& member : DescribeMembers(options)) {
    std::string other;
    if (member.Default == "true" || member.Default == "false")
      other = member.Default == "true" ? "false" : "true";
    else if (!member.Entries.empty())
      other = member.Entries.back();
    else if (member.HasRange)
      other = comms::Format("%g", member.MaxValue);
    ASSERT_TRUE(SetMemberFromText(options, member.Name, other, error)) << error;
  }
  ASSERT_TRUE(options.Store());
  read.Load();
  for (const MemberInfo& member : DescribeMembers(options)) {
    GetMemberText(options, member.Name, wanted);
    GetMemberText(read, member.Name, text);
    EXPECT_EQ(text, wanted) << member.Name;
    EXPECT_NE(text, member.Default) << member.Name;
  }
}
TEST_F(OptionFilesTest, OptionsComeBack) {
  AppOptions::SetLanguages({"Deutsch", "English", "Deutsch"});
  ExpectStored<AppOptions>();
  ExpectStored<cSettings>();
  EXPECT_TRUE(Read("Xmls/Settings.xml").starts_with("<Settings>"));
  EXPECT_FALSE(Exists("Options.xml.bad"));
}

TEST_F(OptionFilesTest, BrokenOptionsLeaveTheDefaultsAndAreKept) {
  for (const char* text : {"", "garbage", "<AppOptions><UndoDepth>7</UndoDepth>", "<cSettings></cSettings>",
                           "<AppOptions><UndoDepth>7</UndoDepth></cSettings>"}) {
    Write("Options.xml", text);
    AppOptions options;
    options.Load();
    EXPECT_EQ(options.UndoDepth, 100) << text;
    EXPECT_TRUE(Exists("Options.xml.bad")) << text;
    EXPECT_EQ(Read("Options.xml.bad"), text);
    fs::remove(Files.Path("own/Options.xml.bad"));
  }
  EXPECT_NE(Log.Text().find("Options.xml"), std::string::npos);
}

TEST_F(OptionFilesTest, WhatIsSoundInAFileIsTaken) {
  AppOptions::SetLanguages({"Deutsch"});
  Write("Options.xml",
        "<AppOptions><UndoDepth>-5</UndoDepth><UndoMegabytes>abc</UndoMegabytes><OrbitSpeed>nan</OrbitSpeed>"
        "<InterfaceScale>99 %</InterfaceScale><NoSuchOption>1</NoSuchOption><Language>Deutsch</Language></AppOptions>");
  AppOptions options;
  options.Load();
  EXPECT_EQ(options.UndoDepth, 1);
  EXPECT_EQ(options.UndoMegabytes, 2048);
  EXPECT_TRUE(options.OrbitSpeed >= 0.1f && options.OrbitSpeed <= 5) << options.OrbitSpeed;
  EXPECT_EQ(options.InterfaceScale, 0);
  EXPECT_EQ(options.LanguageName(), "Deutsch");
  EXPECT_TRUE(Exists("Options.xml.bad"));
  EXPECT_NE(Log.Text().find("UndoDepth"), std::string::npos) << Log.Text();
}

TEST_F(OptionFilesTest, UnknownWordsAreSaidOnceEach) {
  AppOptions::SetLanguages({"English", "Deutsch"});
  Write(
      "Options.xml",
      "<AppOptions><Theme>Purple</Theme><InterfaceScale>400</InterfaceScale><Turntable>maybe</Turntable><Turntable>no</Turntable>"
      "<Language>../English</Language><ShowHints>false</ShowHints><HintDelay>1</HintDelay></AppOptions>");
  AppOptions options;
  options.Load();
  EXPECT_EQ(std::ranges::count(Log.Text(), '\n'), 4) << Log.Text();
  for (const char* said : {"<Theme> holds 'Purple', expected one of: System, Dark, Light", "<InterfaceScale> holds '400'",
                           "<Turntable> holds 'maybe'", "<Language> holds '../English'", "Options.xml"})
    EXPECT_NE(Log.Text().find(said), std::string::npos) << said;
  EXPECT_FALSE(options.ShowHints);
  EXPECT_TRUE(Exists("Options.xml.bad"));
  // Once for all keys of a file.
  Write("HotKeys.xml",
        "<HotKeys><Keys><OneHotKey><Code>Nokey</Code><Command>A</Command></OneHotKey><OneHotKey><Code>Nope</Code>"
        "<Command>B</Command></OneHotKey></Keys></HotKeys>");
  HotKeys keys;
  keys.Load(Files.Path("own"));
  EXPECT_EQ(std::ranges::count(Log.Text(), '\n'), 5) << Log.Text();
}

// Its file may be back tomorrow.
TEST_F(OptionFilesTest, ALanguageWhoseFileIsMissingStaysChosen) {
  AppOptions::SetLanguages({"English"});
  Write("Options.xml", "<AppOptions><Language>Suomi</Language></AppOptions>");
  AppOptions options;
  options.Load();
  EXPECT_EQ(options.LanguageName(), "Suomi");
  ASSERT_TRUE(options.Store());
  EXPECT_NE(Read("Options.xml").find("<Language>Suomi</Language>"), std::string::npos);
  EXPECT_FALSE(Exists("Options.xml.bad"));
}

TEST_F(OptionFilesTest, ScaleFollowsTheScreenUnlessItIsSet) {
  AppOptions options;
  EXPECT_EQ(options.GetScale(2), 2);
  EXPECT_EQ(options.GetScale(9), 3);
  for (const float bad : {0.0f, -1.0f, NAN}) EXPECT_EQ(options.GetScale(bad), 1);
  options.InterfaceScale = 150;
  EXPECT_EQ(options.GetScale(2), 1.5f);
}

TEST_F(OptionFilesTest, PresetsAndTheirCopies) {
  cSettings parameters;
  parameters.RegisterMembers();
  EXPECT_FALSE(PresetsManager::Load(parameters));
  parameters.Wireframe = true;
  ASSERT_TRUE(PresetsManager::Save(parameters));
  EXPECT_EQ(Read("ToolsPresets/Custom/cSettings.txt"), Read("ToolsPresets/Backup/cSettings.txt"));
  Write("ToolsPresets/Custom/cSettings.txt", "<cSettings");
  parameters.Wireframe = false;
  EXPECT_TRUE(PresetsManager::Load(parameters)) << "from the copy";
  EXPECT_TRUE(parameters.Wireframe);
  EXPECT_TRUE(PresetsManager::Delete("cSettings"));
  EXPECT_FALSE(PresetsManager::Delete("cSettings"));
  EXPECT_TRUE(Exists("ToolsPresets/Backup/cSettings.txt"));
  EXPECT_FALSE(PresetsManager::Load(parameters)) << "a deleted one does not come back";

  // Under names, beside what the class starts with.
  parameters.ShowStatistics = true;
  ASSERT_TRUE(PresetsManager::Save(parameters, "Zarte Fältchen"));
  parameters.ShowStatistics = false;
  ASSERT_TRUE(PresetsManager::Save(parameters, "Axe"));
  EXPECT_EQ(PresetsManager::List("cSettings"), (std::vector<std::string>{"Axe", "Zarte Fältchen"}));
  EXPECT_TRUE(PresetsManager::Load(parameters, "Zarte Fältchen"));
  EXPECT_TRUE(parameters.ShowStatistics);
  EXPECT_TRUE(PresetsManager::Delete("cSettings", "Axe"));
  EXPECT_FALSE(PresetsManager::Load(parameters, "Axe"));
  EXPECT_EQ(PresetsManager::List("cSettings"), std::vector<std::string>{"Zarte Fältchen"});
  for (const char* bad : {"..", "a/b", "../cSettings", ".hidden", "blank ", "a\nb", "\xFF", "C:x"}) {
    EXPECT_FALSE(IsFileTitle(bad)) << bad;
    EXPECT_FALSE(PresetsManager::Save(parameters, bad)) << bad;
    EXPECT_FALSE(PresetsManager::Delete("cSettings", bad)) << bad;
  }
  const auto repeat = [](const char* character, int count) {
    std::string text;
    while (count-- > 0) text += character;
    return text;
  };
  EXPECT_TRUE(IsFileTitle(repeat("a", 80)) && IsFileTitle(repeat("ä", 80)) && IsFileTitle(repeat("語", 80)));
  EXPECT_FALSE(IsFileTitle(repeat("a", 81)) || IsFileTitle(repeat("ä", 81)) || IsFileTitle(repeat("😀", 80)));
  EXPECT_EQ(TrimFileTitle(" ..Nr. 5. "), "Nr. 5");
  EXPECT_EQ(TrimFileTitle(" . "), "");
}

TEST_F(OptionFilesTest, WindowRect) {
  WindowRect rect;
  const WindowRect kept{10, 20, 810, 620, true};
  for (const auto& [text, expected] :
       {std::pair{"10 20 810 620", WindowRect{10, 20, 810, 620, false}},
        std::pair{"-1900\n-20\t-10 +620 0", WindowRect{-1900, -20, -10, 620, false}}, std::pair{"10 20 810 -620", kept},
        std::pair{"10 20 810 -620 1 and more", kept}, std::pair{"10 20 810 620 1", kept}}) {
    EXPECT_TRUE(ParseWindowRect(text, rect)) << text;
    EXPECT_EQ(rect, expected) << text;
  }
  for (const char* bad : {"", "10 20 810", "10 20 x 620", "810 20 810 620", "10 620 810 620", "10 620 810 -600", "10,20,810,620",
                          "10 20 99999999999 620", "10 20 810 -2147483648", "10 20 +-5 620"})
    EXPECT_FALSE(ParseWindowRect(bad, rect)) << bad;
  EXPECT_EQ(rect, kept);

  EXPECT_FALSE(LoadWindowRect(rect));
  Write("x", "");  // makes the folder
  for (const WindowRect& stored : {WindowRect{0, 0, 960, 640, false}, WindowRect{-5, 7, 960, 640, true}}) {
    ASSERT_TRUE(StoreWindowRect(stored));
    ASSERT_TRUE(LoadWindowRect(rect));
    EXPECT_EQ(rect, stored);
  }
}

TEST(DataPath, Order) {
  DataPathInputs inputs;
  inputs.Documents = "/people/ann/Documents";
  inputs.TitleFile = " leading blank";
  EXPECT_EQ(FindDataPath(inputs), "/people/ann/Documents/MorvaneV3/");
  inputs.TitleFile = "Studio edition\n";
  EXPECT_EQ(FindDataPath(inputs), "/people/ann/Documents/Studio/");
  for (const char* empty : {"", " \r\n\t "}) {
    inputs.PathFile = empty;
    EXPECT_EQ(FindDataPath(inputs), "/people/ann/Documents/Studio/");
  }
  inputs.PathFile = "\n  /data/my files \r\n";
  EXPECT_EQ(FindDataPath(inputs), "/data/my files/");
  inputs.PathFile = "/" + std::string(600, 'a');
  EXPECT_EQ(FindDataPath(inputs), "/" + std::string(510, 'a') + "/");
  inputs.Environment = "/env/";
  EXPECT_EQ(FindDataPath(inputs), "/env/");
}

TEST(DataPath, DocumentsFolder) {
  for (const auto& [text, folder] :
       {std::pair{"# XDG_DOCUMENTS_DIR=\"/no\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente/\"\n", "/people/ann/Dokumente"},
        std::pair{"XDG_DOCUMENTS_DIR=\"/srv/docs\"", "/srv/docs"},
        std::pair{"XDG_DOCUMENTS_DIR=\"no\"", "/people/ann/Documents"}})
    EXPECT_EQ(FindDocumentsFolder("/people/ann", text), folder);
}

TEST_F(OptionFilesTest, FullPaths) {
  EXPECT_EQ(GetFullPath("Temp/a.xml"), Files.Path("own/Temp/a.xml"));
  EXPECT_EQ(GetFullPath("/etc/x"), "/etc/x");
  EXPECT_EQ(FindDataFile("Pages.txt"), GetFullPath("Pages.txt"));
  Files.Write("program/Pages.txt", "x");
  EXPECT_EQ(FindDataFile("Pages.txt"), Files.Path("program/Pages.txt"));
  Write("Pages.txt", "y");
  EXPECT_EQ(FindDataFile("Pages.txt"), GetFullPath("Pages.txt"));
  EXPECT_TRUE(MakeFolderOf(GetFullPath("a/b/c.txt")) && Exists("a/b"));
  EXPECT_FALSE(MakeFolderOf(GetFullPath("Pages.txt/c.txt")));
}

}  // namespace
