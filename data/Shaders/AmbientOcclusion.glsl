// How much of the surroundings each pixel sees, from the depth picture alone: 1 all, 0 nothing.
//
// Estimator: McGuire, Mara, Luebke 2012, "Scalable Ambient Obscurance": samples on a spiral in the picture, each weighed by the angle
// under which it stands above the tangent plane. Two radii: the form as a whole, and the creases.
// The angle of the spiral repeats every 4 by 4 pixels; the second pass (#define BLUR) averages just that pattern away, along the
// surface only.

// Vertex shader
void main() {
  gl_Position = vec4(vec2((gl_VertexID << 1) & 2, gl_VertexID & 2) * 2.0 - 1.0, 0.0, 1.0);
}

// Fragment shader
uniform mat4 g_ProjectionMatrix;
uniform sampler2D s_Depth;
uniform sampler2D s_Occlusion;
uniform int c_Scale;       // pixels of s_Depth per pixel here, along a side
uniform float c_Radius;    // of the large search, in world units
uniform float c_Detail;    // what the surface shows at the finest, world units: a voxel; 0: not known
uniform int c_FormSamples;
uniform float c_FormTurns;
uniform int c_CreaseSamples;
uniform float c_CreaseTurns;
out vec4 o_Color;

float depthAt(ivec2 pixel) {
  ivec2 last = textureSize(s_Depth, 0) - 1;
  return texelFetch(s_Depth, clamp(pixel * c_Scale, ivec2(0), last), 0).r;
}
bool isParallel() { return g_ProjectionMatrix[2][3] == 0.0; }
// Along the line of sight, positive before the eye.
float distanceAt(float depth) {
  float clip = depth * 2.0 - 1.0;
  return isParallel() ? (g_ProjectionMatrix[3][2] - clip) / g_ProjectionMatrix[2][2] : g_ProjectionMatrix[3][2] / (clip + g_ProjectionMatrix[2][2]);
}
vec3 placeAt(ivec2 pixel) {
  vec2 size = vec2(textureSize(s_Depth, 0)) / float(c_Scale);
  vec2 clip = (vec2(pixel) + 0.5 / float(c_Scale)) / size * 2.0 - 1.0;
  float away = distanceAt(depthAt(pixel));
  vec2 across = (clip - vec2(g_ProjectionMatrix[3][0], g_ProjectionMatrix[3][1])) / vec2(g_ProjectionMatrix[0][0], g_ProjectionMatrix[1][1]);
  return vec3(isParallel() ? across : across * away, -away);
}

#ifdef BLUR

void main() {
  ivec2 pixel = ivec2(gl_FragCoord.xy);
  float centre = distanceAt(depthAt(pixel));
  float sum = 0.0, weights = 0.0;
  for (int y = -2; y < 2; y++)
    for (int x = -2; x < 2; x++) {
      ivec2 at = clamp(pixel + ivec2(x, y), ivec2(0), textureSize(s_Occlusion, 0) - 1);
      float gap = abs(distanceAt(depthAt(at)) - centre) / (0.15 * c_Radius);
      float weight = exp(-gap * gap) + 1e-4;
      sum += texelFetch(s_Occlusion, at, 0).r * weight;
      weights += weight;
    }
  o_Color = vec4(sum / weights);
}

#else

// The shorter of the two differences to the neighbours stays on the surface where the other one crosses an outline.
vec3 shorter(vec3 a, vec3 b) { return dot(a, a) < dot(b, b) ? a : b; }

float occlusion(ivec2 pixel, vec3 place, vec3 normal, float angle, float radius, int samples, float turns, float strength) {
  vec2 size = vec2(textureSize(s_Depth, 0)) / float(c_Scale);
  float reach = radius * g_ProjectionMatrix[1][1] * 0.5 * size.y / (isParallel() ? 1.0 : -place.z);  // pixels
  if (reach < 1.0) return 1.0;
  float sum = 0.0;
  for (int i = 0; i < samples; i++) {
    float part = (float(i) + 0.5) / float(samples);
    float turn = part * turns * 6.2831853 + angle;
    ivec2 at = pixel + ivec2(round(vec2(cos(turn), sin(turn)) * part * reach));
    if (depthAt(at) >= 1.0) continue;
    vec3 gap = placeAt(at) - place;
    float squared = dot(gap, gap), height = dot(gap, normal) - 0.012 * radius;
    float fall = max(radius * radius - squared, 0.0);
    sum += fall * fall * fall * max(height / (squared + 0.0001 * radius * radius), 0.0);
  }
  float r5 = radius * radius * radius * radius * radius;
  return max(0.0, 1.0 - sum * strength * 5.0 / (r5 * float(samples)));
}

void main() {
  ivec2 pixel = ivec2(gl_FragCoord.xy);
  if (depthAt(pixel) >= 1.0) {
    o_Color = vec4(1.0);
    return;
  }
  vec3 place = placeAt(pixel);
  // Far below a voxel there are no cavities, and the steps of the depth picture would show in their place.
  float size = 2.0 * float(c_Scale) * (isParallel() ? 1.0 : -place.z) / (g_ProjectionMatrix[1][1] * float(textureSize(s_Depth, 0).y));
  float fade = smoothstep(0.01, 0.04, size / max(c_Detail, 1e-30));
  if (fade <= 0.0) {
    o_Color = vec4(1.0);
    return;
  }
  vec3 right = shorter(placeAt(pixel + ivec2(1, 0)) - place, place - placeAt(pixel - ivec2(1, 0)));
  vec3 up = shorter(placeAt(pixel + ivec2(0, 1)) - place, place - placeAt(pixel - ivec2(0, 1)));
  vec3 normal = normalize(cross(right, up));
  int cell = (pixel.x & 3) * 4 + (pixel.y & 3);
  float angle = float((cell * 7 + 3 * (pixel.y & 3)) & 15) / 16.0 * 6.2831853;
  float form = occlusion(pixel, place, normal, angle, c_Radius, c_FormSamples, c_FormTurns, 0.55);
  float crease = occlusion(pixel, place, normal, angle + 1.7, c_Radius * 0.14, c_CreaseSamples, c_CreaseTurns, 0.6);
  o_Color = vec4(lerp(1.0, form * crease, fade));
}

#endif
