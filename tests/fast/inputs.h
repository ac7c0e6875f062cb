// What the fast and the plain forms are compared over: windows of 16-bit samples, extreme, random and speech.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace vask::test {

struct Input {
  std::string name;  // enough to repeat it
  std::vector<int16_t> samples;
};

inline std::vector<int16_t> RoomSamples() {
  std::vector<int16_t> samples;
  FILE* file = std::fopen(VASK_SAMPLES_DIR "/room.wav", "rb");
  if (file == nullptr) return samples;
  std::fseek(file, 44, SEEK_SET);
  for (int16_t s; std::fread(&s, sizeof s, 1, file) == 1;) samples.push_back(s);
  std::fclose(file);
  return samples;
}

// Windows of n samples. Random ones at all levels, since the bounds of the fast forms are bounds of levels.
inline std::vector<Input> Inputs(size_t n, int random_count = 300) {
  std::vector<Input> inputs;
  const auto add = [&](std::string name, auto sample) {
    Input& input = inputs.emplace_back(Input{std::move(name), std::vector<int16_t>(n)});
    for (size_t i = 0; i < n; ++i) input.samples[i] = static_cast<int16_t>(sample(i));
  };
  for (int value : {0, 1, -1, 32767, -32768, 30000, 12000}) {
    add("all " + std::to_string(value), [&](size_t) { return value; });
    add("alternating " + std::to_string(value), [&](size_t i) { return i % 2 == 0 ? value : ~value; });
    add("impulse " + std::to_string(value), [&](size_t i) { return i == n / 3 ? value : 0; });
    add("sine " + std::to_string(value),
        [&](size_t i) { return value * std::sin(0.05 * static_cast<double>(i)); });
  }
  for (int seed = 0; seed < random_count; ++seed) {
    std::mt19937 random(static_cast<uint32_t>(seed));
    const auto shift = random() % 16;
    add("random, seed " + std::to_string(seed),
        [&](size_t) { return static_cast<int16_t>(random()) >> shift; });
  }
  const std::vector<int16_t> room = RoomSamples();
  for (size_t at = 0; at + n <= room.size(); at += 10 * n) {
    add("room.wav at " + std::to_string(at), [&](size_t i) { return room[at + i]; });
  }
  return inputs;
}

}  // namespace vask::test
