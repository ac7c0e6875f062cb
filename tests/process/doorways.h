// The exported functions that take pointers, each with good arguments.
#pragma once

#include <vask/vask.h>

#include <array>
#include <cstdint>

#include "support/inputs.h"

namespace vask::test {

// The arguments: buffers that are large enough, and records that are in use.
struct Places {
  std::array<double, 129> doubles;
  std::array<int64_t, 2000> wide, more_wide, other_wide, fourth_wide;
  std::array<int32_t, 2000> numbers, more, other;
  std::array<int16_t, 2000> samples, out;
  std::array<uint8_t, 2000> bytes;
  std::array<int32_t*, 36> rows;
  dc_filt dc;
  pre_emph_filt pre;
  fir_filt fir;
  fix32_hp_filt high_pass;
  sin_buff short_queue;
  iin_buff queue;
  in64_buff wide_queue;
  sin_buf silent_queue;
  sring_buff short_ring;
  iring_buff ring;
  i64ring_buff wide_ring;
  int64_rbuf older_ring;
  wiener_filt wiener;
  energy_epd_prm detector;
  short_epd_prm tracker;
  mfcc_prm mfcc;
  adpcm_state codec;
};

// Makes the records; returns how many of the thirteen are ready.
inline int32_t Open(Places& p) {
  p.samples[7] = 5;
  for (size_t i = 0; i < p.rows.size(); ++i) p.rows[i] = &p.other[36 * i];
  const int32_t ready =
      iinit_filter(&p.fir, 5) + fix32_init_hp_filt(&p.high_pass) + init_sin_buff(&p.short_queue, 320) +
      init_iin_buff(&p.queue, 320) + init_in64_buff(&p.wide_queue, 514) + init_sin_buf(&p.silent_queue, 320) +
      init_int64_rbuf(&p.older_ring, 8) + init_wiener_filt(&p.wiener) +
      init_energy_epd_prm(&p.detector, 160) + vask_init_mfcc_prm(&p.mfcc) +
      init_sring_buff(&p.short_ring, 8) + init_iring_buff(&p.ring, 8) + init_i64ring_buff(&p.wide_ring, 8);
  p.short_queue.write_pos = p.queue.write_pos = p.wide_queue.write_pos = p.silent_queue.write_pos = 200;
  return ready;
}

inline void Close(Places& p) {
  close_filt(&p.fir), fix32_close_filt(&p.high_pass), close_sin_buff(&p.short_queue),
      close_iin_buff(&p.queue);
  close_in64_buff(&p.wide_queue), close_sin_buf(&p.silent_queue), close_int64_rbuf(&p.older_ring);
  close_wiener_filt(&p.wiener), close_energy_epd_prm(&p.detector), close_mfcc_prm(&p.mfcc);
  close_sring_buff(&p.short_ring), close_iring_buff(&p.ring), close_i64ring_buff(&p.wide_ring);
}

// Calls visit(name, result of a refused call, function, good arguments...) for each.
template <typename Visit>
void ForEachDoorway(Places& p, const Visit& visit) {
#define PROBE(function, ...) visit(#function, 0, function, __VA_ARGS__)
  const fft_tables& t = Twiddles();
  const int32_t *power = p.numbers.data(), *x = p.more.data();
  int32_t *work = p.other.data(), *weight = &p.other[64];
  energy_vad_prm& vad = p.detector.vad;
  PROBE(L_Extract, 5, &p.numbers[0], &p.numbers[1]);
  for (const int32_t order : {5, 10})
    PROBE(rfft, p.wide.data(), 1 << order, order, t.cc1, t.ss1, t.cc3, t.ss3);
  PROBE(rfft, p.wide.data(), 16, 4, t.cc1, t.ss1, t.cc3, t.ss3);
  PROBE(init_dc_filt, &p.dc);
  PROBE(DCOffsetFil, p.numbers.data(), &p.dc, 160);
  PROBE(InitPreEmphFilt, &p.pre);
  PROBE(PreEmphasis, &p.pre, p.samples.data(), p.numbers.data(), 160);
  PROBE(median_filt, p.out.data(), 7, nullptr);
  PROBE(fix32_hp_filtering, 5, &p.high_pass);
  PROBE(fix32_reinit_hp_filt, &p.high_pass);
  PROBE(filter, 5, &p.fir);
  PROBE(filtering, p.numbers.data(), p.more.data(), &p.fir, 1);
  PROBE(buffer, 5, &p.fir);
  PROBE(buffering, p.numbers.data(), &p.fir, 1);
  for (void (*window)(int32_t*, int32_t) : {init_hanning_wind, init_hamm_window, init_filter_wind})
    PROBE(window, p.numbers.data(), 320);
  PROBE(OuterAndMiddleEarModel, p.doubles.data(), 129, 16000);
  PROBE(ReadFromSIn_Buff, &p.short_queue, p.out.data(), 8, 0);
  PROBE(IReadFromSIn_Buff, &p.short_queue, p.numbers.data(), 8, 0);
  PROBE(ReadFromIIn_Buff, &p.queue, p.numbers.data(), 8, 0);
  PROBE(ReadFromIIn64_Buff, &p.wide_queue, p.wide.data(), 8, 0);
  PROBE(read_sin_buf, p.out.data(), &p.silent_queue, 8, 0);
  PROBE(write_sin_buff, p.samples.data(), &p.short_queue, 8);
  PROBE(write_iin_buff, p.numbers.data(), &p.queue, 8);
  PROBE(write_in64_buff, p.wide.data(), &p.wide_queue, 8);
  PROBE(write_sring_buff, &p.short_ring, p.samples.data(), 3);
  PROBE(write_iring_buff, &p.ring, p.numbers.data(), 3);
  PROBE(write_i64ring_buff, &p.wide_ring, p.wide.data(), 3);
  PROBE(write_int64_rbuf, &p.older_ring, 3);
  PROBE(IFrameShifting, p.numbers.data(), 2, 4);
  PROBE(WienerFiltering, &p.wiener, &p.wiener.mel_fb, t.cc1, t.ss1, t.cc3, t.ss3);
  PROBE(FilterCalc, p.wide.data(), p.more_wide.data(), p.other_wide.data(), p.fourth_wide.data(),
        p.numbers.data(), &p.wiener.vad, 129);
  PROBE(VAD_BasedOnGSAP, &p.wiener.vad, &p.wiener.spectrum, &p.wiener.gsap_data, p.wide.data(), 35);
  PROBE(DoMelFB, p.numbers.data(), &p.wiener.mel_fb, p.wide.data(), 129);
  PROBE(DoMelFB_int64, p.wide.data(), &p.wiener.mel_fb, p.more_wide.data(), 129);
  PROBE(InitMelIDCTbasis, p.rows.data(), 35);
  PROBE(DoMelIDCT, p.numbers.data(), p.wide.data(), p.rows.data(), 35, 25);
  PROBE(windowing, p.samples.data(), p.numbers.data(), p.wide.data(), 400, 512);
  PROBE(es_smoothed_psd, p.wide.data(), p.more_wide.data(), 128);
  PROBE(DoFilterWindowing, p.numbers.data(), p.more.data(), p.other.data(), 24);
  PROBE(ApplyWF, &p.samples[160], p.samples.data(), p.numbers.data(), p.out.data(), 160, 12);
  PROBE(wiener_spectrum_setting, &p.wiener.spectrum, 35);
  PROBE(wiener_gsap_data_setting, &p.wiener.gsap_data, 35);
  PROBE(wiener_spectrum_resetting, &p.wiener.spectrum, 35);
  PROBE(epd_based_on_energy_feature, &p.detector, &p.short_queue, &p.wide_queue, t.cc1, t.ss1, t.cc3, t.ss3);
  PROBE(energy_EPD, &p.detector, 5);
  PROBE(energy_based_VAD_with_UV, &vad, &p.detector);
  PROBE(voice_activity_detection, 1, &p.detector);
  PROBE(uv_detection, p.samples.data(), 320, power, 257, &p.detector, 0, 0, 0, &vad, &p.detector.profile);
  PROBE(uv_feat_ext, p.samples.data(), 320, power, 257, &p.detector.uv);
  PROBE(square_energy, p.samples.data(), 160);
  PROBE(noise_robust_band_energy_16kHz, power, 257);
  PROBE(carnoise_robust_band_energy_16kHz, power);
  PROBE(lower_band_energy, power, 257);
  PROBE(upper_band_energy, power, 257);
  PROBE(upper_lower_band_energy_ratio, power, 257);
  PROBE(High2LowBandEnergyRatioEst, power, 257);
  PROBE(BP_TonalityEst, power, 257, 32, work);
  PROBE(bp_tonality_es, power, 257, 32, work);
  PROBE(tonality_es, power, 257);
  PROBE(WeightedBandPartitioningSpectralEntropyEst, power, 257, 64, work, weight);
  PROBE(WeightedSpectralEntropyEst, work, 64, weight);
  PROBE(clipping_level_es, p.samples.data(), 320);
  PROBE(three_level_center_clipper, p.samples.data(), p.out.data(), 5, 320);
  PROBE(ZCR, p.samples.data(), 0, 320, p.out.data());
  PROBE(VoicingProEst_YIN, x, 32, 267, 320);
  visit("AMDF_MinimumEst", 268435455, AMDF_MinimumEst, x, 320, 32, 267);
  visit("AMDF_MINIMUM", INT32_MAX, AMDF_MINIMUM, p.samples.data(), 320, 32, 267);
  PROBE(NormalizedAutocorrelationEst, x, work, 320, 32, 267);
  PROBE(PeakValleyRatioEst, x, 32, 267, 320);
  PROBE(short_EPD, &p.tracker, 1, 5);
  PROBE(adpcm_coder, p.samples.data(), p.bytes.data(), 1, &p.codec);  // a single sample needs its buffers too
  PROBE(adpcm_decoder, p.bytes.data(), p.out.data(), 1, &p.codec);
  PROBE(short_to_adpcm, p.samples.data(), p.bytes.data(), 1);
  PROBE(adpcm_to_short, p.bytes.data(), p.out.data(), 2);
  PROBE(DCT, p.numbers.data(), p.more.data(), p.other.data(), 13, 23, 1);
#undef PROBE
}

}  // namespace vask::test
