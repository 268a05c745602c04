// bench [--threads N] [--json FILE] [NAME ...]
// Runs the benchmarks whose name contains one of the NAMEs (none: all), prints one row a claim and writes the same as JSON
// records
// {"claim","ours","peer","ratio","goal","holds"}. Exit code 0 when every measured claim holds, 1 when one does not, 2 for bad
// options.
#include <tbb/global_control.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "Registry.h"

using namespace bench;

static std::string JsonText(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

static void PrintClaim(const Claim& claim) {
  if (!claim.Skipped.empty()) {
    std::printf("%-100s skipped: %s\n", claim.Text.c_str(), claim.Skipped.c_str());
  } else {
    std::printf("%-100s %12.5g %12.5g %9.4g  %-9s %-5s %s\n", claim.Text.c_str(), claim.Ours, claim.Peer, claim.Ratio,
                claim.Goal.c_str(), Holds(claim) ? "yes" : "NO", claim.Note.c_str());
  }
  std::fflush(stdout);
}

static bool WriteJson(const std::string& path, const std::vector<Claim>& claims) {
  std::ofstream file(path);
  file << "[\n";
  for (size_t i = 0; i < claims.size(); ++i) {
    const Claim& claim = claims[i];
    char figures[160];
    if (claim.Skipped.empty())
      std::snprintf(figures, sizeof figures, R"("ours": %.9g, "peer": %.9g, "ratio": %.9g)", claim.Ours, claim.Peer, claim.Ratio);
    else
      std::snprintf(figures, sizeof figures, R"("ours": null, "peer": null, "ratio": null)");
    file << "  {\"claim\": " << JsonText(claim.Text) << ", " << figures << ", \"goal\": " << JsonText(claim.Goal)
         << ", \"holds\": "
         << (!claim.Skipped.empty() ? "null"
             : Holds(claim)         ? "true"
                                    : "false")
         << "}" << (i + 1 < claims.size() ? ",\n" : "\n");
  }
  file << "]\n";
  return bool(file.flush());
}

int main(int argc, char** argv) {
  int threads = 2;
  std::string json;
  std::vector<std::string> names;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    const bool hasValue = i + 1 < argc;
    if (option == "--child" && i + 2 < argc) {
      const auto task = AllChildTasks().find(argv[i + 1]);
      if (task == AllChildTasks().end()) return 127;
      const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, 2);
      task->second(argv[i + 2]);
      TellPeak();
      return 0;
    }
    if (option == "--threads" && hasValue) {
      threads = std::max(1, std::atoi(argv[++i]));
    } else if (option == "--json" && hasValue) {
      json = argv[++i];
    } else if (option.starts_with("--")) {
      std::fprintf(stderr, "bench: option '%s' is not known; usage: bench [--threads N] [--json FILE] [NAME ...]\n", argv[i]);
      return 2;
    } else {
      names.push_back(option);
    }
  }
  const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, size_t(threads));

  std::printf("%-100s %12s %12s %9s  %-9s %s\n", "claim", "ours", "peer/limit", "ratio", "goal", "holds");
  std::vector<Claim> all;
  bool allHold = true;
  for (const Benchmark& benchmark : AllBenchmarks()) {
    const bool chosen =
        names.empty() || std::any_of(names.begin(), names.end(), [&](const auto& n) { return benchmark.Name.find(n) != n.npos; });
    if (!chosen) continue;
    std::vector<Claim> claims;
    benchmark.Run(claims);
    for (const Claim& claim : claims) {
      PrintClaim(claim);
      if (claim.Skipped.empty() && !Holds(claim)) allHold = false;
      all.push_back(claim);
    }
  }
  if (!json.empty() && !WriteJson(json, all)) {
    std::fprintf(stderr, "bench: '%s' can't be written\n", json.c_str());
    return 1;
  }
  return allHold ? 0 : 1;
}
