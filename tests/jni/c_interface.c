/*
 * The output of the C interface for the calling sequence of the Java test, as files to compare with, and the
 * built-in model as a file to open.
 *
 *   c_interface RECORDING.wav OUT_SAMPLES OUT_PACKETS OUT_MODEL
 */
#include <stdio.h>
#include <stdlib.h>
#include <vask/vask.h>

enum { kBuffer = 320, kPacket = 160, kMost = 160000 };

static const signed char model[] = {
#include "gate/tables/model.inc"
};
static int16_t recording[320000];
static int16_t taken[kMost];
static uint8_t stream[2 * kMost];

static size_t Load(const char* path) {
  FILE* file = fopen(path, "rb");
  if (file == NULL || fseek(file, 44, SEEK_SET) != 0) exit(2);
  const size_t n = fread(recording, 2, sizeof recording / 2, file);
  fclose(file);
  return n;
}

/* The first utterance, drained after each buffer. Amplified, so that many samples are clipped. */
static void Listen(size_t n, const char* out_path, int as_packets) {
  FILE* out = fopen(out_path, "wb");
  if (out == NULL || android_init_frontend(".", 2) != 1) exit(2);
  android_reset_frontend();
  refersh_adpcm_state();
  int ended = 0;
  for (size_t at = 0; at + kBuffer <= n && !ended; at += kBuffer) {
    int16_t buffer[kBuffer];
    for (int i = 0; i < kBuffer; ++i) {
      const int x = 8 * recording[at + (size_t)i];
      buffer[i] = (int16_t)(x > 32767 ? 32767 : x < -32768 ? -32768 : x);
    }
    ended = android_process_frame(kBuffer, buffer) == 1;
    if (as_packets) {
      const int32_t size = vask_take_packet_stream(kPacket, stream, sizeof stream, ended);
      fwrite(stream, 1, (size_t)size, out);
    } else {
      const int32_t count = android_get_frames(kMost, taken);
      fwrite(taken, 2, (size_t)count, out);
    }
  }
  android_stop_frontend();
  if (!ended || fclose(out) != 0) exit(3);
}

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  FILE* file = fopen(argv[4], "wb");
  if (file == NULL || fwrite(model, 1, sizeof model, file) != sizeof model || fclose(file) != 0) return 2;
  const size_t n = Load(argv[1]);
  Listen(n, argv[2], 0);
  Listen(n, argv[3], 1);
  return 0;
}
