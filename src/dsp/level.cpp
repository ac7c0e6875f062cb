#include "dsp/level.h"

#include <algorithm>

#include "dsp/kernel.h"

#if VASK_ASKS_FOR_NEON
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace vask {
namespace {

#if VASK_HAS_AVX2
constexpr Level kLevels[] = {Level::kPlain, Level::kPortable, Level::kAvx2};
bool HasFastest() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2"); }
#elif VASK_HAS_NEON
constexpr Level kLevels[] = {Level::kPlain, Level::kPortable, Level::kNeon};
#if VASK_ASKS_FOR_NEON
bool HasFastest() { return (getauxval(AT_HWCAP) & HWCAP_NEON) != 0; }
#else
bool HasFastest() { return true; }
#endif
#else
constexpr Level kLevels[] = {Level::kPlain, Level::kPortable};
bool HasFastest() { return true; }
#endif

}  // namespace

std::atomic<Level> level_in_force = Level::kUnknown;

std::span<const Level> LevelsHere() {
  const std::span<const Level> all = kLevels;
  return HasFastest() ? all : all.first(all.size() - 1);
}

const char* NameOf(Level level) {
  constexpr const char* kNames[] = {"unknown", "plain", "portable", "avx2", "neon"};
  return kNames[static_cast<size_t>(level)];
}

bool ForceLevel(Level level) {
  const auto here = LevelsHere();
  if (std::find(here.begin(), here.end(), level) == here.end()) return false;
  level_in_force.store(level, std::memory_order_relaxed);
  return true;
}

bool ForceLevel(std::string_view name) {
  for (const Level level : LevelsHere()) {
    if (name == NameOf(level)) return ForceLevel(level);
  }
  return false;
}

Level FindLevel() {
  // If another thread forces a level meanwhile, that one is kept.
  Level found = Level::kUnknown;
  const Level fastest = LevelsHere().back();
  return level_in_force.compare_exchange_strong(found, fastest, std::memory_order_relaxed) ? fastest : found;
}

}  // namespace vask
