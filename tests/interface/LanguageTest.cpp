#include "interface/Language.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

#include "ClassEngine/Xml.h"

namespace fs = std::filesystem;

namespace {

class LanguageTest : public testing::Test {
 protected:
  LanguageTest() : m_Folder(fs::temp_directory_path() / ("morvane-language-" + std::to_string(::getpid()))) {
    fs::create_directories(m_Folder / "Languages");
    Write("English.xml",
          "<Language><Entry><Key>BRUSH</Key><Text>Brush size</Text></Entry><Entry><Key>BRUSH_HINT</Key><Text>How large a Brush "
          "is</Text></Entry>"
          "<Entry><Key>BRUSHES</Key><Text>Brushes</Text></Entry></Language>");
    Write("German.xml", "<Language><Entry><Key>BRUSH</Key><Text>Pinselgröße</Text></Entry></Language>");
  }
  ~LanguageTest() override {
    std::string error;
    LoadLanguage(MORVANE_DATA_DIR, "English", error);
    fs::remove_all(m_Folder);
  }
  void Write(const char* name, const std::string& text) { std::ofstream(m_Folder / "Languages" / name) << text; }
  bool Load(const char* name) {
    Error.clear();
    return LoadLanguage(m_Folder.string(), name, Error);
  }
  std::string Error;
  fs::path m_Folder;
};

TEST_F(LanguageTest, LooksUpOverEnglishAndWithoutGroups) {
  ASSERT_TRUE(Load("German")) << Error;
  EXPECT_EQ(GetText("BRUSH"), "Pinselgröße");
  EXPECT_EQ(GetText("{12}BRUSH"), "Pinselgröße");
  EXPECT_EQ(GetText("BRUSHES"), "Brushes") << "English where the language has no text";
  EXPECT_EQ(GetHintText("{1}BRUSH"), "How large a Brush is");
  EXPECT_EQ(GetHintText("BRUSHES"), "");
  EXPECT_EQ(GetText("{x}BRUSH"), "{x}BRUSH");
  EXPECT_EQ(GetText("{}"), "{}");
  EXPECT_THAT(ListLanguages(m_Folder.string()), testing::ElementsAre("English", "German"));
}

TEST_F(LanguageTest, MissingKeysAreListedForCompletion) {
  ASSERT_TRUE(Load("English")) << Error;
  ASSERT_TRUE(WriteMissingTexts(m_Folder.string(), Error));
  EXPECT_FALSE(fs::exists(m_Folder / "text.xml"));
  EXPECT_EQ(GetText("{2}NEW & <KEY>"), "NEW & <KEY>");
  EXPECT_EQ(GetText("NEW & <KEY>"), "NEW & <KEY>");
  EXPECT_EQ(GetText(""), "");
  GetHintText("OTHER");
  ASSERT_TRUE(WriteMissingTexts(m_Folder.string(), Error)) << Error;
  // The list is a language file: one can add texts and put it in place.
  fs::rename(m_Folder / "text.xml", m_Folder / "Languages" / "Test.xml");
  ASSERT_TRUE(Load("Test")) << Error;
  EXPECT_TRUE(HasText("NEW & <KEY>"));
  EXPECT_FALSE(HasText("OTHER_HINT"));
}

TEST_F(LanguageTest, ReplacesWholeWords) {
  Write("replace.txt", "Brush Pen\nsize\twidth");
  ASSERT_TRUE(Load("English")) << Error;
  EXPECT_EQ(GetText("BRUSH"), "Pen width");
  EXPECT_EQ(GetHintText("BRUSH"), "How large a Pen is");
  EXPECT_EQ(GetText("BRUSHES"), "Brushes");
  Write("replace.txt", "Brush Pen\nalone");
  EXPECT_FALSE(Load("English"));
  EXPECT_THAT(Error, testing::HasSubstr("\"alone\""));
}

TEST_F(LanguageTest, ABrokenFileLeavesTheLanguage) {
  ASSERT_TRUE(Load("German")) << Error;
  for (const char* text :
       {"", "<Language><Entry><Key>BRUSH</Key>", "<Other></Other>", "<Language><Entry><Key>BRUSH</Key></Entry></Language>",
        "<Language><Entry><Key></Key><Text>x</Text></Entry></Language>"}) {
    Write("French.xml", text);
    EXPECT_FALSE(Load("French")) << text;
    EXPECT_THAT(Error, testing::HasSubstr("French.xml"));
    EXPECT_EQ(GetText("BRUSH"), "Pinselgröße");
  }
  EXPECT_FALSE(Load("Missing"));
}

// Every language of the program has a text for every key.
TEST(Languages, AreComplete) {
  const auto readKeys = [](const std::string& name) {
    XmlNode root;
    EXPECT_TRUE(root.ReadFile((std::string(MORVANE_DATA_DIR) + "/Languages/" + name + ".xml").c_str()));
    std::vector<std::string> keys;
    for (int32_t i = 0; i < root.GetChildCount(); i++) {
      EXPECT_FALSE(root.GetChild(i)->FindChild("Text")->GetValueView().empty());
      keys.emplace_back(root.GetChild(i)->FindChild("Key")->GetValueView());
    }
    return keys;
  };
  const auto english = readKeys("English");
  std::vector<std::string> unique = english;
  std::sort(unique.begin(), unique.end());
  EXPECT_EQ(std::unique(unique.begin(), unique.end()), unique.end()) << "a key stands twice";
  for (const std::string& name : ListLanguages(MORVANE_DATA_DIR))
    EXPECT_THAT(readKeys(name), testing::UnorderedElementsAreArray(english)) << name;
  for (const std::string& name : ListLanguages(MORVANE_DATA_DIR)) {
    std::string error;
    EXPECT_TRUE(LoadLanguage(MORVANE_DATA_DIR, name, error)) << error;
  }
}

}  // namespace
