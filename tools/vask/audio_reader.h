// Any file that libsndfile reads, as 16 kHz mono 16-bit samples, a block at a time.
#ifndef TOOLS_VASK_AUDIO_READER_H_
#define TOOLS_VASK_AUDIO_READER_H_

#include <sndfile.h>
#include <soxr.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vask::command {

// Throws FileError if the file is missing, empty, a directory or unreadable.
void CheckIsReadableFile(const std::string& path);

// Channels are averaged and rates other than 16 kHz resampled; a 16 kHz mono 16-bit file comes through bit
// for bit. Memory does not grow with the file.
class AudioReader {
 public:
  // Throws FileError if the file is missing, empty, a directory, unreadable or no audio.
  explicit AudioReader(const std::string& path);

  // Fills `out` unless the file ends before; returns the number of samples, 0 at the end.
  size_t Read(std::span<int16_t> out);

  // Length in samples at 16 kHz by the file's header, which a pipe does not know: then 0.
  int64_t ExpectedSamples() const;

 private:
  struct CloseFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };
  struct DeleteResampler {
    void operator()(soxr* resampler) const { soxr_delete(resampler); }
  };

  size_t ReadMono(std::span<double> out);  // at the file's own rate, 1.0 = full scale
  size_t ReadConverted(std::span<int16_t> out);
  size_t Resample(std::span<double> out);
  [[noreturn]] void ThrowDamaged() const;

  std::string path_;
  SF_INFO info_ = {};
  std::unique_ptr<SNDFILE, CloseFile> file_;
  std::unique_ptr<soxr, DeleteResampler> resampler_;  // none at 16 kHz
  bool exact_ = false;                                // the file already has the wanted format
  std::vector<double> interleaved_;                   // a block of all channels
  std::vector<double> mono_;                          // waits for the resampler
  size_t mono_begin_ = 0, mono_end_ = 0;
  std::vector<double> converted_;  // at 16 kHz
};

}  // namespace vask::command

#endif  // TOOLS_VASK_AUDIO_READER_H_
