// Writes FLAC through libsndfile, which goes back to the header at the end.
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

class FlacWriter : public SoundWriter {
 public:
  FlacWriter(const std::string& name, const SoundForm& form)
      : file_(name), target_{file_.fd()}, bits_(form.samples == SampleForm::kInt16 ? 16 : 24) {
    SF_INFO info = {};
    info.samplerate = form.rate;
    info.channels = form.channels;
    info.format = SF_FORMAT_FLAC | (bits_ == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_24);
    if (sf_format_check(&info) == 0) {
      throw FileError(name,
                      "cannot be FLAC with " + std::to_string(form.channels) + " channels at " +
                          std::to_string(form.rate) + " Hz",
                      "write WAV");
    }
    const std::lock_guard lock(sndfile_lock);
    SF_VIRTUAL_IO io = {LengthOf, SeekIn, ReadFrom, WriteTo, TellIn};
    flac_.reset(sf_open_virtual(&io, SFM_WRITE, &info, &target_));
    if (!flac_) Fail();
  }

  void Write(std::span<const int16_t> samples) override {
    const auto n = static_cast<sf_count_t>(samples.size());
    if (sf_write_short(flac_.get(), samples.data(), n) != n || target_.error != 0) Fail();
  }

  void Write(std::span<const double> interleaved) override {
    std::vector<int> values(interleaved.size());  // the highest bits count
    std::transform(interleaved.begin(), interleaved.end(), values.begin(),
                   [&](double value) { return ToInteger(value, bits_) * (1 << (32 - bits_)); });
    const auto n = static_cast<sf_count_t>(values.size());
    if (sf_write_int(flac_.get(), values.data(), n) != n || target_.error != 0) Fail();
  }

  void Commit() override {
    flac_.reset();
    if (target_.error != 0) Fail();
    file_.Commit();
  }

 private:
  struct CloseFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };

  [[noreturn]] void Fail() const { file_.ThrowUnwritable(target_.error != 0 ? target_.error : EIO); }

  OutputFile file_;
  Target target_;
  int32_t bits_;
  std::unique_ptr<SNDFILE, CloseFile> flac_;  // closed first
};

}  // namespace

std::unique_ptr<SoundWriter> MakeFlacWriter(const std::string& target, const SoundForm& form) {
  return std::make_unique<FlacWriter>(target, form);
}

}  // namespace vask::command
