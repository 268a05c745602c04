// OBJ reading and writing: a scan of about 4.5 million triangles against the readers and writers of other libraries, a plain
// write of the same bytes, and the size of the mesh in memory.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "Claims.h"
#include "comms/Log.h"
#include "comms/cMeshIO.h"
#include "comms/cRawMesh.h"

#if __has_include(<tiny_obj_loader.h>)
#include <tiny_obj_loader.h>
#define HAS_TINYOBJ
#endif
#if __has_include(<assimp/Exporter.hpp>)
#include <assimp/mesh.h>
#include <assimp/scene.h>
#include <assimp/Exporter.hpp>
#define HAS_ASSIMP
#endif

using namespace bench;

namespace {

// A memory file system where there is one: the disk's own noise is larger than what is compared.
class WorkFolder {
 public:
  WorkFolder() {
    const std::filesystem::path memory = "/dev/shm";
    const auto base = std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    m_Path = base / ("morvane-obj-bench-" + std::to_string(getpid()));
    std::filesystem::create_directories(m_Path);
  }
  ~WorkFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Path, ignored);
  }
  std::string File(const char* name) const { return (m_Path / name).string(); }
  /// Nothing written or removed before waits any more.
  void Sync() const {
    const int folder = open(m_Path.c_str(), O_RDONLY | O_DIRECTORY);
    syncfs(folder);
    close(folder);
  }

 private:
  std::filesystem::path m_Path;
};

struct QuietLog {
  comms::LogSink Before = comms::SetLogSink([](comms::LogLevel level, const std::string& text) {
    if (level == comms::LogLevel::Error) std::fprintf(stderr, "%s\n", text.c_str());
  });
  ~QuietLog() { comms::SetLogSink(Before); }
};

bool MakeScan(TriangleSoup& mesh, int steps) {
  if (!LoadBenchMesh("nefertiti.obj", mesh)) return false;
  for (int i = 0; i < steps; i++) mesh = Subdivide(mesh);
  return true;
}

// As scanners write it: one line each, line feeds, six decimals.
void WritePlainObj(const TriangleSoup& mesh, bool withAttributes, const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  if (!file) return;
  const size_t count = mesh.Positions.size() / 3;
  const float* const p = mesh.Positions.data();
  for (size_t i = 0; i < count; i++) std::fprintf(file, "v %f %f %f\n", p[i * 3], p[i * 3 + 1], p[i * 3 + 2]);
  if (withAttributes) {
    for (size_t i = 0; i < count; i++) std::fprintf(file, "vt %f %f\n", std::fabs(p[i * 3]) / 512, std::fabs(p[i * 3 + 1]) / 512);
    for (size_t i = 0; i < count; i++) {
      const float length = std::hypot(p[i * 3], p[i * 3 + 1], p[i * 3 + 2]) + 1e-20f;
      std::fprintf(file, "vn %f %f %f\n", p[i * 3] / length, p[i * 3 + 1] / length, p[i * 3 + 2] / length);
    }
  }
  for (size_t i = 0; i < mesh.Triangles.size(); i += 3) {
    const int a = mesh.Triangles[i] + 1, b = mesh.Triangles[i + 1] + 1, c = mesh.Triangles[i + 2] + 1;
    if (withAttributes)
      std::fprintf(file, "f %d/%d/%d %d/%d/%d %d/%d/%d\n", a, a, a, b, b, b, c, c, c);
    else
      std::fprintf(file, "f %d %d %d\n", a, b, c);
  }
  std::fclose(file);
}

std::unique_ptr<comms::cRawMesh> Load(const std::string& path) {
  return std::unique_ptr<comms::cRawMesh>(comms::cMeshIO::LoadMesh(path.c_str()));
}

double ArrayBytes(const comms::cRawMesh& mesh) {
  return double(mesh.Positions.size() * 12 + mesh.TexCoords.size() * 8 + mesh.Normals.size() * 12 + mesh.Polygons.size() * 12);
}

const ChildTask ReadTask("ReadObj", [](const std::string& path) {
  const QuietLog quiet;
  if (!Load(path)) std::_Exit(1);
});

void ReadClaims(const std::string& path, const std::string& what, std::vector<Claim>& claims) {
  Claim speed{.Text = "Read OBJ, " + what + ": tinyobjloader / ours, seconds", .Goal = ">= 5"};
#ifdef HAS_TINYOBJ
  const Pair pair = MeasurePairs(
      5, [&] { Load(path); },
      [&] {
        tinyobj::ObjReader reader;
        reader.ParseFromFile(path);
      });
  speed.Ours = pair.Ours;
  speed.Peer = pair.Peer;
  speed.Ratio = pair.Peer / pair.Ours;
  speed.OursSpread = pair.OursSpread;
#else
  speed.Skipped = "tinyobjloader is not installed";
#endif
  claims.push_back(speed);

  Claim memory{.Text = "Read OBJ, " + what + ": peak of the process / arrays of the mesh, bytes", .Goal = "<= 2"};
  memory.Ours = PeakBytesInChild("ReadObj", path);
  memory.Peer = ArrayBytes(*Load(path));
  memory.Ratio = memory.Ours / memory.Peer;
  if (memory.Ours < 0) memory.Failed = "the measuring process failed";
  claims.push_back(memory);
}

// What a program without a file format does: the same bytes from memory, in pieces of a usual size, synced.
void WriteBytes(const std::vector<char>& bytes, const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  for (size_t at = 0; at < bytes.size();) {
    const ssize_t written = write(file, bytes.data() + at, std::min<size_t>(bytes.size() - at, 1 << 20));
    if (written <= 0) break;
    at += size_t(written);
  }
  fsync(file);
  close(file);
}

void PlainWriteClaim(comms::cRawMesh& mesh, const WorkFolder& folder, const std::string& what, std::vector<Claim>& claims) {
  const std::string path = folder.File("ours.obj"), plainPath = folder.File("plain.bin");
  comms::cMeshIO::SaveMesh(&mesh, path.c_str());
  std::ifstream written(path, std::ios::binary);
  std::vector<char> bytes(std::filesystem::file_size(path));
  written.read(bytes.data(), std::streamsize(bytes.size()));
  // One of the two files exists at a time: each is written into the memory that the other one just gave back.
  const auto forget = [&](const std::string& file) {
    std::filesystem::remove(file);
    folder.Sync();
  };
  const auto ours = [&] { comms::cMeshIO::SaveMesh(&mesh, path.c_str()); };
  const auto plain = [&] { WriteBytes(bytes, plainPath); };
  MeasurePairs(
      1, ours, plain, [&] { forget(plainPath); }, [&] { forget(path); });  // the system finds the memory once
  const Pair pair = MeasurePairs(
      15, ours, plain, [&] { forget(plainPath); }, [&] { forget(path); });
  forget(plainPath);
  claims.push_back({.Text = "Write OBJ, " + what + ": ours / plain write of the same bytes, seconds",
                    .Ours = pair.Ours,
                    .Peer = pair.Peer,
                    .Ratio = pair.Ours / pair.Peer,
                    .Goal = "<= 2.5",
                    .OursSpread = pair.OursSpread});
}

#ifdef HAS_ASSIMP
// The mesh as the peer holds it, with UVs and normals where it has them: one of each at every vertex, as the file was made.
void MakeScene(const comms::cRawMesh& mesh, aiScene& scene) {
  auto* const copy = new aiMesh;
  copy->mPrimitiveTypes = aiPrimitiveType_TRIANGLE;
  copy->mNumVertices = unsigned(mesh.Positions.size());
  copy->mVertices = new aiVector3D[mesh.Positions.size()];
  for (size_t i = 0; i < mesh.Positions.size(); i++)
    copy->mVertices[i] = {mesh.Positions[i].x, mesh.Positions[i].y, mesh.Positions[i].z};
  if (mesh.Normals.size() == mesh.Positions.size() && mesh.TexCoords.size() == mesh.Positions.size()) {
    copy->mNormals = new aiVector3D[mesh.Normals.size()];
    copy->mTextureCoords[0] = new aiVector3D[mesh.TexCoords.size()];
    copy->mNumUVComponents[0] = 2;
    for (size_t i = 0; i < mesh.Normals.size(); i++) {
      copy->mNormals[i] = {mesh.Normals[i].x, mesh.Normals[i].y, mesh.Normals[i].z};
      copy->mTextureCoords[0][i] = {mesh.TexCoords[i].x, mesh.TexCoords[i].y, 0};
    }
  }
  copy->mNumFaces = unsigned(mesh.Polygons.size() / 4);
  copy->mFaces = new aiFace[copy->mNumFaces];
  for (unsigned i = 0; i < copy->mNumFaces; i++) {
    copy->mFaces[i].mNumIndices = 3;
    copy->mFaces[i].mIndices = new unsigned[3];
    for (unsigned k = 0; k < 3; k++) copy->mFaces[i].mIndices[k] = unsigned(mesh.Polygons[i * 4 + 1 + k].Position());
  }
  scene.mMeshes = new aiMesh* [1] { copy };
  scene.mNumMeshes = 1;
  scene.mMaterials = new aiMaterial* [1] { new aiMaterial };
  scene.mNumMaterials = 1;
  scene.mRootNode = new aiNode("root");
  scene.mRootNode->mMeshes = new unsigned[1]{0};
  scene.mRootNode->mNumMeshes = 1;
}
#endif

// One run of the peer, which takes longer than all the rest of this file, against the median of five of ours.
void ExporterClaim([[maybe_unused]] comms::cRawMesh& mesh, [[maybe_unused]] const WorkFolder& folder, const std::string& what,
                   std::vector<Claim>& claims) {
  Claim claim{.Text = "Write OBJ, " + what + ": Assimp / ours, seconds", .Goal = ">= 25"};
#ifdef HAS_ASSIMP
  aiScene scene;
  MakeScene(mesh, scene);
  const std::string path = folder.File("ours.obj"), peerPath = folder.File("peer.obj");
  const Pair ours = MeasurePairs(
      5, [&] { comms::cMeshIO::SaveMesh(&mesh, path.c_str()); }, [] {});
  std::filesystem::remove(path);
  claim.Ours = ours.Ours;
  claim.Peer = Seconds([&] {
    Assimp::Exporter exporter;
    if (exporter.Export(&scene, "obj", peerPath) != aiReturn_SUCCESS) claim.Skipped = exporter.GetErrorString();
  });
  claim.Ratio = claim.Peer / claim.Ours;
  claim.OursSpread = ours.OursSpread;
  claim.Note = "one run of Assimp; five of ours";
  std::filesystem::remove(peerPath);
#else
  claim.Skipped = "Assimp is not installed";
#endif
  claims.push_back(claim);
}

void Run(std::vector<Claim>& claims) {
  TriangleSoup scan;
  if (!MakeScan(scan, 3)) {
    claims.push_back({.Text = "Read and write OBJ", .Goal = ">= 5", .Skipped = "nefertiti.obj is not there"});
    return;
  }
  const QuietLog quiet;
  const WorkFolder folder;
  const std::string count = std::to_string(scan.Triangles.size() / 3) + " triangles";
  for (const bool withAttributes : {false, true}) {
    const std::string what = count + (withAttributes ? " with UVs and normals" : "");
    const std::string path = folder.File("scan.obj");
    WritePlainObj(scan, withAttributes, path);
    ReadClaims(path, what, claims);
    const auto mesh = Load(path);
    std::filesystem::remove(path);
    PlainWriteClaim(*mesh, folder, what, claims);
    ExporterClaim(*mesh, folder, what, claims);
  }
}

const Benchmark Registration("Obj", Run);

}  // namespace
