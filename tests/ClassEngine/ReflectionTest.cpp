// Objects, members and values: the cases in which they are easily got wrong.
#include <gmock/gmock.h>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ReflectionFixtures.h"

using namespace fixture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// Members that switch on and off.
class Sectioned : public BaseClass {
  REFLECTED(Sectioned, BaseClass)
  int32_t Active = -1;
  int Always = 1, InOne = 2, InTwo = 3, Alias = 4;
  int32_t GetActiveSections() override { return Active; }
};
DECLARE_MEMBERS(Sectioned) {
  Member<_int>("Always", Always);
  SECTION(1);
  Member<_int>("Mode", InOne);
  SECTION(1);
  SECTION(2);
  Member<_int>("InTwo", InTwo);
  Member<_int>("Mode", Alias);
  SECTION(-1);
}

int s_Shared = 5, s_Pings = 0;

/// Flags, statics, methods, accessors, notifications.
class Special : public BaseClass {
  REFLECTED(Special, BaseClass)
  int Locked = 1, Secret = 2, Volatile = 3, Watched = 0, Real = 9;
  std::string Seen;
  void DoIt() { s_Pings++; }
};
DECLARE_MEMBERS(Special) {
  Member<_int>("Locked", Locked).ReadOnly();
  Member<_int>("Secret", Secret).Hidden();
  Member<_int>("Volatile", Volatile).NoSave();
  StaticMember<_int>("Shared", s_Shared);
  Method("DoIt", &Special::DoIt);
  Member<_int>("Watched", Watched).Notify(+[](BaseClass* object) {
    auto& self = static_cast<Special&>(*object);
    self.Seen += std::to_string(self.Watched) + (CurrentBase == object ? ";" : "?");
  });
  Member<_int>("Through", Locked).Getter(+[](BaseClass* object) -> void* { return &static_cast<Special*>(object)->Real; });
  Member<_int>("Nowhere", Locked).Getter(+[](BaseClass*) -> void* { return nullptr; });
  Method<_cButton>("Press", &Special::DoIt);
}

/// Declared as the compiler can't see it.
class Misdeclared : public BaseClass {
  REFLECTED(Misdeclared, BaseClass)
  short Low = 1, High = 0;
  int Good = 3;
  float Two[2] = {};
};
int s_Far = 0;
DECLARE_MEMBERS(Misdeclared) {
  reflection::AddUncheckedMember<_int>("Low", &Low, "short", sizeof(Low));
  reflection::AddUncheckedMember<_int>("Far", &s_Far, "int", 4);
  DeclStatic = true;
  reflection::AddUncheckedMember<_int>("Near", &Good, "int", 4);
  Member<_int>("Good", Good);
  reflection::AddUncheckedMember<_cFloat3>("Three", &Two, "float[2]", sizeof(Two));
  reflection::AddUncheckedMember<_cFloat>("One", &Two, "int", 4);
  reflection::AddUncheckedMember<_cFloat2>("Two", &Two, "float[2]", sizeof(Two));
}

/// Redirected loading.
class Redirected : public BaseClass {
  REFLECTED(Redirected, BaseClass)
  _str SourceFile, LoadingRules;
  int A = 1, B = 2, C = 3;
};
DECLARE_MEMBERS(Redirected) {
  Member<_str>("SourceFile", SourceFile);
  Member<_str>("LoadingRules", LoadingRules);
  Member<_int>("A", A);
  Member<_int>("B", B);
  Member<_int>("C", C);
}

class Target : public BaseClass {
  REFLECTED(Target, BaseClass)
  float Number = 1;  // as in Values, of another type
  float Size = 2;
};
DECLARE_MEMBERS(Target) {
  Member<_float>("Number", Number);
  Member<_float>("Size", Size);
}

class Plain : public BaseClass {};

/// A container and a part that begin with more than their own classes give them.
class DeltaSaved : public Values {
  REFLECTED(DeltaSaved, Values)
  ClassArray<Values> Items;
  Target Part;
  bool IsDeltaSaved() const override { return true; }
  DeltaSaved() {
    Items.Add(new Values);
    Part.Number = 5;
  }
};
DECLARE_MEMBERS(DeltaSaved) {
  Member<ClassArray<Values>>("Items", Items);
  Member<Target>("Part", Part);
}

class Shapes : public EnumProvider {
 public:
  int32_t FindByName(const char* name) const override { return std::string_view(name) == "Torus" ? 77 : -1; }
  int32_t GetCount() const override { return 1; }
  const char* GetName(int32_t index) const override { return index == 0 ? "Torus" : nullptr; }
};

// What a declaration refuses to compile.
static_assert(!_int::Fits<short> && !_int::Fits<bool> && !_int::Fits<long> && !_int::Fits<unsigned> && _int::Fits<Shape>);
static_assert(!_float::Fits<double> && !_bool::Fits<uint8_t> && !_index::Fits<float> && !_color::Fits<float> &&
              !_BYTE::Fits<int8_t>);
static_assert(_cFloat3::Fits<Point> && _cFloat3::Fits<float[3]> && !_cFloat3::Fits<int[3]> && !_cFloat3::Fits<float[4]>);

}  // namespace

TEST(Reflection, ValuesHaveTheirText) {
  RecordingHost host;
  Values values;
  _str outside("held");
  values.Elsewhere = &outside;
  values.Center = {0.1f, -2, 1e-9f};
  values.Texture = host.LoadTexture("Bark.png");
  EXPECT_EQ(SaveText(values),
            "<Values>\n <Flag>false</Flag>\n <Number>7</Number>\n <Kind>Box</Kind>\n <Size>0.500000</Size>\n <Byte>1</Byte>\n"
            " <Char>-1</Char>\n <Short>-2</Short>\n <Word>3</Word>\n <Tint>FF102030</Tint>\n <Bits>00000000</Bits>\n"
            " <Texture>Bark.png</Texture>\n <Strength>0.250000</Strength>\n <Count>4</Count>\n <Center>0.1 -2 1e-09</Center>\n"
            " <Text></Text>\n <Font></Font>\n <Elsewhere>held</Elsewhere>\n</Values>\n");
  EXPECT_THAT(host.Boxes, IsEmpty());
}

TEST(Reflection, LoadingIsLenientAndReportsByType) {
  Values values;
  XmlErrorLog errors;
  ASSERT_TRUE(LoadText(
      values,
      "<Values><Flag>  trueish</Flag><Number>x1</Number><Kind>Vanished</Kind><Size>1,5</Size><Byte>300</Byte><Char>q</Char>"
      "<Short>70000</Short><Word>-1</Word><Tint>zz</Tint><Bits>123456789</Bits><Count>9 apples</Count>"
      "<Center>1 2</Center><number>8</number><Nobody><Number>5</Number></Nobody><Strength>+0.5</Strength></Values>",
      &errors));
  EXPECT_EQ(errors.Messages.View(),
            "unable to read DWORD from XML: x1\nunable to read BYTE from XML: 300\nunable to read char from XML: q\n"
            "unable to read short from XML: 70000\nunable to read WORD from XML: -1\nunable to read DWORD from XML: zz\n"
            "unable to read DWORD from XML: 123456789\nParsing error during \"_cFloat3\" read from XML: 1 2\n"
            "Unknown identifier number of class Values.\nUnknown identifier Nobody of class Values.\n");
  EXPECT_TRUE(values.Flag);
  EXPECT_EQ(values.Kind, Shape::Ball);
  EXPECT_EQ(values.Size, 1.5f);
  EXPECT_EQ(values.Count, 9);
  EXPECT_EQ(values.Strength, 0.5f);
  EXPECT_EQ(values.Number, 7);
  EXPECT_EQ(values.Byte, 1);
}

TEST(Reflection, BoxesShowTheSourceCutAndCancelEndsTheProcess) {
  RecordingHost host;
  Values values;
  XmlErrorLog errors;
  errors.ShowBox = true;
  const std::string longText(600, 'x');
  ASSERT_TRUE(LoadText(values, "<Values><Number>" + longText + "</Number></Values>", &errors));
  const std::string source = ("<Number>" + longText).substr(0, 500) + "...";
  EXPECT_THAT(host.Boxes,
              ElementsAre("Class engine error|unable to read DWORD from XML: " + longText + "\nXML source:\n\n" + source + "\n"));
  EXPECT_EXIT(
      {
        host.AnswerOk = false;
        LoadText(values, "<Values><Nobody></Nobody></Values>", &errors);
      },
      testing::ExitedWithCode(1), "");
}

TEST(Reflection, WrongDeclarationsAreShownAndTheClassStaysUsable) {
  RecordingHost host;
  Misdeclared object;
  object.RegisterMembers();
  EXPECT_THAT(host.Boxes, ElementsAre("Class engine error|Incompartible type used for short Misdeclared::Low : _int",
                                      "Class engine error|CRITICAL: Static member <_int Far> registered like non-static",
                                      "Class engine error|CRITICAL: Non-static member <_int Near> registered like static",
                                      "Class engine error|Incompatible type used for \"float[2]\" Misdeclared::Three : _cFloat3",
                                      "Class engine error|Incompatible type used for \"int\" Misdeclared::One : _cFloat"));
  EXPECT_EQ(object.GetElementCount(), 7);
  ASSERT_TRUE(LoadText(object, "<Misdeclared><Low>65541</Low><Good>6</Good></Misdeclared>"));
  EXPECT_EQ(object.Low, 5);
  EXPECT_EQ(object.High, 1);
  EXPECT_EQ(object.Good, 6);
  EXPECT_EQ(FindClass("struct Misdeclared"), FindClass("Misdeclared"));
}

TEST(Reflection, FlagsStaticsMethodsAndAccessors) {
  Special object, other;
  EXPECT_TRUE(
      LoadText(object, "<Special><Shared>6</Shared><Watched>4</Watched><Through>10</Through><Nowhere>1</Nowhere></Special>"));
  EXPECT_EQ(s_Shared, 6);
  EXPECT_EQ(object.Real, 10);
  EXPECT_TRUE(object.FullCopy(&object, nullptr, &other, &other, nullptr));
  EXPECT_EQ(other.Seen, "4?");  // a copy is no load: CurrentBase is nobody
  EXPECT_EQ(object.Seen, "4;");
  EXPECT_EQ(SaveText(object),
            "<Special>\n <Locked>1</Locked>\n <Secret>2</Secret>\n <Shared>6</Shared>\n <Watched>4</Watched>\n"
            " <Through>10</Through>\n <Nowhere>NULL</Nowhere>\n</Special>\n");
  EXPECT_TRUE(object.IsElementReadOnly(0, &object, 3));
  EXPECT_FALSE(object.IsElementReadOnly(1, &object, 3));
  EXPECT_TRUE(object.IsElementHiddenInPanel(ElementRowBase + 1, &object, 3));
  for (const char* name : {"DoIt", "Press"}) {
    BaseClass* method = object.GetElementType(object.FindElementIndex(name));
    EXPECT_STREQ(method->GetClassName(), name[0] == 'D' ? "_method" : "_cButton");
    ASSERT_TRUE(method->IsMethod());
    const std::unique_ptr<BaseClass> fresh(method->New());
    _method<Special> copy;
    copy.CopyMethodFrom(method);
    s_Pings = 0;
    for (BaseClass* called : {method, fresh.get(), static_cast<BaseClass*>(&copy)}) called->Call(&object, nullptr);
    EXPECT_EQ(s_Pings, 3);
  }
  s_Shared = 5;
}

TEST(Reflection, SectionsSwitchMembers) {
  Sectioned object;
  const auto names = [&](int32_t active) {
    object.Active = active;
    std::string text;
    for (int32_t i = 0; i < object.GetElementCount(); i++) text += std::string(object.GetElementName(i)) + " ";
    return text;
  };
  EXPECT_EQ(names(-1), "Always Mode InTwo Mode ");
  EXPECT_EQ(names(1), "Always Mode ");
  EXPECT_EQ(names(2), "Always InTwo Mode ");
  ASSERT_TRUE(LoadText(object, "<Sectioned><Mode>40</Mode></Sectioned>"));
  EXPECT_EQ(object.Alias, 40);  // of the section that is on
  EXPECT_EQ(object.InOne, 2);
  Sectioned copy;
  copy.Active = 2;
  EXPECT_TRUE(LoadBytes(copy, SaveBytes(object)));
  EXPECT_EQ(copy.Alias, 40);
  object.Active = 0;
  EXPECT_EQ(object.GetElementCount(), 0);
  EXPECT_EQ(SaveText(object), "<Sectioned></Sectioned>\n");
}

TEST(Reflection, EnumeratorWithProvider) {
  Enumerator& names = EnumRegistry::FindOrCreate("ReflectionTestShapes");
  EXPECT_EQ(&names, EnumRegistry::Find("ReflectionTestShapes"));
  names.Add("Cube", 10);
  names.Add("Disc", -1);
  const Shapes provider;
  names.SetProvider(&provider);
  EXPECT_EQ(names.GetCount(), 3);
  EXPECT_STREQ(names.EnumName(2), "Torus");
  EXPECT_EQ(names.EnumName(3), nullptr);
  EXPECT_EQ(names.EnumValue(2), 77);
  EXPECT_EQ(names.FindValue("Torus"), 77);
  EXPECT_EQ(names.FindValue("Nothing"), -1);
  EXPECT_EQ(names.FindIndex("Torus"), 2);
  int32_t value = 77;
  BaseClass* index = EnsureTypeObject<_index>();
  XmlNode node;
  index->Save(&node, &value, &names);
  EXPECT_STREQ(node.GetValue(), "Torus");
  node.SetValue("Disc");
  index->Load(&node, &value, nullptr, &names);
  EXPECT_EQ(value, -1);  // a value that looks like "unknown" is none
  names.SetProvider(nullptr);
  value = 77;
  index->Save(&node, &value, &names);
  EXPECT_STREQ(node.GetValue(), "Cube");
  RecordingHost host;
  XmlErrorLog errors;
  node.SetName("Form");
  index->Load(&node, &value, &errors, nullptr);
  EXPECT_EQ(errors.Messages.View(), "Enumerator not assigned for type \"_index\" for variable Form\n");
}

class ReflectionFiles : public FolderTest {};

TEST_F(ReflectionFiles, Objects) {
  const std::string path = Path("object.xml");
  Plain plain;
  EXPECT_FALSE(plain.ReadFromFile(path.c_str()));
  DeltaSaved saved, read;
  saved.Number = 12;
  saved.Items.Clear();
  ASSERT_TRUE(saved.WriteToFile(path.c_str()));
  EXPECT_FALSE(SaveOnlyChanges);
  EXPECT_EQ(CurrentXmlFile, "unknown");
  EXPECT_EQ(ReadBack(path),
            "<DeltaSaved>\n <Number>12</Number>\n <Items></Items>\n <Part>\n  <Number>5.000000</Number>\n"
            "  <Size>2.000000</Size>\n </Part>\n</DeltaSaved>\n");
  ASSERT_TRUE(read.ReadFromFile(path.c_str()));
  EXPECT_EQ(read.Number, 12);
  EXPECT_EQ(read.Items.Count, 0);  // emptied is a change too, where the class begins with an item

  MakeFile("object.xml", "<DeltaSaved><Odd>1</Odd></DeltaSaved>");
  EXPECT_TRUE(read.SafeReadFromFile(path.c_str(), true));
  EXPECT_THAT(Boxes, IsEmpty());
  EXPECT_TRUE(read.SafeReadFromFile(path.c_str(), false));
  EXPECT_THAT(Boxes, ElementsAre(HasSubstr("Unknown identifier Odd of class DeltaSaved.\nXML source:\n\n<Odd>1</Odd>\n")));
}

// What its own class begins with is a change where the owner begins with something else.
TEST_F(ReflectionFiles, PartsThatTheirOwnerMadeOtherwise) {
  const std::string path = Path("object.xml");
  for (const float number : {1.0f, 5.0f, 7.0f})
    for (const float size : {2.0f, 3.0f}) {
      DeltaSaved saved, read, fromBytes;
      saved.Part.Number = number;
      saved.Part.Size = size;
      ASSERT_TRUE(saved.WriteToFile(path.c_str()) && read.ReadFromFile(path.c_str()));
      EXPECT_TRUE(LoadBytes(fromBytes, SaveBytes(saved)));
      for (const DeltaSaved* object : {&read, &fromBytes}) {
        EXPECT_EQ(object->Part.Number, number);
        EXPECT_EQ(object->Part.Size, size);
      }
      const bool fresh = number == 5 && size == 2;
      EXPECT_THAT(ReadBack(path), HasSubstr("<Size>" + std::string(size == 2 ? "2" : "3") + ".000000</Size>")) << "not whole";
      EXPECT_EQ(SaveBytes(saved) == std::string(1, 0), fresh);
    }
}

TEST_F(ReflectionFiles, RedirectedLoading) {
  const std::string path = Path("object.xml");
  MakeFile("object.xml", "<Redirected><A>10</A><B>20</B><C>30</C><SourceFile>" + path + "</SourceFile></Redirected>");
  Redirected redirected;
  EXPECT_TRUE(LoadText(redirected, "<Redirected><A>5</A><SourceFile>" + path +
                                       "</SourceFile><LoadingRules>B, C SourceFile</LoadingRules></Redirected>"));
  EXPECT_EQ(redirected.A, 5);
  EXPECT_EQ(redirected.B, 20);
  EXPECT_EQ(redirected.C, 30);
}

TEST(Reflection, CopyBetweenClassesGoesByNameAndType) {
  Values values;
  values.Number = 50;
  values.Size = 1e-9f;  // text would make it 0
  Branch branch;
  EXPECT_TRUE(values.FullCopy(&values, nullptr, &branch, &branch, nullptr));
  EXPECT_EQ(branch.Number, 50);
  EXPECT_EQ(branch.Size, 1e-9f);
  Target target;
  EXPECT_TRUE(values.FullCopy(&values, nullptr, &target, &target, nullptr));
  EXPECT_EQ(target.Number, 1);
  EXPECT_EQ(target.Size, 1e-9f);
  EXPECT_FALSE(values.CopyTo(&branch, false));
  EXPECT_TRUE(values.FullCopy(&values, nullptr, &values, &values, nullptr));
}

TEST(Reflection, StringsInBinary) {
  for (const size_t length : {0u, 1u, 253u, 254u, 65535u}) {
    MemoryBinStream stream;
    _str written(std::string(length, 'a')), read("old");
    written.SaveBin(nullptr, nullptr, stream);
    EXPECT_EQ(size_t(stream.Size()), length + (length < 254 ? 1 : 3)) << length;
    EXPECT_TRUE(read.LoadBin(nullptr, nullptr, stream));
    EXPECT_TRUE(read == written) << length;
  }
  LargeNameHash names;
  names.Add("zero", 0);
  names.Add("one", 0);
  MemoryBinStream stream;
  _str("one").SaveBin(nullptr, nullptr, stream, &names);
  EXPECT_EQ(stream.Size(), 3);
  _str read;
  EXPECT_TRUE(read.LoadBin(nullptr, nullptr, stream, &names));
  EXPECT_TRUE(read == "one");
  for (const char* index : {"\xFF\x02\x00", "\xFF\xFF\xFF"}) {
    stream.Clear();
    stream.Write(index, 3);
    EXPECT_TRUE(read.LoadBin(nullptr, nullptr, stream, &names));
    EXPECT_TRUE(read.Empty());
  }
}

TEST(Reflection, XmlChunks) {
  Values written, read;
  written.Number = 33;
  MemoryBinStream stream;
  ASSERT_TRUE(WriteChunkFromXml(stream, ChunkTag("VALS"), written));
  EXPECT_EQ(stream.GetData()[stream.Size() - 1], 0);  // the terminator counts
  EXPECT_EQ(ReadDWORD(stream), ChunkTag("VALS"));
  EXPECT_TRUE(ReadXmlChunk(stream, ReadDWORD(stream), read));
  EXPECT_EQ(read.Number, 33);
  stream.SetReadPos(8);
  EXPECT_FALSE(ReadXmlChunk(stream, 0xFFFFFFFFu, read));
  stream.SetReadPos(8);
  EXPECT_FALSE(ReadXmlChunk(stream, uint32_t(stream.Size() - 20), read));  // cut off
}

TEST(Reflection, HintsComeFromTheTranslation) {
  Values values;
  StrBuffer id, hint;
  values.GetHint(id, hint, 1);
  EXPECT_TRUE(id.Empty() && hint.Empty());
  TranslateText = [](const char* key) {
    const std::string_view k = key;
    return k == "@ID::Values::Number" ? "How many" : k == "@HINT::Number" ? "Any number" : key;
  };
  values.GetHint(id, hint, ElementRowBase + 1);
  TranslateText = [](const char* key) { return key; };
  EXPECT_EQ(id.View(), "How many");
  EXPECT_EQ(hint.View(), "Any number");
}

TEST(Reflection, StrictSettingSaysWhatIsWanted) {
  RecordingHost host;
  Values values;
  std::string error;
  EXPECT_FALSE(SetMemberFromText(values, "Count", "100001", error));
  EXPECT_EQ(error, "Count: expected a whole number from 1 to 100000, found \"100001\"");
  EXPECT_FALSE(SetMemberFromText(values, "Strength", "0.0999", error));
  EXPECT_EQ(error, "Strength: expected a number from 0.1 to 1, found \"0.0999\"");
  EXPECT_TRUE(SetMemberFromText(values, "Strength", "0.1", error)) << error;
  EXPECT_FALSE(SetMemberFromText(values, "Kind", "Torus", error));
  EXPECT_EQ(error, "Kind: expected one of Ball, Box, Cone, found \"Torus\"");
  EXPECT_FALSE(SetMemberFromText(values, "count", "5", error));
  EXPECT_EQ(error, "Values has no member count");
  EXPECT_TRUE(SetMemberFromText(values, "Center", "1,2.5,-3e2", error)) << error;
  EXPECT_EQ(values.Center.z, -300);
  LibraryValues library;
  EXPECT_FALSE(SetMemberFromText(library, "Number", "20000001", error));  // as floats the two are one
  EXPECT_TRUE(SetMemberFromText(library, "Number", "20000000", error)) << error;
  EXPECT_FALSE(SetMemberFromText(library, "Size", "1,5", error));
  EXPECT_EQ(error, "Size: expected a number, found \"1,5\"");
  EXPECT_FALSE(SetMemberFromText(library, "Cell", "1 2.5", error));
  EXPECT_EQ(error, "Cell: expected two whole numbers with blanks between, found \"1 2.5\"");
  EXPECT_EQ(values.Count, 4);
  EXPECT_EQ(values.Kind, Shape::Box);
}
