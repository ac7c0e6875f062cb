#include "reducer.h"

#include <algorithm>

#include "samples.h"

namespace vask::gst {
namespace {

constexpr int32_t kRateOfEngine = 16000;  // Hz; it hears all there is up to 8 kHz

// The most samples that a channel holds back, found by trying: half a second of a tone, sample by sample. The
// engine lets silence pass at once.
int64_t MostHeldBack(Channel& channel, int32_t rate) {
  constexpr float kSquare[] = {0.1F, 0.1F, -0.1F, -0.1F};
  int64_t most = 0, held = 0;
  for (int32_t i = 0; i < rate / 2; ++i) {
    channel.Take({&kSquare[i % 4], 1});
    ++held;
    most = std::max(most, held);
    held -= static_cast<int64_t>(channel.ready().size());
    channel.Drop(channel.ready().size());
  }
  channel.Reset();
  return most;
}

}  // namespace

vask_stream_setup ReducerSettings::Setup(int32_t rate, const vask_model* model) const {
  StreamSetup setup;
  const bool listens = mode == kForListening;
  setup.detector = listens ? VASK_STREAM_LEARNED : detector;
  setup.options.mode = VASK_STREAM_CONTINUOUS;
  setup.options.audio = listens ? VASK_STREAM_LISTENING : VASK_STREAM_CLEAN;
  setup.model = model;
  setup.listening_floor_db = static_cast<float>(-limit);
  setup.listening_mix = static_cast<float>(mix);
  setup.input_rate = setup.audio_rate = rate;
  return setup;
}

bool Reducer::Open(const GstAudioInfo& info, const ReducerSettings& settings, const vask_model* model) {
  const int32_t rate = GST_AUDIO_INFO_RATE(&info);
  info_ = info;
  time_.SetRate(rate);
  channels_.clear();
  const vask_stream_setup setup = settings.Setup(rate, model);
  const bool has_highs = settings.mode == kForListening && settings.keeps_highs && rate > kRateOfEngine;
  for (int32_t c = 0; c < GST_AUDIO_INFO_CHANNELS(&info); ++c) {
    if (!channels_.emplace_back(setup, has_highs)) {
      channels_.clear();
      return false;
    }
  }
  latency_ = time_.Length(MostHeldBack(channels_[0], rate));
  Reset();
  return true;
}

bool Reducer::TakeChannels(const uint8_t* data, size_t frames) {
  samples_.assign(frames, 0);
  for (size_t c = 0; c < channels_.size(); ++c) {
    if (data != nullptr) ToChannel(info_, data, static_cast<int32_t>(c), samples_);
    if (!channels_[c].Take(samples_)) return false;
  }
  return true;
}

bool Reducer::Take(GstBuffer* buffer) {
  GstMapInfo map;
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return false;
  const size_t frames = map.size / static_cast<size_t>(GST_AUDIO_INFO_BPF(&info_));
  time_.Take(GST_BUFFER_PTS(buffer), static_cast<int64_t>(frames));
  const bool taken = TakeChannels(map.data, frames);
  gst_buffer_unmap(buffer, &map);
  return taken;
}

bool Reducer::TakeSilence(int64_t samples) {
  if (samples == 0) return true;
  time_.Take(GST_CLOCK_TIME_NONE, samples);
  return TakeChannels(nullptr, static_cast<size_t>(samples));
}

bool Reducer::Drain() {
  return std::all_of(channels_.begin(), channels_.end(), [](Channel& channel) { return channel.Drain(); });
}

void Reducer::Reset() {
  for (Channel& channel : channels_) channel.Reset();
  time_.Restart();
  given_ = 0;
}

GstBuffer* Reducer::Pop() {
  if (channels_.empty()) return nullptr;
  const size_t frames =
      std::min_element(channels_.begin(), channels_.end(),
                       [](const Channel& a, const Channel& b) { return a.ready().size() < b.ready().size(); })
          ->ready()
          .size();
  if (frames == 0) return nullptr;
  GstBuffer* buffer =
      gst_buffer_new_allocate(nullptr, frames * static_cast<size_t>(GST_AUDIO_INFO_BPF(&info_)), nullptr);
  GstMapInfo map;
  gst_buffer_map(buffer, &map, GST_MAP_WRITE);
  for (size_t c = 0; c < channels_.size(); ++c) {
    FromChannel(info_, channels_[c].ready().first(frames), static_cast<int32_t>(c), map.data);
    channels_[c].Drop(frames);
  }
  gst_buffer_unmap(buffer, &map);
  const int64_t end = given_ + static_cast<int64_t>(frames);
  GST_BUFFER_PTS(buffer) = time_.At(given_);
  if (GST_BUFFER_PTS_IS_VALID(buffer)) GST_BUFFER_DURATION(buffer) = time_.At(end) - time_.At(given_);
  GST_BUFFER_OFFSET(buffer) = static_cast<guint64>(given_);
  GST_BUFFER_OFFSET_END(buffer) = static_cast<guint64>(end);
  given_ = end;
  return buffer;
}

}  // namespace vask::gst
