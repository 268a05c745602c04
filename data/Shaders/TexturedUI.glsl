// A texture of any kind as a picture: SRC_1D, SRC_2D, SRC_3D or SRC_CUBE says which. With ALPHA_CHANNEL_AS_COLOR its alpha is shown as
// an opaque grey; with OVERRIDE_ALPHA c_Alpha stands in for the alpha. The output is sRGB, multiplied by alpha.

// Vertex shader
uniform mat4 g_ScreenMatrix;
in vec2 a_Position;   // pixels from the upper left corner
in vec4 a_Color;      // straight, multiplied with the texture
in vec3 a_TexCoord0;  // as many coordinates as the kind has; of a cube the direction
out vec4 v_Color;
out vec3 v_Place;

void main() {
  v_Color = a_Color;
  v_Place = a_TexCoord0;
  gl_Position = g_ScreenMatrix * vec4(a_Position, 0.0, 1.0);
}

// Fragment shader
#if defined(SRC_1D)
uniform sampler1D s_Src;
#define PLACE v_Place.x
#elif defined(SRC_2D)
uniform sampler2D s_Src;
#define PLACE v_Place.xy
#elif defined(SRC_3D)
uniform sampler3D s_Src;
#define PLACE v_Place
#elif defined(SRC_CUBE)
uniform samplerCube s_Src;
#define PLACE v_Place
#else
#error SRC_1D, SRC_2D, SRC_3D or SRC_CUBE must be defined
#endif
uniform float c_Alpha;
in vec4 v_Color;
in vec3 v_Place;
out vec4 o_Color;

void main() {
  vec4 color = texture(s_Src, PLACE);
#ifdef ALPHA_CHANNEL_AS_COLOR
  color = vec4(color.aaa, 1.0);
#endif
#ifdef OVERRIDE_ALPHA
  color.a = c_Alpha;
#endif
  color *= v_Color;
  o_Color = vec4(color.rgb * color.a, color.a);
}
