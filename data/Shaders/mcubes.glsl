// The surface of a volume as sculptor's clay in a studio: key, fill and rim light that stand with the viewer, sky and floor around.
// Normals of volumes are density gradients and point into the solid; with OUTWARD_NORMALS they point out of it. VERTEX_COLORS tints the
// clay with the colours of the vertices.
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
  vec3 albedo = c_Albedo * v_Color.rgb * v_Color.rgb;
#else
  vec3 albedo = c_Albedo;
#endif
  vec3 key = normalize(KeyDir), fill = normalize(FillDir), rim = normalize(RimDir);

  vec3 keyLight = KeyLight * wrapped(dot(n, key), 0.22);
  vec3 fillLight = FillLight * wrapped(dot(n, fill), 0.35);
  vec3 around = lerp(FloorLight, SkyLight, smoothstep(-1.0, 1.0, n.y));
  // Where the surface turns away within a pixel, what the pixel sees on average: a brighter one would stand alone at the outline.
  float facing = dot(n, v);
  float edge = pow(1.0 - saturate(max(facing, 0.5 * fwidth(facing))), 3.0);
  vec3 rimLight = RimLight * edge * saturate(dot(n, rim) + 0.25);

  vec3 shine = KeyLight * specular(n, v, key, Roughness) + FillLight * specular(n, v, fill, Roughness) * 0.8;
  shine += SkyLight * edge * 0.10;
  vec3 lamps = albedo * keyLight + shine + rimLight * lerp(albedo, vec3(1.0), 0.25) * 0.55;
  vec3 soft = albedo * (fillLight + around);

  float direct = dot(lamps, vec3(0.333)) / max(dot(lamps + soft, vec3(0.333)), 1e-4);
  o_Color = vec4(lamps + soft, direct);
}
