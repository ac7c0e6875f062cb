// Power spectrum of a packed real transform.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// x packed as Re X(0 .. n/2), Im X(n/2-1 .. 1); afterwards x[0 .. n/2] holds the powers, int64. Values are
// shifted right by `shift` before they are squared; a negative (overflowed) power becomes the largest.
void PowerSpectrum(std::span<int64_t> x, int32_t shift);

}  // namespace vask
