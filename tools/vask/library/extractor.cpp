#include "library/extractor.h"

#include <unistd.h>
#include <vask/engine.h>

#include <algorithm>

#include "library/messages.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr int32_t kSpareBits = 8;  // of the windowed samples, so that the FFT keeps their fractions
constexpr double kOneQ16 = 1 << 16, kOneQ20 = 1 << 20;

bool HasTableFiles(const std::string& knowledge_base) {
  const auto is_there = [&](const char* name) {
    return access((knowledge_base + "/Vask.db/" + name).c_str(), F_OK) == 0;
  };
  return is_there("pre_emph.txt") || is_there("InitFBank.txt") || is_there("loChan.txt") ||
         is_there("InitDCTMatrix.txt");
}

}  // namespace

Extractor::Extractor(const std::string& knowledge_base) {
  bool up = false, from_files = false;
  const std::string complaint = ComplaintOf([&] {
    if (!knowledge_base.empty()) Vask_epd_set_base_dir(knowledge_base.c_str());
    from_files = !knowledge_base.empty() && HasTableFiles(knowledge_base);
    up = (from_files ? init_mfcc_prm(&prm_, kPoints) : vask_init_mfcc_prm(&prm_)) == 1;
  });
  if (!up) throw FatalError(complaint.empty() ? "the extractor does not start" : complaint);
  if (!knowledge_base.empty() && access((std::string(Vask_epd_base_dir) + "global_cms").c_str(), F_OK) == 0) {
    // A mean that was never stored is zero; one that cannot be read must not be overwritten.
    const std::string reading = ComplaintOf([&] { vask_read_global_cms(&prm_); });
    if (!reading.empty()) {
      close_mfcc_prm(&prm_);
      throw FatalError(Printable(knowledge_base) + "/Vask.db/global_cms: " + reading +
                       ": repair the file or remove it");
    }
  }
  init_hamm_window(window_q30_.data(), static_cast<int32_t>(window_q30_.size()));
}

Extractor::~Extractor() { close_mfcc_prm(&prm_); }

bool Extractor::Feed(const Frame& frame, bool with_dynamics) {
  std::copy(samples_.begin() + kFrameSamples, samples_.end(), samples_.begin());
  std::copy(frame.begin(), frame.end(), samples_.begin() + kFrameSamples);
  return Extract(with_dynamics);
}

bool Extractor::Extract(bool with_dynamics) {
  std::array<int64_t, kPoints> x = {};
  for (size_t i = 0; i < samples_.size(); ++i) {
    x[i] = (int64_t{samples_[i]} * window_q30_[i]) >> (30 - kSpareBits);
  }
  Transform(x);
  for (size_t k = 0; k <= kPoints / 2; ++k) {
    const int64_t real = x[k], imaginary = k % (kPoints / 2) == 0 ? 0 : x[kPoints - k];
    constexpr int64_t kHalf = int64_t{1} << (2 * kSpareBits - 1);
    prm_.spec[k] = (real * real + imaginary * imaginary + kHalf) >> (2 * kSpareBits);
  }
  int32_t ready = 0;
  mfcc_feat_ex(&prm_, &ready, 0, with_dynamics ? 1 : 0);
  return ready == 1;
}

std::vector<float> Extractor::Output(bool with_dynamics) const {
  std::vector<float> output;
  const auto append = [&](const int32_t* q20) {
    for (int32_t k = 0; k < kCoefficients; ++k) output.push_back(static_cast<float>(q20[k] / kOneQ20));
  };
  append(prm_.cep);
  if (with_dynamics) {
    append(prm_.delta);
    append(prm_.accel);
  }
  return output;
}

std::vector<float> Extractor::LogEnergies() const {
  std::vector<float> energies;
  for (int32_t k = 1; k <= kChannels; ++k) energies.push_back(static_cast<float>(prm_.lfbe[k] / kOneQ16));
  return energies;
}

void Extractor::UpdateMean() {
  RunOrThrow([&] { global_cms_update(&prm_); });
}

void Extractor::SaveMean() {
  RunOrThrow([&] { vask_write_global_cms(&prm_); });
}

}  // namespace vask::command
