#include "stream/audio_source.h"

#include <vask/stream.h>

namespace vask {

bool AudioSource::Open(int32_t audio, float floor_db, float mix) {
  audio_ = audio;
  if (audio == VASK_STREAM_CLEAN) return cleaner_.Open();
  return audio != VASK_STREAM_LISTENING || listening_.Open(floor_db, mix);
}

void AudioSource::Close() {
  if (audio_ == VASK_STREAM_CLEAN) cleaner_.Close();
  if (audio_ == VASK_STREAM_LISTENING) listening_.Close();
}

void AudioSource::Clear() {
  if (audio_ == VASK_STREAM_CLEAN) cleaner_.Clear();
  if (audio_ == VASK_STREAM_LISTENING) listening_.Clear();
}

int64_t AudioSource::delay() const {
  if (audio_ == VASK_STREAM_CLEAN) return kNoiseDelay;
  return audio_ == VASK_STREAM_LISTENING ? Listening::kDelay / kFrame : 0;
}

std::span<const int16_t, kFrame> AudioSource::Filter(std::span<const int16_t, kFrame> frame) {
  if (audio_ == VASK_STREAM_CLEAN) return cleaner_.Filter(frame);
  if (audio_ != VASK_STREAM_LISTENING) return frame;
  listening_.Filter(frame, filtered_);
  return filtered_;
}

void AudioSource::LearnNoise(int16_t speech_100ms_ago) {
  if (audio_ == VASK_STREAM_LISTENING) listening_.LearnNoise(speech_100ms_ago);
}

float AudioSource::high_gain() const {
  return audio_ == VASK_STREAM_LISTENING ? listening_.high_gain() : 1.0f;
}

}  // namespace vask
