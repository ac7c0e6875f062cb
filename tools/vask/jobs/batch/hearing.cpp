#include "jobs/batch/hearing.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

#include "format.h"
#include "jobs/batch/span_ear.h"
#include "sound/audio_reader.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr size_t kBlock = 4096;         // samples
constexpr size_t kMostAtOnce = 16;      // streams over one place of a recording
constexpr double kLatency = 1;          // s, more than a resampler holds back
constexpr double kMostOvershoot = 0.5;  // s: ends of spans are rounded

std::string KindOf(const Item& item) {
  struct stat status;
  if (item.place.is_command) return "command";
  if (stat(item.file.c_str(), &status) == 0) return "audio";
  return errno == ENOENT || errno == ENOTDIR ? "missing" : "unreadable";
}

Findings Failed(std::string kind, std::string message) {
  Findings heard;
  heard.failure = {std::move(kind), std::move(message)};
  return heard;
}

double EndOf(const Item& item) {
  return item.duration ? item.offset + *item.duration : std::numeric_limits<double>::infinity();
}

}  // namespace

// One reading of the recording.
class Hearing::Pass {
 public:
  Pass(Hearing& hearing, const SoundInput& input, const InputGain& gain, const Done& done)
      : hearing_(hearing), reader_(input), gain_(gain), done_(done) {
    reader_.Show([this](auto samples, int32_t channels) { PassOn(samples, channels); });
  }

  // `items` by their starts. Leaves those that must wait for the next reading.
  void Hear(std::vector<const Item*>& items, const std::function<void()>& stopped) {
    Choose(items);
    std::array<int16_t, kBlock> block;
    for (size_t n = 0; !spans_.empty() && (n = reader_.ReadSome(block)) > 0;) {
      stopped();
      HearOn(std::span(block).first(n));
    }
    for (Span& span : spans_) FinishAtEnd(span);
  }

 private:
  struct Span {
    const Item* item;
    int64_t first, last;              // at 16 kHz
    int64_t first_frame, last_frame;  // at the recording's own rate
    std::unique_ptr<SpanEar> ear;     // once it has begun
  };

  void Choose(std::vector<const Item*>& items) {
    const auto at = [](double seconds, int32_t rate) {
      return std::isfinite(seconds) ? std::llround(seconds * rate) : std::numeric_limits<int64_t>::max();
    };
    std::vector<const Item*> later;
    std::vector<double> ends;
    for (const Item* item : items) {
      std::erase_if(ends, [&](double end) { return end + kLatency < item->offset; });
      if (ends.size() >= kMostAtOnce) {
        later.push_back(item);
        continue;
      }
      ends.push_back(EndOf(*item));
      spans_.push_back({item, at(item->offset, kRateHz), at(EndOf(*item), kRateHz),
                        at(item->offset, reader_.rate()), at(EndOf(*item), reader_.rate()), nullptr});
    }
    items = std::move(later);
  }

  // The recording's own samples run ahead of those at 16 kHz.
  void PassOn(std::span<const double> interleaved, int32_t channels) {
    const int64_t frames = static_cast<int64_t>(interleaved.size()) / channels;
    for (Span& span : spans_) {
      const int64_t begin = std::max(span.first_frame - passed_, int64_t{0});
      const int64_t end = std::min(span.last_frame - passed_, frames);
      if (begin >= end) continue;
      if (!span.ear) {
        span.ear = std::make_unique<SpanEar>(hearing_.options_, *span.item, hearing_.TakeStream(), gain_,
                                             reader_.rate());
      }
      span.ear->Pass(interleaved.subspan(static_cast<size_t>(begin * channels),
                                         static_cast<size_t>((end - begin) * channels)),
                     channels);
    }
    passed_ += frames;
  }

  void HearOn(std::span<const int16_t> samples) {
    const auto count = static_cast<int64_t>(samples.size());
    for (Span& span : spans_) {
      const int64_t begin = std::max(span.first - heard_, int64_t{0}),
                    end = std::min(span.last - heard_, count);
      if (span.ear && begin < end)
        span.ear->Hear(samples.subspan(static_cast<size_t>(begin), static_cast<size_t>(end - begin)));
    }
    heard_ += count;
    for (Span& span : spans_) {
      if (span.last <= heard_) Finish(span, span.last_frame - span.first_frame, {});
    }
    std::erase_if(spans_, [](const Span& span) { return span.item == nullptr; });
  }

  void Finish(Span& span, int64_t frames, std::optional<Refusal> failure) {
    Findings heard;
    if (span.ear) {
      heard = span.ear->Finish(frames);
      hearing_.idle_.push_back(span.ear->TakeStream());
    }
    heard.rate = reader_.rate();
    heard.channels = reader_.channels();
    heard.failure = std::move(failure);
    const Item* const item = std::exchange(span.item, nullptr);
    done_(*item, std::move(heard));
  }

  // The recording has ended before the span did, unless that goes to its end.
  void FinishAtEnd(Span& span) {
    const int64_t frames = std::max(reader_.frames_read() - span.first_frame, int64_t{0});
    const double length = static_cast<double>(reader_.frames_read()) / reader_.rate();
    std::optional<Refusal> failure;
    if (const std::optional<FileError> shortfall = reader_.Shortfall()) {
      failure = {"incomplete", shortfall->what()};
    } else if (frames == 0 || (span.item->duration && EndOf(*span.item) > length + kMostOvershoot)) {
      failure = {"span",
                 span.item->place.path + ": the span is beyond its end at " + Decimal(length, 3) + " s"};
    }
    Finish(span, frames, std::move(failure));
  }

  Hearing& hearing_;
  AudioReader reader_;
  const InputGain& gain_;
  const Done& done_;
  std::vector<Span> spans_;
  int64_t passed_ = 0, heard_ = 0;  // of the recording so far: at its own rate, at 16 kHz
};

void Hearing::Hear(const std::vector<Item>& items, const Done& done, const std::function<void()>& stopped) {
  std::vector<const Item*> waiting;
  waiting.reserve(items.size());
  for (const Item& item : items) waiting.push_back(&item);
  std::stable_sort(waiting.begin(), waiting.end(),
                   [](const Item* a, const Item* b) { return a->offset < b->offset; });
  std::vector<bool> is_done(items.size());
  auto before = std::chrono::steady_clock::now();
  const Done report = [&](const Item& item, Findings heard) {
    const auto now = std::chrono::steady_clock::now();
    heard.took = std::chrono::duration<double>(now - before).count();
    before = now;
    is_done[static_cast<size_t>(&item - items.data())] = true;
    done(item, std::move(heard));
  };
  SoundInput input(items[0].file, options_.reading);
  if (items[0].channel > 0) input.channel = items[0].channel;
  input.is_command = items[0].place.is_command;
  try {
    const InputGain gain(options_.listen.gain, input);
    while (!waiting.empty()) Pass(*this, input, gain, report).Hear(waiting, stopped);
  } catch (const FileError& error) {
    for (size_t k = 0; k < items.size(); ++k) {
      if (!is_done[k]) report(items[k], Failed(KindOf(items[k]), error.what()));
    }
  }
}

std::unique_ptr<Stream> Hearing::TakeStream() {
  std::unique_ptr<Stream> stream;
  if (!idle_.empty()) {
    stream = std::move(idle_.back());
    idle_.pop_back();
    return stream;
  }
  vask_stream_setup setup = options_.setup.setup;
  stream = std::make_unique<Stream>(setup);
  if (!*stream) throw std::bad_alloc();
  return stream;
}

}  // namespace vask::command
