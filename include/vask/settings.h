/*
 * Settings: exported variables, setters, and the reader of the optional file config.Vask.
 *
 * Settings keep their values through utterances, stops and starts. Some are only recorded for the application
 * or reported; each says so.
 */
#ifndef VASK_SETTINGS_H_
#define VASK_SETTINGS_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

/* Device and system, which choose the detector's profile when the engine is initialised: 2 and 2 at load. */
extern VASK_API int32_t deviceID, osID;

/* Sampling rate in Hz, 16000 at load. Reported only: the signal path is always that of 16 kHz. */
extern VASK_API float Vask_EPD_Sampling_Rate;

/* Cutoff frequency in Hz, 8000 at load. Reported only. */
extern VASK_API float __Hi_Freq__;

/* 1 high, 0 low sensitivity, from the configuration file; 0 at load. Recorded only. */
extern VASK_API int32_t ___epd_sensitivity;

/* 1 after an initialisation with mode 4097, or what was set; 0 at load. Recorded only. */
extern VASK_API int32_t Vask_EPD_Energy_Only;

/* 1 while frames are processed in mode 4, else 0; 0 at load. Recorded only. */
extern VASK_API int32_t __compute_dynamic_feature__;

/**
 * Choose the profile of the detector, before the engine is initialised.
 *
 * option  1: deviceID, 2: osID, any other: nothing
 * value   the number of the device or system; an unknown one counts as 2
 */
VASK_API void Vask_epd_set_option(int32_t option, int32_t value);

/**
 * Read the file config.Vask and apply it line by line. Never called by the library itself.
 *
 * dir     the directory of the file
 *
 * return  0, always, whether the file exists or not
 *
 * A line counts if it contains one of these, followed by a value:
 *   Vask_NARROWBAND:   y or Y: Vask_EPD_Set_Samplign_Rate(8000)
 *   Vask_SENSITIVITY:  y or Y: ___epd_sensitivity 1, else 0
 *   Vask_LOUDNESS:     0 to 30: the loudness definition (recorded only); any other number is reported
 * What is applied is reported on standard output. A directory of more than 243 bytes is refused with an
 * "ERROR: " line.
 */
VASK_API int32_t __check_Vask_Config__(const char *dir);

/**
 * Record the sampling rate and report it on standard error. 8000 halves the cutoff frequency, at every call.
 *
 * rate    Hz
 *
 * return  1, always
 */
VASK_API int32_t Vask_EPD_Set_Samplign_Rate(int32_t rate);

/**
 * Record a requested mode. The mode in force is that of the front end or of the entry point.
 *
 * value  any value
 */
VASK_API void Vask_EPD_Set_Mode(int32_t value);

/**
 * Set Vask_EPD_Energy_Only.
 *
 * value  any value
 */
VASK_API void Vask_EPD_Set_Mode_Energy(int32_t value);

/**
 * Do nothing; kept for the applications that call them.
 *
 * return  0, always
 */
VASK_API int32_t Vask_EPD_Set_Mode_Enhanced_To_Raw(void);
VASK_API int32_t Vask_EPD_UV_Control(void);
VASK_API int32_t Vask_EPD_Frame_Loss(void);

/**
 * Switch the log of detected speech on or off, and report it on standard error. The log is one file for each
 * utterance, in_000001.pcm, in_000002.pcm ...: 16-bit samples in the machine's byte order.
 *
 * flag  1: on, any other: off
 */
VASK_API void Vask_epd_save_pcm_valid(int32_t flag);

/**
 * Switch the log of detected speech on in a directory, or off.
 *
 * flag  1: on, any other: off, and the previous directory is kept
 * dir   directory of the files; empty: the current one. At most 127 bytes together with the name of a file
 *
 * A longer directory is refused with an "ERROR: " line, and nothing changes. The first file that cannot be
 * written after that is reported with such a line too, and the log goes on.
 */
VASK_API void Vask_epd_save_pcm_dir(int32_t flag, const char *dir);

/**
 * Set the number of the next file of the log.
 *
 * option  1; any other does nothing
 * value   the number
 */
VASK_API void Vask_epd_save_pcm_count(int32_t option, int32_t value);

/**
 * Record a threshold. The threshold in force is that of the profile.
 *
 * threshold  units
 *
 * return     0, always
 */
VASK_API int32_t Vask_epd_vad(int32_t threshold);

/**
 * Report a trailing silence, in ms, on standard error. The one in force is the hangover of the profile.
 *
 * frames  10 ms each; 30 or fewer are raised to 30, with a "WARNING: " line on standard output
 *
 * return  0, always
 */
VASK_API int32_t Vask_epd_set_trailing_silence(int32_t frames);

/**
 * Write a knowledge base: the folders dir, dir/Vask.db and dir/LOG, the nine built-in tables as text files in
 * dir/Vask.db (one decimal integer a line) and a default dir/config.Vask. A file that exists is left as it
 * is.
 *
 * dir     knowledge-base directory, up to 118 bytes; its parent folder must exist
 *
 * return  1: what was missing is written
 *         2: nothing is done: all ten files exist
 *         0: not everything could be written; what could be is there, each file whole, and the next call
 *            writes the rest
 */
VASK_API int32_t vask_make_coeff_files(const char *dir);

/**
 * Write the same in /sdcard/kb_embedded, all of it, unless /sdcard/kb_embedded/Vask.db/cc1.txt exists: then
 * nothing is done. Failures are not reported.
 */
VASK_API void android_make_coeff_files(void);

VASK_END_DECLS

#endif /* VASK_SETTINGS_H_ */
