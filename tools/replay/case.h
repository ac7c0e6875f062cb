/*
 * The lines of tests/replay/replay.txt, whose head explains them: those that say what to do fill in a case,
 * and an answer is written in the form of those that say what to expect.
 */
#ifndef VASK_REPLAY_CASE_H_
#define VASK_REPLAY_CASE_H_

#include <stdint.h>
#include <vask/stream.h>

#include "replay/signals.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { kReplayLine = 512, kReplayPieces = 32, kReplayPauses = 8 };

typedef struct replay_pause {
  int32_t at; /* samples that have been written */
  float seconds;
} replay_pause;

typedef struct replay_case {
  char name[kReplayLine];
  vask_stream_setup setup;
  int32_t pieces[kReplayPieces];
  int32_t piece_count;
  replay_pause pauses[kReplayPauses];
  int32_t pause_count;
  int16_t* samples; /* the input, from malloc */
  int32_t count;
  int32_t needs_room; /* 1: a part of the input is the recording */
} replay_case;

/* All audio that was read in a case. */
typedef struct replay_audio {
  int64_t samples;
  uint32_t crc; /* of CRC-32, before its last step */
} replay_audio;

/* What a line is. */
enum {
  kReplayNothing = 0, /* blank, or a comment */
  kReplayTask = 1,    /* what to do: it is now in the case */
  kReplayAnswer = 2,  /* what to expect: an event, the audio or the end */
  kReplayWrong = -1
};

/**
 * Take a line.
 *
 * c       in, out: the case; all zero before the first line. A line `case` begins it anew
 * line    without its end
 * room    the recording; without samples, what needs it is left out of the input
 *
 * return  what the line is
 */
int32_t replay_take(replay_case* c, const char* line, const signal_room* room);

/* The next pause that is due before a write with `at` samples behind it; `next` counts them from 0. Null:
 * none. */
const replay_pause* replay_due_pause(const replay_case* c, int32_t at, int32_t* next);

/* The length of a write: number `turn` from 0, with `at` samples behind it. */
int32_t replay_piece(const replay_case* c, int32_t turn, int32_t at);

void replay_start_audio(replay_audio* audio);
void replay_add_audio(replay_audio* audio, const int16_t* samples, int32_t n);

/* The lines of an event and of the audio, without their ends: kReplayLine characters at most. */
void replay_event_line(const vask_stream_event* event, char* line);
void replay_audio_line(const replay_audio* audio, char* line);

/* Release the input. */
void replay_close(replay_case* c);

#ifdef __cplusplus
}
#endif

#endif /* VASK_REPLAY_CASE_H_ */
