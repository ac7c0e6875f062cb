// Sound from any bytes through the command's own readers, as a file, as a pipe and as standard input, and
// what its writers write, read again. libsndfile opens only files that it wrote itself: for others a stand-in
// says that it does not know them or claims any length, and there is no ffmpeg.
#include <fcntl.h>
#include <sndfile.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstring>
#include <iterator>

#include "fuzz/fuzz.h"
#include "sound/audio_reader.h"
#include "sound/promised_length.h"
#include "sound/signature.h"
#include "sound/sound_writer.h"
#include "sound/wav_header.h"
#include "support/folder.h"
#include "terminal/errors.h"

namespace {

struct StandIn {
  bool is_own = false, knows = false;
  SF_INFO info = {};
} stand_in;

// Nothing at all, in the form that `stand_in` claims.
SNDFILE* OpenNothing(SF_INFO* info) {
  static SF_VIRTUAL_IO nothing = {
      [](void*) { return sf_count_t{0}; }, [](sf_count_t, int, void*) { return sf_count_t{0}; },
      [](void*, sf_count_t, void*) { return sf_count_t{0}; }, nullptr, [](void*) { return sf_count_t{0}; }};
  if (!stand_in.knows) return nullptr;
  *info = stand_in.info;
  info->format = SF_FORMAT_RAW | SF_FORMAT_PCM_16;
  SNDFILE* const file = sf_open_virtual(&nothing, SFM_READ, info, nullptr);
  *info = stand_in.info;
  return file;
}

}  // namespace

extern "C" {

SNDFILE* __real_sf_open(const char* path, int mode, SF_INFO* info);
SNDFILE* __wrap_sf_open(const char* path, int mode, SF_INFO* info) {
  return stand_in.is_own ? __real_sf_open(path, mode, info) : OpenNothing(info);
}
SNDFILE* __wrap_sf_open_fd(int, int, SF_INFO* info, int) { return OpenNothing(info); }

}  // extern "C"

namespace vask::fuzz {
namespace {

using namespace command;

constexpr int32_t kRates[] = {1000, 8000, 11025, 16000, 44100, 96000, 1000000};

const test::Folder& Files() {
  static const test::Folder folder;
  return folder;
}

std::string Written(const Bytes& bytes, const char* name) {
  std::ofstream(Files() / name, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return Files() / name;
}

bool IsGood(const WavForm& form) {
  return form.rate >= 1 && form.channels >= 1 && form.channels <= 1024 && form.bytes >= 1 &&
         form.bytes <= 4 && form.data_bytes >= 1;
}

SF_INFO AnyInfo(Input& input) {
  const int types[] = {SF_FORMAT_WAV,  SF_FORMAT_AIFF, SF_FORMAT_AU,   SF_FORMAT_W64,
                       SF_FORMAT_NIST, SF_FORMAT_FLAC, SF_FORMAT_MPEG, SF_FORMAT_RF64};
  SF_INFO info = {};
  info.frames = Edgy<sf_count_t>(input, 0, INT64_C(1) << 40);
  info.samplerate = kRates[input.ConsumeIntegralInRange<size_t>(0, std::size(kRates) - 1)];
  info.channels = input.ConsumeIntegralInRange<int>(1, 9);
  info.format = types[input.ConsumeIntegralInRange<size_t>(0, std::size(types) - 1)] | SF_FORMAT_PCM_16;
  return info;
}

ReadOptions AnyOptions(Input& input) {
  const char* const encodings[] = {"", "s16", "s24", "f32", "mulaw", "alaw"};
  ReadOptions options;
  options.raw = input.ConsumeBool();
  if (input.ConsumeBool())
    options.rate = kRates[input.ConsumeIntegralInRange<size_t>(0, std::size(kRates) - 1)];
  if (input.ConsumeBool()) options.raw_channels = Edgy<int32_t>(input, 1, 1024);
  options.encoding = encodings[input.ConsumeIntegralInRange<size_t>(0, std::size(encodings) - 1)];
  const char* const channels[] = {"", "mix", "1", "2", "1024"};
  options.channels = channels[input.ConsumeIntegralInRange<size_t>(0, std::size(channels) - 1)];
  return options;
}

// The pieces that are heard, together, and what can be said of them afterwards.
Samples Heard(const SoundInput& sound, size_t piece) {
  AudioReader reader(sound);
  Samples heard, block(piece);
  size_t most = 4'000'000;
  for (size_t n; most > 0 && (n = reader.ReadSome(block)) > 0; most -= std::min(most, n)) {
    VASK_REQUIRE(n <= piece);
    heard.insert(heard.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(n));
  }
  VASK_REQUIRE(reader.ExpectedSamples() >= 0);
  const double length = static_cast<double>(reader.frames_read()) * 16000 / reader.rate();
  if (most > 0) VASK_REQUIRE(std::abs(static_cast<double>(heard.size()) - length) <= 2);
  reader.Shortfall(), reader.Cancellation();
  return heard;
}

void Header(Input&, const Bytes& bytes) {
  size_t at = 0;
  const auto take = [&](std::span<uint8_t> out) {
    if (out.size() > bytes.size() - at) return false;
    std::copy_n(bytes.data() + at, out.size(), out.data());
    at += out.size();
    return true;
  };
  const WavForm form = ReadWavHeader("name", take);
  VASK_REQUIRE(IsGood(form));
  const std::array<uint8_t, 4> sample = {1, 2, 3, 4};
  WavSample(form, sample.data());
}

void Begin(Input&, const Bytes& bytes) {
  int ends[2];
  VASK_REQUIRE(pipe(ends) == 0 && bytes.size() <= 1 << 16);
  VASK_REQUIRE(write(ends[1], bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  close(ends[1]);
  InputFile pipe("pipe", ends[0], AtSignal::kThrow);
  std::vector<uint8_t> seen;
  FindSignature(pipe, seen);
  VASK_REQUIRE(seen.size() <= bytes.size() && std::equal(seen.begin(), seen.end(), bytes.begin()));
}

void Length(Input& input, const Bytes& bytes) {
  const SF_INFO info = AnyInfo(input);
  const int64_t frames = PromisedFrames(Written(bytes, "sound"), info);
  VASK_REQUIRE(frames == 0 || frames >= info.frames || (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_NIST);
}

void File(Input& input, const Bytes& bytes) {
  stand_in.info = AnyInfo(input);
  stand_in.knows = input.ConsumeBool();
  const SoundInput sound(Written(bytes, "sound.wav"), AnyOptions(input));
  const size_t piece = input.ConsumeIntegralInRange<size_t>(1, 5000);
  VASK_REQUIRE(Heard(sound, 4096) == Heard(sound, piece));
}

void StandardInput(Input& input, const Bytes& bytes) {
  stand_in.knows = false;
  ReadOptions options = AnyOptions(input);
  if (!options.describe_raw()) options.rate = 16000;  // otherwise it says what it takes them for
  const char* const tags[] = {"RIFF", "OggS", "fLaC"};
  if (std::any_of(std::begin(tags), std::end(tags), [&](const char* tag) {
        return bytes.size() > 4 && std::memcmp(bytes.data(), tag, 4) == 0;
      }))
    options = {};
  const int file = open(Written(bytes, "input").c_str(), O_RDONLY);
  dup2(file, STDIN_FILENO);
  close(file);
  Heard({"-", options}, input.ConsumeIntegralInRange<size_t>(1, 5000));
}

// Any kind that loses nothing, with samples up to half beyond full scale.
void Writing(Input& input, const Bytes& bytes) {
  const char* const names[] = {"out.wav", "out.flac", "out.aiff", "out.au", "out.caf", "out.w64"};
  const size_t kind = input.ConsumeIntegralInRange<size_t>(0, std::size(names) - 1);
  const SampleForm forms[] = {SampleForm::kInt16, SampleForm::kInt24, SampleForm::kFloat};
  const SoundForm form = {kRates[input.ConsumeIntegralInRange<size_t>(0, std::size(kRates) - 1)],
                          input.ConsumeIntegralInRange<int32_t>(1, 9),
                          forms[input.ConsumeIntegralInRange<size_t>(0, 2)]};
  const auto channels = static_cast<size_t>(form.channels);
  std::vector<double> values(bytes.size() / 3 / channels * channels);
  for (size_t i = 0; i < values.size(); ++i)
    values[i] = ((bytes[3 * i] << 16 | bytes[3 * i + 1] << 8 | bytes[3 * i + 2]) - 8388608) / 5592405.0;
  const std::string name = Files() / names[kind];
  const auto writer = MakeSoundWriter(name, form);
  for (size_t done = 0; done < values.size();) {
    const size_t n =
        std::min(values.size() - done, channels * (300 - input.ConsumeIntegralInRange<size_t>(0, 299)));
    writer->Write(std::span<const double>(values).subspan(done, n));
    done += n;
  }
  writer->Commit();
  stand_in.is_own = true;
  ChannelReader reader({name, {}, kAllChannels});
  std::vector<double> again(values.size() + channels);
  VASK_REQUIRE(reader.rate() == form.rate && reader.channels() == form.channels);
  VASK_REQUIRE(reader.Read(again) * channels == values.size() && !reader.Shortfall());
  const bool is_float = form.samples == SampleForm::kFloat && kind != 1;
  const int32_t bits = form.samples == SampleForm::kInt16 ? 16 : 24;
  for (size_t i = 0; i < values.size(); ++i) {
    VASK_REQUIRE(again[i] == (is_float ? static_cast<double>(static_cast<float>(values[i]))
                                       : std::ldexp(ToInteger(values[i], bits), 1 - bits)));
  }
}

using Way = void(Input& input, const Bytes& bytes);
constexpr Way* kWays[] = {Header, Begin, Length, File, StandardInput, Writing};

}  // namespace
}  // namespace vask::fuzz

// The first bytes say which way and how, the rest is the sound.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace vask::fuzz;
  constexpr size_t kChoices = 24;
  static const bool is_set_up =
      setenv("PATH", "/nowhere", 1) == 0 && std::signal(SIGPIPE, SIG_IGN) != SIG_ERR;
  if (!is_set_up || size < kChoices || size > 1 << 16) return 0;
  Input input(data, kChoices);
  const Bytes bytes(data + kChoices, data + size);
  stand_in = {};
  try {
    kWays[data[0] % std::size(kWays)](input, bytes);
  } catch (const FileError& error) {
    VASK_REQUIRE(vask::command::Printable(error.what()) == error.what());
  }
  return 0;
}
