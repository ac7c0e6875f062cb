/* How long the native library takes for each of the runs in streams.mjs: a line of name and seconds for each.
 *
 *   streams SECONDS ROOM.wav
 */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <vask/stream.h>

enum { kRate = 16000, kHeaderBytes = 44, kPiece = 320, kMostSamples = 1 << 20 };

static const struct {
  const char* name;
  int32_t detector, audio;
} kRuns[] = {{"energy, clean", VASK_STREAM_ENERGY, VASK_STREAM_CLEAN},
             {"learned, none", VASK_STREAM_LEARNED, VASK_STREAM_NO_AUDIO},
             {"learned, listening", VASK_STREAM_LEARNED, VASK_STREAM_LISTENING}};

static int16_t room[kMostSamples];

static void Run(vask_stream* stream, int32_t length, int32_t seconds) {
  int16_t audio[4096];
  vask_stream_event event;
  int32_t written = 0;
  for (; written < seconds * kRate; written += kPiece) {
    vask_stream_write(stream, room + written % (length - kPiece), kPiece);
    while (vask_stream_next(stream, &event) == 1)
      while (vask_stream_read(stream, audio, 4096) > 0) continue;
  }
}

int main(int count, char** arguments) {
  const int32_t seconds = count > 2 ? atoi(arguments[1]) : 0;
  FILE* const file = count > 2 ? fopen(arguments[2], "rb") : NULL;
  int32_t length;
  size_t i;
  if (file == NULL || fseek(file, kHeaderBytes, SEEK_SET) != 0) return 1;
  length = (int32_t)fread(room, sizeof *room, kMostSamples, file);
  fclose(file);
  for (i = 0; i < sizeof kRuns / sizeof *kRuns; ++i) {
    vask_stream_setup setup;
    vask_stream* stream;
    clock_t started;
    vask_stream_setup_defaults(&setup, sizeof setup);
    setup.detector = kRuns[i].detector;
    setup.options.audio = kRuns[i].audio;
    stream = vask_stream_open_setup(&setup);
    if (stream == NULL) return 1;
    started = clock();
    Run(stream, length, seconds);
    printf("%s: %.4f\n", kRuns[i].name, (double)(clock() - started) / CLOCKS_PER_SEC);
    vask_stream_close(stream);
  }
  return 0;
}
