// Rows of data: profiles A to H and which device uses which.
#include "epd/profiles.h"

#include <algorithm>
#include <iterator>

#include "dsp/arith.h"

namespace vask {
namespace {

constexpr int32_t kSixVotesQ30 = Q<30>(0.6);
constexpr int32_t kSevenVotesQ30 = Q<30>(0.7);
static_assert(kSixVotesQ30 == 644245094 && kSevenVotesQ30 == 751619276);
constexpr int32_t kH2lRatioQ16 = Q<16>(0.76);
constexpr int32_t kH2lRatioWideQ16 = Q<16>(0.96);
static_assert(kH2lRatioQ16 == 49807 && kH2lRatioWideQ16 == 62914);

consteval epd_profile WithCommonThresholds(epd_profile p) {
  p.voiced_check_frames = 75;
  p.yin_min = Q<16>(0.63);
  p.amdf_low = 65;
  p.amdf_high = Q<16>(2.25);
  p.pv_low = Q<16>(0.01);
  p.pv_high = Q<16>(2.95);
  p.tonality_min = Q<16>(0.3);
  p.entropy_max = Q<16>(0.3);
  return p;
}

// The eight values in which the devices differ.
consteval epd_profile Row(int32_t long_speech, int32_t max_unvoiced, int32_t vad_threshold,
                          int32_t sample_shift, int32_t energy_shift, int32_t h2l_ratio_max,
                          int32_t uv_vote_min, int32_t uv_energy_offset) {
  return WithCommonThresholds({.hangover_frames = 100,
                               .voiced_check_frames = 0,
                               .long_speech_frames = long_speech,
                               .max_unvoiced_run = max_unvoiced,
                               .vad_threshold = vad_threshold,
                               .sample_shift = sample_shift,
                               .energy_shift = energy_shift,
                               .h2l_ratio_max = h2l_ratio_max,
                               .yin_min = 0,
                               .amdf_low = 0,
                               .amdf_high = 0,
                               .pv_low = 0,
                               .pv_high = 0,
                               .tonality_min = 0,
                               .entropy_max = 0,
                               .uv_vote_min = uv_vote_min,
                               .uv_energy_offset = uv_energy_offset});
}

constexpr epd_profile kA = Row(180, 190, 45, 1, 0, kH2lRatioQ16, kSixVotesQ30, 20);  // the general profile
constexpr epd_profile kB = Row(150, 170, 50, 3, 3, kH2lRatioWideQ16, kSixVotesQ30, 25);
constexpr epd_profile kC = Row(150, 170, 45, 2, 2, kH2lRatioQ16, kSixVotesQ30, 40);
constexpr epd_profile kD = Row(150, 170, 50, 2, 1, kH2lRatioQ16, kSevenVotesQ30, 45);
constexpr epd_profile kE = Row(180, 190, 45, 2, 0, kH2lRatioQ16, kSixVotesQ30, 20);
constexpr epd_profile kF = Row(180, 190, 45, 2, 1, kH2lRatioQ16, kSixVotesQ30, 20);
constexpr epd_profile kG = Row(180, 190, 45, 1, 1, kH2lRatioQ16, kSixVotesQ30, 20);
constexpr epd_profile kH = Row(180, 190, 45, 2, 2, kH2lRatioQ16, kSixVotesQ30, 20);
static_assert(kA.yin_min == 41287 && kA.amdf_high == 147456 && kA.pv_low == 655 && kA.pv_high == 193331);
static_assert(kA.tonality_min == 19660 && kA.entropy_max == 19660);

struct Choice {
  int32_t device;
  const epd_profile& with_os_1;
  const epd_profile& otherwise;
};

constexpr Choice kChoices[] = {
    {1, kB, kB},    {2, kB, kA},    {3, kA, kA},    {16, kC, kA},    {32, kD, kE},    {48, kF, kF},
    {144, kF, kF},  {160, kG, kG},  {256, kG, kG},  {512, kH, kH},   {768, kA, kA},   {2560, kA, kA},
    {2816, kA, kA}, {4096, kH, kH}, {8192, kH, kH}, {12288, kH, kH}, {16384, kA, kA},
};
constexpr Choice kUnlisted = {0, kB, kA};

consteval epd_profile MakeReference() {
  epd_profile p = Row(130, 150, 40, 3, 1, kH2lRatioQ16, kSevenVotesQ30, 35);
  p.hangover_frames = 80;
  return p;
}

}  // namespace

const epd_profile kReferenceProfile = MakeReference();

epd_profile DeviceProfile(int32_t device, int32_t os) {
  const auto* listed = std::find_if(std::begin(kChoices), std::end(kChoices),
                                    [&](const Choice& choice) { return choice.device == device; });
  const Choice& choice = listed == std::end(kChoices) ? kUnlisted : *listed;
  return os == 1 ? choice.with_os_1 : choice.otherwise;
}

}  // namespace vask
