#include "listening/listening.h"

#include <algorithm>
#include <array>

#include "dsp/float_fft.h"
#include "dsp/memory.h"
#include "dsp/portable_math.h"
#include "listening/gains.h"
#include "listening/noise_floor.h"
#include "listening/overlap.h"

namespace vask {
namespace {

constexpr int32_t kStepFrames = 2;  // of the detector
constexpr int32_t kLookBack = 10;   // frames from the end of the step that a verdict is about
constexpr int32_t kRing = kLookBack + kStepFrames;
constexpr size_t kFirstHighBin = 224;  // 7 kHz

// A pause and an utterance differ in what is wanted. In a pause the filter is slow and takes the noise for
// 3 dB louder, so that no crackle of single bins is left; while somebody speaks it follows quickly and takes
// the noise as it is.
constexpr float kPreviousShareInPauses = 0.99f, kPreviousShareInSpeech = 0.92f;
constexpr float kNoiseFactorInPauses = 0.5f, kNoiseFactorInSpeech = 1;

constexpr float kHalfQ15 = 16384;

float AmplitudeOf(float db) {
  constexpr double kPerDb = 0.11512925464970229;  // ln(10) / 20
  return static_cast<float>(PortableExp(kPerDb * static_cast<double>(db)));
}

}  // namespace

struct ListeningState {
  HalfWindow rising;
  float least_gain, filtered;

  HalfWindow newest;  // frame
  HalfWindow left;    // by the previous window for the next frame out
  bool newest_is_zero;
  std::array<BinValues, kRing> powers;
  std::array<bool, kRing> is_silent;  // of the windows in `powers`: nothing but zeros
  int32_t at;                         // in the ring: the newest
  NoiseFloor floor;
  BinValues inverse_noise, speech, gains;
  bool is_guess;  // of the floor
  bool is_pause;
};

namespace {

void Restart(ListeningState& s) {
  s.newest = {};
  s.left = {};
  s.newest_is_zero = true;
  s.powers = {};
  s.is_silent.fill(true);
  s.at = 0;
  s.floor = {};
  s.inverse_noise = {};
  s.speech = {};
  s.gains.fill(1);
  s.is_guess = true;
  s.is_pause = true;
}

// Take a frame into its window. True: there is nothing but zeros in it.
bool TakeFrame(ListeningState& s, std::span<const int16_t, kFrame> frame, FloatSamples& samples) {
  const HalfWindow older = s.newest;
  std::copy(frame.begin(), frame.end(), s.newest.begin());
  TakeWindow(s.rising, older, s.newest, samples);
  const bool older_is_zero = s.newest_is_zero;
  s.newest_is_zero = std::all_of(frame.begin(), frame.end(), [](int16_t x) { return x == 0; });
  return older_is_zero && s.newest_is_zero;
}

void WithdrawGuess(ListeningState& s) {
  if (s.is_guess) s.floor = {};
  s.is_guess = false;
}

// From the first sample to the detector's first verdict the background is what has been heard so far: sound
// that is steady from the start does not burst out first. What begins after zeros is not guessed about: it is
// as often speech.
void GuessNoise(ListeningState& s) {
  const auto at = static_cast<size_t>(s.at);
  if (s.is_silent[at]) WithdrawGuess(s);
  if (!s.is_guess) return;
  LearnPair(s.powers[at], s.powers[at], 1, s.floor);
  InvertFloor(s.floor, s.inverse_noise);
}

}  // namespace

bool Listening::Open(float floor_db, float mix) {
  state_ = NewZeroed<ListeningState>(1);
  if (state_ == nullptr) return false;
  MakeRisingHalf(state_->rising);
  state_->least_gain = AmplitudeOf(floor_db);
  state_->filtered = mix;
  Clear();
  return true;
}

void Listening::Close() { Release(state_); }

void Listening::Clear() {
  if (state_ != nullptr) Restart(*state_);
}

void Listening::Filter(std::span<const int16_t, kFrame> frame, std::span<int16_t, kFrame> out) {
  ListeningState& s = *state_;
  s.at = (s.at + 1) % kRing;
  const auto at = static_cast<size_t>(s.at);

  FloatSamples samples;
  s.is_silent[at] = TakeFrame(s, frame, samples);

  FloatSpectrum spectrum;
  ForwardFft(samples, spectrum);
  PowerOfBins(spectrum, s.powers[at]);
  GuessNoise(s);
  const GainRule rule = {s.is_pause ? kPreviousShareInPauses : kPreviousShareInSpeech,
                         s.is_pause ? kNoiseFactorInPauses : kNoiseFactorInSpeech,
                         s.floor.weight > 0 ? s.least_gain : 1, s.filtered};
  WeighBins(rule, s.inverse_noise, s.powers[at], s.speech, s.gains, spectrum);
  InverseFft(spectrum, samples);
  AddOverlap(s.rising, samples, s.left, out.data());
}

void Listening::LearnNoise(int16_t speech_100ms_ago) {
  ListeningState& s = *state_;
  const auto older = static_cast<size_t>((s.at + 1) % kRing), newer = static_cast<size_t>((s.at + 2) % kRing);
  if (s.is_silent[older] || s.is_silent[newer]) return;  // a second of zeros is no background
  WithdrawGuess(s);
  const float absence = 1 - static_cast<float>(speech_100ms_ago) / kHalfQ15;
  s.is_pause = absence > 0;
  LearnPair(s.powers[older], s.powers[newer], std::max(absence, 0.0f), s.floor);
  InvertFloor(s.floor, s.inverse_noise);
}

float Listening::high_gain() const {
  if (state_ == nullptr) return 1;
  float sum = 0;
  for (size_t k = kFirstHighBin; k < kSpectrumBins; ++k) sum += state_->gains[k];
  return sum / (kSpectrumBins - kFirstHighBin);
}

}  // namespace vask
