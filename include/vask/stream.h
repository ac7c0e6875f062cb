/*
 * Streams: any number of front ends side by side, each with all its state behind its handle.
 *
 * 16-bit samples at 16 kHz are written in pieces of any length; out come the cleaned audio, frame for frame
 * the bits of the front end in frontend.h, and events that say where in the input each utterance lies.
 * Streams share nothing and take no lock: each may be used from another thread, but one only by one thread at
 * a time.
 *
 *   vask_stream_options options;
 *   vask_stream_defaults(&options);
 *   vask_stream *stream = vask_stream_open(&options);
 *   while ((n = record(samples)) > 0) {
 *     vask_stream_write(stream, samples, n);
 *     while (vask_stream_next(stream, &event) == 1) {
 *       if (event.kind != VASK_STREAM_ENDED) continue;
 *       while ((k = vask_stream_read(stream, speech, 320)) > 0) send(speech, k);
 *     }
 *   }
 *   vask_stream_flush(stream);   (and take what has come out, as above)
 *   vask_stream_close(stream);
 *
 * Positions count the samples of the input from 0, since vask_stream_open or vask_stream_reset; a span is
 * [first, one past the last]. Levels in dB full scale: 0 dB is a mean square of 32768 * 32768.
 */
#ifndef VASK_STREAM_H_
#define VASK_STREAM_H_

#include <stdint.h>

#include <vask/epd.h>
#include <vask/export.h>

VASK_BEGIN_DECLS

typedef struct vask_stream vask_stream;

/* What a stream puts out. */
enum {
  VASK_STREAM_CONTINUOUS = 1, /* every sample, in step with the input, silence of all zeros too; no events */
  VASK_STREAM_UTTERANCES = 2  /* events, and the audio of the utterances */
};

/* Which audio. */
enum {
  VASK_STREAM_CLEAN = 0,   /* noise-reduced */
  VASK_STREAM_RAW = 1,     /* the input as it was written, of the same span */
  VASK_STREAM_NO_AUDIO = 2 /* none: for callers who want the events, or the measures, only */
};

/* Kinds of event. Each VASK_STREAM_STARTED is followed by one of the other two. */
enum {
  VASK_STREAM_STARTED = 1,
  VASK_STREAM_ENDED = 2,   /* an utterance */
  VASK_STREAM_REJECTED = 3 /* what had started was none */
};

/* Why: how an utterance ended, or for what a segment was rejected. */
enum {
  VASK_STREAM_BY_SILENCE = 1, /* ended: hangover_frames without speech */
  VASK_STREAM_BY_LONG_NOISE =
      2,                        /* ended: longer than long_speech_frames, and unvoiced for max_unvoiced_run */
  VASK_STREAM_BY_INPUT_END = 3, /* ended: flushed while it was open */
  VASK_STREAM_BY_SPLIT = 4,     /* ended: longer than max_samples; the next one goes on from here */
  VASK_STREAM_TOO_SHORT = 11,   /* rejected: under 10 frames, or under min_samples */
  VASK_STREAM_TOO_LITTLE_VOICE = 12, /* rejected: 5 % voiced or less, or under min_voiced_frames */
  VASK_STREAM_TONES = 13             /* rejected: too many of its voiced frames are tones */
};

/* Errors: results below 0. */
enum {
  VASK_STREAM_BAD_ARGUMENT = -1,
  VASK_STREAM_FULL = -2,      /* the queue has reached its bound: take audio and events, then call again */
  VASK_STREAM_NO_MEMORY = -3, /* the queue could not grow; nothing is lost, the call may be repeated */
  VASK_STREAM_OVER = -4       /* flushed: reset it first */
};

/* How a stream works. Lengths in samples at 16 kHz. */
typedef struct vask_stream_options {
  int32_t mode;        /* VASK_STREAM_CONTINUOUS or _UTTERANCES */
  int32_t audio;       /* VASK_STREAM_CLEAN, _RAW or _NO_AUDIO */
  epd_profile profile; /* the detector's seventeen values */
  int32_t pad_start;   /* put out from so long before the detected start; -1: from 0.35 s before */
  int32_t pad_end;     /* and until so long after the detected end; -1: all that the hangover covers */
  int32_t min_samples; /* an utterance shorter than this from start to end is rejected; 0: none is */
  int32_t max_samples; /* none is put out longer than this: split where the last 2 s are quietest; 0: any,
                          else 24000 and more */
  int32_t min_voiced_frames; /* an utterance with fewer voiced frames is rejected; 0: none is */
  int32_t max_tone_percent;  /* and one with more tones than this among its frames that were voiced at first
                                sight (before smoothing); 100: none is */
  int32_t tone_tonality;     /* a frame of this tonality and more is a tone: Q16 */
  int32_t queue_samples;     /* most samples of audio that wait to be read, in storage that grows to twice as
                            many; 0: 10 minutes */
} vask_stream_options;

/* What happened, and where in the input. */
typedef struct vask_stream_event {
  int32_t kind;          /* VASK_STREAM_STARTED, _ENDED or _REJECTED */
  int32_t reason;        /* of the other two; 0 at a start */
  int32_t segment;       /* number of the segment from 1; those that are rejected count too */
  int32_t continues;     /* 1: it goes on where the segment before was split */
  int64_t start;         /* position of the detected start */
  int64_t end;           /* one past the detected end; -1 at a start */
  int64_t span_start;    /* first position that is put out, or would have been */
  int64_t span_end;      /* one past the last; -1 at a start */
  int64_t heard;         /* samples of the input that had been processed when this was decided */
  int32_t voiced_frames; /* voiced frames of the segment, as the detector counts them; 0 at a start */
  float voiced;          /* the same as a share of the frames from start to end, at most 1 */
  float level_db; /* mean level of the input from start to end, dB full scale; at a start of its frame */
} vask_stream_event;

/* The newest frame, for meters and traces. The detector hears 0.03 s behind the input. */
typedef struct vask_stream_measures {
  int64_t heard;       /* samples of the input that have been processed, whole frames */
  int64_t detector_at; /* position of the frame that the values below `level_db` belong to; -1: none yet */
  float level_db;      /* level of the newest frame of the input, dB full scale; -200 for silence of all
                          zeros, -112.4 and more for sound */
  float energy_db;     /* the detector's log energy, dB above its own silence */
  float noise_db;      /* the noise floor on the same scale */
  int32_t speech;      /* 1: speech, after onset and hangover */
  int32_t voiced;      /* 1: voiced, smoothed */
  int32_t open;        /* 1: a segment has started and is open */
} vask_stream_measures;

/**
 * Fill in the options of a front end as it is by itself: utterances, cleaned, the profile of device 2 and
 * system 2, no padding cut, nothing limited, nothing rejected beyond the detector's own rule.
 *
 * options  out: all fields
 */
VASK_API void vask_stream_defaults(vask_stream_options *options);

/**
 * Make options fit for rooms with much noise: the general profile with a shorter hangover and a more
 * sensitive detector, padding of 0.10 s and 0.25 s, and rejection of what holds fewer than 15 voiced frames,
 * fewer than 20 frames, or more than half tones. Other fields stay.
 *
 * options  in, out: filled by vask_stream_defaults
 */
VASK_API void vask_stream_robust(vask_stream_options *options);

/**
 * The built-in profile of a device.
 *
 * device   as deviceID; one that is not known counts as device 2
 * os       as osID
 * profile  out: the seventeen values
 */
VASK_API void vask_stream_profile(int32_t device, int32_t os, epd_profile *profile);

/**
 * Say what is wrong with options.
 *
 * options  in: the options
 *
 * A text such as "pad_start is not -1 to 16000000 samples", constant; null when nothing is wrong.
 */
VASK_API const char *vask_stream_complaint(const vask_stream_options *options);

/**
 * Open a stream. All memory is taken here (about 0.7 MB), but for the queue's growth up to its bound.
 *
 * options  in: the options, copied; null: those of vask_stream_defaults
 *
 * The stream; null if vask_stream_complaint has something to say or there is no memory.
 */
VASK_API vask_stream *vask_stream_open(const vask_stream_options *options);

/**
 * Write input. Every complete frame is processed at once; samples beyond the last one wait for more.
 *
 * stream   in, out: the stream
 * samples  in: n samples, 16 bits, 16 kHz; not changed
 * n        samples; any number
 *
 * The number of samples taken: n, or fewer when the queue has reached its bound before; then take audio and
 * events and write the rest. Never 0 for n above 0: that is VASK_STREAM_FULL.
 */
VASK_API int32_t vask_stream_write(vask_stream *stream, const int16_t *samples, int32_t n);

/**
 * End the input. Everything that was held back comes out; a segment that is still open becomes an utterance
 * if it holds 10 frames and more, and more than 5 % of them are voiced.
 *
 * stream  in, out: the stream
 *
 * 0; VASK_STREAM_FULL or VASK_STREAM_NO_MEMORY: take audio and events and call again. A second call does
 * nothing.
 */
VASK_API int32_t vask_stream_flush(vask_stream *stream);

/**
 * Take the next event, in their order.
 *
 * stream  in, out: the stream
 * event   out: the event
 *
 * 1; 0 with nothing written when there is none. What has not been read of the utterance before is dropped
 * when a VASK_STREAM_STARTED is taken.
 */
VASK_API int32_t vask_stream_next(vask_stream *stream, vask_stream_event *event);

/**
 * Take audio. In mode VASK_STREAM_UTTERANCES it is that of the segment whose event was taken last: after
 * VASK_STREAM_STARTED what is certain to belong to it so far, after VASK_STREAM_ENDED the rest, after
 * VASK_STREAM_REJECTED nothing. A whole utterance is span_end - span_start samples.
 *
 * stream   in, out: the stream
 * samples  out: up to max samples
 * max      samples that it holds
 *
 * The number of samples; 0 when there are none.
 */
VASK_API int32_t vask_stream_read(vask_stream *stream, int16_t *samples, int32_t max);

/**
 * The number of samples that vask_stream_read could give now.
 *
 * stream  in: the stream
 */
VASK_API int32_t vask_stream_available(const vask_stream *stream);

/**
 * The measures of the newest frame.
 *
 * stream    in: the stream
 * measures  out: the measures
 *
 * 0, or VASK_STREAM_BAD_ARGUMENT.
 */
VASK_API int32_t vask_stream_measure(const vask_stream *stream, vask_stream_measures *measures);

/**
 * Back to how it was opened: position 0, nothing heard, queue and events dropped. Allocates nothing.
 *
 * stream  in, out: the stream
 */
VASK_API void vask_stream_reset(vask_stream *stream);

/**
 * Close the stream and release everything.
 *
 * stream  the stream; null is harmless
 */
VASK_API void vask_stream_close(vask_stream *stream);

VASK_END_DECLS

#endif /* VASK_STREAM_H_ */
