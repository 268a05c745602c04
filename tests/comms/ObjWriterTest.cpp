#include "comms/ObjWriter.h"

#include <gmock/gmock.h>
#include <tbb/global_control.h>

#include <memory>
#include <random>

#include "MeshFiles.h"
#include "comms/Log.h"
#include "comms/Progress.h"
#include "comms/cMeshIO.h"

using namespace comms;
using testing::HasSubstr;
using testing::Not;

namespace {

void AddPolygon(cRawMesh& mesh, int material, int object, std::initializer_list<cRawPolyRec> corners) {
  mesh.Polygons.push_back({{int(corners.size()), material, object}});
  for (const cRawPolyRec& corner : corners) mesh.Polygons.push_back(corner);
}

std::unique_ptr<cRawMesh> MakeTriangles(int count, bool withColors) {
  auto mesh = std::make_unique<cRawMesh>();
  mesh->Objects.emplace_back().Name = "all";
  mesh->Materials.emplace_back().Name = "m";
  for (int i = 0; i < count; i++) {
    mesh->Positions.push_back({float(i), 0.5f, -1});
    if (withColors) mesh->VertexColors.push_back(0xFF000000u + uint32_t(i));
  }
  for (int i = 0; i + 2 < count; i++) AddPolygon(*mesh, 0, 0, {{{i, -1, -1}}, {{i + 1, -1, -1}}, {{i + 2, -1, -1}}});
  return mesh;
}

std::string Save(const TestFolder& folder, cRawMesh& mesh) {
  EXPECT_TRUE(cMeshIO::SaveMesh(&mesh, folder.Path("out.obj").c_str()));
  return folder.Read("out.obj");
}

}  // namespace

TEST(ObjWriter, WritesTheTextToTheByte) {
  const TestFolder folder;
  cRawMesh mesh;
  mesh.Name = "in.lwo";
  mesh.Positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, NAN}, {9, 9, 9}};
  mesh.TexCoords = {{0.25f, 0.75f}};
  for (const char* name : {"first", "empty", "last"}) mesh.Objects.emplace_back().Name = name;
  mesh.Objects[2].HasPivot = true;
  mesh.Objects[2].Pivot = {1, 2, 3};
  for (const char* name : {"dark skin", "red"}) mesh.Materials.emplace_back().Name = name;
  mesh.Materials[0].Textures[cRawMaterial::NormalBump].FileName = "n.png";
  AddPolygon(mesh, 1, 2, {{{3, 0, -1}}, {{2, 0, -1}}, {{1, -1, -1}}});
  AddPolygon(mesh, 0, 0, {{{0, -1, -1}}, {{1, -1, -1}}, {{2, -1, -1}}});
  AddPolygon(mesh, 1, 2, {{{3, 0, -1}}, {{1, 0, -1}}, {{2, 0, -1}}});
  EXPECT_EQ(Save(folder, mesh),
            "# Wavefront Obj file\r\n# in.lwo\r\n# verts: 5 uv-s: 1\r\nmtllib out.mtl\r\n"
            "\r\ng first\r\n\r\nv 0.000000 0.000000 0.000000\r\nv 1.000000 0.000000 0.000000\r\nv 0.000000 1.000000 0.000000"
            "\r\n# 3 positions\r\n\r\n# 0 texture coordinates\r\n\r\n# 0 normals\r\n\r\nusemtl dark_skin\r\nf 1 2 3\r\n"
            "\r\ng empty\r\n\r\n# 0 positions\r\n\r\n# 0 texture coordinates\r\n\r\n# 0 normals\r\n"
            "\r\ng last\r\n#pivot 1.000000 2.000000 3.000000\r\n\r\nv 0.000000 0.000000 0.000000\r\n# 1 positions\r\n"
            "\r\nvt 0.250000 0.750000\r\n# 1 texture coordinates\r\n\r\n# 0 normals\r\n"
            "\r\nusemtl red\r\nf 4/1 3/1 2\r\nf 4/1 2/1 3/1\r\n\r\n# 3 faces\r\n");
  const std::string rest =
      "\nNs 100.000\nd 1.00000\nillum 2\nKd 1.00000 1.00000 1.00000\nKa 0.00000 0.00000 0.00000\nKs 1.00000 1.00000 1.00000\nKe "
      "0.00000e+0 0.00000e+0 0.00000e+0\n";
  EXPECT_EQ(folder.Read("out.mtl"), "newmtl dark_skin" + rest + "map_bump n.png\nnewmtl red" + rest);
}

TEST(ObjWriter, ColourBlockEndsOnlyWhereALineIsLeftOpen) {
  const TestFolder folder;
  for (const int count : {16, 17}) {
    const std::string text = Save(folder, *MakeTriangles(count, true));
    EXPECT_THAT(text, HasSubstr("# The following MRGB block contains Vertex Color written by Morvane\r\n"));
    EXPECT_THAT(text, HasSubstr("ff00000eff00000f\r\n"));
    EXPECT_EQ(text.find("\r\n# End of MRGB block\r\n") != text.npos, count == 17);
    const std::unique_ptr<cRawMesh> mesh(cMeshIO::LoadMesh(folder.Path("out.obj").c_str()));
    ASSERT_EQ(mesh->VertexColors.size(), size_t(count));
    EXPECT_EQ(mesh->VertexColors.back(), 0xFF000000u + uint32_t(count - 1));
  }
}

TEST(ObjWriter, SmoothingGroupsJoinPolygonsThatShareAnEdge) {
  const TestFolder folder;
  auto mesh = MakeTriangles(3, false);
  mesh->Polygons.clear();
  mesh->Normals.assign(24, {0, 0, 1});
  const auto add = [&](int a, int b, int c) { AddPolygon(*mesh, 0, 0, {{{0, -1, a}}, {{1, -1, b}}, {{2, -1, c}}}); };
  add(0, 1, 2);     // with the third
  add(10, 11, 12);  // alone
  add(2, 1, 3);
  add(20, 21, 22);  // with the fifth
  add(22, 21, 23);
  add(0, 1, 9);  // the same direction as the first: not a neighbour of it, alone
  std::string text = Save(folder, *mesh);
  text = text.substr(text.find("\r\nusemtl"));
  // Seeds take 1 (first), 2 (second), 3 (fourth), 4 (sixth); the two that stay alone get what comes next.
  EXPECT_EQ(text,
            "\r\nusemtl m\r\ns 1\r\nf 1//1 2//2 3//3\r\nf 1//3 2//2 3//4\r\ns 3\r\nf 1//9 2//10 3//11\r\nf 1//11 2//10 3//12\r\n"
            "s 5\r\nf 1//6 2//7 3//8\r\nf 1//1 2//2 3//5\r\n\r\n# 6 faces\r\n");
}

TEST(ObjWriter, CornersAndNormalsTakeTheirForms) {
  const TestFolder folder;
  auto mesh = MakeTriangles(3, false);
  mesh->Normals = {{0, 0, 0}, {2, 0, 0}, {0, INFINITY, 0}};
  for (int i = 0; i < 3; i++) mesh->Polygons[size_t(i) + 1].Words[2] = i;
  const std::string text = Save(folder, *mesh), z = "\r\nvn 0.000000 0.000000 1.000000";
  EXPECT_THAT(text, HasSubstr(z + "\r\nvn 2.000000 0.000000 0.000000" + z));
  EXPECT_THAT(text, HasSubstr("f 1//1 2//2 3//3\r\n"));
  mesh->TexCoords = {{1, 1}};
  mesh->Polygons[2].Words[1] = 0;
  EXPECT_THAT(Save(folder, *mesh), HasSubstr("f 1/0/1 2/1/2 3/0/3\r\n"));
  mesh->Polygons[3].Words[2] = -1;  // one corner without: none has any
  EXPECT_THAT(Save(folder, *mesh), testing::AllOf(HasSubstr("f 1 2/1 3\r\n"), Not(HasSubstr("\r\nvn"))));
}

// Every polygon with its material and the values that its corners lead to, by object.
static cList<float> Flatten(const cRawMesh& mesh) {
  cList<float> values;
  const auto add = [&](const auto&... numbers) { (values.push_back(float(numbers)), ...); };
  for (int object = 0; object < int(mesh.Objects.size()); object++)
    for (size_t i = 0, end; i < mesh.Polygons.size(); i = end) {
      const cRawPolyRec& polygon = mesh.Polygons[i];
      end = i + 1 + size_t(polygon.Corners());
      if (polygon.Object() != object) continue;
      add(object, mesh.Materials[size_t(polygon.Material())].Name.back());
      for (size_t k = i + 1; k < end; k++) {
        const cVec3 position = mesh.Positions[size_t(mesh.Polygons[k].Position())];
        const cVec3 normal = mesh.Normals[size_t(mesh.Polygons[k].Normal())];
        const cVec2 uv = mesh.TexCoords[size_t(mesh.Polygons[k].TexCoord())];
        add(position.x, position.y, position.z, uv.x, uv.y, normal.x, normal.y, normal.z);
      }
    }
  return values;
}

// Many objects, materials and pieces: what is written is read back, on one thread and two.
TEST(ObjWriter, RoundTripKeepsTheMeshWhateverTheThreads) {
  const TestFolder folder;
  std::mt19937 random(5);
  cRawMesh mesh;
  for (int i = 0; i < 7; i++) mesh.Objects.emplace_back().Name = "o" + std::to_string(i);
  for (int i = 0; i < 3; i++) mesh.Materials.emplace_back().Name = "m" + std::to_string(i);
  const auto value = [&] { return float(random() % 4096) / 64; };
  for (int i = 0; i < 20000; i++) {
    mesh.Positions.push_back({value(), value(), float(i)});
    mesh.TexCoords.push_back({value(), value()});
    mesh.Normals.push_back({float(i + 1), value(), 0});
  }
  const auto element = [&] { return int(random() % 20000); };
  for (int i = 0; i < 30000; i++) {
    const int corners = 3 + int(random() % 3);
    mesh.Polygons.push_back({{corners, int(random() % 3), int(random() % 50 ? i / 5000 : random() % 7)}});
    for (int k = 0; k < corners; k++) mesh.Polygons.push_back({{element(), element(), element()}});
  }
  std::string texts[2];
  for (const size_t threads : {1, 2}) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    texts[threads - 1] = Save(folder, mesh);
  }
  EXPECT_TRUE(texts[0] == texts[1]);
  const std::unique_ptr<cRawMesh> back(cMeshIO::LoadMesh(folder.Path("out.obj").c_str()));
  ASSERT_TRUE(back);
  EXPECT_EQ(Names(back->Objects), Names(mesh.Objects));
  EXPECT_TRUE(Flatten(*back) == Flatten(mesh));
}

TEST(ObjWriter, MorphsBecomeFilesAndGo) {
  const TestFolder folder;
  auto mesh = MakeTriangles(3, false);
  mesh->Normals = {{0, 0, 1}, {0, 0, 1}};
  for (size_t i = 1; i < mesh->Polygons.size(); i++) mesh->Polygons[i].Words[2] = 0;
  mesh->Morphs.push_back(std::make_unique<cRawMorph>());
  mesh->Morphs[0]->Name = "smile";
  mesh->Morphs[0]->Deltas.assign(3, {8, 0, 0});
  Save(folder, *mesh);
  EXPECT_TRUE(mesh->Morphs.empty());
  EXPECT_EQ(mesh->Positions[0].x, 0);
  // As many elements move as there are normals.
  EXPECT_THAT(folder.Read("out_smile.obj"),
              HasSubstr("v 8.000000 0.500000 -1.000000\r\nv 9.000000 0.500000 -1.000000\r\nv 2.000000"));
}

TEST(ObjWriter, FailedWritesLeaveTheOldPair) {
  const TestFolder folder;
  folder.Write("out.obj", "old");
  folder.Write("out.mtl", "old");
  const LogRecorder log;
  const auto save = [&](cRawMesh& mesh, const std::string& name) { return cMeshIO::SaveMesh(&mesh, folder.Path(name).c_str()); };
  const auto good = MakeTriangles(3, false), bad = MakeTriangles(3, false), large = MakeTriangles(30000, true);
  bad->Polygons[1].Words[0] = 3;
  EXPECT_FALSE(save(*bad, "out.obj"));
  EXPECT_THAT(log.Text(), HasSubstr("indices out of range"));
  EXPECT_FALSE(save(*good, "missing/out.obj"));
  EXPECT_THAT(log.Text(), HasSubstr("missing/out.obj"));
  // Every write to this device fails: the disk is full. First the mesh meets it, then the library.
  std::filesystem::create_symlink("/dev/full", folder.Path("full.obj"));
  folder.Write("full.mtl", "old");
  EXPECT_FALSE(save(*large, "full.obj"));
  EXPECT_THAT(log.Text(), HasSubstr("full.obj\": There is not enough disk."));
  {
    struct Canceller : ProgressSink {
      Canceller() : Before(SetProgressSink(this)) {}
      ~Canceller() override { SetProgressSink(Before); }
      bool Show(double value, double maximum, const char*) override { return Calls++ == 0 && value <= maximum; }
      ProgressSink* Before;
      int Calls = 0;
    } canceller;
    EXPECT_FALSE(save(*large, "out.obj"));
    EXPECT_THAT(log.Text(), HasSubstr("out.obj: the export was cancelled, nothing was written."));
  }
  std::filesystem::rename(folder.Path("full.obj"), folder.Path("other.mtl"));
  folder.Write("other.obj", "old");
  EXPECT_FALSE(save(*good, "other.obj"));
  EXPECT_EQ(folder.Read("out.obj") + folder.Read("out.mtl") + folder.Read("full.mtl") + folder.Read("other.obj"), "oldoldoldold");
}
