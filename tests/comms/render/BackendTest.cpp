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
  facts.MaxTargetSize = 4096;
  const auto isSupported = [&](int version, bool (*hasExtension)(const char*), const char* label) {
    facts.VersionNumber = version;
    facts.HasExtension = hasExtension;
    const cStr report = MakeDeviceReport(facts);
    EXPECT_THAT(report, testing::StartsWith("               Graphics card and driver info\nVendor: V\nRenderer: R\n"
                                            "OpenGL Version: 3.3 X\nSupported:\n"));
    EXPECT_THAT(report, HasSubstr(label));
    return report.find(label) < report.find("Unsupported:");
  };
  const auto none = [](const char*) { return false; };
  const auto two = [](const char* name) { return cStr(name) == "GL_ATI_texture_float" || cStr(name) == "GL_ARB_shader_objects"; };
  EXPECT_TRUE(isSupported(33, none, "Frame Buffer Object (max size: 4096)"));
  EXPECT_FALSE(isSupported(33, none, "Anisotropic filtering (level: ")) << "core only since 4.6";
  EXPECT_TRUE(isSupported(11, two, "Float texture")) << "one of its extensions is enough";
  EXPECT_FALSE(isSupported(11, two, "OpenGL Shading Language")) << "it needs all four";
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
  facts.VersionNumber = 33;
  EXPECT_EQ(DescribeMissingNeeds(facts), "");
  facts.ShadingVersion = 120;
  EXPECT_EQ(
      DescribeMissingNeeds(facts),
      "The graphics driver of \"R\" offers OpenGL 3.3 (\"2.1 X\") with shading language 1.20; OpenGL 3.3 is needed. Missing: "
      "shading language 3.30.");
  facts.IsDesktop = false;
  EXPECT_THAT(DescribeMissingNeeds(facts), HasSubstr("OpenGL ES 3.3"));
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
  EXPECT_THAT(m_Log.Text(), HasSubstr("               Graphics card and driver info\nVendor: "));
  // Each uniform is declared in a shader of its own and compared there with the value that is written into its text.
  m_Render.State.World = cMat4{{{2, 0, 0, 0}, {0, 3, 1, 0}, {0, 0, 4, 0}, {5, 6, 7, 1}}};
  m_Render.State.View = LookAt({1, 2, 3}, {0, 0, 1}, {0, 1, 0});
  m_Render.State.Projection = Perspective(50, 1, 1, 9);
  constexpr double weeks = 3e6;
  for (const double time : {0.0, 2.0, 2.0625}) m_Render.BeginFrame(weeks + time);
  EXPECT_EQ(m_Render.State.TimeSec, 2.0625f);
  EXPECT_EQ(m_Render.State.FrameTimeSec, 0.0625f);
  for (int i = 0; i < StandardUniformCount; i++) {
    const UniformValue value = Evaluate(StandardUniform(i), m_Render.State);
    const cStr name = StandardUniformNames[i], type = value.Count == 16 ? "mat4" : value.Count == 3 ? "vec3" : "float";
    cStr values;
    for (int k = 0; k < value.Count; k++) values += Format("%s%.9g", k ? "," : "", double(value.Floats[k]));
    const int shader =
        MakeShader(name, "uniform " + type + " " + name + ";",
                   "o_Color = " + type + "(" + values + ") == " + name + " ? vec4(0.0, 1.0, 0.0, 1.0) : vec4(1.0);");
    m_Render.Clear({1, 0, 0, 1}, 1);
    Fill(shader);
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
  m_Render.SetScissor(8, 8, 1, 1);
  m_Render.ResolveTarget(many, m_Target);
  m_Render.SetScissor(0, 0, -1, -1);
  EXPECT_EQ(PixelAt(3, 3), 0x0000FFu) << "all of it, whatever drawing may reach";
  m_Render.DeleteTarget(many);
}

// First the driver is asked at the end of a frame, then it reports by itself.
TEST_F(Backend, ErrorsOfOpenGlAreCountedAndSaidOnce) {
  const size_t length = m_Log.Errors().size();
  for (const char* reported : {"0", "1"}) {
    ::setenv("MORVANE_GL_DEBUG", reported, 1);
    ChangeDevice();
    ::unsetenv("MORVANE_GL_DEBUG");
    for (int i = 0; i < 3; i++) {
      glEnable(0xFFFF);
      m_Render.EndFrame();
      EXPECT_EQ(m_Render.GlErrorCount(), ++m_WantedErrors);
    }
    EXPECT_EQ(m_Render.CreateTarget({8, 8, TextureFormat::Depth16}), -1);
    m_Render.EndFrame();
    EXPECT_EQ(m_Render.GlErrorCount(), m_WantedErrors) << "a refusal is none";
  }
  const cStr said = m_Log.Errors().substr(length);
  EXPECT_THAT(said, HasSubstr("OpenGL: "));
  EXPECT_THAT(said, testing::Not(testing::ContainsRegex("(OpenGL: .*\n){3}"))) << "each way has words of its own";
}
