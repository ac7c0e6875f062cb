/*
 * The input signals of the replay, in integer arithmetic that is exact in every language:
 * tests/replay/replay.txt defines them.
 */
#ifndef VASK_SIGNALS_H_
#define VASK_SIGNALS_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The recording that the generator `room` reads: 16 kHz. */
typedef struct signal_room {
  const int16_t* samples; /* null: there is none, and `room` is refused */
  int32_t count;
} signal_room;

/**
 * Make a signal.
 *
 * name     the generator's
 * args     its arguments, in the order of the definition
 * n        how many there are
 * room     the recording
 * samples  out: all of it; null: it is only counted
 *
 * return   the number of samples of the signal
 *          -1: there is no such generator, or its arguments are wrong
 */
int32_t signal_make(const char* name, const int32_t* args, int32_t n, const signal_room* room,
                    int16_t* samples);

#ifdef __cplusplus
}
#endif

#endif /* VASK_SIGNALS_H_ */
