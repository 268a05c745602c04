// An icon: a picture in the states of a button. The output is sRGB, multiplied by alpha.

// Vertex shader
uniform mat4 g_ScreenMatrix;
in vec2 a_Position;   // pixels from the upper left corner
in vec2 a_TexCoord0;
out vec2 v_Place;

void main() {
  v_Place = a_TexCoord0;
  gl_Position = g_ScreenMatrix * vec4(a_Position, 0.0, 1.0);
}

// Fragment shader
uniform sampler2D s_Decal;  // straight sRGB
uniform float c_Disabled;   // 0 .. 1: how grey and faint it is
uniform float c_Hot;        // 0 .. 1: how far it is on the way to white
uniform float c_Alpha;      // 0 .. 1
in vec2 v_Place;
out vec4 o_Color;

void main() {
  vec4 color = texture(s_Decal, v_Place);
  float grey = dot(color.rgb, vec3(0.2126, 0.7152, 0.0722));
  color.rgb = lerp(lerp(color.rgb, vec3(1.0), c_Hot), vec3(grey), c_Disabled);
  color.a *= c_Alpha * (1.0 - 0.5 * c_Disabled);
  o_Color = vec4(color.rgb * color.a, color.a);
}
