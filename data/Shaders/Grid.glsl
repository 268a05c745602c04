// The ground: a net of lines that grows faint with the distance; with SHADOW what the scene keeps of the light from above.
// Output: light, linear, premultiplied.

// Vertex shader
uniform mat4 g_ViewProjectionMatrix;
uniform vec3 c_Center;   // of the square on the ground
uniform vec2 c_Half;     // half its sides along x and z
out vec2 v_Place;        // x and z relative to c_Center
out vec2 v_Part;         // -1 .. 1 across the square

void main() {
  int corner = int(gl_VertexID) < 3 ? int(gl_VertexID) : 6 - int(gl_VertexID);  // 0 1 2, 3 2 1
  v_Part = vec2((corner & 1) * 2 - 1, (corner >> 1) * 2 - 1);
  v_Place = v_Part * c_Half;
  gl_Position = g_ViewProjectionMatrix * vec4(c_Center + vec3(v_Place.x, 0.0, v_Place.y), 1.0);
}

// Fragment shader
uniform sampler2D s_Shadow;
uniform vec3 c_Center;
uniform vec3 c_Color;
uniform vec3 c_AxisX;
uniform vec3 c_AxisZ;
uniform float c_Alpha;      // how much of the ground is there: it fades where the eye sinks below it
uniform float c_LineWidth;  // pixels; below 1 it counts as 1
uniform float c_Spacing;    // of the fine lines, world units; every tenth is strong
in vec2 v_Place;
in vec2 v_Part;
out vec4 o_Color;

// A line adds light on a dark ground and takes it away on a light one; to the eye the same step is far less light in the dark.
float strength(vec3 color) { return mix(0.9, 0.04, saturate(dot(color, vec3(0.2126, 0.7152, 0.0722)))); }

// Part of a pixel that lines at whole numbers cover. Where lines stand closer than pixels they give way to their mean, and that to nothing.
float lines(vec2 at, vec2 width) {
  vec2 away = abs(fract(at - 0.5) - 0.5);
  vec2 cover = saturate(1.0 - away / max(width, vec2(1e-6))) * (1.0 - smoothstep(vec2(0.15), vec2(0.5), width));
  return max(cover.x, cover.y);
}
float axis(float at, float width) { return saturate(1.4 - abs(at) / max(width, 1e-9)); }

void main() {
#ifdef SHADOW
  float dark = texture(s_Shadow, v_Part * 0.5 + 0.5).r * c_Alpha;
  o_Color = vec4(0.0, 0.0, 0.0, dark);
#else
  vec2 world = c_Center.xz + v_Place;
  vec2 fine = world / c_Spacing, width = fwidth(fine) * max(c_LineWidth, 1.0);
  float fade = saturate(1.0 - length(v_Part));
  fade *= fade * smoothstep(0.0, 0.3, gl_FragCoord.z);  // nothing ends at an edge: neither at the rim nor in front of the eye
  float alpha = max(lines(fine, width) * 0.4, lines(fine * 0.1, width * 0.1)) * fade * c_Alpha * strength(c_Color);
  vec2 pixel = fwidth(world) * max(c_LineWidth, 1.0);
  float alongX = axis(world.y, pixel.y), alongZ = axis(world.x, pixel.x);
  // Axes are told apart by their colours: on a light ground they need all of it.
  float full = strength(c_Color);
  float axisAlpha = max(alongX, alongZ) * pow(fade, lerp(1.0, 0.4, full)) * saturate(c_Alpha * lerp(0.6, 1.9, full));
  vec3 color = axisAlpha > alpha ? (alongX > alongZ ? c_AxisX : c_AxisZ) : c_Color;
  alpha = saturate(max(alpha, axisAlpha));
  o_Color = vec4(color * alpha, alpha);
#endif
}
