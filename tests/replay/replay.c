/*
 * Replays a file of cases in plain C: the same input and the same calls, and every event and all audio must
 * be the same. The head of replay.txt explains its lines.
 *
 *   vask-replay REPLAY.txt ROOM.wav        replay it
 *   vask-replay make REPLAY.txt ROOM.wav   print it with what this library answers
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vask/stream.h>

#include "replay/case.h"

enum { kMostSamples = 1 << 20, kHeaderBytes = 44 };

/* What the library answers to a case: lines that wait to be compared or printed. */
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
  if (answers->length + length + 2 > answers->room) {
    answers->room = 2 * answers->room + kReplayLine;
    answers->text = (char*)realloc(answers->text, answers->room);
    if (answers->text == NULL) Fail("there is no memory", "");
  }
  memcpy(answers->text + answers->length, line, length);
  memcpy(answers->text + answers->length + length, "\n", 2);
  answers->length += length + 1;
}

static void TakeAudio(vask_stream* stream, replay_audio* audio) {
  int16_t samples[1000];
  int32_t n;
  while ((n = vask_stream_read(stream, samples, 1000)) > 0) replay_add_audio(audio, samples, n);
}

static void TakeAll(vask_stream* stream, int32_t mode, replay_audio* audio, Answers* answers) {
  vask_stream_event event;
  char line[kReplayLine];
  while (vask_stream_next(stream, &event) == 1) {
    replay_event_line(&event, line);
    Answer(answers, line);
    if (mode == VASK_STREAM_UTTERANCES) TakeAudio(stream, audio);
  }
  if (mode == VASK_STREAM_CONTINUOUS) TakeAudio(stream, audio);
}

static void Play(const replay_case* c, Answers* answers) {
  const int32_t mode = c->setup.options.mode;
  const char* const complaint = vask_stream_setup_complaint(&c->setup);
  vask_stream* const stream = vask_stream_open_setup(&c->setup);
  replay_audio audio;
  char line[kReplayLine];
  int32_t at = 0, turn = 0, paused = 0, n;
  const replay_pause* pause;
  if (stream == NULL) Fail(complaint != NULL ? complaint : "there is no memory for ", c->name);
  replay_start_audio(&audio);
  for (; at < c->count; at += n) {
    n = replay_piece(c, turn++, at);
    while ((pause = replay_due_pause(c, at, &paused)) != NULL) {
      if (vask_stream_set_pause(stream, pause->seconds) != 0) Fail("a pause is refused in ", c->name);
    }
    if (vask_stream_write(stream, c->samples + at, n) != n) Fail("a piece is refused in ", c->name);
    TakeAll(stream, mode, &audio, answers);
  }
  if (vask_stream_flush(stream) != 0) Fail("the input cannot be ended in ", c->name);
  TakeAll(stream, mode, &audio, answers);
  vask_stream_close(stream);
  replay_audio_line(&audio, line);
  Answer(answers, line);
  Answer(answers, "end");
}

/* Is the line the next answer? */
static int IsNext(const char* line, const char* answer) {
  const size_t length = strcspn(answer, "\n");
  return strlen(line) == length && strncmp(line, answer, length) == 0;
}

static int Replay(FILE* file, const signal_room* room, int is_made) {
  replay_case c = {0};
  Answers answers = {NULL, 0, 0};
  const char* next = NULL; /* in the answers; null: the case has not been played */
  char line[kReplayLine];
  int cases = 0, is_different = 0;
  while (!is_different && fgets(line, sizeof line, file) != NULL) {
    int32_t kind;
    line[strcspn(line, "\r\n")] = '\0';
    kind = replay_take(&c, line, room);
    if (kind == kReplayWrong) Fail("this line is wrong: ", line);
    if (kind != kReplayAnswer) {
      if (is_made) puts(line);
      next = NULL;
      continue;
    }
    if (next == NULL) {
      answers.length = 0;
      Play(&c, &answers);
      next = answers.text;
      ++cases;
      if (is_made) fputs(answers.text, stdout);
    }
    if (is_made) continue;
    is_different = !IsNext(line, next);
    if (is_different) {
      printf("replay: case %s differs: expected %s, got %.*s\n", c.name, line, (int)strcspn(next, "\n"),
             next);
    }
    next += strcspn(next, "\n");
    next += *next == '\n';
  }
  replay_close(&c);
  free(answers.text);
  if (cases == 0) Fail("there are no cases", "");
  if (!is_made && !is_different) printf("replay: %d cases, the same bits\n", cases);
  return is_different;
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
  if (argc - is_made != 3) {
    fprintf(stderr, "usage: vask-replay [make] REPLAY.txt ROOM.wav\n");
    return 2;
  }
  file = fopen(argv[1 + is_made], "r");
  if (file == NULL) Fail("cannot read ", argv[1 + is_made]);
  room = ReadRoom(argv[2 + is_made]);
  result = Replay(file, &room, is_made);
  fclose(file);
  return result;
}
