/*
 * The front end: pieces of PCM of any length go in, a queue of samples comes out.
 *
 * Call android_init_frontend once. For each utterance call android_reset_frontend, then android_process_frame
 * with what the microphone delivers and android_get_frames for what is queued, until the utterance has ended
 * and the queue is empty. Finally call android_stop_frontend.
 * One stream per process; one thread at a time, no locks.
 */
#ifndef VASK_FRONTEND_H_
#define VASK_FRONTEND_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

/**
 * Start the engine and choose what is queued. A running engine is stopped first; the queue is not emptied,
 * android_reset_frontend does that.
 *
 * dir     knowledge-base directory, up to 118 bytes
 * mode    1: every noise-reduced frame; 2: the samples of the utterance, from 350 ms before its start;
 *         3, 4: nothing, only the end is found; any other: frames are taken but not processed. Before the
 *         first call it is 2, for callers who start the engine with Vask_epd_init alone
 *
 * return  1: the engine runs
 *         0: no memory, or the directory is too long; an "ERROR: " line says which
 */
VASK_API int32_t android_init_frontend(const char *dir, int32_t mode);

/**
 * Empty the input and the queue, for the next utterance. Also clears the sample extremes and the environment
 * histories. The engine is not reset: after an utterance that has not ended, wrap up as well.
 *
 * return  0, always
 */
VASK_API int32_t android_reset_frontend(void);

/**
 * Take n samples and process every frame of 160 that is complete; the rest waits for the next call.
 *
 * n        samples, 0 or more: at most 10 s (160000) between two resets
 * samples  in: n samples, 16 bits, 16 kHz
 *          out: those whose frame was processed in this call, clipped to -30000 ... 30000
 *          null: end the utterance, result 1
 *
 * return   -1: no frame was complete; or the mode is not 1 to 4; or the library is not initialised, and then
 *              nothing is stored
 *           0: go on
 *           1: the utterance has ended and the engine is wrapped up: drain the queue, then reset. What turns
 *              out not to be speech ends it too, and its samples are removed from the queue
 *           2: mode 1 only, in place of 0: the detector restarted before the last wrap-up
 *
 * Mode 1 does not look for the end: only null and an overflow return 1.
 * A restart of the detector in mode 1 is reported late, by the next frame that is in another mode or is an
 * all-zero frame before the signal: 2 in mode 1, else 1 with an empty queue, an end without an utterance. A
 * wrap-up does not cancel that report, nor do android_stop_frontend and a new android_init_frontend.
 * If input or queue would overflow, what fits is taken and processed, then the utterance ends with result 1
 * and one "ERROR: " line until the next reset; the queue is kept.
 * Frames after the one that ended the utterance are kept and processed by the next call, unless reset.
 */
VASK_API int32_t android_process_frame(int32_t n, int16_t *samples);

/**
 * Count the entries in the queue.
 *
 * return  entries: samples in modes 1 and 2
 */
VASK_API int32_t android_get_available_frames(void);

/**
 * Take entries from the front of the queue: samples (android_get_frames, modes 1 and 2) or 32-bit features
 * (android_get_features, modes 3 and 4, which have none).
 *
 * max     entries that dst holds
 * dst     out: the entries
 *
 * return  the number of entries taken: the smaller of max and what is there
 */
VASK_API int32_t android_get_frames(int32_t max, int16_t *dst);
VASK_API int32_t android_get_features(int32_t max, int32_t *dst);

/**
 * End the utterance from outside: the engine is wrapped up, input and queue are kept.
 *
 * return  1, always
 */
VASK_API int32_t android_wrapup_frontend(void);

/**
 * Log the detected speech to files in_000001.pcm, in_000002.pcm ..., 16-bit samples.
 *
 * on   1: on, any other: off
 * dir  directory of the files; empty: the current one. At most 127 bytes together with the name of a file
 *
 * A longer directory is refused with an "ERROR: " line, and nothing changes. The first file that cannot be
 * written after that is reported with such a line too, and the log goes on.
 */
VASK_API void android_enable_log(int32_t on, const char *dir);

/**
 * Stop the engine and release everything. A second stop, or one after a failed start, does nothing.
 */
VASK_API void android_stop_frontend(void);

VASK_END_DECLS

#endif /* VASK_FRONTEND_H_ */
