// The studio behind the object: a vertical gradient, a glow behind the middle and darker corners. Linear light.

// Vertex shader
out vec2 v_Place;

void main() {
  vec2 corner = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2) * 2.0 - 1.0;
  v_Place = corner;
  gl_Position = vec4(corner, 0.0, 1.0);
}

// Fragment shader
uniform float g_ViewportWidth;
uniform float g_ViewportHeight;
uniform vec3 c_Top;
uniform vec3 c_Bottom;
uniform vec3 c_Glow;
uniform float c_Vignette;
in vec2 v_Place;
out vec4 o_Color;

void main() {
  vec3 color = lerp(c_Bottom, c_Top, smoothstep(-1.0, 1.0, v_Place.y));
  vec2 aspect = vec2(g_ViewportWidth / g_ViewportHeight, 1.0) / min(g_ViewportWidth / g_ViewportHeight, 1.0);
  float away = length((v_Place - vec2(0.0, 0.12)) * lerp(vec2(1.0), aspect, 0.6));
  color += c_Glow * exp(-1.6 * away * away);
  color *= 1.0 - c_Vignette * smoothstep(0.55, 1.75, length(v_Place));
  o_Color = vec4(color, 1.0);
}
