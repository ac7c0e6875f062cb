#include "gate/matrix.h"

#include "dsp/kernel.h"

namespace vask {
namespace {

VASK_BODY void MultiplyBody(const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums) {
  for (int32_t& sum : sums) {
    int32_t total = 0;
    for (size_t j = 0; j < x.size(); ++j) total += weights[j] * x[j];
    sum = total;
    weights += x.size();
  }
}

}  // namespace

VASK_KERNEL(void, Multiply, (const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums),
            (weights, x, sums), MultiplyPortable)

}  // namespace vask
