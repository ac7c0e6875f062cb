// The MFCC extractor behind the C interface, and the power spectrum that it wants.
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

// Set up and released with this object. Where a knowledge base is named, its table files are used, if it has
// any, and its mean is taken off; else the built-in tables and no mean.
class Extractor {
 public:
  static constexpr int32_t kCoefficients = 13, kChannels = 23;

  // Throws FatalError with the library's own words if a file is malformed.
  explicit Extractor(const std::string& knowledge_base = "");
  ~Extractor();
  Extractor(const Extractor&) = delete;
  Extractor& operator=(const Extractor&) = delete;

  // The window of a frame is the frame before and the frame itself, 20 ms, under the 320-point Hamming
  // window. True when there is an output frame: at once, or with derivatives four frames later.
  bool Feed(const Frame& frame, bool with_dynamics);
  // The last frame once more, so that derivatives can come to their end.
  bool FeedAgain() { return Extract(true); }

  std::vector<float> Output(bool with_dynamics) const;  // 13 or 39 coefficients
  std::vector<float> LogEnergies() const;               // 23 channels, natural logarithms

  // Folds what has been fed into the mean; Save() puts it into the knowledge base. Throws FatalError.
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
