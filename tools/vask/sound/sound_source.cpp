// Who reads which recording.
#include "sound/sound_source.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "files/input_file.h"
#include "files/readable_file.h"
#include "sound/ffmpeg_sound.h"
#include "sound/signature.h"
#include "sound/sndfile_sound.h"
#include "sound/streamed_sound.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr size_t kLongestHeader = 1 << 20;  // bytes kept of one

// By convention samples without a header have such names.
constexpr const char* kRawEndings[] = {".raw", ".pcm", ".sw", ".sb", ".ul", ".ulaw", ".al", ".alaw"};

[[noreturn]] void ThrowNoSamples(const std::string& name) {
  throw FileError(name, "holds no samples", "record or copy it again");
}

// The WAV header that `input` begins with, if its samples can be delivered as they arrive. `seen` are the
// bytes that have been read so far, for another reader to begin with.
std::optional<WavForm> FindWavHeader(InputFile& input, std::vector<uint8_t>& seen) {
  size_t at = 4;  // after "RIFF"
  const auto take = [&](std::span<uint8_t> out) {
    if (seen.size() > kLongestHeader) return false;
    if (seen.size() < at + out.size()) {
      const size_t had = seen.size();
      seen.resize(at + out.size());
      seen.resize(had + input.Read(std::span(seen).subspan(had)));
    }
    if (seen.size() < at + out.size()) return false;
    std::copy_n(seen.begin() + static_cast<std::ptrdiff_t>(at), out.size(), out.begin());
    at += out.size();
    return true;
  };
  try {
    return ReadWavHeader(input.name(), take);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

// `seen` are the bytes of `input` that have been read.
std::unique_ptr<SoundSource> OpenRaw(std::unique_ptr<InputFile> input, std::vector<uint8_t> seen,
                                     const ReadOptions& options) {
  WavForm form = options.RawForm();
  struct stat status = {};
  const bool is_file = input->fd() != STDIN_FILENO && fstat(input->fd(), &status) == 0;
  if (is_file && S_ISREG(status.st_mode)) {
    const auto frame = static_cast<int64_t>(form.bytes) * form.channels;
    const off_t rest = std::max<off_t>(status.st_size / frame * frame - static_cast<off_t>(seen.size()), 0);
    form.data_bytes = static_cast<uint64_t>(rest);
  }
  return OpenStream(std::move(input), form, std::move(seen));
}

// What is read once: `options` say what its samples are if it has no header.
std::unique_ptr<SoundSource> OpenForward(std::unique_ptr<InputFile> input, const ReadOptions& options) {
  const std::string name = input->name();
  const bool is_standard_input = input->fd() == STDIN_FILENO;
  std::vector<uint8_t> seen;
  if (options.raw) return OpenRaw(std::move(input), std::move(seen), options);
  const Signature signature = FindSignature(*input, seen);
  if (signature == Signature::kNone && (is_standard_input || options.describe_raw())) {
    if (!options.describe_raw() && !seen.empty()) {
      Note(name +
           ": no header: raw 16 kHz mono of 16 bits: --rate, --raw-channels and --encoding say otherwise");
    }
    return OpenRaw(std::move(input), std::move(seen), options);
  }
  if (options.describe_raw()) {
    throw FileError(name, "has a header, which says what --rate, --raw-channels and --encoding say",
                    "leave them out, or take the header for samples with --raw");
  }
  if (signature == Signature::kRiff) {
    if (const std::optional<WavForm> form = FindWavHeader(*input, seen))
      return OpenStream(std::move(input), *form);
  }
  const bool is_wave = seen.size() >= 12 && std::memcmp(&seen[8], "WAVE", 4) == 0;
  const bool goes_back = signature == Signature::kElsewhere || (signature == Signature::kRiff && !is_wave);
  auto relay = std::make_unique<Relay>(std::move(input), std::move(seen));
  if (goes_back) return OpenByFfmpeg(name, "libsndfile would have to go back in it", std::move(relay));
  SndfileResult result = OpenSndfile(name, std::move(relay));
  if (!result.sound) {
    throw FileError(name, "cannot be read as audio (" + result.unknown + ")", "convert it to WAV or FLAC");
  }
  if (result.empty) ThrowNoSamples(name);
  return std::move(result.sound);
}

}  // namespace

std::unique_ptr<SoundSource> OpenSoundFile(const std::string& path, const ReadOptions& options) {
  CheckIsReadableFile(path);
  struct stat status = {};
  const bool regular = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  if (!regular || options.describe_raw()) return OpenForward(std::make_unique<InputFile>(path), options);
  SndfileResult result = OpenSndfile(path);
  if (!result.sound) {
    for (const char* ending : kRawEndings) {
      if (!HasEnding(path, ending)) continue;
      throw FileError(path, "holds samples without a header, by its name",
                      "say what they are with --rate and --encoding");
    }
    return OpenByFfmpeg(path, result.unknown);
  }
  if (!result.empty) return std::move(result.sound);
  // A writer that could not go back, or was stopped, leaves the length at 0.
  auto input = std::make_unique<InputFile>(path);
  std::vector<uint8_t> seen;
  std::optional<WavForm> form;
  if (FindSignature(*input, seen) == Signature::kRiff) form = FindWavHeader(*input, seen);
  const bool unknown = form && form->data_bytes == kUntilTheEnd;
  if (!unknown || static_cast<int64_t>(seen.size()) >= status.st_size) ThrowNoSamples(path);
  return OpenStream(std::move(input), *form);
}

std::unique_ptr<SoundSource> OpenStandardInput(const ReadOptions& options) {
  return OpenForward(std::make_unique<InputFile>("-", AtSignal::kEnd), options);
}

std::unique_ptr<SoundSource> OpenPipe(std::unique_ptr<InputFile> input, const ReadOptions& options) {
  return OpenForward(std::move(input), options);
}

}  // namespace vask::command
