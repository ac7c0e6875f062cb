// Exponentials: a fifth-order Taylor series below ln 2, doublings above; and the detector's own, which is
// exact to the last bit of single precision.
#include "dsp/exponential.h"

#include <vask/dsp.h>

#include "dsp/arith.h"
#include "dsp/divide.h"
#include "dsp/kernel.h"
#include "dsp/logarithm.h"
#include "dsp/portable_math.h"
#include "dsp/tables/exponential.h"

namespace vask {
namespace {

constexpr int32_t kOneOverLn2Q16 = 94548;
constexpr int32_t kLn2Q16 = 45426;

// e^x as mantissa * 2^doublings.
struct SplitExp {
  int32_t mantissa_q16;
  int32_t doublings;
};

SplitExp Split(int32_t x) {
  const int32_t y = Low32(MulShift<16>(x, kOneOverLn2Q16));  // x * log2(e), Q16
  const int32_t fraction = y & 0xffff;
  return {ExpTaylorQ16(Low32(MulShift<16>(fraction, kLn2Q16))), y >> 16};
}

constexpr int32_t kMaxExponentQ16 = 10 * kOneQ16;

namespace portable {
#include "dsp/exponential_kernel.inc"
}  // namespace portable

}  // namespace

int32_t ExpTaylorQ16(int32_t x) {
  const int32_t x2 = Low32(MulShift<16>(x, x));
  const int32_t x3 = Low32(MulShift<16>(x2, x));
  const int32_t x4 = Low32(MulShift<16>(x3, x));
  const int32_t x5 = Low32(MulShift<16>(x4, x));
  // Meant for x below ln 2; above that the sum may wrap.
  return Low32(int64_t{kOneQ16} + x + x2 / 2 + x3 / 6 + x4 / 24 + x5 / 120);
}

int32_t ExpQ16(int32_t x) {
  const auto [mantissa, doublings] = Split(x);
  if (doublings >= 32) return 0;  // every bit has left the 32-bit result
  if (doublings < 0) return doublings > -32 ? mantissa >> -doublings : 0;
  return WrapShl(mantissa, doublings);
}

int32_t ExpQ6(int32_t x) {
  const auto [mantissa, doublings] = Split(x);
  if (doublings >= 64) return 0;
  if (doublings < 0) return doublings > -22 ? mantissa >> (10 - doublings) : 0;
  return Low32(WrapShl(int64_t{mantissa}, doublings) >> 10);
}

int32_t PowQ6(int32_t x, int32_t y_q30) {
  return MaxIfNegative(ExpQ6(Low32(MulShift<30>(NaturalLogQ16(x), y_q30))));  // y ln x, Q16
}

static int64_t ExpOfLikelihoodPlainQ16(int64_t q) {
  if (q < -12 * int64_t{kOneQ16}) return 0;  // e^-12 is below 1 in Q16
  const auto nearest = static_cast<float>(PortableExp(static_cast<double>(q) / kOneQ16));
  return static_cast<int64_t>(static_cast<double>(nearest) * kOneQ16);
}

static int64_t ExpOfLikelihoodByTableQ16(int64_t q) {
  if (q < 0 || q > kMaxExponentQ16) return ExpOfLikelihoodPlainQ16(q);
  return static_cast<int64_t>(portable::ExpOfLikelihood(static_cast<double>(q)));
}

VASK_PICK(int64_t, ExpOfLikelihoodQ16, (int64_t q), (q), ExpOfLikelihoodPlainQ16, ExpOfLikelihoodByTableQ16,
          ExpOfLikelihoodByTableQ16, ExpOfLikelihoodByTableQ16)

}  // namespace vask

extern "C" {

int32_t Exponential_T(int32_t x) { return vask::ExpTaylorQ16(x); }
int32_t Exp(int32_t x) { return vask::ExpQ16(x); }
int32_t Exp_Q6(int32_t x) { return vask::ExpQ6(x); }
int32_t Pow(int32_t x, int32_t y) { return vask::PowQ6(x, y); }

}  // extern "C"
