/*
 * Sample buffers: queues, whose reader may advance by less than it reads; rings, which keep the newest
 * elements; and two separate utilities.
 *
 * The name gives the element type: sin_ and sring_ 16 bits, iin_ and iring_ 32 bits, in64_, i64ring_ and
 * int64_rbuf 64 bits.
 */
#ifndef VASK_BUFFERS_H_
#define VASK_BUFFERS_H_

#include <stdint.h>
#include <stdio.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

/* Queues. Element k of the stream is data[k mod capacity]; write_pos - read_pos elements are unread. */

typedef struct sin_buff {
  int16_t *data;     /* capacity elements, owned */
  int32_t write_pos; /* elements written; the reader subtracts capacity from both positions when it wraps */
  int32_t read_pos;  /* the next element to read, in the same count */
  int32_t capacity;  /* elements */
} sin_buff;

typedef struct iin_buff {
  int32_t *data; /* as in sin_buff */
  int32_t write_pos;
  int32_t read_pos;
  int32_t capacity;
} iin_buff;

typedef struct in64_buff {
  int64_t *data; /* as in sin_buff */
  int32_t write_pos;
  int32_t read_pos;
  int32_t capacity;
} in64_buff;

/* A 16-bit queue whose reader never reports. It has no writer: the owner fills data and raises write_pos. */
typedef struct sin_buf {
  int16_t *data; /* as in sin_buff */
  int32_t write_pos;
  int32_t read_pos;
  int32_t capacity;
} sin_buf;

/* Rings. Once filled, the oldest element is at index, the newest just before it. */

typedef struct sring_buff {
  int16_t *data; /* size elements, owned */
  int32_t size;  /* elements */
  int32_t index; /* the slot that the next write fills, 0 to size - 1 */
} sring_buff;

typedef struct iring_buff {
  int32_t *data; /* as in sring_buff */
  int32_t size;
  int32_t index;
} iring_buff;

typedef struct i64ring_buff {
  int64_t *data; /* as in sring_buff */
  int32_t size;
  int32_t index;
} i64ring_buff;

/* A 64-bit ring written one value at a time; note the different order of its fields. */
typedef struct int64_rbuf {
  int64_t *data; /* size elements, owned */
  int32_t index; /* the slot that the next write fills, 0 to size - 1 */
  int32_t size;  /* elements */
} int64_rbuf;

/**
 * Make an empty queue, or ring, with zeroed storage.
 *
 * b       out: the record; its previous contents are ignored, not released
 * n       capacity in elements
 *
 * return  1: the buffer is ready
 *         0: no memory; only for queues and int64_rbuf
 *
 * For the other three rings the result is always 1: their owner checks data, which is null without memory.
 */
VASK_API int32_t init_sin_buff(sin_buff *b, int32_t n);
VASK_API int32_t init_iin_buff(iin_buff *b, int32_t n);
VASK_API int32_t init_in64_buff(in64_buff *b, int32_t n);
VASK_API int32_t init_sin_buf(sin_buf *b, int32_t n);
VASK_API int32_t init_sring_buff(sring_buff *b, int32_t n);
VASK_API int32_t init_iring_buff(iring_buff *b, int32_t n);
VASK_API int32_t init_i64ring_buff(i64ring_buff *b, int32_t n);
VASK_API int32_t init_int64_rbuf(int64_rbuf *b, int32_t n);

/**
 * Empty a queue or ring: positions and all elements become 0, the storage is kept.
 *
 * b  in, out: a record made by its init function
 */
VASK_API void sin_buff_setting(sin_buff *b);
VASK_API void iin_buff_setting(iin_buff *b);
VASK_API void in64_buff_setting(in64_buff *b);
VASK_API void sin_buf_setting(sin_buf *b);
VASK_API void sring_buff_setting(sring_buff *b);
VASK_API void iring_buff_setting(iring_buff *b);
VASK_API void i64ring_buff_setting(i64ring_buff *b);
VASK_API void int64_rbuf_setting(int64_rbuf *b);

/**
 * Append n elements to a queue as one block.
 *
 * src  n elements
 * b    in, out: the queue; write_pos grows by n
 * n    elements; the block is not split: whole frames in a capacity of whole frames never cross its end
 *
 * A block that would cross the end of the storage is refused, and nothing changes. Unread elements in its way
 * are overwritten: the writer has to stay within the capacity.
 */
VASK_API void write_sin_buff(const int16_t *src, sin_buff *b, int32_t n);
VASK_API void write_iin_buff(const int32_t *src, iin_buff *b, int32_t n);
VASK_API void write_in64_buff(const int64_t *src, in64_buff *b, int32_t n);

/**
 * Write n elements into a ring, one after the other, over the oldest.
 *
 * b    in, out: the ring; index advances by n, modulo size
 * src  n elements; of more than size elements the last size are kept
 * n    elements, up to 32767 for 16 and 32 bits
 */
VASK_API void write_sring_buff(sring_buff *b, const int16_t *src, int32_t n);
VASK_API void write_iring_buff(iring_buff *b, const int32_t *src, int32_t n);
VASK_API void write_i64ring_buff(i64ring_buff *b, const int64_t *src, int32_t n);

/**
 * Write one value into a ring, over the oldest.
 *
 * b      in, out: the ring; index advances by 1, modulo size
 * value  the element
 */
VASK_API void write_int64_rbuf(int64_rbuf *b, int64_t value);

/**
 * Read n elements from a queue and advance.
 *
 * b        in, out: the queue
 * dst      out: n elements; IReadFromSIn_Buff: samples << 16
 * n        elements to read
 * advance  elements to advance by: below n the next read sees the rest again, above n some are skipped
 *
 * return   1: n elements were read
 *          0: fewer than n are unread, or the read position is beyond the write position; nothing changed
 *
 * When the read position reaches the capacity, the capacity is subtracted from both positions;
 * IReadFromSIn_Buff waits until it is beyond, which changes only the numbers.
 * A read position beyond the write position is reported by "ERROR: Input Buffer Error", except by
 * read_sin_buf.
 */
VASK_API int32_t ReadFromSIn_Buff(sin_buff *b, int16_t *dst, int32_t n, int32_t advance);
VASK_API int32_t IReadFromSIn_Buff(sin_buff *b, int32_t *dst, int32_t n, int32_t advance);
VASK_API int32_t ReadFromIIn_Buff(iin_buff *b, int32_t *dst, int32_t n, int32_t advance);
VASK_API int32_t ReadFromIIn64_Buff(in64_buff *b, int64_t *dst, int32_t n, int32_t advance);
VASK_API int32_t read_sin_buf(int16_t *dst, sin_buf *b, int32_t n, int32_t advance);

/**
 * Release the storage of a queue or ring and null data; the counters are kept.
 *
 * b  in, out: a record made by its init function, or already closed
 *
 * Only close_int64_rbuf leaves data as it was: close it once, then init_int64_rbuf before further use.
 */
VASK_API void close_sin_buff(sin_buff *b);
VASK_API void close_iin_buff(iin_buff *b);
VASK_API void close_in64_buff(in64_buff *b);
VASK_API void close_sin_buf(sin_buf *b);
VASK_API void close_sring_buff(sring_buff *b);
VASK_API void close_iring_buff(iring_buff *b);
VASK_API void close_i64ring_buff(i64ring_buff *b);
VASK_API void close_int64_rbuf(int64_rbuf *b);

/**
 * Move the elements from shift on to the front of an array; the tail is unchanged.
 *
 * buf    in, out: len elements
 * shift  elements dropped at the front
 * len    elements
 *
 * If len - shift is below 1, nothing moves.
 */
VASK_API void IFrameShifting(int32_t *buf, int32_t shift, int32_t len);

/**
 * Find the length of an open file.
 *
 * stream  in, out: a seekable stream; it is at its start afterwards
 *
 * return  bytes; 0 for a null stream
 */
VASK_API int32_t file_size(FILE *stream);

VASK_END_DECLS

#endif /* VASK_BUFFERS_H_ */
