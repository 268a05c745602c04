// Shapes of the interface in one colour. The output is sRGB, multiplied by alpha.

// Vertex shader
uniform mat4 g_ScreenMatrix;
in vec2 a_Position;  // pixels from the upper left corner

void main() { gl_Position = g_ScreenMatrix * vec4(a_Position, 0.0, 1.0); }

// Fragment shader
uniform vec4 c_Color;  // straight sRGB
out vec4 o_Color;

void main() { o_Color = vec4(c_Color.rgb * c_Color.a, c_Color.a); }
