// The finished picture: dims the light by its occlusion, brings it into the range of a screen and averages the pixels of the larger
// picture. Output: sRGB.

// Vertex shader
void main() {
  gl_Position = vec4(vec2((gl_VertexID << 1) & 2, gl_VertexID & 2) * 2.0 - 1.0, 0.0, 1.0);
}

// Fragment shader
uniform mat4 g_ProjectionMatrix;
uniform sampler2D s_Scene;      // light; alpha: the part that occlusion does not dim
uniform sampler2D s_Depth;
uniform sampler2D s_Occlusion;  // a pixel for each c_Step pixels here, along a side
uniform vec2 c_Origin;          // of the picture in what it is drawn to
uniform int c_Scale;            // pixels of s_Scene per pixel here, along a side
uniform int c_Step;
uniform float c_Radius;         // of the large search for occlusion, in world units
uniform vec3 c_Albedo;
uniform float c_Exposure;
out vec4 o_Color;

// Light bounces in a crease and takes the colour of its walls: Jimenez et al. 2016, "Practical Realtime Strategies for Accurate Indirect
// Occlusion".
vec3 bounced(float visible) {
  vec3 a = 2.0404 * c_Albedo - 0.3324, b = -4.7951 * c_Albedo + 0.6417, c = 2.7552 * c_Albedo + 0.6903;
  return max(vec3(visible), ((visible * a + b) * visible + c) * visible);
}
// A film-like curve: Narkowicz 2015, "ACES Filmic Tone Mapping Curve".
vec3 toScreen(vec3 x) { return saturate(x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14)); }
vec3 toSrgb(vec3 x) { return lerp(x * 12.92, 1.055 * pow(max(x, vec3(1e-5)), vec3(1.0 / 2.4)) - 0.055, step(vec3(0.0031308), x)); }

// Half a step of noise keeps the soft gradients free of bands (Jimenez 2014, interleaved gradient noise).
float noise(vec2 pixel) { return fract(52.9829189 * fract(dot(pixel, vec2(0.06711056, 0.00583715)))); }

#ifdef COARSE_OCCLUSION

float distanceAt(ivec2 pixel) {
  float clip = texelFetch(s_Depth, pixel, 0).r * 2.0 - 1.0;
  if (g_ProjectionMatrix[2][3] == 0.0) return (g_ProjectionMatrix[3][2] - clip) / g_ProjectionMatrix[2][2];
  return g_ProjectionMatrix[3][2] / (clip + g_ProjectionMatrix[2][2]);
}
// The four nearest pixels of the coarse picture, those on the same surface before the others.
float visibleAt(ivec2 pixel) {
  vec2 place = (vec2(pixel) + 0.5) / float(c_Step) - 0.5 / float(c_Step);
  ivec2 low = ivec2(floor(place));
  vec2 part = place - vec2(low);
  ivec2 last = textureSize(s_Occlusion, 0) - 1, lastDepth = textureSize(s_Depth, 0) - 1;
  float own = distanceAt(pixel * c_Scale), sum = 0.0, weights = 0.0;
  for (int i = 0; i < 4; i++) {
    ivec2 at = min(low + ivec2(i & 1, i >> 1), last);
    float gap = (distanceAt(min(at * c_Step * c_Scale, lastDepth)) - own) / (0.05 * c_Radius);
    vec2 side = lerp(1.0 - part, part, vec2(i & 1, i >> 1));
    float weight = side.x * side.y * exp(-gap * gap) + 1e-5;
    sum += texelFetch(s_Occlusion, at, 0).r * weight;
    weights += weight;
  }
  return sum / weights;
}

#else

float visibleAt(ivec2 pixel) { return texelFetch(s_Occlusion, pixel, 0).r; }

#endif

void main() {
  ivec2 pixel = ivec2(gl_FragCoord.xy - c_Origin);
  vec3 open = bounced(visibleAt(pixel));
  vec3 sum = vec3(0.0);
  for (int y = 0; y < c_Scale; y++)
    for (int x = 0; x < c_Scale; x++) {
      ivec2 at = pixel * c_Scale + ivec2(x, y);
      vec4 light = texelFetch(s_Scene, at, 0);
      if (texelFetch(s_Depth, at, 0).r < 1.0) light.rgb *= lerp(open, vec3(1.0), light.a * 0.45);
      sum += toScreen(light.rgb * c_Exposure);
    }
  vec3 color = toSrgb(sum / float(c_Scale * c_Scale));
  o_Color = vec4(color + (noise(gl_FragCoord.xy) - 0.5) / 255.0, 1.0);
}
