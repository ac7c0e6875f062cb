#include "channel.h"

#include <algorithm>
#include <array>

#include "samples.h"

namespace vask::gst {
namespace {

constexpr size_t kRead = 512;  // samples a call

// The detector runs in the dry stream too, since it is the cheaper one of the two.
vask_stream_setup Dry(vask_stream_setup setup) {
  setup.detector = VASK_STREAM_LEARNED;
  setup.options.audio = VASK_STREAM_RAW;
  return setup;
}

// Samples from one look at the gain to the next, 1 to 2 ms. They do not depend on how buffers are cut.
constexpr size_t kBlock = 48;
constexpr size_t kMostAtOnce = 4096;  // samples: the stream's queue has room for many more

void Append(Stream& from, std::vector<float>& to) {
  std::array<int16_t, kRead> room;
  for (auto samples = from.Read(room); !samples.empty(); samples = from.Read(room)) {
    for (const int16_t sample : samples) to.push_back(static_cast<float>(sample) / 32768);
  }
}

void Forget(std::vector<float>& values, size_t count) {
  values.erase(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count));
}

}  // namespace

Channel::Channel(const vask_stream_setup& setup, bool keeps_highs)
    : filtered_(setup), keeps_highs_(keeps_highs), dry_(Dry(setup)) {}

bool Channel::Take(std::span<const float> samples) {
  while (!samples.empty()) {
    const size_t count = std::min(samples.size(), keeps_highs_ ? kBlock - in_block_ : kMostAtOnce);
    if (!TakeBlock(samples.first(count))) return false;
    in_block_ = (in_block_ + count) % kBlock;
    if (in_block_ == 0 || !keeps_highs_) Collect();
    samples = samples.subspan(count);
  }
  return true;
}

bool Channel::TakeBlock(std::span<const float> samples) {
  integers_.resize(samples.size());
  ToIntegers(samples, integers_);
  const auto count = static_cast<int32_t>(samples.size());
  if (filtered_.Write(integers_) != count) return false;
  if (!keeps_highs_) return true;
  whole_.insert(whole_.end(), samples.begin(), samples.end());
  return dry_.Write(integers_) == count;
}

bool Channel::Drain() {
  if (filtered_.Flush() != 0 || (keeps_highs_ && dry_.Flush() != 0)) return false;
  Collect();
  return true;
}

void Channel::Reset() {
  filtered_.Reset();
  dry_.Reset();
  in_block_ = 0;
  gain_ = 1;
  for (std::vector<float>* values : {&whole_, &low_, &out_, &gains_, &ready_}) values->clear();
}

void Channel::Collect() {
  if (!keeps_highs_) return Append(filtered_, ready_);
  const size_t before = out_.size();
  Append(filtered_, out_);
  Append(dry_, low_);
  // The gain goes in a straight line over what came out together.
  const auto hearing = filtered_.Hearing();
  const float last = hearing ? hearing->high_gain : 1;
  const auto came = static_cast<float>(out_.size() - before);
  for (size_t i = before; i < out_.size(); ++i) {
    gains_.push_back(gain_ + (last - gain_) * static_cast<float>(i - before + 1) / came);
  }
  if (came > 0) gain_ = last;

  const size_t count = std::min({whole_.size(), low_.size(), out_.size()});
  for (size_t i = 0; i < count; ++i) ready_.push_back(out_[i] + gains_[i] * (whole_[i] - low_[i]));
  for (std::vector<float>* values : {&whole_, &low_, &out_, &gains_}) Forget(*values, count);
}

void Channel::Drop(size_t samples) { Forget(ready_, samples); }

}  // namespace vask::gst
