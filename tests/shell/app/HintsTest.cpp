// What declarations explain, every language explains: English in the words of the declaration, the others in their own.
#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <set>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/Xml.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/SceneView.h"
#include "MC/room/VoxelSculptTool.h"
#include "interface/Language.h"
#include "interface/PanelRow.h"
#include "interface/TextWidget.h"
#include "shell/app/CommandPanel.h"
#include "shell/app/MeasureTool.h"
#include "shell/app/StillImageTool.h"
#include "shell/core/AppOptions.h"
#include "shell/core/GeneralCommands.h"
#include "shell/core/KeyTable.h"
#include "shell/core/Messages.h"

namespace {

struct Hint {
  std::string Declared, Shown;  // both empty where the declaration has none
};

class HintsTest : public testing::Test {
 protected:
  HintsTest() {
    AddGeneralCommands(m_Table);
    AddRoomCommands(m_Table, m_Scene, m_Messages);
  }
  ~HintsTest() override { Load("English"); }

  static void Load(const std::string& language) {
    std::string error;
    ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, language, error)) << error;
  }
  static std::set<std::string> ReadKeys(const std::string& language) {
    XmlNode root;
    EXPECT_TRUE(root.ReadFile((std::string(MORVANE_DATA_DIR) + "/Languages/" + language + ".xml").c_str()));
    std::set<std::string> keys;
    for (int32_t i = 0; i < root.GetChildCount(); i++) keys.emplace(root.GetChild(i)->FindChild("Key")->GetValueView());
    return keys;
  }

  /// The text of the member or the command itself, else the one that all of its name share.
  static std::string FindHint(const std::string& key) {
    const std::string own = GetHintText(key);
    return own.empty() ? GetHintText(key.substr(key.find('.') + 1)) : own;
  }

  /// Of every class and every command, by its own key.
  std::map<std::string, Hint> ListHints() const {
    std::map<std::string, Hint> hints;
    VoxelSculptTool tool;
    MeasureTool measure;
    StillImageTool images;
    StillImage image;
    SceneViewOptions view;
    AppOptions options;
    for (BaseClass* object : std::initializer_list<BaseClass*>{&tool, &measure, &images, &image, &view, &options})
      AddMembers(*object, hints);
    CommandPanel panel(m_Table, {});
    for (const Command& command : m_Table.All()) {
      panel.Choose(command);
      hints["Command." + command.Name] = {command.Help, GetHelp(panel)};
      AddMembers(*panel.Parameters(), hints);
    }
    for (const OneClassDesc* registered : GetAllClasses())
      if (registered->Prototype) AddMembers(*registered->Prototype, hints);
    return hints;
  }

 private:
  // Rows that a tool hides at the moment count too.
  static void AddMembers(BaseClass& object, std::map<std::string, Hint>& hints) {
    object.RegisterMembers();
    for (const OneClassMember* member : object.GetClassDesc()->Members) {
      RowPlace place;
      place.Member = member;
      place.Signs = ReadRowSigns(member->Name);
      hints[std::string(member->OwnerClass) + "." + place.Signs.Name] = {member->Help.Hint, GetRowHint(place)};
    }
  }
  static std::string GetHelp(const CommandPanel& panel) {
    for (const BaseWidget* child : panel.Children)
      if (const auto* note = dynamic_cast<const TextWidget*>(child); note && note->Dim) return note->GetText();
    return {};
  }

  BatchMessages m_Messages;
  CommandTable m_Table;
  VoxelScene m_Scene{MORVANE_DATA_DIR};
};

TEST_F(HintsTest, EveryLanguageHasThoseThatAreDeclared) {
  for (const std::string& language : ListLanguages(MORVANE_DATA_DIR)) {
    Load(language);
    const std::map<std::string, Hint> hints = ListHints();
    for (const auto& [key, hint] : hints) {
      if (hint.Declared.empty()) continue;
      if (language == "English")
        EXPECT_EQ(FindHint(key), hint.Declared) << key << ": the file has another text than the declaration";
      else
        EXPECT_NE(hint.Shown, hint.Declared) << language << ": " << key;
    }
    for (const std::string& key : ReadKeys(language)) {
      const std::string subject = key.ends_with("_HINT") ? key.substr(0, key.size() - 5) : key;
      const bool isKey = key.starts_with("Key.") && (FindKeyByName(key.substr(4)) != KeyNone || key == "Key.LMB");
      const size_t dot = key.find('.');
      const bool isOfMember = dot != key.npos && dot + 1 < key.size() && std::isalpha(static_cast<unsigned char>(key[dot + 1]));
      EXPECT_TRUE(isKey || !isOfMember || hints.count(subject)) << language << ": nothing asks for " << key;
    }
  }
}

}  // namespace
