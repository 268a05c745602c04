#pragma once
// Keys that run something: an action of the interface, a command with its parameters, or a tool's button.
//
// Defaults come from whoever adds the actions; "HotKeys.xml" in the data folder holds only what the person changed, so that a new
// version brings its new keys.
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Str.h"
#include "shell/core/Actions.h"
#include "shell/core/CommandTable.h"
#include "shell/core/KeyTable.h"

/// One key of one target.
class OneHotKey : public BaseClass {
  REFLECTED(OneHotKey, BaseClass)
 public:
  int Code = 0;  ///< as in KeyTable; 0: the target has no key
  bool Ctrl = false, Shift = false;
  bool AllowStack = false;   ///< may share its key with others; the first one that can run does
  bool UserDefined = false;  ///< set by the person
  bool Alt = false, Super = false;
  bool Hold = false;  ///< from press to release; else at the press
  _str Command;       ///< name of an action or of a command
  _str Parameters;    ///< of the command, as on a batch line
  _str Tool;          ///< key of a tool, in place of a command

  KeyCombo GetCombo() const;
  void SetCombo(const KeyCombo& combo);
};

/// What a key runs. Parameters are those of a command.
struct HotKeyTarget {
  std::string Command, Parameters, Tool;
  friend bool operator==(const HotKeyTarget&, const HotKeyTarget&) = default;
};

class HotKeys : public BaseClass {
  REFLECTED(HotKeys, BaseClass)
 public:
  /// Changed keys first, then the defaults that nobody changed.
  ClonesArray<OneHotKey> Keys;

  /// Enters the DefaultKeys of all actions, and those given here; forgets earlier defaults. What the person changed stays.
  void SetDefaults(const Actions& actions, const std::vector<std::pair<HotKeyTarget, std::string>>& others = {});
  /// "HotKeys.xml" in `folder`. A missing file is no failure. A damaged one is kept beside as "HotKeys.xml.bad", said in the log,
  /// and the defaults stay.
  bool Load(const std::string& folder);
  bool Store(const std::string& folder);
  using BaseClass::Load;

  /// The first key of the combination; null where it is free.
  const OneHotKey* Find(const KeyCombo& combo) const;
  /// All of them, in order.
  std::vector<const OneHotKey*> FindAll(const KeyCombo& combo) const;
  /// Keys of a target.
  std::vector<KeyCombo> KeysOf(const HotKeyTarget& target) const;
  /// "Ctrl+Z" for the menu; empty where there is none. Of several keys the first that the keyboard has under its name.
  std::string KeyText(const HotKeyTarget& target) const;
  std::string KeyText(const std::string& action) const { return KeyText(HotKeyTarget{action, {}, {}}); }
  /// Who has the combination besides `target` and doesn't share it; null where it is free.
  const OneHotKey* FindConflict(const KeyCombo& combo, const HotKeyTarget& target) const;

  /// Makes `combo` the only key of the target; Key 0 takes its keys away. Where somebody else has it: false with that one in
  /// `taken`, and nothing changed; or, with `takeAway`, that one loses it.
  bool Assign(const HotKeyTarget& target, const KeyCombo& combo, HotKeyTarget* taken = nullptr, bool takeAway = false);
  /// Back to the defaults: of one target, or of all. False where a default key of the target is somebody else's now; then the
  /// target keeps what it has.
  bool ResetToDefault(const HotKeyTarget& target, HotKeyTarget* taken = nullptr);
  void ResetAll();

 private:
  struct DefaultKey {
    HotKeyTarget Target;
    KeyCombo Combo;
    bool Hold, Stack;
  };
  bool HasOwn(const HotKeyTarget& target) const;
  void RemoveKeys(const HotKeyTarget& target);
  void AddKey(const DefaultKey& from, bool userDefined);
  void TakeAway(const HotKeyTarget& target, const KeyCombo& combo);
  void Rebuild();
  DefaultKey MannerOf(const HotKeyTarget& target) const;
  const OneHotKey* FindConflict(const KeyCombo& combo, const HotKeyTarget& target, bool stack) const;
  std::vector<DefaultKey> m_Defaults;
};

HotKeyTarget GetTarget(const OneHotKey& key);

/// Runs what the keys say.
class HotKeyRunner {
 public:
  /// `commands` may be null. All outlive this.
  HotKeyRunner(HotKeys& keys, const Actions& actions, const CommandTable* commands)
      : m_Keys(keys), m_Actions(actions), m_Commands(commands) {}

  /// Hears how a command ended that a key ran.
  std::function<void(const Command& command, const CommandResult& result)> CommandDone;
  /// Runs a command; empty: Command::Run. For whoever wraps commands with undo and messages.
  std::function<CommandResult(const Command& command, const CommandParameters& parameters)> RunCommand;
  /// Hears of a key whose command or parameters are not there or not understood.
  std::function<void(const std::string& sentence)> Complain;

  /// KeyDown runs or begins, KeyUp ends what is held, FocusLost ends all that is held. True: a hot key took the event.
  bool OnKey(const InputEvent& event);

 private:
  struct HeldKey {
    int Key;
    std::string Action;            // empty: a tool is held
    std::string Tool, ToolBefore;  // the second is the one to go back to
  };
  bool Begin(const HotKeyTarget& target, bool hold, const InputEvent& event);
  bool BeginTool(const HotKeyTarget& target, bool hold, int code);
  bool RunCommandOf(const HotKeyTarget& target);
  void End(const HeldKey& held);
  void EndTool(const HeldKey& held);
  HotKeys& m_Keys;
  const Actions& m_Actions;
  const CommandTable* m_Commands;
  std::vector<HeldKey> m_Held;
};
