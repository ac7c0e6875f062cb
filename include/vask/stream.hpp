// Streams for C++20: the handle of stream.h as an object. Nothing here throws.
#ifndef VASK_STREAM_HPP_
#define VASK_STREAM_HPP_

#include <vask/model.h>
#include <vask/stream.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>

namespace vask {

// vask_stream_options that start as the defaults.
struct StreamOptions : vask_stream_options {
  StreamOptions() : vask_stream_options() { vask_stream_defaults(this); }
  StreamOptions &Robust() {
    vask_stream_robust(this);
    return *this;
  }
  StreamOptions &Device(int32_t device, int32_t os) {
    vask_stream_profile(device, os, &profile);
    return *this;
  }
  const char *Complaint() const { return vask_stream_complaint(this); }  // null: nothing is wrong
};

// vask_stream_setup that starts as the defaults, with the learned detector.
struct StreamSetup : vask_stream_setup {
  StreamSetup() : vask_stream_setup() {
    vask_stream_setup_defaults(this, sizeof(vask_stream_setup));
    detector = VASK_STREAM_LEARNED;
  }
  const char *Complaint() const { return vask_stream_setup_complaint(this); }  // null: nothing is wrong
};

// A model from a file, for setup.model. It must outlive the streams that use it.
class StreamModel {
 public:
  explicit StreamModel(const char *path) : model_(vask_model_open(path, &reason_)) {}

  explicit operator bool() const { return model_ != nullptr; }
  int32_t reason() const { return reason_; }  // VASK_MODEL_OK, or why it was refused
  const vask_model *get() const { return model_.get(); }

 private:
  struct Close {
    void operator()(vask_model *model) const { vask_model_close(model); }
  };

  int32_t reason_ = 0;
  std::unique_ptr<vask_model, Close> model_;
};

// One stream, closed with the object. If it could not be opened, it converts to false, and every call returns
// nothing or an error.
class Stream {
 public:
  explicit Stream(const vask_stream_options &options = StreamOptions())
      : stream_(vask_stream_open(&options)) {}
  explicit Stream(const vask_stream_setup &setup) : stream_(vask_stream_open_setup(&setup)) {}

  explicit operator bool() const { return stream_ != nullptr; }

  // Returns the number of samples taken, fewer than given if the queue is full; below 0: an error.
  int32_t Write(std::span<const int16_t> samples) {
    return vask_stream_write(stream_.get(), samples.data(), Length(samples.size()));
  }
  // Returns 0; below 0: an error.
  int32_t Flush() { return vask_stream_flush(stream_.get()); }

  std::optional<vask_stream_event> Next() {
    vask_stream_event event;
    if (vask_stream_next(stream_.get(), &event) != 1) return std::nullopt;
    return event;
  }

  // Returns the part of `room` that was filled.
  std::span<int16_t> Read(std::span<int16_t> room) {
    const int32_t count = vask_stream_read(stream_.get(), room.data(), Length(room.size()));
    return room.first(static_cast<size_t>(std::max(count, int32_t{0})));
  }
  int32_t Available() const { return vask_stream_available(stream_.get()); }

  vask_stream_measures Measures() const {
    vask_stream_measures measures = {};
    vask_stream_measure(stream_.get(), &measures);
    return measures;
  }

  // Of a stream with the learned detector; of others, nothing.
  std::optional<vask_stream_hearing> Hearing() const {
    vask_stream_hearing hearing = {};
    hearing.size = sizeof hearing;
    if (vask_stream_hear(stream_.get(), &hearing) != 0) return std::nullopt;
    return hearing;
  }

  // Returns 0; below 0: an error, and nothing has changed.
  int32_t SetPause(float seconds) { return vask_stream_set_pause(stream_.get(), seconds); }

  void Reset() { vask_stream_reset(stream_.get()); }

 private:
  struct Close {
    void operator()(vask_stream *stream) const { vask_stream_close(stream); }
  };

  static int32_t Length(size_t size) {
    constexpr size_t kMost = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::min(size, kMost));
  }

  std::unique_ptr<vask_stream, Close> stream_;
};

}  // namespace vask

#endif  // VASK_STREAM_HPP_
