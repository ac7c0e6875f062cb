/*
 * An application that has functions of its own under nearly every name that the library exports (traps.c,
 * made from the list), and runs the library over noise and a loud tone. A call made inside the library must
 * not reach them.
 */
#include <stdio.h>
#include <stdlib.h>

#include <vask/frontend.h>

void Caught(const char* name);
void Caught(const char* name) {
  fprintf(stderr, "the library called the application's %s\n", name);
  abort();
}

int main(void) {
  static int16_t samples[1600], out[1600];
  uint32_t random = 1;
  int32_t mode, piece, i, frames = 0;
  for (mode = 1; mode <= 4; ++mode) {
    if (android_init_frontend(".", mode) != 1) return 1;
    android_reset_frontend();
    for (piece = 0; piece < 60; ++piece) {
      /* a second of noise, a second of noise and a 200 Hz square wave, and so on: utterances begin and end */
      const int32_t tone = piece / 10 % 2 ? 8000 : 0;
      for (i = 0; i < 1600; ++i) {
        random = random * 1664525u + 1013904223u;
        samples[i] = (int16_t)((int32_t)(random >> 24) - 128 + (i / 40 % 2 ? tone : -tone));
      }
      android_process_frame(1600, samples);
      while (android_get_available_frames() > 0 && mode <= 2) frames += android_get_frames(1600, out);
      android_reset_frontend();
    }
    android_process_frame(0, NULL); /* wraps up the engine */
    android_stop_frontend();
  }
  /* mode 1 delivers every frame but the two that fill the history */
  if (frames < 6 * 16000 - 2 * 160) {
    fprintf(stderr, "only %d samples came out\n", (int)frames);
    return 1;
  }
  return 0;
}
