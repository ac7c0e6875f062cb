// A file through libsndfile.
#include <sndfile.h>

#include <algorithm>

#include "files/readable_file.h"
#include "sound/sndfile_lock.h"
#include "sound/sound_source.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

std::string Reason(SNDFILE* file) {
  std::string text = sf_strerror(file);
  while (!text.empty() && (text.back() == '.' || text.back() == '\n')) text.pop_back();
  return text;
}

class SoundFile : public SoundSource {
 public:
  explicit SoundFile(const std::string& path) : path_(path) {
    CheckIsReadableFile(path);
    SF_INFO info = {};
    const std::lock_guard lock(sndfile_lock);
    file_.reset(sf_open(path.c_str(), SFM_READ, &info));
    if (!file_) {
      throw FileError(path, "cannot be read as audio (" + Reason(nullptr) + ")", "convert it to WAV or FLAC");
    }
    if (info.frames == 0) throw FileError(path, "holds no samples", "record or copy it again");
    rate_ = info.samplerate;
    channels_ = info.channels;
    frames_ = info.frames == SF_COUNT_MAX ? 0 : info.frames;  // a pipe does not know
  }

  size_t Read(std::span<double> interleaved) override {
    CheckSignals();
    const auto wanted = static_cast<sf_count_t>(interleaved.size()) / channels_;
    const sf_count_t n = sf_readf_double(file_.get(), interleaved.data(), wanted);
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR) {
      throw FileError(path_, "is damaged (" + Reason(file_.get()) + ")", "record or copy it again");
    }
    return static_cast<size_t>(std::max<sf_count_t>(n, 0));
  }

 private:
  struct CloseFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };

  std::string path_;
  std::unique_ptr<SNDFILE, CloseFile> file_;
};

}  // namespace

std::unique_ptr<SoundSource> OpenSoundFile(const std::string& path) {
  return std::make_unique<SoundFile>(path);
}

}  // namespace vask::command
