#include "sound/sndfile_sound.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include "sound/library_words.h"
#include "sound/promised_length.h"
#include "sound/sndfile_lock.h"
#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

// Samples. A header through a pipe that promises more is from a writer that did not know, or is misread.
constexpr sf_count_t kMostBelieved = 1 << 27;

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

// A regular file, read for libsndfile: the library takes a read that fails for the end.
class Disk {
 public:
  explicit Disk(const std::string& name) : fd_(open(name.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status;
    if (fd_ < 0 || fstat(fd_, &status) != 0) {
      error_ = errno;
    } else {
      length_ = status.st_size;
    }
  }
  ~Disk() {
    if (fd_ >= 0) close(fd_);
  }
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  SNDFILE* Open(SF_INFO& info) {
    SF_VIRTUAL_IO calls = {};
    calls.get_filelen = [](void* self) { return static_cast<Disk*>(self)->length_; };
    calls.tell = [](void* self) { return static_cast<Disk*>(self)->at_; };
    calls.seek = [](sf_count_t offset, int whence, void* self) {
      auto& disk = *static_cast<Disk*>(self);
      if (whence == SEEK_CUR) offset += disk.at_;
      if (whence == SEEK_END) offset += disk.length_;
      return disk.at_ = std::max<sf_count_t>(offset, 0);
    };
    calls.read = [](void* to, sf_count_t count, void* self) {
      return static_cast<Disk*>(self)->Read(to, count);
    };
    return error_ == 0 ? sf_open_virtual(&calls, SFM_READ, &info, this) : nullptr;
  }

  int error() const { return error_; }  // errno of the first failure, 0: none

 private:
  sf_count_t Read(void* to, sf_count_t count) {
    sf_count_t done = 0;
    while (done < count) {
      const ssize_t n = pread(fd_, static_cast<char*>(to) + done, static_cast<size_t>(count - done), at_);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0 && error_ == 0) error_ = errno;
      if (n <= 0) break;
      done += n;
      at_ += n;
    }
    return done;
  }

  int fd_;
  int error_ = 0;
  sf_count_t length_ = 0, at_ = 0;
};

class SndfileSound : public SoundSource {
 public:
  // Without a relay a regular file.
  SndfileSound(std::string name, std::unique_ptr<Relay> relay)
      : name_(std::move(name)), relay_(std::move(relay)) {}

  // Returns why it is not known; nullopt if it is.
  std::optional<std::string> Open() {
    if (relay_) WaitToRead(relay_->fd());  // not while the other threads wait for the lock
    SF_INFO info = {};
    const std::lock_guard lock(sndfile_lock);
    {
      const LibraryWords held_back;
      if (!relay_) file_.reset(disk_.emplace(name_).Open(info));
      if (!file_ && !HasReadError()) {  // a file without a header may be known by its name
        info = {};
        file_.reset(relay_ ? sf_open_fd(relay_->fd(), SFM_READ, &info, SF_FALSE)
                           : sf_open(name_.c_str(), SFM_READ, &info));
      }
    }
    CheckSignals();
    ThrowReadError();
    if (!file_) {
      if (relay_) relay_->CheckEnd();
      std::string reason = Reason(nullptr);
      // Not a recording of an unknown kind, which others may read.
      if (reason.find("malloc") != std::string::npos) throw std::bad_alloc();
      return reason;
    }
    rate_ = info.samplerate;
    channels_ = info.channels;
    form_ = FormOf(info.format);
    has_words_ = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
    empty_ = info.frames == 0;
    if (!relay_) {
      frames_ = info.frames == SF_COUNT_MAX ? 0 : info.frames;
      promised_ = PromisedFrames(name_, info);
    } else if (info.frames <= kMostBelieved / info.channels) {
      frames_ = promised_ = info.frames;
    }
    return std::nullopt;
  }

  bool empty() const { return empty_; }

  size_t Read(std::span<double> interleaved) override {
    if (!damage_.empty()) return 0;
    const auto wanted = static_cast<sf_count_t>(interleaved.size()) / channels_;
    const sf_count_t n = std::max<sf_count_t>(ReadFrames(interleaved.data(), wanted), 0);
    const bool ends_at_signal = relay_ && relay_->ends_at_signal();
    if (!ends_at_signal) CheckSignals();
    if (n < wanted && relay_) relay_->CheckEnd();
    ThrowReadError();
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR) damage_ = Reason(file_.get());
    if (n > 0) any_ = true;
    if (n < wanted && ends_at_signal && SignalNoted()) {  // the rest may well exist
      promised_ = 0;
      damage_.clear();
      return static_cast<size_t>(n);
    }
    if (!any_ && !damage_.empty()) {
      throw FileError(name_, "is damaged (" + damage_ + ")", "record or copy it again");
    }
    if (!any_) throw FileError(name_, "holds no samples", "record or copy it again");
    return static_cast<size_t>(n);
  }

 private:
  struct CloseFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };

  bool HasReadError() const { return disk_ && disk_->error() != 0; }
  void ThrowReadError() const {
    if (!HasReadError()) return;
    throw FileError(name_, std::string("cannot be read (") + std::strerror(disk_->error()) + ")",
                    "check the disk, then try again");
  }

  sf_count_t ReadFrames(double* out, sf_count_t frames) const {
    std::optional<LibraryWords> held_back;
    if (has_words_) held_back.emplace();
    return sf_readf_double(file_.get(), out, frames);
  }

  std::string name_;
  std::unique_ptr<Relay> relay_;
  std::optional<Disk> disk_;  // without a relay
  std::unique_ptr<SNDFILE, CloseFile> file_;
  bool empty_ = false;      // by its header
  bool any_ = false;        // samples have been delivered
  bool has_words_ = false;  // its library writes to standard error
};

}  // namespace

SndfileResult OpenSndfile(const std::string& name, std::unique_ptr<Relay> relay) {
  auto sound = std::make_unique<SndfileSound>(name, std::move(relay));
  std::optional<std::string> unknown = sound->Open();
  if (unknown) return {nullptr, false, *unknown};
  const bool empty = sound->empty();
  return {std::move(sound), empty, ""};
}

}  // namespace vask::command
