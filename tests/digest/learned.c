/* The learned detector and the listening path: what streams deliver of a signal. */
#include "digest.h"

#include <math.h>
#include <stddef.h>
#include <vask/stream.h>

enum { kStep = 320 };

void Start(Digest* digest) {
  digest->hash = UINT64_C(0xcbf29ce484222325);
  digest->values = 0;
}

void Add(Digest* digest, uint64_t value, int bytes) {
  int i;
  for (i = 0; i < bytes; ++i) {
    digest->hash = (digest->hash ^ ((value >> (8 * i)) & 0xff)) * UINT64_C(0x100000001b3);
  }
  digest->values++;
}

static vask_stream* Open(int32_t mode) {
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof setup);
  setup.detector = VASK_STREAM_LEARNED;
  setup.options.mode = mode;
  setup.options.audio = VASK_STREAM_LISTENING;
  return vask_stream_open_setup(&setup);
}

void TakeAudio(vask_stream* stream, Digest* digest) {
  int16_t samples[1000];
  int32_t i, count;
  while ((count = vask_stream_read(stream, samples, 1000)) > 0) {
    for (i = 0; i < count; ++i) Add(digest, (uint16_t)samples[i], 2);
  }
}

int32_t TakeEvents(vask_stream* stream, Digest* digest) {
  vask_stream_event event;
  int32_t ends = 0;
  while (vask_stream_next(stream, &event) == 1) {
    if (event.kind == VASK_STREAM_STARTED) continue;
    ends++;
    Add(digest, (uint64_t)(event.kind * 100 + event.reason), 4);
    Add(digest, (uint64_t)event.start, 8);
    Add(digest, (uint64_t)event.end, 8);
    Add(digest, (uint64_t)event.span_start, 8);
    Add(digest, (uint64_t)event.span_end, 8);
    TakeAudio(stream, digest);
  }
  return ends;
}

/* Probabilities are multiples of 2^-15. */
static void TakeHearing(const vask_stream* stream, Digest* digest) {
  vask_stream_hearing hearing = {0};
  hearing.size = sizeof hearing;
  if (vask_stream_hear(stream, &hearing) != 0) return;
  Add(digest, (uint64_t)lrintf(hearing.speech * 32768), 4);
  Add(digest, (uint64_t)lrintf(hearing.speech_100ms_ago * 32768), 4);
  Add(digest, (uint64_t)lrintf(hearing.speech_200ms_ago * 32768), 4);
  Add(digest, (uint64_t)lrintf(hearing.utterance * 32768), 4);
  Add(digest, (uint64_t)lrintf(hearing.music * 32768), 4);
}

int RunLearned(const Signal* signal, int32_t piece, Result* result) {
  vask_stream* const utterances = Open(VASK_STREAM_UTTERANCES);
  vask_stream* const continuous = Open(VASK_STREAM_CONTINUOUS);
  const int is_open = utterances != NULL && continuous != NULL;
  int32_t at, n;
  Start(&result->output);
  Start(&result->history);
  result->ends = 0;
  for (at = 0; is_open && at < signal->count; at += n) {
    n = piece < signal->count - at ? piece : signal->count - at;
    vask_stream_write(utterances, signal->samples + at, n);
    result->ends += TakeEvents(utterances, &result->output);
  }
  for (at = 0; is_open && at + kStep <= signal->count; at += kStep) {
    vask_stream_write(continuous, signal->samples + at, kStep);
    TakeHearing(continuous, &result->history);
    TakeAudio(continuous, &result->history);
  }
  if (is_open) {
    vask_stream_flush(utterances);
    result->ends += TakeEvents(utterances, &result->output);
    vask_stream_flush(continuous);
    TakeAudio(continuous, &result->history);
  }
  vask_stream_close(utterances);
  vask_stream_close(continuous);
  return is_open;
}
