#include "jobs/report/sound.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "format.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

[[noreturn]] void ThrowNoEncoder(SNDFILE* file) {
  throw FatalError(std::string("the sound of the report cannot be encoded (") + sf_strerror(file) +
                   "): install a libsndfile with Opus support, or use --no-audio");
}

}  // namespace

Sound::Sound(Type type) {
  if (type == Type::kOpus) {
    opus_.emplace();
    return;
  }
  // Called back with the address of this object.
  SF_VIRTUAL_IO memory = {};
  memory.get_filelen = [](void* self) {
    return static_cast<sf_count_t>(static_cast<Sound*>(self)->file_.size());
  };
  memory.tell = [](void* self) { return static_cast<Sound*>(self)->position_; };
  memory.seek = [](sf_count_t offset, int whence, void* self) {
    auto& sound = *static_cast<Sound*>(self);
    if (whence == SEEK_CUR) offset += sound.position_;
    if (whence == SEEK_END) offset += static_cast<sf_count_t>(sound.file_.size());
    return sound.position_ = std::max<sf_count_t>(offset, 0);
  };
  memory.read = [](void* to, sf_count_t count, void* self) {
    auto& sound = *static_cast<Sound*>(self);
    const sf_count_t rest = static_cast<sf_count_t>(sound.file_.size()) - sound.position_;
    count = std::clamp<sf_count_t>(rest, 0, count);
    std::copy_n(sound.file_.begin() + sound.position_, count, static_cast<uint8_t*>(to));
    sound.position_ += count;
    return count;
  };
  memory.write = [](const void* from, sf_count_t count, void* self) {
    auto& sound = *static_cast<Sound*>(self);
    const auto end = static_cast<size_t>(sound.position_ + count);
    if (end > sound.file_.size()) sound.file_.resize(end);
    std::copy_n(static_cast<const uint8_t*>(from), count, sound.file_.begin() + sound.position_);
    sound.position_ += count;
    return count;
  };
  SF_INFO info = {};
  info.samplerate = kRateHz;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  encoder_.reset(sf_open_virtual(&memory, SFM_WRITE, &info, this));
  if (!encoder_) ThrowNoEncoder(nullptr);
}

void Sound::Add(std::span<const int16_t> samples) {
  if (opus_) return opus_->Add(samples);
  const auto count = static_cast<sf_count_t>(samples.size());
  if (sf_write_short(encoder_.get(), samples.data(), count) != count) ThrowNoEncoder(encoder_.get());
}

void Sound::Finish() {
  if (opus_) return opus_->Finish();
  encoder_.reset();
}

}  // namespace vask::command
