// NEON for both ARMs and WebAssembly: the intrinsics of 64-bit ARM, where they are missing made of those that
// the machine has.
#pragma once

#if defined(__wasm__)
#include "dsp/neon_simd128.h"
#else
#include <arm_neon.h>
#endif

#include "dsp/kernel.h"

#if defined(__arm__)

namespace vask {

VASK_BEGIN_NEON

inline int16x8_t vmovl_high_s8(int8x16_t a) { return vmovl_s8(vget_high_s8(a)); }
inline int64x2_t vmovl_high_s32(int32x4_t a) { return vmovl_s32(vget_high_s32(a)); }
inline uint64x2_t vmovl_high_u32(uint32x4_t a) { return vmovl_u32(vget_high_u32(a)); }
inline int16x8_t vmovn_high_s32(int16x4_t low, int32x4_t a) { return vcombine_s16(low, vmovn_s32(a)); }

inline int64x2_t vmull_high_s32(int32x4_t a, int32x4_t b) {
  return vmull_s32(vget_high_s32(a), vget_high_s32(b));
}
inline uint64x2_t vmull_high_u32(uint32x4_t a, uint32x4_t b) {
  return vmull_u32(vget_high_u32(a), vget_high_u32(b));
}
inline int32x4_t vmlal_high_s16(int32x4_t sum, int16x8_t a, int16x8_t b) {
  return vmlal_s16(sum, vget_high_s16(a), vget_high_s16(b));
}
inline int64x2_t vmlal_high_s32(int64x2_t sum, int32x4_t a, int32x4_t b) {
  return vmlal_s32(sum, vget_high_s32(a), vget_high_s32(b));
}

inline int16x8_t vuzp1q_s16(int16x8_t a, int16x8_t b) { return vuzpq_s16(a, b).val[0]; }
inline int16x8_t vuzp2q_s16(int16x8_t a, int16x8_t b) { return vuzpq_s16(a, b).val[1]; }
inline uint32x4_t vuzp1q_u32(uint32x4_t a, uint32x4_t b) { return vuzpq_u32(a, b).val[0]; }
inline uint32x4_t vuzp2q_u32(uint32x4_t a, uint32x4_t b) { return vuzpq_u32(a, b).val[1]; }

inline int32x4_t vpaddq_s32(int32x4_t a, int32x4_t b) {
  return vcombine_s32(vpadd_s32(vget_low_s32(a), vget_high_s32(a)),
                      vpadd_s32(vget_low_s32(b), vget_high_s32(b)));
}
inline int64_t vaddvq_s64(int64x2_t a) { return vgetq_lane_s64(a, 0) + vgetq_lane_s64(a, 1); }

VASK_END_NEON

}  // namespace vask

#endif

namespace vask {

VASK_BEGIN_NEON

// sum + a * b: eight products into four sums, in an order that is the machine's own.
VASK_BODY int32x4_t AddProducts(int32x4_t sum, int16x8_t a, int16x8_t b) {
#if defined(__wasm__)
  return wasm_i32x4_add(sum, wasm_i32x4_dot_i16x8(a, b));
#else
  return vmlal_high_s16(vmlal_s16(sum, vget_low_s16(a), vget_low_s16(b)), a, b);
#endif
}

VASK_END_NEON

}  // namespace vask
