// Everything of the interface in one program, so that a whole page is one draw call: boxes by their distance function, soft shadows,
// glyphs and icons from the atlas, pictures, and strokes. Colours come in as straight sRGB; the output is sRGB, multiplied by alpha.

// Vertex shader
uniform mat4 g_ScreenMatrix;
in vec2 a_Position;   // pixels from the upper left corner
in vec4 a_Color;
in vec4 a_Normal;     // colour of the border
in vec4 a_TexCoord0;  // place inside the shape, half its size
in vec4 a_TexCoord1;  // radius, width of the border, parameter, kind
out vec4 v_Color;
out vec4 v_BorderColor;
out vec4 v_Place;
out vec4 v_Shape;

void main() {
  v_Color = a_Color;
  v_BorderColor = a_Normal;
  v_Place = a_TexCoord0;
  v_Shape = a_TexCoord1;
  gl_Position = g_ScreenMatrix * vec4(a_Position, 0.0, 1.0);
}

// Fragment shader
uniform sampler2D s_Glyphs;  // icons too: four masks side by side, one a channel
uniform sampler2D s_Image;
in vec4 v_Color;
in vec4 v_BorderColor;
in vec4 v_Place;
in vec4 v_Shape;
out vec4 o_Color;

// The order of draw::ShapeKind.
const int Box = 0, Gradient = 1, Shadow = 2, Mask = 3, Picture = 4, Stroke = 5;

vec4 premultiplied(vec4 color) { return vec4(color.rgb * color.a, color.a); }

// Distance to the edge of a box around 0, in pixels; negative inside.
float boxDistance(vec2 place, vec2 extent, float radius) {
  vec2 q = abs(place) - extent + radius;
  return length(max(q, 0.0)) + min(max(q.x, q.y), 0.0) - radius;
}

vec4 box(float borderWidth) {
  float away = boxDistance(v_Place.xy, v_Place.zw, v_Shape.x);
  vec4 color = premultiplied(v_Color);
  if (borderWidth > 0.0) color = lerp(premultiplied(v_BorderColor), color, saturate(0.5 - away - borderWidth));
  return color * saturate(0.5 - away);
}

// The blur spreads over `blur` pixels on each side of the edge, with the round ends of a bell curve.
vec4 shadow(float blur) {
  float away = boxDistance(v_Place.xy, v_Place.zw, v_Shape.x);
  float part = saturate(0.5 - 0.5 * away / blur);
  return premultiplied(v_Color) * part * part * (3.0 - 2.0 * part);
}

// The exponent gives thin bright strokes on dark ground the weight that blending in sRGB takes from them.
vec4 mask(int channel, float exponent) {
  float coverage = texelFetch(s_Glyphs, ivec2(floor(v_Place.xy)), 0)[channel];
  return premultiplied(v_Color) * pow(coverage, exponent);
}

// Half a step of noise keeps soft gradients free of bands (Jimenez 2014, interleaved gradient noise).
vec4 dithered(vec4 color) {
  float noise = fract(52.9829189 * fract(dot(gl_FragCoord.xy, vec2(0.06711056, 0.00583715)))) - 0.5;
  return color + noise / 255.0 * color.a;
}

void main() {
  vec2 across = dFdx(v_Place.xy), down = dFdy(v_Place.xy);
  int kind = int(v_Shape.w + 0.5);
  if (kind == Mask) {
    o_Color = mask(int(v_Shape.x + 0.5), v_Shape.z);
  } else if (kind == Box) {
    o_Color = box(v_Shape.y);
  } else if (kind == Gradient) {
    o_Color = dithered(box(0.0));
  } else if (kind == Shadow) {
    o_Color = dithered(shadow(v_Shape.z));
  } else if (kind == Picture) {
    o_Color = premultiplied(textureGrad(s_Image, v_Place.xy, across, down) * v_Color);
  } else {
    // x: distance from the middle line, y: distance from the end, z: half the width
    o_Color = premultiplied(v_Color) * saturate(v_Place.z + 0.5 - abs(v_Place.x)) * saturate(v_Place.y + 0.5);
  }
}
