#include "comms/render/DeviceReport.h"

namespace comms {

namespace {

enum class Need { Any, All };

struct Feature {
  const char* Label;  ///< one that ends in ": " is followed by Limit and a closing parenthesis
  int CoreSince;      ///< 10 * major + minor of the first version that has it without an extension
  cList<const char*> Extensions;
  Need Needed = Need::Any;
  int DeviceFacts::*Limit = nullptr;
};

// Choosing a pixel format and multisampling were window-system extensions; every context of version 3 has them behind it.
const cList<Feature>& GetFeatures() {
  static const cList<Feature> features = {
      {"Pixel format", 30, {"WGL_ARB_pixel_format"}},
      {"Multisample", 13, {"GL_ARB_multisample", "WGL_ARB_multisample"}},
      {"Multitexture (fragment shader units: ", 13, {"GL_ARB_multitexture"}, Need::Any, &DeviceFacts::FragmentTextureUnits},
      {"Anisotropic filtering (level: ", 46, {"GL_EXT_texture_filter_anisotropic"}, Need::Any, &DeviceFacts::MaxAnisotropy},
      {"Texture Compression", 13, {"GL_ARB_texture_compression"}},
      {"Stencil two side (Multivendor)", 20, {"GL_EXT_stencil_two_side"}},
      {"Stencil two side (ATI)", 20, {"GL_ATI_separate_stencil"}},
      {"Vertex Buffer Object", 15, {"GL_ARB_vertex_buffer_object"}},
      {"Vertex Attributes (count: ", 20, {"GL_ARB_vertex_program"}, Need::Any, &DeviceFacts::VertexAttributes},
      {"Vertex Uniform Vectors (count: ", 20, {"GL_ARB_vertex_program"}, Need::Any, &DeviceFacts::VertexUniformVectors},
      {"OpenGL Shading Language",
       20,
       {"GL_ARB_shading_language_100", "GL_ARB_shader_objects", "GL_ARB_vertex_shader", "GL_ARB_fragment_shader"},
       Need::All},
      {"Frame Buffer Object (max size: ", 30, {"GL_EXT_framebuffer_object"}, Need::Any, &DeviceFacts::MaxTargetSize},
      {"MRT (targets: ", 20, {"GL_ARB_draw_buffers"}, Need::Any, &DeviceFacts::DrawTargets},
      {"Float texture", 30, {"GL_ARB_texture_float", "GL_ATI_texture_float"}},
      {"Non power of two", 20, {"GL_ARB_texture_non_power_of_two"}}};
  return features;
}

constexpr char ShadingNeed[] = "shading language 3.30";
// What the back end uses of OpenGL 3.3 and older versions lack.
const cList<Feature>& GetNeeds() {
  static const cList<Feature> needs = {{"vertex buffer objects", 15, {"GL_ARB_vertex_buffer_object"}},
                                       {"float textures", 30, {"GL_ARB_texture_float"}},
                                       {"frame buffer objects", 30, {"GL_ARB_framebuffer_object"}},
                                       {"vertex array objects", 30, {"GL_ARB_vertex_array_object"}},
                                       {"buffer copies", 31, {"GL_ARB_copy_buffer"}},
                                       {"sampler objects", 33, {"GL_ARB_sampler_objects"}},
                                       {ShadingNeed, 33, {}}};
  return needs;
}
constexpr int NeededVersion = 33, NeededShadingVersion = 330;

bool IsSupported(const Feature& feature, const DeviceFacts& facts) {
  if (facts.VersionNumber >= feature.CoreSince) return true;
  size_t present = 0;
  for (const char* extension : feature.Extensions) present += facts.HasExtension(extension);
  return feature.Needed == Need::All ? present == feature.Extensions.size() : present > 0;
}

}  // namespace

cStr MakeDeviceReport(const DeviceFacts& facts) {
  cStr supported, unsupported;
  for (const Feature& feature : GetFeatures()) {
    const bool has = IsSupported(feature, facts);
    cStr line = cStr("  ") + feature.Label;
    if (feature.Limit) line += Format("%d)", has ? facts.*feature.Limit : 0);
    (has ? supported : unsupported) += line + '\n';
  }
  return "               Graphics card and driver info\nVendor: " + facts.Vendor + "\nRenderer: " + facts.Renderer +
         "\nOpenGL Version: " + facts.Version + "\nSupported:\n" + supported + "Unsupported:\n" + unsupported;
}

cStr DescribeMissingNeeds(const DeviceFacts& facts) {
  // A driver may hold its shading language back behind its version.
  const bool lacksShading = facts.ShadingVersion > 0 && facts.ShadingVersion < NeededShadingVersion;
  if (facts.IsDesktop && facts.VersionNumber >= NeededVersion && !lacksShading) return {};
  cStr missing, shading;
  for (const Feature& need : GetNeeds())
    if (!IsSupported(need, facts) || (lacksShading && need.Label == ShadingNeed))
      missing += (missing.empty() ? "" : ", ") + cStr(need.Label);
  if (!facts.IsDesktop) missing = "desktop OpenGL";
  if (lacksShading) shading = Format(" with shading language %d.%02d", facts.ShadingVersion / 100, facts.ShadingVersion % 100);
  return Format("The graphics driver of \"%s\" offers %s %d.%d (\"%s\")%s; OpenGL %d.%d is needed. Missing: %s.",
                facts.Renderer.c_str(), facts.IsDesktop ? "OpenGL" : "OpenGL ES", facts.VersionNumber / 10,
                facts.VersionNumber % 10, facts.Version.c_str(), shading.c_str(), NeededVersion / 10, NeededVersion % 10,
                missing.c_str());
}

}  // namespace comms
