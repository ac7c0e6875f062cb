#include "jobs/packets.h"

#include <vask/adpcm.h>
#include <vask/packets.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <vask/stream.hpp>
#include <vector>

#include "files/output_file.h"
#include "listen/segments.h"
#include "sound/audio_reader.h"
#include "sound/wav_writer.h"
#include "terminal/errors.h"
#include "terminal/progress.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

// Packs each utterance as it comes. Its packets wait for its end, since it may be none, and the samples for
// those that follow, since the last packet is of another type.
class Packer : public SegmentSink {
 public:
  Packer(const std::string& output, const PacketOptions& options, Progress& progress)
      : options_(options),
        packet_samples_(2 * static_cast<size_t>(options.bytes)),
        file_(output),
        progress_(progress) {}

  void Started() override {
    before_ = state_;
    if (!options_.bare) state_ = {};
  }
  void Audio(std::span<const int16_t> samples) override {
    samples_.insert(samples_.end(), samples.begin(), samples.end());
    size_t packed = 0;
    for (; samples_.size() - packed > packet_samples_; packed += packet_samples_) AddPacket('D', packed);
    samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(packed));
  }
  void Ended(const vask_stream_event&) override {
    samples_.resize(packet_samples_);  // the rest is silence
    AddPacket('E', 0);
    file_.Append(packets_);
    Clear();
  }
  void Rejected(const vask_stream_event&) override {
    state_ = before_;
    Clear();
  }
  void Heard(int64_t samples) override { progress_.Update(samples); }

  void Commit() { file_.Commit(); }

 private:
  void AddPacket(char type, size_t first) {
    if (!options_.bare) {
      packets_.resize(packets_.size() + VASK_PACKET_HEADER);
      vask_write_packet_header(type, options_.bytes, packets_.data() + packets_.size() - VASK_PACKET_HEADER);
    }
    const auto bytes = static_cast<size_t>(options_.bytes);
    packets_.resize(packets_.size() + bytes);
    adpcm_coder(samples_.data() + first, packets_.data() + packets_.size() - bytes, 2 * options_.bytes,
                &state_);
  }

  void Clear() {
    samples_.clear();
    packets_.clear();
  }

  PacketOptions options_;
  size_t packet_samples_;
  OutputFile file_;
  Progress& progress_;
  adpcm_state state_ = {}, before_ = {};
  std::vector<int16_t> samples_;  // not packed yet
  std::vector<uint8_t> packets_;  // of this utterance
};

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Reads packet after packet.
class Unpacker {
 public:
  explicit Unpacker(const std::string& input) : input_(input) {
    CheckIsReadableFile(input);
    file_.reset(std::fopen(input.c_str(), "rb"));
    if (!file_) throw FileError(input, "cannot be read", "check the name and the permissions");
  }

  // The samples of the next packet; false at the end. FileError says where the stream is no stream.
  bool Next(std::vector<int16_t>& samples) {
    CheckSignals();
    uint8_t header[VASK_PACKET_HEADER];
    const size_t got = std::fread(header, 1, sizeof header, file_.get());
    if (got == 0 && std::ferror(file_.get()) == 0) {
      if (open_) ThrowAt("the stream is cut: the last utterance has no packet E");
      return false;
    }
    char type = 0;
    const int32_t bytes = vask_read_packet_header(header, static_cast<int32_t>(got), &type);
    if (bytes == 0) ThrowAt(got < sizeof header ? "a packet is cut" : "no packet begins here");
    codes_.resize(static_cast<size_t>(bytes));
    if (std::fread(codes_.data(), 1, codes_.size(), file_.get()) != codes_.size()) ThrowAt("a packet is cut");
    if (!open_) state_ = {};
    open_ = type == 'D';
    samples.resize(2 * codes_.size());
    adpcm_decoder(codes_.data(), samples.data(), 2 * bytes, &state_);
    offset_ += VASK_PACKET_HEADER + bytes;
    return true;
  }

 private:
  [[noreturn]] void ThrowAt(const char* wrong) const {
    throw FileError(input_, "byte " + std::to_string(offset_) + ": " + wrong,
                    offset_ > 0 ? "what came before it is kept" : "it is no file of vask packets");
  }

  std::string input_;
  std::unique_ptr<std::FILE, CloseFile> file_;
  int64_t offset_ = 0;  // of the next packet
  bool open_ = false;   // in an utterance
  adpcm_state state_ = {};
  std::vector<uint8_t> codes_;
};

}  // namespace

void Pack(const vask_stream_options& stream_options, const std::string& input, const std::string& output,
          const PacketOptions& options) {
  AudioReader reader(input);
  Progress progress(input, reader.ExpectedSamples());
  Packer packer(output, options, progress);
  Stream stream(stream_options);
  if (!stream) throw std::bad_alloc();
  FindSegments(reader, stream, packer);
  packer.Commit();
}

void Unpack(const std::string& input, const std::string& output) {
  Unpacker unpacker(input);
  std::vector<int16_t> samples;
  std::optional<FileError> wrong;
  std::optional<WavWriter> wav;
  try {
    while (unpacker.Next(samples)) {
      if (!wav) wav.emplace(output);
      wav->Write(samples);
    }
  } catch (const FileError& error) {
    wrong = error;
  }
  if (wav) wav->Commit();
  if (wrong) throw *wrong;
}

}  // namespace vask::command
