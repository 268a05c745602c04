// The back end and the off-screen pictures on whatever device the machine has; its software renderer serves. Skipped without one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "comms/Log.h"
#include "comms/render/DeviceReport.h"
#include "comms/render/EglContext.h"
#include "comms/render/OffscreenPicture.h"
#include "comms/render/ShaderFile.h"
#include "comms/render/cRenderGL.h"

namespace fs = std::filesystem;
using namespace comms;
using testing::HasSubstr;

// --- without a device --------------------------------------------------------------------------------------------------------

TEST(ShaderFile, PartsKeepTheLinesOfTheirFile) {
  ShaderFile file;
  cStr error;
  ASSERT_TRUE(SplitShaderFile("// about\r\n  // Fragment shader \r\nF1\nF2\n// Vertex shader\nV1", "x.glsl", file, error))
      << error;
  EXPECT_EQ(file.Fragment.Line, 2);
  EXPECT_EQ(file.Vertex.Line, 5);
  EXPECT_EQ(file.Vertex.Text, "// Vertex shader\nV1\n");
  EXPECT_THAT(file.Fragment.Text, HasSubstr("F2\n"));
  EXPECT_EQ(
      MakeShaderSource(file.Vertex, "#define A"),
      "#version 330 core\n#define saturate(x) clamp(x, 0.0, 1.0)\n#define lerp mix\n#define A\n#line 5\n// Vertex shader\nV1\n");
}

TEST(ShaderFile, SaysWhichPartIsMissingOrDouble) {
  ShaderFile file;
  cStr error;
  EXPECT_FALSE(SplitShaderFile("// Vertex shader\n", "x.glsl", file, error));
  EXPECT_EQ(error, "Shader file \"x.glsl\": no line \"// Fragment shader\" in its 1 lines.");
  EXPECT_FALSE(SplitShaderFile("", "x.glsl", file, error));
  EXPECT_FALSE(SplitShaderFile("// Vertex shader\n\n// Vertex shader\n// Fragment shader\n", "x.glsl", file, error));
  EXPECT_THAT(error, HasSubstr("line 3"));
  EXPECT_THAT(error, HasSubstr("first in line 1"));
}

TEST(DeviceReport, SortsFeaturesByCoreVersionAndExtension) {
  DeviceFacts facts;
  facts.Vendor = "V";
  facts.Renderer = "R";
  facts.Version = "3.3 X";
  facts.VersionNumber = 33;
  facts.MaxTargetSize = 4096;
  facts.HasExtension = [](const char*) { return false; };
  const cStr core = MakeDeviceReport(facts);
  EXPECT_EQ(
      core.find("               Graphics card and driver info\nVendor: V\nRenderer: R\nOpenGL Version: 3.3 X\nSupported:\n"), 0u);
  const size_t split = core.find("Unsupported:");
  EXPECT_GT(core.find("Anisotropic filtering (level: "), split) << "core only since 4.6";
  EXPECT_LT(core.find("Frame Buffer Object (max size: 4096)"), split);

  facts.VersionNumber = 11;
  const auto partOf = [&](const char* label) {
    const cStr report = MakeDeviceReport(facts);
    EXPECT_NE(report.find(label), cStr::npos) << label;
    return report.find(label) < report.find("Unsupported:") ? "supported" : "unsupported";
  };
  facts.HasExtension = [](const char* name) {
    return cStr(name) == "GL_ATI_texture_float" || cStr(name) == "GL_ARB_shader_objects";
  };
  EXPECT_STREQ(partOf("Float texture"), "supported") << "one of its extensions is enough";
  EXPECT_STREQ(partOf("OpenGL Shading Language"), "unsupported") << "it needs all four";
  facts.HasExtension = [](const char*) { return true; };
  for (const char* label : {"Pixel format", "Multisample",
                            "Multitexture (fragment shader units: ", "Anisotropic filtering (level: ", "Texture Compression",
                            "Stencil two side (Multivendor)", "Stencil two side (ATI)", "Vertex Buffer Object",
                            "Vertex Attributes (count: ", "Vertex Uniform Vectors (count: ", "OpenGL Shading Language",
                            "Frame Buffer Object (max size: ", "MRT (targets: ", "Float texture", "Non power of two"})
    EXPECT_STREQ(partOf(label), "supported");
}

TEST(Framing, BoxFillsThePictureAndStaysInside) {
  const struct {
    cVec3 Min, Max;
  } boxes[] = {{{-1, -1, -1}, {1, 1, 1}}, {{100, 5, -3}, {101, 40, 2}}, {{-50, 0, 0}, {50, 1, 1}}, {{0, 0, 0}, {0, 0, 0}}};
  for (const auto& box : boxes)
    for (const float aspect : {0.5f, 1.0f, 2.5f}) {
      const PictureCamera camera = FrameBox(box.Min, box.Max, aspect);
      const cMat4 view = LookAt(camera.Position, camera.Target, camera.Up);
      const float tangent = std::tan(camera.FovDegrees * float(M_PI) / 360);
      float outermost = 0;
      for (int i = 0; i < 8; i++) {
        const cVec3 p =
            view.TransformPoint({i & 1 ? box.Max.x : box.Min.x, i & 2 ? box.Max.y : box.Min.y, i & 4 ? box.Max.z : box.Min.z});
        ASSERT_LT(p.z, 0) << "before the viewer";
        outermost = std::max({outermost, std::fabs(p.x) / -p.z / tangent / aspect, std::fabs(p.y) / -p.z / tangent});
      }
      EXPECT_LT(outermost, 0.91f);
      if (box.Max.x > box.Min.x) {
        EXPECT_GT(outermost, 0.89f) << "a tenth of the half side is left free";
      }
    }
}

// --- fixtures ----------------------------------------------------------------------------------------------------------------

namespace {

struct Vertex {
  cVec3 Position, Normal;
  uint32_t Rest = 0;
};
const VertexLayout Layout{28,
                          {{VertexUsage::Position, VertexFormat::Float3, 0}, {VertexUsage::Normal, VertexFormat::Float3, 12}}};

constexpr int Rings = 96;
// Normals point into the sphere.
void StageSphere(BaseMesh& mesh) {
  cList<Vertex> vertices;
  cList<uint32_t> indices;
  for (int i = 0; i <= Rings; i++)
    for (int j = 0; j <= 2 * Rings; j++) {
      const float t = float(M_PI) * float(i) / Rings, p = float(M_PI) * float(j) / Rings;
      const cVec3 direction{std::sin(t) * std::cos(p), std::cos(t), std::sin(t) * std::sin(p)};
      vertices.push_back({direction, -direction});
      const uint32_t a = uint32_t(i * (2 * Rings + 1) + j), c = a + 2 * Rings + 1;
      if (i < Rings && j < 2 * Rings)
        for (const uint32_t index : {a, a + 1, c, a + 1, c + 1, c}) indices.push_back(index);
    }
  mesh.StageVertices(vertices.data(), vertices.size(), Layout);
  mesh.StageIndices32(indices.data(), indices.size());
}

int Brightness(const uint8_t* pixel) { return pixel[0] + pixel[1] + pixel[2]; }

bool Differ(const uint8_t* a, const uint8_t* b) {
  return std::abs(a[0] - b[0]) > 4 || std::abs(a[1] - b[1]) > 4 || std::abs(a[2] - b[2]) > 4;
}

double MeanBrightness(const cImage& image, int x0, int y0, int x1, int y1) {
  double sum = 0;
  for (int y = y0; y < y1; y++)
    for (int x = x0; x < x1; x++) sum += Brightness(image.Pixel(x, y));
  return sum / ((x1 - x0) * (y1 - y0));
}

PictureOptions MakeOptions(int width, int height) {
  PictureOptions options;
  options.Width = width;
  options.Height = height;
  options.Camera = PictureCamera{{0, 0, 4}, {0, 0, 0}, {0, 1, 0}, 40};
  return options;
}

class Picture : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    LogRecorder quiet;
    s_Picture = std::make_unique<OffscreenPicture>();
    cStr contextError;
    s_HasDevice = EglContext::Create(contextError) != nullptr;
    if (!s_HasDevice || !s_Picture->Init(MORVANE_DATA_DIR, "", s_Error)) s_Error += contextError + quiet.Text();
  }
  static void TearDownTestSuite() { s_Picture.reset(); }
  void SetUp() override {
    if (!s_HasDevice) GTEST_SKIP() << s_Error;
    ASSERT_EQ(s_Error, "");
  }
  static cImage Draw(const cList<PictureItem>& items, const PictureOptions& options) {
    cImage image;
    cStr error;
    EXPECT_TRUE(s_Picture->Render(items, options, image, error)) << error;
    return image;
  }
  static std::unique_ptr<OffscreenPicture> s_Picture;
  static cStr s_Error;
  static bool s_HasDevice;
};
std::unique_ptr<OffscreenPicture> Picture::s_Picture;
cStr Picture::s_Error;
bool Picture::s_HasDevice = false;

}  // namespace

// --- pictures ----------------------------------------------------------------------------------------------------------------

TEST_F(Picture, OutlineOfASphereIsTheDiscThatGeometrySays) {
  BaseMesh sphere;
  StageSphere(sphere);
  PictureOptions options = MakeOptions(400, 300);
  options.AmbientOcclusion = false;
  for (const cVec3& place : {cVec3{0, 0, 0}, cVec3{0, 0, -2}}) {
    cMat4 away = cMat4::Translation({0, 0, 50});  // behind the viewer: the background alone
    const cImage empty = Draw({{&sphere, away}}, options);
    const cImage image = Draw({{&sphere, cMat4::Translation(place)}}, options);
    double area = 0, sumX = 0, sumY = 0;
    for (int y = 0; y < 300; y++)
      for (int x = 0; x < 400; x++)
        if (Differ(image.Pixel(x, y), empty.Pixel(x, y))) {
          area++;
          sumX += x + 0.5;
          sumY += y + 0.5;
        }
    const double radius = std::tan(std::asin(1 / (4.0 - place.z))) / std::tan(20 * M_PI / 180) * 150;
    // Half a pixel along the edge, where pixels are part disc, and what the chords of the rings cut off.
    const double edge = 2 * M_PI * radius * 0.5, chords = M_PI * radius * radius * std::pow(M_PI / (2 * Rings), 2);
    EXPECT_NEAR(area, M_PI * radius * radius, edge + chords);
    EXPECT_NEAR(sumX / area, 200, 0.5);
    EXPECT_NEAR(sumY / area, 150, 0.5);
  }
}

TEST_F(Picture, LightComesFromTheUpperLeftOntoOutsides) {
  BaseMesh sphere;
  StageSphere(sphere);
  PictureOptions options = MakeOptions(200, 200);
  const cImage image = Draw({{&sphere, {}}}, options);
  EXPECT_GT(MeanBrightness(image, 50, 50, 90, 90), 1.3 * MeanBrightness(image, 110, 110, 150, 150));
  options.OutwardNormals = true;  // wrong for this mesh: it is lit as if from within
  const cImage inside = Draw({{&sphere, {}}}, options);
  EXPECT_LT(MeanBrightness(inside, 50, 50, 90, 90), MeanBrightness(inside, 110, 110, 150, 150));
}

TEST_F(Picture, OcclusionDarkensCreasesAndNothingElse) {
  BaseMesh sphere;
  StageSphere(sphere);
  PictureOptions options = MakeOptions(300, 200);
  const cList<PictureItem> pair = {{&sphere, cMat4::Translation({-0.8f, 0, -1})}, {&sphere, cMat4::Translation({0.8f, 0, -1})}};
  options.AmbientOcclusion = false;
  const cImage plain = Draw(pair, options);
  options.AmbientOcclusion = true;
  const cImage occluded = Draw(pair, options);
  int brighter = 0;
  for (int y = 0; y < 200; y++)
    for (int x = 0; x < 300; x++) brighter += Brightness(occluded.Pixel(x, y)) > Brightness(plain.Pixel(x, y)) + 3;
  EXPECT_EQ(brighter, 0);
  EXPECT_LT(MeanBrightness(occluded, 146, 92, 154, 108), 0.8 * MeanBrightness(plain, 146, 92, 154, 108)) << "between the spheres";
  EXPECT_GT(MeanBrightness(occluded, 104, 80, 114, 90), 0.95 * MeanBrightness(plain, 104, 80, 114, 90)) << "on the open side";
  EXPECT_NEAR(MeanBrightness(occluded, 0, 0, 20, 20), MeanBrightness(plain, 0, 0, 20, 20), 0.01) << "the background";
}

TEST_F(Picture, DrawingLeavesMeshesAsTheyWereAndRepeats) {
  BaseMesh sphere;
  StageSphere(sphere);
  PictureOptions options;
  options.Width = 161;
  options.Height = 97;
  const cImage first = Draw({{&sphere, {}}}, options);
  EXPECT_TRUE(sphere.StagedVertices && sphere.StagedIndices32);
  EXPECT_FALSE(sphere.HasBuffers());
  EXPECT_FALSE(sphere.KeepStaged);
  EXPECT_EQ(Draw({{&sphere, {}}}, options).Pixels(), first.Pixels());
  EXPECT_EQ(first.Width(), 161);
  EXPECT_EQ(first.Height(), 97);
  options.Supersampling = 1;
  EXPECT_NEAR(MeanBrightness(Draw({{&sphere, {}}}, options), 0, 0, 161, 97), MeanBrightness(first, 0, 0, 161, 97), 3)
      << "finer sampling is the same picture";
}

TEST_F(Picture, RefusesWithASentence) {
  BaseMesh sphere, empty(0, 0, Layout), broken;
  StageSphere(sphere);
  const Vertex vertices[3] = {{{0, 0, 0}, {}}, {{INFINITY, 0, 0}, {}}, {{0, 1, 0}, {}}};
  broken.StageVertices(vertices, 3, Layout);
  const auto refusal = [&](const cList<PictureItem>& items, const PictureOptions& options) {
    cImage image;
    cStr error;
    EXPECT_FALSE(s_Picture->Render(items, options, image, error));
    EXPECT_TRUE(image.Empty());
    return error;
  };
  const PictureOptions good = MakeOptions(64, 64);
  EXPECT_THAT(refusal({}, good), HasSubstr("no mesh has vertices"));
  EXPECT_THAT(refusal({{&empty, {}}, {nullptr, {}}}, good), HasSubstr("no mesh has vertices"));
  EXPECT_THAT(refusal({{&broken, {}}}, good), HasSubstr("not finite"));
  for (const auto& [width, height] : {std::pair(0, 64), std::pair(64, -5), std::pair(1 << 30, 64)})
    EXPECT_THAT(refusal({{&sphere, {}}}, MakeOptions(width, height)), HasSubstr(Format("%d x %d pixels", width, height)));
  PictureOptions camera = good;
  camera.Camera->Target = camera.Camera->Position;
  EXPECT_THAT(refusal({{&sphere, {}}}, camera), HasSubstr("stands on its target"));
  camera = good;
  camera.Camera->Up = {0, 0, 2};
  EXPECT_THAT(refusal({{&sphere, {}}}, camera), HasSubstr("up direction"));
  camera = good;
  camera.Camera->FovDegrees = 180;
  EXPECT_THAT(refusal({{&sphere, {}}}, camera), HasSubstr("180 degrees"));
  LogRecorder quiet;
  OffscreenPicture none;
  cStr error;
  cImage image;
  EXPECT_FALSE(none.Render({{&sphere, {}}}, good, image, error));
  EXPECT_FALSE(none.Init("/none", "", error));
  EXPECT_THAT(error, HasSubstr("/none/Shaders"));
}

// --- the back end ------------------------------------------------------------------------------------------------------------

namespace {

class Backend : public testing::Test {
 protected:
  void SetUp() override {
    cStr error;
    m_Context = EglContext::Create(error);
    if (!m_Context) GTEST_SKIP() << error;
    m_Folder = fs::temp_directory_path() / ("morvane-render-" + std::to_string(::getpid()));
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder / "Shaders");
    ASSERT_TRUE(m_Render.Init({m_Folder.string(), m_Folder.string()}, error)) << error;
    WriteShader("Fill", "");
    m_Target = m_Render.CreateTarget({Size, Size, TextureFormat::Rgba8, TextureFormat::Depth24, TextureFilter::Nearest, 1});
    m_Render.SetTarget(m_Target);
    m_Render.SetViewport(0, 0, Size, Size);
  }
  void TearDown() override { fs::remove_all(m_Folder); }

  // Line 9 of the file is `line`; it may change `color`.
  void WriteShader(const cStr& name, const cStr& line) const {
    std::ofstream(m_Folder / "Shaders" / (name + ".glsl"))
        << "// Vertex shader\nvoid main() {\n  gl_Position = vec4(vec2((gl_VertexID << 1) & 2, gl_VertexID & 2) * 2.0 - 1.0, "
           "0.0, 1.0);\n}\n"
           "// Fragment shader\nuniform vec4 c_Color;\nout vec4 o_Color;\nvoid main() { vec4 color = c_Color;\n"
        << line << "\no_Color = saturate(color); }\n";
  }
  void Fill(int shader) {
    m_Render.SetShader(shader);
    m_Render.SetConstant("c_Color", cVec4{0, 1, 0, 1});
    m_Render.SetVertexBuffer(-1, Layout);
    m_Render.Draw(BaseMesh::TriangleList, 0, 3);
  }
  // Colour of the pixel as 0xRRGGBB.
  unsigned PixelAt(int x, int y) {
    cImage image;
    EXPECT_TRUE(m_Render.ReadTarget(m_Target, image));
    const uint8_t* pixel = image.Pixel(x, y);
    return unsigned(pixel[0] << 16 | pixel[1] << 8 | pixel[2]);
  }
  cStr UnknownShaders() const {
    std::stringstream text;
    text << std::ifstream(m_Folder / "UnknownShaders.txt").rdbuf();
    return text.str();
  }
  static constexpr int Size = 32;
  LogRecorder m_Log;
  fs::path m_Folder;
  std::unique_ptr<EglContext> m_Context;
  cRenderGL m_Render;
  int m_Target = -1;
};

}  // namespace

TEST_F(Backend, LogsTheReportOfTheDevice) {
  for (const char* label : {"               Graphics card and driver info",
                            "Vendor: ", "Renderer: ", "OpenGL Version: ", "Supported:", "Unsupported:", "MRT (targets: "})
    EXPECT_THAT(m_Log.Text(), HasSubstr(label));
}

TEST_F(Backend, BrokenShaderKeepsItsIdDrawsNothingAndIsWrittenDown) {
  WriteShader("Broken", "color = mystery;");
  m_Render.Clear({1, 0, 0, 1}, 1);
  const int id = m_Render.GetShaderID("Broken", "#define A 1\n#define B 2");
  ASSERT_GE(id, 0);
  EXPECT_FALSE(m_Render.IsShaderSound(id));
  EXPECT_EQ(m_Render.GetShaderID("Broken", "#define A 1\n#define B 2"), id) << "it is compiled once";
  Fill(id);
  EXPECT_EQ(PixelAt(5, 5), 0xFF0000u);
  const cStr text = UnknownShaders();
  EXPECT_EQ(text.find("shader: Broken\ndefines: #define A 1\n#define B 2\ncompiling log:\n"), 0u) << text;
  EXPECT_THAT(text, HasSubstr("mystery"));
  EXPECT_THAT(text, testing::AnyOf(HasSubstr(":9("), HasSubstr("(9)"), HasSubstr(":9:")))
      << "line 9 of the file, as drivers write it";

  const int missing = m_Render.GetShaderID("Nowhere", "");
  EXPECT_GE(missing, 0);
  Fill(missing);
  EXPECT_EQ(PixelAt(5, 5), 0xFF0000u);
  EXPECT_THAT(UnknownShaders(), HasSubstr("    IRS->GetShaderID(\"Nowhere"));
}

TEST_F(Backend, DefinesMakeVariantsOfOneFile) {
  WriteShader("Variant", "\n#ifdef BLUE\ncolor = vec4(0.0, 0.0, lerp(2.0, 4.0, 0.5), 1.0);\n#endif\n");
  const int plain = m_Render.GetShaderID("Variant", ""), blue = m_Render.GetShaderID("Variant", "#define BLUE");
  EXPECT_NE(plain, blue);
  EXPECT_EQ(m_Render.GetShaderID("Variant", ""), plain);
  m_Render.Clear({1, 0, 0, 1}, 1);
  Fill(plain);
  EXPECT_EQ(PixelAt(5, 5), 0x00FF00u);
  Fill(blue);
  EXPECT_EQ(PixelAt(5, 5), 0x0000FFu);
  EXPECT_EQ(UnknownShaders(), "");
  EXPECT_THAT(m_Log.Text(), HasSubstr("Compiling VS...\nCompiling FS...\nLinking program...\n"));
}

TEST_F(Backend, FirstRowOfAPictureIsTheTopAndStatesCutTheDrawing) {
  m_Render.Clear({1, 0, 0, 1}, 1);
  m_Render.SetViewport(0, Size / 2, Size, Size / 2);
  const int fill = m_Render.GetShaderID("Fill", "");
  Fill(fill);
  EXPECT_EQ(PixelAt(5, 0), 0x00FF00u);
  EXPECT_EQ(PixelAt(5, Size - 1), 0xFF0000u);

  m_Render.SetViewport(0, 0, Size, Size);
  m_Render.SetDepthState(m_Render.CreateDepthState({}));
  m_Render.Clear({1, 0, 0, 1}, 0.25f);
  Fill(fill);  // at depth 0.5
  EXPECT_EQ(PixelAt(5, 5), 0xFF0000u) << "behind what was there";
  m_Render.SetBlendState(m_Render.CreateBlendState({.WriteColor = false}));
  m_Render.Clear({0, 0, 1, 1}, 1);
  EXPECT_EQ(PixelAt(5, 5), 0x0000FFu) << "clearing does not ask the state";
  Fill(fill);
  EXPECT_EQ(PixelAt(5, 5), 0x0000FFu) << "and leaves it in place";
  EXPECT_EQ(m_Render.CreateBlendState({.WriteColor = false}), m_Render.CreateBlendState({.WriteColor = false}));
}

TEST_F(Backend, StandardUniformsOfEveryKindArrive) {
  // Each uniform is declared in a shader of its own and compared there with the value that is sent as a constant.
  m_Render.State.World = cMat4{{{2, 0, 0, 0}, {0, 3, 1, 0}, {0, 0, 4, 0}, {5, 6, 7, 1}}};
  m_Render.State.View = LookAt({1, 2, 3}, {0, 0, 1}, {0, 1, 0});
  m_Render.State.Projection = Perspective(50, 1, 1, 9);
  m_Render.BeginFrame(2.5);
  for (int i = 0; i < StandardUniformCount; i++) {
    const UniformValue value = Evaluate(StandardUniform(i), m_Render.State);
    const cStr name = StandardUniformNames[i], type = value.Count == 16 ? "mat4" : value.Count == 3 ? "vec3" : "float";
    cStr values;
    for (int k = 0; k < value.Count; k++) values += Format("%s%.9g", k ? "," : "", double(value.Floats[k]));
    std::ofstream(m_Folder / "Shaders" / (name + ".glsl"))
        << "// Vertex shader\nvoid main() { gl_Position = vec4(vec2((gl_VertexID << 1) & 2, gl_VertexID & 2) * 2.0 - 1.0, 0.0, "
           "1.0); }\n"
        << "// Fragment shader\nuniform " << type << " " << name << ";\nout vec4 o_Color;\nvoid main() {\n  " << type
        << " wanted = " << type << "(" << values << ");\n  o_Color = wanted == " << name
        << " ? vec4(0.0, 1.0, 0.0, 1.0) : vec4(1.0);\n}\n";
    m_Render.Clear({1, 0, 0, 1}, 1);
    Fill(m_Render.GetShaderID(name, ""));
    EXPECT_EQ(PixelAt(5, 5), 0x00FF00u) << name << " " << values;
  }
}

TEST_F(Backend, ResourcesComeBackAfterUnload) {
  std::ofstream(m_Folder / "Shaders" / "Textured.glsl")
      << "// Vertex shader\nout vec2 v_Place;\nvoid main() { v_Place = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2);\n"
         "gl_Position = vec4(v_Place * 2.0 - 1.0, 0.0, 1.0); }\n"
         "// Fragment shader\nuniform sampler2D s_Decal;\nin vec2 v_Place;\nout vec4 o_Color;\nvoid main() { o_Color = "
         "texture(s_Decal, v_Place); }\n";
  const uint8_t pixels[16] = {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 9, 9, 9, 255};
  const int texture = m_Render.CreateTexture({TextureFormat::Rgba8, 2, 2, TextureFilter::Nearest, AddressMode::Clamp}, pixels);
  ASSERT_GE(texture, 0);
  const int shader = m_Render.GetShaderID("Textured", "");
  const auto draw = [&] {
    m_Render.Clear({1, 1, 1, 1}, 1);
    m_Render.SetShader(shader);
    m_Render.SetTexture(m_Render.GetTextureParam("s_Decal"), texture, -1);
    Fill(shader);
    return std::array{PixelAt(1, Size - 2), PixelAt(Size - 2, Size - 2), PixelAt(1, 1), PixelAt(Size - 2, 1)};
  };
  const auto before = draw();
  EXPECT_EQ(before, (std::array{0xFF0000u, 0x00FF00u, 0x0000FFu, 0x090909u}));
  m_Render.Unload();
  EXPECT_EQ(draw()[0], 0xFFFFFFu) << "nothing is drawn meanwhile";
  const uint8_t changed[4] = {1, 2, 3, 255};
  m_Render.UpdateTexture(texture, 1, 1, 1, 1, changed);
  m_Render.Reload();
  EXPECT_EQ(draw(), (std::array{0xFF0000u, 0x00FF00u, 0x0000FFu, 0x010203u})) << "with the change made meanwhile";
  EXPECT_THAT(m_Log.Text(), HasSubstr("Unloaded 1 Textures."));
  EXPECT_THAT(m_Log.Text(), HasSubstr("Reloaded 1 textures."));
  EXPECT_THAT(m_Log.Text(), HasSubstr("Reloaded 1 Shaders."));
}

TEST_F(Backend, RefusesTexturesAndTargetsThatCanNotBe) {
  for (const TextureFormat format : {TextureFormat::Dxt1, TextureFormat::Dxt3, TextureFormat::Dxt5})
    EXPECT_EQ(m_Render.CreateTexture({format, 6, 8}, nullptr), -1);
  EXPECT_THAT(m_Log.Text(), HasSubstr("Compressed images must have dimensions that are multiples of 4"));
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::Rgba8, 0, 8}, nullptr), -1);
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::None, 8, 8}, nullptr), -1);
  EXPECT_EQ(m_Render.CreateTarget({m_Render.MaxTargetSize() + 1, 8}), -1);
  EXPECT_EQ(m_Render.CreateTarget({8, 8, TextureFormat::Depth16}), -1);
  EXPECT_EQ(m_Render.LoadTexture((m_Folder / "none.png").string()), -1);
  for (int i = 1; i < int(TextureFormat::Dxt1); i++) {
    const int texture = m_Render.CreateTexture({TextureFormat(i), 8, 4}, nullptr);
    EXPECT_GE(texture, 0) << GetName(TextureFormat(i));
    m_Render.DeleteTexture(texture);
  }
  EXPECT_EQ(m_Render.CreateTexture({TextureFormat::Rgba8, 4, 4}, nullptr) >= 0, true);
}

TEST_F(Backend, ManySamplesResolveIntoOne) {
  const int many = m_Render.CreateTarget({Size, Size, TextureFormat::Rgba8, TextureFormat::Depth24, TextureFilter::Nearest, 4});
  if (many < 0) GTEST_SKIP() << "the device has no multisampling";
  EXPECT_EQ(m_Render.GetTargetTexture(many), -1);
  m_Render.SetTarget(many);
  m_Render.Clear({0, 0, 1, 1}, 1);
  m_Render.SetTarget(m_Target);
  m_Render.Clear({1, 0, 0, 1}, 1);
  m_Render.ResolveTarget(many, m_Target);
  EXPECT_EQ(PixelAt(3, 3), 0x0000FFu);
  m_Render.DeleteTarget(many);
}
