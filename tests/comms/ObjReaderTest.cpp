#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tbb/global_control.h>

#include <memory>
#include <random>

#include "MeshFiles.h"
#include "ObjReference.h"
#include "comms/Log.h"
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

void ReadWith(const std::string& path, int64_t chunkBytes, Outcome& outcome) {
  cFile file;
  file.Open(path.c_str(), cFile::Read);
  const LogRecorder log;
  outcome.IsRead = ReadObj(file, outcome.Mesh, {chunkBytes});
  outcome.Log = log.Text();
}

// Bits, so that NaN would equal NaN and -0 would not equal 0.
template <class List>
bool SameBytes(const List& a, const List& b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

void ExpectSame(const Outcome& ours, const cRawMesh& reference) {
  EXPECT_TRUE(SameBytes(ours.Mesh.Positions, reference.Positions));
  EXPECT_TRUE(SameBytes(ours.Mesh.TexCoords, reference.TexCoords));
  EXPECT_TRUE(SameBytes(ours.Mesh.Normals, reference.Normals));
  EXPECT_TRUE(SameBytes(ours.Mesh.Polygons, reference.Polygons));
  EXPECT_TRUE(SameBytes(ours.Mesh.VertexColors, reference.VertexColors));
  EXPECT_EQ(Names(ours.Mesh.Materials), Names(reference.Materials));
  ASSERT_EQ(Names(ours.Mesh.Objects), Names(reference.Objects));
  for (size_t i = 0; i < reference.Objects.size(); i++) {
    EXPECT_EQ(ours.Mesh.Objects[i].Matrix, reference.Objects[i].Matrix);
    EXPECT_EQ(ours.Mesh.Objects[i].Pivot, reference.Objects[i].Pivot);
    EXPECT_EQ(ours.Mesh.Objects[i].HasPivot, reference.Objects[i].HasPivot);
  }
}

void Compare(const std::string& path, const std::string& text, std::initializer_list<int64_t> chunks) {
  ObjReference reader(text);
  cRawMesh reference;
  const bool isRead = reader.Read(reference);
  for (const int threads : {1, 2})
    for (const int64_t chunk : chunks) {
      SCOPED_TRACE(path + ", threads " + std::to_string(threads) + ", chunk " + std::to_string(chunk));
      const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, size_t(threads));
      Outcome ours;
      ReadWith(path, chunk, ours);
      ASSERT_EQ(ours.IsRead, isRead) << ours.Log;
      if (isRead)
        ExpectSame(ours, reference);
      else
        EXPECT_TRUE(ours.Log.starts_with(reader.Message().c_str())) << ours.Log << reader.Message();
    }
}

class TextMaker {
 public:
  explicit TextMaker(unsigned seed) : m_Random(seed) {}
  std::string Make() {
    const int lines = Pick(1, 120);
    const int spoiled = Pick(0, 3) == 0 ? 4 : 0;  // percent
    m_MayFail = Pick(0, 2) == 0;
    std::string text;
    for (int i = 0; i < lines; i++) {
      std::string line = MakeLine();
      if (Pick(0, 99) < spoiled * 3)
        line.insert(size_t(Pick(0, int(line.size()))), Any({"#", "\\", "\t", " ", "/", "\\\n", "\\\r\n", "//"}));
      if (Pick(0, 99) < spoiled)
        for (int k = Pick(1, 8); k > 0; k--) line += char(Pick(0, 255));
      text += line + Any({"\n", "\n", "\n", "\r\n", "\r", "\n\n", " \n", m_MayFail ? "\\\n" : "\n"});
    }
    if (Pick(0, 4) == 0) text += MakeLine();
    if (Pick(0, 9) == 0) text += "\\";
    return text;
  }

 private:
  int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_Random); }
  std::string Any(std::initializer_list<const char*> choices) { return choices.begin()[Pick(0, int(choices.size()) - 1)]; }
  std::string Number() {
    const int kind = Pick(0, 9);
    if (kind == 0)
      return Any({"nan", "inf", "1e99", "-1e-50", "1e", "+.5", "5.", "-", "0", "-0.0", "1,25", "99999999999999999999"});
    if (kind == 1) return std::to_string(Pick(-5, 5));
    if (kind == 2) return "0." + std::string(size_t(Pick(1, 200)), '3');
    return std::to_string(Pick(-1000000, 1000000) / 512.0);
  }
  std::string Index() {
    const int kind = Pick(0, 19);
    if (kind == 0)
      return Any({"99999999999", "-99999999999", "2147483648", "1.5", "+3", m_MayFail ? "x" : "3x", m_MayFail ? "-" : "-2"});
    if (kind == 1) return Pick(0, 30) || !m_MayFail ? "7" : "0";
    return std::to_string(kind == 2 ? -Pick(1, 9) : Pick(1, 200000));
  }
  std::string Corner() {
    const std::string a = Index(), b = Index(), c = Index();
    const int kind = Pick(0, 6);
    if (kind == 0) return a + "/" + b;
    if (kind == 1) return a + "//" + c;
    if (kind == 2) return a + "/" + b + "/" + c;
    if (kind == 3 && !Pick(0, 9)) return "/" + b + "/";
    if (kind == 4 && !Pick(0, 9)) return a + "/" + b + "/" + c + "/" + b + "/";
    return a;
  }
  std::string Several(const char* word, int count, bool corners) {
    std::string line = word;
    for (int i = 0; i < count; i++) line += Any({" ", " ", " ", "  ", "\t"}) + (corners ? Corner() : Number());
    return line;
  }
  std::string MakeLine() {
    const int kind = Pick(0, 24);
    const bool isShort = m_MayFail && !Pick(0, 60);  // ends the load
    if (kind == 0) return Any({"g one", "o two", "g", "g one two", "g three", "o NewInstance|s|i"});
    if (kind == 1)
      return Any({"usemtl a", "usemtl b c", "usemtl", "mtllib lib.mtl", "s 1", "s off", "# v 1", "#", " v 1 2 3", "vp 1 2"});
    if (kind == 2)
      return Any(
          {"#MRGB ff00ff80804020ff", "#MRGB 12345678x 0xab -1 +f  zz00000", "#MRGB", "#MRGBx 11111111", " #MRGB 11111111"});
    if (kind == 3) return Any({"#pivot 1 2 3", "#pivot 1.500000 2.500000", "#pivot", "#MRGB\t1234567812345678", "# matrix4x4"});
    if (kind == 4) return "# matrix4x4 " + Any({"\"inst\" x \"src\"", "i y s", "\" z \""}) + Several("", Pick(14, 17), false);
    if (kind == 5) return Several("v", isShort ? 2 : Pick(3, 7), false);
    if (kind <= 7) return Several("vt", isShort ? 1 : Pick(2, 3), false);
    if (kind <= 9) return Several("vn", isShort ? 2 : 3, false);
    if (kind == 10) return Several("f", Pick(0, 2) ? 300 : Pick(253, 257), true);  // past the table of tokens
    if (kind == 11) return Several("v", Pick(3, 400), false);                      // past the length of a line
    if (kind == 12) return Several("f", Pick(0, 2), true);
    return kind <= 17 ? Several("v", 3, false) : Several("f", Pick(3, 5), true);
  }
  std::mt19937 m_Random;
  bool m_MayFail = false;
};

}  // namespace

TEST(ObjReader, AgreesWithTheSlowReaderOnRandomText) {
  const TestFolder folder;
  int read = 0;
  for (unsigned seed = 0; seed < 600 && !testing::Test::HasFailure(); seed++) {
    const std::string text = TextMaker(seed).Make();
    const std::string path = folder.Write("random.obj", text);
    SCOPED_TRACE(seed);
    Compare(path, text, {seed % 16 ? 61 : 1, 700, 1 << 19});
    cRawMesh mesh;
    read += ObjReference(text).Read(mesh);
  }
  EXPECT_GT(read, 200);  // the texts are not all refused
}

TEST(ObjReader, AgreesWithTheSlowReaderOnRealMeshes) {
  const std::string data = MORVANE_SHARED_DIR "/data";
  if (!std::filesystem::is_directory(data)) GTEST_SKIP() << data << " is not there";
  for (const auto& entry : std::filesystem::directory_iterator(data))
    if (entry.path().extension() == ".obj")
      Compare(entry.path().string(), TestFolder::ReadText(entry.path().string()), {5000, 1 << 19});
}

// Known answers beside the reference, which could err the same way.
TEST(ObjReader, LinesFollowTheirRules) {
  const TestFolder folder;
  Outcome outcome;
  std::string text =
      "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0 1\nvt 1 1\nvt 2 2\nf 1/1/1 2 3\nf 1 2\nf -1 -2 -3\n"
      "g a\n#pivot 1.000000 2.000000 3.000000\ng b\ng a\n# matrix4x4 \"inst\" x \"src\" 1 0 0 0 0 1 0 0 0 0 1 0 4 5 6 1\ng a\n";
  text += "v 4 5 6" + std::string(2040, ' ') + "v 7 8 9\nf";  // the 2048th character begins a line
  for (int i = 1; i < 300; i++) text += " " + std::to_string(i);
  ReadWith(folder.Write("case.obj", text), 1 << 19, outcome);
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
    const char* Text;
    const char* Message;
    const char* Line;
  } cases[] = {{"v 1 2 3\r\n\r\nv 1 2\r\nvt 1\r\n", "cMeshObj::DecodeObj(): Too few position coordinates: \"v 1 2\".", "line 3"},
               {"# a\nvt 1 # b\n", "cMeshObj::DecodeObj(): Too few texture coordinates: \"vt 1 \".", "line 2"},
               {"vn 1 2", "cMeshObj::DecodeObj(): Too few normal coordinates: \"vn 1 2\".", "line 1"},
               {"v 1 2 3\nf 1 1 1\nf 0 1 2\nv 1\n", "cMeshObj: Zero indices not allowed: \"f 0 1 2\".", "line 3"}};
  for (const auto& bad : cases) {
    const LogRecorder log;
    const std::string path = folder.Write("bad.obj", bad.Text);
    EXPECT_EQ(cMeshIO::LoadMesh(path.c_str()), nullptr);
    EXPECT_NE(log.Text().find(bad.Message), std::string::npos) << log.Text();
    EXPECT_NE(log.Text().find(path + "\" ended at " + bad.Line), std::string::npos) << log.Text();
  }
}

TEST(ObjReader, FloodsStayWithinBounds) {
  const TestFolder folder;
  const auto flood = [&](const std::string& start, int count, auto&& line, Outcome& outcome) {
    std::string text = start;
    for (int i = 0; i < count; i++) text += line(std::to_string(i));
    ReadWith(folder.Write("flood.obj", text), 1 << 19, outcome);
  };
  // Memory is held against the size of the file before it is taken.
  const std::string bound = "holds more than is read from a file of its size";
  Outcome faces, groups, materials, turns;
  flood(
      "v 1 2 3\n", 3000000, [](const std::string&) { return "f 1 1 1\n"; }, faces);
  EXPECT_FALSE(faces.IsRead);
  EXPECT_NE(faces.Log.find(bound), std::string::npos);
  flood(
      "", 800000, [](const std::string& i) { return "g " + i + "\n"; }, groups);
  EXPECT_FALSE(groups.IsRead);
  EXPECT_NE(groups.Log.find(bound), std::string::npos);
  flood(
      "", 70000, [](const std::string& i) { return "usemtl m" + i + std::string(30, ' ') + "\n"; }, materials);
  EXPECT_FALSE(materials.IsRead);
  EXPECT_NE(materials.Log.find("has more than 65536 materials."), std::string::npos);
  // Names that come back cost one look each.
  flood(
      "v 1 2 3\n", 300000, [](const std::string& i) { return "usemtl m" + i.substr(0, 3) + "\nf 1 1 1\n"; }, turns);
  EXPECT_TRUE(turns.IsRead);
  EXPECT_EQ(turns.Mesh.Materials.size(), 1000u);
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
  ASSERT_EQ(mesh->Materials.size(), 3u);
  const auto path = [&](size_t material, int slot) { return mesh->Materials[material].Textures[slot].FileName; };
  EXPECT_EQ(path(0, 0), folder.Path("beside.png"));  // a prefix of the name is enough; found beside the mesh
  EXPECT_EQ(path(0, 2), "");                         // "map_bump" does not answer for "bump"
  EXPECT_EQ(path(0, 3), "n.png");
  EXPECT_EQ(path(1, 2), "second.png");
  EXPECT_EQ(path(1, 1), "-bm 1 -bm beside.png");
  EXPECT_EQ(path(2, 0), "");
}

TEST(ObjMaterials, MaterialsOfOneTextureShareTheirUVSet) {
  const TestFolder folder;
  const std::string lines = "usemtl one\nf 1 2 3\nusemtl two\nf 1 2 3\nusemtl three\nf 3 2 1\n";
  const auto shared = LoadWithLibrary(
      folder, "newmtl one\nmap_Kd C:\\t\\a.png\nnewmtl two\nmap_Kd C:\\t\\a.tga\nnewmtl three\nmap_Kd C:\\t\\s\\b.png\n", lines);
  ASSERT_TRUE(shared);
  ASSERT_EQ(shared->UVSets.size(), 2u);
  EXPECT_EQ(shared->UVSets[0].Name, "a");
  EXPECT_EQ(shared->UVSets[1].Name, "s\\b");
  EXPECT_EQ(shared->Polygons[4].UVSet(), 0);
  EXPECT_EQ(shared->Polygons[8].UVSet(), 1);
  EXPECT_EQ(shared->Polygons[8].Material(), 2);

  const auto apart = LoadWithLibrary(folder, "newmtl one\nmap_Kd a.png\n", lines);
  ASSERT_EQ(apart->UVSets.size(), 3u);
  EXPECT_EQ(apart->UVSets[2].Name, "three");
  EXPECT_EQ(uint32_t(apart->Polygons[8].Words[1]), 0x20002u);
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
  EXPECT_EQ(cMeshIO::LoadMesh(folder.Path("pipe.obj").c_str()), nullptr);
  ASSERT_EQ(mkfifo(folder.Path("pipe.obj").c_str(), 0600), 0);
  EXPECT_EQ(cMeshIO::LoadMesh(folder.Path("pipe.obj").c_str()), nullptr);
  // Text and index together go beyond what so small a mesh may take; the library behind is not read either.
  std::string flood;
  for (int i = 0; i < 3000000; i++) flood += "newmtl ";
  folder.Write("flood.mtl", flood);
  folder.Write("good.mtl", "newmtl a\nmap_Kd a.png\n");
  const std::string text = "mtllib flood.mtl\nv 1 2 3\nusemtl x\nmtllib good.mtl\nusemtl a\nf 1 1 1\n";
  Outcome outcome;
  ReadWith(folder.Write("flood.obj", text), 1 << 19, outcome);
  ASSERT_TRUE(outcome.IsRead);
  EXPECT_EQ(outcome.Log.find("The material library \"" + folder.Path("flood.mtl") + "\" and those behind it are left out"), 0u);
  EXPECT_EQ(outcome.Mesh.Materials[1].Textures[0].FileName, "");
}

// The index over names against the plain search it stands for.
TEST(ObjMaterials, IndexFindsWhatASearchFinds) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; round++) {
    std::string text;
    for (int i = 0; i < 60; i++)
      text += (random() % 3   ? "newmtl "
               : random() % 2 ? "newmtl"
                              : "xx") +
              std::string(random() % 3, 'a') + (random() % 2 ? "b\n" : "a");
    const MtlText library({text.begin(), text.end()});
    for (const std::string name : {"a", "aa", "ab", "b", "aab", "c", "aaaaaaa"}) {
      const size_t at = text.find("newmtl " + name);
      EXPECT_EQ(library.FindMaterial(name), at == text.npos ? -1 : int64_t(at + 7 + name.size())) << text << name;
    }
  }
}
