// A volume lit by a picture of a sphere: the normal, as the viewer sees it, chooses the light. Normals point into the solid.
// Output: light, linear; alpha is the part that occlusion does not dim.
// VERTEX_COLORS tints it with the colours of the vertices: sRGB, middle grey leaves it as it is.
// With WIRE: the edges of the triangles, a little before the surface; where they stand closer than the eye can part them they grow faint.

// Vertex shader
uniform mat4 g_WorldViewProjectionMatrix;
uniform mat4 g_WorldViewMatrix;
uniform mat3 g_NormalViewMatrix;
in vec3 a_Position;
in vec3 a_Normal;
in vec4 a_Color;
out vec4 v_Color;
out vec3 v_Position;
out vec3 v_Normal;

void main() {
  v_Color = a_Color;
  v_Position = (g_WorldViewMatrix * vec4(a_Position, 1.0)).xyz;
  v_Normal = g_NormalViewMatrix * -a_Normal;
  gl_Position = g_WorldViewProjectionMatrix * vec4(a_Position, 1.0);
#ifdef WIRE
  gl_Position.z -= 2e-4 * gl_Position.w;
#endif
}

// Fragment shader
uniform mat4 g_ProjectionMatrix;
uniform sampler2D s_Matcap;
uniform float g_ViewportHeight;
uniform vec3 c_Wire;   // light of a line
uniform float c_Edge;  // length of an edge as it is seen from straight above, in units of the viewer's space
in vec4 v_Color;
in vec3 v_Position;
in vec3 v_Normal;
out vec4 o_Color;

void main() {
  vec3 n = normalize(v_Normal);
#ifdef WIRE
  float facing = abs(dot(n, normalize(v_Position)));
  float pixels = c_Edge * lerp(0.25, 1.0, facing) * gl_FragCoord.w * g_ProjectionMatrix[1][1] * g_ViewportHeight * 0.5;
  float alpha = lerp(0.02, 0.5, smoothstep(2.0, 8.0, pixels));
  o_Color = vec4(c_Wire * alpha, alpha);
#else
  vec3 v = g_ProjectionMatrix[2][3] == 0.0 ? vec3(0.0, 0.0, 1.0) : normalize(-v_Position);
  // A frame across the line to the eye, so that a sphere looks alike in the middle and at the border of the view.
  vec3 right = normalize(vec3(v.z, 0.0, -v.x));
  vec3 up = cross(v, right);
  vec2 place = vec2(dot(n, right), -dot(n, up)) * 0.492 + 0.5;
  vec3 light = texture(s_Matcap, place).rgb;
  light *= light * 4.0;  // stored as the root of a quarter
#ifdef VERTEX_COLORS
  light *= pow(v_Color.rgb / 0.50196, vec3(2.2));
#endif
  o_Color = vec4(light, 0.35);
#endif
}
