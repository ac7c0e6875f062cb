#include "jobs/report/opus_file.h"

#include <algorithm>
#include <array>
#include <new>
#include <string>

#include "format.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr int32_t kBitsPerSecond = 16000;
// Of 0 to 10: 12 s for an hour, where 5 would take 19 s and 10 39 s.
constexpr int32_t kComplexity = 2;
constexpr size_t kPacket = 60 * kRateHz / 1000;  // samples
constexpr size_t kLongestPacket = 1500;          // bytes, several times what the rate allows
constexpr int32_t kClock = 48000 / kRateHz;      // Opus counts at 48 kHz, whatever the input
constexpr int32_t kSerial = 1;                   // there is one stream in the file

// What the call into libopus returned, if that is no error.
int32_t Checked(int32_t result) {
  if (result == OPUS_ALLOC_FAIL) throw std::bad_alloc();
  if (result < 0)
    throw FatalError(std::string("the sound of the report cannot be encoded (") + opus_strerror(result) +
                     "): use --no-audio");
  return result;
}

}  // namespace

OpusFile::OpusFile() {
  int error = OPUS_OK;
  encoder_.reset(opus_encoder_create(kRateHz, 1, OPUS_APPLICATION_AUDIO, &error));
  Checked(error);
  Checked(opus_encoder_ctl(encoder_.get(), OPUS_SET_BITRATE(kBitsPerSecond)));
  Checked(opus_encoder_ctl(encoder_.get(), OPUS_SET_COMPLEXITY(kComplexity)));
  Checked(opus_encoder_ctl(encoder_.get(), OPUS_GET_LOOKAHEAD(&delay_)));
  if (ogg_stream_init(&stream_, kSerial) != 0) throw std::bad_alloc();

  // RFC 7845, sections 5.1 and 5.2: version 1, one channel, what to skip, the rate; no encoder's name, no
  // comments.
  const auto skip = static_cast<uint32_t>(delay_ * kClock);
  static_assert(kRateHz == 0x3E80);
  std::array<uint8_t, 19> head = {'O',
                                  'p',
                                  'u',
                                  's',
                                  'H',
                                  'e',
                                  'a',
                                  'd',
                                  1,
                                  1,
                                  static_cast<uint8_t>(skip),
                                  static_cast<uint8_t>(skip >> 8),
                                  0x80,
                                  0x3E};
  std::array<uint8_t, 16> tags = {'O', 'p', 'u', 's', 'T', 'a', 'g', 's'};
  for (const std::span<uint8_t> header : {std::span<uint8_t>(head), std::span<uint8_t>(tags)}) {
    AddPacket(header, 0, false);
    TakePages(ogg_stream_flush);  // each has its page
  }
}

void OpusFile::Add(std::span<const int16_t> samples) {
  samples_ += static_cast<int64_t>(samples.size());
  while (!samples.empty()) {
    const size_t taken = std::min(kPacket - waiting_.size(), samples.size());
    waiting_.insert(waiting_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(taken));
    samples = samples.subspan(taken);
    if (waiting_.size() == kPacket) Encode(false);  // never the last: the encoder is behind
  }
}

void OpusFile::Finish() {
  while (encoded_ < samples_ + delay_) {
    waiting_.resize(kPacket);
    Encode(encoded_ + static_cast<int64_t>(kPacket) >= samples_ + delay_);
  }
  TakePages(ogg_stream_flush);
}

void OpusFile::Encode(bool last) {
  std::array<uint8_t, kLongestPacket> packet;
  const int32_t length = Checked(
      opus_encode(encoder_.get(), waiting_.data(), static_cast<int>(kPacket), packet.data(), packet.size()));
  waiting_.clear();
  encoded_ += static_cast<int64_t>(kPacket);
  // The last position says where the sound ends within the packet.
  AddPacket(std::span(packet).first(static_cast<size_t>(length)),
            kClock * (last ? samples_ + delay_ : encoded_), last);
  TakePages(ogg_stream_pageout);
}

void OpusFile::AddPacket(std::span<uint8_t> packet, int64_t position, bool last) {
  ogg_packet entry = {};
  entry.packet = packet.data();
  entry.bytes = static_cast<long>(packet.size());
  entry.b_o_s = packets_ == 0 ? 1 : 0;
  entry.e_o_s = last ? 1 : 0;
  entry.granulepos = position;
  entry.packetno = packets_++;
  if (ogg_stream_packetin(&stream_, &entry) != 0) throw std::bad_alloc();
}

void OpusFile::TakePages(int (*next)(ogg_stream_state*, ogg_page*)) {
  for (ogg_page page; next(&stream_, &page) != 0;) {
    bytes_.insert(bytes_.end(), page.header, page.header + page.header_len);
    bytes_.insert(bytes_.end(), page.body, page.body + page.body_len);
  }
}

}  // namespace vask::command
