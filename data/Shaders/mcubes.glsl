// The surface of a volume as sculptor's clay in a studio: key, fill and rim light that stand with the viewer, sky and floor around.
// Normals of volumes are density gradients and point into the solid; with OUTWARD_NORMALS they point out of it. VERTEX_COLORS tints the
// clay with the colours of the vertices: sRGB, middle grey leaves it as it is. SOFT_SHADOW: the key light is kept off by what stands before
// the lamp.
// Output: light, linear; alpha is the part of it that occlusion does not dim, because it came straight from a lamp.

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
#ifdef OUTWARD_NORMALS
  vec3 normal = a_Normal;
#else
  vec3 normal = -a_Normal;
#endif
  v_Color = a_Color;
  v_Position = (g_WorldViewMatrix * vec4(a_Position, 1.0)).xyz;
  v_Normal = g_NormalViewMatrix * normal;
  gl_Position = g_WorldViewProjectionMatrix * vec4(a_Position, 1.0);
}

// Fragment shader
uniform mat4 g_ProjectionMatrix;
uniform vec3 c_Albedo;
in vec4 v_Color;
in vec3 v_Position;
in vec3 v_Normal;
out vec4 o_Color;

// Middle grey, the colour of what was never painted, changes nothing.
vec3 tint(vec3 color) { return pow(color / 0.50196, vec3(2.2)); }

const float Pi = 3.14159265;
const float Roughness = 0.46;

// Lamps, in the viewer's space: x to the right, y up, z towards the viewer.
const vec3 KeyDir = vec3(-0.60, 0.66, 0.44);
const vec3 KeyLight = vec3(2.70, 2.54, 2.32);
const vec3 FillDir = vec3(0.80, 0.05, 0.60);
const vec3 FillLight = vec3(0.36, 0.42, 0.52);
const vec3 RimDir = vec3(0.62, 0.46, -0.64);
const vec3 RimLight = vec3(2.10, 2.20, 2.40);
const vec3 SkyLight = vec3(0.44, 0.49, 0.57);
const vec3 FloorLight = vec3(0.25, 0.185, 0.14);

#ifdef SOFT_SHADOW

uniform sampler2D s_ShadowMap;  // depths as the key lamp sees them
uniform mat4 c_ToMap;           // from the viewer's space onto 0 .. 1 along all axes, lengths alike along each of them
uniform float c_ShadowSpread;   // width of an edge for each unit behind what throws it
uniform float c_ShadowReach;    // half the widest edge
uniform int c_ShadowTaps;

// Taps lie as the seeds of a sunflower (Vogel 1979), the pattern turned from pixel to pixel.
vec2 seed(int i, int count, float turn) {
  float angle = float(i) * 2.3999632 + turn;
  return sqrt((float(i) + 0.5) / float(count)) * vec2(cos(angle), sin(angle));
}

// Part of the depths around a place that lie behind `depth`, between texels as a straight line.
float openAt(vec2 place, float depth) {
  vec2 texel = place * vec2(textureSize(s_ShadowMap, 0)) - 0.5;
  ivec2 low = ivec2(floor(texel)), last = textureSize(s_ShadowMap, 0) - 1;
  vec2 part = texel - vec2(low);
  vec4 open;
  for (int i = 0; i < 4; i++) open[i] = step(depth, texelFetch(s_ShadowMap, clamp(low + ivec2(i & 1, i >> 1), ivec2(0), last), 0).r);
  vec2 row = lerp(open.xz, open.yw, vec2(part.x));
  return lerp(row.x, row.y, part.y);
}

// Part of the key light that arrives. Percentage-closer soft shadows: Fernando 2005. A tap is held against the plane of the surface, not
// against the depth of its middle: Isidoro 2006, "Shadow Mapping: GPU-based Tips and Techniques".
float keyOpen(vec3 position, vec3 n, float facing) {
  float turned = smoothstep(-0.05, 0.12, facing);  // where the surface turns away its own shading darkens it, without an edge
  if (turned <= 0.0) return 1.0;
  vec3 place = (c_ToMap * vec4(position, 1.0)).xyz, m = normalize(mat3(c_ToMap) * n);
  vec2 slope = m.xy / max(-m.z, 0.1);
  float texel = 1.0 / float(textureSize(s_ShadowMap, 0).x);
  float bias = texel * (1.0 + length(slope));
  // Four neighbours share a turn and look in four directions from it; the turns are interleaved gradient noise (Jimenez 2014).
  ivec2 pixel = ivec2(gl_FragCoord.xy);
  float turn = 6.2831853 * fract(52.9829189 * fract(dot(vec2(pixel / 2), vec2(0.06711056, 0.00583715)))) +
               1.5707963 * float((pixel.x & 1) + 2 * (pixel.y & 1));
  float gap = 0.0, found = 0.0;
  for (int i = 0; i < c_ShadowTaps; i++) {
    vec2 aside = seed(i, c_ShadowTaps, turn) * c_ShadowReach;
    float before = place.z + dot(slope, aside) - bias - textureLod(s_ShadowMap, place.xy + aside, 0.0).r;
    if (before > 0.0) gap += before, found += 1.0;
  }
  if (found == 0.0) return 1.0;
  float reach = clamp(c_ShadowSpread * gap / found, 1.5 * texel, c_ShadowReach);
  float open = 0.0;
  for (int i = 0; i < c_ShadowTaps; i++) {
    vec2 aside = seed(i, c_ShadowTaps, turn) * reach;
    open += openAt(place.xy + aside, place.z + dot(slope, aside) - bias);
  }
  return lerp(1.0, open / float(c_ShadowTaps), turned);
}

#endif

// Diffuse light that reaches a little around the terminator and fades out there without an edge, as on a porous body.
float wrapped(float cosine, float wrap) { return pow(saturate((cosine + wrap) / (1.0 + wrap)), 1.0 + 2.0 * wrap); }

// GGX lobe with the visibility term of Lazarov 2013 and Schlick's Fresnel term.
float specular(vec3 n, vec3 v, vec3 l, float roughness) {
  vec3 h = normalize(v + l);
  float a2 = roughness * roughness * roughness * roughness;
  float nh = saturate(dot(n, h)), lh = saturate(dot(l, h)), nl = saturate(dot(n, l));
  float d = nh * nh * (a2 - 1.0) + 1.0;
  float k = 0.5 * roughness * roughness;
  float visibility = lh * (1.0 - k) + k;
  float fresnel = 0.04 + 0.96 * pow(1.0 - lh, 5.0);
  return nl * fresnel * a2 / (4.0 * Pi * d * d * visibility * visibility) * Pi;
}

void main() {
  vec3 n = normalize(v_Normal);
  vec3 v = g_ProjectionMatrix[2][3] == 0.0 ? vec3(0.0, 0.0, 1.0) : normalize(-v_Position);
#ifdef VERTEX_COLORS
  vec3 albedo = min(c_Albedo * tint(v_Color.rgb), vec3(0.95));
#else
  vec3 albedo = c_Albedo;
#endif
  vec3 key = normalize(KeyDir), fill = normalize(FillDir), rim = normalize(RimDir);

#ifdef SOFT_SHADOW
  vec3 keyLamp = KeyLight * keyOpen(v_Position, n, dot(n, key));
#else
  vec3 keyLamp = KeyLight;
#endif
  vec3 keyLight = keyLamp * wrapped(dot(n, key), 0.22);
  vec3 fillLight = FillLight * wrapped(dot(n, fill), 0.35);
  vec3 around = lerp(FloorLight, SkyLight, smoothstep(-1.0, 1.0, n.y));
  // Where the surface turns away within a pixel, what the pixel sees on average: a brighter one would stand alone at the outline.
  float facing = dot(n, v);
  float edge = pow(1.0 - saturate(max(facing, 0.5 * fwidth(facing))), 3.0);
  vec3 rimLight = RimLight * edge * saturate(dot(n, rim) + 0.25);

  vec3 shine = keyLamp * specular(n, v, key, Roughness) + FillLight * specular(n, v, fill, Roughness) * 0.8;
  shine += SkyLight * edge * 0.10;
  vec3 lamps = albedo * keyLight + shine + rimLight * lerp(albedo, vec3(1.0), 0.25) * 0.55;
  vec3 soft = albedo * (fillLight + around);

  float direct = dot(lamps, vec3(0.333)) / max(dot(lamps + soft, vec3(0.333)), 1e-4);
  o_Color = vec4(lamps + soft, direct);
}
