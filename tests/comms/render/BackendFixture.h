#pragma once
// A back end with a target of its own and a folder of shaders: those that are shipped, and those that tests write. Skipped where
// the machine can't draw.
#include <gtest/gtest.h>
#include "comms/BaseMesh.h"
#include "comms/Log.h"
#include "comms/MeshFiles.h"
#include "comms/render/EglContext.h"
#include "comms/render/cRenderGL.h"

class Backend : public testing::Test {
 protected:
  void SetUp() override {
    comms::cStr error;
    m_Context = comms::EglContext::Create(error);
    if (!m_Context) GTEST_SKIP() << error;
    std::filesystem::create_directories(m_Folder.Path("Shaders/PC"));
    for (const auto& entry : std::filesystem::directory_iterator(MORVANE_DATA_DIR "/Shaders"))
      if (entry.is_regular_file()) std::filesystem::copy(entry.path(), m_Folder.Path("Shaders"));
    WriteShader("Fill", "");
    PrepareFolder();
    ASSERT_TRUE(m_Render.Init({m_Folder.Path(), m_Folder.Path()}, error)) << error;
    m_Target = m_Render.CreateTarget(
        {Size, Size, comms::TextureFormat::Rgba8, comms::TextureFormat::Depth24, comms::TextureFilter::Nearest, 1});
    m_Render.SetTarget(m_Target);
    m_Render.SetViewport(0, 0, Size, Size);
    m_Render.Clear({0, 0, 0, 1}, 1);
  }
  virtual void PrepareFolder() {}
  void TearDown() override {
    if (!m_Context) return;
    m_Render.EndFrame();
    EXPECT_EQ(m_Render.GlErrorCount(), m_WantedErrors) << m_Log.Text();
  }

  void WriteFile(const comms::cStr& name, const comms::cStr& text) const { m_Folder.Write("Shaders/" + name, text); }
  // Line 9 of the file is `line`; it may change `color`.
  void WriteShader(const comms::cStr& name, const comms::cStr& line) const {
    WriteFile(name + ".glsl",
              "// Vertex shader\nvoid main() {\n  gl_Position = vec4(vec2((gl_VertexID << 1) & 2, gl_VertexID & 2) * 2.0 - 1.0, "
              "0.0, 1.0);\n}\n"
              "// Fragment shader\nuniform vec4 c_Color;\nout vec4 o_Color;\nvoid main() { vec4 color = c_Color;\n" +
                  line + "\no_Color = saturate(color); }\n");
  }
  // A shader whose fragments are `body`, with v_Place 0 .. 1 from the lower left corner and everything that `declarations`
  // declares.
  int MakeShader(const comms::cStr& name, const comms::cStr& declarations, const comms::cStr& body) {
    WriteFile(name + ".glsl",
              "// Vertex shader\nout vec2 v_Place;\nvoid main() { v_Place = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2);\n"
              "gl_Position = vec4(v_Place * 2.0 - 1.0, 0.0, 1.0); }\n// Fragment shader\nin vec2 v_Place;\nout vec4 o_Color;\n" +
                  declarations + "\nvoid main() { " + body + " }\n");
    const int id = m_Render.GetShaderID(name, {});
    EXPECT_TRUE(m_Render.IsShaderSound(id)) << m_Log.Text();
    return id;
  }
  void DrawWhole() {
    m_Render.SetVertexBuffer(-1, {});
    m_Render.Draw(comms::BaseMesh::TriangleList, 0, 3);
  }
  void Fill(int shader, const comms::cVec4& color = {0, 1, 0, 1}) {
    m_Render.SetShader(shader);
    m_Render.SetConstant("c_Color", color);
    DrawWhole();
  }
  // The texture all over the target, and the colour of a pixel then.
  unsigned Show(int texture, int sampler = -1) {
    m_Render.SetShader(MakeShader("Show", "uniform sampler2D s_Decal;", "o_Color = texture(s_Decal, v_Place);"));
    m_Render.SetTexture(m_Render.GetTextureParam("s_Decal"), texture, sampler);
    DrawWhole();
    return PixelAt(5, 5);
  }
  // Colour of the pixel as 0xRRGGBB.
  unsigned PixelAt(int x, int y) {
    comms::cImage image;
    EXPECT_TRUE(m_Render.ReadTarget(m_Target, image));
    const uint8_t* pixel = image.Empty() ? nullptr : image.Pixel(x, y);
    return pixel ? unsigned(pixel[0] << 16 | pixel[1] << 8 | pixel[2]) : ~0u;
  }
  comms::cStr UnknownShaders() const { return m_Folder.Read("UnknownShaders.txt"); }
  // The device goes and another comes, as when a window moves to another screen.
  void ChangeDevice() {
    m_Render.Unload();
    m_Context.reset();
    comms::cStr error;
    m_Context = comms::EglContext::Create(error);
    ASSERT_TRUE(m_Context) << error;
    m_Render.Reload();
    m_Render.SetTarget(m_Target);
    m_Render.Clear({0, 0, 0, 1}, 1);
  }
  static constexpr int Size = 32;
  comms::LogRecorder m_Log;
  const TestFolder m_Folder;
  std::unique_ptr<comms::EglContext> m_Context;
  comms::cRenderGL m_Render;
  int m_Target = -1, m_WantedErrors = 0;
};
