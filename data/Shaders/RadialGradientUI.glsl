// A line with round ends whose colour changes with the distance from its middle: knobs, grooves, soft buttons. Three stretches of it,
// measured along y or with HORIZONTAL along x, look different: the cave is cut out, the flat has the colour of the middle, and in the
// half the gradient goes only half the way away from one tone. A stretch whose end is not behind its beginning is not there. Lengths are
// pixels from the upper left corner, colours straight sRGB; the output is sRGB, multiplied by alpha.

// Vertex shader
uniform mat4 g_ScreenMatrix;
in vec2 a_Position;  // of a shape around all of it
out vec2 v_Place;

void main() {
  v_Place = a_Position;
  gl_Position = g_ScreenMatrix * vec4(a_Position, 0.0, 1.0);
}

// Fragment shader
uniform vec2 c_SegFrom;  // ends of the line
uniform vec2 c_SegTo;
uniform float c_SegRadius;   // half its width
uniform float c_GradRadius;  // distance at which c_BoundColor is reached, above 0
uniform float c_Power;       // 1: even; above: c_CenterColor reaches further; above 0
uniform vec4 c_CenterColor;
uniform vec4 c_BoundColor;
uniform float c_CaveFrom;
uniform float c_CaveTo;
uniform float c_FlatFrom;
uniform float c_FlatTo;
uniform float c_HalfFrom;
uniform float c_HalfTo;
uniform float c_HalfFlat;  // the tone: 0 is c_CenterColor, 1 c_BoundColor
in vec2 v_Place;
out vec4 o_Color;

// How far the pixel is from the line.
float distanceToLine() {
  vec2 along = c_SegTo - c_SegFrom, place = v_Place - c_SegFrom;
  return length(place - along * saturate(dot(place, along) / max(dot(along, along), 1e-6)));
}

// The part of the pixel around `at` within a stretch.
float within(float at, float from, float to) { return from < to ? saturate(at - from + 0.5) * saturate(to - at + 0.5) : 0.0; }

void main() {
#ifdef HORIZONTAL
  float at = v_Place.x;
#else
  float at = v_Place.y;
#endif
  float away = distanceToLine();
  float tone = pow(saturate(away / c_GradRadius), c_Power);
  tone = lerp(tone, c_HalfFlat, 0.5 * within(at, c_HalfFrom, c_HalfTo));
  tone *= 1.0 - within(at, c_FlatFrom, c_FlatTo);
  vec4 color = lerp(c_CenterColor, c_BoundColor, tone);
  color.a *= saturate(c_SegRadius - away + 0.5) * (1.0 - within(at, c_CaveFrom, c_CaveTo));
  o_Color = vec4(color.rgb * color.a, color.a);
}
