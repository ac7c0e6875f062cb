// A file read through libsndfile.
#include <sndfile.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "files/readable_file.h"
#include "sound/promised_length.h"
#include "sound/relay.h"
#include "sound/sndfile_lock.h"
#include "sound/sound_source.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

// Samples. A header through a pipe that promises more is from a writer that did not know, or is misread.
constexpr sf_count_t kMostBelieved = 1 << 27;
constexpr size_t kLongestHeader = 1 << 20;  // bytes kept of one

std::string Reason(SNDFILE* file) {
  std::string text = sf_strerror(file);
  while (!text.empty() && (text.back() == '.' || text.back() == '\n')) text.pop_back();
  return text;
}

SampleForm FormOf(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_DWVW_24:
      return SampleForm::kInt24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
      return SampleForm::kFloat;
    default:
      return SampleForm::kInt16;
  }
}

[[noreturn]] void ThrowNoSamples(const std::string& name) {
  throw FileError(name, "holds no samples", "record or copy it again");
}

class SoundFile : public SoundSource {
 public:
  // A regular file.
  explicit SoundFile(const std::string& path) : path_(path) {
    const SF_INFO info = Open([&](SF_INFO& found) { return sf_open(path.c_str(), SFM_READ, &found); });
    frames_ = info.frames == SF_COUNT_MAX ? 0 : info.frames;
    empty_ = info.frames == 0;
    promised_ = PromisedFrames(path, info);
  }

  // What comes through a pipe or from a device.
  SoundFile(const std::string& path, std::unique_ptr<Relay> relay) : path_(path), relay_(std::move(relay)) {
    WaitToRead(relay_->fd());  // not while the other threads wait for the lock
    const SF_INFO info =
        Open([&](SF_INFO& found) { return sf_open_fd(relay_->fd(), SFM_READ, &found, SF_FALSE); });
    if (info.frames <= kMostBelieved / info.channels) frames_ = promised_ = info.frames;
    empty_ = info.frames == 0;
  }

  bool empty() const { return empty_; }

  size_t Read(std::span<double> interleaved) override {
    if (!damage_.empty()) return 0;
    const auto wanted = static_cast<sf_count_t>(interleaved.size()) / channels_;
    const sf_count_t n = std::max<sf_count_t>(sf_readf_double(file_.get(), interleaved.data(), wanted), 0);
    CheckSignals();
    if (n < wanted && relay_) relay_->CheckEnd();
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR) damage_ = Reason(file_.get());
    if (n > 0) any_ = true;
    if (!any_ && !damage_.empty()) {
      throw FileError(path_, "is damaged (" + damage_ + ")", "record or copy it again");
    }
    if (!any_) ThrowNoSamples(path_);
    return static_cast<size_t>(n);
  }

 private:
  struct CloseFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };

  template <typename OpenFile>
  SF_INFO Open(const OpenFile& open_file) {
    SF_INFO info = {};
    const std::lock_guard lock(sndfile_lock);
    file_.reset(open_file(info));
    CheckSignals();
    if (!file_) {
      if (relay_) relay_->CheckEnd();
      throw FileError(path_, "cannot be read as audio (" + Reason(nullptr) + ")",
                      "convert it to WAV or FLAC");
    }
    rate_ = info.samplerate;
    channels_ = info.channels;
    form_ = FormOf(info.format);
    return info;
  }

  std::string path_;
  std::unique_ptr<Relay> relay_;
  std::unique_ptr<SNDFILE, CloseFile> file_;
  bool empty_ = false;  // by its header
  bool any_ = false;    // samples have been delivered
};

// The WAV header that `input` begins with, if its samples can be delivered as they arrive. `seen` gets the
// bytes that were read, for another reader to begin with.
std::optional<WavForm> FindWavHeader(InputFile& input, std::vector<uint8_t>& seen) {
  const auto take = [&](std::span<uint8_t> out) {
    if (seen.size() > kLongestHeader) return false;
    const size_t n = input.Read(out);
    seen.insert(seen.end(), out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n));
    return n == out.size();
  };
  std::array<uint8_t, 4> tag;
  if (!take(tag) || std::memcmp(tag.data(), "RIFF", tag.size()) != 0) return std::nullopt;
  try {
    return ReadWavHeader(input.name(), take);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

}  // namespace

std::unique_ptr<SoundSource> OpenSoundFile(const std::string& path) {
  CheckIsReadableFile(path);
  struct stat status = {};
  const bool regular = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  if (regular) {
    auto sound = std::make_unique<SoundFile>(path);
    if (!sound->empty()) return sound;
  }
  auto input = std::make_unique<InputFile>(path);
  std::vector<uint8_t> seen;
  const std::optional<WavForm> form = FindWavHeader(*input, seen);
  if (regular) {
    // A writer that could not go back, or was stopped, leaves the length at 0.
    const bool unknown = form && form->data_bytes == kUntilTheEnd;
    if (!unknown || static_cast<int64_t>(seen.size()) >= status.st_size) ThrowNoSamples(path);
  }
  if (form) return OpenWavStream(std::move(input), *form);
  auto relay = std::make_unique<Relay>(std::move(input), std::move(seen));
  auto sound = std::make_unique<SoundFile>(path, std::move(relay));
  if (sound->empty()) ThrowNoSamples(path);
  return sound;
}

}  // namespace vask::command
