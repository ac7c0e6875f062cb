/* A program that has its own Exp, filter and deviceID beside the archive in which only vask_ names are
   visible. Raw samples at 16 kHz on the standard input: five utterances. */
#include <stdio.h>
#include <vask/stream.h>

int Exp(int x);
int filter(int x);
extern int deviceID;

int deviceID = 7;
int Exp(int x) { return x + 1; }
int filter(int x) { return 2 * x; }

int main(void) {
  int16_t samples[320];
  vask_stream_event event;
  vask_stream* stream = vask_stream_open(NULL);
  size_t read;
  int ends = 0;
  if (stream == NULL) return 1;
  while ((read = fread(samples, sizeof samples[0], 320, stdin)) > 0) {
    vask_stream_write(stream, samples, (int32_t)read);
    while (vask_stream_next(stream, &event) == 1) ends += event.kind == VASK_STREAM_ENDED;
  }
  vask_stream_close(stream);
  printf("%s: %d ends\n", vask_version(), ends);
  return ends == 5 && Exp(1) == 2 && filter(4) == 8 && deviceID == 7 ? 0 : 1;
}
