// Replays tests/replay/replay.txt through pipelines: cases of utterances through vaskdetect, whose events are
// compared, both those on the bus and those between the buffers; continuous ones through vaskdenoise, whose
// audio is compared. Cases that ask for what the elements have no property for are left out and counted.
//
//   gst_replay FILE
#include <gst/gst.h>
#include <vask/stream.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "replay_pipelines.h"
#include "rig.h"

namespace vask::gst_test {
namespace {

struct Count {
  int cases = 0, left_out = 0;
  size_t events = 0, audio = 0;
};

// False: the case differs, which has been said.
bool IsSame(const replay_case& c, const Fields& fields, const std::vector<std::string>& file, Count& count) {
  const std::string element = ElementFor(c, fields);
  if (element.empty()) {
    ++count.left_out;
    return true;
  }
  ++count.cases;
  const bool has_audio = c.setup.options.mode == VASK_STREAM_CONTINUOUS;
  std::vector<std::string> expected;
  std::copy_if(file.begin(), file.end(), std::back_inserter(expected),
               [&](const std::string& line) { return line.starts_with(has_audio ? "audio" : "event"); });
  Answer answer = Run(element, c);
  (has_audio ? count.audio : count.events) += expected.size();
  expected.emplace_back("end");
  answer.lines.emplace_back(answer.fault.empty() ? "end" : answer.fault);
  const auto [line, got] =
      std::mismatch(expected.begin(), expected.end(), answer.lines.begin(), answer.lines.end());
  if (line == expected.end() && got == answer.lines.end()) return true;
  std::printf("replay: case %s differs: expected %s, got %s\n", c.name, line->c_str(), got->c_str());
  return false;
}

// The exit status.
int Replay(const char* path) {
  const std::vector<int16_t> recording = Room();
  const signal_room room = {recording.data(), static_cast<int32_t>(recording.size())};
  replay_case c = {};
  Fields fields;
  std::vector<std::string> answers;
  Count count;
  std::ifstream file(path);
  bool is_same = true;
  for (std::string line; is_same && std::getline(file, line);) {
    const int32_t kind = replay_take(&c, line.c_str(), &room);
    if (kind == kReplayWrong) {
      std::fprintf(stderr, "%s: this line is wrong: %s\n", path, line.c_str());
      return 2;
    }
    if (line.starts_with("case ")) {
      fields.clear();
      answers.clear();
    }
    if (line.starts_with("set "))
      fields[line.substr(4, line.rfind(' ') - 4)] = line.substr(line.rfind(' ') + 1);
    if (kind == kReplayAnswer) answers.push_back(line);
    if (line == "end") is_same = IsSame(c, fields, answers, count);
  }
  replay_close(&c);
  if (!is_same) return 1;
  if (count.cases == 0) {
    std::fprintf(stderr, "%s: there are no cases; tests/replay/replay.txt has some\n", path);
    return 2;
  }
  std::printf("%zu lines of events by vaskdetect, %zu of audio by vaskdenoise; %d cases are left out\n",
              count.events, count.audio, count.left_out);
  std::printf("replay: %d cases, the same bits\n", count.cases);
  return 0;
}

}  // namespace
}  // namespace vask::gst_test

int main(int argc, char** argv) {
  gst_init(&argc, &argv);
  if (argc != 2) {
    std::fprintf(stderr, "usage: gst_replay REPLAY.txt\n");
    return 2;
  }
  const int result = vask::gst_test::Replay(argv[1]);
  gst_deinit();
  return result;
}
