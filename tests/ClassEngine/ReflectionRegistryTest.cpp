// What holds for every registered class.
#include <gmock/gmock.h>

#include <random>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ReflectionFixtures.h"

using namespace fixture;

namespace {

// Those of the fixtures; other tests declare classes wrongly on purpose.
std::vector<OneClassDesc*> GetClassesWithMembers() {
  std::vector<OneClassDesc*> classes;
  for (OneClassDesc* desc : GetAllClasses())
    for (const char* name : {"Values", "LibraryValues", "Branch", "Leaf", "Unmentioned"})
      if (desc->Name == name) classes.push_back(desc);
  return classes;
}

std::unique_ptr<BaseClass> Make(const OneClassDesc& desc) { return std::unique_ptr<BaseClass>(desc.Prototype->New()); }

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
  const auto classes = GetClassesWithMembers();
  ASSERT_EQ(classes.size(), 5u);
  for (const OneClassDesc* desc : classes) {
    SCOPED_TRACE(desc->Name);
    const auto filled = Make(*desc), fromXml = Make(*desc), fromBinary = Make(*desc), copy = Make(*desc), reset = Make(*desc);
    const std::string fresh = SaveText(*filled);
    int seed = 1;
    ASSERT_EQ(FillNonDefault(*filled, seed), "");
    const std::string text = SaveText(*filled), bytes = SaveBytes(*filled);
    // Each leaf differs from the default, else a lost member would not show.
    XmlNode node, freshNode;
    ASSERT_GT(node.Parse(text), 0);
    ASSERT_GT(freshNode.Parse(fresh), 0);
    for (int32_t i = 0; i < freshNode.GetChildCount(); i++) {
      const std::string_view name = freshNode.GetChild(i)->GetNameView();
      StrBuffer before, after;
      freshNode.GetChild(i)->Print(before, 0);
      node.FindChild(name)->Print(after, 0);
      EXPECT_TRUE(name == "Elsewhere" || !(before == after)) << name;
    }

    XmlErrorLog errors;
    EXPECT_TRUE(LoadText(*fromXml, text, &errors));
    EXPECT_EQ(errors.Messages.View(), "");
    EXPECT_EQ(SaveText(*fromXml), text);
    EXPECT_TRUE(LoadBytes(*fromBinary, bytes));
    EXPECT_EQ(SaveText(*fromBinary), text);
    EXPECT_EQ(SaveBytes(*fromBinary), bytes);
    EXPECT_TRUE(filled->CopyTo(copy.get(), false));
    // A copy into a fresh object appends to its containers; what the class itself puts there is gone after the reset.
    EXPECT_EQ(SaveText(*copy), text);
    for (BaseClass* object : {filled.get(), fromXml.get(), fromBinary.get(), copy.get()}) ExpectParents(*object);

    // Reading over a filled object leaves nothing behind in its containers.
    EXPECT_TRUE(LoadText(*filled, text));
    EXPECT_EQ(SaveText(*filled), text);

    filled->ResetClass();
    reset->ResetClass();
    EXPECT_EQ(SaveText(*filled), SaveText(*reset));
  }
  EXPECT_THAT(host.Boxes, testing::IsEmpty());
}

TEST(ReflectionRegistry, DeltaFormOfADefaultIsEmptyAndOfChangesComplete) {
  RecordingHost host;
  for (const OneClassDesc* desc : GetClassesWithMembers()) {
    SCOPED_TRACE(desc->Name);
    const auto object = Make(*desc), read = Make(*desc);
    const auto saveDelta = [&] {
      SaveOnlyChanges = true;
      const std::string text = SaveText(*object);
      SaveOnlyChanges = false;
      return text;
    };
    EXPECT_EQ(saveDelta(), "<" + desc->Name + "></" + desc->Name + ">\n");
    EXPECT_EQ(SaveBytes(*object), std::string(1, 0));
    int seed = 100;
    ASSERT_EQ(FillNonDefault(*object, seed), "");
    const std::string delta = saveDelta();
    EXPECT_LE(delta.size(), SaveText(*object).size());
    EXPECT_TRUE(LoadText(*read, delta));
    EXPECT_EQ(SaveText(*read), SaveText(*object));
  }
}

TEST(ReflectionRegistry, HostileBinaryStopsWithoutHarm) {
  RecordingHost host;
  std::mt19937 random(5);
  for (const OneClassDesc* desc : GetClassesWithMembers()) {
    SCOPED_TRACE(desc->Name);
    const auto filled = Make(*desc);
    int seed = 3;
    ASSERT_EQ(FillNonDefault(*filled, seed), "");
    const std::string bytes = SaveBytes(*filled);
    for (size_t length = 0; length < bytes.size(); length++) {
      const auto object = Make(*desc);
      EXPECT_FALSE(LoadBytes(*object, std::string_view(bytes).substr(0, length))) << length;
      SaveText(*object);
    }
    for (int round = 0; round < 2000; round++) {
      std::string damaged = bytes;
      if (round % 2) {
        for (int i = 0; i < 3; i++) damaged[random() % damaged.size()] = char(random());
      } else {
        damaged.resize(random() % 60);
        for (char& c : damaged) c = char(random());
      }
      const auto object = Make(*desc);
      LoadBytes(*object, damaged);
      SaveText(*object);  // reads every member: what is broken inside shows under the sanitizers
    }
  }
}

TEST(ReflectionRegistry, EveryMemberIsDescribedAndItsDefaultReadsBack) {
  RecordingHost host;
  for (const OneClassDesc* desc : GetClassesWithMembers()) {
    SCOPED_TRACE(desc->Name);
    const auto object = Make(*desc);
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
      for (const double end : {info.MinValue, info.MaxValue}) {
        const bool isFloat = dynamic_cast<const ValueType&>(*type).HoldsFloats();
        const auto print = [&](double value) { return isFloat ? std::to_string(value) : std::to_string(int64_t(value)); };
        EXPECT_TRUE(SetMemberFromText(*object, info.Name, print(end), error)) << error;
        const double past = end == info.MinValue ? end - 1 : end + 1;
        EXPECT_FALSE(SetMemberFromText(*object, info.Name, print(past), error)) << past;
        EXPECT_THAT(error, testing::HasSubstr(" to "));
      }
      ASSERT_TRUE(SetMemberFromText(*object, info.Name, info.Default, error));
    }
    EXPECT_EQ(SaveText(*object), before);
  }
}
