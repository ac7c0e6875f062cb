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

#include "process/doorways.h"

namespace vask::test {
namespace {

// A call with its text.
#define CALL(call) \
  { #call, call }

void ExpectAll(int32_t expected, std::initializer_list<std::pair<const char*, int32_t>> calls) {
  for (const auto& [text, result] : calls) EXPECT_EQ(result, expected) << text;
}

class Doorways : public testing::Test {
 protected:
  Doorways() { EXPECT_EQ(Open(p), 13); }
  ~Doorways() override { Close(p); }

  template <typename R, typename... A>
  void Refuses(const char* name, int32_t none, size_t argument, R (*function)(A...),
               const std::tuple<A...>& arguments) {
    const Places before = p;
    if constexpr (std::is_void_v<R>) {
      std::apply(function, arguments);
    } else {
      EXPECT_EQ(std::apply(function, arguments), none) << name << " without argument " << argument;
    }
    const auto bytes = [](const Places& places) { return std::as_bytes(std::span(&places, 1)); };
    const auto written = std::ranges::mismatch(bytes(before), bytes(p)).in1 - bytes(before).begin();
    EXPECT_EQ(written, std::ssize(bytes(p)))
        << name << " without argument " << argument << " writes byte " << written;
  }

  template <typename R, typename... A>
  void Probe(const char* name, int32_t none, R (*function)(A...), std::type_identity_t<A>... good) {
    const std::tuple<A...> all(good...);
    const auto each = [&](auto index) {
      std::tuple<A...> bad = all;
      auto& argument = std::get<index()>(bad);
      using Argument = std::remove_reference_t<decltype(argument)>;
      if constexpr (std::is_pointer_v<Argument>) {
        argument = nullptr;
        Refuses(name, none, index(), function, bad);
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

TEST_F(Doorways, AreShutToNulls) {
  ForEachDoorway(p, [&](const char* name, int32_t none, auto* function, auto... good) {
    Probe(name, none, function, good...);
  });
  EXPECT_EQ(p.short_queue.write_pos, 200);
  EXPECT_EQ(p.ring.index, 0);
}

TEST_F(Doorways, OfArithmeticAndFilters) {
  EXPECT_EQ(median_filt(nullptr, -1, nullptr), 1);  // 0 is more than -1 >> 1
  fix32_close_filt(nullptr);
  close_filt(nullptr), close_filter(nullptr, 3);
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
  EXPECT_EQ(file_size(nullptr), 0);
}

TEST_F(Doorways, OfTheNoiseReduction) {
  const fft_tables& t = Twiddles();
  wiener_filt_setting(nullptr), wiener_filt_param_setting(nullptr);
  wiener_vad_setting(nullptr), wiener_filt_resetting(nullptr);
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
  const int32_t* power = p.numbers.data();
  energy_vad_prm& vad = p.detector.vad;
  uv_detection(p.samples.data(), INT32_MAX, power, 257, &p.detector, 0, 0, 0, &vad, &p.detector.profile);
  uv_feat_ext(p.samples.data(), INT32_MAX, power, 257, &p.detector.uv);  // longer than any window
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
  int32_t ready = 9;
  mfcc_feat_ex(nullptr, &ready, 0, 0), mfcc_feat_ex(&p.mfcc, nullptr, 0, 0);
  EXPECT_EQ(ready, 9);
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
