// Points, lines and triangles in colours of their own, as they are: handles, measures, guides.

// Vertex shader
uniform mat4 g_WorldViewProjectionMatrix;
in vec3 a_Position;
in vec4 a_Color;
out vec4 v_Color;

void main() {
  v_Color = a_Color;
  gl_Position = g_WorldViewProjectionMatrix * vec4(a_Position, 1.0);
}

// Fragment shader
in vec4 v_Color;
out vec4 o_Color;

void main() { o_Color = v_Color; }
