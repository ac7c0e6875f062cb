// webrtc_apm < in.raw > out.raw
//
// The noise suppression of WebRTC's audio processing, at its level "high", over 16-bit samples of 16 kHz.
#include <webrtc/modules/audio_processing/include/audio_processing.h>
#include <webrtc/modules/interface/module_common_types.h>

#include <algorithm>
#include <cstdio>
#include <memory>

int main() {
  constexpr int kFrame = 160, kRate = 16000;
  const std::unique_ptr<webrtc::AudioProcessing> processing(webrtc::AudioProcessing::Create());
  if (!processing || processing->noise_suppression()->set_level(webrtc::NoiseSuppression::kHigh) != 0 ||
      processing->noise_suppression()->Enable(true) != 0) {
    return 1;
  }
  webrtc::AudioFrame frame;
  frame.sample_rate_hz_ = kRate;
  frame.samples_per_channel_ = kFrame;
  frame.num_channels_ = 1;
  for (size_t n; (n = std::fread(frame.data_, sizeof(int16_t), kFrame, stdin)) > 0;) {
    std::fill(frame.data_ + n, frame.data_ + kFrame, int16_t{0});
    if (processing->ProcessStream(&frame) != 0) return 1;
    if (std::fwrite(frame.data_, sizeof(int16_t), n, stdout) != n) return 1;
  }
  return 0;
}
