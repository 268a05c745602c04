#include "shell/core/HotKeys.h"

#include <gtest/gtest.h>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ValueTypes.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "interface/Events.h"
#include "shell/TestFolder.h"
#include "shell/core/BasicTool.h"

namespace {

KeyCombo Combo(const char* text) {
  KeyCombo combo;
  EXPECT_TRUE(ParseKeyCombo(text, combo)) << text;
  return combo;
}

TEST(KeyTable, OrderAndPositions) {
  FillKeyTable();
  FillKeyTable();
  ASSERT_EQ(KeyTable.Count, 1 + 12 + 10 + 29 + 26);
  for (const auto& [position, code] : {std::pair{0, 27}, {12, 123}, {13, 48}, {23, 189}, {51, 192}, {77, 90}})
    EXPECT_EQ(KeyTable[position], code);
  for (int i = 0; i < KeyTable.Count; ++i) EXPECT_EQ(KeyIndex[KeyTable[i]], i);
  for (const int code : {-1, 0, 1, 255, 256, 1 << 30}) EXPECT_FALSE(IsKnownKey(code));
}

TEST(KeyTable, NamesBothWays) {
  FillKeyTable();
  for (const int code : KeyTable) {
    EXPECT_EQ(FindKeyByName(GetKeyName(code)), code);
    EXPECT_EQ(EnumRegistry::FindOrCreate("KEYCODES").FindValue(GetKeyName(code).c_str()), code);
    for (int modifiers = 0; modifiers < 16; ++modifiers) {
      const KeyCombo combo{code, uint8_t(modifiers)};
      EXPECT_EQ(Combo(PrintKeyCombo(combo).c_str()), combo);
    }
  }
  EXPECT_EQ(PrintKeyCombo({'A', ModShift | ModControl}), "Ctrl+Shift+A");
  EXPECT_EQ(Combo(" shift + CONTROL+a"), (KeyCombo{'A', ModShift | ModControl}));
  EXPECT_EQ(Combo("Escape"), KeyCombo{KeyEsc});
  KeyCombo kept{'Q', 0};
  for (const char* bad : {"", "+", "Ctrl+", "Ctrl++", "Foo+A", "A+B", "Ctrl+AA", "F13"})
    EXPECT_FALSE(ParseKeyCombo(bad, kept)) << bad;
  EXPECT_EQ(kept, (KeyCombo{'Q', 0}));
  EXPECT_EQ(PrintKeyCombo({5, ModControl}), "");
  EXPECT_EQ(GetKeyCombo(KeyEvent(KeyShift, ModShift | ModAlt)), (KeyCombo{KeyShift, ModAlt}));
}

class DabParams : public CommandParameters {
  REFLECTED(DabParams, CommandParameters)
 public:
  float Radius = 1;
};
DECLARE_MEMBERS(DabParams) { Member<_float>("Radius", Radius).Range(0, 10).Hint("Radius"); }

class KeyTool : public BasicTool {
  REFLECTED(KeyTool, BasicTool)
 public:
  std::string Key;
  const char* GetToolKey() const override { return Key.c_str(); }
};
DECLARE_MEMBERS(KeyTool) {}

class HotKeysTest : public testing::Test {
 protected:
  HotKeysTest() : Files("hotkeys") {
    AddAction("Undo", {"Ctrl+Z"}, [](Action& action) { action.Repeats = true; });
    AddAction("Redo", {"Ctrl+Y", "Ctrl+Shift+Z"});
    AddAction("Smooth", {"Shift"}, [this](Action& action) {
      action.Hold = true;
      action.Release = [this] { Notes += "Smooth- "; };
    });
    AddAction("CloseBox", {"Esc"}, [this](Action& action) {
      action.SharesKeys = true;
      action.IsEnabled = [this] { return BoxOpen; };
    });
    AddAction("CancelPoints", {"Esc"}, [](Action& action) { action.SharesKeys = true; });
    Commands.Add<DabParams>("Dab", "Adds a dab", [this](const DabParams& p) {
      Notes += comms::Format("Dab %g ", double(p.Radius));
      return CommandResult::Done();
    });
    Keys.SetDefaults(List, {{{"Dab", "Radius=3", ""}, "D"}, {{"", "", "FILL_TOOL"}, "G"}});
    Runner.Complain = [this](const std::string& sentence) { Notes += "(" + sentence + ") "; };
  }
  ~HotKeysTest() override { ReleaseTools(); }
  void AddAction(
      const char* name, std::vector<std::string> keys, const std::function<void(Action&)>& more = [](Action&) {}) {
    Action action;
    action.Name = name;
    action.DefaultKeys = std::move(keys);
    action.Run = [this, name] { Notes += std::string(name) + " "; };
    more(action);
    List.Add(std::move(action));
  }
  bool Press(const char* combo, InputKind kind = InputKind::KeyDown, bool repeat = false) {
    InputEvent event = KeyEvent(Combo(combo).Key, Combo(combo).Modifiers, kind);
    event.IsRepeat = repeat;
    return Runner.OnKey(event);
  }
  std::string Text(const HotKeyTarget& target) const {
    std::string text;
    for (const KeyCombo& combo : Keys.KeysOf(target)) text += (text.empty() ? "" : " ") + PrintKeyCombo(combo);
    return text;
  }
  TestFolder Files;
  std::string Notes;
  bool BoxOpen = false;
  Actions List;
  CommandTable Commands;
  HotKeys Keys;
  HotKeyRunner Runner{Keys, List, &Commands};
  const HotKeyTarget Undo{"Undo", "", ""}, Redo{"Redo", "", ""}, Dab{"Dab", "Radius=3", ""};
};

TEST_F(HotKeysTest, ATakenKeyTellsWhoHasIt) {
  HotKeyTarget taken;
  EXPECT_FALSE(Keys.Assign(Undo, Combo("Ctrl+Y"), &taken));
  EXPECT_EQ(taken, Redo);
  EXPECT_EQ(Text(Undo), "Ctrl+Z");
  EXPECT_TRUE(Keys.Assign(Undo, Combo("Ctrl+Y"), &taken, true));
  EXPECT_EQ(Text(Undo) + "," + Text(Redo), "Ctrl+Y,Ctrl+Shift+Z") << "the other one keeps its second key";
  EXPECT_TRUE(Keys.Assign(Dab, Combo("Ctrl+Z"), &taken)) << "free by now";
  EXPECT_FALSE(Keys.ResetToDefault(Undo, &taken)) << "its default is somebody else's";
  EXPECT_EQ(taken, Dab);
  EXPECT_EQ(Text(Undo), "Ctrl+Y");
  for (const HotKeyTarget& target : {Dab, Undo, Redo}) EXPECT_TRUE(Keys.ResetToDefault(target));
  EXPECT_EQ(Text(Undo) + "," + Text(Redo) + "," + Text(Dab), "Ctrl+Z,Ctrl+Y Ctrl+Shift+Z,D");
  // Keys that may be shared are no conflict, to those that share as well.
  EXPECT_EQ(Keys.FindConflict(Combo("Esc"), {"CloseBox", "", ""}), nullptr);
  EXPECT_NE(Keys.FindConflict(Combo("Esc"), Undo), nullptr);
}

TEST_F(HotKeysTest, OnlyChangesAreKept) {
  Keys.Assign(Dab, Combo("Ctrl+Alt+F5"));
  Keys.Assign(Redo, {});
  ASSERT_TRUE(Keys.Store(Files.Path()));
  const std::string file = Files.Read("HotKeys.xml");
  EXPECT_EQ(file.find("Undo"), std::string::npos) << file;

  // A later version, with another key for Undo and a default on what the person has given to Dab.
  HotKeys read;
  List = {};
  AddAction("Undo", {"Ctrl+U"});
  AddAction("Redo", {"Ctrl+Y"});
  AddAction("New", {"Ctrl+Alt+F5"});
  read.SetDefaults(List);
  EXPECT_TRUE(read.Load(Files.Path()));
  EXPECT_EQ(read.KeyText("Undo"), "Ctrl+U");
  EXPECT_EQ(read.KeyText("Redo"), "") << "taken away, and it stays away";
  EXPECT_EQ(read.KeyText(Dab), "Ctrl+Alt+F5");
  EXPECT_EQ(read.KeyText("New"), "") << "gives way to the person's";
  read.ResetAll();
  EXPECT_EQ(read.KeyText("New"), "Ctrl+Alt+F5");
}

TEST_F(HotKeysTest, ADamagedFileLeavesTheDefaults) {
  comms::LogRecorder log;
  EXPECT_TRUE(Keys.Load(Files.Path())) << "no file";
  Files.Write("HotKeys.xml", "<HotKeys><Keys><OneHotKey><Code>A</Co");
  EXPECT_FALSE(Keys.Load(Files.Path()));
  EXPECT_EQ(Text(Undo), "Ctrl+Z");
  EXPECT_TRUE(Files.Has("HotKeys.xml.bad"));
  EXPECT_NE(log.Text().find("HotKeys.xml"), std::string::npos);
  Files.Write("HotKeys.xml",
              "<HotKeys><Keys><OneHotKey><Code>A</Code></OneHotKey>"
              "<OneHotKey><Code>B</Code><Command>Undo</Command></OneHotKey></Keys></HotKeys>");
  EXPECT_TRUE(Keys.Load(Files.Path()));
  EXPECT_EQ(Text(Undo), "B");
  EXPECT_EQ(Keys.Find(Combo("A")), nullptr);
}

TEST_F(HotKeysTest, KeysRun) {
  for (const char* keys : {"Ctrl+Z", "Ctrl+Y"})
    for (const bool repeat : {false, true}) EXPECT_TRUE(Press(keys, InputKind::KeyDown, repeat));
  for (const char* keys : {"Z", "Ctrl+Alt+Z"}) EXPECT_FALSE(Press(keys));
  EXPECT_FALSE(Press("Ctrl+Z", InputKind::KeyUp));
  EXPECT_TRUE(Press("D"));
  EXPECT_EQ(Notes, "Undo Undo Redo Dab 3 ");
  Notes.clear();
  Press("Esc");
  BoxOpen = true;
  Press("Esc");
  EXPECT_EQ(Notes, "CancelPoints CloseBox ");
  Notes.clear();
  Keys.Assign({"Dab", "Radius=30", ""}, Combo("E"));
  Keys.Assign({"Daub", "", ""}, Combo("F"));
  EXPECT_TRUE(Press("E") && Press("F"));
  EXPECT_NE(Notes.find("Radius"), std::string::npos) << Notes;
  EXPECT_NE(Notes.find("'Dab' was probably meant"), std::string::npos) << Notes;
}

TEST_F(HotKeysTest, HeldKeysEnd) {
  EXPECT_TRUE(Press("Shift"));
  EXPECT_TRUE(Press("Shift", InputKind::KeyDown, true));
  EXPECT_TRUE(Press("Ctrl+Shift", InputKind::KeyUp)) << "other modifiers have come meanwhile";
  EXPECT_EQ(Notes, "Smooth Smooth- ");
  Press("Shift");
  EXPECT_FALSE(Runner.OnKey(KeyEvent(0, 0, InputKind::FocusLost)));
  EXPECT_FALSE(Press("Shift", InputKind::KeyUp));
  EXPECT_EQ(Notes, "Smooth Smooth- Smooth Smooth- ");
}

TEST_F(HotKeysTest, AToolCanBeHeld) {
  Press("G");
  EXPECT_EQ(Notes, "(there is no tool 'FILL_TOOL') ");
  KeyTool& pen = CreateTool<KeyTool>();
  KeyTool& fill = CreateTool<KeyTool>();
  pen.Key = "PENOP_DRAW";
  fill.Key = "FILL_TOOL";
  Press("G");
  Press("G", InputKind::KeyUp);
  EXPECT_TRUE(fill.Active) << "until another is chosen";
  RadioActivate(pen);
  KeyTool& erase = CreateTool<KeyTool>();
  erase.Key = "ERASER_TOOL";
  Keys.Assign({"", "", "ERASER_TOOL"}, Combo("E"));
  for (OneHotKey* key : Keys.Keys)
    if (!key->Tool.Empty()) key->Hold = true;
  Press("G");
  EXPECT_TRUE(fill.Active);
  Press("G", InputKind::KeyUp);
  EXPECT_TRUE(pen.Active && !fill.Active);

  // A second one held over it, and the first let go before the second.
  Press("G");
  Press("E");
  Press("G", InputKind::KeyUp);
  EXPECT_TRUE(erase.Active);
  Press("E", InputKind::KeyUp);
  EXPECT_TRUE(pen.Active && !erase.Active && !fill.Active);
}

}  // namespace
