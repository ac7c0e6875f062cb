// Hours of audio through everything that may run for long, in one process: the front end with its packets,
// and streams with either detector at several rates, in both modes, never reset. The same block comes again
// and again. From some block on, each must give the same to the bit, with positions that count on; memory
// stays as it was; and after a restart the first block comes out as it did at first.
//
//   vask-soak HOURS ROOM.wav
//
// HOURS: that each part hears, at its own rate.
#include <malloc.h>
#include <unistd.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

extern "C" {
#include "digest/digest.h"
}

namespace {

using Samples = std::vector<int16_t>;

constexpr int32_t kSecond = 16000, kPause = 5;  // s at the end of a block, in which every utterance ends
constexpr int32_t kPackets = 160;               // bytes
constexpr int64_t kSettled = 4;                 // blocks until a part must repeat itself
constexpr int64_t kWarmUp = 6;                  // and until it holds all the memory that it needs
constexpr std::array kPieces = {160, 1601, 4096, 333};

// What a block gives, and how many utterances there were.
struct Heard {
  Digest digest = {};
  int64_t utterances = 0;
  Heard() { Start(&digest); }
  void Note(int64_t value) { Add(&digest, static_cast<uint64_t>(value), 8); }
  void Note(const int16_t* samples, int32_t n) {
    for (int32_t i = 0; i < n; ++i) Add(&digest, static_cast<uint16_t>(samples[i]), 2);
  }
  bool operator==(const Heard& other) const { return digest.hash == other.digest.hash; }
};

class Part {
 public:
  Part(const char* name, int32_t rate) : name_(name), rate_(rate) {}
  virtual ~Part() = default;
  virtual void Restart() = 0;
  virtual void Hear(const int16_t* samples, int32_t n, Heard& heard) = 0;
  virtual void EndSecond() {}
  virtual void EndBlock(Heard& heard) = 0;
  const char* name() const { return name_; }
  int32_t rate() const { return rate_; }

 private:
  const char* name_;
  int32_t rate_;
};

class FrontEnd : public Part {
 public:
  FrontEnd() : Part("front end and packets", kSecond) {}
  ~FrontEnd() override { android_stop_frontend(); }
  void Restart() override {
    if (android_init_frontend(".", 2) != 1) std::abort();
    android_wrapup_frontend();
    StartUtterance();
  }
  void Hear(const int16_t* samples, int32_t n, Heard& heard) override {
    std::copy_n(samples, n, piece_.begin());  // it clips in place
    for (int32_t ended = android_process_frame(n, piece_.data()); ended == 1;
         ended = android_process_frame(0, piece_.data())) {
      ++heard.utterances;
      TakePackets(heard);
    }
  }
  void EndSecond() override {
    if (android_get_available_frames() == 0) StartUtterance();
  }
  void EndBlock(Heard& heard) override { heard.Note(ecdorgFrames); }

 private:
  void StartUtterance() {
    android_reset_frontend();
    refersh_adpcm_state();
  }
  void TakePackets(Heard& heard) {
    const int32_t size = vask_packet_stream_size(kPackets, 1);
    if (size > static_cast<int32_t>(packets_.size())) std::abort();
    vask_take_packet_stream(kPackets, packets_.data(), size, 1);
    for (int32_t i = 0; i < size; ++i) Add(&heard.digest, packets_[static_cast<size_t>(i)], 1);
  }

  std::array<int16_t, 4096> piece_;
  std::array<uint8_t, 100000> packets_;
};

class Stream : public Part {
 public:
  Stream(const char* name, int32_t detector, int32_t mode, int32_t audio, int32_t in_rate, int32_t out_rate)
      : Part(name, in_rate), is_continuous_(mode == VASK_STREAM_CONTINUOUS) {
    vask_stream_setup setup;
    vask_stream_setup_defaults(&setup, sizeof setup);
    setup.detector = detector;
    setup.options.mode = mode;
    setup.options.audio = audio;
    setup.input_rate = in_rate;
    setup.audio_rate = out_rate;
    setup.may_end_after = 0.3f;
    setup.start_within = 2;
    stream_ = vask_stream_open_setup(&setup);
    if (stream_ == nullptr) std::abort();
  }
  ~Stream() override { vask_stream_close(stream_); }
  void Restart() override {
    vask_stream_reset(stream_);
    at_ = block_at_ = segments_ = block_segments_ = 0;
  }
  void Hear(const int16_t* samples, int32_t n, Heard& heard) override {
    if (vask_stream_write(stream_, samples, n) != n) std::abort();
    at_ += n;
    if (is_continuous_) TakeAudio(heard);
    for (vask_stream_event event; vask_stream_next(stream_, &event) == 1;) {
      NoteEvent(event, heard);
      if (event.kind == VASK_STREAM_ENDED) TakeAudio(heard);
    }
  }
  void EndBlock(Heard& heard) override {
    vask_stream_measures measures;
    vask_stream_measure(stream_, &measures);
    if (measures.detector_at >= 0) heard.Note(measures.detector_at - block_at_);
    heard.Note(measures.heard - block_at_);
    block_at_ = at_;
    block_segments_ = segments_;
  }

 private:
  void NoteEvent(const vask_stream_event& event, Heard& heard) {
    heard.utterances += event.kind == VASK_STREAM_ENDED;
    if (event.segment > 0) segments_ = event.segment;
    heard.Note(event.kind * 100 + event.reason);
    heard.Note(event.segment > 0 ? event.segment - block_segments_ : 0);
    for (const int64_t position : {event.start, event.end, event.span_start, event.span_end, event.heard}) {
      heard.Note(position < 0 ? position : position - block_at_);
    }
  }
  void TakeAudio(Heard& heard) {
    int16_t out[1000];
    while (const int32_t n = vask_stream_read(stream_, out, 1000)) heard.Note(out, n);
  }

  vask_stream* stream_;
  bool is_continuous_;
  int64_t at_ = 0, block_at_ = 0;
  int32_t segments_ = 0, block_segments_ = 0;
};

// A part on its way: what its blocks gave.
struct Walk {
  std::unique_ptr<Part> part;
  Samples block;
  int64_t blocks = 0, utterances = 0;
  bool is_good = true;
  Heard first, settled;

  Walk(std::unique_ptr<Part> p, const Samples& samples) : part(std::move(p)), block(samples) {
    const auto step = static_cast<size_t>(part->rate() / 25);  // of this many samples the phases repeat
    block.resize((samples.size() + static_cast<size_t>(kPause * part->rate()) + step - 1) / step * step);
    part->Restart();
  }
  int64_t BlocksOf(double hours) const {
    return static_cast<int64_t>(hours * 3600 * part->rate() / static_cast<double>(block.size())) + 1;
  }
  Heard HearBlock(int32_t piece) {
    Heard heard;
    const auto count = static_cast<int32_t>(block.size());
    for (int32_t at = 0; at < count;) {
      const int32_t n = std::min(piece, std::min(count, (at / kSecond + 1) * kSecond) - at);
      part->Hear(&block[static_cast<size_t>(at)], n, heard);
      at += n;
      if (at % kSecond == 0) part->EndSecond();
    }
    part->EndBlock(heard);
    return heard;
  }
  // The next block. False if it is not what the settled one was, with a line.
  bool Next() {
    const Heard heard = HearBlock(kPieces[static_cast<size_t>(blocks) % kPieces.size()]);
    if (blocks == 0) first = heard;
    if (blocks <= kSettled) settled = heard;
    ++blocks;
    utterances += heard.utterances;
    if (heard == settled) return is_good;
    std::printf("vask-soak: %s: block %" PRId64 " differs from block %" PRId64 "\n", part->name(), blocks,
                kSettled + 1);
    return is_good = false;
  }
  bool RepeatsFirst() {
    part->Restart();
    if (HearBlock(kPieces[0]) == first) return true;
    std::printf("vask-soak: %s: after a restart the first block differs\n", part->name());
    return false;
  }
};

// Parts hear until they have had so many blocks, or so many hours; threads share them by `next`.
void HearParts(std::vector<Walk>& walks, std::atomic<size_t>& next, int64_t blocks, double hours) {
  for (size_t k = next++; k < walks.size(); k = next++) {
    const int64_t end = std::max(blocks, walks[k].BlocksOf(hours));
    while (walks[k].blocks < end && walks[k].Next()) {
    }
  }
}

// One after the other in another thread or in this one, or at the same time in both.
enum class Where { kThere, kHere, kBoth };
void HearAll(std::vector<Walk>& walks, Where where, int64_t blocks, double hours) {
  std::atomic<size_t> next = 0;
  std::thread other([&] {
    if (where != Where::kHere) HearParts(walks, next, blocks, hours);
  });
  if (where == Where::kThere) other.join();
  HearParts(walks, next, blocks, hours);
  if (where != Where::kThere) other.join();
}

struct Memory {
  int64_t live, resident;  // bytes
  bool operator==(const Memory&) const = default;
};

Memory MemoryNow() {
  const auto info = mallinfo2();
  std::ifstream file("/proc/self/statm");
  int64_t all = 0, resident = 0;
  file >> all >> resident;
  return {static_cast<int64_t>(info.uordblks + info.hblkhd), resident * sysconf(_SC_PAGESIZE)};
}

Samples Block(const char* path) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(44);
  Samples samples(size_t{60} * kSecond);
  file.read(reinterpret_cast<char*>(samples.data()), static_cast<std::streamsize>(2 * samples.size()));
  samples.resize(static_cast<size_t>(file.gcount()) / 2);
  Signal made[kMadeSignals];
  MakeSignals(made);
  if (samples.empty()) return samples;
  for (const Signal& signal : made)
    samples.insert(samples.end(), signal.samples, signal.samples + signal.count);
  return samples;
}

}  // namespace

int main(int argc, char** argv) {
  const double hours = argc == 3 ? std::strtod(argv[1], nullptr) : 0;
  const Samples block = hours > 0 ? Block(argv[2]) : Samples();
  if (block.empty()) {
    std::fprintf(stderr, "usage: vask-soak HOURS ROOM.wav\n");
    return 2;
  }
  std::vector<Walk> walks;
  const auto stream = [&](auto... arguments) {
    walks.emplace_back(std::make_unique<Stream>(arguments...), block);
  };
  stream("learned", VASK_STREAM_LEARNED, VASK_STREAM_UTTERANCES, VASK_STREAM_LISTENING, 16000, 16000);
  walks.emplace_back(std::make_unique<FrontEnd>(), block);
  stream("energy", VASK_STREAM_ENERGY, VASK_STREAM_UTTERANCES, VASK_STREAM_CLEAN, 16000, 16000);
  stream("energy, continuous", VASK_STREAM_ENERGY, VASK_STREAM_CONTINUOUS, VASK_STREAM_CLEAN, 44100, 8000);
  stream("learned, 48 kHz", VASK_STREAM_LEARNED, VASK_STREAM_UTTERANCES, VASK_STREAM_RAW, 48000, 48000);

  HearAll(walks, Where::kThere, kWarmUp / 2, 0);
  HearAll(walks, Where::kHere, kWarmUp, 0);
  MemoryNow();  // it takes some memory itself the first time
  const Memory before = MemoryNow();
  HearAll(walks, Where::kBoth, 0, hours);
  const Memory after = MemoryNow();
  bool good = true;
  int64_t blocks = 0;
  for (Walk& walk : walks) {
    good = walk.is_good && walk.RepeatsFirst() && good;
    blocks += walk.blocks;
    std::printf("%-22s %6" PRId64 " blocks, %7" PRId64 " utterances\n", walk.part->name(), walk.blocks,
                walk.utterances);
  }
  if (before != after) {
    std::printf("vask-soak: memory grows: %" PRId64 " to %" PRId64 " live bytes, %" PRId64 " to %" PRId64
                " resident\n",
                before.live, after.live, before.resident, after.resident);
    good = false;
  }
  if (!good) return 1;
  std::printf("%g h in each of %zu parts: %" PRId64 " blocks alike, %" PRId64 " live bytes and %" PRId64
              " resident at both ends\n",
              hours, walks.size(), blocks, after.live, after.resident);
  return 0;
}
