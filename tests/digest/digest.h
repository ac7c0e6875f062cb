/* Digests of what the library gives, and of what the program runs. */
#ifndef VASK_DIGEST_H_
#define VASK_DIGEST_H_

#include <stdint.h>
#include <vask/stream.h>

typedef struct {
  const char* name;
  int16_t* samples;
  int32_t count;
} Signal;

enum { kMadeSignals = 4 };
void MakeSignals(Signal* signals); /* names, samples and counts */

typedef struct {
  uint64_t hash; /* FNV-1a, 64 bits, of little-endian values */
  int64_t values;
} Digest;

typedef struct {
  Digest output;  /* samples or features, in order of arrival */
  Digest history; /* the log energies and extremes kept for the environment-change detection */
  int32_t ends;   /* utterances that ended or were dropped */
} Result;

void Start(Digest* digest);
void Add(Digest* digest, uint64_t value, int bytes);

/* A stream with the learned detector. `output`: its events and the listening audio of its utterances, written
 * in pieces; `history`: the probabilities of each step and the continuous audio. 0: there is no memory. */
int RunLearned(const Signal* signal, int32_t piece, Result* result);

/* A stream with the front end's own detector at this rate. `output`: its events and the cleaned audio of its
 * utterances at the same rate; `history`: the input, once to 16 kHz and back. 0: there is no memory. */
int RunAtRate(const Signal* signal, int32_t rate, int32_t piece, Result* result);
extern const int32_t kRates[]; /* but 16000; the last one is 0 */

/* What a stream has ready, with the audio of an utterance after its end. Returns the number of segments. */
int32_t TakeEvents(vask_stream* stream, Digest* digest);
void TakeAudio(vask_stream* stream, Digest* digest);

/* Force a level of the arithmetic. 0: the machine does not have it. */
int ForceLevelOfTheLibrary(const char* name);

#endif /* VASK_DIGEST_H_ */
