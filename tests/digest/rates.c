/* Streams at other rates than 16 kHz: a signal's samples, taken as they are for samples at each of them. */
#include <stddef.h>
#include <vask/stream.h>

#include "digest.h"

const int32_t kRates[] = {8000, 11025, 12000, 22050, 24000, 32000, 44100, 48000, 0};

enum { kMostOfSignal = 30000 };

/* Returns the number of segments; below 0: there is no memory. */
static int32_t RunStream(const Signal* signal, int32_t mode, int32_t audio, int32_t rate, int32_t piece,
                         Digest* digest) {
  const int32_t end = signal->count < kMostOfSignal ? signal->count : kMostOfSignal;
  int32_t at, n, segments = 0;
  vask_stream* stream;
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof setup);
  setup.options.mode = mode;
  setup.options.audio = audio;
  setup.options.max_samples = 32000; /* so that utterances are split */
  setup.input_rate = setup.audio_rate = rate;
  stream = vask_stream_open_setup(&setup);
  if (stream == NULL) return -1;
  Start(digest);
  for (at = 0; at < end; at += n) {
    n = piece < end - at ? piece : end - at;
    vask_stream_write(stream, signal->samples + at, n);
    segments += TakeEvents(stream, digest);
    if (mode == VASK_STREAM_CONTINUOUS) TakeAudio(stream, digest);
  }
  vask_stream_flush(stream);
  segments += TakeEvents(stream, digest);
  if (mode == VASK_STREAM_CONTINUOUS) TakeAudio(stream, digest);
  vask_stream_close(stream);
  return segments;
}

int RunAtRate(const Signal* signal, int32_t rate, int32_t piece, Result* result) {
  result->ends = RunStream(signal, VASK_STREAM_UTTERANCES, VASK_STREAM_CLEAN, rate, piece, &result->output);
  return result->ends >= 0 &&
         RunStream(signal, VASK_STREAM_CONTINUOUS, VASK_STREAM_RAW, rate, piece, &result->history) >= 0;
}
