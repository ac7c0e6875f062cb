// The library's Fourier transform of 512 points, with its built-in twiddle factors.
#pragma once

#include <array>
#include <cstdint>

namespace vask::command {

inline constexpr int32_t kTransformPoints = 512;

// In place: Re X(0 .. 256), then Im X(255 .. 1).
void Transform(std::array<int64_t, kTransformPoints>& x);

}  // namespace vask::command
