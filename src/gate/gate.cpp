#include "gate/gate.h"

namespace vask {

bool Gate::Open(const Model& model) {
  net_.Open(model);
  verdict_ = {};
  return analysis_.Open();
}

void Gate::Close() { analysis_.Close(); }

void Gate::Clear() {
  analysis_.Clear();
  net_.Clear();
  verdict_ = {};
}

bool Gate::Hear(std::span<const int16_t, kFrame> frame) {
  if (!analysis_.Hear(frame)) return false;
  std::array<int16_t, kNetOutputs> said;
  net_.Step(analysis_.inputs(), said);
  verdict_ = {said[0], said[1], said[2], said[3], said[4]};
  return true;
}

}  // namespace vask
