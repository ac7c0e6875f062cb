// Replays a file of cases over the streams of C++, as the one in C does.
//
//   vask-replay-cpp REPLAY.txt ROOM.wav
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "replay/player.h"

namespace vask::replay {
namespace {

constexpr size_t kHeaderBytes = 44;

// Throws std::runtime_error.
std::string Content(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(std::string("cannot read ") + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<int16_t> Samples(const std::string& wav) {
  std::vector<int16_t> samples;
  for (size_t i = kHeaderBytes; i + 1 < wav.size(); i += 2) {
    const auto low = static_cast<uint8_t>(wav[i]), high = static_cast<uint8_t>(wav[i + 1]);
    samples.push_back(static_cast<int16_t>(low | high << 8));
  }
  return samples;
}

// Returns the exit status.
int Replay(const char* list, const char* recording) {
  const std::vector<int16_t> samples = Samples(Content(recording));
  const signal_room room = {samples.data(), static_cast<int32_t>(samples.size())};
  int cases = 0, different = 0;
  ForEachCase(Content(list), room, [&](const replay_case& c, const Lines& lines) {
    ++cases;
    const auto [expected, got] = FirstDifference(lines, Play(c));
    if (expected == got || different++ > 0) return;
    std::printf("replay: case %s differs: expected %s, got %s\n", c.name, expected.c_str(), got.c_str());
  });
  if (cases == 0) throw std::runtime_error("there are no cases");
  if (different == 0) std::printf("replay: %d cases, the same bits\n", cases);
  return different > 0 ? 1 : 0;
}

}  // namespace
}  // namespace vask::replay

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: vask-replay-cpp REPLAY.txt ROOM.wav\n");
    return 2;
  }
  try {
    return vask::replay::Replay(argv[1], argv[2]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vask-replay-cpp: %s\n", error.what());
    return 2;
  }
}
