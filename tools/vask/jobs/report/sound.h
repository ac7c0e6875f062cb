// Sound as a browser plays it: a file in memory.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vask::command {

class Sound {
 public:
  enum class Type { kWav, kOpus };  // 256 kbit/s exact, or about 15 kbit/s

  explicit Sound(Type type);
  Sound(const Sound&) = delete;  // libsndfile holds its address
  Sound& operator=(const Sound&) = delete;

  void Add(std::span<const int16_t> samples);
  void Finish();

  const std::vector<uint8_t>& file() const { return file_; }  // complete after Finish()

 private:
  struct Close {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };

  std::vector<uint8_t> file_;
  sf_count_t position_ = 0;
  std::unique_ptr<SNDFILE, Close> encoder_;  // destroyed before what it writes to
};

}  // namespace vask::command
