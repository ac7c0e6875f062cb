// The built-in tables under the names that applications use. The headers do not declare them const, so they
// are not const here either, but nothing writes to them.
#include <vask/dsp.h>
#include <vask/mfcc.h>
#include <vask/noise.h>

extern "C" {

const int32_t cc1_N = 120, ss1_N = 120, cc3_N = 120, ss3_N = 120;
int32_t cc1_data[120] = {
#include "dsp/tables/cc1.inc"
};
int32_t ss1_data[120] = {
#include "dsp/tables/ss1.inc"
};
int32_t cc3_data[120] = {
#include "dsp/tables/cc3.inc"
};
int32_t ss3_data[120] = {
#include "dsp/tables/ss3.inc"
};
const int32_t mel_filt_N = 293;
int32_t mel_filt_data[293] = {
#include "dsp/tables/mel_filt.inc"
};
const int32_t loChan_N = 256, pre_emph_N = 257, InitDCTMatrix_N = 299, InitFBank_N = 256;
int32_t loChan_data[256] = {
#include "dsp/tables/lo_chan.inc"
};
int32_t pre_emph_data[257] = {
#include "dsp/tables/pre_emph.inc"
};
int32_t InitDCTMatrix_data[299] = {
#include "dsp/tables/init_dct_matrix.inc"
};
int32_t InitFBank_data[256] = {
#include "dsp/tables/init_fbank.inc"
};

}  // extern "C"
