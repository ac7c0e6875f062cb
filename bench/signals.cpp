#include "signals.h"

#include <algorithm>
#include <functional>
#include <random>
#include <sndfile.hh>
#include <stdexcept>

namespace vask::bench {
namespace {

constexpr int kRate = 16000;              // Hz
constexpr size_t kSyntheticFrames = 500;  // 5 s

Signal ReadSpeech() {
  const std::string path = std::string(VASK_SAMPLES_DIR) + "/room.wav";
  SndfileHandle file(path);
  if (file.error() != SF_ERR_NO_ERROR) throw std::runtime_error(path + ": " + file.strError());
  if (file.samplerate() != kRate || file.channels() != 1)
    throw std::runtime_error(path + ": not 16 kHz mono");
  Signal signal;
  for (Frame frame; file.read(frame.data(), kFrameLength) == kFrameLength;) signal.push_back(frame);
  if (signal.empty()) throw std::runtime_error(path + ": no frame in it");
  return signal;
}

// White, uniformly distributed over -range ... range.
Signal Noise(int32_t range) {
  std::mt19937 random(1);  // its sequence is the same in every C++ library
  const auto span = static_cast<uint32_t>(2 * range + 1);
  Signal signal(kSyntheticFrames);
  for (Frame& frame : signal) {
    std::ranges::generate(
        frame, [&] { return static_cast<int16_t>(static_cast<int32_t>(random() % span) - range); });
  }
  return signal;
}

// The engine skips zeros before an utterance's first signal, so one frame of noise starts it.
Signal Silence() {
  Signal signal = Noise(2000);
  std::fill(signal.begin() + 1, signal.end(), Frame{});
  return signal;
}

}  // namespace

const std::vector<Material>& Materials() {
  static const std::vector<Material> materials = {
      {"speech", ReadSpeech()}, {"noise", Noise(2000)}, {"silence", Silence()}, {"near_silence", Noise(2)}};
  return materials;
}

const Signal& Speech() { return Materials().front().signal; }

}  // namespace vask::bench
