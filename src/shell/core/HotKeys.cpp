#include "shell/core/HotKeys.h"

#include <algorithm>

#include "ClassEngine/Assert.h"
#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "shell/core/BasicTool.h"
#include "shell/core/ObjectFile.h"
#include "shell/core/ToolInput.h"

static constexpr const char* FileName = "HotKeys.xml";

REGISTER_CLASS(OneHotKey, nullptr);
REGISTER_CLASS(HotKeys, nullptr);
DECLARE_MEMBERS(OneHotKey) {
  FillKeyTable();
  Member<_index>("Code", Code, "KEYCODES");
  Member<_bool>("Ctrl", Ctrl);
  Member<_bool>("Shift", Shift);
  Member<_bool>("AllowStack", AllowStack).Hint("Others may have the same key");
  Member<_bool>("UserDefined", UserDefined);
  Member<_bool>("Alt", Alt);
  Member<_bool>("Super", Super);
  Member<_bool>("Hold", Hold).Hint("As long as the key is held");
  Member<_str>("Command", Command);
  Member<_str>("Parameters", Parameters);
  Member<_str>("Tool", Tool);
}
DECLARE_MEMBERS(HotKeys) { Member<ClonesArray<OneHotKey>>("Keys", Keys); }

KeyCombo OneHotKey::GetCombo() const {
  return {Code, uint8_t((Ctrl ? ModControl : 0) | (Shift ? ModShift : 0) | (Alt ? ModAlt : 0) | (Super ? ModSuper : 0))};
}

void OneHotKey::SetCombo(const KeyCombo& combo) {
  Code = combo.Key;
  Ctrl = combo.Modifiers & ModControl;
  Shift = combo.Modifiers & ModShift;
  Alt = combo.Modifiers & ModAlt;
  Super = combo.Modifiers & ModSuper;
}

HotKeyTarget GetTarget(const OneHotKey& key) { return {key.Command.ToString(), key.Parameters.ToString(), key.Tool.ToString()}; }

// --- the list ------------------------------------------------------------------------------------------------------------------

void HotKeys::SetDefaults(const Actions& actions, const std::vector<std::pair<HotKeyTarget, std::string>>& others) {
  m_Defaults.clear();
  const auto add = [this](const HotKeyTarget& target, const std::string& text, bool hold, bool stack) {
    KeyCombo combo;
    MORVANE_ASSERT(ParseKeyCombo(text, combo));
    m_Defaults.push_back({target, combo, hold, stack});
  };
  for (const Action& action : actions.All())
    for (const std::string& text : action.DefaultKeys) add({action.Name, {}, {}}, text, action.Hold, action.SharesKeys);
  for (const auto& [target, text] : others) add(target, text, false, false);
  Rebuild();
}

bool HotKeys::HasOwn(const HotKeyTarget& target) const {
  return std::any_of(Keys.begin(), Keys.end(),
                     [&](const OneHotKey* key) { return key->UserDefined && GetTarget(*key) == target; });
}

void HotKeys::RemoveKeys(const HotKeyTarget& target) {
  for (int32_t i = Keys.Count; i-- > 0;)
    if (GetTarget(*Keys[i]) == target) Keys.RemoveAt(i);
}

// The person's keys stand before the defaults. That a target has no key is only said where it would have one by default.
void HotKeys::AddKey(const DefaultKey& from, bool userDefined) {
  const auto isOfTarget = [&](const DefaultKey& key) { return key.Target == from.Target; };
  if (!from.Combo.Key && std::none_of(m_Defaults.begin(), m_Defaults.end(), isOfTarget)) return;
  auto key = std::make_unique<OneHotKey>();
  key->RegisterMembers();
  key->SetCombo(from.Combo);
  key->AllowStack = from.Stack;
  key->Hold = from.Hold;
  key->UserDefined = userDefined;
  key->Command = from.Target.Command;
  key->Parameters = from.Target.Parameters;
  key->Tool = from.Target.Tool;
  int32_t place = Keys.Count;
  if (userDefined)
    for (place = 0; place < Keys.Count && Keys[place]->UserDefined;) ++place;
  Keys.InsertAt(place, key.release());
}

// A default gives way to what the person changed: at its own target, and where its combination was given to another one.
void HotKeys::Rebuild() {
  for (int32_t i = Keys.Count; i-- > 0;)
    if (!Keys[i]->UserDefined) Keys.RemoveAt(i);
  for (const DefaultKey& key : m_Defaults) {
    if (HasOwn(key.Target)) continue;
    const OneHotKey* taken = FindConflict(key.Combo, key.Target, key.Stack);
    if (!taken)
      AddKey(key, false);
    else if (!taken->UserDefined)
      comms::LogWarning("%s is the default key of %s and of %s", PrintKeyCombo(key.Combo).c_str(), taken->Command.c_str(),
                        key.Target.Command.c_str());
  }
}

bool HotKeys::Load(const std::string& folder) {
  RegisterMembers();
  HotKeys file;
  file.RegisterMembers();
  const ObjectFileState state = LoadObjectFile(file, comms::JoinPath(folder, FileName));
  Keys.Clear();
  while (file.Keys.Count) {
    OneHotKey* key = file.Keys.Release(0);
    key->UserDefined = true;
    if (key->Command.Empty() && key->Tool.Empty()) {
      comms::LogWarning("%s: a key without command and tool is left out", FileName);
      delete key;
    } else {
      Keys.Add(key);
    }
  }
  Rebuild();
  return state != ObjectFileState::Damaged;
}

bool HotKeys::Store(const std::string& folder) {
  RegisterMembers();
  HotKeys file;
  file.RegisterMembers();
  for (OneHotKey* key : Keys) {
    if (!key->UserDefined) continue;
    auto* copy = static_cast<OneHotKey*>(key->New());
    key->CopyTo(copy, true);
    file.Keys.Add(copy);
  }
  return StoreObjectFile(file, comms::JoinPath(folder, FileName));
}

const OneHotKey* HotKeys::Find(const KeyCombo& combo) const {
  const std::vector<const OneHotKey*> all = FindAll(combo);
  return all.empty() ? nullptr : all.front();
}

std::vector<const OneHotKey*> HotKeys::FindAll(const KeyCombo& combo) const {
  std::vector<const OneHotKey*> found;
  if (combo.Key)
    for (const OneHotKey* key : Keys)
      if (key->GetCombo() == combo) found.push_back(key);
  return found;
}

std::vector<KeyCombo> HotKeys::KeysOf(const HotKeyTarget& target) const {
  std::vector<KeyCombo> combos;
  for (const OneHotKey* key : Keys)
    if (key->Code && GetTarget(*key) == target) combos.push_back(key->GetCombo());
  return combos;
}

std::string HotKeys::KeyText(const HotKeyTarget& target) const {
  const std::vector<KeyCombo> combos = KeysOf(target);
  const auto best = std::max_element(
      combos.begin(), combos.end(), [](const KeyCombo& a, const KeyCombo& b) { return RateKeySign(a.Key) < RateKeySign(b.Key); });
  return best == combos.end() ? std::string() : PrintKeyCombo(*best);
}

const OneHotKey* HotKeys::FindConflict(const KeyCombo& combo, const HotKeyTarget& target, bool stack) const {
  for (const OneHotKey* key : FindAll(combo))
    if (!(GetTarget(*key) == target) && !(stack && key->AllowStack)) return key;
  return nullptr;
}

// How the target's keys work, from the one that it has or had by default.
HotKeys::DefaultKey HotKeys::MannerOf(const HotKeyTarget& target) const {
  for (const OneHotKey* key : Keys)
    if (GetTarget(*key) == target) return {target, {}, key->Hold, key->AllowStack};
  for (const DefaultKey& key : m_Defaults)
    if (key.Target == target) return {target, {}, key.Hold, key.Stack};
  return {target, {}, false, false};
}

const OneHotKey* HotKeys::FindConflict(const KeyCombo& combo, const HotKeyTarget& target) const {
  return FindConflict(combo, target, MannerOf(target).Stack);
}

// What is left of the target's keys becomes the person's; a target without any keeps an entry of Code 0, so that its default
// doesn't come back.
void HotKeys::TakeAway(const HotKeyTarget& target, const KeyCombo& combo) {
  DefaultKey key = MannerOf(target);
  std::vector<KeyCombo> left = KeysOf(target);
  left.erase(std::remove(left.begin(), left.end(), combo), left.end());
  if (left.empty()) left.push_back({});
  RemoveKeys(target);
  for (const KeyCombo& one : left) {
    key.Combo = one;
    AddKey(key, true);
  }
}

bool HotKeys::Assign(const HotKeyTarget& target, const KeyCombo& combo, HotKeyTarget* taken, bool takeAway) {
  DefaultKey key = MannerOf(target);
  while (const OneHotKey* conflict = FindConflict(combo, target, key.Stack)) {
    const HotKeyTarget other = GetTarget(*conflict);
    if (taken) *taken = other;
    if (!takeAway) return false;
    TakeAway(other, combo);
  }
  key.Combo = combo.Key ? combo : KeyCombo{};
  RemoveKeys(target);
  AddKey(key, true);
  Rebuild();  // what the target had may be the default of another one
  return true;
}

bool HotKeys::ResetToDefault(const HotKeyTarget& target, HotKeyTarget* taken) {
  for (const DefaultKey& key : m_Defaults) {
    if (!(key.Target == target)) continue;
    const OneHotKey* conflict = FindConflict(key.Combo, target, key.Stack);
    if (!conflict) continue;
    if (taken) *taken = GetTarget(*conflict);
    return false;
  }
  RemoveKeys(target);
  Rebuild();
  return true;
}

void HotKeys::ResetAll() {
  Keys.Clear();
  Rebuild();
}

// --- running -------------------------------------------------------------------------------------------------------------------

bool HotKeyRunner::OnKey(const InputEvent& event) {
  if (event.Kind == InputKind::FocusLost) {
    for (const HeldKey& held : std::exchange(m_Held, {})) End(held);
    return false;
  }
  const auto held = std::find_if(m_Held.begin(), m_Held.end(), [&](const HeldKey& key) { return key.Key == event.Key; });
  if (event.Kind == InputKind::KeyUp && held != m_Held.end()) {
    const HeldKey ended = *held;
    m_Held.erase(held);
    End(ended);
    return true;
  }
  if (event.Kind != InputKind::KeyDown) return false;
  if (held != m_Held.end()) return true;
  // By value: what runs may change the keys.
  std::vector<std::pair<HotKeyTarget, bool>> found;
  for (const OneHotKey* key : m_Keys.FindAll(GetKeyCombo(event))) found.emplace_back(GetTarget(*key), key->Hold);
  for (const auto& [target, hold] : found)
    if (Begin(target, hold, event)) return true;
  return false;
}

bool HotKeyRunner::Begin(const HotKeyTarget& target, bool hold, const InputEvent& event) {
  if (!target.Tool.empty()) return event.IsRepeat || BeginTool(target, hold, event.Key);
  if (const Action* action = m_Actions.Find(target.Command)) {
    if (!action->Enabled()) return false;
    if (event.IsRepeat && !action->Repeats) return true;
    if (hold) m_Held.push_back({event.Key, action->Name, {}, {}});
    action->Run();
    return true;
  }
  return event.IsRepeat || RunCommandOf(target);
}

bool HotKeyRunner::BeginTool(const HotKeyTarget& target, bool hold, int code) {
  BasicTool* tool = FindTool(target.Tool);
  if (!tool) {
    if (Complain) Complain("there is no tool '" + target.Tool + "'");
    return true;
  }
  if (CurrentStroke.Running) return true;  // whoever draws keeps the tool until the button is up
  if (hold) m_Held.push_back({code, {}, target.Tool, GetCurrentTool().GetToolKey()});
  RadioActivate(*tool);
  return true;
}

bool HotKeyRunner::RunCommandOf(const HotKeyTarget& target) {
  BatchLine line;
  std::string error;
  const Command* command = m_Commands ? m_Commands->Find(target.Command) : nullptr;
  std::unique_ptr<CommandParameters> parameters;
  if (!command)
    error = m_Commands ? m_Commands->DescribeUnknown(target.Command) : "there is no command '" + target.Command + "'";
  else if (ParseBatchLine(target.Command + " " + target.Parameters, line, error))
    parameters = m_Commands->ReadParameters(*command, line.Arguments, error);
  if (!parameters) {
    if (Complain) Complain(error);
    return true;
  }
  const CommandResult result = RunCommand ? RunCommand(*command, *parameters) : command->Run(*parameters);
  if (CommandDone) CommandDone(*command, result);
  return true;
}

void HotKeyRunner::End(const HeldKey& held) {
  if (held.Action.empty()) return EndTool(held);
  const Action* action = m_Actions.Find(held.Action);
  if (action && action->Release) action->Release();
}

// A tool that was held over this one stays, and goes back to what was before both.
void HotKeyRunner::EndTool(const HeldKey& held) {
  for (HeldKey& over : m_Held)
    if (over.Action.empty() && over.ToolBefore == held.Tool) {
      over.ToolBefore = held.ToolBefore;
      return;
    }
  if (BasicTool* before = FindTool(held.ToolBefore))
    RadioActivate(*before);
  else
    DeactivateTools();
}
