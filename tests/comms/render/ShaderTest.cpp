// Shader files and programs: parts, variants, failures, changes while the program runs.
#include <gmock/gmock.h>

#include <array>
#include <chrono>

#include "comms/render/BackendFixture.h"

using namespace comms;
using testing::HasSubstr;

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

  const int missing = m_Render.GetShaderID("Nowhere", "#define A 1\n#define B 2");
  EXPECT_GE(missing, 0);
  Fill(missing);
  EXPECT_EQ(PixelAt(5, 5), 0xFF0000u);
  EXPECT_THAT(UnknownShaders(), HasSubstr("    IRS->GetShaderID(\"Nowhere\", \"#define A 1\\n#define B 2\");\n"));
}

TEST_F(Backend, DefinesMakeVariantsOfOneFile) {
  WriteShader("Variant", "\n#ifdef BLUE\ncolor = vec4(0.0, 0.0, lerp(2.0, 4.0, 0.5), 1.0);\n#endif\n");
  const int plain = m_Render.GetShaderID("Variant", ""), blue = m_Render.GetShaderID("Variant", "#define BLUE");
  EXPECT_THAT(m_Log.Text(), HasSubstr("Compiling VS...\nCompiling FS...\nLinking program...\n"));
  Fill(plain);
  EXPECT_EQ(PixelAt(5, 5), 0x00FF00u);
  Fill(blue);
  EXPECT_EQ(PixelAt(5, 5), 0x0000FFu);
  EXPECT_EQ(UnknownShaders(), "");
}

namespace {

class CachedShaders : public Backend {
  void PrepareFolder() override {
    WriteShader("Other", "");
    WriteFile("PC/Cache.txt", " Fill, NULL;;Nowhere\tOther\r\n\n");
  }
};

}  // namespace

TEST_F(CachedShaders, AreCompiledAtTheStart) {
  EXPECT_TRUE(SplitCacheList(" ;, NULL\n").empty());
  EXPECT_THAT(m_Log.Text(), HasSubstr("3 Cached Shaders\n"));
  EXPECT_THAT(UnknownShaders(), HasSubstr("    IRS->GetShaderID(\"Nowhere\");\n"));
  const size_t length = m_Log.Text().size();
  EXPECT_TRUE(m_Render.IsShaderSound(m_Render.GetShaderID("Other", "")));
  EXPECT_EQ(m_Log.Text().size(), length) << "nothing more to compile";
}

// --- changes while the program runs --------------------------------------------------------------------------------------------

namespace {

class ChangedShaders : public Backend {
 protected:
  // Clocks of file systems are coarse; every change gets a second of its own.
  void ChangeShader(const cStr& name, const cStr& line) {
    WriteShader(name, line);
    const auto path = m_Folder / "Shaders" / (name + ".glsl");
    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(++m_Changes));
  }
  unsigned DrawnBy(int shader) {
    m_Render.Clear({1, 0, 0, 1}, 1);
    m_Render.SetShader(shader);
    DrawWhole();
    return PixelAt(5, 5);
  }
  int m_Changes = 0;
};

}  // namespace

TEST_F(ChangedShaders, ComeIntoUseWithTheirConstants) {
  const int plain = m_Render.GetShaderID("Fill", ""), variant = m_Render.GetShaderID("Fill", "#define X");
  Fill(plain, {0, 1, 0, 1});
  Fill(variant, {0, 0, 1, 1});
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  ChangeShader("Fill", "color.r = 1.0;");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 2);
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  EXPECT_EQ(DrawnBy(plain), 0xFFFF00u);
  EXPECT_EQ(DrawnBy(variant), 0xFF00FFu);
  ASSERT_TRUE(std::filesystem::remove(m_Folder / "Shaders" / "Fill.glsl"));
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0) << "a file on its way";
  EXPECT_EQ(UnknownShaders(), "");
}

TEST_F(ChangedShaders, KeepTheSlotsOfTheirSamplers) {
  const cStr fetch = "o_Color = texture(s_Second, v_Place) + texture(s_Third, v_Place);";
  const int shader = MakeShader("Slots", "uniform sampler2D s_Second, s_Third;", fetch);
  m_Render.SetShader(shader);
  const int second = m_Render.GetTextureParam("s_Second"), third = m_Render.GetTextureParam("s_Third");
  WriteFile(
      "Slots.glsl",
      "// Vertex shader\nout vec2 v_Place;\nvoid main() { v_Place = vec2(0); gl_Position = vec4(0); }\n// Fragment shader\nin "
      "vec2 v_Place;\nout vec4 o_Color;\nuniform sampler2D s_First, s_Second, s_Third;\nvoid main() { o_Color = "
      "texture(s_First, v_Place); " +
          fetch + " o_Color += texture(s_First, v_Place); }\n");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 1);
  EXPECT_EQ(m_Render.GetTextureParam("s_Second"), second);
  EXPECT_EQ(m_Render.GetTextureParam("s_Third"), third);
  EXPECT_THAT((std::array{second, third}), testing::Not(testing::Contains(m_Render.GetTextureParam("s_First"))));
}

TEST_F(ChangedShaders, ThatDoNotCompileLeaveTheProgramInUse) {
  const int fill = m_Render.GetShaderID("Fill", "");
  Fill(fill);
  ChangeShader("Fill", "color = mystery;");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  EXPECT_EQ(DrawnBy(fill), 0x00FF00u);
  EXPECT_THAT(m_Log.Text(), HasSubstr("\"Fill\" does not compile; the program of before stays in use."));
  const cStr said = UnknownShaders();
  EXPECT_THAT(said, HasSubstr("mystery"));
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  EXPECT_EQ(UnknownShaders(), said) << "once a change";
  ChangeDevice();
  m_Render.SetTarget(m_Target);
  EXPECT_EQ(DrawnBy(fill), 0x00FF00u) << "the texts of the program in use are kept, whatever the file says now";
  ChangeShader("Fill", "color.b = 1.0;");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 1);
  EXPECT_EQ(DrawnBy(fill), 0x00FFFFu);

  const int missing = m_Render.GetShaderID("Later", "");
  ChangeShader("Later", "color = vec4(1.0);");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 1) << "a file that was not there before";
  EXPECT_EQ(DrawnBy(missing), 0xFFFFFFu);
}
