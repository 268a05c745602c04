#include "Shapes.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numeric>
#include <unordered_map>

namespace bench {

TriangleSoup MakeTorus() {
  constexpr int around = 256, tube = 96;
  constexpr double radius = 1, tubeRadius = 0.35, turn = 6.283185307179586;
  TriangleSoup mesh;
  for (int u = 0; u < around; u++)
    for (int v = 0; v < tube; v++) {
      const double a = turn * u / around, b = turn * v / tube, out = radius + tubeRadius * std::cos(b);
      for (const double coordinate : {out * std::cos(a), out * std::sin(a), tubeRadius * std::sin(b)})
        mesh.Positions.push_back(float(coordinate));
      const int u1 = (u + 1) % around, v1 = (v + 1) % tube;
      const int p00 = u * tube + v, p10 = u1 * tube + v, p11 = u1 * tube + v1, p01 = u * tube + v1;
      mesh.Triangles.insert(mesh.Triangles.end(), {p00, p10, p11, p00, p11, p01});
    }
  return mesh;
}

// Three by three by three blocks without the middle of the cube and of its faces: every side between a block and none is a quad.
TriangleSoup MakeCubeFrame() {
  constexpr float planes[4] = {-1, -0.37f, 0.41f, 1};
  const auto solid = [](const std::array<int, 3>& block) {
    int middles = 0;
    for (const int at : block) {
      if (at < 0 || at > 2) return false;
      middles += at == 1;
    }
    return middles < 2;
  };
  TriangleSoup mesh;
  std::map<std::array<int, 3>, int> corners;
  const auto corner = [&](const std::array<int, 3>& at) {
    const auto [entry, isNew] = corners.try_emplace(at, int(corners.size()));
    if (isNew)
      for (const int plane : at) mesh.Positions.push_back(planes[plane]);
    return entry->second;
  };
  for (int i = 0; i < 27; i++) {
    const std::array<int, 3> block{i % 3, i / 3 % 3, i / 9};
    if (!solid(block)) continue;
    for (size_t axis = 0; axis < 3; axis++)
      for (const int side : {0, 1}) {
        std::array<int, 3> neighbour = block;
        neighbour[axis] += side ? 1 : -1;
        if (solid(neighbour)) continue;
        // counter-clockwise from outside: from the one side the other two axes in turn, from the other side swapped
        const size_t first = (axis + (side ? 1 : 2)) % 3, second = (axis + (side ? 2 : 1)) % 3;
        std::array<int, 3> at = block;
        at[axis] += side;
        const int a = corner(at);
        at[first]++;
        const int b = corner(at);
        at[second]++;
        const int c = corner(at);
        at[first]--;
        const int d = corner(at);
        mesh.Triangles.insert(mesh.Triangles.end(), {a, b, c, a, c, d});
      }
  }
  return mesh;
}

int GenusOf(const TriangleSoup& mesh) {
  std::map<std::array<float, 3>, int> points;
  std::vector<int> weld;
  for (size_t i = 0; i < mesh.Positions.size(); i += 3) {
    const std::array<float, 3> p{mesh.Positions[i], mesh.Positions[i + 1], mesh.Positions[i + 2]};
    weld.push_back(points.try_emplace(p, int(points.size())).first->second);
  }
  std::vector<int> parent(points.size());
  std::iota(parent.begin(), parent.end(), 0);
  const auto root = [&](int v) {
    while (parent[size_t(v)] != v) v = parent[size_t(v)] = parent[size_t(parent[size_t(v)])];
    return v;
  };
  std::vector<char> used(points.size(), 0);
  std::unordered_map<uint64_t, std::array<int, 2>> edges;  // triangles that run up and down each one
  for (size_t t = 0; t < mesh.Triangles.size(); t++) {
    const int a = weld[size_t(mesh.Triangles[t])], b = weld[size_t(mesh.Triangles[t % 3 == 2 ? t - 2 : t + 1])];
    used[size_t(a)] = 1;
    parent[size_t(root(a))] = root(b);
    edges[uint64_t(std::min(a, b)) << 32 | uint32_t(std::max(a, b))][a < b]++;
  }
  for (const auto& [ends, runs] : edges)
    if (runs[0] != 1 || runs[1] != 1) return -1;
  long vertices = 0, components = 0;
  for (size_t v = 0; v < used.size(); v++) {
    vertices += used[v];
    components += used[v] && root(int(v)) == int(v);
  }
  const long characteristic = vertices - long(edges.size()) + long(mesh.Triangles.size() / 3);
  return int(components - characteristic / 2);
}

}  // namespace bench
