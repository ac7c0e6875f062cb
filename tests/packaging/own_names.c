/* A program that has its own Exp, filter and deviceID beside the archive in which only vask_ names are
 * visible. */
#include <stdio.h>
#include <string.h>
#include <vask/stream.h>

int Exp(int x);
int filter(int x);
extern int deviceID;

int deviceID = 7;
int Exp(int x) { return x + 1; }
int filter(int x) { return 2 * x; }

int main(void) {
  static int16_t samples[32000];
  vask_stream_event event;
  vask_stream_options options;
  vask_stream* stream;
  int starts = 0;
  for (int i = 0; i < 32000; ++i) samples[i] = (int16_t)(i / 80 % 2 == 0 ? i % 128 * 60 : -(i % 128) * 60);
  vask_stream_robust((vask_stream_defaults(&options), &options));
  stream = vask_stream_open(&options);
  if (stream == NULL || vask_stream_write(stream, samples, 32000) != 32000) return 1;
  vask_stream_flush(stream);
  while (vask_stream_next(stream, &event) == 1) starts += event.kind == VASK_STREAM_STARTED;
  vask_stream_close(stream);
  printf("%s: %d starts\n", vask_version(), starts);
  return starts > 0 && Exp(1) == 2 && filter(4) == 8 && deviceID == 7 ? 0 : 1;
}
