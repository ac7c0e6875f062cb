#include "jobs/report/envelope.h"

#include <algorithm>
#include <cstdlib>

namespace vask::command {

void Envelope::Add(std::span<const int16_t> samples) {
  for (const int16_t sample : samples) {
    if (filled_ == 0) values_.push_back(0);
    // Rounded up, so that the faintest sound does not look like silence.
    const auto height = static_cast<uint8_t>((std::abs(int32_t{sample}) * 255 + 32767) / 32768);
    values_.back() = std::max(values_.back(), height);
    filled_ = (filled_ + 1) % step_;
  }
}

}  // namespace vask::command
