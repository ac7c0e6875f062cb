/* Signals beside the recording, made in integer arithmetic: loud and faint, sudden and constant. */
#include "digest.h"

enum { kSecond = 16000, kMost = 12 * kSecond };

static uint32_t Random(uint32_t* state) {
  *state = *state * 1664525u + 1013904223u;
  return *state >> 16;
}

/* Noise that grows from silence to full scale, with two seconds of silence in it. */
static void MakeNoise(Signal* signal) {
  uint32_t state = 1;
  int32_t i;
  for (i = 0; i < signal->count; ++i) {
    const int32_t peak = 1 + (int32_t)((int64_t)i * 32767 / signal->count);
    const int32_t value = (int32_t)(Random(&state) % (uint32_t)(2 * peak)) - peak;
    signal->samples[i] = (int16_t)(i / kSecond == 5 || i / kSecond == 6 ? 0 : value);
  }
}

/* Faint noise, then every second a burst of a full-scale square wave of a different pitch. */
static void MakeSquares(Signal* signal) {
  uint32_t state = 2;
  int32_t i;
  for (i = 0; i < signal->count; ++i) {
    const int32_t second = i / kSecond, half = 20 + 13 * second;
    const int loud = second > 0 && i % kSecond < 7000;
    signal->samples[i] =
        (int16_t)(loud ? (i / half % 2 ? 32767 : -32768) : (int32_t)(Random(&state) % 9) - 4);
  }
}

/* Half a second of the faintest noise, then as long of something at full scale, which has no warning. */
static void MakeSteps(Signal* signal) {
  static const int32_t kConstants[] = {32767, -32768, 1000, -1};
  uint32_t state = 3;
  int32_t i;
  for (i = 0; i < signal->count; ++i) {
    const int32_t random = (int32_t)Random(&state), part = i / (kSecond / 2);
    int32_t value = random % 3 - 1;
    if (part == 1) value = random - 32768;
    if (part == 3) value = i % 2 ? 32767 : -32768;
    if (part == 5) value = i % 160 ? 0 : 32767;
    if (part > 5 && part % 2 == 1) value = kConstants[part / 2 % 4];
    signal->samples[i] = (int16_t)value;
  }
}

/* Chirps from 0 to 8 kHz, each half as loud as the one before: from full scale to the lowest bit. A period is
 * two parabolas. */
static void MakeChirps(Signal* signal) {
  enum { kLength = 6000 };
  int32_t i, phase = 0;
  for (i = 0; i < signal->count; ++i) {
    const int32_t at = i % kLength, size = phase < 32768 ? phase : phase - 32768;
    const int32_t arc = (int32_t)((int64_t)size * (32768 - size) * 4 / 32769);
    const int32_t value = (int32_t)((int64_t)arc * ((32767 >> (i / kLength)) + 1) / 32768);
    signal->samples[i] = (int16_t)(phase < 32768 ? value : -value);
    phase = (phase + at * 32768 / kLength) % 65536;
  }
}

void MakeSignals(Signal* signals) {
  static const struct {
    const char* name;
    int32_t count;
    void (*make)(Signal* signal);
  } kMade[kMadeSignals] = {{"noise", kMost, MakeNoise},
                           {"squares", kMost, MakeSquares},
                           {"steps", 7 * kSecond, MakeSteps},
                           {"chirps", 6 * kSecond, MakeChirps}};
  static int16_t samples[kMadeSignals][kMost];
  int32_t i;
  for (i = 0; i < kMadeSignals; ++i) {
    signals[i].name = kMade[i].name;
    signals[i].samples = samples[i];
    signals[i].count = kMade[i].count;
    kMade[i].make(&signals[i]);
  }
}
