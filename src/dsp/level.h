// Which form of a kernel runs. Every form gives the same bits; they differ in speed and in how they read.
//
//   plain     the definition, value by value, with integers and products in full
//   portable  the fast algorithms (a transform in 32 bits, divisions in double precision, one pass for all
//             lags), in C++ that compilers vectorise for any processor of the architecture
//   avx2      the same for x86-64 with 256-bit integers, in part with intrinsics
//   neon      the same for ARM, in part with intrinsics; 32-bit processors are asked whether they have it. A
//             WebAssembly module with vectors has these forms, too, and no others
//
// A kernel with no form of its own for a level runs that of the previous level. A plain form that is fast as
// it is serves as the portable one too. What is fast by an identity alone, such as the divisions of
// dsp/divide.h, is not a kernel: it is the same at every level.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>

namespace vask {

enum class Level : int32_t { kUnknown, kPlain, kPortable, kAvx2, kNeon };

// The levels that the build and the machine have, the fastest last.
std::span<const Level> LevelsHere();
const char* NameOf(Level level);

// Force a level from now on, for all threads. False, and nothing changes, if the machine does not have it.
bool ForceLevel(Level level);
bool ForceLevel(std::string_view name);

// The level in force: a fact about the machine, so it is not part of any stream's state. It is determined
// once, by any thread, since all find the same. Only ForceLevel changes it.
extern std::atomic<Level> level_in_force;
Level FindLevel();

inline Level LevelInForce() {
  const Level level = level_in_force.load(std::memory_order_relaxed);
  return level != Level::kUnknown ? level : FindLevel();
}

}  // namespace vask
