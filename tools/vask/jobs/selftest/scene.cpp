#include "jobs/selftest/scene.h"

#include <array>

#include "replay/signals.h"

namespace vask::command {
namespace {

struct Part {
  const char* name;
  std::array<int32_t, 4> args;
  int32_t count;  // of the args
};

}  // namespace

std::vector<int16_t> Scene(int32_t rate) {
  const int32_t second = rate;
  const Part parts[] = {{"noise", {second, 25, 1}, 3},
                        {"voice", {rate, 2 * second, 5}, 3},
                        {"noise", {3 * second / 2, 25, 2}, 3},
                        {"square", {second / 2, 41, 32767}, 3},
                        {"silence", {second / 2}, 1},
                        {"chirp", {second, 20000, 0, 32768}, 4},
                        {"clicks", {second / 2, 997, 32767}, 3},
                        {"noise", {second / 2, 32767, 3}, 3},
                        {"constant", {second / 2, -32768}, 2}};
  const signal_room no_room = {};
  std::vector<int16_t> scene;
  for (const Part& part : parts) {
    const size_t before = scene.size();
    const int32_t count = signal_make(part.name, part.args.data(), part.count, &no_room, nullptr);
    scene.resize(before + static_cast<size_t>(count));
    signal_make(part.name, part.args.data(), part.count, &no_room, scene.data() + before);
  }
  return scene;
}

}  // namespace vask::command
