#include "replay/player.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>
#include <vask/stream.hpp>

namespace vask::replay {
namespace {

// Of a stream, as lines.
class Answers {
 public:
  explicit Answers(int32_t mode) : mode_(mode) { replay_start_audio(&audio_); }

  void Take(Stream& stream) {
    while (const auto event = stream.Next()) {
      std::array<char, kReplayLine> line;
      replay_event_line(&*event, line.data());
      lines_.emplace_back(line.data());
      if (mode_ == VASK_STREAM_UTTERANCES) TakeAudio(stream);
    }
    if (mode_ == VASK_STREAM_CONTINUOUS) TakeAudio(stream);
  }

  Lines End() {
    std::array<char, kReplayLine> line;
    replay_audio_line(&audio_, line.data());
    lines_.emplace_back(line.data());
    lines_.emplace_back("end");
    return std::move(lines_);
  }

 private:
  void TakeAudio(Stream& stream) {
    std::array<int16_t, 777> room;
    for (auto got = stream.Read(room); !got.empty(); got = stream.Read(room)) {
      replay_add_audio(&audio_, got.data(), static_cast<int32_t>(got.size()));
    }
  }

  int32_t mode_;
  replay_audio audio_;
  Lines lines_;
};

std::string_view TakeLine(std::string_view& text) {
  const size_t length = text.find('\n');
  const std::string_view line = text.substr(0, length);
  text = length == text.npos ? std::string_view() : text.substr(length + 1);
  return line;
}

}  // namespace

void ForEachCase(std::string_view text, const signal_room& room,
                 const std::function<void(const replay_case& c, const Lines& expected)>& take) {
  struct Close {
    void operator()(replay_case* c) const {
      replay_close(c);
      delete c;
    }
  };
  const std::unique_ptr<replay_case, Close> c(new replay_case());
  Lines expected;
  while (!text.empty()) {
    const std::string line(TakeLine(text));
    const int32_t kind = replay_take(c.get(), line.c_str(), &room);
    if (kind == kReplayWrong) throw std::runtime_error("this line is wrong: " + line);
    if (kind != kReplayAnswer) continue;
    expected.push_back(line);
    if (line != "end") continue;
    if (room.samples != nullptr || c->needs_room == 0) take(*c, expected);
    expected.clear();
  }
}

Lines Play(const replay_case& c) {
  const auto fail = [&](const char* what) { throw std::runtime_error(std::string(c.name) + ": " + what); };
  Stream stream(c.setup);
  Answers answers(c.setup.options.mode);
  if (const char* complaint = vask_stream_setup_complaint(&c.setup)) fail(complaint);
  if (!stream) fail("there is no memory");
  std::span<const int16_t> rest(c.samples, static_cast<size_t>(c.count));
  int32_t at = 0, paused = 0;
  for (int32_t turn = 0; at < c.count; ++turn) {
    const int32_t n = replay_piece(&c, turn, at);
    while (const replay_pause* pause = replay_due_pause(&c, at, &paused)) {
      if (stream.SetPause(pause->seconds) != 0) fail("a pause is refused");
    }
    if (stream.Write(rest.first(static_cast<size_t>(n))) != n) fail("a piece is refused");
    rest = rest.subspan(static_cast<size_t>(n));
    at += n;
    answers.Take(stream);
  }
  if (stream.Flush() != 0) fail("the input cannot be ended");
  answers.Take(stream);
  return answers.End();
}

Difference FirstDifference(const Lines& expected, const Lines& got) {
  for (size_t i = 0; i < std::max(expected.size(), got.size()); ++i) {
    const auto line = [i](const Lines& lines) { return i < lines.size() ? lines[i] : std::string(); };
    if (line(expected) != line(got)) return {line(expected), line(got)};
  }
  return {};
}

}  // namespace vask::replay
