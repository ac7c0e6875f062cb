// Run-time choice of instructions on x86-64. A kernel is written once and compiled twice: for every processor
// and, with VASK_AVX2 or between VASK_BEGIN_AVX2 and VASK_END_AVX2, for those with 256-bit integers. Both
// give the same bits; the caller asks HasAvx2() once a call. 64-bit ARM needs no choice: its vectors are
// always there.
#pragma once

#if defined(__x86_64__) && defined(__GNUC__)
#define VASK_HAS_AVX2_KERNELS 1
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
#define VASK_HAS_AVX2_KERNELS 0
#endif

#if defined(__ARM_NEON) && defined(__aarch64__)
#define VASK_HAS_NEON 1
#else
#define VASK_HAS_NEON 0
#endif

#define VASK_KERNEL static inline __attribute__((always_inline))

// Defines `type name params`, which runs the kernel nameBody with `args`, compiled for the processor at hand.
#if VASK_HAS_AVX2_KERNELS
#define VASK_DISPATCH(type, name, params, args)                       \
  VASK_AVX2 static type name##Avx2 params { return name##Body args; } \
  type name params {                                                  \
    if (HasAvx2()) return name##Avx2 args;                            \
    return name##Body args;                                           \
  }
#else
#define VASK_DISPATCH(type, name, params, args) \
  type name params { return name##Body args; }
#endif

namespace vask {

inline bool HasAvx2() {
#if VASK_HAS_AVX2_KERNELS
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2");
#else
  return false;
#endif
}

// Rounding a double down is one instruction, in vectors too.
inline bool HasFloor() { return VASK_HAS_NEON != 0 || HasAvx2(); }

}  // namespace vask
