// Logarithms of integers and of Q30 fractions. In: int32. Out: Q16, Q26 or Q15 as named.
#include "dsp/logarithm.h"

#include <vask/dsp.h>

#include <bit>
#include <limits>

#include "dsp/arith.h"
#include "dsp/operators.h"
#include "dsp/portable_math.h"
#include "dsp/table_lookup.h"
#include "dsp/tables/logarithm.h"

namespace vask {
namespace {

constexpr int32_t kLog2OfEQ30 = 1549081957;   // log2(e); the exact value would be ...2005
constexpr int32_t kLog2Of10Q25 = 111465410;   // log2(10)
constexpr int32_t kMinus20Q26 = -1342177280;  // log2 of anything below 1/1024

// log2 in any format -> ln in the same format, truncated toward zero.
constexpr int32_t ToNatural(int64_t log2) { return static_cast<int32_t>((log2 << 30) / kLog2OfEQ30); }

}  // namespace

int32_t Log2Q16(int32_t x) {
  if (x < 1) return -1;
  const int32_t exponent = static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(x))) - 1;
  const int32_t mantissa = x - (1 << exponent);
  const int64_t fraction = LookUp(kLog2Q30, mantissa, exponent);  // Q30, 0 .. 1
  return static_cast<int32_t>(fraction >> 14) + exponent * kOneQ16;
}

int32_t NaturalLogQ16(int32_t x) { return ToNatural(Log2Q16(x)); }

int32_t Log10Q16(int32_t x) { return static_cast<int32_t>((int64_t{Log2Q16(x)} << 25) / kLog2Of10Q25); }

int32_t Log2OfFractionQ26(int32_t x) {
  if (x < 0) return -1;
  if (x > 0x3fffffff) return 0;
  if (x < (1 << 20)) return kMinus20Q26;
  return static_cast<int32_t>(LookUp(kFractionLog2Q26, x, 30));
}

int32_t NaturalLogOfFractionQ26(int32_t x) { return ToNatural(Log2OfFractionQ26(x)); }

int32_t Log2Q15(int32_t x) {
  if (x < 1) return 0;
  const int32_t norm = Norm(x);
  const int32_t y = x << norm;
  const auto index = static_cast<size_t>(HighHalf(y >> 9) - 32);  // 0 .. 31
  const int32_t position = LowHalf(y >> 10) & 0x7fff;             // within the interval, Q15
  const int32_t low = kShortLog2Q15[index], next = kShortLog2Q15[index + 1];
  const int32_t fraction = HighHalf(MultiplySubtract(low << 16, low - next, position));
  return ((30 - norm) << 15) | fraction;
}

int32_t NaturalLogOf1024thsQ15(int32_t x) { return ToNatural(Log2Q15(x) - Log2Q15(1024)); }

double NaturalLogWide(double x) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (x > 0 && x < kInfinity) return PortableLog(x);
  if (x == 0) return -kInfinity;
  return x > 0 ? kInfinity : std::numeric_limits<double>::quiet_NaN();
}

float NaturalLog(double x) { return static_cast<float>(NaturalLogWide(x)); }

float NaturalLogOfEnergy(int32_t energy) {
  if (energy <= 0) return -std::numeric_limits<float>::infinity();
  return static_cast<float>(PortableLog(static_cast<double>(static_cast<float>(energy))));
}

}  // namespace vask

extern "C" {

int32_t LOG2(int32_t x) { return vask::Log2Q16(x); }
int32_t natural_log(int32_t x) { return vask::NaturalLogQ16(x); }
int32_t log_10(int32_t x) { return vask::Log10Q16(x); }
int32_t LOG2_Q30(int32_t x) { return vask::Log2OfFractionQ26(x); }
int32_t natural_log_Q30(int32_t x) { return vask::NaturalLogOfFractionQ26(x); }
int32_t Log2(int32_t x) { return vask::Log2Q15(x); }
int32_t natural_log_mfcc(int32_t x) { return vask::NaturalLogOf1024thsQ15(x); }

}  // extern "C"
