#include <tbb/parallel_for.h>
#include <tbb/parallel_invoke.h>
#include <tbb/parallel_sort.h>
#include <algorithm>
#include <atomic>
#include <numeric>

#include "comms/ObjWriter.h"

namespace comms {

constexpr int64_t BlockSize = 4096;  // polygons that one thread looks at or writes at a time

// --- owners -----------------------------------------------------------------------------------------------------------------

constexpr int Unowned = 10000000;

namespace {
// Lowest object that uses each element.
class Owners {
 public:
  explicit Owners(size_t count) : m_Owners(count, Unowned) {}
  // From any thread: the lowest wins, whoever comes first.
  void Lower(int element, int object) {
    std::atomic_ref<int> owner(m_Owners[size_t(element)]);
    int before = owner.load(std::memory_order_relaxed);
    while (object < before && !owner.compare_exchange_weak(before, object, std::memory_order_relaxed)) {
    }
  }
  ObjElements Number(size_t numObjects) const;

 private:
  cRawList<int> m_Owners;
};
}  // namespace

ObjElements Owners::Number(size_t numObjects) const {
  ObjElements elements;
  elements.Begins.assign(numObjects + 1, 0);
  const auto isWritten = [&](int owner) { return size_t(owner) < numObjects && owner != Unowned; };
  for (const int owner : m_Owners)
    if (isWritten(owner)) elements.Begins[size_t(owner) + 1]++;
  std::partial_sum(elements.Begins.begin(), elements.Begins.end(), elements.Begins.begin());
  elements.Order.resize(elements.Begins.back());
  elements.Numbers.resize(m_Owners.size());
  cList<size_t> next(elements.Begins.begin(), elements.Begins.end() - 1);
  for (size_t i = 0; i < m_Owners.size(); i++) {
    elements.Numbers[i] = 0;
    if (!isWritten(m_Owners[i])) continue;
    const size_t place = next[size_t(m_Owners[i])]++;
    elements.Order[place] = int(i);
    elements.Numbers[i] = int(place) + 1;
  }
  return elements;
}

// --- runs -------------------------------------------------------------------------------------------------------------------

namespace {
struct BlockPlan {
  cList<ObjPolyRun> Runs;
  bool LacksNormal = false, HasValidIndices = true;
};
}  // namespace

// Sorts the runs by object and tells each what stands before it there.
static void SortRuns(const cRawMesh& mesh, cList<BlockPlan>& blocks, ObjPlan& plan) {
  const size_t numObjects = mesh.Objects.size();
  plan.RunBegins.assign(numObjects + 1, 0);
  for (const BlockPlan& block : blocks)
    for (const ObjPolyRun& run : block.Runs) plan.RunBegins[size_t(run.Object) + 1]++;
  std::partial_sum(plan.RunBegins.begin(), plan.RunBegins.end(), plan.RunBegins.begin());
  plan.Runs.resize(plan.RunBegins.back());
  struct Last {
    size_t NextRun;
    int Material = -1, Group = -1;
  };
  cList<Last> last;
  for (size_t i = 0; i < numObjects; i++) last.push_back({plan.RunBegins[i]});
  for (const BlockPlan& block : blocks)
    for (ObjPolyRun run : block.Runs) {
      Last& before = last[size_t(run.Object)];
      // The material at the end of the run was left in MaterialBefore.
      const int group = plan.Groups.empty() ? -1 : plan.Groups[size_t(run.FirstPolygon + run.NumPolygons - 1)];
      const int lastMaterial = std::exchange(run.MaterialBefore, before.Material);
      run.GroupBefore = before.Group;
      plan.Runs[before.NextRun++] = run;
      plan.NumPolygons += run.NumPolygons;
      before.Material = lastMaterial;
      before.Group = group;
    }
}

ObjPlan PlanObj(const cRawMesh& mesh, cList<int> groups) {
  ObjPlan plan;
  plan.Groups = std::move(groups);
  Owners positions(mesh.Positions.size()), texCoords(mesh.TexCoords.size()), normals(mesh.Normals.size());
  const cRawPolyBlocks starts = FindPolyBlocks(mesh.Polygons, BlockSize);
  cList<BlockPlan> blocks(starts.Records.size() - 1);
  const int numObjects = int(mesh.Objects.size());
  tbb::parallel_for(size_t(0), blocks.size(), [&](size_t i) {
    BlockPlan& block = blocks[i];
    int64_t polygon = int64_t(i) * BlockSize;
    for (size_t at = starts.Records[i]; at < starts.Records[i + 1]; polygon++) {
      const cRawPolyRec& header = mesh.Polygons[at];
      const size_t begin = at, end = at + size_t(header.Corners()) + 1;
      const int object = header.Object();
      for (at++; at < end; at++) {
        const cRawPolyRec& corner = mesh.Polygons[at];
        if (!mesh.HasValidIndices(corner)) {
          block.HasValidIndices = false;
          return;
        }
        block.LacksNormal |= corner.Normal() < 0;
        if (object < 0) continue;
        positions.Lower(corner.Position(), object);
        if (corner.TexCoord() >= 0) texCoords.Lower(corner.TexCoord(), object);
        if (corner.Normal() >= 0) normals.Lower(corner.Normal(), object);
      }
      if (object < 0 || object >= numObjects) continue;
      if (block.Runs.empty() || block.Runs.back().Object != object || block.Runs.back().End != begin)
        block.Runs.push_back({begin, begin, polygon, 0, object, -1, -1});
      ObjPolyRun& run = block.Runs.back();
      run.End = end;
      run.NumPolygons++;
      run.MaterialBefore = header.Material();
    }
  });
  plan.HasValidIndices =
      starts.IsWhole && std::all_of(blocks.begin(), blocks.end(), [](const BlockPlan& block) { return block.HasValidIndices; });
  if (!plan.HasValidIndices) return plan;
  const bool lacksNormal = std::any_of(blocks.begin(), blocks.end(), [](const BlockPlan& block) { return block.LacksNormal; });
  plan.HasTexCoords = !mesh.TexCoords.empty();
  plan.HasNormals = !mesh.Normals.empty() && !lacksNormal;
  const auto number = [&](const Owners& owners, bool isUsed, ObjElements& elements) {
    if (isUsed)
      elements = owners.Number(mesh.Objects.size());
    else
      elements.Begins.assign(mesh.Objects.size() + 1, 0);
  };
  tbb::parallel_invoke([&] { number(positions, true, plan.Positions); },
                       [&] { number(texCoords, plan.HasTexCoords, plan.TexCoords); },
                       [&] { number(normals, plan.HasNormals, plan.Normals); }, [&] { SortRuns(mesh, blocks, plan); });
  return plan;
}

// --- smoothing groups -------------------------------------------------------------------------------------------------------

namespace {
// An edge of a polygon by the normals at its ends, the lower first.
struct NormalEdge {
  uint64_t Key;
  uint32_t Polygon;
  uint32_t IsReversed;
  friend bool operator<(const NormalEdge& a, const NormalEdge& b) {
    if (a.Key != b.Key) return a.Key < b.Key;
    return a.IsReversed != b.IsReversed ? a.IsReversed < b.IsReversed : a.Polygon < b.Polygon;
  }
};

// Sets of polygons, named by their first one.
class Sets {
 public:
  explicit Sets(size_t count) : m_Parent(count) { std::iota(m_Parent.begin(), m_Parent.end(), 0u); }
  uint32_t Find(uint32_t i) {
    while (m_Parent[i] != i) i = m_Parent[i] = m_Parent[m_Parent[i]];
    return i;
  }
  void Unite(uint32_t a, uint32_t b) {
    a = Find(a);
    b = Find(b);
    m_Parent[std::max(a, b)] = std::min(a, b);
  }

 private:
  cList<uint32_t> m_Parent;
};
}  // namespace

static cList<size_t> FindHeaders(const cRawMesh& mesh) {
  cList<size_t> headers;
  for (size_t at = 0; at < mesh.Polygons.size(); at += size_t(mesh.Polygons[at].Corners()) + 1) headers.push_back(at);
  return headers;
}

static cList<NormalEdge> CollectEdges(const cRawMesh& mesh, const cList<size_t>& headers) {
  cList<NormalEdge> edges;
  edges.reserve(mesh.Polygons.size() - headers.size());
  for (size_t polygon = 0; polygon < headers.size(); polygon++) {
    const cRawPolyRec* const corners = &mesh.Polygons[headers[polygon]] + 1;
    const int count = corners[-1].Corners();
    for (int i = 0; i < count; i++) {
      const int a = corners[i].Normal(), b = corners[i + 1 < count ? i + 1 : 0].Normal();
      if (a < 0 || b < 0) continue;
      edges.push_back({uint64_t(std::min(a, b)) << 32 | uint64_t(std::max(a, b)), uint32_t(polygon), a > b});
    }
  }
  tbb::parallel_sort(edges.begin(), edges.end());
  return edges;
}

static cList<int> NumberGroups(const cRawMesh& mesh, const cList<size_t>& headers) {
  const cList<NormalEdge> edges = CollectEdges(mesh, headers);
  Sets sets(headers.size());
  cList<bool> isJoined(headers.size());
  for (size_t begin = 0; begin < edges.size();) {
    size_t end = begin, turn = begin;
    for (; end < edges.size() && edges[end].Key == edges[begin].Key; end++) turn += !edges[end].IsReversed;
    // An edge between equal normals is its own reverse.
    const bool isSelf = edges[begin].Key >> 32 == (edges[begin].Key & 0xFFFFFFFFu);
    if (isSelf || (turn > begin && turn < end))
      for (size_t i = begin; i < end; i++) {
        sets.Unite(edges[begin].Polygon, edges[i].Polygon);
        isJoined[edges[i].Polygon] = true;
      }
    begin = end;
  }
  cList<int> groups(headers.size(), -1);
  int next = 1;
  for (size_t i = 0; i < groups.size(); i++) {
    const uint32_t first = sets.Find(uint32_t(i));
    if (first == i) {
      if (isJoined[i]) groups[i] = next;
      next++;
    } else {
      groups[i] = groups[first];
    }
  }
  std::replace(groups.begin(), groups.end(), -1, next);
  return groups;
}

cList<int> SortBySmoothingGroup(cRawMesh& mesh) {
  const cList<size_t> headers = FindHeaders(mesh);
  const cList<int> groups = NumberGroups(mesh, headers);
  cList<uint32_t> order(headers.size());
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return groups[a] < groups[b]; });
  cRawList<cRawPolyRec> sorted;
  sorted.reserve(mesh.Polygons.size());
  cList<int> sortedGroups;
  sortedGroups.reserve(order.size());
  for (const uint32_t polygon : order) {
    const auto header = mesh.Polygons.begin() + ptrdiff_t(headers[polygon]);
    sorted.insert(sorted.end(), header, header + header->Corners() + 1);
    sortedGroups.push_back(groups[polygon]);
  }
  mesh.Polygons.swap(sorted);
  return sortedGroups;
}

}  // namespace comms
