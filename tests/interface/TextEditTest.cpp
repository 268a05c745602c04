#include "WidgetFixture.h"
#include "interface/Clipboard.h"
#include "interface/Language.h"
#include "interface/TextEdit.h"
#include "interface/TextEditing.h"

namespace {

TEST(TextEditing, MovesByCharactersOfSeveralBytes) {
  TextEditing edit;
  edit.SetText("aä€😀b");
  for (const size_t expected : {10u, 6u, 3u, 1u, 0u, 0u}) {
    edit.OnKey(KeyEvent(KeyLeft));
    EXPECT_EQ(edit.Caret(), expected);
  }
  for (const int key : {KeyRight, KeyDelete, KeyEnd, KeyBackspace, KeyBackspace}) edit.OnKey(KeyEvent(key));
  EXPECT_EQ(edit.Text(), "a€");
  edit.MoveTo(2, false);
  EXPECT_EQ(edit.Caret(), 1u) << "never within a character";
}

TEST(TextEditing, WordsSelectionAndClipboard) {
  TextEditing edit;
  edit.SetText("one  Größe.three");
  edit.OnKey(KeyEvent(KeyHome));
  edit.OnKey(KeyEvent(KeyRight, ModControl));
  EXPECT_EQ(edit.Caret(), 5u);
  edit.OnKey(KeyEvent(KeyRight, ModControl | ModShift));
  EXPECT_EQ(edit.SelectedText(), "Größe");
  edit.OnKey(KeyEvent('C', ModControl));
  edit.OnKey(KeyEvent(KeyEnd));
  edit.OnKey(KeyEvent(KeyBackspace, ModControl));
  edit.OnKey(KeyEvent('V', ModControl));
  EXPECT_EQ(edit.Text(), "one  Größe.Größe");
  edit.SelectWordAt(6);
  edit.OnKey(KeyEvent('X', ModControl));
  EXPECT_EQ(edit.Text(), "one  .Größe");
  edit.OnKey(KeyEvent(KeyLeft));
  edit.SelectAll();
  edit.OnKey(KeyEvent(KeyLeft));
  EXPECT_EQ(edit.Caret(), 0u) << "Left goes to the start of what was selected";
}

TEST(TextEditing, UndoTakesTypingBackInOneStep) {
  TextEditing edit;
  edit.SetText("start");
  for (const char* symbol : {"a", "b", "ü"}) edit.Insert(symbol);
  for (int i = 0; i < 2; i++) edit.Erase(false, false);
  EXPECT_EQ(edit.Text(), "starta");
  EXPECT_TRUE(edit.Undo());
  EXPECT_EQ(edit.Text(), "startabü");
  EXPECT_TRUE(edit.Undo() && !edit.Undo());
  EXPECT_EQ(edit.Text(), "start");
  EXPECT_TRUE(edit.Redo());
  edit.Insert("c");
  EXPECT_EQ(edit.Text(), "startabüc");
  EXPECT_FALSE(edit.Redo()) << "a new edit ends what could be repeated";
}

TEST(TextEditing, CleansWhatIsPutIn) {
  EXPECT_EQ(CleanLine("a\r\nb\tc\x01\x7F"), "a b c");
  EXPECT_EQ(CleanLine("x\xC3"), "x\xEF\xBF\xBD");
  EXPECT_EQ(CleanLine("\xFF\xE2\x82\xAC"), "\xEF\xBF\xBD\xE2\x82\xAC");
  TextEditing edit;
  edit.MaxBytes = 4;
  edit.SetText("ab");
  edit.Insert("€");  // three bytes: no room, and no half of it
  EXPECT_EQ(edit.Text(), "ab");
  edit.Insert("ä!");
  EXPECT_EQ(edit.Text(), "abä");
}

using TextEditTest = WidgetTest;

TEST_F(TextEditTest, EnterWritesEscRestoresAndBadTextStays) {
  _str name("old");
  auto* edit = Place(new TextEdit(Bind<_str>(name)), {10, 10, 200, 19});
  Notes notes(*edit);
  ClickOn(*edit);
  TypeAnew("new");
  EXPECT_EQ(name, "old");
  Key(KeyEnter);
  EXPECT_EQ(name, "new");
  EXPECT_EQ(notes.Done, 1);
  EXPECT_EQ(Widgets.Focused(), nullptr);
  ClickOn(*edit);
  Type("xyz");
  Key(KeyEsc);
  EXPECT_EQ(name, "new");
  ClickOn(*edit);
  TypeAnew("left");
  Click(500, 500);
  EXPECT_EQ(name, "left") << "losing the focus writes";
  EXPECT_EQ(notes.Done, 2);

  int number = 5;
  auto* field = Place(new TextEdit(Bind<_int>(number)), {10, 40, 200, 19});
  ClickOn(*field);
  TypeAnew("abc");
  Key(KeyEnter);
  EXPECT_TRUE(field->IsEditing());
  EXPECT_FALSE(field->GetHintText(20, 45).empty());
  EXPECT_FALSE(Widgets.Said().empty()) << "without a pointer over it";
  TypeAnew("42");
  EXPECT_TRUE(Widgets.Said().empty());
  Key(KeyEnter);
  EXPECT_EQ(number, 42);
  EXPECT_FALSE(field->IsEditing());
  for (const bool byTab : {true, false}) {
    ClickOn(*field);
    TypeAnew("abc");
    if (byTab)
      Key(KeyTab);
    else
      Click(500, 500);
    EXPECT_EQ(number, 42);
    EXPECT_TRUE(Widgets.Said().ends_with(GetText("OLD_VALUE_STAYS"))) << Widgets.Said();
  }
  Widgets.Process(100);
  DrawAll();
  EXPECT_TRUE(Widgets.Said().empty());
}

TEST_F(TextEditTest, TheMouseSelectsAndHotKeysWait) {
  _str name("some words here");
  auto* edit = Place(new TextEdit(Bind<_str>(name)), {10, 10, 300, 19});
  int unhandled = 0;
  Widgets.Unhandled = [&](const InputEvent& event) { return event.Kind == InputKind::KeyDown && ++unhandled; };
  ClickOn(*edit);
  Click(20, 20, 0, 2);
  EXPECT_EQ(edit->Editing().SelectedText(), "some");
  DragAlong({{14, 20}, {400, 20}});
  EXPECT_EQ(edit->Editing().SelectedText(), "some words here");
  Key('B');
  EXPECT_EQ(unhandled, 0) << "a letter is typed and no command";
  Key('S', ModControl);
  EXPECT_EQ(unhandled, 1);
}

}  // namespace
