// Kernels: functions with a form for every level (dsp/level.h); each call runs that of the level in force.
//
// A kernel is written as nameBody, always inlined, and VASK_KERNEL compiles that for every level:
//
//   VASK_BODY void ScaleBody(std::span<int32_t> x, int32_t by) { ... }
//   VASK_KERNEL(void, Scale, (std::span<int32_t> x, int32_t by), (x, by), ScalePlain)
//
// where ScalePlain is the readable form; ScalePortable in its place says that the body is the only form.
// Where a level has a form written by hand, VASK_PICK names all forms. Each kernel is listed in
// dsp/kernels.inc, and tests/fast runs every kernel of that list at every level.
#pragma once

#include "dsp/level.h"

#if defined(__x86_64__) && defined(__GNUC__)
#define VASK_HAS_AVX2 1
#define VASK_AVX2 __attribute__((target("avx2,bmi,bmi2,lzcnt")))
#if defined(__clang__)
#define VASK_BEGIN_AVX2 \
  _Pragma("clang attribute push(__attribute__((target(\"avx2,bmi,bmi2,lzcnt\"))), apply_to = function)")
#define VASK_END_AVX2 _Pragma("clang attribute pop")
#else
#define VASK_BEGIN_AVX2 _Pragma("GCC push_options") _Pragma("GCC target(\"avx2,bmi,bmi2,lzcnt\")")
#define VASK_END_AVX2 _Pragma("GCC pop_options")
#endif
#else
#define VASK_HAS_AVX2 0
#define VASK_AVX2
#endif

// A 32-bit ARM processor may lack NEON. If the compiler does not take it for granted, what stands between
// VASK_BEGIN_NEON and VASK_END_NEON is compiled for it all the same, and the machine is asked. Pragmas alone:
// beside an attribute that says the same, gcc 12 compiles the rest of the file for NEON, too.
// WebAssembly's vectors have the same width; dsp/neon.h gives them the names of NEON's intrinsics.
#if defined(__ARM_NEON) || defined(__wasm_simd128__)
#define VASK_HAS_NEON 1
#define VASK_ASKS_FOR_NEON 0
#elif defined(__arm__) && defined(__ARM_FP) && __ARM_ARCH >= 7 && defined(__linux__) && defined(__GNUC__) && \
    !defined(__clang__)
#define VASK_HAS_NEON 1
#define VASK_ASKS_FOR_NEON 1
#else
#define VASK_HAS_NEON 0
#define VASK_ASKS_FOR_NEON 0
#endif
#if VASK_ASKS_FOR_NEON
#define VASK_BEGIN_NEON _Pragma("GCC push_options") _Pragma("GCC target(\"fpu=neon\")")
#define VASK_END_NEON _Pragma("GCC pop_options")
#else
#define VASK_BEGIN_NEON
#define VASK_END_NEON
#endif

#define VASK_BODY static inline __attribute__((always_inline))

namespace vask {

#define VASK_KERNEL_NAME(name) k##name,
enum class Kernel {
#include "dsp/kernels.inc"
};
#undef VASK_KERNEL_NAME

// Only a kernel of the list has a level. A WebAssembly module has one, which the compiler knows: so the other
// forms are left out of it.
#if defined(__wasm__)
constexpr Level LevelOf(Kernel /*kernel*/) { return VASK_HAS_NEON ? Level::kNeon : Level::kPortable; }
#else
inline Level LevelOf(Kernel /*kernel*/) { return LevelInForce(); }
#endif

}  // namespace vask

// Defines `type name params`, which runs one of the forms with `args`. Forms for other machines need not
// exist.
#define VASK_PICK(type, name, params, args, plain, portable, avx2, neon) \
  type name params {                                                     \
    const auto vask_level = ::vask::LevelOf(::vask::Kernel::k##name);    \
    if (vask_level == ::vask::Level::kPlain) return plain args;          \
    VASK_PICK_FASTEST(avx2, neon, args)                                  \
    return portable args;                                                \
  }

#if VASK_HAS_AVX2
#define VASK_PICK_FASTEST(avx2, neon, args) \
  if (vask_level == ::vask::Level::kAvx2) return avx2 args;
#define VASK_COMPILE(type, name, params, args)                                   \
  [[maybe_unused]] static type name##Portable params { return name##Body args; } \
  VASK_AVX2 static type name##Avx2 params { return name##Body args; }
#else
#if VASK_HAS_NEON
#define VASK_PICK_FASTEST(avx2, neon, args) \
  if (vask_level == ::vask::Level::kNeon) return neon args;
#else
#define VASK_PICK_FASTEST(avx2, neon, args)
#endif
#if VASK_ASKS_FOR_NEON
#define VASK_COMPILE(type, name, params, args)                                   \
  [[maybe_unused]] static type name##Portable params { return name##Body args; } \
  VASK_BEGIN_NEON                                                                \
  [[maybe_unused]] static type name##WithNeon params { return name##Body args; } \
  VASK_END_NEON
#else
#define VASK_COMPILE(type, name, params, args) \
  [[maybe_unused]] static type name##Portable params { return name##Body args; }
#endif
#endif

// The body as it is compiled for the level neon.
#if VASK_ASKS_FOR_NEON
#define VASK_WITH_NEON(name) name##WithNeon
#else
#define VASK_WITH_NEON(name) name##Portable
#endif

#define VASK_KERNEL(type, name, params, args, plain) \
  VASK_COMPILE(type, name, params, args)             \
  VASK_PICK(type, name, params, args, plain, name##Portable, name##Avx2, VASK_WITH_NEON(name))
