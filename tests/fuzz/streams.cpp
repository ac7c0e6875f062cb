// Streams of any setup keep their promises, and give the same events and bits however the input is cut,
// whenever events and audio are taken, and whatever the stream has heard before a reset.
#include <vask/model.h>
#include <vask/stream.h>

#include <bit>
#include <cmath>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>

#include "fuzz/fuzz.h"
#include "fuzz/sound.h"
#include "support/loud_model.h"

namespace vask::fuzz {
namespace {

constexpr size_t kMostSamples = 48000;
constexpr int32_t kRates[] = {0, 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};

struct CloseStream {
  void operator()(vask_stream* stream) const { vask_stream_close(stream); }
};
using Stream = std::unique_ptr<vask_stream, CloseStream>;

struct Change {
  size_t at;  // samples of the input
  float pause;
};

int32_t AnyNumber(Input& input) {
  switch (input.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
      return input.ConsumeIntegral<int32_t>();
    case 1:  // lengths in samples
      return input.ConsumeIntegralInRange<int32_t>(-1, 120000);
    default:
      return input.ConsumeIntegralInRange<int32_t>(-1, 300);
  }
}

float AnySeconds(Input& input) {
  switch (input.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
      return std::bit_cast<float>(input.ConsumeIntegral<uint32_t>());
    case 1:
      return static_cast<float>(input.ConsumeIntegralInRange<int>(-1, 101)) * 0.1f;
    default:
      return static_cast<float>(input.ConsumeIntegralInRange<int>(0, 50)) * 0.02f;
  }
}

// The default setup of a detector with a few fields changed.
vask_stream_setup AnySetup(Input& input) {
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof setup);
  static const std::string bytes = test::BytesOf(test::LoudModel(10));
  static const vask_model* loud = vask_model_read(bytes.data(), static_cast<uint32_t>(bytes.size()), nullptr);
  setup.detector = input.ConsumeIntegralInRange<int32_t>(0, 1);
  setup.model = input.ConsumeBool() ? loud : nullptr;
  setup.options.mode = input.ConsumeIntegralInRange<int32_t>(0, 7) == 0 ? 1 : 2;
  setup.options.audio = input.ConsumeIntegralInRange<int32_t>(0, 2 + setup.detector);
  if (input.ConsumeBool()) vask_stream_robust(&setup.options);
  setup.input_rate = kRates[input.ConsumeIntegralInRange<size_t>(0, std::size(kRates) - 1)];
  setup.audio_rate = input.ConsumeBool()
                         ? setup.input_rate
                         : kRates[input.ConsumeIntegralInRange<size_t>(0, std::size(kRates) - 1)];
  static_assert(sizeof setup.options % sizeof(int32_t) == 0 && sizeof setup.rules % sizeof(float) == 0);
  const auto options = reinterpret_cast<int32_t*>(&setup.options);  // they are nothing but these
  const auto rules = reinterpret_cast<float*>(&setup.rules);
  float* const others[] = {&setup.listening_floor_db, &setup.listening_mix, &setup.may_end_after,
                           &setup.start_within};
  for (auto changes = input.ConsumeIntegralInRange<int>(0, 6); changes > 0; --changes) {
    switch (input.ConsumeIntegralInRange<int>(0, 2)) {
      case 0:
        options[input.ConsumeIntegralInRange<size_t>(0, sizeof setup.options / 4 - 1)] = AnyNumber(input);
        break;
      case 1:
        rules[input.ConsumeIntegralInRange<size_t>(0, sizeof setup.rules / 4 - 1)] = AnySeconds(input);
        break;
      default:
        *others[input.ConsumeIntegralInRange<size_t>(0, 3)] =
            AnySeconds(input) * (input.ConsumeBool() ? -10.0f : 1.0f);
    }
  }
  return setup;
}

// What a stream made of an input.
struct Told {
  std::vector<std::tuple<std::string, Samples>> events;  // each with what was read since the one before
  std::vector<int32_t> results;                          // of the changes of the pause
  Samples rest;
  bool operator==(const Told&) const = default;
};

vask_stream_event EventOf(const std::string& fields) {
  vask_stream_event event = {};
  fields.copy(reinterpret_cast<char*>(&event), fields.size());
  return event;
}

// Writes an input to a stream, in pieces and with changes of the pause, and takes what comes out.
class Listener {
 public:
  Listener(vask_stream* stream, const Samples& sound, const std::vector<Change>& changes, const Bytes& pieces)
      : stream_(stream), pieces_(pieces) {
    size_t done = 0;
    for (const Change& change : changes) {
      Write(sound, done, std::min(change.at, sound.size()));
      told.results.push_back(vask_stream_set_pause(stream_, change.pause));
      VASK_REQUIRE(told.results[0] == 0);
    }
    Write(sound, done, sound.size());
    int32_t left = vask_stream_flush(stream_);
    for (; left != 0; left = vask_stream_flush(stream_)) MakeRoom(left);
    Take(true);
    VASK_REQUIRE(vask_stream_available(stream_) == 0);
    told.rest.swap(audio_);
  }

  Told told;

 private:
  // In pieces, until all has been processed.
  void Write(const Samples& sound, size_t& done, size_t end) {
    while (done < end) {
      const uint8_t size = pieces_.empty() ? 255 : pieces_[next_++ % pieces_.size()];
      const size_t piece = std::min(end - done, size_t{1} + size * size * (size > 250 ? 8u : 1u));
      const int32_t taken = vask_stream_write(stream_, sound.data() + done, static_cast<int32_t>(piece));
      if (taken < 0) MakeRoom(taken);
      done += static_cast<size_t>(std::max(taken, 0));
      if (!pieces_.empty() && size % 3 != 0) Take(size % 3 == 1);
    }
    int32_t left = vask_stream_write(stream_, nullptr, 0);
    for (; left != 0; left = vask_stream_write(stream_, nullptr, 0)) MakeRoom(left);
    vask_stream_measures measures;
    VASK_REQUIRE(vask_stream_measure(stream_, &measures) == 0);
    VASK_REQUIRE(measures.heard <= static_cast<int64_t>(done) && measures.detector_at <= measures.heard);
    VASK_REQUIRE(measures.level_db >= -200 && measures.level_db <= 0.01f);
    vask_stream_hearing hearing = {};
    hearing.size = sizeof hearing;
    if (vask_stream_hear(stream_, &hearing) != 0) return;
    for (const float p : {hearing.speech, hearing.speech_100ms_ago, hearing.speech_200ms_ago,
                          hearing.utterance, hearing.music, hearing.high_gain})
      VASK_REQUIRE(p >= 0 && p <= 1.001f);
  }

  void MakeRoom(int32_t error) {
    VASK_REQUIRE(error == VASK_STREAM_FULL);
    const bool was_in_the_way = Take(true);
    VASK_REQUIRE(was_in_the_way);
  }

  // False if there was nothing. Without `eagerly` audio is only read where it would be dropped.
  bool Take(bool eagerly) {
    const size_t events = told.events.size(), before = audio_.size();
    if (eagerly) Read();
    const size_t read = audio_.size() - before;
    vask_stream_event event;
    while (vask_stream_next(stream_, &event) == 1) {
      if (eagerly || event.kind == VASK_STREAM_ENDED) Read();
      if (event.kind == VASK_STREAM_REJECTED) audio_.clear();
      const auto bytes = reinterpret_cast<const char*>(&event);
      told.events.emplace_back(
          std::string(bytes, offsetof(vask_stream_event, level_db) + sizeof event.level_db), Samples());
      if (event.kind == VASK_STREAM_ENDED) std::get<1>(told.events.back()).swap(audio_);
    }
    return read > 0 || told.events.size() > events;
  }

  void Read() {
    const int32_t available = vask_stream_available(stream_);
    VASK_REQUIRE(available >= 0);
    const size_t before = audio_.size();
    int16_t some[777];
    for (int32_t n; (n = vask_stream_read(stream_, some, 777)) > 0;)
      audio_.insert(audio_.end(), some, some + n);
    VASK_REQUIRE(audio_.size() - before == static_cast<size_t>(available));
  }

  vask_stream* stream_;
  const Bytes& pieces_;
  size_t next_ = 0;
  Samples audio_;
};

// That many samples at the rate of what is read, for a span at that of the input.
void CheckLength(const vask_stream_setup& setup, const Samples& audio, int64_t span) {
  const int64_t from = setup.input_rate != 0 ? setup.input_rate : 16000;
  const int64_t to = setup.audio_rate != 0 ? setup.audio_rate : 16000;
  if (setup.options.audio == VASK_STREAM_NO_AUDIO) span = 0;
  const int64_t error = static_cast<int64_t>(audio.size()) * from - span * to;
  VASK_REQUIRE(from == to ? error == 0 : std::abs(error) <= 2 * std::max(from, to));
}

void Check(const vask_stream_setup& setup, const Told& told, int64_t length) {
  if (setup.options.mode == VASK_STREAM_CONTINUOUS) {
    VASK_REQUIRE(told.events.empty());
    return CheckLength(setup, told.rest, length);
  }
  VASK_REQUIRE(told.rest.empty());
  vask_stream_event last = {};  // the last end or rejection
  int64_t delivered = 0, heard = 0;
  int32_t open = 0;
  bool guessed = false, nobody = false;
  for (const auto& [fields, audio] : told.events) {
    const vask_stream_event e = EventOf(fields);
    VASK_REQUIRE(e.heard >= heard && e.heard <= length && e.start >= 0 && e.start <= e.heard);
    VASK_REQUIRE(e.end <= e.heard && (e.end == -1 || e.end >= e.start));
    VASK_REQUIRE(e.level_db >= -200 && e.level_db <= 0.01f && e.voiced >= 0 && e.voiced <= 1);
    heard = e.heard;
    if (e.kind == VASK_STREAM_STARTED) {
      VASK_REQUIRE(open == 0 && e.segment == last.segment + 1 && e.reason == 0);
      VASK_REQUIRE((e.continues == 1) == (last.reason == VASK_STREAM_BY_SPLIT && e.start == last.end) ||
                   e.continues == 0);
      open = e.segment;
    } else if (e.kind == VASK_STREAM_NOBODY_SPOKE) {
      VASK_REQUIRE(open == 0 && !nobody && e.segment == 0 && setup.start_within > 0);
      nobody = true;
    } else if (e.kind == VASK_STREAM_MAY_HAVE_ENDED || e.kind == VASK_STREAM_WENT_ON) {
      VASK_REQUIRE(open == e.segment && guessed == (e.kind == VASK_STREAM_WENT_ON));
      guessed = !guessed;
    } else {
      VASK_REQUIRE(e.kind == VASK_STREAM_ENDED || e.kind == VASK_STREAM_REJECTED);
      VASK_REQUIRE(open == e.segment && (e.reason >= 11) == (e.kind == VASK_STREAM_REJECTED));
      VASK_REQUIRE(e.span_start >= 0 && e.span_end >= e.span_start && e.span_end <= length);
      if (e.kind == VASK_STREAM_ENDED) {
        VASK_REQUIRE(e.span_start >= delivered);
        delivered = e.span_end;
        CheckLength(setup, audio, e.span_end - e.span_start);
        const int64_t rate = setup.input_rate != 0 ? setup.input_rate : 16000;
        const int64_t most = setup.options.max_samples;
        VASK_REQUIRE(most == 0 || (e.span_end - e.span_start - 1) * 16000 <= most * rate);
      }
      open = 0;
      guessed = nobody = false;
      last = e;
    }
  }
  VASK_REQUIRE(open == 0);
}

void Run(Input& input) {
  const vask_stream_setup setup = AnySetup(input);
  const Stream one(vask_stream_open_setup(&setup));
  VASK_REQUIRE((one == nullptr) == (vask_stream_setup_complaint(&setup) != nullptr));
  if (one == nullptr) return;
  // The first change is none, but after a reset, which a pause outlives.
  const auto hangover = static_cast<float>(setup.options.profile.hangover_frames);
  std::vector<Change> changes = {
      {0, setup.detector == VASK_STREAM_LEARNED ? setup.rules.pause : hangover / 100}};
  while (changes.size() < 4 && input.ConsumeBool())
    changes.push_back({changes.back().at + input.ConsumeIntegral<uint16_t>(), AnySeconds(input)});
  const Bytes pieces = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(1, 12));
  const Samples before = Sound(input, kMostSamples / 6), sound = Sound(input, kMostSamples);
  const Stream two(vask_stream_open_setup(&setup));
  const Told told = Listener(one.get(), sound, changes, {}).told;
  Check(setup, told, static_cast<int64_t>(sound.size()));
  Check(setup, Listener(two.get(), before, changes, {}).told, static_cast<int64_t>(before.size()));
  vask_stream_reset(two.get());
  VASK_REQUIRE(Listener(two.get(), sound, changes, pieces).told == told);
}

}  // namespace
}  // namespace vask::fuzz

VASK_FUZZ(vask::fuzz::Run)
