#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "MeshFiles.h"
#include "comms/Log.h"
#include "comms/cFile.h"
#include "comms/cMeshIO.h"
#include "comms/cRawMesh.h"

using namespace comms;

namespace {

const char* const Quad = "g q\nv 1 2 3\nv 4 5 6\nv 7 8 9\nvt 0 0\nusemtl a\nf 1/1 2/1 3/1\nusemtl b\nf 3 2 1\n";

std::unique_ptr<cRawMesh> Load(const std::string& name) { return std::unique_ptr<cRawMesh>(cMeshIO::LoadMesh(name.c_str())); }

}  // namespace

TEST(MeshIO, ListsMergeAndIndicesMove) {
  const TestFolder folder;
  const std::string a = folder.Write("a.obj", Quad), b = folder.Write("b.OBJ", Quad);
  const auto mesh = Load(a + ";" + folder.Path("missing.obj") + ";" + b);
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->Positions.size(), 6u);
  EXPECT_EQ(Names(mesh->UVSets) + Names(mesh->Materials), "a\nb\na\nb\na\nb\na\nb\n");
  ASSERT_EQ(mesh->Polygons.size(), 16u);
  EXPECT_EQ(mesh->Polygons[12], (cRawPolyRec{{3, 0x30003, 1}}));
  EXPECT_EQ(mesh->Polygons[13], (cRawPolyRec{{5, 1, -1}}));
  EXPECT_EQ(mesh->Validate(), 0);
  EXPECT_TRUE(Load(";"));
  const auto one = Load(folder.Write("c;b.OBJ", Quad));
  EXPECT_TRUE(one && one->Positions.size() == 3) << "a file may have a ';' in its name";
}

TEST(MeshIO, MessagesNameWhatIsWrong) {
  const TestFolder folder;
  const std::string empty = folder.Write("empty.obj", ""), strange = folder.Write("x.unknown", "x");
  cMeshIO::Init();
  const LogRecorder log;
  cRawMesh mesh;
  EXPECT_EQ(cMeshIO::LoadMesh(nullptr), nullptr);
  for (const std::string& name : {std::string("a.b/file"), empty, strange}) EXPECT_FALSE(Load(name)) << name;
  for (const char* name : {static_cast<const char*>(nullptr), "out", "out.unknown"}) EXPECT_FALSE(cMeshIO::SaveMesh(&mesh, name));
  const std::string load = "cMeshIO::LoadMesh(): ", save = "cMeshIO::SaveMesh(): ";
  EXPECT_EQ(log.Text(), load + "File name is NULL.\n" + load + "File name \"a.b/file\" has no extension.\n" + load +
                            "Can't open file \"" + empty + "\".\n" + load + "Loaded mesh file \"" + strange + "\".\n" + load +
                            "No codec for mesh file \"" + strange + "\".\n" + save + "File name is NULL.\n" + save +
                            "File name \"out\" has no extension.\n" + save + "No codec for mesh file \"out.unknown\".\n");
}

TEST(MeshIO, SwapTurnsThereAndBackExceptInOwnFolders) {
  const TestFolder folder;
  const std::string path = folder.Write("a.obj", Quad);
  std::filesystem::create_directories(folder.Path("VoxStamps"));
  const std::string own = folder.Path("VoxStamps/a.obj");
  cMeshIO::m_SwapYZ = true;
  auto mesh = Load(path);
  EXPECT_EQ(mesh->Positions[0], (cVec3{2, 3, 1}));
  EXPECT_TRUE(cMeshIO::SaveMesh(mesh.get(), path.c_str()));
  EXPECT_EQ(mesh->Positions[0], (cVec3{2, 3, 1}));
  EXPECT_EQ(mesh->Positions[0], Load(path)->Positions[0]);
  // Into a folder of the program's own: written unturned, and the mesh comes back one turn off.
  EXPECT_TRUE(cMeshIO::SaveMesh(mesh.get(), own.c_str()));
  EXPECT_EQ(mesh->Positions[0], (cVec3{3, 1, 2}));
  EXPECT_EQ(Load(own)->Positions[0], (cVec3{2, 3, 1}));
  // An early end does not undo the turn.
  EXPECT_FALSE(cMeshIO::SaveMesh(mesh.get(), "noextension"));
  EXPECT_EQ(mesh->Positions[0], (cVec3{2, 3, 1}));
  cMeshIO::m_SwapYZ = false;
  EXPECT_EQ(Load(path)->Positions[0], (cVec3{1, 2, 3}));
}

// In a process of its own, because the registry is made once. The folder holds a sound plug-in and a library that is none.
TEST(MeshIODeathTest, PluginsComeBeforeBuiltInsAndTheFirstOfAnExtensionStays) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const TestFolder folder;
        folder.Write("broken.so", "not a library");
        std::filesystem::copy(MESH_PLUGIN, folder.Path("plugin.so"));
        cMeshIO::SetPluginFolder(folder.Path());
        const std::unique_ptr<cRawMesh> mesh(cMeshIO::LoadMesh(folder.Write("any.obj", "abc").c_str()));
        const bool isRight = mesh && mesh->Name == "plugin read 3 bytes" && cMeshIO::FindCodec("xyz") &&
                             !cMeshIO::AddCodec("OBJ", cMeshIO::FindCodec("XYZ"));
        std::filesystem::remove_all(folder.Path());
        std::_Exit(isRight ? 42 : 1);
      },
      testing::ExitedWithCode(42), "Added \"obj\" mesh codec");
}

TEST(RawMesh, ValidatorNamesEveryFault) {
  cRawMesh mesh;
  mesh.Name = "bad";
  mesh.Positions = {{NAN, 0, 0}, {0, INFINITY, 0}, {0, 0, 0}};
  mesh.TexCoords = {{0, -INFINITY}};
  mesh.Normals = {{0, 0, NAN}};
  mesh.Tangents = {{0, 0, 1}, {NAN, 0, 0}};
  mesh.BiTangents = {{INFINITY, 0, 0}};
  mesh.Materials.resize(1);
  mesh.Polygons = {{{2, 1, 0}}, {{0, 0, 0}}, {{3, -1, -1}}, {{3, 0, 0}}, {{-1, 1, -2}}};
  const LogRecorder log;
  EXPECT_EQ(mesh.Validate(), 14);
  EXPECT_EQ(log.Text(), R"(Validating mesh "bad"...
Position at index 0 = { nan 0.000000 0.000000 } has NaN.
Position at index 1 = { 0.000000 inf 0.000000 } is out of infinity.
Texture coordinate at index 0 = { 0.000000 -inf } is out of infinity.
Number of normals = 1 is not equal number of tangents = 2.
Normal at index 0 = { 0.000000 0.000000 nan } has NaN.
Tangent at index 1 = { nan 0.000000 0.000000 } has NaN.
BiTangent at index 0 = { inf 0.000000 0.000000 } is out of infinity.
Polygon 0 = { 2 1 0 } has degree less than 3.
Polygon 0 = { 2 1 0 } has material index out of available 1.
Polygon 0 has position index 3 that is out of available 3.
Polygon 1 has less than declared number of indices = 3.
Polygon 1 has position index -1 that is out of available 3.
Polygon 1 has texture coordinate index 1 that is out of available 1.
Polygon 1 has normal index -2 that is out of available 1.
)");
}

TEST(RawMesh, BlocksOfAnyStream) {
  const auto starts = [](std::initializer_list<int> sizes, size_t missing) {
    cRawList<cRawPolyRec> records;
    for (const int size : sizes) {
      records.push_back({{size, 0, 0}});
      records.resize(records.size() + size_t(std::max(size, 0)), {{0, 0, 0}});
    }
    records.resize(records.size() - missing);
    return FindPolyBlocks(records, 2);
  };
  EXPECT_EQ(starts({3, 3, 3}, 0).Records, (cList<size_t>{0, 8, 12}));
  EXPECT_EQ(starts({3, 4, 0, 5}, 0).Records, (cList<size_t>{0, 9, 16}));
  EXPECT_EQ(starts({}, 0).Records, (cList<size_t>{0}));
  // The first words agree by chance: only where headers stand at every step are they headers.
  EXPECT_EQ(starts({3, 3, 3}, 1).NumPolygons, 2);
  EXPECT_FALSE(starts({3, 3, 3}, 1).IsWhole);
  EXPECT_FALSE(starts({-1, -5}, 0).IsWhole);
}

TEST(File, ValuesAndTokensComeBack) {
  const TestFolder folder;
  const std::string path = folder.Path("f");
  cFile file;
  ASSERT_TRUE(file.Open(path.c_str(), cFile::Write));
  file.WriteStr("one two;");
  file.WriteU16(0x1234);
  file.WriteFloat(-2.5f);
  EXPECT_FALSE(std::filesystem::exists(path));
  ASSERT_TRUE(file.Close() && file.Open(path.c_str(), cFile::Read));
  cStr one, two, none;
  EXPECT_TRUE(file.ReadToken(" ;", one) && file.ReadToken(" ;", two));
  EXPECT_EQ(one + "," + two, "one,two");
  EXPECT_EQ(file.ReadU16(), 0x1234);
  EXPECT_EQ(file.ReadFloat(), -2.5f);
  EXPECT_TRUE(file.AtEnd());
  EXPECT_EQ(file.ReadU32(), 0u);
  EXPECT_FALSE(file.ReadToken(" ", none));
}
