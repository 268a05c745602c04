#pragma once
// Texts of the interface by key, in the person's language. What the declaration of a member or a command says is English; the
// languages have it under "CLASS.MEMBER_HINT" and "Command.NAME_HINT". "CLASS.MEMBER" is the label of a member where "MEMBER"
// means something else elsewhere. The English file is compiled in too, so that a program without its language files still speaks.
#include <string>
#include <string_view>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Str.h"

/// The text of `key` in the current language; the key itself where there is none, and the key is then listed in "text.xml" for
/// completion. A prefix "{N}" puts an item in group N of its command list and is no part of the key. Valid until the language
/// changes.
const std::string& GetText(std::string_view key);
/// The text of the key formed with "_HINT"; empty where there is none (a missing hint is not listed).
std::string GetHintText(std::string_view key);
bool HasText(std::string_view key);
/// N of a key with the prefix "{N}"; 0 where there is none.
int GetTextGroup(std::string_view key);
/// A combination of keys as "Ctrl+Z" in the words of the person's keyboard: each word by the key "Key.Ctrl" where there is one,
/// else by the sign that the keyboard has on it (GetKeySign).
std::string GetKeyText(std::string_view combo);
/// The text of a number with its decimal point as the language writes it ("DECIMAL_SEPARATOR"). For what a person reads: files,
/// commands and logs have the point. What a person types may have either.
std::string ShowNumber(std::string text);
/// `text` with `word` in place of its first "%s".
std::string FillIn(std::string text, std::string_view word);

/// Loads "Languages/<name>.xml" of the data folder, alone: what it lacks is without text, and the keys of English among that are
/// listed for completion whether they are asked for or not. And "Languages/replace.txt". False with a sentence for each file that
/// is not there or not as expected; what could be read of it is used all the same, and where that is the language, English stands
/// for the rest.
bool LoadLanguage(const std::string& dataFolder, const std::string& name, std::string& error);
/// Names of the files in "Languages", without extension, in order; English, which is always there, among them.
std::vector<std::string> ListLanguages(const std::string& dataFolder);
/// One entry of the list of languages.
class OneLang : public BaseClass {
  REFLECTED(OneLang, BaseClass)
 public:
  /// What the language calls itself; its name where its file doesn't say.
  const char* GetDisplayName(void* data) override;
  _str Name;  ///< of its file, without extension
  _str Own;   ///< text of the key Name in its own file
};
/// The list that a person chooses from: the files of ListLanguages, each by its own name. Replaces what is in `list`.
void ListLanguages(const std::string& dataFolder, ClonesArray<OneLang>& list);
/// Adds the keys without text, of English or asked for since the language was loaded, to "text.xml" in `folder`, with themselves
/// as text; what stands in the file stays as the person may have filled it in. Nothing where no key is without text. Keys without
/// a letter need no text of their own. False with one sentence.
bool WriteMissingTexts(const std::string& folder, std::string& error);

/// "Languages/English.xml" as it was when the program was built.
extern const std::string_view EnglishTexts;
