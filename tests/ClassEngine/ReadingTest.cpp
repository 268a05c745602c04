// What a reading as a whole is held to: memory in proportion to what is read, and references by name.
#include <gmock/gmock.h>

#include <stdexcept>
#include <utility>

#include "ClassEngine/ReflectionFixtures.h"

using namespace fixture;
using testing::HasSubstr;

namespace {

constexpr size_t BigBytes = size_t(1) << 16;

/// Tags of a few bytes, objects of 64 KiB.
class Big : public BaseClass {
  REFLECTED(Big, BaseClass)
  char Room[BigBytes] = {};
  int Number = 0;
};
DECLARE_MEMBERS(Big) { Member<_int>("Number", Number); }

class Store : public BaseClass {
  REFLECTED(Store, BaseClass)
  ClassArray<Big> Bigs;
  ClassPtr<Big> Single;
  int After = 0;
};
DECLARE_MEMBERS(Store) {
  Member<ClassArray<Big>>("Bigs", Bigs);
  Member<ClassPtr<Big>>("Single", Single);
  Member<_int>("After", After);
}

/// Small itself; what it brings along is not.
class Crate : public Store {
  REFLECTED(Crate, Store)
  Crate() {
    for (int i = 0; i < 4; i++) Bigs.Add(new Big);
  }
};
DECLARE_MEMBERS(Crate) {}

/// Refers to an object by name, as the prefix of its class name says.
template <class T>
class ClassRef : public _str {
 public:
  static const char* StaticClassName() {
    static const std::string name = std::string("ClassRef.") + T::StaticClassName();
    return name.c_str();
  }
  const char* GetClassName() const override { return StaticClassName(); }
  const char* GetClassRefName(void*) override { return c_str(); }
  bool TryToLinkClass(BaseClass* found, void*) override {
    if (View() == "Thrower") throw std::runtime_error("no such luck");
    Object = dynamic_cast<T*>(found);
    return Object != nullptr;
  }
  void UnlinkClass(void*) override { Object = nullptr; }
  T* Object = nullptr;
};

class Station : public BaseClass {
  REFLECTED(Station, BaseClass)
  _str Name;
  ClassRef<Station> Next;
  const char* GetDisplayName(void*) override { return Name.c_str(); }
};
DECLARE_MEMBERS(Station) {
  Member<_str>("Name", Name);
  Member<ClassRef<Station>>("Next", Next);
}

// Of stations A, B and C, each with the name of its next one.
std::string MakeLine(const char* a, const char* b, const char* c) {
  std::string text = "<Line>";
  for (const auto& [name, next] : {std::pair("A", a), {"B", b}, {"C", c}})
    text += std::string("<Station><Name>") + name + "</Name><Next>" + next + "</Next></Station>";
  return text + "</Line>";
}

}  // namespace

TEST(Reading, ItemsStayInProportionToTheText) {
  RecordingHost host;
  Store store;
  XmlErrorLog errors;
  EXPECT_FALSE(LoadText(store, "<Store><Bigs>" + Repeat("<Big></Big>", 3000) + "</Bigs><After>1</After></Store>", &errors));
  const std::string message(errors.Messages.View());
  EXPECT_THAT(message,
              testing::MatchesRegex("Reading of Store stopped: [0-9]+ bytes ask for items of more than [0-9]+ bytes.\n"));
  // XmlMemoryBase, and 4 times the text.
  EXPECT_GE(store.Bigs.Count, 600);
  EXPECT_LE(store.Bigs.Count * BigBytes, size_t(XmlMemoryBase) + 4 * 3001 * 11);
  EXPECT_EQ(store.After, 0);  // the reading stopped there

  // What is sound is read whole, right after and time and again.
  for (int i = 0; i < 2; i++)
    EXPECT_TRUE(LoadText(store, "<Store><Bigs>" + Repeat("<Big></Big>", 600) + "</Bigs><After>1</After></Store>"));
  EXPECT_EQ(store.Bigs.Count, 600);
  EXPECT_EQ(store.After, 1);

  // A root that is a container; objects that bring more along than they are; a pointer that is replaced over and over.
  ClassArray<Crate> crates;
  LoadText(crates, "<A><Crate></Crate></A>");
  EXPECT_FALSE(LoadText(crates, "<A>" + Repeat("<Crate></Crate>", 1000) + "</A>"));
  EXPECT_LE(crates.Count, 165);
  EXPECT_GE(crates.Count, 155);
  EXPECT_FALSE(LoadText(store, "<Store><Single>" + Repeat("<Big></Big>", 3000) + "</Single></Store>"));
  EXPECT_THAT(host.LogText, HasSubstr("Reading of ClassArray.Crate stopped: "));  // nobody else listened
}

TEST(Reading, ItemsStayInProportionToTheStream) {
  RecordingHost host;
  const std::string item = std::string("\3Big\0", 5);
  ClassArray<Big> array;
  EXPECT_FALSE(LoadBytes(array, std::string("\xB8\x0B\0\0", 4) + Repeat(item, 3000)));
  EXPECT_LE(array.Count, 660);
  EXPECT_THAT(host.LogText, HasSubstr("Reading of ClassArray.Big stopped: 15004 bytes ask for items of more than "));
  EXPECT_TRUE(LoadBytes(array, std::string("\x58\2\0\0", 4) + Repeat(item, 600)));
  EXPECT_EQ(array.Count, 600);
}

class ReadingFiles : public FolderTest {};

TEST_F(ReadingFiles, FurtherFilesCountAsRead) {
  const std::string item = "<Big><Number>" + std::string(4000, '0') + "1</Number></Big>";
  Store store;  // 3 MB of text are good for 48 MiB
  EXPECT_TRUE(store.ReadFromFile(MakeFile("store.xml", "<Store><Bigs>" + Repeat(item, 750) + "</Bigs></Store>").c_str()));
  EXPECT_EQ(store.Bigs.Count, 750);
}

TEST(Reading, ReferencesAreLinkedByNameWhenAllIsRead) {
  RecordingHost host;
  ClassArray<Station> line, copy;
  EXPECT_EQ(LoadAndReport(line, MakeLine("C", "", "A")), "");
  EXPECT_EQ(line[0]->Next.Object, line[2]);  // which came later
  EXPECT_EQ(line[1]->Next.Object, nullptr);
  EXPECT_EQ(line[2]->Next.Object, line[0]);
  EXPECT_TRUE(LoadBytes(copy, SaveBytes(line)));
  EXPECT_EQ(copy[0]->Next.Object, copy[2]);

  // One that fails is reported, in the log where nobody else listens, and the rest is linked.
  const std::string text = MakeLine("Nobody", "Thrower", "A");
  EXPECT_EQ(LoadAndReport(line, text), "TryToLinkClass failed!\nTryToLinkClass failed!\n");
  EXPECT_EQ(line[2]->Next.Object, line[0]);
  EXPECT_EQ(host.LogText, "");
  ASSERT_TRUE(LoadText(line, text));
  EXPECT_EQ(host.LogText, "TryToLinkClass failed!\nTryToLinkClass failed!\n");
  // Read again, a reference forgets what it referred to before.
  line[0]->Next.Object = line[0];
  ASSERT_TRUE(LoadText(*line[0], "<Station><Next>Thrower</Next></Station>"));
  EXPECT_EQ(line[0]->Next.Object, nullptr);
}
