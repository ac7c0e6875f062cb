// ear features N < clips.raw > features.raw
//
// Runs the library's analysis over clips of N samples each (16 bits, 16 kHz, one behind the other) and writes
// what the net sees: for each step of 20 ms kGateInputs numbers of 16 bits. Each clip starts afresh.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "gate/analysis.h"

namespace {

int WriteFeatures(size_t length) {
  static vask::Analysis analysis;
  if (!analysis.Open()) return 1;
  std::vector<int16_t> clip(length);
  while (std::fread(clip.data(), sizeof(int16_t), length, stdin) == length) {
    analysis.Clear();
    for (size_t at = 0; at + vask::kFrame <= length; at += vask::kFrame) {
      if (!analysis.Hear(std::span<const int16_t, vask::kFrame>(clip.data() + at, vask::kFrame))) continue;
      const vask::GateInputs& inputs = analysis.inputs();
      if (std::fwrite(inputs.data(), sizeof(int16_t), inputs.size(), stdout) != inputs.size()) return 1;
    }
  }
  analysis.Close();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || std::strcmp(argv[1], "features") != 0) return 2;
  const long length = std::strtol(argv[2], nullptr, 10);
  return length > 0 ? WriteFeatures(static_cast<size_t>(length)) : 2;
}
