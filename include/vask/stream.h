/*
 * Streams: any number of front ends side by side, each with all its state behind its handle.
 *
 * 16-bit samples are written in pieces of any length, at 16 kHz or one of eight other rates; out come audio
 * and events that say where in the input each utterance is. There are two detectors. With the front end's
 * own, the cleaned audio is that of the front end in frontend.h, bit for bit. The learned one depends neither
 * on the level nor on what came before, and is the better one for recordings that are quiet, noisy or full of
 * music. Streams share nothing and take no lock: each may be used from a different thread, but only by one
 * thread at a time.
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
 * Positions count the samples of the input, at its own rate, from 0, since vask_stream_open or
 * vask_stream_reset; a span is [first, one past the last]. Levels in dB full scale: 0 dB is a mean square of
 * 32768 * 32768.
 *
 * The learned detector is chosen in a setup:
 *
 *   vask_stream_setup setup;
 *   vask_stream_setup_defaults(&setup, sizeof setup);
 *   setup.detector = VASK_STREAM_LEARNED;
 *   vask_stream *stream = vask_stream_open_setup(&setup);
 *
 * Rates: 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 and 48000 Hz. Detectors and noise reduction
 * work at 16 kHz; conversion is in integers, and its delay is taken out of the positions.
 */
#ifndef VASK_STREAM_H_
#define VASK_STREAM_H_

#include <stdint.h>

#include <vask/export.h>
#include <vask/profile.h>

VASK_BEGIN_DECLS

typedef struct vask_stream vask_stream;

/* What a stream delivers. */
enum {
  VASK_STREAM_CONTINUOUS = 1, /* every sample, in step with the input, all-zero silence too; no events */
  VASK_STREAM_UTTERANCES = 2  /* events, and the audio of the utterances */
};

/* Which audio. */
enum {
  VASK_STREAM_CLEAN = 0,    /* noise-reduced, for a recogniser */
  VASK_STREAM_RAW = 1,      /* the input as it was written, of the same span */
  VASK_STREAM_NO_AUDIO = 2, /* none: for callers that want only the events or the measures */
  VASK_STREAM_LISTENING = 3 /* noise-reduced, for people to listen to; only with the learned detector */
};

/* Which detector decides where utterances are. */
enum {
  VASK_STREAM_ENERGY = 0, /* the front end's own: levels, tonality and voicing against the learned noise */
  VASK_STREAM_LEARNED = 1 /* a small recurrent net on log-mel energies and periodicity */
};

/* Kinds of event. Each VASK_STREAM_STARTED is followed by VASK_STREAM_ENDED or VASK_STREAM_REJECTED, at the
   latest when the stream is flushed. The last three kinds come only where a setup asks for them. */
enum {
  VASK_STREAM_STARTED = 1,
  VASK_STREAM_ENDED = 2,          /* an utterance */
  VASK_STREAM_REJECTED = 3,       /* what had started was not an utterance */
  VASK_STREAM_MAY_HAVE_ENDED = 4, /* may_end_after without speech: the segment is still open. The end, a
                                     rejection or VASK_STREAM_WENT_ON follows */
  VASK_STREAM_WENT_ON = 5,        /* speech again: the last VASK_STREAM_MAY_HAVE_ENDED is withdrawn */
  VASK_STREAM_NOBODY_SPOKE = 6    /* start_within has passed without a start, and none is being found; once,
                                     until the next segment has ended */
};

/* Reasons: how an utterance ended, or why a segment was rejected. */
enum {
  VASK_STREAM_BY_SILENCE = 1,        /* ended: hangover_frames, or the rules' pause, without speech */
  VASK_STREAM_BY_LONG_NOISE = 2,     /* ended: over long_speech_frames, unvoiced for max_unvoiced_run; where
                                        it fell silent, or at the newest frame if it has not; only with
                                        VASK_STREAM_ENERGY */
  VASK_STREAM_BY_INPUT_END = 3,      /* ended: flushed while it was open */
  VASK_STREAM_BY_SPLIT = 4,          /* ended: over max_samples; the next one continues from here */
  VASK_STREAM_TOO_SHORT = 11,        /* rejected: under 10 frames or min_samples, or under `shortest` */
  VASK_STREAM_TOO_LITTLE_VOICE = 12, /* rejected: under 5 % voiced or min_voiced_frames, or under
                                        mean_probability */
  VASK_STREAM_TONES = 13             /* rejected: too many of its voiced frames are tones; only with
                                        VASK_STREAM_ENERGY */
};

/* Errors: results below 0. */
enum {
  VASK_STREAM_BAD_ARGUMENT = -1,
  VASK_STREAM_FULL = -2,      /* the queue has reached its bound: take audio and events, then call again */
  VASK_STREAM_NO_MEMORY = -3, /* the queue could not grow; nothing is lost, the call may be repeated */
  VASK_STREAM_OVER = -4       /* flushed: reset it first */
};

/* How a stream works, with the front end's own detector. Lengths in samples at 16 kHz, whatever the rates. */
typedef struct vask_stream_options {
  int32_t mode;        /* VASK_STREAM_CONTINUOUS or _UTTERANCES */
  int32_t audio;       /* VASK_STREAM_CLEAN, _RAW or _NO_AUDIO */
  epd_profile profile; /* the detector's seventeen values. A max_unvoiced_run below hangover_frames + 30 is
                          raised to that: it would end an utterance before the hangover could */
  int32_t pad_start;   /* delivered from this long before the detected start; -1: from 0.35 s before */
  int32_t pad_end;     /* and until this long after the detected end; -1: all that the hangover covers */
  int32_t min_samples; /* an utterance shorter than this from start to end is rejected; 0: no limit */
  int32_t max_samples; /* none is delivered longer than this: it is split where the last 2 s are
                          quietest; 0: no limit, else 24000 or more */
  int32_t min_voiced_frames; /* an utterance with fewer voiced frames is rejected; 0: no limit */
  int32_t max_tone_percent;  /* and one with more tones than this among the frames that are voiced before
                                smoothing; 100: no limit */
  int32_t tone_tonality;     /* a frame of this tonality or more is a tone: Q16 */
  int32_t queue_samples;     /* most samples of audio that wait to be read, in storage that grows to twice
                                that; 0: 10 minutes */
} vask_stream_options;

/* How the learned detector's probabilities become utterances. Lengths in seconds, rounded to steps of 0.02 s;
   the margins to samples. */
typedef struct vask_stream_rules {
  float open_probability;  /* an utterance starts where speech is this probable or more, 0 to 1, ... */
  float open;              /* ... for this long: 0.02 to 1 */
  float open_look_back;    /* judged this long afterwards: 0, 0.1 or 0.2 */
  float start_probability; /* and before that, for up to 0.5 s, as far as it is this probable or more */
  float close_probability; /* it ends where speech is this probable or less, 0 to 1, and less probable than
                              open_probability, ... */
  float pause;             /* ... for this long: 0.02 to 10 */
  float close_look_back;   /* judged this long afterwards: 0, 0.1, 0.2, or 0.4 for the output that counts
                              pauses under 0.35 s as speech */
  float shortest;          /* what is shorter is rejected: 0 to 10 */
  float mean_probability;  /* and what is less probable on average, looking back as for the start: 0 to 1. The
                              length of pauses inside it of 0.08 s or more does not count */
  float margin_start;      /* delivered from this long before the start: 0 to 10. What the utterance before
                              has taken stays with that one */
  float margin_end;        /* and until this long after the end: 0 to 10. It ends where the next utterance
                              starts */
} vask_stream_rules;

/* All about a stream. */
typedef struct vask_stream_setup {
  uint32_t size;               /* sizeof(vask_stream_setup) in the calling program */
  int32_t detector;            /* VASK_STREAM_ENERGY or _LEARNED */
  vask_stream_options options; /* with VASK_STREAM_LEARNED: mode, audio, max_samples, queue_samples; its other
                                  fields are for VASK_STREAM_ENERGY */
  vask_stream_rules rules;     /* for VASK_STREAM_LEARNED */
  const struct vask_model *model; /* for VASK_STREAM_LEARNED: what vask_model_open returned, to be kept until
                                     the stream is closed; null: the built-in one */
  float listening_floor_db; /* for VASK_STREAM_LISTENING: no part of the sound is cut by more, -60 to 0 */
  float listening_mix;      /* share of the filtered sound in what is delivered, 0 to 1; the rest is the
                               input */
  int32_t input_rate;       /* of what is written: Hz, one of the nine rates; 0: 16000 */
  int32_t audio_rate;       /* of what is read, likewise */
  float may_end_after;      /* s without speech until VASK_STREAM_MAY_HAVE_ENDED, 0.02 to 10, shorter than the
                               pause that ends an utterance (else it never comes); 0: none */
  float start_within;       /* s from the opening, a reset or the end of a segment until
                               VASK_STREAM_NOBODY_SPOKE, 0.1 to 3600; 0: none */
} vask_stream_setup;

/* What happened, and where in the input. */
typedef struct vask_stream_event {
  int32_t kind;       /* one of the six kinds */
  int32_t reason;     /* why it ended or was rejected; 0 with the other kinds */
  int32_t segment;    /* number of the segment from 1, again from 1 after 2147483647; rejected ones count too.
                            0: VASK_STREAM_NOBODY_SPOKE */
  int32_t continues;  /* 1: it continues where the previous segment was split */
  int64_t start;      /* position of the detected start. VASK_STREAM_NOBODY_SPOKE: where waiting began */
  int64_t end;        /* one past the detected end; VASK_STREAM_MAY_HAVE_ENDED: where speech fell silent;
                         VASK_STREAM_NOBODY_SPOKE: heard; -1 with the other kinds */
  int64_t span_start; /* first position that is delivered, or would have been; as start where nobody spoke */
  int64_t span_end;   /* one past the last; -1 but at an end or a rejection */
  int64_t heard;      /* samples of the input that had been processed when this was decided */
  int32_t voiced_frames; /* voiced frames of the segment, as the detector counts them; with the learned one
                            those where speech is more probable than not, looking back as for the start; 0
                            but at an end or a rejection */
  float voiced;          /* the same as a share of the frames from start to end, at most 1 */
  float level_db;        /* mean input level from start to end, dB full scale; with the other kinds that of
                            the newest frame */
} vask_stream_event;

/* The newest frame, for meters and traces. The front end's detector lags the input by 0.03 s. */
typedef struct vask_stream_measures {
  int64_t heard;       /* samples of the input that have been processed, whole frames */
  int64_t detector_at; /* position of the frame, or of the learned detector's step of 0.02 s, that the values
                          below `level_db` belong to; -1: none yet */
  float level_db;      /* level of the newest frame of the input, dB full scale; -200 for all-zero
                          silence, -112.4 or more for sound */
  float energy_db;     /* the detector's log energy, dB above its own silence; 0 with the learned one */
  float noise_db;      /* the noise floor on the same scale; 0 with the learned one */
  int32_t speech; /* 1: speech, after onset and hangover; with the learned one, whose start has been found
                     and whose end has not */
  int32_t voiced; /* 1: voiced, smoothed; with the learned one, speech is more probable than not */
  int32_t open;   /* 1: a segment has started and is open */
} vask_stream_measures;

/* What the learned detector makes of the newest step of 0.02 s and of those before it: probabilities. The
   more it knows of what follows, the surer it is. */
typedef struct vask_stream_hearing {
  uint32_t size;          /* in: sizeof(vask_stream_hearing) in the calling program */
  int64_t at;             /* position of the newest step; -1: none yet, and all probabilities are 0 */
  float speech;           /* speech in that step */
  float speech_100ms_ago; /* in the step 0.1 s before it */
  float speech_200ms_ago; /* in the step 0.2 s before it */
  float utterance;        /* the step 0.4 s before it is in an utterance: pauses under 0.35 s are speech */
  float music;            /* music in the step 0.2 s before it */
  float high_gain;        /* VASK_STREAM_LISTENING: what the bands near 8 kHz of the newest frame that came
                             out were multiplied by; 1 in other streams */
} vask_stream_hearing;

/**
 * Fill in the options of a plain front end: utterances, cleaned, the profile of device 2 and system 2, no
 * padding cut, no limits, nothing rejected beyond the detector's own rule.
 *
 * options  out: all fields
 */
VASK_API void vask_stream_defaults(vask_stream_options *options);

/**
 * Adapt options to noisy rooms: the general profile with a shorter hangover and a more sensitive detector,
 * padding of 0.10 s and 0.25 s, and rejection of segments with fewer than 15 voiced frames, fewer than 20
 * frames, or more than half tones. Other fields are kept.
 *
 * options  in, out: filled by vask_stream_defaults
 */
VASK_API void vask_stream_robust(vask_stream_options *options);

/**
 * Fill in the built-in profile of a device.
 *
 * device   as deviceID; an unknown one counts as device 2
 * os       as osID
 * profile  out: the seventeen values
 */
VASK_API void vask_stream_profile(int32_t device, int32_t os, epd_profile *profile);

/**
 * Say what is wrong with options.
 *
 * options  in: the options
 *
 * return   a constant text such as "pad_start is not -1 to 1000000000 samples"
 *          null: nothing is wrong
 */
VASK_API const char *vask_stream_complaint(const vask_stream_options *options);

/**
 * Open a stream with the front end's own detector. All memory is allocated here (about 0.5 MB), except for
 * the queue's growth up to its bound.
 *
 * options  in: the options, copied; null: those of vask_stream_defaults
 *
 * return   the stream
 *          null: vask_stream_complaint finds something wrong, or there is no memory
 */
VASK_API vask_stream *vask_stream_open(const vask_stream_options *options);

/**
 * Fill in a setup: VASK_STREAM_ENERGY, the options of vask_stream_defaults, and for VASK_STREAM_LEARNED its
 * rules, the built-in model and the values of the listening path. Set `detector` to use them.
 *
 * setup  out: its first `size` bytes
 * size   sizeof(vask_stream_setup) in the calling program; what a shorter record of an older one lacks has
 *        its default value
 */
VASK_API void vask_stream_setup_defaults(vask_stream_setup *setup, uint32_t size);

/**
 * Say what is wrong with a setup. Only what its detector uses is looked at.
 *
 * setup  in: the setup
 *
 * return   a constant text such as "pause is not 0.02 to 10 s"
 *          null: nothing is wrong
 */
VASK_API const char *vask_stream_setup_complaint(const vask_stream_setup *setup);

/**
 * Open a stream with either detector. With the learned one all memory is allocated here too: about 0.25 MB,
 * and for a long margin_start or pause up to 64 KB a second.
 *
 * setup  in: the setup, copied; its model is not
 *
 * return   the stream
 *          null: vask_stream_setup_complaint finds something wrong, or there is no memory
 */
VASK_API vask_stream *vask_stream_open_setup(const vask_stream_setup *setup);

/**
 * Write input. Every complete frame is processed at once; the samples after the last one wait for more.
 *
 * stream   in, out: the stream
 * samples  in: n samples, 16 bits, at the input's rate; not changed
 * n        samples; any number
 *
 * return   n: all samples are taken
 *          1 to n - 1: this many are taken, then the queue reached its bound or could not grow; take audio
 *              and events and write the rest
 *          VASK_STREAM_FULL, VASK_STREAM_NO_MEMORY: none is taken, for that reason (never 0 for n above 0)
 *          VASK_STREAM_OVER: the stream is flushed
 *          VASK_STREAM_BAD_ARGUMENT: n is negative, stream is null, or samples is null with n above 0
 */
VASK_API int32_t vask_stream_write(vask_stream *stream, const int16_t *samples, int32_t n);

/**
 * End the input. Everything that was held back comes out; a segment that is still open becomes an utterance
 * if its detector's rules allow: 10 frames or longer and at least 5 % of it voiced, or `shortest` and
 * mean_probability. A second call does nothing.
 *
 * stream  in, out: the stream
 *
 * return  0: everything has come out
 *         VASK_STREAM_FULL, VASK_STREAM_NO_MEMORY: take audio and events and call again
 *         VASK_STREAM_BAD_ARGUMENT: stream is null
 */
VASK_API int32_t vask_stream_flush(vask_stream *stream);

/**
 * Take the next event, in order.
 *
 * stream  in, out: the stream
 * event   out: the event
 *
 * return  1: the event is written
 *         0: there is none; nothing is written
 *
 * When a VASK_STREAM_STARTED is taken, what has not been read of the previous utterance is dropped.
 */
VASK_API int32_t vask_stream_next(vask_stream *stream, vask_stream_event *event);

/**
 * Take audio. In mode VASK_STREAM_UTTERANCES it is that of the segment whose event was taken last: after
 * VASK_STREAM_STARTED what is certain to belong to it so far, after VASK_STREAM_ENDED the rest, after
 * VASK_STREAM_REJECTED nothing. A whole utterance is span_end - span_start samples.
 *
 * stream   in, out: the stream
 * samples  out: up to max samples
 * max      size of that array
 *
 * return   the number of samples taken; 0 if there are none
 */
VASK_API int32_t vask_stream_read(vask_stream *stream, int16_t *samples, int32_t max);

/**
 * Count the samples that vask_stream_read could deliver now.
 *
 * stream  in: the stream
 *
 * return  samples
 */
VASK_API int32_t vask_stream_available(const vask_stream *stream);

/**
 * Get the measures of the newest frame.
 *
 * stream    in: the stream
 * measures  out: the measures
 *
 * return    0: the measures are written
 *           VASK_STREAM_BAD_ARGUMENT: stream or measures is null
 */
VASK_API int32_t vask_stream_measure(const vask_stream *stream, vask_stream_measures *measures);

/**
 * Get what the learned detector makes of the newest step, in either mode.
 *
 * stream   in: the stream
 * hearing  in: its size; out: all other fields
 *
 * return    0: they are written
 *           VASK_STREAM_BAD_ARGUMENT: stream or hearing is null, its size is unknown, or the stream has the
 *               other detector
 */
VASK_API int32_t vask_stream_hear(const vask_stream *stream, vask_stream_hearing *hearing);

/**
 * Put a stream back in the state in which it was opened, but for its pause: position 0, nothing heard, queue
 * and events dropped. Allocates nothing.
 *
 * stream  in, out: the stream
 */
VASK_API void vask_stream_reset(vask_stream *stream);

/**
 * Close a stream and release everything.
 *
 * stream  the stream; null is harmless
 */
VASK_API void vask_stream_close(vask_stream *stream);

/**
 * Change the pause that ends an utterance while the stream runs: hangover_frames, or the rules' pause. A
 * pause that is already longer ends the open utterance at the next frame without speech.
 *
 * stream   in, out: the stream
 * seconds  0.02 to 10 with VASK_STREAM_LEARNED, in steps of 0.02 s; 0 to 30 with VASK_STREAM_ENERGY, in
 *          steps of 0.01 s; and no more than the queue has room for
 *
 * return   0: it is changed, and stays so after a reset
 *          VASK_STREAM_BAD_ARGUMENT: stream is null, or seconds is out of that range
 *          VASK_STREAM_NO_MEMORY: a longer one needs memory that is not there; nothing has changed
 */
VASK_API int32_t vask_stream_set_pause(vask_stream *stream, float seconds);

/**
 * Name a kind of event or a reason, for logs and messages.
 *
 * kind    one of the kinds: "started", "ended", "rejected", "may-have-ended", "went-on", "nobody-spoke"
 * reason  one of the reasons: "silence", "long-noise", "input-end", "split", "too-short", "too-little-voice",
 *         "tones"
 *
 * return  a constant text; "unknown" for other numbers
 */
VASK_API const char *vask_stream_kind_name(int32_t kind);
VASK_API const char *vask_stream_reason_name(int32_t reason);

VASK_END_DECLS

#endif /* VASK_STREAM_H_ */
