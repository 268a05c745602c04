// Lines and points of the interface in the colours of their vertices. The output is sRGB, multiplied by alpha.

// Vertex shader
uniform mat4 g_ScreenMatrix;
in vec2 a_Position;  // pixels from the upper left corner
in vec4 a_Color;     // straight sRGB
out vec4 v_Color;

void main() {
  v_Color = vec4(a_Color.rgb * a_Color.a, a_Color.a);
  gl_Position = g_ScreenMatrix * vec4(a_Position, 0.0, 1.0);
}

// Fragment shader
in vec4 v_Color;
out vec4 o_Color;

void main() { o_Color = v_Color; }
