#include "MC/room/GroundShadow.h"

#include <algorithm>
#include <cmath>

using comms::cVec3;

namespace {

constexpr int Side = GroundShadow::Side;
constexpr size_t MaxBoxes = 30000;
using Map = std::vector<float>;

// Three box filters in a row come close to a bell; each along x, then along z.
void Blur(Map& map, int radius) {
  Map line(Side);
  const float part = 1.0f / float(2 * radius + 1);
  for (int pass = 0; pass < 3; pass++)
    for (const auto& [along, across] : {std::pair{1, Side}, std::pair{Side, 1}})
      for (int i = 0; i < Side; i++) {
        float* const first = map.data() + i * across;
        float sum = 0;
        for (int k = -radius; k <= radius; k++) sum += first[std::clamp(k, 0, Side - 1) * along];
        for (int k = 0; k < Side; k++) {
          line[size_t(k)] = sum * part;
          sum += first[std::min(k + radius + 1, Side - 1) * along] - first[std::max(k - radius, 0) * along];
        }
        for (int k = 0; k < Side; k++) first[k * along] = line[size_t(k)];
      }
}

// The finest level of a volume's boxes that is not too fine for the map.
const ABOcTreeLevel* FindLevel(const VolumeObject& volume) {
  for (int level = 0; level < volume.BoxTree.Levels.Count; level++)
    if (volume.BoxTree.Levels[level]->Boxes.Count() <= MaxBoxes) return volume.BoxTree.Levels[level];
  return nullptr;
}

}  // namespace

void MakeGroundShadow(const VoxelScene& scene, const cVec3& minimum, const cVec3& maximum, float ground, GroundShadow& shadow) {
  const cVec3 size = maximum - minimum;
  const float reach = std::max({size.x, size.y, size.z});
  shadow.Center = {(minimum.x + maximum.x) / 2, ground, (minimum.z + maximum.z) / 2};
  shadow.HalfX = size.x / 2 + 0.45f * reach;
  shadow.HalfZ = size.z / 2 + 0.45f * reach;
  Map contact(size_t(Side) * Side), whole(size_t(Side) * Side);
  const float perX = Side / (2 * shadow.HalfX), perZ = Side / (2 * shadow.HalfZ);

  const auto splat = [&](const cVec3& low, const cVec3& high) {
    const float height = std::max(low.y - ground, 0.0f) / reach;
    const float close = std::exp(-14 * height), open = std::exp(-1.8f * height);
    const auto texel = [](float at, float per) { return std::clamp(int(at * per), 0, Side - 1); };
    const float left = shadow.Center.x - shadow.HalfX, back = shadow.Center.z - shadow.HalfZ;
    const int x0 = texel(low.x - left, perX), x1 = texel(high.x - left, perX);
    for (int z = texel(low.z - back, perZ); z <= texel(high.z - back, perZ); z++)
      for (int x = x0; x <= x1; x++) {
        float& near = contact[size_t(z) * Side + size_t(x)];
        float& far = whole[size_t(z) * Side + size_t(x)];
        near = std::max(near, close);
        far = std::max(far, open);
      }
  };
  for (const auto& volume : scene.Volumes()) {
    const ABOcTreeLevel* level = FindLevel(*volume);
    if (!level) continue;
    const comms::cMat4& space = volume->SpaceMatrix;
    level->Boxes.ForEach([&](const auto&, const VolumeBox& box) {
      if (box.Empty()) return;
      const cVec3 half = cVec3{box.MaxX - box.MinX, box.MaxY - box.MinY, box.MaxZ - box.MinZ} * 0.5f;
      const cVec3 middle = space.TransformPoint(cVec3{box.MinX, box.MinY, box.MinZ} + half);
      cVec3 extent;
      for (int i = 0; i < 3; i++)
        extent[i] = std::fabs(space.m[0][i]) * half.x + std::fabs(space.m[1][i]) * half.y + std::fabs(space.m[2][i]) * half.z;
      splat(middle - extent, middle + extent);
    });
  }
  Blur(contact, 2);
  Blur(whole, 7);
  shadow.Pixels.resize(size_t(Side) * Side * 4);
  for (size_t i = 0; i < contact.size(); i++) {
    const float dark = 1 - (1 - 0.72f * contact[i]) * (1 - 0.5f * whole[i]);
    std::fill_n(&shadow.Pixels[4 * i], 4, uint8_t(std::lround(255 * std::clamp(dark, 0.0f, 1.0f))));
  }
}
