// One entry of the C interface, run twice: with what shim.cpp makes fail, then without. The last line tells
// how:
//
//   library ENTRY RECORDING.wav      FIRST SECOND LEFT: a digest of what each run gave, or "failed" if the
//   entry
//                                    said so, and the blocks that are still allocated
//   library                          the names of the entries
#include <fcntl.h>
#include <unistd.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>

extern "C" {
int64_t FaultsLive();
void FaultsEnd();
}

namespace {

constexpr std::array kModel = std::to_array<int8_t>({
#include "gate/tables/model.inc"
});
constexpr size_t kShort = 16000;  // samples: one second

std::array<int16_t, 200000> sound;
size_t length = 0;

// FNV-1a; nothing if the entry failed.
using Digest = std::optional<uint64_t>;
void Add(Digest& digest, const void* data, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i)
    digest = (*digest ^ static_cast<const uint8_t*>(data)[i]) * UINT64_C(0x100000001b3);
}
Digest Answer(bool is_good) { return is_good ? Digest(1) : std::nullopt; }

// --- the front end

Digest FrontEnd() {
  Digest digest = 0;
  if (android_init_frontend(".", 2) != 1) return std::nullopt;
  if (__Vask_epd_detect_env_change == 0) digest.reset();  // all but the histories works
  android_reset_frontend();
  std::array<int16_t, kShort> block;
  std::copy_n(sound.begin(), kShort, block.begin());
  android_process_frame(kShort, block.data());
  const int32_t count = android_get_frames(kShort, block.data());
  if (digest) Add(digest, block.data(), 2 * static_cast<size_t>(count));
  if (digest) Add(digest, ecdorgLFBE, 4 * static_cast<size_t>(ecdorgFrames));
  android_stop_frontend();
  return digest;
}

// --- streams

vask_stream_setup Setup(int32_t detector, int32_t audio, int32_t input_rate = 0, int32_t audio_rate = 0) {
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof setup);
  setup.detector = detector;
  setup.options.audio = audio;
  setup.input_rate = input_rate;
  setup.audio_rate = audio_rate;
  if (input_rate != 0) setup.options.mode = VASK_STREAM_CONTINUOUS;
  return setup;
}

// A call that finds no memory is repeated with it.
template <typename Call>
int32_t UntilDone(const Call& call) {
  int32_t result = call();
  if (result != VASK_STREAM_NO_MEMORY) return result;
  FaultsEnd();
  return call();
}

Digest Listen(const vask_stream_setup& setup) {
  vask_stream* const stream = vask_stream_open_setup(&setup);
  if (stream == nullptr) return std::nullopt;
  for (size_t at = 0; at < length;) {
    const int32_t wanted = static_cast<int32_t>(length - at);
    at += static_cast<size_t>(
        std::max(UntilDone([&] { return vask_stream_write(stream, &sound[at], wanted); }), 0));
  }
  UntilDone([&] { return vask_stream_flush(stream); });
  Digest digest = 0;
  vask_stream_event event;
  std::array<int16_t, 4000> taken;
  do {
    for (int32_t n; (n = vask_stream_read(stream, taken.data(), taken.size())) > 0;)
      Add(digest, taken.data(), 2 * static_cast<size_t>(n));
    if (vask_stream_next(stream, &event) != 1) break;
    Add(digest, &event.kind, 4), Add(digest, &event.start, 8), Add(digest, &event.end, 8);
  } while (true);
  vask_stream_close(stream);
  return digest;
}

Digest ListenWith(vask_model* model) {
  if (model == nullptr) return std::nullopt;
  vask_stream_setup setup = Setup(VASK_STREAM_LEARNED, VASK_STREAM_NO_AUDIO);
  setup.model = model;
  const Digest digest = Listen(setup);
  vask_model_close(model);
  return digest;
}

Digest OpenModel() {
  if (const int fd = open("model", O_WRONLY | O_CREAT | O_EXCL, 0666); fd >= 0) {
    if (write(fd, kModel.data(), kModel.size()) < 0) return std::nullopt;
    close(fd);
  }
  return ListenWith(vask_model_open("model", nullptr));
}

// --- parts and files

wiener_filt wiener;
energy_epd_prm detector;
mel_band bank;
mfcc_prm mfcc;
fix32_hp_filt high_pass;
fir_filt regression;

template <typename Close>
Digest Part(int32_t result, const Close& close) {
  for (int32_t call = 0; result == 1 && call < 2; ++call) close();  // the second does nothing
  return Answer(result == 1);
}

Digest Cepstra() {
  if (vask_init_mfcc_prm(&mfcc) != 1) return std::nullopt;
  const Digest digest = Answer(mfcc.cep != nullptr);
  close_mfcc_prm(&mfcc);
  return digest;
}

Digest KnowledgeBase() {
  const int32_t result = vask_make_coeff_files(".");
  if (result == 0) return std::nullopt;
  Vask_epd_set_base_dir(".");
  __check_Vask_Config__(".");
  return Part(InitMelFBFromFile(&bank, 35), [] { CloseMelFB(&bank, 35); });
}

const struct {
  const char* name;
  Digest (*run)();
} kEntries[] = {
    {"wiener", [] { return Part(init_wiener_filt(&wiener), [] { close_wiener_filt(&wiener); }); }},
    {"detector",
     [] { return Part(init_energy_epd_prm(&detector, 160), [] { close_energy_epd_prm(&detector); }); }},
    {"bank", [] { return Part(InitMelFB(&bank, 35), [] { CloseMelFB(&bank, 35); }); }},
    {"high-pass", [] { return Part(fix32_init_hp_filt(&high_pass), [] { fix32_close_filt(&high_pass); }); }},
    {"regression", [] { return Part(iinit_filter(&regression, 5), [] { close_filt(&regression); }); }},
    {"extractor", Cepstra},
    {"files", KnowledgeBase},
    {"front end", FrontEnd},
    {"energy", [] { return Listen(Setup(VASK_STREAM_ENERGY, VASK_STREAM_CLEAN)); }},
    {"learned", [] { return Listen(Setup(VASK_STREAM_LEARNED, VASK_STREAM_RAW)); }},
    {"clean", [] { return Listen(Setup(VASK_STREAM_LEARNED, VASK_STREAM_CLEAN)); }},
    {"listening", [] { return Listen(Setup(VASK_STREAM_LEARNED, VASK_STREAM_LISTENING)); }},
    {"rates", [] { return Listen(Setup(VASK_STREAM_LEARNED, VASK_STREAM_RAW, 44100, 8000)); }},
    {"model", OpenModel},
    {"model in memory", [] { return ListenWith(vask_model_read(kModel.data(), kModel.size(), nullptr)); }},
};

void Tell(const Digest& digest) { digest ? std::printf("%016" PRIx64 " ", *digest) : std::printf("failed "); }

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    for (const auto& entry : kEntries) std::puts(entry.name);
    return 0;
  }
  const int fd = open(argv[2], O_RDONLY);
  if (fd < 0 || lseek(fd, 44, SEEK_SET) < 0) return 2;
  length = static_cast<size_t>(read(fd, sound.data(), sizeof sound)) / 2;
  close(fd);
  for (const auto& entry : kEntries) {
    if (std::strcmp(entry.name, argv[1]) != 0) continue;
    static char out[1 << 16];
    setvbuf(stdout, out, _IOFBF, sizeof out);
    const int64_t live = FaultsLive();
    const Digest first = entry.run();
    const int64_t left = FaultsLive() - live;
    FaultsEnd();
    const Digest second = entry.run();
    Tell(first);
    Tell(second);
    std::printf("%" PRId64 "\n", left);
    return 0;
  }
  return 2;
}
