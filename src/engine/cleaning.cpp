#include "engine/cleaning.h"

#include "dsp/arith.h"
#include "dsp/fft.h"
#include "dsp/filters.h"
#include "epd/energy.h"
#include "noise/wiener_filter.h"
#include "noise/wiener_lifecycle.h"

namespace vask {

void EnterHistory(wiener_filt& wf, const int16_t* frame) {
  CountUp(wf.frame_count);
  std::copy_n(frame, kFrame, wf.sig_hist + 3 * kFrame);
}

void ShiftHistory(wiener_filt& wf) { std::copy_n(wf.sig_hist + kFrame, 3 * kFrame, wf.sig_hist); }

bool IsHistoryFull(const wiener_filt& wf) { return wf.frame_count > kNoiseDelay; }

void RemoveDcFromOutput(wiener_filt& wf, int32_t* scratch_q15, dc_filt& dc) {
  const std::span<int32_t> x(scratch_q15, kFrame);
  std::transform(wf.out_frame, wf.out_frame + kFrame, x.begin(), [](int16_t s) { return s * 32768; });
  RemoveDc(x, dc);
  std::transform(x.begin(), x.end(), wf.out_frame, [](int32_t v) { return Low16(v >> 15); });
}

bool Cleaner::Open() {
  if (!CreateWiener(wiener_) || !BuildTwiddles(twiddles_, kFftOrder)) return false;
  silence_ = {};
  Clear();
  return true;
}

void Cleaner::Close() {
  ReleaseWiener(wiener_);
  ReleaseTwiddles(twiddles_, kFftOrder);
}

void Cleaner::Clear() {
  ClearWiener(wiener_);
  ClearDcFilter(dc_);
  has_started_ = false;
}

std::span<const int16_t, kFrame> Cleaner::Filter(std::span<const int16_t, kFrame> frame) {
  std::array<int16_t, kFrame> clipped;
  std::transform(frame.begin(), frame.end(), clipped.begin(), Clip);
  has_started_ = has_started_ || SquareEnergy(clipped) != 0;
  if (!has_started_) return silence_;
  EnterHistory(wiener_, clipped.data());
  const bool is_full = IsHistoryFull(wiener_);
  if (is_full) {
    FilterFrame(wiener_, wiener_.mel_fb, twiddles_);
    RemoveDcFromOutput(wiener_, scratch_q15_.data(), dc_);
  }
  ShiftHistory(wiener_);
  if (!is_full) return silence_;
  return std::span<const int16_t, kFrame>(wiener_.out_frame, kFrame);
}

}  // namespace vask
