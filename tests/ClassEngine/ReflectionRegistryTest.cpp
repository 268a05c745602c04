// What holds for every class.
#include <gmock/gmock.h>

#include <random>
#include <utility>

#include "ClassEngine/ReflectionFixtures.h"
#include "ClassEngine/ValueText.h"

using namespace fixture;

namespace {

// Other tests declare classes wrongly on purpose.
constexpr const char* FixtureClasses[] = {"Values", "LibraryValues", "Branch", "Leaf"};

std::unique_ptr<BaseClass> Make(const char* name) { return std::unique_ptr<BaseClass>(FindClass(name)->New()); }

// Every object below must know the one above.
void ExpectParents(BaseClass& object) {
  for (int32_t i = 0; i < object.GetElementCount(); i++) {
    BaseClass* type = object.GetElementType(i);
    if (!type->IsReflected()) continue;
    auto* element = static_cast<BaseClass*>(object.GetElementData(i, &object));
    EXPECT_EQ(element->Parent, &object) << object.GetElementName(i);
    ExpectParents(*element);
  }
}

}  // namespace

TEST(ReflectionRegistry, EveryClassSurvivesXmlBinaryAndCopy) {
  RecordingHost host;
  for (const char* name : FixtureClasses) {
    SCOPED_TRACE(name);
    const auto filled = Make(name), fromXml = Make(name), fromDelta = Make(name), fromBinary = Make(name), copy = Make(name);
    EXPECT_EQ(SaveText(*filled, true), std::string("<") + name + "></" + name + ">\n") << "a default has no changes";
    EXPECT_EQ(SaveBytes(*filled), std::string(1, 0));
    int seed = 1;
    ASSERT_EQ(FillNonDefault(*filled, seed), "");
    const std::string text = SaveText(*filled), bytes = SaveBytes(*filled);
    EXPECT_EQ(LoadAndReport(*fromXml, text), "");
    EXPECT_TRUE(LoadText(*fromDelta, SaveText(*filled, true)));
    EXPECT_TRUE(LoadBytes(*fromBinary, bytes));
    EXPECT_EQ(SaveBytes(*fromBinary), bytes);
    EXPECT_TRUE(filled->CopyTo(copy.get(), false));
    EXPECT_TRUE(LoadText(*filled, text));  // leaves nothing behind in the containers
    for (BaseClass* object : {filled.get(), fromXml.get(), fromDelta.get(), fromBinary.get(), copy.get()}) {
      EXPECT_EQ(SaveText(*object), text);
      ExpectParents(*object);
    }
    const auto fresh = Make(name);
    for (BaseClass* object : {filled.get(), fresh.get()}) object->ResetClass();
    EXPECT_EQ(SaveText(*filled), SaveText(*fresh));
  }
  EXPECT_THAT(host.Boxes, testing::IsEmpty());
}

TEST(ReflectionRegistry, HostileBinaryStopsWithoutHarm) {
  RecordingHost host;
  std::mt19937 random(5);
  for (const char* name : FixtureClasses) {
    SCOPED_TRACE(name);
    const auto filled = Make(name);
    int seed = 3;
    ASSERT_EQ(FillNonDefault(*filled, seed), "");
    const std::string bytes = SaveBytes(*filled);
    for (size_t length = 0; length < bytes.size(); length++) {
      const auto object = Make(name);
      EXPECT_FALSE(LoadBytes(*object, std::string_view(bytes).substr(0, length))) << length;
      SaveText(*object);
    }
    for (int round = 0; round < 2000; round++) {
      std::string damaged = bytes.substr(0, round % 2 ? bytes.size() : 1 + random() % 60);
      for (int changes = round % 2 ? 3 : 60; changes > 0; changes--) damaged[random() % damaged.size()] = char(random());
      const auto object = Make(name);
      LoadBytes(*object, damaged);
      SaveText(*object);  // reads every member: what is broken inside shows under the sanitizers
    }
  }
}

TEST(ReflectionRegistry, EveryMemberIsDescribedAndItsDefaultReadsBack) {
  RecordingHost host;
  for (const char* name : FixtureClasses) {
    SCOPED_TRACE(name);
    const auto object = Make(name);
    const std::string before = SaveText(*object);
    for (const MemberInfo& info : DescribeMembers(*object)) {
      SCOPED_TRACE(info.Name);
      const BaseClass* type = FindClass(info.Type);
      double numbers[4];
      const char zeros[16] = {};
      std::string error, text;
      if (!type || (!type->GetNumbers(zeros, numbers) && info.Entries.empty() && info.Name != "Flag")) continue;
      ASSERT_TRUE(SetMemberFromText(*object, info.Name, info.Default, error)) << error;
      EXPECT_TRUE(GetMemberText(*object, info.Name, text) && text == info.Default);
      for (const char* wrong : {"", "nan", "-inf", "1e999", "12monkeys", "9e99", "1 2 3 4 5", "--1", "0x", "tru", "Ba"})
        EXPECT_FALSE(SetMemberFromText(*object, info.Name, wrong, error)) << wrong;
      if (!info.HasRange) continue;
      for (const auto& [end, past] : {std::pair(info.MinValue, info.MinValue - 1), {info.MaxValue, info.MaxValue + 1}}) {
        EXPECT_TRUE(SetMemberFromText(*object, info.Name, PrintNumber(end), error)) << error;
        EXPECT_FALSE(SetMemberFromText(*object, info.Name, PrintNumber(past), error)) << past;
      }
      ASSERT_TRUE(SetMemberFromText(*object, info.Name, info.Default, error));
    }
    EXPECT_EQ(SaveText(*object), before);
  }
}
