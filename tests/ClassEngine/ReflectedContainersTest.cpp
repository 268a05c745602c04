// Containers, the row walk, what may be added, and input that nests without end.
#include <gmock/gmock.h>

#include <tuple>
#include <utility>

#include "ClassEngine/ReflectionFixtures.h"

using namespace fixture;
using testing::ElementsAre;

namespace {

class Guarded : public ClassArray<Values> {
 public:
  bool CanChangeElement(int32_t i) override { return i != 1; }
  bool Transparent = false;
  bool IsTransparentElement() const override { return Transparent; }
};

int CountDepth(const Branch& branch) {
  int depth = 1;
  for (const Branch* at = &branch; at->Clones.Count; at = at->Clones.Data[0]) depth++;
  return depth;
}

}  // namespace

TEST(ReflectedContainers, ItemsComeOnlyFromFittingClasses) {
  ClassArray<Values> array;
  ClonesArray<Values> clones;
  ClassPtr<Leaf> pointer;
  const std::tuple<BaseClass*, const char*, int32_t> wanted[] = {
      {&array, "Leaf", 0},      {&array, "Branch", 1}, {&array, "_str", -1},    {&array, "BaseClass", -1},
      {&array, "values", -1},   {&array, "", -1},      {&clones, "Leaf", -1},   {&clones, "Values", 0},
      {&pointer, "Values", -1}, {&pointer, "Leaf", 0}, {&array, "Unknown", -1}, {&array, "ClassArray.Values", -1}};
  for (const auto& [container, name, index] : wanted) EXPECT_EQ(container->ExpandWith(name), index) << name;
  EXPECT_EQ(array.Data[0]->Parent, &array);
  EXPECT_EQ(pointer->Parent, &pointer);
  EXPECT_STREQ(array.GetClassName(), "ClassArray.Values");
  EXPECT_STREQ(pointer.GetClassName(), "ClassPtr.Leaf");
  EXPECT_STREQ(cClassList<Leaf>().GetClassName(), "cClassList.Leaf");
}

TEST(ReflectedContainers, LoadReplacesAndCopyAppends) {
  ClassArray<Values> array, other;
  array.Add(new Leaf);
  EXPECT_EQ(LoadAndReport(array, "<A><Values></Values><Stranger></Stranger><Leaf><Veins>2</Veins></Leaf></A>"),
            "Unknown identifier Stranger of class ClassArray.Values.\n");
  ASSERT_EQ(array.Count, 2);
  other.Add(new Values);
  EXPECT_TRUE(array.FullCopy(&array, nullptr, &other, &other, nullptr));
  ASSERT_EQ(other.Count, 3);
  EXPECT_EQ(dynamic_cast<Leaf&>(*other.Data[2]).Veins, 2);
  EXPECT_EQ(other.Data[2]->Parent, &other);
  // CopyTo resets the target unless it is told that the target is clear.
  EXPECT_TRUE(array.CopyTo(&other, true));
  EXPECT_EQ(other.Count, 5);
  EXPECT_TRUE(array.CopyTo(&other, false));
  EXPECT_EQ(other.Count, 2);
  ClassPtr<Values> pointer;
  pointer.Set(new Leaf);
  ASSERT_TRUE(LoadText(pointer, "<Single></Single>"));
  EXPECT_FALSE(pointer);
}

// The target lies inside what is copied, or the other way round.
TEST(ReflectedContainers, CopiesIntoAndOutOfThemselves) {
  ClonesArray<Branch> array;
  array.Add(new Branch);
  ClonesArray<Branch>& inner = array[0]->Clones;
  inner.Add(new Branch);
  EXPECT_TRUE(array.FullCopy(nullptr, nullptr, &inner, nullptr, nullptr));
  ASSERT_EQ(inner.Count, 2);
  EXPECT_EQ(inner[1]->Clones.Count, 1);
  ClassPtr<Values> pointer;
  auto* outer = new Branch;
  pointer.Set(outer);
  outer->Single.Set(new Leaf);
  EXPECT_TRUE(pointer.FullCopy(nullptr, nullptr, &outer->Single, nullptr, nullptr));
  auto& copy = dynamic_cast<Branch&>(*outer->Single);
  EXPECT_NE(dynamic_cast<Leaf*>(copy.Single.Get()), nullptr);
  EXPECT_TRUE(outer->Single.FullCopy(nullptr, nullptr, &pointer, nullptr, nullptr));
  EXPECT_NE(dynamic_cast<Leaf*>(dynamic_cast<Branch&>(*pointer).Single.Get()), nullptr);
}

TEST(ReflectedContainers, MovingAndRemoving) {
  ClassArray<Values> array;
  for (int i = 0; i < 4; i++) array[array.ExpandWith("Values")]->Number = i;
  const auto order = [&] {
    std::string text;
    for (const Values* item : array) text += char('0' + item->Number);
    return text;
  };
  EXPECT_TRUE(array.MoveElement(0, 2));
  EXPECT_EQ(order(), "1203");
  EXPECT_TRUE(array.MoveElement(3, -3));
  EXPECT_EQ(order(), "3120");
  EXPECT_TRUE(array.MoveElement(1, 0));
  for (const auto& [i, delta] : {std::pair(0, -1), {3, 1}, {0, 4}, {-1, 0}, {4, 0}, {1, INT32_MAX}, {2, INT32_MIN}})
    EXPECT_FALSE(array.MoveElement(i, delta)) << i << " " << delta;
  EXPECT_TRUE(array.RemoveElement(1));
  EXPECT_FALSE(array.RemoveElement(3));
  EXPECT_EQ(order(), "320");
  std::unique_ptr<Values> taken(array.Release(0));
  EXPECT_EQ(taken->Parent, nullptr);
  EXPECT_EQ(order(), "20");
}

TEST(ReflectedContainers, RowWalk) {
  Guarded array;
  for (const char* name : {"Values", "Leaf", "Branch"}) array.ExpandWith(name);
  EXPECT_THAT(GetRows(array, 3 + 4), ElementsAre("Values", "Leaf", "Branch", "add..."));
  EXPECT_THAT(GetRows(array, 1), ElementsAre("Values", "Branch"));
  EXPECT_THAT(GetRows(array, 2 + 4), ElementsAre("Leaf", "add..."));
  for (const auto& [row, element] : {std::pair(1, 2), {2, -1}, {-1, -1}, {ElementRowBase + 1, 1}})
    EXPECT_EQ(array.VisibleToRealIndex(row, &array, 1), element) << row;
  EXPECT_EQ(array.GetVisibleElementType(3, &array, 7), nullptr);
  array.Transparent = true;  // nothing is fixed in a transparent container
  EXPECT_THAT(GetRows(array, 1), ElementsAre("Values", "Leaf", "Branch"));
  ClassPtr<Values> pointer;
  EXPECT_THAT(GetRows(pointer, 7), ElementsAre("add..."));
  pointer.Set(new Leaf);
  EXPECT_THAT(GetRows(pointer, 7), ElementsAre("Leaf"));
  Branch root;
  root.RegisterMembers();
  auto* below = new Branch;
  below->RegisterMembers();
  root.Single.Set(below);  // shows through to the branch, and nothing is added to what stands below
  for (BaseClass* container : {static_cast<BaseClass*>(&root.Mixed), static_cast<BaseClass*>(&root.Clones)})
    EXPECT_THAT(GetRows(*container, 7), ElementsAre("add..."));
  for (BaseClass* container : {static_cast<BaseClass*>(&below->Mixed), static_cast<BaseClass*>(&below->Single)})
    EXPECT_THAT(GetRows(*container, 7), ElementsAre());
}

TEST(ReflectedContainers, AddableClasses) {
  const auto offered = [](BaseClass& container, ClassFilter filter = nullptr) {
    AddableClasses list;
    const bool any = container.GetAddableClasses(list, &container, nullptr, filter);
    EXPECT_EQ(any, list.Names.Count > 0);
    std::vector<std::string> names(list.Names.begin(), list.Names.end());
    names.emplace_back("|");
    names.insert(names.end(), list.Categories.begin(), list.Categories.end());
    return names;
  };
  ClassArray<Values> array;
  ClonesArray<Leaf> clones;
  ClassPtr<Leaf> pointer;
  EXPECT_THAT(offered(array), testing::AllOf(testing::IsSupersetOf({"Branch", "Leaf", "|", "Plain", "Plants"}),
                                             testing::Not(testing::Contains("Values"))));
  EXPECT_THAT(offered(array, [](const char* name, void*) { return std::string_view(name) == "Leaf"; }), ElementsAre("Leaf", "|"));
  EXPECT_THAT(offered(clones), ElementsAre("Leaf", "|"));
  EXPECT_THAT(offered(pointer), ElementsAre("Leaf", "|"));
  pointer.Set(new Leaf);
  EXPECT_THAT(offered(pointer), ElementsAre("|"));
  RecordingHost host;
  EXPECT_EQ(RequireClassDesc("Nowhere"), nullptr);
  EXPECT_THAT(host.Boxes, ElementsAre("Class engine error|class not registered: \"Nowhere\""));
}

TEST(ReflectedContainers, DeepInputIsReadToTheBoundAndNoFurther) {
  RecordingHost host;
  constexpr int depth = 100000;
  Branch branch;
  EXPECT_THAT(LoadAndReport(branch, Repeat("<Branch><Clones>", depth) + Repeat("</Clones></Branch>", depth)),
              testing::HasSubstr("Objects nested deeper than 512 levels were not read."));
  EXPECT_EQ(CountDepth(branch), MaxObjectDepth + 1);  // the last one was made, and stayed empty
  // The same chain in binary: one member changed (Clones), one item, its class name.
  const int32_t clones = branch.FindElementIndex("Clones");
  Branch fromBytes;
  EXPECT_FALSE(LoadBytes(fromBytes, Repeat(std::string("\1") + char(clones) + std::string("\1\0\0\0\6Branch", 11), depth)));
  EXPECT_LE(CountDepth(fromBytes), MaxObjectDepth + 1);
  ClassArray<Values> array;
  EXPECT_FALSE(LoadBytes(array, std::string("\xFF\xFF\xFF\xFF\6Values\0", 12)));  // a count past the end
  EXPECT_EQ(array.Count, 0);
}
