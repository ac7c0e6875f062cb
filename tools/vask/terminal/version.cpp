#include "terminal/version.h"

#include <sndfile.h>
#include <soxr.h>
#include <vask/export.h>

namespace vask::command {
namespace {

#if defined(__clang__)
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "GCC " __VERSION__;
#endif

// By the same rule as the library's.
const char* FormInUse() {
#if defined(__x86_64__)
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") ? "AVX2" : "plain x86-64";
#elif defined(__aarch64__)
  return "NEON";
#else
  return "plain";
#endif
}

}  // namespace

std::string Version() {
  return "vask " + std::to_string(VASK_VERSION_MAJOR) + "." + std::to_string(VASK_VERSION_MINOR) + "." +
         std::to_string(VASK_VERSION_PATCH) + " (" + kCompiler + ")\n" + "Arithmetic: " + FormInUse() + "\n" +
         "Java binding: " + (VASK_JNI_BUILT ? "yes" : "no") + "\n" + "Reads and writes with " +
         sf_version_string() + ", resamples with " + soxr_version();
}

}  // namespace vask::command
