// The ear's transfer function of ITU-R BS.1387, in double precision from portable elementary functions.
#include "noise/ear_model.h"

#include <vask/noise.h>

#include <bit>
#include <cmath>

#include "dsp/float_mode.h"
#include "dsp/portable_math.h"

namespace vask {
namespace {

constexpr double kLn10 = 2.302585092994045684;

double Power(double base, double exponent) { return PortableExp(exponent * PortableLog(base)); }

// Decibels at f kHz.
double ResponseInDecibels(double f) {
  return -2.184 * Power(f, -0.8) + 6.5 * PortableExp(-0.6 * (f - 3.3) * (f - 3.3)) - Power(f, 3.6) / 1000;
}

}  // namespace

void EarModel(std::span<double> out, int32_t rate) {
  // 0.00179198 at 0 Hz, where the formula has no value.
  out[0] = static_cast<double>(std::bit_cast<float>(uint32_t{0x3AEAE0DF}));
  const float spacing = static_cast<float>(rate) * 0.5f / static_cast<float>(out.size() - 1);  // Hz
  for (size_t i = 1; i < out.size(); ++i) {
    const float kilohertz = static_cast<float>(i) * spacing / 1000;
    out[i] = PortableExp(ResponseInDecibels(static_cast<double>(kilohertz)) / 20 * kLn10);
  }
  for (double& value : out) value = std::sqrt(value);
}

}  // namespace vask

extern "C" void OuterAndMiddleEarModel(double* out, int32_t n, int32_t rate) {
  const vask::DefaultFloatMode float_mode;
  if (out != nullptr && n > 1 && rate > 0) vask::EarModel({out, static_cast<size_t>(n)}, rate);
}
