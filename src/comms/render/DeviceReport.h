#pragma once
// What the log says about the graphics card: who made it and which features it has.
#include <functional>

#include "comms/Str.h"

namespace comms {

struct DeviceFacts {
  cStr Vendor, Renderer, Version;
  int VersionNumber = 0;                          ///< 10 * major + minor
  int ShadingVersion = 0;                         ///< of the shading language, 100 * major + minor; 0: not told
  bool IsDesktop = true;                          ///< false: OpenGL ES
  std::function<bool(const char*)> HasExtension;  ///< by the full name, "GL_EXT_texture_filter_anisotropic"
  int FragmentTextureUnits = 0, MaxAnisotropy = 0, VertexAttributes = 0, VertexUniformVectors = 0, MaxTargetSize = 0,
      DrawTargets = 0;
};

/// The table, one line of text a line. A feature counts as there when the version has it in its core or an extension brings it.
cStr MakeDeviceReport(const DeviceFacts& facts);

/// Empty where the device serves. Else one sentence: the version that the driver offers, the one that is needed, and what is
/// missing.
cStr DescribeMissingNeeds(const DeviceFacts& facts);

/// Of the context that is current: what DescribeMissingNeeds says, or, where that is nothing, renderer and version.
cStr DescribeCurrentDevice();

}  // namespace comms
