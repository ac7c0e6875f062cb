// ear features N < clips.raw > features.raw
// ear probabilities N [MODEL] < clips.raw > probabilities.raw
//
// Runs the library's analysis, or all of the detector, over clips of N samples each (16 bits, 16 kHz, one
// behind the other). For each step of 20 ms it writes what the net sees, kGateInputs numbers of 16 bits, or
// what it says: five probabilities, Q15, of speech now, 100 and 200 ms ago, of an utterance 400 ms ago, and
// of music 200 ms ago. Each clip starts afresh.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "gate/gate.h"

namespace {

template <typename Hear>
bool EachClip(size_t length, void (*clear)(), Hear hear) {
  std::vector<int16_t> clip(length);
  while (std::fread(clip.data(), sizeof(int16_t), length, stdin) == length) {
    clear();
    for (size_t at = 0; at + vask::kFrame <= length; at += vask::kFrame) {
      if (!hear(std::span<const int16_t, vask::kFrame>(clip.data() + at, vask::kFrame))) return false;
    }
  }
  return true;
}

bool Write(std::span<const int16_t> values) {
  return std::fwrite(values.data(), sizeof(int16_t), values.size(), stdout) == values.size();
}

vask::Analysis analysis;
vask::Gate gate;

bool WriteFeatures(size_t length) {
  return analysis.Open() && EachClip(
                                length, [] { analysis.Clear(); },
                                [](auto frame) { return !analysis.Hear(frame) || Write(analysis.inputs()); });
}

bool WriteProbabilities(size_t length, const char* path) {
  const vask_model* given = path != nullptr ? vask_model_open(path, nullptr) : nullptr;
  const vask::Model* model = vask::ModelOf(given);
  if (model == nullptr || (path != nullptr && given == nullptr)) return false;
  return gate.Open(*model) && EachClip(
                                  length, [] { gate.Clear(); },
                                  [](auto frame) {
                                    if (!gate.Hear(frame)) return true;
                                    const vask::Verdict& v = gate.verdict();
                                    const int16_t values[] = {v.speech_now, v.speech_100ms_ago,
                                                              v.speech_200ms_ago, v.utterance, v.music};
                                    return Write(values);
                                  });
}

}  // namespace

int main(int argc, char** argv) {
  const long length = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 0;
  if (length < vask::kFrame) return 2;
  const auto samples = static_cast<size_t>(length);
  bool is_done = false;
  if (std::strcmp(argv[1], "features") == 0) is_done = WriteFeatures(samples);
  if (std::strcmp(argv[1], "probabilities") == 0)
    is_done = WriteProbabilities(samples, argc > 3 ? argv[3] : nullptr);
  if (!is_done) std::fprintf(stderr, "ear: cannot do that: see the top of training/ear.cpp\n");
  return is_done ? 0 : 1;
}
