// The back end on whatever device the machine has: report, states, constants, lines. Its software renderer serves.
#include <gmock/gmock.h>

#include <epoxy/gl.h>
#include <cstdlib>

#include "comms/render/BackendFixture.h"
#include "comms/render/DeviceReport.h"

using namespace comms;
using testing::HasSubstr;

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

TEST(DeviceReport, SaysWhatADriverLacks) {
  DeviceFacts facts;
  facts.Renderer = "R";
  facts.Version = "2.1 X";
  facts.VersionNumber = 21;
  facts.HasExtension = [](const char* name) { return cStr(name) == "GL_ARB_framebuffer_object"; };
  EXPECT_EQ(
      DescribeMissingNeeds(facts),
      "The graphics driver of \"R\" offers OpenGL 2.1 (\"2.1 X\"); OpenGL 3.3 is needed. Missing: float textures, vertex array "
      "objects, buffer copies, sampler objects, shading language 3.30.");
  facts.HasExtension = [](const char*) { return true; };
  EXPECT_THAT(DescribeMissingNeeds(facts), HasSubstr("Missing: shading language 3.30."));
  facts.VersionNumber = 33;
  EXPECT_EQ(DescribeMissingNeeds(facts), "");
  facts.IsDesktop = false;
  EXPECT_THAT(DescribeMissingNeeds(facts), HasSubstr("OpenGL ES 3.3"));
}

TEST_F(Backend, LogsTheReportOfTheDevice) {
  for (const char* label : {"               Graphics card and driver info",
                            "Vendor: ", "Renderer: ", "OpenGL Version: ", "Supported:", "Unsupported:", "MRT (targets: "})
    EXPECT_THAT(m_Log.Text(), HasSubstr(label));
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

// --- errors of OpenGL ----------------------------------------------------------------------------------------------------------

namespace {

// With and without the driver's own reports.
class GlErrors : public Backend, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    if (GetParam()) ::setenv("MORVANE_GL_DEBUG", "1", 1);
    Backend::SetUp();
  }
  void TearDown() override {
    Backend::TearDown();
    ::unsetenv("MORVANE_GL_DEBUG");
  }
};

}  // namespace

TEST_P(GlErrors, AreCountedAndSaidOnce) {
  for (m_WantedErrors = 0; m_WantedErrors < 3; m_WantedErrors++) {
    glEnable(0xFFFF);
    m_Render.EndFrame();
  }
  EXPECT_EQ(m_Render.GlErrorCount(), 3);
  const cStr errors = m_Log.Errors();
  EXPECT_THAT(errors, HasSubstr("OpenGL: "));
  EXPECT_EQ(errors.find("OpenGL: "), errors.rfind("OpenGL: "));
  EXPECT_EQ(m_Render.CreateTarget({8, 8, TextureFormat::Depth16}), -1);
  m_Render.EndFrame();
  EXPECT_EQ(m_Render.GlErrorCount(), 3) << "a refusal is none";
  ChangeDevice();
  glEnable(0xFFFF);
  m_Render.EndFrame();
  EXPECT_EQ(m_Render.GlErrorCount(), ++m_WantedErrors);
}
INSTANTIATE_TEST_SUITE_P(ReportedOrAsked, GlErrors, testing::Bool());
