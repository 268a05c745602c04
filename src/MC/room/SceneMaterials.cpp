#include "MC/room/SceneMaterials.h"

#include <algorithm>
#include <cmath>
#include <iterator>

using comms::cVec3;

cVec3 GetClayAlbedo(ClayKind kind) {
  static constexpr cVec3 albedos[] = {
      {0.46f, 0.345f, 0.27f}, {0.36f, 0.36f, 0.37f}, {0.70f, 0.68f, 0.64f}, {0.52f, 0.19f, 0.10f}, {0.17f, 0.20f, 0.24f}};
  return albedos[std::min(size_t(kind), std::size(albedos) - 1)];
}

namespace {

// A surface: colour, how far light seeps around the terminator, gloss, and what it mirrors at grazing angles.
struct MatcapLook {
  cVec3 Albedo, Seep, Gloss;
  float Hardness, Edge, SkyPart;
};

const MatcapLook& LookOf(MatcapKind kind) {
  static const MatcapLook looks[] = {
      {{0.62f, 0.61f, 0.60f}, {0.10f, 0.08f, 0.07f}, {0.55f, 0.56f, 0.58f}, 60, 0.28f, 0.55f},    // Porcelain
      {{0.46f, 0.10f, 0.065f}, {0.20f, 0.03f, 0.015f}, {0.42f, 0.38f, 0.34f}, 42, 0.20f, 0.40f},  // RedWax
      {{0.16f, 0.38f, 0.25f}, {0.10f, 0.22f, 0.14f}, {0.50f, 0.54f, 0.50f}, 75, 0.30f, 0.45f},    // Jade
      {{0.26f, 0.155f, 0.07f}, {0.02f, 0.01f, 0.0f}, {1.05f, 0.72f, 0.40f}, 22, 0.55f, 0.35f},    // Bronze
      {{0.58f, 0.54f, 0.56f}, {0.14f, 0.10f, 0.11f}, {0.62f, 0.60f, 0.66f}, 18, 0.42f, 0.60f}};   // Pearl
  return looks[std::min(size_t(kind), std::size(looks) - 1)];
}

struct Lamp {
  cVec3 Dir, Light;
  float Wrap;
};

cVec3 Times(const cVec3& a, const cVec3& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
float Saturate(float x) { return std::clamp(x, 0.0f, 1.0f); }
float SmoothStep(float a, float b, float x) {
  const float t = Saturate((x - a) / (b - a));
  return t * t * (3 - 2 * t);
}

cVec3 Shade(const cVec3& n, const MatcapLook& look) {
  static const Lamp lamps[] = {{Normalized(cVec3{-0.55f, 0.68f, 0.48f}), {2.6f, 2.5f, 2.36f}, 0.22f},
                               {Normalized(cVec3{0.82f, 0.02f, 0.52f}), {0.40f, 0.45f, 0.54f}, 0.40f},
                               {Normalized(cVec3{0.55f, 0.40f, -0.72f}), {2.1f, 2.2f, 2.5f}, 0.10f}};
  const cVec3 eye{0, 0, 1};
  const cVec3 sky{0.46f, 0.51f, 0.60f}, floor{0.24f, 0.19f, 0.155f};
  const float up = SmoothStep(-1, 1, n.y);
  const cVec3 around = floor + (sky - floor) * up;
  cVec3 light = Times(look.Albedo, around);
  for (const Lamp& lamp : lamps) {
    const float cosine = Dot(n, lamp.Dir);
    const float lit = Saturate((cosine + lamp.Wrap) / (1 + lamp.Wrap));
    light += Times(look.Albedo, lamp.Light) * (lit * lit);
    const float seep = Saturate((cosine + 0.75f) / 1.75f) - Saturate(cosine);
    light += Times(look.Seep, lamp.Light) * std::max(seep, 0.0f);
    const cVec3 half = Normalized(lamp.Dir + eye);
    light += Times(look.Gloss, lamp.Light) * (std::pow(Saturate(Dot(n, half)), look.Hardness) * Saturate(cosine * 4));
  }
  // What stands around is mirrored more the flatter the view: a bright ceiling over a dark horizon.
  const float edge = std::pow(1 - Saturate(n.z), 3.0f);
  const cVec3 mirrored = Normalized(n * (2 * n.z) - eye);
  const cVec3 room = sky * (0.25f + 1.2f * SmoothStep(0.05f, 0.75f, mirrored.y));
  light += Times(look.Gloss, room) * (look.Edge * (look.SkyPart * 0.35f + edge));
  return light;
}

}  // namespace

float GetBrightness(const SceneViewOptions& options) {
  const cVec3 albedo = options.Material == SceneMaterial::Clay ? GetClayAlbedo(options.Clay) : LookOf(options.Matcap).Albedo;
  return Dot(albedo, {0.2126f, 0.7152f, 0.0722f});
}

comms::cImage MakeMatcap(MatcapKind kind, int side) {
  comms::cImage image(side, side);
  const MatcapLook& look = LookOf(kind);
  for (int row = 0; row < side; row++) {
    uint8_t* pixel = image.Row(row);
    for (int column = 0; column < side; column++, pixel += 4) {
      cVec3 n{(2 * (float(column) + 0.5f) / float(side) - 1) / 0.984f, (1 - 2 * (float(row) + 0.5f) / float(side)) / 0.984f, 0};
      const float squared = n.x * n.x + n.y * n.y;
      // Beyond the rim its colour goes on, so that filtering finds no edge there.
      if (squared < 1)
        n.z = std::sqrt(1 - squared);
      else
        n = Normalized(n);
      const cVec3 light = Shade(n, look);
      for (int i = 0; i < 3; i++) pixel[i] = uint8_t(std::lround(255 * std::sqrt(Saturate(light[i] / 4))));
      pixel[3] = 255;
    }
  }
  return image;
}
