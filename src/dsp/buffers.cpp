// The exported buffer families: doorways over the queue and ring templates, and two separate utilities.
#include <vask/buffers.h>

#include <cstdio>
#include <limits>

#include "dsp/message.h"
#include "dsp/queue.h"
#include "dsp/ring.h"

namespace {

using vask::QueueRead;

template <typename Queue>
int32_t Init(Queue* q, int32_t capacity) {
  return q != nullptr && vask::MakeQueue(*q, capacity) ? 1 : 0;
}

// Rings report no failure: their owner checks `data`.
template <typename Ring>
int32_t InitUnchecked(Ring* ring, int32_t size) {
  if (ring != nullptr) vask::MakeRing(*ring, size);
  return 1;
}

template <typename Queue>
void Write(const vask::ElementOf<Queue>* src, Queue* q, int32_t n) {
  if (src != nullptr && q != nullptr && n > 0) vask::WriteQueue(*q, {src, static_cast<size_t>(n)});
}

template <typename Ring>
void Write(Ring* ring, const vask::ElementOf<Ring>* src, int32_t n) {
  if (src != nullptr && ring != nullptr && n > 0) vask::WriteRing(*ring, {src, static_cast<size_t>(n)});
}

template <typename Record>
void Close(Record* record) {
  if (record != nullptr) vask::Release(record->data);
}

int32_t Report(QueueRead result, const char* message) {
  if (result == QueueRead::kCorrupt) vask::Say(vask::Message::kFailure, "%s", message);
  return result == QueueRead::kRead ? 1 : 0;
}

template <typename Queue>
int32_t Read(Queue* q, vask::ElementOf<Queue>* dst, int32_t n, int32_t advance, const char* message) {
  if (q == nullptr || dst == nullptr) return 0;
  return Report(vask::ReadQueue(*q, dst, n, advance), message);
}

constexpr char kBufferError[] = "ERROR: Input Buffer Error\n";

}  // namespace

extern "C" {

int32_t init_sin_buff(sin_buff* b, int32_t n) { return Init(b, n); }
int32_t init_iin_buff(iin_buff* b, int32_t n) { return Init(b, n); }
int32_t init_in64_buff(in64_buff* b, int32_t n) { return Init(b, n); }
int32_t init_sin_buf(sin_buf* b, int32_t n) { return Init(b, n); }
int32_t init_sring_buff(sring_buff* b, int32_t n) { return InitUnchecked(b, n); }
int32_t init_iring_buff(iring_buff* b, int32_t n) { return InitUnchecked(b, n); }
int32_t init_i64ring_buff(i64ring_buff* b, int32_t n) { return InitUnchecked(b, n); }
int32_t init_int64_rbuf(int64_rbuf* b, int32_t n) { return b != nullptr && vask::MakeRing(*b, n) ? 1 : 0; }

#define VASK_SETTING(name, record, clear) \
  void name(record* b) {                  \
    if (b != nullptr) vask::clear(*b);    \
  }
VASK_SETTING(sin_buff_setting, sin_buff, ClearQueue)
VASK_SETTING(iin_buff_setting, iin_buff, ClearQueue)
VASK_SETTING(in64_buff_setting, in64_buff, ClearQueue)
VASK_SETTING(sin_buf_setting, sin_buf, ClearQueue)
VASK_SETTING(sring_buff_setting, sring_buff, ClearRing)
VASK_SETTING(iring_buff_setting, iring_buff, ClearRing)
VASK_SETTING(i64ring_buff_setting, i64ring_buff, ClearRing)
VASK_SETTING(int64_rbuf_setting, int64_rbuf, ClearRing)
#undef VASK_SETTING

void close_sin_buff(sin_buff* b) { Close(b); }
void close_iin_buff(iin_buff* b) { Close(b); }
void close_in64_buff(in64_buff* b) { Close(b); }
void close_sin_buf(sin_buf* b) { Close(b); }
void close_sring_buff(sring_buff* b) { Close(b); }
void close_iring_buff(iring_buff* b) { Close(b); }
void close_i64ring_buff(i64ring_buff* b) { Close(b); }

void close_int64_rbuf(int64_rbuf* b) {
  if (b == nullptr) return;
  int64_t* storage = b->data;  // the record keeps its pointer; its owner may not use it again
  vask::Release(storage);
}

void write_sin_buff(const int16_t* src, sin_buff* b, int32_t n) { Write(src, b, n); }
void write_iin_buff(const int32_t* src, iin_buff* b, int32_t n) { Write(src, b, n); }
void write_in64_buff(const int64_t* src, in64_buff* b, int32_t n) { Write(src, b, n); }
void write_sring_buff(sring_buff* b, const int16_t* src, int32_t n) { Write(b, src, n); }
void write_iring_buff(iring_buff* b, const int32_t* src, int32_t n) { Write(b, src, n); }
void write_i64ring_buff(i64ring_buff* b, const int64_t* src, int32_t n) { Write(b, src, n); }
void write_int64_rbuf(int64_rbuf* b, int64_t value) { Write(b, &value, 1); }

int32_t ReadFromSIn_Buff(sin_buff* b, int16_t* dst, int32_t n, int32_t advance) {
  return Read(b, dst, n, advance, kBufferError);
}

int32_t IReadFromSIn_Buff(sin_buff* b, int32_t* dst, int32_t n, int32_t advance) {
  if (b == nullptr || dst == nullptr) return 0;
  // Only this reader lets its position reach the capacity itself.
  const int32_t wrap_at = b->capacity < vask::kMax32 ? b->capacity + 1 : vask::kMax32;
  const auto to_q31 = [](int16_t sample) { return sample * 65536; };
  return Report(vask::ReadQueue(*b, dst, n, advance, wrap_at, to_q31), kBufferError);
}

int32_t ReadFromIIn_Buff(iin_buff* b, int32_t* dst, int32_t n, int32_t advance) {
  return Read(b, dst, n, advance, kBufferError);
}

int32_t ReadFromIIn64_Buff(in64_buff* b, int64_t* dst, int32_t n, int32_t advance) {
  return Read(b, dst, n, advance, "\nERROR: Input Buffer Error\n");
}

int32_t read_sin_buf(int16_t* dst, sin_buf* b, int32_t n, int32_t advance) {
  if (b == nullptr || dst == nullptr) return 0;
  return vask::ReadQueue(*b, dst, n, advance) == QueueRead::kRead ? 1 : 0;  // this one never reports
}

void IFrameShifting(int32_t* buf, int32_t shift, int32_t len) {
  if (buf == nullptr || shift < 0 || int64_t{len} - shift < 1) return;
  std::copy(buf + shift, buf + len, buf);
}

int32_t file_size(FILE* stream) {
  if (stream == nullptr || std::fseek(stream, 0, SEEK_SET) != 0) return 0;
  const long start = std::ftell(stream);
  if (std::fseek(stream, 0, SEEK_END) != 0) return 0;
  const long end = std::ftell(stream);
  std::fseek(stream, 0, SEEK_SET);
  return vask::Low32(int64_t{end} - start);
}

}  // extern "C"
