#include "stream/outbox.h"

#include <algorithm>

#include "dsp/memory.h"

namespace vask {
namespace {

constexpr int64_t kFirstCapacity = 4 * 16000;  // samples
constexpr int32_t kFirstEvents = 256;
constexpr int32_t kMostEvents = 65536;
// The most events at once: a flush may cut the longest hangover, 30 s, into pieces of 0.75 s.
constexpr int32_t kMostAtOnce = 128;

// Storage of `capacity` elements with the first `count` copied over; without memory the old one is kept.
template <typename T>
bool Regrow(T*& data, int64_t count, int64_t capacity) {
  T* larger = NewZeroed<T>(capacity);
  if (larger == nullptr) return false;
  std::copy_n(data, count, larger);
  Release(data);
  data = larger;
  return true;
}

bool DecidesOnAudio(int32_t kind) {
  return kind == VASK_STREAM_STARTED || kind == VASK_STREAM_ENDED || kind == VASK_STREAM_REJECTED;
}

}  // namespace

bool Outbox::Open(int64_t bound, bool has_events, int32_t margin) {
  bound_ = bound;
  margin_ = margin;
  has_events_ = has_events;
  capacity_ = std::min(kFirstCapacity, bound);
  entry_capacity_ = kFirstEvents;
  audio_ = NewZeroed<int16_t>(capacity_);
  entries_ = NewZeroed<Entry>(entry_capacity_);
  Clear();
  return audio_ != nullptr && entries_ != nullptr;
}

void Outbox::Close() {
  Release(audio_);
  Release(entries_);
}

void Outbox::Clear() {
  base_ = taken_ = pushed_ = certain_ = frozen_ = last_audio_ = last_margin_ = 0;
  first_entry_ = entry_count_ = last_kind_ = 0;
}

Outbox::Room Outbox::Reserve(int64_t samples) {
  if (Waiting() + samples > bound_) return Room::kFull;
  if (entry_count_ + kMostAtOnce > entry_capacity_) {
    if (entry_capacity_ >= kMostEvents) return Room::kFull;
    if (!GrowEvents()) return Room::kNoMemory;
  }
  if (pushed_ - base_ + samples <= capacity_) return Room::kThere;
  return GrowAudio(samples) ? Room::kThere : Room::kNoMemory;
}

// Waiting samples, and the margin before them, are moved to the front. The storage at least doubles if they
// and what comes fill more than half of it, up to twice the bound: so a sample is moved once on average,
// however many are waiting.
bool Outbox::GrowAudio(int64_t samples) {
  const int64_t kept = std::max(base_, taken_ - margin_);
  std::copy(At(kept), At(pushed_), audio_);
  base_ = kept;
  const int64_t needed = pushed_ - base_ + samples;
  if (needed <= capacity_ / 2) return true;
  const int64_t larger = 2 * std::min(std::max(capacity_, needed), bound_);
  if (Regrow(audio_, pushed_ - base_, larger)) capacity_ = larger;
  return needed <= capacity_;
}

bool Outbox::GrowEvents() {
  std::rotate(entries_, entries_ + first_entry_, entries_ + entry_capacity_);
  first_entry_ = 0;
  if (!Regrow(entries_, entry_count_, 2 * int64_t{entry_capacity_})) return false;
  entry_capacity_ *= 2;
  return true;
}

void Outbox::Push(std::span<const int16_t> samples) {
  std::copy(samples.begin(), samples.end(), At(pushed_));
  pushed_ += static_cast<int64_t>(samples.size());
}

int64_t Outbox::TakeBack(int64_t from, int64_t to) {
  from = std::max({from, taken_, frozen_});
  if (to > from) {
    std::copy(At(to), At(pushed_), At(from));
    pushed_ -= to - from;
  }
  return from;
}

void Outbox::Add(const vask_stream_event& event, int64_t audio) {
  // What follows a split is needed for the end of the piece before it, too, even if it is rejected.
  const bool is_split = event.kind == VASK_STREAM_ENDED && event.reason == VASK_STREAM_BY_SPLIT;
  const int64_t margin = is_split ? std::min(margin_, pushed_ - audio) : 0;
  if (is_split) frozen_ = audio + margin;
  entries_[(first_entry_ + entry_count_) % entry_capacity_] = {event, audio, margin};
  ++entry_count_;
}

bool Outbox::Next(vask_stream_event& event) {
  if (entry_count_ == 0) return false;
  const Entry& entry = entries_[first_entry_];
  event = entry.event;
  if (DecidesOnAudio(event.kind)) {
    last_kind_ = event.kind;
    last_audio_ = entry.audio;
    last_margin_ = entry.margin;
    if (event.kind != VASK_STREAM_ENDED) taken_ = std::max(taken_, entry.audio);
  }
  first_entry_ = (first_entry_ + 1) % entry_capacity_;
  --entry_count_;
  return true;
}

int64_t Outbox::limit() const {
  if (!has_events_) return pushed_;
  if (last_kind_ != VASK_STREAM_STARTED) return last_audio_;
  // The next event that decides on audio is the end of that segment.
  for (int32_t k = 0; k < entry_count_; ++k) {
    const Entry& entry = entries_[(first_entry_ + k) % entry_capacity_];
    if (DecidesOnAudio(entry.event.kind)) return entry.audio;
  }
  return std::min(certain_, pushed_);
}

int64_t Outbox::Available() const { return std::max(limit() - taken_, int64_t{0}); }

int32_t Outbox::Read(std::span<int16_t> out) {
  const int64_t count = std::min(Available(), static_cast<int64_t>(out.size()));
  std::copy_n(At(taken_), count, out.begin());
  taken_ += count;
  return static_cast<int32_t>(count);
}

void Outbox::Copy(int64_t from, int64_t first, int64_t end, std::span<int16_t> out) const {
  const int64_t to = from + static_cast<int64_t>(out.size());
  const int64_t known = std::clamp(first, from, to), known_end = std::clamp(end, known, to);
  std::fill(out.begin(), out.end(), int16_t{0});
  std::copy(At(known), At(known_end), out.data() + (known - from));
}

void Outbox::TakeUntil(int64_t place) { taken_ = std::max(taken_, place); }

}  // namespace vask
