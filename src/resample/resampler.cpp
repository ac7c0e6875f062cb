#include "resample/resampler.h"

#include <algorithm>

#include "dsp/memory.h"

namespace vask {

void Halver::Clear() {
  even_ = {};
  odd_ = {};
  // Silence before the input: as many odd samples as stand before the first output, and an even one for each
  // of the others.
  odd_count_ = kHalfBandTaps / 2;
  even_count_ = 0;
  next_is_odd_ = false;
}

int32_t Halver::Run(std::span<const int16_t> in, int16_t* out) {
  if (next_is_odd_ && !in.empty()) {
    odd_[static_cast<size_t>(odd_count_++)] = in.front();
    in = in.subspan(1);
    next_is_odd_ = false;
  }
  const size_t pairs = in.size() / 2;
  int16_t* const even = even_.data() + even_count_;
  int16_t* const odd = odd_.data() + odd_count_;
  for (size_t i = 0; i < pairs; ++i) {
    even[i] = in[2 * i];
    odd[i] = in[2 * i + 1];
  }
  even_count_ += static_cast<int32_t>(pairs);
  odd_count_ += static_cast<int32_t>(pairs);
  if (in.size() % 2 != 0) {
    even_[static_cast<size_t>(even_count_++)] = in.back();
    next_is_odd_ = true;
  }
  const int32_t ready = std::max(odd_count_ - kHalfBandTaps + 1, 0);
  RunHalfBand(even_.data(), odd_.data(), {out, static_cast<size_t>(ready)});
  std::copy(even_.begin() + ready, even_.begin() + even_count_, even_.begin());
  std::copy(odd_.begin() + ready, odd_.begin() + odd_count_, odd_.begin());
  even_count_ -= ready;
  odd_count_ -= ready;
  return ready;
}

bool Resampler::Open(int32_t in_rate, int32_t out_rate) {
  halves_ = in_rate > 2 * out_rate;
  in_rate_ = in_rate;
  out_rate_ = out_rate;
  if (!filter_.Open(halves_ ? in_rate / 2 : in_rate, out_rate)) return false;
  capacity_ = filter_.taps() + kRoom;
  samples_ = NewZeroed<int16_t>(capacity_);
  if (samples_ == nullptr) return false;
  Clear();
  return true;
}

void Resampler::Close() {
  filter_.Close();
  Release(samples_);
}

void Resampler::Clear() {
  halver_.Clear();
  first_ = filter_.First(0);
  count_ = static_cast<int32_t>(-first_);
  std::fill_n(samples_, count_, int16_t{0});
  taken_ = given_ = 0;
}

int64_t Resampler::OutputsInAll() const { return (taken_ * out_rate_ + in_rate_ - 1) / in_rate_; }

// Forget what no output needs any more.
void Resampler::MakeRoom() {
  const auto done = static_cast<int32_t>(filter_.First(given_) - first_);
  std::copy(samples_ + done, samples_ + count_, samples_);
  first_ += done;
  count_ -= done;
}

size_t Resampler::Enter(std::span<const int16_t> in) {
  if (static_cast<size_t>(capacity_ - count_) < in.size()) MakeRoom();
  const auto room = static_cast<size_t>(capacity_ - count_);
  if (halves_) {
    in = in.first(std::min({in.size(), static_cast<size_t>(Halver::kMost), 2 * room - 1}));
    count_ += halver_.Run(in, samples_ + count_);
  } else {
    in = in.first(std::min(in.size(), room));
    std::copy(in.begin(), in.end(), samples_ + count_);
    count_ += static_cast<int32_t>(in.size());
  }
  return in.size();
}

size_t Resampler::Take(std::span<const int16_t> in) {
  const size_t count = Enter(in);
  taken_ += static_cast<int64_t>(count);
  return count;
}

size_t Resampler::Give(std::span<int16_t> out) {
  const int64_t ready = filter_.Ready(first_ + count_) - given_;
  const auto count = static_cast<size_t>(std::clamp<int64_t>(ready, 0, static_cast<int64_t>(out.size())));
  if (count == 0) return 0;
  filter_.Run(given_, samples_ + (filter_.First(given_) - first_), out.first(count));
  given_ += static_cast<int64_t>(count);
  return count;
}

size_t Resampler::GiveRest(std::span<int16_t> out) {
  constexpr std::array<int16_t, 64> kSilence = {};
  const int64_t left = OutputsInAll() - given_;
  out = out.first(static_cast<size_t>(std::min(static_cast<int64_t>(out.size()), left)));
  size_t count = Give(out);
  while (count < out.size()) {
    Enter(kSilence);
    count += Give(out.subspan(count));
  }
  return count;
}

}  // namespace vask
