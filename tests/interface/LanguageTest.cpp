#include "interface/Language.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "ClassEngine/Xml.h"
#include "shell/TestFolder.h"

namespace {

class LanguageTest : public testing::Test {
 protected:
  LanguageTest() : m_Folder("language") {
    Write("English.xml",
          "<Language><Entry><Key>BRUSH</Key><Text>Brush size</Text></Entry><Entry><Key>BRUSH_HINT</Key><Text>How large a Brush "
          "is</Text></Entry>"
          "<Entry><Key>BRUSHES</Key><Text>Brushes</Text></Entry></Language>");
    Write("German.xml",
          "<Language><Entry><Key>BRUSH</Key><Text>Pinselgröße</Text></Entry><Entry><Key>Key.Ctrl</Key><Text>Strg</Text></Entry>"
          "<Entry><Key>DECIMAL_SEPARATOR</Key><Text>,</Text></Entry><Entry><Key>German</Key><Text>Deutsch</Text></Entry></"
          "Language>");
  }
  ~LanguageTest() override {
    std::string error;
    LoadLanguage(MORVANE_DATA_DIR, "English", error);
  }
  void Write(const char* name, const std::string& text) { m_Folder.Write(std::string("Languages/") + name, text); }
  bool Load(const char* name) {
    Error.clear();
    return LoadLanguage(m_Folder.Path(), name, Error);
  }
  std::string Error;
  TestFolder m_Folder;
};

TEST_F(LanguageTest, LooksUpWithoutGroups) {
  ASSERT_TRUE(Load("German")) << Error;
  for (const auto& [key, text] : {std::pair{"BRUSH", "Pinselgröße"},
                                  {"{12}BRUSH", "Pinselgröße"},
                                  {"BRUSHES", "BRUSHES"},  // which only English has
                                  {"{x}BRUSH", "{x}BRUSH"},
                                  {"{}", "{}"}})
    EXPECT_EQ(GetText(key), text);
  EXPECT_EQ(GetTextGroup("{12}BRUSH"), 12);
  EXPECT_EQ(GetTextGroup("{x}BRUSH"), 0);
  EXPECT_EQ(GetHintText("BRUSH"), "");
  EXPECT_EQ(GetKeyText("Ctrl+Shift+Z"), "Strg+Shift+Z");
  EXPECT_THAT(ListLanguages(m_Folder.Path()), testing::ElementsAre("English", "German"));
  ClonesArray<OneLang> list;
  for (int i = 0; i < 2; i++) ListLanguages(m_Folder.Path(), list);
  ASSERT_EQ(list.Count, 2);
  EXPECT_STREQ(list[0]->GetDisplayName(nullptr), "English") << "its file doesn't say";
  EXPECT_STREQ(list[1]->GetDisplayName(nullptr), "Deutsch");
  EXPECT_EQ(list[1]->Name, "German");
  EXPECT_EQ(ShowNumber("-0.25 mm"), "-0,25 mm");
  ASSERT_TRUE(Load("English")) << Error;
  EXPECT_EQ(GetHintText("{1}BRUSH"), "How large a Brush is");
}

TEST_F(LanguageTest, MissingKeysAreListedForCompletion) {
  ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, "German", Error)) << Error;
  ASSERT_TRUE(WriteMissingTexts(m_Folder.Path(), Error));
  EXPECT_FALSE(m_Folder.Has("text.xml")) << "it is complete";
  ASSERT_TRUE(Load("German")) << Error;
  EXPECT_EQ(GetText("{2}NEW & <KEY>"), "NEW & <KEY>");
  EXPECT_EQ(GetText("NEW & <KEY>"), "NEW & <KEY>");
  EXPECT_EQ(GetText(""), "");
  GetHintText("OTHER");
  ASSERT_TRUE(WriteMissingTexts(m_Folder.Path(), Error)) << Error;
  // The list is a language file: one can add texts and put it in place.
  Write("Test.xml", m_Folder.Read("text.xml"));
  ASSERT_TRUE(Load("Test")) << Error;
  EXPECT_TRUE(HasText("NEW & <KEY>"));
  EXPECT_FALSE(HasText("OTHER_HINT"));
  EXPECT_EQ(GetText("CANCEL"), "CANCEL") << "nobody asked, and the language lacks it";
  EXPECT_TRUE(HasText("CANCEL"));
  EXPECT_FALSE(HasText("BRUSH")) << "the language has it";
  // What the person has filled in stays there.
  m_Folder.Write("text.xml", "<Language><Entry><Key>PLAIN</Key><Text>New</Text></Entry></Language>");
  GetText("NEWER");
  ASSERT_TRUE(WriteMissingTexts(m_Folder.Path(), Error)) << Error;
  Write("Test.xml", m_Folder.Read("text.xml"));
  ASSERT_TRUE(Load("Test")) << Error;
  EXPECT_EQ(GetText("PLAIN"), "New");
  EXPECT_TRUE(HasText("NEWER"));
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

// One sentence; what can be read counts, and English stands for the rest.
TEST_F(LanguageTest, ABrokenFileCostsASentenceAndNoMore) {
  for (const char* text :
       {"", "<Language><Entry><Key>BRUSH</Key>", "<Other></Other>", "<Language><Entry><Key>BRUSH</Key></Entry></Language>",
        "<Language><Entry><Key></Key><Text>x</Text></Entry></Language>"}) {
    ASSERT_TRUE(Load("German")) << Error;
    Write("French.xml", text);
    EXPECT_FALSE(Load("French")) << text;
    EXPECT_THAT(Error, testing::HasSubstr("French.xml"));
    EXPECT_EQ(GetText("BRUSH"), "Brush size");
  }
  Write("French.xml", "<Language><Entry><Text>x</Text></Entry><Entry><Key>BRUSH</Key><Text>Taille</Text></Entry></Language>");
  EXPECT_FALSE(Load("French"));
  EXPECT_THAT(Error, testing::HasSubstr("Entry 1 "));
  EXPECT_EQ(GetText("BRUSH"), "Taille");
  EXPECT_EQ(GetText("BRUSHES"), "Brushes");

  Write("English.xml", "<Lang");
  EXPECT_FALSE(Load("French"));
  EXPECT_THAT(Error, testing::AllOf(testing::HasSubstr("French.xml"), testing::HasSubstr("English.xml")));
  EXPECT_EQ(GetText("BRUSH"), "Taille");
  EXPECT_EQ(GetText("CANCEL"), "Cancel") << "of the program itself";
  std::filesystem::remove_all(m_Folder.Path("Languages"));
  EXPECT_FALSE(Load("English"));
  EXPECT_EQ(GetText("CANCEL"), "Cancel");
  EXPECT_THAT(ListLanguages(m_Folder.Path()), testing::ElementsAre("English"));
}

// Every language of the program has a text for every key of the others. Which there must be for what is declared: HintsTest.
TEST(Languages, AreComplete) {
  std::map<std::string, std::set<std::string>> keys;
  for (const std::string& name : ListLanguages(MORVANE_DATA_DIR)) {
    XmlNode root;
    ASSERT_TRUE(root.ReadFile((std::string(MORVANE_DATA_DIR) + "/Languages/" + name + ".xml").c_str()));
    for (int32_t i = 0; i < root.GetChildCount(); i++) {
      const std::string key(root.GetChild(i)->FindChild("Key")->GetValueView());
      EXPECT_TRUE(keys[name].insert(key).second) << name << " has " << key << " twice";
      EXPECT_FALSE(root.GetChild(i)->FindChild("Text")->GetValueView().empty()) << name << ": " << key;
    }
  }
  EXPECT_GT(keys.size(), 1u);
  for (const auto& [name, found] : keys) EXPECT_THAT(found, testing::ContainerEq(keys["English"])) << name;
}

}  // namespace
