// Ogg Opus in memory, encoded for an hour to take seconds: libsndfile does not offer the encoder's cheaper
// levels.
#pragma once

#include <ogg/ogg.h>
#include <opus.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vask::command {

class OpusFile {
 public:
  OpusFile();
  ~OpusFile() { ogg_stream_clear(&stream_); }
  OpusFile(const OpusFile&) = delete;
  OpusFile& operator=(const OpusFile&) = delete;

  void Add(std::span<const int16_t> samples);  // 16 kHz
  void Finish();

  const std::vector<uint8_t>& bytes() const { return bytes_; }  // complete after Finish()

 private:
  struct Delete {
    void operator()(OpusEncoder* encoder) const { opus_encoder_destroy(encoder); }
  };

  void Encode(bool last);
  void AddPacket(std::span<uint8_t> packet, int64_t position, bool last);
  void TakePages(int (*next)(ogg_stream_state*, ogg_page*));

  std::unique_ptr<OpusEncoder, Delete> encoder_;
  ogg_stream_state stream_ = {};
  std::vector<int16_t> waiting_;  // less than a packet
  int32_t delay_ = 0;             // of the encoder, in samples
  int64_t samples_ = 0;           // of the sound
  int64_t encoded_ = 0;           // samples, with those that fill the last packet
  int64_t packets_ = 0;           // with the headers
  std::vector<uint8_t> bytes_;
};

}  // namespace vask::command
