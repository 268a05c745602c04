// bench [--threads N] [--json FILE] [NAME ...]
// Runs the benchmarks whose name contains one of the NAMEs (none: all), prints one row a claim and writes the same as JSON
// records
// {"claim","ours","spread","peer","ratio","goal","holds"}; the spread is that of the repeats of ours, in parts of their median,
// null where there is one figure alone. Exit code 0 when every measured claim holds, 1 when one does not, 2 for bad options.
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
  } else if (!claim.Failed.empty()) {
    std::printf("%-100s FAILED: %s\n", claim.Text.c_str(), claim.Failed.c_str());
  } else {
    char spread[40] = "";
    if (claim.OursSpread.All >= 0)
      std::snprintf(spread, sizeof spread, "%.0f%% %.0f%%", claim.OursSpread.All * 100, claim.OursSpread.MiddleHalf * 100);
    std::printf("%-100s %12.5g %10s %12.5g %9.4g  %-9s %-5s %s\n", claim.Text.c_str(), claim.Ours, spread, claim.Peer,
                claim.Ratio, claim.Goal.c_str(), Holds(claim) ? "yes" : "NO", claim.Note.c_str());
  }
  std::fflush(stdout);
}

static bool WriteJson(const std::string& path, const std::vector<Claim>& claims) {
  std::ofstream file(path);
  file << "[\n";
  for (size_t i = 0; i < claims.size(); ++i) {
    const Claim& claim = claims[i];
    const auto number = [&](double value, bool known = true) {
      char text[32] = "null";
      if (known && claim.Skipped.empty() && claim.Failed.empty()) std::snprintf(text, sizeof text, "%.9g", value);
      return std::string(text);
    };
    const double spread = claim.OursSpread.All;
    const std::string figures = "\"ours\": " + number(claim.Ours) + ", \"spread\": " + number(spread, spread >= 0) +
                                ", \"peer\": " + number(claim.Peer) + ", \"ratio\": " + number(claim.Ratio);
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

  std::printf("%-100s %12s %10s %12s %9s  %-9s %s\n", "claim", "ours", "all, half", "peer/limit", "ratio", "goal", "holds");
  std::vector<Claim> all;
  std::string times;
  double total = 0;
  bool allHold = true;
  for (const Benchmark& benchmark : AllBenchmarks()) {
    const bool chosen =
        names.empty() || std::any_of(names.begin(), names.end(), [&](const auto& n) { return benchmark.Name.find(n) != n.npos; });
    if (!chosen) continue;
    std::vector<Claim> claims;
    const double seconds = Seconds([&] { benchmark.Run(claims); });
    char time[100];
    std::snprintf(time, sizeof time, "%s%s %.1f", times.empty() ? "" : ", ", benchmark.Name.c_str(), seconds);
    times += time;
    total += seconds;
    for (const Claim& claim : claims) {
      PrintClaim(claim);
      if (claim.Skipped.empty() && !Holds(claim)) allHold = false;
      all.push_back(claim);
    }
  }
  std::printf("Seconds: %s; %.0f in all\n", times.c_str(), total);
  if (!json.empty() && !WriteJson(json, all)) {
    std::fprintf(stderr, "bench: '%s' can't be written\n", json.c_str());
    return 1;
  }
  return allHold ? 0 : 1;
}
