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
  EXPECT_THAT(file.Fragment.Text, HasSubstr("F2\n"));
  EXPECT_EQ(
      MakeShaderSource(file.Vertex, "#define A"),
      "#version 330 core\n#define saturate(x) clamp(x, 0.0, 1.0)\n#define lerp mix\n#define A\n#line 5\n// Vertex shader\nV1\n");
  for (const auto& [text, reason] : {std::pair("", "no line \"// Vertex shader\" in its 0 lines."),
                                     {"// Vertex shader\n", "no line \"// Fragment shader\" in its 1 lines."},
                                     {"// Vertex shader\n\n// Vertex shader\n// Fragment shader\n", "first in line 1"}}) {
    EXPECT_FALSE(SplitShaderFile(text, "x.glsl", file, error));
    EXPECT_THAT(error, HasSubstr(reason));
  }
}

TEST_F(Backend, BrokenShaderKeepsItsIdDrawsNothingAndIsWrittenDown) {
  WriteShader("Broken", "color = mystery;");
  const int id = m_Render.GetShaderID("Broken", "#define A 1\n#define B 2");
  EXPECT_FALSE(m_Render.IsShaderSound(id));
  EXPECT_EQ(m_Render.GetShaderID("Broken", "#define A 1\n#define B 2"), id) << "it is compiled once";
  Fill(id);
  EXPECT_EQ(PixelAt(5, 5), 0u);
  const cStr text = UnknownShaders();
  EXPECT_EQ(text.find("shader: Broken\ndefines: #define A 1\n#define B 2\ncompiling log:\n"), 0u) << text;
  EXPECT_THAT(text, HasSubstr("mystery"));
  EXPECT_THAT(text, testing::AnyOf(HasSubstr(":9("), HasSubstr("(9)"), HasSubstr(":9:")))
      << "line 9 of the file, as drivers write it";

  const int missing = m_Render.GetShaderID("Nowhere", "#define A 1\n#define B 2");
  Fill(missing);
  EXPECT_EQ(PixelAt(5, 5), 0u);
  EXPECT_THAT(UnknownShaders(), HasSubstr("    IRS->GetShaderID(\"Nowhere\", \"#define A 1\\n#define B 2\");\n"));
}

TEST_F(Backend, AShippedShaderServesWhereItsFileDoesNot) {
  WriteShader("Colored", "color = mystery;");
  std::filesystem::remove(m_Folder.Path("Shaders/Grid.glsl"));
  for (const char* name : {"Colored", "Grid"}) EXPECT_TRUE(m_Render.IsShaderSound(m_Render.GetShaderID(name, ""))) << name;
  EXPECT_THAT(UnknownShaders(), HasSubstr("mystery"));
}

TEST_F(Backend, DefinesMakeVariantsOfOneFile) {
  WriteShader("Variant", "\n#ifdef BLUE\ncolor = vec4(0.0, 0.0, lerp(2.0, 4.0, 0.5), 1.0);\n#endif\n");
  for (const auto& [defines, wanted] : {std::pair("", 0x00FF00u), std::pair("#define BLUE", 0x0000FFu)}) {
    Fill(m_Render.GetShaderID("Variant", defines));
    EXPECT_EQ(PixelAt(5, 5), wanted);
  }
  EXPECT_THAT(m_Log.Text(), HasSubstr("Compiling VS...\nCompiling FS...\nLinking program...\n"));
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
    const cStr path = m_Folder.Path("Shaders/" + name + ".glsl");
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

TEST_F(ChangedShaders, ComeIntoUseWithTheirConstantsWhereTheyCompile) {
  const int fill = m_Render.GetShaderID("Fill", ""), variant = m_Render.GetShaderID("Fill", "#define X");
  Fill(fill, {0, 1, 0, 1});
  Fill(variant, {0, 0, 1, 1});
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  ChangeShader("Fill", "color = mystery;");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  EXPECT_EQ(DrawnBy(fill), 0x00FF00u);
  EXPECT_THAT(m_Log.Text(), HasSubstr("\"Fill\" does not compile; the program of before stays in use."));
  const cStr said = UnknownShaders();
  EXPECT_THAT(said, HasSubstr("mystery"));
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  EXPECT_EQ(UnknownShaders(), said) << "once a change";
  ChangeDevice();
  EXPECT_EQ(DrawnBy(fill), 0x00FF00u) << "the texts of the program in use are kept, whatever the file says now";
  ChangeShader("Fill", "color.r = 1.0;");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 2);
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0);
  EXPECT_EQ(DrawnBy(fill), 0xFFFF00u);
  EXPECT_EQ(DrawnBy(variant), 0xFF00FFu);
  ASSERT_TRUE(std::filesystem::remove(m_Folder.Path("Shaders/Fill.glsl")));
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 0) << "a file on its way";
  EXPECT_EQ(UnknownShaders(), said);

  const int missing = m_Render.GetShaderID("Later", "");
  ChangeShader("Later", "color = vec4(1.0);");
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 1) << "a file that was not there before";
  EXPECT_EQ(DrawnBy(missing), 0xFFFFFFu);
}

TEST_F(ChangedShaders, KeepTheSlotsOfTheirSamplers) {
  const auto make = [&](const cStr& samplers, const cStr& sum) {
    m_Render.SetShader(MakeShader("Slots", "uniform sampler2D " + samplers + ";", "o_Color = " + sum + ";"));
  };
  const cStr sum = "texture(s_Second, v_Place) + texture(s_Third, v_Place)";
  make("s_Second, s_Third", sum);
  const int second = m_Render.GetTextureParam("s_Second"), third = m_Render.GetTextureParam("s_Third");
  make("s_First, s_Second, s_Third", "texture(s_First, v_Place) + " + sum);
  EXPECT_EQ(m_Render.ReloadChangedShaders(), 1);
  EXPECT_EQ(m_Render.GetTextureParam("s_Second"), second);
  EXPECT_EQ(m_Render.GetTextureParam("s_Third"), third);
  EXPECT_THAT((std::array{second, third}), testing::Not(testing::Contains(m_Render.GetTextureParam("s_First"))));
}
