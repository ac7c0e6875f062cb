#include "gate/analysis.h"

#include <algorithm>

#include "dsp/fft.h"
#include "dsp/power_spectrum.h"
#include "dsp/windowing.h"
#include "dsp/windows.h"

namespace vask {
namespace {

constexpr int32_t kWindowShift = 10;  // removes the window's scale of 2^10

}  // namespace

bool Analysis::Open() {
  CopyHanning(window_q30_);
  Clear();
  return BuildTwiddles(twiddles_, kFftOrder);
}

void Analysis::Close() { ReleaseTwiddles(twiddles_, kFftOrder); }

void Analysis::Clear() {
  newest_ = {};
  inputs_ = {};
  is_second_ = false;
}

bool Analysis::Hear(std::span<const int16_t, kFrame> frame) {
  std::copy(newest_.begin() + kFrame, newest_.end(), newest_.begin());
  std::copy(frame.begin(), frame.end(), newest_.end() - kFrame);
  Samples512 windowed;
  WindowQ10(newest_.data(), window_q30_, windowed);
  PowerOfWindow(windowed, kWindowShift, twiddles_, power_);

  LogBands bands;
  TakeLogBands(power(), bands);
  const auto place = inputs_.begin() + (is_second_ ? kLogBands : 0);
  std::copy(bands.begin(), bands.end(), place);
  is_second_ = !is_second_;
  if (is_second_) return false;

  Periodicity periodicity;
  TakePeriodicity(power(), periodicity);
  std::copy(periodicity.begin(), periodicity.end(), inputs_.begin() + 2 * kLogBands);
  return true;
}

}  // namespace vask
