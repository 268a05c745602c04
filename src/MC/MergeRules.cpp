#include "MC/MergeRules.h"

namespace {

template <MergeRule rule>
uint16_t Merge(uint16_t v, uint16_t q) {
  if constexpr (rule == MergeRule::Max) return v > q ? v : q;
  const uint16_t complement = uint16_t(65535 - q);
  if constexpr (rule == MergeRule::MinComplement) return v < complement ? v : complement;
  if constexpr (rule == MergeRule::Min) return v < q ? v : q;
  return uint16_t(v - (v < q ? v : q));
}

template <MergeRule rule>
MergeResult MergeAll(const uint16_t* before, const uint16_t* q, uint16_t* __restrict after) {
  uint16_t low = 65535, high = 0, changed = 0;
  for (int i = 0; i < CellSamples; i++) {
    const uint16_t merged = Merge<rule>(before[i], q[i]);
    after[i] = merged;
    low = low < merged ? low : merged;
    high = high > merged ? high : merged;
    changed = uint16_t(changed | (merged ^ before[i]));
  }
  return {low, high, changed};
}

}  // namespace

MergeRule MergeRuleOf(int32_t mode, bool airbrush) {
  if (mode == ApplyAdd) return MergeRule::Max;
  if (airbrush) return MergeRule::Subtract;
  return mode == ApplySubtract ? MergeRule::MinComplement : MergeRule::Min;
}

uint16_t MergeSample(MergeRule rule, uint16_t v, uint16_t q) {
  switch (rule) {
    case MergeRule::Max:
      return Merge<MergeRule::Max>(v, q);
    case MergeRule::MinComplement:
      return Merge<MergeRule::MinComplement>(v, q);
    case MergeRule::Min:
      return Merge<MergeRule::Min>(v, q);
    default:
      return Merge<MergeRule::Subtract>(v, q);
  }
}

MergeResult MergeSamples(MergeRule rule, const uint16_t* before, const uint16_t* q, uint16_t* after) {
  switch (rule) {
    case MergeRule::Max:
      return MergeAll<MergeRule::Max>(before, q, after);
    case MergeRule::MinComplement:
      return MergeAll<MergeRule::MinComplement>(before, q, after);
    case MergeRule::Min:
      return MergeAll<MergeRule::Min>(before, q, after);
    default:
      return MergeAll<MergeRule::Subtract>(before, q, after);
  }
}
