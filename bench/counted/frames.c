/*
 * The engine in mode 2 and SpeexDSP's preprocessor over the same speech in noise with pauses, to be counted
 * by plugin.c or timed.
 *
 *   frames engine|speexdsp SECONDS ROOM.wav   process so many seconds once
 *   frames time SECONDS ROOM.wav              the user time of both by turns, and their ratio
 *
 * ROOM.wav is 16 kHz mono 16-bit with a header of 44 bytes. Only integers make the material, so it is the
 * same on every machine.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>

#include <speex/speex_preprocess.h>
#include <vask/vask.h>

enum {
  kRate = 16000, /* Hz */
  kFrame = 160,
  kHeaderBytes = 44,
  kRoomFrames = 1870,        /* that are used */
  kMostOutput = 88 * kFrame, /* samples that one frame may return */
  kRounds = 5                /* timed runs of each */
};

/* What plugin.c counts begins and ends here. */
__attribute__((noinline, noclone)) void counting_starts(void) { __asm__ volatile("" ::: "memory"); }
__attribute__((noinline, noclone)) void counting_ends(void) { __asm__ volatile("" ::: "memory"); }

static int32_t Clip(int32_t value) { return value > 32767 ? 32767 : value < -32768 ? -32768 : value; }

static int16_t* ReadRoom(const char* path, int32_t* count) {
  FILE* const file = fopen(path, "rb");
  unsigned char bytes[2];
  int16_t* samples = NULL;
  *count = 0;
  if (file == NULL || fseek(file, 0, SEEK_END) != 0 || ftell(file) <= kHeaderBytes) return NULL;
  samples = malloc((size_t)ftell(file));
  fseek(file, kHeaderBytes, SEEK_SET);
  while (samples != NULL && fread(bytes, 1, 2, file) == 2)
    samples[(*count)++] = (int16_t)(bytes[0] | (bytes[1] << 8));
  fclose(file);
  return samples;
}

/* The sentences of the room with little between them, then its noise alone, again and again; each block of
 * these has its own gain, and noise of its own kind and level is added. */
static int16_t* MakeMaterial(const int16_t* room, int32_t count) {
  static const struct {
    int32_t first, end; /* frames of the room; the last is the pause */
  } pieces[] = {{70, 400}, {515, 735}, {875, 1140}, {1265, 1450}, {1590, 1870}, {0, 95}, {0, 95}, {0, 95}};
  static const int32_t gains_q8[] = {256, 128, 400, 64};  /* 0, -6, +4, -12 dB */
  static const int32_t levels[] = {0, 60, 250, 20, 1000}; /* peak of the added noise */
  const int32_t last = (int32_t)(sizeof pieces / sizeof *pieces) - 1;
  int16_t* const samples = malloc((size_t)count * sizeof *samples);
  uint32_t random = 1;
  int32_t i, block = 0, piece = 0, at = pieces[0].first * kFrame, dull_q8 = 0;
  if (samples == NULL) return NULL;
  for (i = 0; i < count; ++i) {
    const int32_t level = levels[block % 5];
    int32_t noise;
    random = random * 1664525u + 1013904223u;
    noise = (int32_t)(random >> 16) * (2 * level + 1) / 65536 - level;
    dull_q8 += (noise * 256 - dull_q8) / 8;
    samples[i] =
        (int16_t)Clip(room[at] * gains_q8[block % 4] / 256 + (block % 3 == 1 ? dull_q8 / 64 : noise));
    if (++at < pieces[piece].end * kFrame) continue;
    block += piece == last;
    piece = piece == last ? 0 : piece + 1;
    at = pieces[piece].first * kFrame;
  }
  return samples;
}

/* Each returns a check value of its output. */
static uint32_t RunEngine(const int16_t* samples, int32_t count) {
  static int16_t out[kMostOutput];
  int16_t frame[kFrame];
  uint32_t check = 0;
  int32_t at, i, produced = 0;
  if (Vask_epd_init(".", 2) != 1) exit(1);
  Vask_epd_wrapup(out, &produced);
  counting_starts();
  for (at = 0; at + kFrame <= count; at += kFrame) {
    int32_t result;
    memcpy(frame, samples + at, sizeof frame);
    result = Vask_epd_frames(frame, kFrame, out, &produced);
    for (i = 0; i < produced; ++i) check = check * 31 + (uint16_t)out[i];
    if (result == 1 || result == 2) Vask_epd_wrapup(out, &produced);
  }
  counting_ends();
  Vask_epd_stop();
  return check;
}

static uint32_t RunSpeexdsp(const int16_t* samples, int32_t count) {
  SpeexPreprocessState* const preprocessor = speex_preprocess_state_init(kFrame, kRate);
  int16_t frame[kFrame];
  uint32_t check = 0;
  int32_t at, i;
  int on = 1;
  if (preprocessor == NULL) exit(1);
  speex_preprocess_ctl(preprocessor, SPEEX_PREPROCESS_SET_DENOISE, &on);
  speex_preprocess_ctl(preprocessor, SPEEX_PREPROCESS_SET_VAD, &on);
  counting_starts();
  for (at = 0; at + kFrame <= count; at += kFrame) {
    memcpy(frame, samples + at, sizeof frame);
    if (speex_preprocess_run(preprocessor, frame) == 0) continue;
    for (i = 0; i < kFrame; ++i) check = check * 31 + (uint16_t)frame[i]; /* speech, as the engine returns */
  }
  counting_ends();
  speex_preprocess_state_destroy(preprocessor);
  return check;
}

static double UserSeconds(void) {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return (double)usage.ru_utime.tv_sec + 1e-6 * (double)usage.ru_utime.tv_usec;
}

static int Ascending(const void* a, const void* b) {
  return (*(const double*)a > *(const double*)b) - (*(const double*)a < *(const double*)b);
}

static void Time(const int16_t* samples, int32_t count) {
  double engine[kRounds], speexdsp[kRounds], ratios[kRounds];
  for (int i = 0; i < kRounds; ++i) {
    const double start = UserSeconds();
    double middle;
    RunEngine(samples, count);
    middle = UserSeconds();
    RunSpeexdsp(samples, count);
    engine[i] = middle - start;
    speexdsp[i] = UserSeconds() - middle;
    ratios[i] = engine[i] / speexdsp[i];
  }
  qsort(engine, kRounds, sizeof *engine, Ascending);
  qsort(speexdsp, kRounds, sizeof *speexdsp, Ascending);
  qsort(ratios, kRounds, sizeof *ratios, Ascending);
  printf("engine %.2f s, SpeexDSP %.2f s, ratio %.3f (medians of %d)\n", engine[kRounds / 2],
         speexdsp[kRounds / 2], ratios[kRounds / 2], kRounds);
}

int main(int argc, char** argv) {
  const int32_t count = argc == 4 ? atoi(argv[2]) * kRate : 0;
  int32_t room_count;
  const int16_t *room, *material;
  if (count <= 0) {
    fprintf(stderr, "usage: frames engine|speexdsp|time SECONDS ROOM.wav\n");
    return 2;
  }
  room = ReadRoom(argv[3], &room_count);
  material = room != NULL && room_count >= kRoomFrames * kFrame ? MakeMaterial(room, count) : NULL;
  if (material == NULL) {
    fprintf(stderr, "frames: %s cannot be read, or there is no memory\n", argv[3]);
    return 1;
  }
  if (strcmp(argv[1], "time") == 0)
    Time(material, count);
  else
    printf("frames %d check %08x\n", (int)(count / kFrame),
           (unsigned)(strcmp(argv[1], "engine") == 0 ? RunEngine : RunSpeexdsp)(material, count));
  return 0;
}
