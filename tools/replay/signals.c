/* Every intermediate is below 2^53. Where a quotient may be negative, Floor rounds it down. */
#include "replay/signals.h"

#include <string.h>

static int64_t Floor(int64_t value, int64_t by) { return value >= 0 ? value / by : -((by - 1 - value) / by); }

/* Multiplicative congruential: S. Park, K. Miller, Comm. ACM 31(10), 1988. 1 to 2^31 - 2. */
static int64_t Next(int64_t* state) { return *state = *state * 16807 % 2147483647; }

static int64_t Noise(int64_t* state, int64_t peak) { return Next(state) / 256 % (2 * peak + 1) - peak; }

/* Parabolas in place of half waves; a turn is 65536. */
static int64_t Wave(int64_t phase, int64_t peak) {
  const int64_t x = phase % 32768, height = x * (32768 - x) * peak / 268435456;
  return phase < 32768 ? height : -height;
}

enum { kVowels = 5, kFormants = 3, kSyllable = 3200, kConsonant = 600 };

/* 2 r cos(w) and r^2 in Q12 at 16 kHz; bandwidths 80, 110 and 160 Hz. */
static const int32_t kTurn[kVowels][kFormants] = {
    {7735, 7294, 4565}, {7890, 6014, 4462}, {8019, 4988, 3009}, {7863, 7585, 4641}, {8008, 7554, 5060}};
static const int32_t kDecay[kFormants] = {3969, 3923, 3847};

typedef struct Voice {
  int64_t random, vowel, period, wait, breath, last[kFormants], before[kFormants];
} Voice;

static int64_t NextOfVoice(Voice* v, int64_t i) {
  const int64_t t = i % kSyllable, voiced = t - kConsonant;
  const int64_t swell = voiced < 0 ? 0 : voiced * (kSyllable - kConsonant - voiced);
  int64_t x = 0;
  int k;
  if (t == 0) {
    v->vowel = Next(&v->random) / 256 % kVowels;
    v->period = 90 + Next(&v->random) / 256 % 60;
    v->wait = 0;
  }
  if (voiced >= 0 && v->wait > 0) {
    --v->wait;
  } else if (voiced >= 0) {
    x = swell;
    /* The pitch falls and trembles. */
    v->wait = v->period + voiced / 128 + Next(&v->random) / 256 % 9;
  }
  v->breath += Floor(x - v->breath, 4);
  x = v->breath;
  for (k = 0; k < kFormants; ++k) {
    const int64_t turn = kTurn[v->vowel][k], decay = kDecay[k];
    x = Floor((4096 - turn + decay) * x + turn * v->last[k] - decay * v->before[k], 4096);
    v->before[k] = v->last[k];
    v->last[k] = x;
  }
  x = Floor(x, 64) + Noise(&v->random, voiced < 0 ? 600 : 12 + swell / 8192);
  return x < -32768 ? -32768 : x > 32767 ? 32767 : x;
}

enum { kRoom, kSilence, kConstant, kNoise, kSquare, kClicks, kChirp, kVoice, kGenerators };

static const struct {
  const char* name;
  int32_t args;
} kForms[kGenerators] = {{"room", 3},   {"silence", 1}, {"constant", 2}, {"noise", 3},
                         {"square", 3}, {"clicks", 3},  {"chirp", 4},    {"voice", 3}};

static void Make(int form, const int32_t* args, const signal_room* room, int16_t* samples, int32_t count) {
  Voice voice = {0};
  int64_t random = 0, phase = 0, spoken = 0, value = 0, i;
  if (form == kNoise) random = args[2];
  if (form == kVoice) voice.random = args[2];
  for (i = 0; i < count; ++i) {
    switch (form) {
      case kRoom:
        value = room->samples[args[1] + i * 16000 / args[0]];
        break;
      case kConstant:
        value = args[1];
        break;
      case kNoise:
        value = Noise(&random, args[1]);
        break;
      case kSquare:
        value = i / args[1] % 2 == 0 ? args[2] : -1 - args[2];
        break;
      case kClicks:
        value = i % args[1] == args[1] - 1 ? args[2] : 0;
        break;
      case kChirp:
        value = Wave(phase, args[1]);
        phase = (phase + args[2] + (int64_t)(args[3] - args[2]) * i / count) % 65536;
        break;
      case kVoice:
        for (; spoken <= i * 16000 / args[0]; ++spoken) value = NextOfVoice(&voice, spoken);
        break;
      default:
        break;
    }
    samples[i] = (int16_t)value;
  }
}

static int IsIn(int32_t value, int32_t least, int32_t most) { return value >= least && value <= most; }

static int AreRight(int form, const int32_t* args, const signal_room* room) {
  switch (form) {
    case kRoom:
      return IsIn(args[0], 8000, 48000) && args[1] >= 0 && args[2] >= 1 && room->samples != NULL &&
             args[1] + (int64_t)(args[2] - 1) * 16000 / args[0] < room->count;
    case kConstant:
      return IsIn(args[1], -32768, 32767);
    case kNoise:
      return IsIn(args[1], 0, 32767) && IsIn(args[2], 1, 2147483646);
    case kSquare:
    case kClicks:
      return args[1] >= 1 && IsIn(args[2], 0, 32767);
    case kChirp:
      return IsIn(args[1], 0, 32767) && IsIn(args[2], 0, 32768) && IsIn(args[3], args[2], 32768);
    case kVoice:
      return IsIn(args[0], 8000, 48000) && IsIn(args[2], 1, 2147483646);
    default:
      return 1;
  }
}

int32_t signal_make(const char* name, const int32_t* args, int32_t n, const signal_room* room,
                    int16_t* samples) {
  int form = 0;
  int32_t count;
  while (form < kGenerators && strcmp(name, kForms[form].name) != 0) ++form;
  if (form == kGenerators || n != kForms[form].args) return -1;
  count = args[form == kRoom ? 2 : form == kVoice ? 1 : 0];
  if (count < 0 || !AreRight(form, args, room)) return -1;
  if (samples != NULL) Make(form, args, room, samples, count);
  return count;
}
