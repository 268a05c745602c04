#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tbb/global_control.h>

#include <map>
#include <memory>
#include <random>

#include "MeshFiles.h"
#include "ObjReference.h"
#include "comms/Log.h"
#include "comms/MeshFault.h"
#include "comms/ObjMaterials.h"
#include "comms/ObjReader.h"
#include "comms/cMeshIO.h"

using namespace comms;

namespace {

struct Outcome {
  bool IsRead = false;
  cRawMesh Mesh;
  std::string Log;
};

Outcome ReadWith(const std::string& path, int64_t chunkBytes = 1 << 19) {
  cFile file;
  file.Open(path.c_str(), cFile::Read);
  const LogRecorder log;
  Outcome outcome;
  outcome.IsRead = ReadObj(file, outcome.Mesh, {chunkBytes});
  outcome.Log = log.Text();
  return outcome;
}

// Bits, so that NaN would equal NaN and -0 would not equal 0.
template <class List>
bool SameBytes(const List& a, const List& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

void ExpectSame(const cRawMesh& ours, const cRawMesh& reference) {
  EXPECT_TRUE(SameBytes(ours.Positions, reference.Positions));
  EXPECT_TRUE(SameBytes(ours.TexCoords, reference.TexCoords));
  EXPECT_TRUE(SameBytes(ours.Normals, reference.Normals));
  EXPECT_TRUE(SameBytes(ours.Polygons, reference.Polygons));
  EXPECT_TRUE(SameBytes(ours.VertexColors, reference.VertexColors));
  EXPECT_EQ(Names(ours.Materials), Names(reference.Materials));
  ASSERT_EQ(Names(ours.Objects), Names(reference.Objects));
  for (size_t i = 0; i < reference.Objects.size(); i++) {
    const cRawObject &a = ours.Objects[i], &b = reference.Objects[i];
    EXPECT_TRUE(a.Matrix == b.Matrix && a.Pivot == b.Pivot && a.HasPivot == b.HasPivot) << b.Name;
  }
}

// Whether it is read, by both.
bool Compare(const std::string& path, std::initializer_list<int64_t> chunks) {
  ObjReference reader(TestFolder::ReadText(path));
  cRawMesh reference;
  const bool isRead = reader.Read(reference);
  for (const int threads : {1, 2})
    for (const int64_t chunk : chunks) {
      SCOPED_TRACE(path + ", threads " + std::to_string(threads) + ", chunk " + std::to_string(chunk));
      const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, size_t(threads));
      const Outcome ours = ReadWith(path, chunk);
      EXPECT_EQ(ours.IsRead, isRead) << ours.Log;
      EXPECT_TRUE(ours.Log.starts_with(reader.Message())) << ours.Log << reader.Message();
      if (isRead) ExpectSame(ours.Mesh, reference);
    }
  return isRead;
}

// Each sign stands for one of its choices, drawn by chance; all else stands for itself.
const std::map<char, cList<std::string>>& Grammar() {
  static const std::map<char, cList<std::string>> grammar = {
      {'~', {" ", " ", " ", "  ", "\t"}},
      {'%', {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}},
      {'=', {"33333333=", "33333333=", "33333333=", "33333333=", "33333333=", ""}},
      {'*', {"nan", "inf", "1e99", "-1e-50", "1e", "+.5", "5.", "-", "0", "-0.0", "1,25", "99999999999999999999"}},
      {'$', {"~%.%%%", "~-%%%.%%%%%%", "~%%%%.%", "~-%", "~%", "~%%%.%%%", "~-%%.%%", "~0.%=", "~*"}},  // numbers
      {';', {"99999999999", "-99999999999", "2147483648", "1.5", "+3", "3x", "-2"}},
      {'!', {"1%", "2%%", "3%%%%", "9%%%%%", "5%%", "7", "6%%%", "-1", "-%;", ";"}},              // indices
      {'@', {"~!", "~!", "~!", "~!", "~!/!", "~!//!", "~!/!/!", "~!/!/!", "~/!/", "~!/!/!/!/"}},  // corners
      {'&', {std::string(253, '@'), std::string(254, '@'), std::string(255, '@'), std::string(300, '@')}},
      {'<', {"g one", "o two", "g", "g one two", "g three", "o NewInstance|s|i", "usemtl a", "usemtl b c", "usemtl"}},
      {'`',
       {"mtllib lib.mtl", "s 1", "# v 1", "#", " v 1 2 3", "vp 1 2", "# matrix4x4", "#pivot 1 2 3", "#pivot 1.500000 2.5",
        "#pivot", "#MRGB ff00ff80804020ff", "#MRGB 12345678x 0xab -1 +f  zz00000", "#MRGB", "#MRGBx 11111111", " #MRGB 11111111",
        "#MRGB\t1234567812345678"}},
      {'>', {"\"inst\" x \"src\"", "i y s", "\" z \""}},
      {'?', {"# matrix4x4 >$$$$$$$$$$$$$$$$", "# matrix4x4 >$$$$$$$$$$$$$$", "v$$$=$", "v" + std::string(300, '$'), "f&"}},
      {'{', {"v$$", "vt$", "vn$$", "f@@~0", "f@~x@", "f~-@@"}},  // these end the load
      {'}', {"<",     "<",     "`",     "`",    "?",    "v$$$",  "v$$$",   "v$$$", "v$$$", "v$$$$$$", "vt$$",
             "vt$$$", "vn$$$", "vn$$$", "f@@@", "f@@@", "f@@@@", "f@@@@@", "f",    "f@",   "f@@"}},
      {'^', {"#", "\\", "\t", " ", "/", "\\\n", "\\\r\n", "//"}},
      {'|', {"\n", "\n", "\n", "\n", "\r\n", "\r", "\n\n", " \n"}}};
  return grammar;
}

class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : m_Random(seed) {}
  std::string Make() {
    const int spoiled = Pick(4) ? 0 : 4;  // percent
    const bool mayFail = !Pick(3);
    std::string text;
    for (int i = Pick(120); i >= 0; i--) {
      std::string line = Draw(mayFail && !Pick(150) ? '{' : '}');
      if (Pick(100) < spoiled * 3) line.insert(size_t(Pick(int(line.size()) + 1)), Draw('^'));
      if (Pick(100) < spoiled)
        for (int k = Pick(8); k >= 0; k--) line += char(Pick(256));
      text += line + (mayFail && !Pick(8) ? "\\\n" : Draw('|'));
    }
    return text + (Pick(5) ? "" : Draw('}')) + (Pick(10) ? "" : "\\");
  }

 private:
  int Pick(int count) { return int(m_Random() % unsigned(count)); }
  std::string Draw(char sign) {
    const auto found = Grammar().find(sign);
    if (found == Grammar().end()) return {sign};
    std::string text;
    for (const char part : found->second[size_t(Pick(int(found->second.size())))]) text += Draw(part);
    return text;
  }
  std::mt19937 m_Random;
};

}  // namespace

TEST(ObjReader, AgreesWithTheSlowReaderOnRandomText) {
  const TestFolder folder;
  int read = 0;
  for (unsigned seed = 0; seed < 600 && !testing::Test::HasFailure(); seed++) {
    SCOPED_TRACE(seed);
    read += Compare(folder.Write("random.obj", TextMaker(seed).Make()), {seed % 16 ? 61 : 1, 700, 1 << 19});
  }
  EXPECT_GT(read, 200);  // the texts are not all refused
  EXPECT_LT(read, 500);
}

TEST(ObjReader, AgreesWithTheSlowReaderOnRealMeshes) {
  const std::string data = MORVANE_SHARED_DIR "/data";
  if (!std::filesystem::is_directory(data)) GTEST_SKIP() << data << " is not there";
  for (const auto& entry : std::filesystem::directory_iterator(data))
    EXPECT_TRUE(entry.path().extension() != ".obj" || Compare(entry.path().string(), {5000, 1 << 19})) << entry.path();
}

// Known answers beside the reference, which could err the same way.
TEST(ObjReader, LinesFollowTheirRules) {
  const TestFolder folder;
  std::string text =
      "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nvt 1 1\nvt 2 2\nf 1/1/1 2 3\nf 1 2\nf -1 -2 -3\n"
      "g a\n#pivot 1.000000 2.000000 3.000000\ng b\ng a\n# matrix4x4 \"inst\" x \"src\" 1 0 0 0 0 1 0 0 0 0 1 0 4 5 6 1\ng a\n";
  text += "v 4 5 6" + std::string(2040, ' ') + "v 7 8 9\nf";  // the 2048th character begins a line
  for (int i = 1; i < 300; i++) text += " " + std::to_string(i);
  const Outcome outcome = ReadWith(folder.Write("case.obj", text));
  ASSERT_TRUE(outcome.IsRead) << outcome.Log;
  const cRawMesh& mesh = outcome.Mesh;
  EXPECT_EQ(mesh.Positions.size(), 5u);
  // A corner without a texture coordinate takes the last one so far; 300 tokens count as five.
  const cList<cRawPolyRec> expected = {{{3, 0, 0}},  {{0, 0, 0}},  {{1, 4, -1}}, {{2, 4, -1}}, {{3, 0, 0}},
                                       {{2, 4, -1}}, {{1, 4, -1}}, {{0, 4, -1}}, {{4, 0, 1}},  {{0, 4, -1}},
                                       {{1, 4, -1}}, {{2, 4, -1}}, {{3, 4, -1}}};
  EXPECT_EQ(cList<cRawPolyRec>(mesh.Polygons.begin(), mesh.Polygons.end()), expected);
  EXPECT_EQ(Names(mesh.Objects), "default\na\nb\nNewInstance|src|inst\n") << "two lines of a name are one object";
  EXPECT_EQ(mesh.Objects[1].Pivot, (cVec3{1, 2, 3}));
  EXPECT_EQ(mesh.VertexColors.size(), 3u) << "the pivot's numbers count as colours too";
  EXPECT_EQ(mesh.Objects[3].Matrix.m[3][1], 5);
}

TEST(ObjReader, FailuresNameFileAndLine) {
  const TestFolder folder;
  const struct {
    const char *Text, *Line;
  } cases[] = {{"v 1 2 3\r\n\r\nv 1 2\r\nvt 1\r\n", "line 3"},
               {"# a\rvt 1 # b\n", "line 2"},
               {"vn 1 2", "line 1"},
               {"v 1 2 3\nf 1 1 1\nf 0 1 2\nv 1\n", "line 3"}};
  for (const auto& bad : cases) {
    const std::string path = folder.Write("bad.obj", bad.Text);
    const LogRecorder log;
    EXPECT_EQ(cMeshIO::LoadMesh(path.c_str()), nullptr);
    EXPECT_NE(log.Text().find(path + "\" ended at " + bad.Line), std::string::npos) << log.Text();
  }
}

// What can be read and not worked on is found by a second look at the text, however far down it stands.
TEST(ObjReader, FaultsOfAMeshNameFileAndLine) {
  const TestFolder folder;
  const std::string head = "v 0 0 0\r\nv 1 0 0\r\n# c\r\nv 0 1 \\\n0\r\n", face = "f 1 2 3\n";
  std::string many;
  for (int i = 0; i < 200000; i++) many += face;  // more than one chunk
  const struct {
    std::string Text;
    const char* Fault;
  } cases[] = {{head + face, ""},
               {head + many + "f 1 2\n\tf 3 1 9 # far\n" + many, ", line 200007: the face names vertex 9, the file holds 3"},
               {head + "f 1 2 -9\n", ", line 6: the face names a vertex before the first with \"-9\", the file holds 3"},
               {head + "vt 1 1\nf 1/1 2/7 3\n", ", line 7: the face names texture coordinate 7, the file holds 1"},
               {head + "f 1//2 2 3\n", ", line 6: the face names normal 2, the file holds 0"},
               {head + "v 1 -1e99 3\n" + face, ", line 6: the vertex is \"1 -1e99 3\", three finite numbers are expected"}};
  for (const auto& c : cases) {
    const std::string path = folder.Write("case.obj", c.Text);
    const Outcome outcome = ReadWith(path);
    ASSERT_TRUE(outcome.IsRead) << outcome.Log;
    EXPECT_EQ(FindMeshFault(outcome.Mesh, path), *c.Fault ? path + c.Fault : "");
  }
  const std::string words = folder.Write("case.obj", head + many + "v 1 nan 3\nv x 2 3\nvt nan 1\n");
  const Outcome outcome = ReadWith(words);
  EXPECT_TRUE(outcome.IsRead && outcome.Mesh.Positions[3] == (cVec3{1, 0, 3})) << "a word reads as 0";
  EXPECT_EQ(outcome.Mesh.NumWordPositions, 2);
  EXPECT_EQ(outcome.Mesh.Validate(), 2);
  EXPECT_EQ(outcome.Log, words + ", line 200006: the vertex is \"1 nan 3\", three finite numbers are expected\n");
  EXPECT_EQ(FindMeshFault(ReadWith(folder.Write("wild.obj", head + "f 1 2 9\n")).Mesh, "wild.none"),
            "wild.none, polygon 1: it names vertex 9, the file holds 3");
}

// Memory is held against the size of the file before it is taken.
TEST(ObjReader, FloodsStayWithinBounds) {
  const TestFolder folder;
  const char* const bound = "holds more than is read from a file of its size";
  const struct {
    int Count;
    std::string (*Line)(const std::string& number);
    const char* Refusal;  // empty: it is read; names that come back cost one look each
  } floods[] = {{3000000, [](const std::string&) -> std::string { return "f 1 1 1\n"; }, bound},
                {800000, [](const std::string& number) { return "g " + number + "\n"; }, bound},
                {70000, [](const std::string& number) { return "usemtl m" + number + std::string(30, ' ') + "\n"; },
                 "than 65536 materials."},
                {300000, [](const std::string& number) { return "usemtl m" + number.substr(0, 3) + "\nf 1 1 1\n"; }, ""}};
  for (const auto& flood : floods) {
    std::string text = "v 1 2 3\n";
    for (int i = 0; i < flood.Count; i++) text += flood.Line(std::to_string(i));
    const Outcome outcome = ReadWith(folder.Write("flood.obj", text));
    EXPECT_EQ(outcome.IsRead, !*flood.Refusal);
    EXPECT_NE(outcome.Log.find(flood.Refusal), std::string::npos);
    EXPECT_TRUE(!outcome.IsRead || outcome.Mesh.Materials.size() == 1000);
  }
}

// --- material libraries -----------------------------------------------------------------------------------------------------

namespace {
std::unique_ptr<cRawMesh> LoadWithLibrary(const TestFolder& folder, const std::string& mtl, const std::string& lines) {
  folder.Write("lib.mtl", mtl);
  return std::unique_ptr<cRawMesh>(
      cMeshIO::LoadMesh(folder.Write("mesh.obj", "mtllib lib.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\n" + lines).c_str()));
}
}  // namespace

TEST(ObjMaterials, PathsFollowTheKeywords) {
  const TestFolder folder;
  folder.Write("beside.png", "x");
  const auto mesh = LoadWithLibrary(folder,
                                    "newmtl skin_long\r\nmap_Kd C:\\gone\\beside.png\r\nmap_bump n.png\r\n"
                                    "newmtl bumpy\r\nbump first.png\r\ndisp second.png\r\nmap_Ks -bm 1 -bm beside.png\r\n",
                                    "usemtl skin\nf 1 2 3\nusemtl bumpy\nf 1 2 3\nusemtl none\nf 1 2 3\n");
  ASSERT_TRUE(mesh);
  std::string paths;
  for (const cRawMaterial& material : mesh->Materials)
    for (int slot = 0; slot < NumMtlSlots; slot++) paths += material.Textures[slot].FileName + "|";
  // A prefix of the name is enough; a picture is found beside the mesh; "map_bump" does not answer for "bump".
  EXPECT_EQ(paths, folder.Path("beside.png") + "|||n.png||-bm 1 -bm beside.png|second.png||||||");
}

TEST(ObjMaterials, MaterialsOfOneTextureShareTheirUVSet) {
  const TestFolder folder;
  const std::string lines = "usemtl one\nf 1 2 3\nusemtl two\nf 1 2 3\nusemtl three\nf 3 2 1\n";
  const struct {
    const char *Library, *Sets;
    int SetOfLast;
  } cases[] = {{"newmtl one\nmap_Kd C:\\t\\a.png\nnewmtl two\nmap_Kd C:\\t\\a.tga\nnewmtl three\nmap_Kd C:\\t\\ab\\b.png\n",
                "a\nab\\b\n", 1},
               {"newmtl one\nmap_Kd a.png\n", "one\ntwo\nthree\n", 2}};
  for (const auto& c : cases) {
    const auto mesh = LoadWithLibrary(folder, c.Library, lines);
    ASSERT_TRUE(mesh);
    EXPECT_EQ(Names(mesh->UVSets), c.Sets);
    EXPECT_EQ(mesh->Polygons[8].UVSet(), c.SetOfLast);
    EXPECT_EQ(mesh->Polygons[8].Material(), 2);
  }
}

TEST(ObjMaterials, HostileLibrariesLeaveMaterialsBare) {
  const TestFolder folder;
  ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
  for (const std::string name :
       {"self.obj", "../../../../../../etc/passwd", "pipe", ".", "missing.mtl", "../../../../../../dev/zero"}) {
    const std::string path = folder.Write("self.obj", "mtllib " + name + "\nv 1 2 3\nusemtl newmtl\nf 1 1 1\n");
    const std::unique_ptr<cRawMesh> mesh(cMeshIO::LoadMesh(path.c_str()));
    ASSERT_TRUE(mesh) << name;
    EXPECT_EQ(mesh->Materials[0].Textures[0].FileName, "");
  }
  ASSERT_EQ(mkfifo(folder.Path("pipe.obj").c_str(), 0600), 0);
  EXPECT_EQ(cMeshIO::LoadMesh(folder.Path("pipe.obj").c_str()), nullptr);
  // Text and index together go beyond what so small a mesh may take; the library behind is not read either.
  std::string flood;
  for (int i = 0; i < 3000000; i++) flood += "newmtl ";
  folder.Write("flood.mtl", flood);
  folder.Write("good.mtl", "newmtl a\nmap_Kd a.png\n");
  const std::string text = "mtllib flood.mtl\nv 1 2 3\nusemtl x\nmtllib good.mtl\nusemtl a\nf 1 1 1\n";
  const Outcome outcome = ReadWith(folder.Write("flood.obj", text));
  ASSERT_TRUE(outcome.IsRead);
  EXPECT_EQ(outcome.Log.find("The material library \"" + folder.Path("flood.mtl") + "\" and those behind it are left out"), 0u);
  EXPECT_EQ(outcome.Mesh.Materials[1].Textures[0].FileName, "");
}
