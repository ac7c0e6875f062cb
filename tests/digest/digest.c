/*
 * The whole front end in one line per mode: a digest of everything that it returned for a recording. The
 * digests are the same for every piece size, compiler, optimisation level and processor, which is what this
 * checks.
 *
 *   vask-digest print FILE.wav [PIECE...]               print the digests, as in expected.txt
 *   vask-digest check EXPECTED.txt FILE.wav [PIECE...]  compare them with those lines
 *
 * --cpu LEVEL before these runs the forms of that level; the exit status is 77 if the machine does not have
 * it. FILE.wav is 16 kHz mono 16-bit with a header of 44 bytes. A PIECE is the number of samples passed per
 * call, 160 by default. Besides the recording there are the signals of signals.c.
 */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vask/vask.h>

#include "digest.h"

enum {
  kFrame = 160,
  kBlock = 100 * kFrame, /* samples between two chances to reset the front end, whatever the piece size */
  kTail = 350 * kFrame,  /* silence after the input, so that an open utterance ends */
  kHeaderBytes = 44,
  kMostSamples = 1 << 22, /* of a recording */
  kMaxPiece = kBlock,
  kLearned = 5 /* the streams with the learned detector, counted as one more mode */
};

static void Drain(Digest* digest, int32_t mode) {
  static int16_t frames[kBlock];
  static int32_t features[kBlock];
  while (android_get_available_frames() > 0) {
    int32_t i, count;
    if (mode <= 2) {
      count = android_get_frames(kBlock, frames);
      for (i = 0; i < count; ++i) Add(digest, (uint16_t)frames[i], 2);
    } else {
      count = android_get_features(kBlock, features);
      for (i = 0; i < count; ++i) Add(digest, (uint32_t)features[i], 4);
    }
  }
}

/* All input has been processed: add the histories to the digest and clear the positions. */
static void TakeHistory(Digest* digest) {
  int32_t i;
  for (i = 0; i < ecdorgFrames; ++i) {
    uint32_t bits;
    memcpy(&bits, &ecdorgLFBE[i], sizeof bits);
    Add(digest, bits, 4);
  }
  Add(digest, (uint16_t)sample_min, 2);
  Add(digest, (uint16_t)sample_max, 2);
  android_reset_frontend();
}

static int Run(const Signal* signal, int32_t mode, int32_t piece, Result* result) {
  static int16_t buffer[kMaxPiece]; /* the front end clips in place */
  int32_t at = 0, nothing = 0, count = 0;
  const int32_t end = signal->count / kFrame * kFrame + kTail;
  memset(buffer, 0, sizeof buffer);
  Start(&result->output);
  Start(&result->history);
  result->ends = 0;
  if (android_init_frontend(".", mode) != 1) {
    fprintf(stderr, "vask-digest: the front end cannot be initialised\n");
    return 0;
  }
  /* A restart in mode 1 is reported by the next frame in another mode: keep it out of the run that follows.
   */
  Vask_epd_features(buffer, kFrame, &nothing, &count);
  android_wrapup_frontend();
  android_reset_frontend();
  while (at < end) {
    int32_t i, n = piece, ended;
    if (n > kBlock - at % kBlock)
      n = kBlock - at % kBlock; /* pieces of every size end at the block boundaries */
    if (n > end - at) n = end - at;
    for (i = 0; i < n; ++i) buffer[i] = at + i < signal->count ? signal->samples[at + i] : 0;
    at += n;
    /* After the end of an utterance the frames that are still waiting go on with the next one. */
    for (ended = android_process_frame(n, buffer); mode > 1 && ended == 1;
         ended = android_process_frame(0, buffer)) {
      const int32_t length = android_get_available_frames();
      result->ends++;
      Add(&result->output, (uint32_t)length, 4);
      Drain(&result->output, mode);
    }
    if (mode == 1) Drain(&result->output, mode);
    /* An utterance that is still open stays in the queue: it may yet be rejected. */
    if (at % kBlock == 0 && android_get_available_frames() == 0) TakeHistory(&result->history);
  }
  android_stop_frontend();
  return 1;
}

static int ReadWav(const char* path, Signal* signal) {
  static int16_t samples[kMostSamples];
  unsigned char bytes[2];
  FILE* file = fopen(path, "rb");
  signal->samples = samples;
  if (file != NULL && fseek(file, kHeaderBytes, SEEK_SET) == 0) {
    while (signal->count < kMostSamples && fread(bytes, 1, 2, file) == 2)
      samples[signal->count++] = (int16_t)(bytes[0] | (bytes[1] << 8));
  }
  if (file != NULL) fclose(file);
  if (signal->count == 0) fprintf(stderr, "vask-digest: cannot read %s\n", path);
  return signal->count > 0;
}

/* Is this line among the expected ones? */
static int IsExpected(FILE* expected, const char* line) {
  char kept[256];
  rewind(expected);
  while (fgets(kept, sizeof kept, expected) != NULL) {
    kept[strcspn(kept, "\r\n")] = '\0';
    if (strcmp(kept, line) == 0) return 1;
  }
  return 0;
}

/* Print a line, or say that it is not an expected one. Returns 1 if it is not. */
static int Report(FILE* expected, const char* what, const Result* result, int32_t piece) {
  char line[256];
  int different = 0;
  snprintf(line, sizeof line, "%s: %" PRId32 " ends, %" PRId64 " values %016" PRIx64 ", history %016" PRIx64,
           what, result->ends, result->output.values, result->output.hash, result->history.hash);
  if (expected == NULL) {
    printf("%s\n", line);
  } else if (!IsExpected(expected, line)) {
    printf("not expected, in pieces of %" PRId32 ": %s\n", piece, line);
    different = 1;
  }
  fflush(stdout);
  return different;
}

static int Usage(void) {
  fprintf(stderr,
          "usage: vask-digest [--cpu LEVEL] print FILE.wav [PIECE...]\n"
          "       vask-digest [--cpu LEVEL] check EXPECTED.txt FILE.wav [PIECE...]\n");
  return 2;
}

int main(int argc, char** argv) {
  static Signal signals[1 + kMadeSignals];
  const char* slash;
  FILE* expected = NULL;
  int first, i, different = 0, lines = 0;
  if (argc > 2 && strcmp(argv[1], "--cpu") == 0) {
    if (!ForceLevelOfTheLibrary(argv[2])) {
      fprintf(stderr, "vask-digest: this machine does not have the level %s\n", argv[2]);
      return 77;
    }
    argc -= 2;
    argv += 2;
  }
  if (argc > 2 && strcmp(argv[1], "print") == 0) {
    first = 2;
  } else if (argc > 3 && strcmp(argv[1], "check") == 0) {
    first = 3;
    expected = fopen(argv[2], "r");
    if (expected == NULL) {
      fprintf(stderr, "vask-digest: cannot read %s\n", argv[2]);
      return 2;
    }
  } else {
    return Usage();
  }
  if (!ReadWav(argv[first], &signals[0])) return 2;
  slash = strrchr(argv[first], '/');
  signals[0].name = slash != NULL ? slash + 1 : argv[first];
  MakeSignals(signals + 1);

  for (i = first + 1; i < argc || i == first + 1; ++i) {
    const int32_t piece = i < argc ? (int32_t)strtol(argv[i], NULL, 10) : kFrame;
    size_t s;
    const int32_t* rate;
    int32_t mode;
    if (piece < 1 || piece > kMaxPiece) return Usage();
    for (s = 0; s < sizeof signals / sizeof *signals; ++s) {
      char what[128];
      Result result;
      for (mode = 1; mode <= kLearned; ++mode, ++lines) {
        if (mode == kLearned && vask_model_digest(NULL) == 0) break; /* no model is built in */
        if (!(mode == kLearned ? RunLearned(&signals[s], piece, &result)
                               : Run(&signals[s], mode, piece, &result)))
          return 1;
        snprintf(what, sizeof what, "%s mode %" PRId32, signals[s].name, mode);
        different += Report(expected, what, &result, piece);
      }
      for (rate = kRates; *rate != 0; ++rate, ++lines) {
        if (!RunAtRate(&signals[s], *rate, piece, &result)) return 1;
        snprintf(what, sizeof what, "%s at %" PRId32 " Hz", signals[s].name, *rate);
        different += Report(expected, what, &result, piece);
      }
    }
  }
  if (expected == NULL) return 0;
  fclose(expected);
  printf("%d digests compared, %d different\n", lines, different);
  return different > 0;
}
