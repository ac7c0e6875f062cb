/*
 * The whole C interface: a speech front end that takes 16-bit PCM at 16 kHz, removes the background noise
 * and returns either every cleaned frame or only the spoken utterance.
 *
 * An application needs frontend.h, and settings.h before it starts. engine.h does the same one frame at a
 * time, stream.h runs any number of streams side by side, ecd.h checks the recording afterwards, mfcc.h
 * computes the cepstra of its frames. The other headers are the stages, for use on their own.
 *
 * What holds everywhere, and is not repeated at each function:
 *   frame         160 samples, 10 ms at 16 kHz.
 *   Qn            fixed point with n fractional bits: 1.0 is 1 << n.
 *   units         the detector's measure of log energy, 16 * log2(energy / 512 + 1): 16 units double the
 *                 energy, one unit is 0.19 dB. Q16 where so marked.
 *   null          a function that gets a null record or array reads and writes nothing, and returns its
 *                 result for failure, or 0 where it has none.
 *   counts        a negative count is taken as 0.
 *   float modes   the library computes in round-to-nearest and with subnormal numbers, and puts the
 *                 application's modes back.
 *   life cycle    init_* allocates: 1, or 0 if there is no memory. *_setting clears everything that
 *                 adapts, *_resetting only what belongs to a rejected segment. close_* releases and nulls,
 *                 so that a second close is harmless.
 *   messages      "ERROR: " lines on standard output, information on standard error, flushed at once;
 *                 message.h sends them elsewhere.
 *   threads       none, and no locks: one stream in a process, one thread at a time; stream.h has neither
 *                 limit. A record that the caller owns depends on nothing else: two may be worked on at once.
 *   allocation    only in init_*, create_* and vask_stream_open: nothing is allocated per frame.
 */
#ifndef VASK_VASK_H_
#define VASK_VASK_H_

#include <vask/adpcm.h>
#include <vask/buffers.h>
#include <vask/dsp.h>
#include <vask/ecd.h>
#include <vask/engine.h>
#include <vask/epd.h>
#include <vask/export.h>
#include <vask/frontend.h>
#include <vask/message.h>
#include <vask/mfcc.h>
#include <vask/model.h>
#include <vask/noise.h>
#include <vask/packets.h>
#include <vask/profile.h>
#include <vask/settings.h>
#include <vask/stream.h>
#include <vask/voicing.h>

#endif /* VASK_VASK_H_ */
