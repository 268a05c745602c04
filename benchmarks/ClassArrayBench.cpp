// A container of objects loads in time proportional to its items.
#include <memory>

#include "Claims.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ValueTypes.h"

namespace {

class BenchRow : public BaseClass {
  REFLECTED(BenchRow, BaseClass)
  _str Name;
  int Number = 0;
  float Weight = 0;
  bool Used = false;
};
DECLARE_MEMBERS(BenchRow) {
  Member<_str>("Name", Name);
  Member<_int>("Number", Number);
  Member<_float>("Weight", Weight);
  Member<_bool>("Used", Used);
}
/// Its rows are of a class of their own, as lists in real files have them.
class BenchSpecialRow : public BenchRow {
  REFLECTED(BenchSpecialRow, BenchRow)
  int Kind = 0;
};
DECLARE_MEMBERS(BenchSpecialRow) { Member<_int>("Kind", Kind); }
REGISTER_CLASS(BenchSpecialRow, nullptr);

class BenchTable : public BaseClass {
  REFLECTED(BenchTable, BaseClass)
  ClassArray<BenchRow> Rows;
};
DECLARE_MEMBERS(BenchTable) { Member<ClassArray<BenchRow>>("Rows", Rows); }

std::unique_ptr<XmlNode> MakeTable(int rows) {
  BenchTable table;
  for (int i = 0; i < rows; i++) {
    BenchRow* row = i % 2 ? new BenchSpecialRow : new BenchRow;
    row->Name = "Row" + std::to_string(i);
    row->Number = i;
    row->Weight = float(i) * 0.5f;
    row->Used = i % 3 == 0;
    table.Rows.Add(row);
  }
  auto node = std::make_unique<XmlNode>();
  table.Save(node.get());
  return node;
}

constexpr int ManyRows = 1000000, FewRows = 125000;

// The few rows are loaded as often as makes them many, so that both sides make and drop the same number of objects.
const bench::Benchmark s_ClassArray("ClassArray", [](std::vector<bench::Claim>& claims) {
  const auto many = MakeTable(ManyRows), few = MakeTable(FewRows);
  bool complete = true;
  const auto load = [&](const XmlNode& node, int rows) {
    BenchTable table;
    table.Load(&node);
    complete = complete && table.Rows.Count == rows && table.Rows[rows - 1]->Number == rows - 1;
  };
  const bench::Pair pair = bench::MeasurePairs(
      5, [&] { load(*many, ManyRows); },
      [&] {
        for (int i = 0; i < ManyRows / FewRows; i++) load(*few, FewRows);
      });
  bench::Claim claim;
  claim.Text = "ClassArray of 1,000,000 rows out of its tree: ns a row, against 125,000 rows";
  claim.Ours = pair.Ours / ManyRows * 1e9;
  claim.Peer = pair.Peer / ManyRows * 1e9;
  claim.Ratio = claim.Ours / claim.Peer;
  claim.Goal = "<= 1.5";
  claim.OursSpread = pair.OursSpread;
  if (!complete) claim.Failed = "the rows did not load completely";
  claims.push_back(claim);
});

}  // namespace
