// speexdsp < in.raw > out.raw
//
// SpeexDSP's noise reduction as its defaults have it, over 16-bit samples of 16 kHz.
#include <speex/speex_preprocess.h>
#include <stdio.h>

enum { kFrame = 320, kRate = 16000 };

int main(void) {
  SpeexPreprocessState* state = speex_preprocess_state_init(kFrame, kRate);
  int on = 1;
  spx_int16_t frame[kFrame];
  size_t n;
  if (!state) return 1;
  speex_preprocess_ctl(state, SPEEX_PREPROCESS_SET_DENOISE, &on);
  while ((n = fread(frame, sizeof *frame, kFrame, stdin)) > 0) {
    for (size_t i = n; i < kFrame; ++i) frame[i] = 0;
    speex_preprocess_run(state, frame);
    if (fwrite(frame, sizeof *frame, n, stdout) != n) return 1;
  }
  speex_preprocess_state_destroy(state);
  return 0;
}
