// What a lamp sees of the surface: depths alone.

// Vertex shader
uniform mat4 g_WorldViewProjectionMatrix;
in vec3 a_Position;

void main() { gl_Position = g_WorldViewProjectionMatrix * vec4(a_Position, 1.0); }

// Fragment shader
out vec4 o_Color;

void main() { o_Color = vec4(0.0); }
