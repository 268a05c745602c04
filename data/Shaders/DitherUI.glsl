// Every second pixel, like a chessboard: what lies below shows through the others. For what is out of use or not yet there. The output
// is sRGB, multiplied by alpha.

// Vertex shader
uniform mat4 g_ScreenMatrix;
in vec2 a_Position;  // pixels from the upper left corner
out vec2 v_Place;

void main() {
  v_Place = a_Position;
  gl_Position = g_ScreenMatrix * vec4(a_Position, 0.0, 1.0);
}

// Fragment shader
uniform vec2 c_Orig;    // pixel that takes the colour; the pattern moves with it
uniform vec4 c_Color0;  // straight sRGB
in vec2 v_Place;
out vec4 o_Color;

void main() {
  ivec2 cell = ivec2(floor(v_Place)) - ivec2(floor(c_Orig));
  if (((cell.x + cell.y) & 1) != 0) discard;
  o_Color = vec4(c_Color0.rgb * c_Color0.a, c_Color0.a);
}
