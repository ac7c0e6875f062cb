/*
 * Replays a file of cases in plain C: the same input and the same calls, and every event and all audio must
 * be the same. The head of replay.txt explains its lines.
 *
 *   vask-replay REPLAY.txt ROOM.wav        replay it
 *   vask-replay make REPLAY.txt ROOM.wav   print it with what this library answers
 */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vask/stream.h>

#include "signals/signals.h"

enum { kLine = 512, kWords = 64, kMostSamples = 1 << 21, kHeaderBytes = 44, kPieces = 32 };

typedef struct Case {
  char name[kLine];
  vask_stream_setup setup;
  int32_t pieces[kPieces], piece_count;
  int is_over; /* the input has been played */
  int32_t count;
  int16_t samples[kMostSamples];
} Case;

/* What the library answered: lines that wait to be compared or printed. */
typedef struct Answers {
  char* text;
  size_t length, room;
} Answers;

static void Fail(const char* what, const char* which) {
  fprintf(stderr, "vask-replay: %s%s\n", what, which);
  exit(2);
}

static void Answer(Answers* answers, const char* line) {
  const size_t length = strlen(line);
  if (answers->length + length + 1 > answers->room) {
    answers->room = 2 * answers->room + kLine;
    answers->text = (char*)realloc(answers->text, answers->room);
    if (answers->text == NULL) Fail("there is no memory", "");
  }
  memcpy(answers->text + answers->length, line, length + 1);
  answers->length += length;
}

/* --- the lines of a case */

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

static int AddInput(Case* c, char** words, int n, const signal_room* room) {
  int32_t args[8], count;
  if (n < 1) return 0;
  n = Numbers(words + 1, n - 1, args, 8);
  count = signal_make(words[0], args, n, room, NULL);
  if (count < 0 || count > kMostSamples - c->count) return 0;
  signal_make(words[0], args, n, room, c->samples + c->count);
  c->count += count;
  return 1;
}

static void OpenCase(Case* c, const char* name) {
  snprintf(c->name, sizeof c->name, "%s", name);
  vask_stream_setup_defaults(&c->setup, sizeof c->setup);
  c->piece_count = c->count = c->is_over = 0;
}

/* Take a line that says what to do. 0: it is another or a wrong one. */
static int Take(Case* c, char** words, int n, const signal_room* room) {
  if (n == 2 && strcmp(words[0], "case") == 0) {
    OpenCase(c, words[1]);
  } else if (n == 3 && strcmp(words[0], "set") == 0) {
    return Set(&c->setup, words[1], words[2]);
  } else if (strcmp(words[0], "input") == 0) {
    return AddInput(c, words + 1, n - 1, room);
  } else if (n > 1 && strcmp(words[0], "pieces") == 0) {
    c->piece_count = Numbers(words + 1, n - 1, c->pieces, kPieces);
  } else {
    return 0;
  }
  return 1;
}

/* --- playing it */

static uint32_t Crc(uint32_t crc, unsigned byte) {
  int bit;
  crc ^= byte;
  for (bit = 0; bit < 8; ++bit) crc = crc & 1 ? crc >> 1 ^ 0xedb88320u : crc >> 1;
  return crc;
}

typedef struct Audio {
  int64_t samples;
  uint32_t crc;
} Audio;

static void TakeAudio(vask_stream* stream, Audio* audio) {
  int16_t samples[1000];
  int32_t i, n;
  while ((n = vask_stream_read(stream, samples, 1000)) > 0) {
    for (i = 0; i < n; ++i) {
      audio->crc = Crc(audio->crc, (uint16_t)samples[i] & 0xff);
      audio->crc = Crc(audio->crc, (uint16_t)samples[i] >> 8);
    }
    audio->samples += n;
  }
}

static uint32_t Bits(float value) {
  uint32_t bits;
  memcpy(&bits, &value, sizeof bits);
  return bits;
}

static void TakeAll(vask_stream* stream, int32_t mode, Audio* audio, Answers* answers) {
  vask_stream_event e;
  char line[kLine];
  while (vask_stream_next(stream, &e) == 1) {
    snprintf(line, sizeof line,
             "event %s %s %" PRId32 " %" PRId32 " %" PRId64 " %" PRId64 " %" PRId64 " %" PRId64 " %" PRId64
             " %" PRId32 " %08" PRIx32 " %08" PRIx32 "\n",
             vask_stream_kind_name(e.kind), e.reason == 0 ? "none" : vask_stream_reason_name(e.reason),
             e.segment, e.continues, e.start, e.end, e.span_start, e.span_end, e.heard, e.voiced_frames,
             Bits(e.voiced), Bits(e.level_db));
    Answer(answers, line);
    if (mode == VASK_STREAM_UTTERANCES) TakeAudio(stream, audio);
  }
  if (mode == VASK_STREAM_CONTINUOUS) TakeAudio(stream, audio);
}

static void Play(const Case* c, Answers* answers) {
  const int32_t mode = c->setup.options.mode;
  vask_stream* const stream = vask_stream_open_setup(&c->setup);
  const char* const complaint = vask_stream_setup_complaint(&c->setup);
  Audio audio = {0, 0xffffffff};
  char line[kLine];
  int32_t at = 0, piece = 0;
  if (stream == NULL || c->piece_count == 0) Fail(complaint != NULL ? complaint : "no pieces: ", c->name);
  while (at < c->count) {
    int32_t n = c->pieces[piece++ % c->piece_count];
    if (n > c->count - at) n = c->count - at;
    if (vask_stream_write(stream, c->samples + at, n) != n) Fail("a piece is refused: ", c->name);
    at += n;
    TakeAll(stream, mode, &audio, answers);
  }
  if (vask_stream_flush(stream) != 0) Fail("flushing failed: ", c->name);
  TakeAll(stream, mode, &audio, answers);
  vask_stream_close(stream);
  snprintf(line, sizeof line, "audio %" PRId64 " %08" PRIx32 "\nend\n", audio.samples, ~audio.crc);
  Answer(answers, line);
}

/* --- the file */

static int Split(char* line, char** words) {
  int n = 0;
  char* word;
  for (word = strtok(line, " \r\n"); word != NULL && n < kWords; word = strtok(NULL, " \r\n"))
    words[n++] = word;
  return n;
}

static int IsAnswer(const char* word) {
  return strcmp(word, "event") == 0 || strcmp(word, "audio") == 0 || strcmp(word, "end") == 0;
}

/* Compare a line with the next answer, or print the answers at the end of the case. 0: it differs. */
static int Check(const Case* c, const char* line, size_t* checked, Answers* answers, int is_made) {
  const char* const answer = answers->text + *checked;
  const size_t length = strcspn(answer, "\n");
  if (is_made) {
    if (strncmp(line, "end", 3) == 0) fputs(answers->text, stdout);
    return 1;
  }
  *checked += length + (answer[length] != '\0');
  if (strlen(line) == length && strncmp(line, answer, length) == 0) return 1;
  printf("replay: case %s differs: expected %s, got %.*s\n", c->name, line, (int)length, answer);
  return 0;
}

static int Replay(FILE* file, const signal_room* room, int is_made) {
  static Case c;
  Answers answers = {NULL, 0, 0};
  size_t checked = 0;
  int cases = 0;
  char line[kLine], copy[kLine];
  while (fgets(line, sizeof line, file) != NULL) {
    char* words[kWords];
    int n;
    line[strcspn(line, "\r\n")] = '\0';
    memcpy(copy, line, sizeof copy);
    n = line[0] == '#' ? 0 : Split(copy, words);
    if (n > 0 && IsAnswer(words[0])) {
      if (!c.is_over) {
        c.is_over = 1;
        answers.length = checked = 0;
        Play(&c, &answers);
      }
      if (!Check(&c, line, &checked, &answers, is_made)) return 1;
      cases += strcmp(words[0], "end") == 0;
      continue;
    }
    if (n > 0 && !Take(&c, words, n, room)) Fail("this line is wrong: ", line);
    if (is_made) puts(line);
  }
  free(answers.text);
  if (cases == 0) Fail("there are no cases", "");
  if (!is_made) printf("replay: %d cases, the same bits\n", cases);
  return 0;
}

static signal_room ReadRoom(const char* path) {
  static int16_t samples[kMostSamples];
  unsigned char bytes[2];
  signal_room room = {samples, 0};
  FILE* const file = fopen(path, "rb");
  if (file == NULL || fseek(file, kHeaderBytes, SEEK_SET) != 0) Fail("cannot read ", path);
  while (room.count < kMostSamples && fread(bytes, 1, 2, file) == 2) {
    samples[room.count++] = (int16_t)(bytes[0] | bytes[1] << 8);
  }
  fclose(file);
  return room;
}

int main(int argc, char** argv) {
  const int is_made = argc > 1 && strcmp(argv[1], "make") == 0;
  FILE* file;
  signal_room room;
  int result;
  argv += is_made;
  if (argc - is_made != 3) {
    fprintf(stderr, "usage: vask-replay [make] REPLAY.txt ROOM.wav\n");
    return 2;
  }
  file = fopen(argv[1], "r");
  if (file == NULL) Fail("cannot read ", argv[1]);
  room = ReadRoom(argv[2]);
  result = Replay(file, &room, is_made);
  fclose(file);
  return result;
}
