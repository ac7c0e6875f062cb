#include "gate/gate.h"

#include <algorithm>

namespace vask {
namespace {

constexpr int16_t kQuietQ15 = 3277;    // 0.1
constexpr int32_t kForgetSteps = 150;  // 3 s

bool IsQuiet(const Verdict& v) {
  return std::max({v.speech_now, v.speech_100ms_ago, v.speech_200ms_ago, v.utterance}) < kQuietQ15;
}

}  // namespace

bool Gate::Open(const Model& model) {
  net_.Open(model);
  verdict_ = {};
  quiet_steps_ = 0;
  return analysis_.Open();
}

void Gate::Close() { analysis_.Close(); }

void Gate::Clear() {
  analysis_.Clear();
  net_.Clear();
  verdict_ = {};
  quiet_steps_ = 0;
}

bool Gate::Hear(std::span<const int16_t, kFrame> frame) {
  if (!analysis_.Hear(frame)) return false;
  std::array<int16_t, kNetOutputs> said;
  net_.Step(analysis_.inputs(), said);
  verdict_ = {said[0], said[1], said[2], said[3], said[4]};
  ForgetLongQuiet();
  return true;
}

// Where nobody has spoken for long the net starts afresh: a minute of loud noise would otherwise make it deaf
// for what follows, and no more than some seconds before a word help to understand it.
void Gate::ForgetLongQuiet() {
  quiet_steps_ = IsQuiet(verdict_) ? quiet_steps_ + 1 : 0;
  if (quiet_steps_ < kForgetSteps) return;
  net_.Clear();
  quiet_steps_ = 0;
}

}  // namespace vask
