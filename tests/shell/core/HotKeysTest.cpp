#include "shell/core/HotKeys.h"

#include <gtest/gtest.h>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/ValueTypes.h"
#include "comms/Log.h"
#include "comms/Str.h"
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
  EXPECT_EQ(KeyTable[0], 27);
  EXPECT_EQ(KeyTable[12], 123);
  EXPECT_EQ(KeyTable[13], '0');
  EXPECT_EQ(KeyTable[23], 189);
  EXPECT_EQ(KeyTable[51], 192);
  EXPECT_EQ(KeyTable[77], 'Z');
  for (int i = 0; i < KeyTable.Count; ++i) EXPECT_EQ(KeyIndex[KeyTable[i]], i);
  EXPECT_EQ(KeyIndex[1], 0);
  EXPECT_TRUE(IsKnownKey(27));
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
  InputEvent shift;
  shift.Key = KeyShift;
  shift.Modifiers = ModShift | ModAlt;
  EXPECT_EQ(GetKeyCombo(shift), (KeyCombo{KeyShift, ModAlt}));
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
    AddAction("Redo", {"Ctrl+Y", "Ctrl+Shift+Z"}, [](Action&) {});
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
  void AddAction(const char* name, std::vector<std::string> keys, const std::function<void(Action&)>& more) {
    Action action;
    action.Name = name;
    action.DefaultKeys = std::move(keys);
    action.Run = [this, name] { Notes += std::string(name) + " "; };
    more(action);
    List.Add(std::move(action));
  }
  bool Press(const char* combo, InputKind kind = InputKind::KeyDown, bool repeat = false) {
    InputEvent event;
    event.Kind = kind;
    event.Key = Combo(combo).Key;
    event.Modifiers = Combo(combo).Modifiers;
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
  EXPECT_EQ(Text(Undo), "Ctrl+Y");
  EXPECT_EQ(Text(Redo), "Ctrl+Shift+Z") << "the other one keeps its second key";
  EXPECT_EQ(Keys.Find(Combo("Ctrl+Z")), nullptr);
  EXPECT_TRUE(Keys.Assign(Dab, Combo("Ctrl+Z"), &taken)) << "free by now";
  EXPECT_FALSE(Keys.ResetToDefault(Undo, &taken)) << "its default is somebody else's";
  EXPECT_EQ(taken, Dab);
  EXPECT_EQ(Text(Undo), "Ctrl+Y");
  EXPECT_TRUE(Keys.ResetToDefault(Dab));
  EXPECT_TRUE(Keys.ResetToDefault(Undo));
  EXPECT_TRUE(Keys.ResetToDefault(Redo));
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

  HotKeys read;
  // A later version, with another key for Undo and a default on what the person has given to Dab.
  Actions later;
  const auto add = [&](const char* name, const char* key) {
    Action action;
    action.Name = name;
    action.Run = [] {};
    action.DefaultKeys = {key};
    later.Add(action);
  };
  add("Undo", "Ctrl+U");
  add("Redo", "Ctrl+Y");
  add("New", "Ctrl+Alt+F5");
  read.SetDefaults(later);
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
  EXPECT_TRUE(Press("Ctrl+Z"));
  EXPECT_TRUE(Press("Ctrl+Z", InputKind::KeyDown, true));
  EXPECT_TRUE(Press("Ctrl+Y"));
  EXPECT_TRUE(Press("Ctrl+Y", InputKind::KeyDown, true));
  EXPECT_FALSE(Press("Z"));
  EXPECT_FALSE(Press("Ctrl+Alt+Z"));
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
  InputEvent lost;
  lost.Kind = InputKind::FocusLost;
  EXPECT_FALSE(Runner.OnKey(lost));
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
  RadioActivate(pen);
  Press("G");
  Press("G", InputKind::KeyUp);
  EXPECT_TRUE(fill.Active);
  RadioActivate(pen);
  for (OneHotKey* key : Keys.Keys)
    if (!key->Tool.Empty()) key->Hold = true;
  Press("G");
  EXPECT_TRUE(fill.Active);
  Press("G", InputKind::KeyUp);
  EXPECT_TRUE(pen.Active && !fill.Active);

  // A second one held over it, and the first let go before the second.
  KeyTool& erase = CreateTool<KeyTool>();
  erase.Key = "ERASER_TOOL";
  Keys.Assign({"", "", "ERASER_TOOL"}, Combo("E"));
  for (OneHotKey* key : Keys.Keys)
    if (!key->Tool.Empty()) key->Hold = true;
  Press("G");
  Press("E");
  Press("G", InputKind::KeyUp);
  EXPECT_TRUE(erase.Active);
  Press("E", InputKind::KeyUp);
  EXPECT_TRUE(pen.Active && !erase.Active && !fill.Active);
}

}  // namespace
