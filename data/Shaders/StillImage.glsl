// A picture that stands in the scene, or, with BACKGROUND, behind all of it. Output: the light that the last pass turns into the picture's
// own colours, premultiplied.

// Vertex shader
uniform mat4 g_ViewProjectionMatrix;
uniform vec3 c_Center;  // world space; with BACKGROUND clip space
uniform vec3 c_Right;   // from there to the middle of the right side
uniform vec3 c_Up;
out vec2 v_Place;

void main() {
  int corner = int(gl_VertexID) < 3 ? int(gl_VertexID) : 6 - int(gl_VertexID);  // 0 1 2, 3 2 1
  vec2 part = vec2((corner & 1) * 2 - 1, (corner >> 1) * 2 - 1);
  v_Place = vec2(part.x, -part.y) * 0.5 + 0.5;  // the first row of a texture is its top
  vec3 place = c_Center + part.x * c_Right + part.y * c_Up;
#ifdef BACKGROUND
  gl_Position = vec4(place.xy, 1.0, 1.0);
#else
  gl_Position = g_ViewProjectionMatrix * vec4(place, 1.0);
#endif
}

// Fragment shader
uniform sampler2D s_Picture;  // sRGB, straight alpha
uniform float c_Opacity;
uniform float c_Exposure;
in vec2 v_Place;
out vec4 o_Color;

vec3 fromSrgb(vec3 x) { return lerp(x / 12.92, pow((x + 0.055) / 1.055, vec3(2.4)), step(vec3(0.04045), x)); }
// The inverse of the curve of Compose.glsl.
vec3 toLight(vec3 screen) {
  vec3 y = min(screen, vec3(0.98)), a = 2.51 - 2.43 * y, b = 0.03 - 0.59 * y, c = -0.14 * y;
  return (-b + sqrt(b * b - 4.0 * a * c)) / (2.0 * a) / c_Exposure;
}

void main() {
  vec4 color = texture(s_Picture, v_Place);
  float alpha = color.a * c_Opacity;
  o_Color = vec4(toLight(fromSrgb(color.rgb)) * alpha, alpha);
}
