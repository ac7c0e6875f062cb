// Every exported function with each of its pointers null in turn, and each of its counts at 0 and below: the
// result is 0 or the one stated, nothing is written for a null, and nothing out of bounds is touched.
#include <gtest/gtest.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "support/inputs.h"

namespace vask::test {
namespace {

// The arguments of the calls: buffers that are large enough, and records that are in use.
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

// A call with its text.
#define CALL(call) \
  { #call, call }

void ExpectAll(int32_t expected, std::initializer_list<std::pair<const char*, int32_t>> calls) {
  for (const auto& [text, result] : calls) EXPECT_EQ(result, expected) << text;
}

class Doorways : public testing::Test {
 protected:
  Doorways() {
    ExpectAll(1, {CALL(iinit_filter(&p.fir, 5)), CALL(fix32_init_hp_filt(&p.high_pass)),
                  CALL(init_sin_buff(&p.short_queue, 320)), CALL(init_iin_buff(&p.queue, 320)),
                  CALL(init_in64_buff(&p.wide_queue, 514)), CALL(init_sin_buf(&p.silent_queue, 320)),
                  CALL(init_int64_rbuf(&p.older_ring, 8)), CALL(init_wiener_filt(&p.wiener)),
                  CALL(init_energy_epd_prm(&p.detector, 160)), CALL(vask_init_mfcc_prm(&p.mfcc)),
                  CALL(init_sring_buff(&p.short_ring, 8)), CALL(init_iring_buff(&p.ring, 8)),
                  CALL(init_i64ring_buff(&p.wide_ring, 8))});
    for (size_t i = 0; i < p.rows.size(); ++i) p.rows[i] = &p.other[36 * i];
    p.samples[7] = 5;
  }
  ~Doorways() override {
    close_filt(&p.fir), fix32_close_filt(&p.high_pass), close_sin_buff(&p.short_queue),
        close_iin_buff(&p.queue);
    close_in64_buff(&p.wide_queue), close_sin_buf(&p.silent_queue), close_int64_rbuf(&p.older_ring);
    close_wiener_filt(&p.wiener), close_energy_epd_prm(&p.detector), close_mfcc_prm(&p.mfcc);
    close_sring_buff(&p.short_ring), close_iring_buff(&p.ring), close_i64ring_buff(&p.wide_ring);
  }

  template <int32_t kNone, typename R, typename... A>
  void Refuses(const char* name, size_t argument, R (*function)(A...), const std::tuple<A...>& arguments) {
    const Places before = p;
    if constexpr (std::is_void_v<R>) {
      std::apply(function, arguments);
    } else {
      EXPECT_EQ(std::apply(function, arguments), kNone) << name << " without argument " << argument;
    }
    const auto bytes = [](const Places& places) { return std::as_bytes(std::span(&places, 1)); };
    const auto written = std::ranges::mismatch(bytes(before), bytes(p)).in1 - bytes(before).begin();
    EXPECT_EQ(written, std::ssize(bytes(p)))
        << name << " without argument " << argument << " writes byte " << written;
  }

  template <int32_t kNone = 0, typename R, typename... A>
  void Probe(const char* name, R (*function)(A...), std::type_identity_t<A>... good) {
    const std::tuple<A...> all(good...);
    const auto each = [&](auto index) {
      std::tuple<A...> bad = all;
      auto& argument = std::get<index()>(bad);
      using Argument = std::remove_reference_t<decltype(argument)>;
      if constexpr (std::is_pointer_v<Argument>) {
        argument = nullptr;
        Refuses<kNone>(name, index(), function, bad);
      } else if constexpr (std::is_integral_v<Argument>) {
        for (const int32_t count : {0, -1, INT32_MIN}) {
          argument = static_cast<Argument>(count);
          std::apply(function, bad);
        }
      }
    };
    [&]<size_t... I>(std::index_sequence<I...>) { (each(std::integral_constant<size_t, I>()), ...); }
    (std::index_sequence_for<A...>());
  }

  Places p = {};
};

#define PROBE(function, ...) Probe(#function, function, __VA_ARGS__)

TEST_F(Doorways, OfArithmeticAndFilters) {
  const fft_tables& t = Twiddles();
  PROBE(L_Extract, 5, &p.numbers[0], &p.numbers[1]);
  for (const int32_t order : {5, 10})
    PROBE(rfft, p.wide.data(), 1 << order, order, t.cc1, t.ss1, t.cc3, t.ss3);
  PROBE(rfft, p.wide.data(), 16, 4, t.cc1, t.ss1, t.cc3, t.ss3);
  PROBE(init_dc_filt, &p.dc);
  PROBE(DCOffsetFil, p.numbers.data(), &p.dc, 160);
  PROBE(InitPreEmphFilt, &p.pre);
  PROBE(PreEmphasis, &p.pre, p.samples.data(), p.numbers.data(), 160);
  Probe("median_filt", median_filt, p.out.data(), 7, nullptr);
  EXPECT_EQ(median_filt(nullptr, -1, nullptr), 1);  // 0 is more than -1 >> 1
  PROBE(fix32_hp_filtering, 5, &p.high_pass);
  PROBE(fix32_reinit_hp_filt, &p.high_pass);
  fix32_close_filt(nullptr);
  PROBE(filter, 5, &p.fir);
  PROBE(filtering, p.numbers.data(), p.more.data(), &p.fir, 1);
  PROBE(buffer, 5, &p.fir);
  PROBE(buffering, p.numbers.data(), &p.fir, 1);
  close_filt(nullptr), close_filter(nullptr, 3);
  for (void (*window)(int32_t*, int32_t) : {init_hanning_wind, init_hamm_window, init_filter_wind})
    Probe("window", window, p.numbers.data(), 320);
  PROBE(OuterAndMiddleEarModel, p.doubles.data(), 129, 16000);
  fir_filt closed = {};
  for (const int32_t taps : {0, -1, INT32_MIN}) EXPECT_EQ(iinit_filter(&closed, taps), 0) << taps;
  ExpectAll(0, {CALL(iinit_filter(nullptr, 5)), CALL(fix32_init_hp_filt(nullptr)),
                CALL(init_filter(nullptr, 1, 5)), CALL(filter(1, &closed))});
  EXPECT_EQ(init_filter(&closed, 0, 5), 1);
  EXPECT_EQ(iinit_filter(&closed, 1), 1);  // one tap is enough
  close_filt(&closed);
  EXPECT_EQ(init_filter(static_cast<fir_filt*>(std::malloc(sizeof closed)), 1, 0), 0);  // and frees it
  filtering(p.numbers.data(), p.more.data(), &closed, 1);
  buffer(1, &closed);
}

TEST_F(Doorways, OfQueuesAndRings) {
  p.short_queue.write_pos = p.queue.write_pos = p.wide_queue.write_pos = p.silent_queue.write_pos = 200;
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
  EXPECT_EQ(p.short_queue.write_pos, 200);
  EXPECT_EQ(p.ring.index, 0);
  sin_buff_setting(nullptr), iin_buff_setting(nullptr), in64_buff_setting(nullptr), sin_buf_setting(nullptr),
      sring_buff_setting(nullptr), iring_buff_setting(nullptr), i64ring_buff_setting(nullptr),
      int64_rbuf_setting(nullptr), close_sin_buff(nullptr), close_iin_buff(nullptr), close_in64_buff(nullptr),
      close_sin_buf(nullptr), close_sring_buff(nullptr), close_iring_buff(nullptr),
      close_i64ring_buff(nullptr), close_int64_rbuf(nullptr);
  sin_buff queue = {};
  int64_rbuf older = {};
  iring_buff ring = {};
  ExpectAll(0, {CALL(init_sin_buff(nullptr, 5)), CALL(init_sin_buff(&queue, -1)),
                CALL(init_int64_rbuf(&older, -1)), CALL(init_int64_rbuf(nullptr, 5))});
  ExpectAll(1, {CALL(init_iring_buff(&ring, -1)), CALL(init_iring_buff(nullptr, 5))});  // never report
  write_sin_buff(p.samples.data(), &queue, 1), write_iring_buff(&ring, p.numbers.data(), 1);
  iring_buff_setting(&ring);
  PROBE(IFrameShifting, p.numbers.data(), 2, 4);
  EXPECT_EQ(file_size(nullptr), 0);
}

TEST_F(Doorways, OfTheNoiseReduction) {
  const fft_tables& t = Twiddles();
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
  wiener_filt_setting(nullptr), wiener_filt_param_setting(nullptr);
  PROBE(wiener_spectrum_setting, &p.wiener.spectrum, 35);
  PROBE(wiener_gsap_data_setting, &p.wiener.gsap_data, 35);
  wiener_vad_setting(nullptr), wiener_filt_resetting(nullptr);
  PROBE(wiener_spectrum_resetting, &p.wiener.spectrum, 35);
  wiener_vad_resetting(nullptr), close_wiener_filt(nullptr), close_wiener_filt_param(nullptr),
      close_wiener_spectrum(nullptr), close_wiener_gsap_data(nullptr), CloseMelFB(nullptr, 35);
  wiener_filt none = {};  // never created
  wiener_filt_setting(&none), wiener_filt_resetting(&none);
  WienerFiltering(&none, &none.mel_fb, t.cc1, t.ss1, t.cc3, t.ss3);
  VAD_BasedOnGSAP(&none.vad, &none.spectrum, &none.gsap_data, p.wide.data(), 35);
  ExpectAll(0, {CALL(init_wiener_filt(nullptr)), CALL(init_wiener_filt_param(nullptr, 16000)),
                CALL(init_wiener_spectrum(nullptr, 5)), CALL(init_wiener_gsap_data(nullptr, 5)),
                CALL(InitMelFB(nullptr, 35)), CALL(InitMelFBFromSource(nullptr, 35)),
                CALL(InitMelFBFromFile(nullptr, 35))});
}

TEST_F(Doorways, OfTheDetector) {
  const fft_tables& t = Twiddles();
  const int32_t *power = p.numbers.data(), *x = p.more.data();
  int32_t *work = p.other.data(), *weight = &p.other[64];
  energy_vad_prm& vad = p.detector.vad;
  PROBE(epd_based_on_energy_feature, &p.detector, &p.short_queue, &p.wide_queue, t.cc1, t.ss1, t.cc3, t.ss3);
  PROBE(energy_EPD, &p.detector, 5);
  PROBE(energy_based_VAD_with_UV, &vad, &p.detector);
  PROBE(voice_activity_detection, 1, &p.detector);
  PROBE(uv_detection, p.samples.data(), 320, power, 257, &p.detector, 0, 0, 0, &vad, &p.detector.profile);
  PROBE(uv_feat_ext, p.samples.data(), 320, power, 257, &p.detector.uv);
  uv_detection(p.samples.data(), INT32_MAX, power, 257, &p.detector, 0, 0, 0, &vad, &p.detector.profile);
  uv_feat_ext(p.samples.data(), INT32_MAX, power, 257, &p.detector.uv);  // longer than any window
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
  Probe<268435455>("AMDF_MinimumEst", AMDF_MinimumEst, x, 320, 32, 267);
  Probe<INT32_MAX>("AMDF_MINIMUM", AMDF_MINIMUM, p.samples.data(), 320, 32, 267);
  PROBE(NormalizedAutocorrelationEst, x, work, 320, 32, 267);
  PROBE(PeakValleyRatioEst, x, 32, 267, 320);
  PROBE(short_EPD, &p.tracker, 1, 5);
  epd_prm_setting(nullptr), vad_prm_setting(nullptr), init_energy_epd_conprm(nullptr),
      close_energy_epd_prm(nullptr), close_energy_vad_prm(nullptr), close_uv_prm(nullptr),
      energy_epd_setting(nullptr), energy_epd_resetting(nullptr), energy_vad_setting(nullptr),
      energy_vad_resetting(nullptr), uv_prm_setting(nullptr);
  energy_epd_prm none = {};  // never created
  epd_based_on_energy_feature(&none, &p.short_queue, &p.wide_queue, t.cc1, t.ss1, t.cc3, t.ss3);
  uv_detection(p.samples.data(), 320, power, 257, &none, 0, 0, 0, &none.vad, &none.profile);
  energy_epd_setting(&none), energy_epd_resetting(&none), energy_based_VAD_with_UV(&none.vad, &none);
  ExpectAll(0, {CALL(init_energy_epd_prm(nullptr, 160)), CALL(init_energy_epd_prm_org(nullptr, 160)),
                CALL(init_energy_vad_prm(nullptr, 45)), CALL(init_uv_prm(nullptr, 10)),
                CALL(init_uv_prm(&none.uv, -1)), CALL(init_energy_epd_prm(&none, 161)),
                CALL(init_energy_epd_prm(&none, 0)), CALL(set_energy_hangover(40))});
}

TEST_F(Doorways, OfCodecCepstraAndMatrices) {
  PROBE(adpcm_coder, p.samples.data(), p.bytes.data(), 1, &p.codec);  // a single sample needs its buffers too
  PROBE(adpcm_decoder, p.bytes.data(), p.out.data(), 1, &p.codec);
  PROBE(short_to_adpcm, p.samples.data(), p.bytes.data(), 1);
  PROBE(adpcm_to_short, p.bytes.data(), p.out.data(), 2);
  int32_t ready = 9;
  mfcc_feat_ex(nullptr, &ready, 0, 0), mfcc_feat_ex(&p.mfcc, nullptr, 0, 0);
  EXPECT_EQ(ready, 9);
  PROBE(DCT, p.numbers.data(), p.more.data(), p.other.data(), 13, 23, 1);
  ExpectAll(-1, {CALL(InitFBank(512, 24, nullptr, p.numbers.data())),
                 CALL(InitFBank(512, 24, p.numbers.data(), nullptr)),
                 CALL(InitFBank(-2, 24, p.numbers.data(), p.more.data()))});
  refresh_mfcc_prm(nullptr), global_cms_update(nullptr), close_mfcc_prm(nullptr);
  ExpectAll(0, {CALL(init_mfcc_prm(nullptr, 512)), CALL(vask_init_mfcc_prm(nullptr)),
                CALL(vask_write_global_cms(nullptr)), CALL(vask_read_global_cms(nullptr)),
                CALL(read_params(nullptr, stdin)), CALL(fmatrix_rows(nullptr)), CALL(fmatrix_cols(nullptr))});
  EXPECT_EQ(InitDCTMatrix(-1, 1), nullptr);
  std::array<float, 4> from = {1}, to = {2};
  for (const int32_t n : {0, -1}) copy_fvector(from.data(), to.data(), n);
  copy_fvector(nullptr, to.data(), 1), copy_fvector(from.data(), nullptr, 1);
  EXPECT_EQ(to[0], 2);
  zero_fmatrix(nullptr), free_fmatrix(nullptr), free_fvector(nullptr), free_env_change_detect(nullptr);
  EnvChangeValue(nullptr, nullptr, nullptr);
  Vask_epd_ecd_snr(nullptr, nullptr);
}

}  // namespace
}  // namespace vask::test
