// The MFCC extractor behind the C interface, and the power spectrum that it needs.
#pragma once

#include <vask/mfcc.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "format.h"
#include "library/transform.h"

namespace vask::command {

// Set up and released with this object. If a knowledge base is named, its table files, if any, replace the
// built-in tables, and its mean is subtracted.
class Extractor {
 public:
  static constexpr int32_t kCoefficients = 13, kChannels = 23;

  // Throws FatalError with the library's own message if a file is malformed.
  explicit Extractor(const std::string& knowledge_base = "");
  ~Extractor();
  Extractor(const Extractor&) = delete;
  Extractor& operator=(const Extractor&) = delete;

  // The window of a frame covers the previous frame and the frame itself, 20 ms: a 320-point Hamming window.
  // Returns true when there is an output frame: at once, or with derivatives four frames later.
  bool Feed(const Frame& frame, bool with_dynamics);
  // Feeds the last frame again, so that the derivatives can be completed.
  bool FeedAgain() { return Extract(true); }

  std::vector<float> Output(bool with_dynamics) const;  // 13 or 39 coefficients
  std::vector<float> LogEnergies() const;               // 23 channels, natural logarithms

  // Folds what was fed into the mean; SaveMean() writes it to the knowledge base. Both throw FatalError.
  void UpdateMean();
  void SaveMean();

 private:
  static constexpr int32_t kPoints = kTransformPoints;

  bool Extract(bool with_dynamics);

  mfcc_prm prm_ = {};
  std::array<int32_t, 2 * kFrameSamples> window_q30_ = {};
  std::array<int16_t, 2 * kFrameSamples> samples_ = {};
};

}  // namespace vask::command
