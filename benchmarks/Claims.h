#pragma once
// One claim a row: ours against a peer or a physical limit, measured in the same run.
//
// The machine is shared and noisy, so ours and the peer run in turn (A B A B ...) and medians are compared. A bench file
// registers its claims; bench/main.cpp runs them, prints the table and writes out/bench.json.
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// How far repeats of one measurement lie apart, as parts of their median: all of them, and the middle half. Below 0: there is
/// one figure alone.
struct Spread {
  double All = -1, MiddleHalf = -1;
};
Spread SpreadOf(std::vector<double> values);
/// 0 of none.
double Median(std::vector<double> values);

struct Claim {
  std::string Text{};         ///< what is claimed, in words: "Sphere dab radius 32, add: dabs a second, ours / OpenVDB"
  double Ours = 0, Peer = 0;  ///< in the unit that Text names
  double Ratio = 0;           ///< the figure that is held against Goal
  std::string Goal{};         ///< ">= 3", "<= 0.125", "== 0": comparison and bound
  std::string Skipped{};      ///< why there is no figure (peer not installed, mesh absent); empty when measured
  std::string Failed{};       ///< what went wrong with our part, so that the figures stand for nothing: the claim does not hold
  std::string Note{};         ///< what else the reader needs
  Spread OursSpread{};        ///< of the repeats of ours
};

/// A figure that is at most `limit`: Ratio is ours / limit, the goal "<= 1".
Claim LimitClaim(const std::string& text, double ours, double limit);

/// True when Ratio satisfies Goal and nothing failed.
bool Holds(const Claim& claim);

/// A benchmark that yields one claim or several; `name` selects it on the command line.
struct Benchmark {
  Benchmark(const char* name, std::function<void(std::vector<Claim>&)> run);
  std::string Name;
  std::function<void(std::vector<Claim>&)> Run;
};

/// Seconds of one call.
double Seconds(const std::function<void()>& work);
/// Medians in seconds of at least five pairs, run in turn. `prepareX` runs before each timed call, untimed (may be empty).
struct Pair {
  double Ours = 0, Peer = 0;
  Spread OursSpread, PeerSpread;
};
Pair MeasurePairs(int pairs, const std::function<void()>& ours, const std::function<void()>& peer,
                  const std::function<void()>& prepareOurs = {}, const std::function<void()>& preparePeer = {});
/// Work that is measured in a process of its own, where nothing else has used memory or started threads.
struct ChildTask {
  ChildTask(const char* name, std::function<void(const std::string& argument)> work);
};
/// Starts this program again to run the named task alone, and returns its peak resident bytes, program included; -1 on failure.
double PeakBytesInChild(const std::string& taskName, const std::string& argument = {});
/// The same, returning what the task printed; empty on failure.
std::string OutputOfChild(const std::string& taskName, const std::string& argument = {});

/// Folder of the test meshes; empty when it is not there.
std::string DataFolder();

/// Triangle mesh of a bench input.
struct TriangleSoup {
  std::vector<float> Positions;  ///< x y z per vertex
  std::vector<int> Triangles;    ///< three vertex indices each
};
/// koala.obj, nefertiti.obj or nefertiti_280k.ply of DataFolder(); false where absent.
bool LoadBenchMesh(const std::string& name, TriangleSoup& mesh);
/// Midpoint subdivision, four times the triangles.
TriangleSoup Subdivide(const TriangleSoup& mesh);

}  // namespace bench
