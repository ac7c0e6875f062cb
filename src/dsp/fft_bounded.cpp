#include "dsp/fft_bounded.h"

#include "dsp/fft_algorithm.h"

namespace vask {
namespace {

constexpr int64_t kBound = int64_t{1} << 32;

struct Bounded {
  using Value = int64_t;
  static int64_t Store(int64_t v) { return v; }
  static int64_t Times(int64_t a, int32_t c_q30) { return (a * c_q30) >> 30; }
  static int64_t OverRootOfTwo(int64_t a) { return (a * (int64_t{1} << 30)) / kRootOfTwoQ30; }
};

}  // namespace

bool IsBounded(std::span<const int64_t> x) {
  // 512 magnitudes below 2^32 cannot overflow their sum; a larger one shows in the OR of all values.
  uint64_t sum = 0, bits = 0;
  for (const int64_t v : x) {
    const auto magnitude = static_cast<uint64_t>(v < 0 ? ~v : v);
    sum += magnitude;
    bits |= magnitude;
  }
  return bits < kBound && sum + x.size() < kBound;
}

void RealFftBounded(std::span<int64_t> x, int32_t order, const fft_tables& twiddles) {
  RunRealFft<Bounded>(x, order, twiddles);
}

}  // namespace vask
