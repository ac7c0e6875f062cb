/*
 * The engine: one per process, one frame at a time. frontend.h cuts a stream into frames and queues what
 * comes out; its callers need nothing from here.
 *
 * Modes: 1 every noise-reduced frame, 2 the samples of the utterance, 3 and 4 nothing (end point only).
 */
#ifndef VASK_ENGINE_H_
#define VASK_ENGINE_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

/* The directory of the table files, with a trailing slash: "Vask.db/" at load. */
extern VASK_API char Vask_epd_base_dir[128];

/**
 * Set Vask_epd_base_dir to "dir/Vask.db/" and report it on standard error.
 *
 * dir  knowledge-base directory, up to 118 bytes
 *
 * A longer directory is refused with an "ERROR: " line, and nothing changes.
 */
VASK_API void Vask_epd_set_base_dir(const char *dir);

/**
 * Start the engine: noise reduction, endpoint detector with the profile of deviceID and osID, queues, FFT
 * tables, environment-change detection. A running engine is stopped first.
 *
 * dir     knowledge-base directory, as for Vask_epd_set_base_dir
 * mode    1 to 4, or 4097, which also sets Vask_EPD_Energy_Only; each frame sets its own mode
 *
 * return  1: the engine runs
 *         0: no memory, or the directory is too long; an "ERROR: " line says which, and nothing is kept
 *
 * __Vask_epd_detect_env_change then says whether environment changes are detected. If frames have been
 * processed before the start, wrap up before the first frame.
 */
VASK_API int32_t Vask_epd_init(const char *dir, int32_t mode);

/** Do nothing; hooks for the beginning of a start and the end of a stop. */
VASK_API void __Vask_Util_attach__(void);
VASK_API void __Vask_Util_detach__(void);

/**
 * Process one frame: Vask_epd_speechenhance in mode 1, Vask_epd_frames in mode 2, Vask_epd_features_dsr in
 * mode 3, Vask_epd_features in mode 4, Vask_epd_frame_baseline in the mode of the previous frame, or of the
 * start.
 *
 * frame   in: 160 samples, 16 kHz; out: the same, clipped to -30000 ... 30000
 * n       any value: a frame is 160 samples
 * out     out: *count entries. Mode 1: 160 samples or none; mode 2: a multiple of 160 samples, up to 14080;
 *         modes 3 and 4: none
 * count   out: entries written
 *
 * return  0: go on; in mode 1 always, once the signal has begun
 *         1: the utterance has ended, in this frame or an earlier one: wrap up
 *         2: what was found was not speech; the detector has restarted, *count is 0, and "EPD RESET" is on
 *            standard error. A restart in mode 1 is reported late, by the next frame that is in another mode
 *            or is an all-zero frame before the signal, even after a wrap-up, or a stop and a new start
 *
 * All-zero frames before the first signal are skipped. The first two frames fill the history; from the third
 * on each call processes the frame of two calls earlier. Before a start nothing is processed: 0 entries,
 * result 0.
 */
VASK_API int32_t Vask_epd_speechenhance(int16_t *frame, int32_t n, int16_t *out, int32_t *count);
VASK_API int32_t Vask_epd_frames(int16_t *frame, int32_t n, int16_t *out, int32_t *count);
VASK_API int32_t Vask_epd_features_dsr(int16_t *frame, int32_t n, int32_t *out, int32_t *count);
VASK_API int32_t Vask_epd_features(int16_t *frame, int32_t n, int32_t *out, int32_t *count);
VASK_API int32_t Vask_epd_frame_baseline(int16_t *frame, int32_t n, void *out, int32_t *count);

/**
 * Measure the loudness of the last frame.
 *
 * return  0: all samples are zero
 *         1 to 100: the sum of magnitudes over 1500000, in percent
 */
VASK_API int32_t Vask_epd_frame_energy(void);

/**
 * Make Vask_epd_frame_energy return, until the next frame, log2 of the last frame's energy: Q15, or 0 for an
 * energy below 1.
 */
VASK_API void __Calculate_frame_energy(void);

/**
 * Make the engine ready for the next utterance: detector, noise reduction and filters start afresh, the
 * queues are emptied, the log file is closed. Settings, sample extremes and environment histories are kept.
 *
 * out     any value
 * count   out: 0; may be null
 *
 * return  1, always
 */
VASK_API int32_t Vask_epd_wrapup(void *out, int32_t *count);

/**
 * Stop the engine and release everything. A second stop, or one after a failed start, does nothing.
 */
VASK_API void Vask_epd_stop(void);

VASK_END_DECLS

#endif /* VASK_ENGINE_H_ */
