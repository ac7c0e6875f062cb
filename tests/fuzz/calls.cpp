// Any sequence of calls of the C interface, with null and bad arguments as far as it allows them, and with
// its variables written between the calls; afterwards a new start gives the samples that it always gave.
#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <tuple>
#include <type_traits>

#include "fuzz/fuzz.h"
#include "fuzz/sound.h"
#include "process/doorways.h"
#include "support/folder.h"

namespace vask::fuzz {
namespace {

const char* Folder() {
  static const test::Folder folder;
  return folder.path.c_str();
}

// What the calls of this input work on.
test::Places* places;

const char* AnyFolder(Input& input) {
  static const std::string longest = Folder() + std::string(118 - std::strlen(Folder()), '/');
  static const std::string too_long(300, 'x');
  constexpr const char* kNone = nullptr;
  return input.PickValueInArray(
      {Folder(), Folder(), longest.c_str(), too_long.c_str(), "/nowhere/at/all", kNone});
}

template <typename T>
T Any(Input& input) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::bit_cast<T>(input.ConsumeIntegral<int32_t>());
  } else if constexpr (std::is_integral_v<T>) {
    if (input.ConsumeBool()) return input.ConsumeIntegralInRange<T>(-2, 60);
    return Edgy<T>(input, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
  } else if constexpr (std::is_same_v<T, const char*>) {
    return AnyFolder(input);
  } else {
    auto& p = *places;
    const std::tuple records(&p.wiener, &p.wiener.vad, &p.detector, &p.detector.vad, &p.detector.uv,
                             &p.tracker, &p.mfcc, &p.short_queue, &p.queue, &p.wide_queue, &p.silent_queue,
                             &p.short_ring, &p.ring, &p.wide_ring, &p.older_ring, p.numbers.data(),
                             p.samples.data());
    return std::get<std::remove_const_t<std::remove_pointer_t<T>>*>(records);
  }
}

// One of the functions, with any arguments.
template <typename R, typename... A>
void CallWithAny(Input& input, R (*function)(A...)) {
  std::apply(function, std::tuple<A...>{Any<A>(input)...});
}
template <typename... F>
void CallOneOf(Input& input, F*... functions) {
  size_t left = input.ConsumeIntegralInRange<size_t>(0, sizeof...(F) - 1);
  ((left-- == 0 ? CallWithAny(input, functions) : void()), ...);
}

// Good arguments with some pointers null and some counts smaller.
template <typename T>
void Spoil(Input& input, T& argument) {
  const auto how = input.ConsumeIntegralInRange<int>(0, 15);
  if constexpr (std::is_pointer_v<T>) {
    if (how == 0) argument = nullptr;
  } else if constexpr (std::is_integral_v<T>) {
    if (how == 0) argument = std::numeric_limits<T>::min();
    if (how > 11) argument = input.ConsumeIntegralInRange<T>(-1, std::max<T>(argument, 0));
  }
}
template <typename R, typename... A>
void CallWithSpoilt(Input& input, R (*function)(A...), std::type_identity_t<A>... good) {
  std::tuple<A...> arguments(good...);
  std::apply([&](auto&... argument) { (Spoil(input, argument), ...); }, arguments);
  std::apply(function, arguments);
}

// The variables that an application may write. The directory stays a text.
struct Variable {
  void* data;
  size_t size;
};
constexpr Variable kVariables[] = {
#define VARIABLE(name) \
  { &name, sizeof name }
    VARIABLE(deviceID),
    VARIABLE(osID),
    VARIABLE(Vask_EPD_Sampling_Rate),
    VARIABLE(__Hi_Freq__),
    VARIABLE(___epd_sensitivity),
    VARIABLE(Vask_EPD_Energy_Only),
    VARIABLE(__compute_dynamic_feature__),
    VARIABLE(__Vask_epd_detect_env_change),
    VARIABLE(ecdFrames),
    VARIABLE(ecdorgFrames),
    VARIABLE(frame_energy),
    VARIABLE(sample_min),
    VARIABLE(sample_max),
    VARIABLE(enc_state),
    VARIABLE(dec_state),
    VARIABLE(cc1_data),
    VARIABLE(ss1_data),
    VARIABLE(cc3_data),
    VARIABLE(ss3_data),
    VARIABLE(mel_filt_data),
    VARIABLE(loChan_data),
    VARIABLE(pre_emph_data),
    VARIABLE(InitDCTMatrix_data),
    VARIABLE(InitFBank_data),
    {Vask_epd_base_dir, sizeof Vask_epd_base_dir - 1}};

void WriteVariable(Input& input) {
  const Variable& variable = input.PickValueInArray(kVariables);
  const size_t size = std::min(variable.size, sizeof(int32_t));
  const auto value = Any<int32_t>(input);
  const size_t at = size * input.ConsumeIntegralInRange<size_t>(0, variable.size / size - 1);
  std::memcpy(static_cast<char*>(variable.data) + at, &value, size);
}

void CallOne(Input& input) {
  CallOneOf(input, norm_l, L_shl, L_shr, extract_h, extract_l, L_msu, Inv_sqrt, epd_abs_s, LOG2, natural_log,
            log_10, LOG2_Q30, natural_log_Q30, Log2, natural_log_mfcc, Exponential_T, Exp, Exp_Q6, Pow,
            sqrt_function, sqrt_f, sqrt_fQ8, quantized_energy, uv_decision_based_on_energy, VarianceEst, Melf,
            set_energy_hangover, set_vad_threshold, set_EPD_control_Narrorband, Vask_epd_set_option,
            Vask_EPD_Set_Samplign_Rate, Vask_EPD_Set_Mode, Vask_EPD_Set_Mode_Energy,
            Vask_EPD_Set_Mode_Enhanced_To_Raw, Vask_EPD_UV_Control, Vask_EPD_Frame_Loss,
            Vask_epd_save_pcm_valid, Vask_epd_save_pcm_count, Vask_epd_vad, Vask_epd_set_trailing_silence,
            __Vask_Util_attach__, __Vask_Util_detach__, Vask_epd_frame_energy, __Calculate_frame_energy,
            Vask_epd_stop, android_reset_frontend, android_wrapup_frontend, android_stop_frontend,
            refersh_adpcm_state, vask_packet_size, vask_packet_stream_size, __Vask_epd_ecd_Init,
            __Vask_epd_set_seneitivity, Vask_epd_ecd, __Vask_epd_ecd_change, ECVreport,
            __Vask_epd_ecd_get_SNR, Vask_epd_ecd_reset, __Vask_epd_ecd_Stop, android_init_frontend,
            android_init_frontend, android_init_frontend, Vask_epd_init, android_enable_log,
            Vask_epd_save_pcm_dir, __check_Vask_Config__, Vask_epd_set_base_dir, vask_make_coeff_files,
            wiener_filt_setting, wiener_filt_resetting, energy_epd_setting, energy_epd_resetting,
            refresh_mfcc_prm, global_cms_update, vask_read_global_cms, vask_write_global_cms,
            energy_vad_setting, energy_vad_resetting, uv_prm_setting, wiener_vad_setting,
            wiener_vad_resetting, epd_prm_setting, init_energy_epd_conprm, sin_buff_setting, iin_buff_setting,
            in64_buff_setting, sin_buf_setting, sring_buff_setting, iring_buff_setting, i64ring_buff_setting,
            int64_rbuf_setting, EnvChangeValue, Vask_epd_ecd_snr);
}

// Records and tables of any size, from their making to their end.
void CallLives(Input& input, test::Places& p) {
  const auto n = input.ConsumeIntegralInRange<int32_t>(0, 40),
             m = input.ConsumeIntegralInRange<int32_t>(0, 40);
  const fmatrix matrix = create_fmatrix(n, m);
  zero_fmatrix(matrix);
  VASK_REQUIRE(fmatrix_rows(matrix) == n && fmatrix_cols(matrix) == m);
  free_fmatrix(matrix), free_fvector(create_fvector(n));
  wiener_filt wiener = {};
  init_wiener_filt_param(&wiener, m == 0 ? 16000 : m), close_wiener_filt_param(&wiener);
  init_wiener_spectrum(&wiener.spectrum, n), close_wiener_spectrum(&wiener.spectrum);
  init_wiener_gsap_data(&wiener.gsap_data, n), close_wiener_gsap_data(&wiener.gsap_data);
  if (InitMelFB(&wiener.mel_fb, n) == 1) CloseMelFB(&wiener.mel_fb, n);
  energy_epd_prm detector = {};
  init_energy_vad_prm(&detector.vad, n), close_energy_vad_prm(&detector.vad);
  init_uv_prm(&detector.uv, n), close_uv_prm(&detector.uv);
  if (init_energy_epd_prm_org(&detector, 10 * n) == 1) close_energy_epd_prm(&detector);
  fir_filt* const filters = static_cast<fir_filt*>(std::calloc(40, sizeof(fir_filt)));
  if (n == 0) std::free(filters);
  if (n > 0 && init_filter(filters, n, m) == 1) close_filter(filters, n);
  InitFBank(2 * n, m, p.numbers.data(), p.more.data());
  std::free(InitDCTMatrix(n, m));
}

void CallCepstra(Input& input, mfcc_prm& m) {
  int32_t ready = 0;
  for (int32_t k = 0; k < m.bins; ++k) m.spec[k] = int64_t{1} << input.ConsumeIntegralInRange<int>(0, 46);
  mfcc_feat_ex(&m, &ready, 0, input.ConsumeBool());
}

void CallFrames(Input& input, test::Places& p) {
  Samples sound = Sound(input, 8000), out(16000);
  const auto n = static_cast<int32_t>(sound.size());
  if (input.ConsumeBool()) {
    const int32_t result =
        android_process_frame(n, input.ConsumeIntegralInRange(0, 20) == 0 ? nullptr : sound.data());
    VASK_REQUIRE(result >= -1 && result <= 2);
    const auto wanted = input.ConsumeIntegralInRange<int32_t>(-1, 16000);
    android_get_features(std::min(wanted, 100), p.numbers.data());
    const int32_t there = android_get_available_frames();
    VASK_REQUIRE(android_get_frames(wanted, out.data()) == std::clamp(there, 0, std::max(wanted, 0)));
  } else {
    const auto mode = input.ConsumeIntegralInRange<int>(0, 4);
    for (size_t at = 0; at + 160 <= sound.size(); at += 160) {
      int32_t count = 0;
      int16_t* frame = &sound[at];
      mode == 0   ? Vask_epd_speechenhance(frame, 160, out.data(), &count)
      : mode == 1 ? Vask_epd_frames(frame, 160, out.data(), &count)
      : mode == 2 ? Vask_epd_features_dsr(frame, 160, p.numbers.data(), &count)
      : mode == 3 ? Vask_epd_features(frame, 160, p.numbers.data(), &count)
                  : Vask_epd_frame_baseline(frame, 160, out.data(), &count);
      VASK_REQUIRE(count >= 0 && count <= 14080);
    }
    int32_t count = 0;
    if (input.ConsumeBool()) Vask_epd_wrapup(nullptr, &count);
  }
}

// What a start in mode 1 makes of the recording.
Samples Started() {
  static const Samples room = test::Room();
  android_init_frontend(Folder(), 1);
  android_reset_frontend();
  Samples in(room.begin() + 16000, room.begin() + 20800), out(in.size());
  android_process_frame(static_cast<int32_t>(in.size()), in.data());
  out.resize(static_cast<size_t>(android_get_frames(static_cast<int32_t>(out.size()), out.data())));
  android_stop_frontend();
  return out;
}

void Run(Input& input) {
  static const Samples expected = Started();
  static const std::vector<Bytes> before = [] {
    std::vector<Bytes> contents;
    for (const Variable& v : kVariables)
      contents.emplace_back(static_cast<uint8_t*>(v.data), static_cast<uint8_t*>(v.data) + v.size);
    return contents;
  }();
  const auto p = std::make_unique<test::Places>();
  VASK_REQUIRE(test::Open(*p) == 13);
  places = p.get();
  Vask_epd_save_pcm_dir(1, Folder()), Vask_epd_save_pcm_dir(0, nullptr);
  for (const Samples fill = Sound(input, 2000); const int16_t& s : fill) {
    const auto i = static_cast<size_t>(&s - fill.data());
    p->wide[i] = int64_t{s} << (i % 32), p->more_wide[i] = std::abs(int32_t{s}) + 1;
    p->numbers[i] = s * 30000, p->more[i] = s * 65536, p->other[i] = s, p->samples[i] = s;
  }
  for (int calls = 0; calls < 30 && input.remaining_bytes() > 0; ++calls) {
    switch (input.ConsumeIntegralInRange<int>(0, 7)) {
      case 0:
      case 1:
      case 2:
        CallOne(input);
        break;
      case 3:
        CallCepstra(input, p->mfcc);
        CallLives(input, *p);
        break;
      case 4:
        WriteVariable(input);
        break;
      case 5:
        CallFrames(input, *p);
        break;
      default: {
        size_t left = input.ConsumeIntegralInRange<size_t>(0, 78);
        test::ForEachDoorway(*p, [&](const char*, int32_t, auto* function, auto... good) {
          if (left-- == 0) CallWithSpoilt(input, function, good...);
        });
      }
    }
  }
  test::Close(*p);
  android_stop_frontend(), __Vask_epd_ecd_Stop();
  for (size_t v = 0; v < before.size(); ++v)
    std::copy(before[v].begin(), before[v].end(), static_cast<uint8_t*>(kVariables[v].data));
  VASK_REQUIRE(Started() == expected);
}

}  // namespace
}  // namespace vask::fuzz

VASK_FUZZ(vask::fuzz::Run)
