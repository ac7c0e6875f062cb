#include "listen/channel_filter.h"

#include <algorithm>
#include <array>
#include <new>

#include "format.h"
#include "sound/sample_form.h"

namespace vask::command {
namespace {

constexpr double kFullScale = 32768;

void Forget(std::vector<double>& values, size_t count) {
  values.erase(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count));
}

}  // namespace

ChannelFilter::ChannelFilter(const std::string& name, int32_t rate, const vask_stream_setup& setup)
    : stream_(setup), rate_(rate) {
  if (!stream_) throw std::bad_alloc();
  if (rate == kRateHz) return;
  down_.emplace(name, rate, kRateHz);
  up_low_.emplace(name, kRateHz, rate);
  up_filtered_.emplace(name, kRateHz, rate);
}

void ChannelFilter::Take(std::span<const double> samples) {
  is_over_ = samples.empty();
  whole_.insert(whole_.end(), samples.begin(), samples.end());
  if (!down_) {
    Filter(samples);
  } else {
    std::vector<double> low;
    down_->Append(samples, low);
    Filter(low);
  }
  Add();
}

// `low` is at 16 kHz.
void ChannelFilter::Filter(std::span<const double> low) {
  for (const double value : low) {
    frame_.push_back(static_cast<int16_t>(ToInteger(value, 16)));
    if (frame_.size() == kFrameSamples) FilterFrame();
  }
  if (!is_over_) return;
  if (!frame_.empty()) FilterFrame();
  if (stream_.Flush() != 0) throw std::bad_alloc();
  FilterFrame();
  if (!down_) return;
  up_low_->Append({}, low_);
  up_filtered_->Append({}, filtered_);
}

// The pending samples into the stream, and what comes out of it.
void ChannelFilter::FilterFrame() {
  const auto append = [](std::optional<Resampler>& up, std::span<const int16_t> from,
                         std::vector<double>& to) {
    std::array<double, kFrameSamples> values;
    for (; !from.empty(); from = from.subspan(std::min(from.size(), values.size()))) {
      const size_t n = std::min(from.size(), values.size());
      std::transform(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(n), values.begin(),
                     [](int16_t sample) { return sample / kFullScale; });
      const auto some = std::span(values).first(n);
      if (up) {
        up->Append(some, to);
      } else {
        to.insert(to.end(), some.begin(), some.end());
      }
    }
  };
  if (!frame_.empty()) {
    if (stream_.Write(frame_) != static_cast<int32_t>(frame_.size())) throw std::bad_alloc();
    gains_.push_back(stream_.Hearing().value_or(vask_stream_hearing{}).high_gain);
    append(up_low_, frame_, low_);
    frame_.clear();
  }
  std::array<int16_t, 4 * kFrameSamples> room;
  for (auto out = stream_.Read(room); !out.empty(); out = stream_.Read(room))
    append(up_filtered_, out, filtered_);
}

// Between the frames' values in a straight line; after the newest one that.
double ChannelFilter::GainAt(int64_t position) const {
  const double frame = static_cast<double>(position) * kRateHz / rate_ / kFrameSamples;
  const auto before = static_cast<int64_t>(frame);
  const auto value = [&](int64_t at) {
    const int64_t last = static_cast<int64_t>(gains_.size()) - 1;
    return static_cast<double>(gains_[static_cast<size_t>(std::clamp<int64_t>(at - first_gain_, 0, last))]);
  };
  return value(before) + (value(before + 1) - value(before)) * (frame - static_cast<double>(before));
}

void ChannelFilter::Add() {
  size_t count = std::min({whole_.size(), low_.size(), filtered_.size()});
  if (is_over_) {  // a resampler may end a sample early
    count = whole_.size();
    low_.resize(count);
    filtered_.resize(count);
  }
  for (size_t i = 0; i < count; ++i) {
    const double gain = gains_.empty() ? 1.0 : GainAt(done_ + static_cast<int64_t>(i));
    ready_.push_back(filtered_[i] + gain * (whole_[i] - low_[i]));
  }
  done_ += static_cast<int64_t>(count);
  for (std::vector<double>* values : {&whole_, &low_, &filtered_}) Forget(*values, count);
  const int64_t frame = done_ * kRateHz / rate_ / kFrameSamples;
  const int64_t old = std::clamp<int64_t>(frame - first_gain_, 0, static_cast<int64_t>(gains_.size()));
  gains_.erase(gains_.begin(), gains_.begin() + static_cast<std::ptrdiff_t>(std::max<int64_t>(old - 1, 0)));
  first_gain_ += std::max<int64_t>(old - 1, 0);
}

void ChannelFilter::Drop(size_t samples) { Forget(ready_, samples); }

}  // namespace vask::command
