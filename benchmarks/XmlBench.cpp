// Parsing and printing of the private XML dialect against a fixed goal, on one core: a document like the settings files, tens of
// MB.
#include <string>

#include "Claims.h"
#include "ClassEngine/Xml.h"

namespace {

constexpr double GoalMegabytesPerSecond = 150;

// Hot keys, tool presets and window places: short names, short values, two to four levels, now and then a longer text with
// escapes.
std::string MakeSettingsDocument(size_t bytes) {
  std::string text = "<Settings>\n";
  text.reserve(bytes + 4096);
  uint32_t seed = 7;
  const auto next = [&] { return seed = seed * 1664525u + 1013904223u, seed >> 8; };
  const auto value = [&](const char* name, const std::string& content, const char* indent = "   ") {
    text.append(indent).append("<").append(name).append(">").append(content).append("</").append(name).append(">\n");
  };
  while (text.size() < bytes) {
    text += " <ToolPreset>\n  <HotKey>\n";
    value("Code", "KEY_" + std::to_string(next() % 256));
    value("Ctrl", next() % 2 ? "true" : "false");
    value("Shift", next() % 2 ? "true" : "false");
    text += "  </HotKey>\n  <WindowPos>\n";
    value("WndName", "Layers " + std::to_string(next() % 64));
    value("Width", std::to_string(next() % 2000));
    value("Height", std::to_string(next() % 2000));
    value("Opacity", std::to_string(double(next() % 1000) / 1000));
    text += "  </WindowPos>\n";
    if (next() % 8 == 0)
      value("Hint", "Hold &ltShift&gt to smooth, &ltCtrl&gt to invert the effect of the brush on the surface below it", "  ");
    text += " </ToolPreset>\n";
  }
  return text + "</Settings>\n";
}

bench::Claim MakeClaim(const std::string& what, size_t bytes, double seconds, const bench::Spread& spread) {
  bench::Claim claim;
  claim.Text = what + " of a settings document of " + std::to_string(bytes / 1000000) + " MB, one core: MB/s, ours / goal of 150";
  claim.Ours = double(bytes) / 1e6 / seconds;
  claim.Peer = GoalMegabytesPerSecond;
  claim.Ratio = claim.Ours / claim.Peer;
  claim.Goal = ">= 1";
  claim.OursSpread = spread;
  return claim;
}

const bench::Benchmark s_Xml("Xml", [](std::vector<bench::Claim>& claims) {
  const std::string text = MakeSettingsDocument(40000000);
  XmlNode parsed;
  StrBuffer printed;
  bool sound = true;
  // Two parts of our own work run in turn; each is held against the goal, not against the other.
  const bench::Pair times = bench::MeasurePairs(
      5, [&] { sound &= parsed.Parse(text) > 0; }, [&] { sound &= parsed.Print(printed, 0); }, [&] { parsed.Clear(); },
      [&] { printed.Release(); });
  claims.push_back(MakeClaim("XML parse", text.size(), times.Ours, times.OursSpread));
  claims.push_back(MakeClaim("XML print", printed.View().size(), times.Peer, times.PeerSpread));
  if (!sound || printed.View().size() != text.size())
    for (bench::Claim& claim : claims) claim.Failed = "the document did not survive the round trip";
});

}  // namespace
