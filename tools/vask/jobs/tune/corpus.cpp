#include "jobs/tune/corpus.h"

#include <array>
#include <atomic>
#include <filesystem>
#include <new>
#include <thread>
#include <vask/stream.hpp>

#include "files/folder.h"
#include "format.h"
#include "sound/audio_reader.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

std::vector<int16_t> SamplesOf(const std::string& file) {
  AudioReader reader{SoundInput(file)};
  Progress progress(file, reader.ExpectedSamples());
  std::vector<int16_t> samples;
  std::array<int16_t, 4096> block;
  for (size_t n = 0; (n = reader.Read(block)) > 0;) {
    samples.insert(samples.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n));
    progress.Update(static_cast<int64_t>(samples.size()));
  }
  reader.Conclude();
  return samples;
}

double SecondsOf(int64_t position) { return static_cast<double>(position) / kRateHz; }

// The spans of a recording's utterances.
RecordingSpeech Found(const std::vector<int16_t>& samples, Stream& stream) {
  RecordingSpeech found;
  const auto take = [&] {
    while (const auto event = stream.Next()) {
      if (event->kind == VASK_STREAM_ENDED) {
        found.speech.push_back({SecondsOf(event->span_start), SecondsOf(event->span_end)});
      }
    }
  };
  for (size_t done = 0; done < samples.size();) {
    const int32_t count = stream.Write(std::span(samples).subspan(done));
    if (count <= 0) throw std::bad_alloc();
    done += static_cast<size_t>(count);
    take();
  }
  if (stream.Flush() != 0) throw std::bad_alloc();
  take();
  stream.Reset();
  return found;
}

}  // namespace

std::vector<LabelledRecording> ReadCorpus(const std::string& folder) {
  const SpeechLists lists = ReadSpeechLists(folder, false);
  std::vector<LabelledRecording> corpus;
  size_t unnamed = 0;
  for (const std::string& file :
       RecordingsIn(folder, {.recursive = false, .leave_out = "", .tells_others = false})) {
    const std::string name = std::filesystem::path(file).stem().string();
    const auto entry = lists.find({name, 1});
    if (entry == lists.end()) {
      ++unnamed;
      continue;
    }
    corpus.push_back({name, SamplesOf(file), entry->second});
    corpus.back().truth.seconds = SecondsOf(static_cast<int64_t>(corpus.back().samples.size()));
  }
  if (unnamed > 0)
    Note(folder + ": " + std::to_string(unnamed) + " recordings have no list and are left out");
  return corpus;
}

std::vector<Score> ScoreCorpus(const std::vector<LabelledRecording>& corpus, const vask_stream_setup& setup,
                               int jobs) {
  std::vector<Score> scores(corpus.size());
  std::atomic<size_t> next = 0;
  std::atomic<bool> has_failed = false;
  const auto work = [&] {
    try {
      Stream stream(setup);
      if (!stream) throw std::bad_alloc();
      for (size_t k; (k = next++) < corpus.size();) {
        const LabelledRecording& recording = corpus[k];
        scores[k] = ScoreOf(recording.truth, Found(recording.samples, stream), nullptr, 0);
      }
    } catch (const std::bad_alloc&) {
      has_failed = true;
    }
  };
  std::vector<std::thread> threads;
  try {
    for (int k = 1; k < jobs; ++k) threads.emplace_back(work);
  } catch (const std::exception&) {
    // The system starts no more threads: those that run, and this one, do all the work.
  }
  work();
  for (std::thread& thread : threads) thread.join();
  if (has_failed) throw std::bad_alloc();
  return scores;
}

}  // namespace vask::command
