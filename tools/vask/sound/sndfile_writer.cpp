// Writes all kinds but WAV through libsndfile, which goes back to the header at the end.
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "files/output_file.h"
#include "sound/sndfile_lock.h"
#include "sound/sound_writer.h"
#include "terminal/errors.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

// The file that libsndfile works on. Its encoder does not always report a failed write, so it is noted here.
struct Target {
  int fd;
  int error = 0;  // errno of the first failure
};

sf_count_t SeekIn(sf_count_t offset, int whence, void* user) {
  return lseek(static_cast<Target*>(user)->fd, offset, whence);
}
sf_count_t TellIn(void* user) { return lseek(static_cast<Target*>(user)->fd, 0, SEEK_CUR); }
sf_count_t LengthOf(void* user) {
  const sf_count_t place = TellIn(user), length = SeekIn(0, SEEK_END, user);
  SeekIn(place, SEEK_SET, user);
  return length;
}
sf_count_t ReadFrom(void* to, sf_count_t n, void* user) {
  return read(static_cast<Target*>(user)->fd, to, static_cast<size_t>(n));
}
sf_count_t WriteTo(const void* from, sf_count_t n, void* user) {
  Target& target = *static_cast<Target*>(user);
  if (target.error == 0) {
    target.error = WriteAll(target.fd, {static_cast<const uint8_t*>(from), static_cast<size_t>(n)});
  }
  return target.error == 0 ? n : 0;
}

// 16 or 24 for integers, 0 for floats.
int32_t BitsOf(const SoundKind& kind, SampleForm samples) {
  if (kind.coding != 0) return 0;  // the encoder takes floats, and nothing is to be limited before it
  if (samples == SampleForm::kInt16) return 16;
  return samples == SampleForm::kInt24 || kind.container == SF_FORMAT_FLAC ? 24 : 0;
}

int FormatOf(const SoundKind& kind, int32_t bits) {
  if (kind.coding != 0) return kind.container | kind.coding;
  const int coding = bits == 16 ? SF_FORMAT_PCM_16 : bits == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_FLOAT;
  return kind.container | coding;
}

class SndfileWriter : public SoundWriter {
 public:
  SndfileWriter(const std::string& name, const SoundKind& kind, const SoundForm& form)
      : file_(name), target_{file_.fd()}, bits_(BitsOf(kind, form.samples)) {
    SF_INFO info = {};
    info.samplerate = form.rate;
    info.channels = form.channels;
    info.format = FormatOf(kind, bits_);
    if (form.channels > kind.most_channels || sf_format_check(&info) == 0) Refuse(kind, form);
    if (!file_.can_go_back()) file_.ThrowUnwritable(ESPIPE);
    const std::lock_guard lock(sndfile_lock);
    SF_VIRTUAL_IO io = {LengthOf, SeekIn, ReadFrom, WriteTo, TellIn};
    encoder_.reset(sf_open_virtual(&io, SFM_WRITE, &info, &target_));
    if (encoder_) return;
    if (target_.error != 0) Fail();
    Refuse(kind, form);
  }

  void Write(std::span<const int16_t> samples) override {
    const auto n = static_cast<sf_count_t>(samples.size());
    if (sf_write_short(encoder_.get(), samples.data(), n) != n || target_.error != 0) Fail();
  }

  void Write(std::span<const double> interleaved) override {
    const auto n = static_cast<sf_count_t>(interleaved.size());
    sf_count_t written = 0;
    if (bits_ == 0) {
      written = sf_write_double(encoder_.get(), interleaved.data(), n);
    } else {
      std::vector<int> values(interleaved.size());  // the highest bits count
      std::transform(interleaved.begin(), interleaved.end(), values.begin(),
                     [&](double value) { return ToInteger(value, bits_) * (1 << (32 - bits_)); });
      written = sf_write_int(encoder_.get(), values.data(), n);
    }
    if (written != n || target_.error != 0) Fail();
  }

  void Commit() override {
    encoder_.reset();
    if (target_.error != 0) Fail();
    file_.Commit();
  }

 private:
  struct CloseFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };

  [[noreturn]] void Fail() const { file_.ThrowUnwritable(target_.error != 0 ? target_.error : EIO); }

  [[noreturn]] void Refuse(const SoundKind& kind, const SoundForm& form) const {
    throw FileError(file_.name(),
                    std::string("cannot be ") + kind.name + " with " + std::to_string(form.channels) +
                        " channels at " + std::to_string(form.rate) + " Hz",
                    "write WAV");
  }

  OutputFile file_;
  Target target_;
  int32_t bits_;
  std::unique_ptr<SNDFILE, CloseFile> encoder_;  // closed first
};

}  // namespace

std::unique_ptr<SoundWriter> MakeSndfileWriter(const std::string& target, const SoundKind& kind,
                                               const SoundForm& form) {
  return std::make_unique<SndfileWriter>(target, kind, form);
}

}  // namespace vask::command
