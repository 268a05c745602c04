// Objects, members and values: the cases in which they are easily got wrong.
#include <gmock/gmock.h>

#include <tuple>
#include <utility>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ReflectionFixtures.h"

using namespace fixture;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Members that switch on and off.
class Sectioned : public BaseClass {
  REFLECTED(Sectioned, BaseClass)
  int32_t Active = -1;
  int Always = 1, InOne = 2, InTwo = 3;
  int32_t GetActiveSections() override { return Active; }
};
DECLARE_MEMBERS(Sectioned) {
  SECTION(1);
  Member<_int>("Mode", InOne);
  SECTION(1);
  Member<_int>("Always", Always);
  SECTION(2);
  Member<_int>("Mode", InTwo);
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

class Target : public BaseClass {
  REFLECTED(Target, BaseClass)
  float Number = 1;  // as in Values, of another type
  float Size = 2;
};
DECLARE_MEMBERS(Target) {
  Member<_float>("Number", Number);
  Member<_float>("Size", Size);
}

/// Written as changes, with a container and a part that begin with more than their own classes give them. It may lead to a
/// further file.
class Document : public Values {
  REFLECTED(Document, Values)
  ClassArray<Values> Items;
  Target Part;
  _str SourceFile, LoadingRules;
  bool IsDeltaSaved() const override { return true; }
  Document() {
    Items.Add(new Values);
    Part.Number = 5;
  }
};
DECLARE_MEMBERS(Document) {
  Member<ClassArray<Values>>("Items", Items);
  Member<Target>("Part", Part);
  Member<_str>("SourceFile", SourceFile);
  Member<_str>("LoadingRules", LoadingRules);
}

class Shapes : public EnumProvider {
 public:
  int32_t FindByName(const char* name) const override { return std::string_view(name) == "Torus" ? 77 : -1; }
  int32_t GetCount() const override { return 1; }
  const char* GetName(int32_t index) const override { return index == 0 ? "Torus" : nullptr; }
};

// What a declaration refuses to compile.
static_assert(!_int::Fits<short> && !_int::Fits<bool> && !_int::Fits<unsigned> && _int::Fits<Shape> && !_float::Fits<double>);
static_assert(!_bool::Fits<uint8_t> && !_index::Fits<float> && !_color::Fits<float> && !_BYTE::Fits<int8_t>);
static_assert(_cFloat3::Fits<Point> && _cFloat3::Fits<float[3]> && !_cFloat3::Fits<int[3]> && !_cFloat3::Fits<float[4]>);
static_assert(_cVec2i::Fits<Int2> && !_cFloat2::Fits<Int2> && _cInt::Fits<Shape> && _cStr::Fits<std::string>);

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
  LibraryValues library;
  library.Size = 7.038531e-26f;
  library.Plane[3] = -0.1f;
  library.Cell = {INT32_MIN, 3};
  const std::string text = SaveText(library);
  for (const char* part : {"<Size>7.038531e-26</Size>", "<Plane>0 0 0 -0.1</Plane>", "<Cell>-2147483648 3</Cell>"})
    EXPECT_THAT(text, HasSubstr(part));
  EXPECT_THAT(text, testing::Not(HasSubstr("Sliders")));
  EXPECT_TRUE(host.Boxes.empty());
}

TEST(Reflection, LoadingIsLenientAndReportsByType) {
  Values values;
  EXPECT_EQ(
      LoadAndReport(
          values,
          "<Values><Flag>  trueish</Flag><Number>x1</Number><Kind>Vanished</Kind><Size>1,5</Size><Byte>300</Byte><Char>q</Char>"
          "<Short>70000</Short><Word>-1</Word><Tint>zz</Tint><Bits>123456789</Bits><Count>9 apples</Count>"
          "<Center>1 2</Center><number>8</number><Nobody><Number>5</Number></Nobody><Strength>+0.5</Strength></Values>"),
      "unable to read DWORD from XML: x1\nunable to read BYTE from XML: 300\nunable to read char from XML: q\n"
      "unable to read short from XML: 70000\nunable to read WORD from XML: -1\nunable to read DWORD from XML: zz\n"
      "unable to read DWORD from XML: 123456789\nParsing error during \"_cFloat3\" read from XML: 1 2\n"
      "Unknown identifier number of class Values.\nUnknown identifier Nobody of class Values.\n");
  EXPECT_EQ(GetTexts(values, {"Flag", "Number", "Kind", "Size", "Count", "Strength"}), "true 7 Ball 1.5 9 0.5 ");

  LibraryValues library;
  library.Flag = true;
  const std::string before = SaveText(library);
  const char* const unread[][3] = {{"Flag", "_cBool", "perhaps"},     {"Slide", "_cSliderI", "2147483648"},
                                   {"SlideF", "_cSliderF", "3.5e38"}, {"SlideF", "_cSliderF", "nan"},
                                   {"SlideF", "_cSliderF", "-inf"},   {"Cell", "_cVec2i", "1"}};
  for (const auto& [member, tag, text] : unread)
    EXPECT_EQ(LoadAndReport(library, std::string("<L><") + member + ">" + text + "</" + member + "></L>"),
              std::string("Parsing error during \"") + tag + "\" read from XML: " + text + "\n");
  EXPECT_EQ(SaveText(library), before);
  for (const auto& [text, size] : {std::pair("7.038531e-26", 7.038531e-26f), {"1e-60", 0.0f}}) {
    EXPECT_TRUE(LoadText(library, std::string("<L><Size>") + text + "</Size></L>"));
    EXPECT_EQ(library.Size, size) << "by way of a double the first would come back as the float beside it";
  }
}

TEST(Reflection, RangedSlidersBringFilesIntoTheirRange) {
  LibraryValues values, wild, read;
  ASSERT_TRUE(LoadText(values, "<L><Slide>500</Slide><Kept>500</Kept><KeptF>-1e30</KeptF></L>"));
  EXPECT_EQ(GetTexts(values, {"Slide", "Kept", "KeptF"}), "500 100 0.1 ") << "an ordinary slider takes what the file says";
  wild.Kept = INT32_MIN;
  wild.KeptF = 7;
  EXPECT_TRUE(LoadBytes(read, SaveBytes(wild)));
  EXPECT_EQ(GetTexts(read, {"Kept", "KeptF"}), "-100 1 ");
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
  host.AnswerOk = false;
  EXPECT_EXIT(LoadText(values, "<Values><Nobody></Nobody></Values>", &errors), testing::ExitedWithCode(1), "");
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
    ASSERT_TRUE(method->IsMethod());
    const std::unique_ptr<BaseClass> fresh(method->New());
    _method<Special> copy;
    copy.CopyMethodFrom(method);
    s_Pings = 0;
    for (BaseClass* called : {method, fresh.get(), static_cast<BaseClass*>(&copy)}) called->Call(&object, nullptr);
    EXPECT_EQ(s_Pings, 3);
  }
}

TEST(Reflection, SectionsSwitchMembers) {
  Sectioned object, copy;
  const std::pair<int32_t, std::vector<std::string>> expected[] = {
      {-1, {"Mode", "Always", "Mode"}}, {1, {"Mode", "Always"}}, {0, {}}, {2, {"Always", "Mode"}}};
  for (const auto& [active, names] : expected) {
    object.Active = active;
    EXPECT_EQ(GetRows(object, 3), names);
  }
  ASSERT_TRUE(LoadText(object, "<Sectioned><Mode>40</Mode></Sectioned>"));
  EXPECT_EQ(object.InTwo, 40);  // of the section that is on
  EXPECT_EQ(SaveText(object), "<Sectioned>\n <Always>1</Always>\n <Mode>40</Mode>\n</Sectioned>\n");
  copy.Active = 2;
  EXPECT_TRUE(LoadBytes(copy, SaveBytes(object)));
  EXPECT_EQ(copy.InTwo, 40);
}

TEST(Reflection, EnumeratorWithProvider) {
  Enumerator& names = EnumRegistry::FindOrCreate("ReflectionTestShapes");
  names.Add("Cube", 10);
  names.Add("Disc", -1);
  const Shapes provider;
  names.SetProvider(&provider);
  EXPECT_EQ(names.EnumName(3), nullptr);
  EXPECT_EQ(names.FindIndex("Torus"), 2);
  BaseClass* index = EnsureTypeObject<_index>();
  int32_t read = 5;
  XmlNode node("Form");
  for (auto [value, text] : {std::pair(77, "Torus"), {10, "Cube"}, {-1, "Disc"}}) {  // the last looks like "unknown" and is not
    index->Save(&node, &value, &names);
    EXPECT_STREQ(node.GetValue(), text);
    index->Load(&node, &read, nullptr, &names);
    EXPECT_EQ(read, value);
  }
  names.SetProvider(nullptr);
  read = 77;
  index->Save(&node, &read, &names);
  EXPECT_STREQ(node.GetValue(), "Cube");
  XmlErrorLog errors;
  index->Load(&node, &read, &errors, nullptr);
  EXPECT_EQ(errors.Messages.View(), "Enumerator not assigned for type \"_index\" for variable Form\n");
}

class ReflectionFiles : public FolderTest {};

TEST_F(ReflectionFiles, Objects) {
  const std::string path = Path("object.xml");
  BaseClass plain;
  EXPECT_FALSE(plain.ReadFromFile(path.c_str()));
  Document document;
  document.Number = 12;
  ASSERT_TRUE(document.WriteToFile(path.c_str()));
  EXPECT_FALSE(SaveOnlyChanges);
  EXPECT_EQ(CurrentXmlFile, "unknown");
  EXPECT_THAT(ReadBack(path), testing::StartsWith("<Document>\n <Number>12</Number>\n <Items>\n"));

  MakeFile("object.xml", "<Document><Odd>1</Odd></Document>");
  EXPECT_TRUE(document.SafeReadFromFile(path.c_str(), true));
  EXPECT_TRUE(Boxes.empty());
  EXPECT_TRUE(document.SafeReadFromFile(path.c_str(), false));
  EXPECT_THAT(Boxes, ElementsAre(HasSubstr("Unknown identifier Odd of class Document.\nXML source:\n\n<Odd>1</Odd>\n")));
}

// What its own class begins with is a change where the owner begins with something else, and an emptied container is one where
// the owner begins with an item.
TEST_F(ReflectionFiles, PartsThatTheirOwnerMadeOtherwise) {
  const std::string path = Path("object.xml");
  for (const float number : {1.0f, 5.0f, 7.0f})
    for (const float size : {2.0f, 3.0f})
      for (const bool emptied : {false, true}) {
        Document saved, read, fromBytes;
        saved.Part.Number = number;
        saved.Part.Size = size;
        if (emptied) saved.Items.Clear();
        ASSERT_TRUE(saved.WriteToFile(path.c_str()) && read.ReadFromFile(path.c_str()));
        EXPECT_TRUE(LoadBytes(fromBytes, SaveBytes(saved)));
        for (Document* object : {&read, &fromBytes}) EXPECT_EQ(SaveText(*object), SaveText(saved));
        EXPECT_EQ(SaveBytes(saved) == std::string(1, 0), number == 5 && size == 2 && !emptied);
        EXPECT_THAT(ReadBack(path), HasSubstr("</Number>\n  <Size>")) << "the part is not whole";
      }
}

TEST_F(ReflectionFiles, RedirectedLoading) {
  const std::string path = Path("object.xml"), source = "<SourceFile>" + path + "</SourceFile>";
  MakeFile("object.xml", "<A><Number>10</Number><Byte>20</Byte><Word>30</Word>" + source + "</A>");
  Document document;
  EXPECT_TRUE(LoadText(document, "<A><Number>5</Number>" + source + "<LoadingRules>Byte, Word SourceFile</LoadingRules></A>"));
  EXPECT_EQ(GetTexts(document, {"Number", "Byte", "Word"}), "5 20 30 ");
}

TEST(Reflection, CopyBetweenClassesGoesByNameAndType) {
  Values values;
  values.Number = 50;
  values.Size = 1e-9f;  // text would make it 0
  Branch branch;
  Target target;
  for (BaseClass* to : {static_cast<BaseClass*>(&branch), static_cast<BaseClass*>(&target), static_cast<BaseClass*>(&values)})
    EXPECT_TRUE(values.FullCopy(&values, nullptr, to, to, nullptr));
  EXPECT_EQ(GetTexts(branch, {"Number", "Size"}), "50 1e-09 ");
  EXPECT_EQ(GetTexts(target, {"Number", "Size"}), "1 1e-09 ");
  EXPECT_FALSE(values.CopyTo(&branch, false));
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
  for (const char* name : {"zero", "one"}) names.Add(name, 0);
  MemoryBinStream stream;
  _str("one").SaveBin(nullptr, nullptr, stream, &names);
  EXPECT_EQ(stream.Size(), 3);
  stream.Write("\xFF\x02\x00\xFF\xFF\xFF", 6);
  for (const char* expected : {"one", "", ""}) {  // the last two have no entry
    _str read("old");
    EXPECT_TRUE(read.LoadBin(nullptr, nullptr, stream, &names));
    EXPECT_TRUE(read == expected);
  }
}

TEST(Reflection, XmlChunks) {
  Values written, read;
  written.Number = 33;
  MemoryBinStream stream;
  ASSERT_TRUE(WriteChunkFromXml(stream, ChunkTag("VALS"), written));
  EXPECT_EQ(ReadDWORD(stream), ChunkTag("VALS"));
  EXPECT_TRUE(ReadXmlChunk(stream, ReadDWORD(stream), read));
  EXPECT_EQ(read.Number, 33);
  stream.SetReadPos(8);
  EXPECT_FALSE(ReadXmlChunk(stream, 0xFFFFFFFFu, read));
  stream.SetReadPos(8);
  EXPECT_FALSE(ReadXmlChunk(stream, uint32_t(stream.Size() - 20), read));  // cut off
}

TEST(Reflection, HintsComeFromTheTranslation) {
  TranslateText = [](const char* key) {
    const std::string_view k = key;
    return k == "@ID::Values::Number" ? "How many" : k == "@HINT::Number" ? "Any number" : key;
  };
  StrBuffer id, hint;
  for (const int32_t row : {1, ElementRowBase + 1, 2}) {  // the last one is unknown to the translation
    Values().GetHint(id, hint, row);
    EXPECT_EQ(id.View(), row == 2 ? "" : "How many");
    EXPECT_EQ(hint.View(), row == 2 ? "" : "Any number");
  }
  TranslateText = [](const char* key) { return key; };
}

TEST(Reflection, StrictSettingSaysWhatIsWanted) {
  Values values;
  LibraryValues library;
  std::string error;
  const std::tuple<BaseClass*, const char*, const char*, const char*> refused[] = {
      {&values, "Count", "100001", "Count: expected a whole number from 1 to 100000, found \"100001\""},
      {&values, "Strength", "0.0999", "Strength: expected a number from 0.1 to 1, found \"0.0999\""},
      {&values, "Kind", "Torus", "Kind: expected one of Ball, Box, Cone, found \"Torus\""},
      {&values, "count", "5", "Values has no member count"},
      {&library, "Size", "1,5", "Size: expected a number, found \"1,5\""},
      {&library, "Cell", "1 2.5", "Cell: expected two whole numbers with blanks between, found \"1 2.5\""},
      // As floats this and the end of the range are one.
      {&library, "Number", "20000001", "Number: expected a whole number from -20000000 to 20000000, found \"20000001\""}};
  for (const auto& [object, member, text, wanted] : refused) {
    const std::string before = SaveText(*object);
    EXPECT_FALSE(SetMemberFromText(*object, member, text, error));
    EXPECT_EQ(error, wanted);
    EXPECT_EQ(SaveText(*object), before);
  }
  EXPECT_TRUE(SetMemberFromText(values, "Strength", "0.1", error)) << error;
  EXPECT_TRUE(SetMemberFromText(values, "Center", "1,2.5,-3e2", error)) << error;
  EXPECT_EQ(values.Center.z, -300);
}
