// Sound as a browser plays it: a file in memory.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "jobs/report/opus_file.h"

namespace vask::command {

class Sound {
 public:
  enum class Type { kWav, kOpus };  // 256 kbit/s exact, or about 13 kbit/s

  explicit Sound(Type type);
  Sound(const Sound&) = delete;  // libsndfile holds its address
  Sound& operator=(const Sound&) = delete;

  void Add(std::span<const int16_t> samples);
  void Finish();

  // Complete after Finish().
  const std::vector<uint8_t>& file() const { return opus_ ? opus_->bytes() : file_; }

 private:
  struct Close {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };

  std::optional<OpusFile> opus_;  // or WAV:
  std::vector<uint8_t> file_;
  sf_count_t position_ = 0;
  std::unique_ptr<SNDFILE, Close> encoder_;  // destroyed before what it writes to
};

}  // namespace vask::command
