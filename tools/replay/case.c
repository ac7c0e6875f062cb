#include "replay/case.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kWords = 40, kArgs = 8 };

typedef struct Field {
  const char* name;
  size_t offset;
  int is_float;
} Field;

#define WHOLE(field) \
  { #field, offsetof(vask_stream_setup, field), 0 }
#define FLOAT(field) \
  { #field, offsetof(vask_stream_setup, field), 1 }
static const Field kFields[] = {WHOLE(detector),
                                WHOLE(options.mode),
                                WHOLE(options.audio),
                                WHOLE(options.profile.hangover_frames),
                                WHOLE(options.profile.long_speech_frames),
                                WHOLE(options.profile.max_unvoiced_run),
                                WHOLE(options.profile.vad_threshold),
                                WHOLE(options.profile.h2l_ratio_max),
                                WHOLE(options.profile.uv_energy_offset),
                                WHOLE(options.pad_start),
                                WHOLE(options.pad_end),
                                WHOLE(options.min_samples),
                                WHOLE(options.max_samples),
                                WHOLE(options.min_voiced_frames),
                                WHOLE(options.max_tone_percent),
                                WHOLE(options.tone_tonality),
                                WHOLE(options.queue_samples),
                                FLOAT(rules.open_probability),
                                FLOAT(rules.open),
                                FLOAT(rules.open_look_back),
                                FLOAT(rules.start_probability),
                                FLOAT(rules.close_probability),
                                FLOAT(rules.pause),
                                FLOAT(rules.close_look_back),
                                FLOAT(rules.shortest),
                                FLOAT(rules.mean_probability),
                                FLOAT(rules.margin_start),
                                FLOAT(rules.margin_end),
                                FLOAT(listening_floor_db),
                                FLOAT(listening_mix),
                                WHOLE(input_rate),
                                WHOLE(audio_rate),
                                FLOAT(may_end_after),
                                FLOAT(start_within)};

static int Set(vask_stream_setup* setup, const char* name, const char* value) {
  size_t i;
  for (i = 0; i < sizeof kFields / sizeof *kFields; ++i) {
    char* const field = (char*)setup + kFields[i].offset;
    if (strcmp(kFields[i].name, name) != 0) continue;
    if (kFields[i].is_float) {
      const float number = strtof(value, NULL);
      memcpy(field, &number, sizeof number);
    } else {
      const int32_t number = (int32_t)strtol(value, NULL, 10);
      memcpy(field, &number, sizeof number);
    }
    return 1;
  }
  return 0;
}

static int Numbers(char** words, int n, int32_t* numbers, int most) {
  int i;
  for (i = 0; i < n && i < most; ++i) numbers[i] = (int32_t)strtol(words[i], NULL, 10);
  return i;
}

static int AddInput(replay_case* c, char** words, int n, const signal_room* room) {
  int32_t args[kArgs], count;
  int16_t* samples;
  const int is_room = strcmp(words[0], "room") == 0;
  c->needs_room |= is_room;
  if (is_room && room->samples == NULL) return 1;
  n = Numbers(words + 1, n - 1, args, kArgs);
  count = signal_make(words[0], args, n, room, NULL);
  if (count < 0 || count > INT32_MAX / 2 - c->count) return 0;
  samples = (int16_t*)realloc(c->samples, (size_t)(c->count + count + 1) * sizeof *samples);
  if (samples == NULL) return 0;
  signal_make(words[0], args, n, room, samples + c->count);
  c->samples = samples;
  c->count += count;
  return 1;
}

static void Begin(replay_case* c, const char* name) {
  replay_close(c);
  memset(c, 0, sizeof *c);
  snprintf(c->name, sizeof c->name, "%s", name);
  vask_stream_setup_defaults(&c->setup, sizeof c->setup);
}

static int AddPause(replay_case* c, char** words) {
  if (c->pause_count == kReplayPauses) return 0;
  c->pauses[c->pause_count].at = (int32_t)strtol(words[0], NULL, 10);
  c->pauses[c->pause_count++].seconds = strtof(words[1], NULL);
  return 1;
}

static int Split(char* line, char** words) {
  int n = 0;
  char* at = line;
  while (n < kWords) {
    at += strspn(at, " ");
    if (*at == '\0') break;
    words[n++] = at;
    at += strcspn(at, " ");
    if (*at != '\0') *at++ = '\0';
  }
  return n;
}

int32_t replay_take(replay_case* c, const char* line, const signal_room* room) {
  char copy[kReplayLine], *words[kWords];
  int n, is_right;
  if (line[0] == '#') return kReplayNothing;
  if (strlen(line) >= sizeof copy) return kReplayWrong;
  n = Split(strcpy(copy, line), words);
  if (n == 0) return kReplayNothing;
  if (strcmp(words[0], "event") == 0 || strcmp(words[0], "audio") == 0 || strcmp(words[0], "end") == 0) {
    return c->piece_count > 0 ? kReplayAnswer : kReplayWrong;
  }
  is_right = 0;
  if (n == 2 && strcmp(words[0], "case") == 0) {
    Begin(c, words[1]);
    is_right = 1;
  } else if (n == 3 && strcmp(words[0], "set") == 0) {
    is_right = Set(&c->setup, words[1], words[2]);
  } else if (n > 1 && strcmp(words[0], "input") == 0) {
    is_right = AddInput(c, words + 1, n - 1, room);
  } else if (n > 1 && strcmp(words[0], "pieces") == 0) {
    c->piece_count = Numbers(words + 1, n - 1, c->pieces, kReplayPieces);
    is_right = c->pieces[0] > 0;
  } else if (n == 3 && strcmp(words[0], "pause") == 0) {
    is_right = AddPause(c, words + 1);
  }
  return is_right ? kReplayTask : kReplayWrong;
}

const replay_pause* replay_due_pause(const replay_case* c, int32_t at, int32_t* next) {
  return *next < c->pause_count && c->pauses[*next].at <= at ? &c->pauses[(*next)++] : NULL;
}

int32_t replay_piece(const replay_case* c, int32_t turn, int32_t at) {
  const int32_t n = c->pieces[turn % c->piece_count];
  return n < c->count - at ? n : c->count - at;
}

void replay_start_audio(replay_audio* audio) {
  audio->samples = 0;
  audio->crc = 0xffffffffu;
}

static uint32_t AddByte(uint32_t crc, unsigned byte) {
  int bit;
  crc ^= byte;
  for (bit = 0; bit < 8; ++bit) crc = crc & 1 ? crc >> 1 ^ 0xedb88320u : crc >> 1;
  return crc;
}

void replay_add_audio(replay_audio* audio, const int16_t* samples, int32_t n) {
  int32_t i;
  for (i = 0; i < n; ++i) {
    const uint16_t sample = (uint16_t)samples[i];
    audio->crc = AddByte(AddByte(audio->crc, sample & 0xff), sample >> 8);
  }
  audio->samples += n;
}

static uint32_t Bits(float value) {
  uint32_t bits;
  memcpy(&bits, &value, sizeof bits);
  return bits;
}

void replay_event_line(const vask_stream_event* e, char* line) {
  snprintf(line, kReplayLine,
           "event %s %s %" PRId32 " %" PRId32 " %" PRId64 " %" PRId64 " %" PRId64 " %" PRId64 " %" PRId64
           " %" PRId32 " %08" PRIx32 " %08" PRIx32,
           vask_stream_kind_name(e->kind), e->reason == 0 ? "none" : vask_stream_reason_name(e->reason),
           e->segment, e->continues, e->start, e->end, e->span_start, e->span_end, e->heard, e->voiced_frames,
           Bits(e->voiced), Bits(e->level_db));
}

void replay_audio_line(const replay_audio* audio, char* line) {
  snprintf(line, kReplayLine, "audio %" PRId64 " %08" PRIx32, audio->samples, ~audio->crc);
}

void replay_close(replay_case* c) {
  free(c->samples);
  c->samples = NULL;
  c->count = 0;
}
