#include "terminal/version.h"

#include <sndfile.h>
#include <soxr.h>
#include <vask/export.h>

#include "dsp/level.h"

namespace vask::command {
namespace {

#if defined(__clang__)
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "GCC " __VERSION__;
#endif

}  // namespace

std::string LevelNames() {
  std::string names;
  for (const Level level : LevelsHere()) names += (names.empty() ? "" : ", ") + std::string(NameOf(level));
  return names;
}

std::string Version() {
  return std::string("vask ") + vask_version() + " (" + kCompiler + ")\n" +
         "Arithmetic: " + NameOf(LevelInForce()) + " (of " + LevelNames() + ")\n" +
         "Java binding: " + (VASK_JNI_BUILT ? "yes" : "no") + "\n" + "Reads and writes with " +
         sf_version_string() + ", resamples with " + soxr_version();
}

}  // namespace vask::command
