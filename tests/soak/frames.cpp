// Every frame of the recording, of the made signals and of raw bytes through each entry that takes sound,
// between counting_starts and counting_ends, where a plugin of qemu prints what the frame took. Before each
// run a line names the entry and the signal, after it the stack that it used in bytes.
//
//   vask-frames ENTRIES ROOM.wav [BYTES...]
//
// ENTRIES: so many, the first ones. BYTES: files that are taken for samples.
#include <pthread.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

extern "C" {
#include "digest/digest.h"

[[gnu::noinline]] void counting_starts() { __asm__ volatile("" ::: "memory"); }
[[gnu::noinline]] void counting_ends() { __asm__ volatile("" ::: "memory"); }
}

namespace {

using Samples = std::vector<int16_t>;

struct Entry {
  const char* name;
  int32_t detector, audio, rate;  // of a stream; detector -1: the front end
  int32_t mode;
};
constexpr Entry kEntries[] = {
    {"front end", -1, 0, 16000, 2},
    {"front end, mode 1", -1, 0, 16000, 1},
    {"energy", VASK_STREAM_ENERGY, VASK_STREAM_CLEAN, 16000, VASK_STREAM_UTTERANCES},
    {"energy, 44.1 kHz", VASK_STREAM_ENERGY, VASK_STREAM_RAW, 44100, VASK_STREAM_UTTERANCES},
    {"learned", VASK_STREAM_LEARNED, VASK_STREAM_LISTENING, 16000, VASK_STREAM_UTTERANCES},
    {"learned, 48 kHz", VASK_STREAM_LEARNED, VASK_STREAM_CLEAN, 48000, VASK_STREAM_CONTINUOUS},
};

Samples SamplesOf(const std::string& path, int64_t skipped) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(skipped);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  Samples samples(bytes.size() / 2);
  std::copy_n(bytes.data(), 2 * samples.size(), reinterpret_cast<char*>(samples.data()));
  return samples;
}

void RunFrontEnd(const Entry& entry, const Samples& samples) {
  int16_t piece[160], out[1000];
  if (android_init_frontend(".", entry.mode) != 1) std::abort();
  android_wrapup_frontend();
  android_reset_frontend();
  for (size_t at = 0, heard = 0; at + 160 <= samples.size(); at += 160, ++heard) {
    std::copy_n(&samples[at], 160, piece);
    counting_starts();
    int32_t ended = android_process_frame(160, piece);
    counting_ends();
    if (ended == 1) ended = android_process_frame(0, piece);
    const bool is_due =
        ended == 1 || entry.mode == 1 || (heard >= 100 && android_get_available_frames() == 0);
    while (is_due && android_get_frames(1000, out) > 0) {
    }
    if (!is_due || heard < 100) continue;
    android_reset_frontend();
    heard = 0;
  }
  // What runs once per utterance needs stack too.
  static mfcc_prm extractor;
  int32_t ready = 0;
  Vask_epd_ecd();
  if (vask_init_mfcc_prm(&extractor) != 1) std::abort();
  mfcc_feat_ex(&extractor, &ready, 0, 1);
  close_mfcc_prm(&extractor);
  android_stop_frontend();
}

void RunStream(const Entry& entry, const Samples& samples) {
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof setup);
  setup.detector = entry.detector;
  setup.options.audio = entry.audio;
  setup.options.mode = entry.mode;
  setup.input_rate = setup.audio_rate = entry.rate;
  vask_stream* const stream = vask_stream_open_setup(&setup);
  if (stream == nullptr) std::abort();
  const auto n = static_cast<size_t>(entry.rate / 100);
  int16_t out[1000];
  for (size_t at = 0; at + n <= samples.size(); at += n) {
    counting_starts();
    vask_stream_write(stream, &samples[at], static_cast<int32_t>(n));
    counting_ends();
    vask_stream_event event;
    do {
      while (vask_stream_read(stream, out, 1000) > 0) {
      }
    } while (vask_stream_next(stream, &event) == 1);
  }
  vask_stream_flush(stream);
  vask_stream_close(stream);
}

struct Run {
  const Entry& entry;
  const Samples& samples;
};

void* RunHere(void* argument) {
  const Run& run = *static_cast<const Run*>(argument);
  (run.entry.detector < 0 ? RunFrontEnd : RunStream)(run.entry, run.samples);
  return nullptr;
}

// On a stack that has been painted. Returns how much of it was used.
int64_t StackOf(Run run) {
  constexpr uint8_t kPaint = 0xa5;
  alignas(4096) static std::array<uint8_t, 1 << 20> stack;
  stack.fill(kPaint);
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, stack.data(), stack.size());
  if (pthread_create(&thread, &attributes, RunHere, &run) != 0) std::abort();
  pthread_join(thread, nullptr);
  return stack.end() - std::find_if(stack.begin(), stack.end(), [](uint8_t b) { return b != kPaint; });
}

}  // namespace

int main(int argc, char** argv) {
  static Signal made[kMadeSignals];
  MakeSignals(made);
  std::vector<std::pair<std::string, Samples>> signals;
  for (int i = 2; i < argc; ++i) signals.emplace_back(argv[i], SamplesOf(argv[i], i == 2 ? 44 : 0));
  if (signals.empty() || signals[0].second.empty()) return 2;
  for (const Signal& s : made) signals.emplace_back(s.name, Samples(s.samples, s.samples + s.count));
  const auto count = std::min<size_t>(std::size(kEntries), std::strtoul(argv[1], nullptr, 10));
  for (const Entry& entry : std::span(kEntries).first(count)) {
    for (const auto& [name, samples] : signals) {
      std::printf("%s | %s\n", entry.name, name.c_str());
      std::fflush(stdout);
      std::printf("stack %lld\n", static_cast<long long>(StackOf({entry, samples})));
      std::fflush(stdout);
    }
  }
  return 0;
}
