// The intrinsics of 64-bit NEON that the kernels use, in WebAssembly's 128-bit vectors: dsp/neon.h includes
// this file instead of the compiler's own.
//
// All types are one. A vector of 64 bits is the lower half of one of 128; its upper half holds anything. What
// is narrower here than in NEON, because no kernel needs more, says so.
#pragma once

#include <wasm_simd128.h>

#include <cstdint>

namespace vask {

using int8x16_t = v128_t;
using uint8x16_t = v128_t;
using int16x8_t = v128_t;
using int16x4_t = v128_t;
using uint16x8_t = v128_t;
using uint16x4_t = v128_t;
using int32x4_t = v128_t;
using int32x2_t = v128_t;
using uint32x4_t = v128_t;
using uint32x2_t = v128_t;
using int64x2_t = v128_t;
using uint64x2_t = v128_t;
using float32x2_t = v128_t;
using float64x2_t = v128_t;
using float64x1_t = v128_t;
struct int32x4x2_t {
  v128_t val[2];
};

#define VASK_ONE(name, value) \
  inline v128_t name(v128_t a) { return value; }
#define VASK_TWO(name, value) \
  inline v128_t name(v128_t a, v128_t b) { return value; }
#define VASK_THREE(name, value) \
  inline v128_t name(v128_t a, v128_t b, v128_t c) { return value; }
#define VASK_SHIFT(name, value) \
  inline v128_t name(v128_t a, int32_t n) { return value; }
#define VASK_LOAD(name, type, value) \
  inline v128_t name(const type* x) { return value; }
#define VASK_STORE(name, type, step) \
  inline void name(type* x, v128_t a) { step; }
#define VASK_SAME(name, type, value) \
  inline v128_t name(type x) { return value; }

// Memory.
VASK_LOAD(vld1q_s8, int8_t, wasm_v128_load(x))
VASK_LOAD(vld1q_s16, int16_t, wasm_v128_load(x))
VASK_LOAD(vld1q_s32, int32_t, wasm_v128_load(x))
VASK_LOAD(vld1q_s64, int64_t, wasm_v128_load(x))
VASK_LOAD(vld1_u32, uint32_t, wasm_v128_load64_zero(x))
VASK_LOAD(vld1_f64, double, wasm_v128_load64_zero(x))
VASK_STORE(vst1q_s16, int16_t, wasm_v128_store(x, a))
VASK_STORE(vst1q_s32, int32_t, wasm_v128_store(x, a))
VASK_STORE(vst1q_s64, int64_t, wasm_v128_store(x, a))
VASK_STORE(vst1_s32, int32_t, wasm_v128_store64_lane(x, a, 0))
#define vld1q_lane_s32(x, a, lane) wasm_v128_load32_lane(x, a, lane)

// Lanes.
VASK_SAME(vdupq_n_s16, int16_t, wasm_i16x8_splat(x))
VASK_SAME(vdupq_n_u16, uint16_t, wasm_i16x8_splat(static_cast<int16_t>(x)))
VASK_SAME(vdupq_n_s32, int32_t, wasm_i32x4_splat(x))
VASK_SAME(vdupq_n_u32, uint32_t, wasm_i32x4_splat(static_cast<int32_t>(x)))
VASK_SAME(vdupq_n_s64, int64_t, wasm_i64x2_splat(x))
VASK_SAME(vdupq_n_u64, uint64_t, wasm_i64x2_splat(static_cast<int64_t>(x)))
VASK_SAME(vdupq_n_f64, double, wasm_f64x2_splat(x))
#define vget_lane_s32(a, lane) wasm_i32x4_extract_lane(a, lane)
#define vget_lane_u16(a, lane) wasm_u16x8_extract_lane(a, lane)
#define vgetq_lane_s32(a, lane) wasm_i32x4_extract_lane(a, lane)
#define vgetq_lane_u32(a, lane) static_cast<uint32_t>(wasm_i32x4_extract_lane(a, lane))
#define vgetq_lane_s64(a, lane) static_cast<int64_t>(wasm_i64x2_extract_lane(a, lane))
#define vgetq_lane_u64(a, lane) static_cast<uint64_t>(wasm_i64x2_extract_lane(a, lane))
#define vsetq_lane_s32(x, a, lane) wasm_i32x4_replace_lane(a, lane, x)

// Halves.
VASK_ONE(vget_low_s8, a)
VASK_ONE(vget_low_s16, a)
VASK_ONE(vget_low_u16, a)
VASK_ONE(vget_low_s32, a)
VASK_ONE(vget_low_u32, a)
VASK_ONE(vget_high_s16, wasm_i64x2_shuffle(a, a, 1, 1))
VASK_ONE(vget_high_u16, wasm_i64x2_shuffle(a, a, 1, 1))
VASK_ONE(vget_high_s32, wasm_i64x2_shuffle(a, a, 1, 1))
VASK_TWO(vcombine_s16, wasm_i64x2_shuffle(a, b, 0, 2))
VASK_TWO(vcombine_s32, wasm_i64x2_shuffle(a, b, 0, 2))
VASK_TWO(vcombine_u32, wasm_i64x2_shuffle(a, b, 0, 2))
VASK_TWO(vcombine_f64, wasm_i64x2_shuffle(a, b, 0, 2))

// Order.
VASK_ONE(vrev64q_s32, wasm_i32x4_shuffle(a, a, 1, 0, 3, 2))
VASK_TWO(vuzp1q_s16, wasm_i16x8_shuffle(a, b, 0, 2, 4, 6, 8, 10, 12, 14))
VASK_TWO(vuzp2q_s16, wasm_i16x8_shuffle(a, b, 1, 3, 5, 7, 9, 11, 13, 15))
VASK_TWO(vuzp1q_u32, wasm_i32x4_shuffle(a, b, 0, 2, 4, 6))
VASK_TWO(vuzp2q_u32, wasm_i32x4_shuffle(a, b, 1, 3, 5, 7))
inline int32x4x2_t vtrnq_s32(v128_t a, v128_t b) {
  return {{wasm_i32x4_shuffle(a, b, 0, 4, 2, 6), wasm_i32x4_shuffle(a, b, 1, 5, 3, 7)}};
}
#define vextq_s32(a, b, n) wasm_i32x4_shuffle(a, b, n, (n) + 1, (n) + 2, (n) + 3)

// Bits and comparisons.
VASK_TWO(vandq_u16, wasm_v128_and(a, b))
VASK_TWO(vandq_u32, wasm_v128_and(a, b))
VASK_TWO(vandq_s64, wasm_v128_and(a, b))
VASK_TWO(vorrq_s64, wasm_v128_or(a, b))
VASK_TWO(veorq_s32, wasm_v128_xor(a, b))
VASK_THREE(vbslq_s32, wasm_v128_bitselect(b, c, a))
VASK_TWO(vcgeq_u32, wasm_u32x4_ge(a, b))
VASK_TWO(vmaxq_s16, wasm_i16x8_max(a, b))
VASK_TWO(vmaxq_s32, wasm_i32x4_max(a, b))

// Sums and differences.
VASK_ONE(vabsq_s16, wasm_i16x8_abs(a))
VASK_ONE(vabsq_s32, wasm_i32x4_abs(a))
VASK_ONE(vnegq_s32, wasm_i32x4_neg(a))
VASK_TWO(vadd_s16, wasm_i16x8_add(a, b))
VASK_TWO(vaddq_s16, wasm_i16x8_add(a, b))
VASK_TWO(vaddq_u16, wasm_i16x8_add(a, b))
VASK_TWO(vqaddq_s16, wasm_i16x8_add_sat(a, b))
VASK_TWO(vadd_s32, wasm_i32x4_add(a, b))
VASK_TWO(vaddq_s32, wasm_i32x4_add(a, b))
VASK_TWO(vaddq_u32, wasm_i32x4_add(a, b))
VASK_TWO(vaddq_s64, wasm_i64x2_add(a, b))
VASK_TWO(vsubq_s16, wasm_i16x8_sub(a, b))
VASK_TWO(vsubq_s32, wasm_i32x4_sub(a, b))
VASK_TWO(vsubq_u32, wasm_i32x4_sub(a, b))
VASK_TWO(vsubq_s64, wasm_i64x2_sub(a, b))
VASK_TWO(vsubl_s16, wasm_i32x4_sub(wasm_i32x4_extend_low_i16x8(a), wasm_i32x4_extend_low_i16x8(b)))
VASK_TWO(vpadd_s32,
         wasm_i32x4_add(wasm_i32x4_shuffle(a, b, 0, 4, 0, 4), wasm_i32x4_shuffle(a, b, 1, 5, 1, 5)))
VASK_TWO(vpaddq_s32,
         wasm_i32x4_add(wasm_i32x4_shuffle(a, b, 0, 2, 4, 6), wasm_i32x4_shuffle(a, b, 1, 3, 5, 7)))
VASK_ONE(vpaddlq_s16, wasm_i32x4_extadd_pairwise_i16x8(a))
VASK_TWO(vpadalq_u32, wasm_i64x2_add(a, wasm_i64x2_add(wasm_v128_and(b, wasm_i64x2_splat(0xffffffff)),
                                                       wasm_u64x2_shr(b, 32))))
inline int64_t vaddvq_s64(v128_t a) { return vgetq_lane_s64(a, 0) + vgetq_lane_s64(a, 1); }

// Width. vqmovn_s64: to 32 bits.
VASK_ONE(vmovl_s8, wasm_i16x8_extend_low_i8x16(a))
VASK_ONE(vmovl_high_s8, wasm_i16x8_extend_high_i8x16(a))
VASK_ONE(vmovl_s16, wasm_i32x4_extend_low_i16x8(a))
VASK_ONE(vmovl_s32, wasm_i64x2_extend_low_i32x4(a))
VASK_ONE(vmovl_high_s32, wasm_i64x2_extend_high_i32x4(a))
VASK_ONE(vmovl_u32, wasm_u64x2_extend_low_u32x4(a))
VASK_ONE(vmovl_high_u32, wasm_u64x2_extend_high_u32x4(a))
VASK_ONE(vmovn_s32, vuzp1q_s16(a, a))
VASK_TWO(vmovn_high_s32, wasm_i64x2_shuffle(a, vuzp1q_s16(b, b), 0, 2))
VASK_ONE(vmovn_s64, vuzp1q_u32(a, a))
VASK_ONE(vmovn_u64, vuzp1q_u32(a, a))
VASK_ONE(vqmovn_s32, wasm_i16x8_narrow_i32x4(a, a))
inline v128_t vqmovn_s64(v128_t a) {
  const v128_t most = wasm_i64x2_splat(INT32_MAX), least = wasm_i64x2_splat(INT32_MIN);
  const v128_t below = wasm_v128_bitselect(most, a, wasm_i64x2_gt(a, most));
  return vmovn_s64(wasm_v128_bitselect(least, below, wasm_i64x2_lt(a, least)));
}

// Shifts. Those by a vector: every lane by the same number; to the left, or, if that is negative, to the
// right.
VASK_SHIFT(vshlq_n_s16, wasm_i16x8_shl(a, n))
VASK_SHIFT(vshlq_n_s32, wasm_i32x4_shl(a, n))
VASK_SHIFT(vshlq_n_u32, wasm_i32x4_shl(a, n))
VASK_SHIFT(vshlq_n_s64, wasm_i64x2_shl(a, n))
VASK_SHIFT(vshll_n_s16, wasm_i32x4_shl(wasm_i32x4_extend_low_i16x8(a), n))
VASK_SHIFT(vshrq_n_u16, wasm_u16x8_shr(a, n))
VASK_SHIFT(vshrq_n_s32, wasm_i32x4_shr(a, n))
VASK_SHIFT(vshrq_n_u32, wasm_u32x4_shr(a, n))
VASK_SHIFT(vshrq_n_u64, wasm_u64x2_shr(a, n))
// a / 2^n, and half of the last bit that falls out
VASK_SHIFT(vrshrq_n_s16,
           wasm_i16x8_add(wasm_i16x8_shr(a, n), wasm_v128_and(wasm_i16x8_shr(a, n - 1), wasm_i16x8_splat(1))))
VASK_SHIFT(vrshrq_n_s32,
           wasm_i32x4_add(wasm_i32x4_shr(a, n), wasm_v128_and(wasm_i32x4_shr(a, n - 1), wasm_i32x4_splat(1))))
inline v128_t vsraq_n_s64(v128_t sum, v128_t a, int32_t n) {
  return wasm_i64x2_add(sum, wasm_i64x2_shr(a, n));
}
inline v128_t vshlq_s16(v128_t a, v128_t by) {
  const int32_t n = wasm_i16x8_extract_lane(by, 0);
  return n < 0 ? wasm_i16x8_shr(a, -n) : wasm_i16x8_shl(a, n);
}
inline v128_t vshlq_s32(v128_t a, v128_t by) {
  const int32_t n = vgetq_lane_s32(by, 0);
  return n < 0 ? wasm_i32x4_shr(a, -n) : wasm_i32x4_shl(a, n);
}
inline v128_t vshlq_s64(v128_t a, v128_t by) {
  const auto n = static_cast<int32_t>(vgetq_lane_s64(by, 0));
  return n < 0 ? wasm_i64x2_shr(a, -n) : wasm_i64x2_shl(a, n);
}

// Products. The upper half of a doubled product saturates only for two smallest values, in 16 bits alone
// here.
VASK_TWO(vmulq_s16, wasm_i16x8_mul(a, b))
VASK_TWO(vmulq_s32, wasm_i32x4_mul(a, b))
VASK_TWO(vmull_s16, wasm_i32x4_extmul_low_i16x8(a, b))
VASK_TWO(vmull_s32, wasm_i64x2_extmul_low_i32x4(a, b))
VASK_TWO(vmull_u32, wasm_u64x2_extmul_low_u32x4(a, b))
VASK_TWO(vmull_high_s32, wasm_i64x2_extmul_high_i32x4(a, b))
VASK_THREE(vmlal_s16, wasm_i32x4_add(a, wasm_i32x4_extmul_low_i16x8(b, c)))
VASK_THREE(vmlal_high_s16, wasm_i32x4_add(a, wasm_i32x4_extmul_high_i16x8(b, c)))
VASK_THREE(vmlal_s32, wasm_i64x2_add(a, wasm_i64x2_extmul_low_i32x4(b, c)))
VASK_THREE(vmlal_high_s32, wasm_i64x2_add(a, wasm_i64x2_extmul_high_i32x4(b, c)))
inline v128_t vmlsq_n_u32(v128_t a, v128_t b, uint32_t x) {
  return wasm_i32x4_sub(a, wasm_i32x4_mul(b, vdupq_n_u32(x)));
}
VASK_TWO(vqrdmulhq_s16, wasm_i16x8_q15mulr_sat(a, b))
inline v128_t vqdmulhq_s32(v128_t a, v128_t b) {
  const v128_t low = vmull_s32(a, b), high = vmull_high_s32(a, b);
  return vuzp2q_u32(wasm_i64x2_shl(low, 1), wasm_i64x2_shl(high, 1));
}
inline v128_t vqdmulhq_n_s32(v128_t a, int32_t x) { return vqdmulhq_s32(a, vdupq_n_s32(x)); }
inline v128_t vqrdmulhq_s32(v128_t a, v128_t b) {
  const v128_t half = wasm_i64x2_splat(int64_t{1} << 30);
  const v128_t low = wasm_i64x2_add(vmull_s32(a, b), half), high = wasm_i64x2_add(vmull_high_s32(a, b), half);
  return vuzp2q_u32(wasm_i64x2_shl(low, 1), wasm_i64x2_shl(high, 1));
}

// Doubles. Conversions of integers from 0 to 2^52 - 1: such a value is the mantissa of 2^52 + value.
VASK_TWO(vaddq_f64, wasm_f64x2_add(a, b))
VASK_TWO(vsubq_f64, wasm_f64x2_sub(a, b))
VASK_TWO(vmulq_f64, wasm_f64x2_mul(a, b))
VASK_TWO(vdivq_f64, wasm_f64x2_div(a, b))
VASK_TWO(vmaxq_f64, wasm_f64x2_max(a, b))
VASK_TWO(vminq_f64, wasm_f64x2_min(a, b))
VASK_ONE(vrndmq_f64, wasm_f64x2_floor(a))
VASK_ONE(vcvt_f32_f64, wasm_f32x4_demote_f64x2_zero(a))
VASK_ONE(vcvt_f64_f32, wasm_f64x2_promote_low_f32x4(a))
inline v128_t vcvtq_f64_s64(v128_t a) {
  const v128_t two_to_52 = wasm_f64x2_splat(0x1p52);
  return wasm_f64x2_sub(wasm_v128_or(a, two_to_52), two_to_52);
}
inline v128_t vcvtq_s64_f64(v128_t a) {
  const v128_t two_to_52 = wasm_f64x2_splat(0x1p52);
  return wasm_v128_xor(wasm_f64x2_add(a, two_to_52), two_to_52);
}

// Other names of the same bits.
VASK_ONE(vreinterpretq_s16_s32, a)
VASK_ONE(vreinterpretq_s16_u16, a)
VASK_ONE(vreinterpretq_u16_s16, a)
VASK_ONE(vreinterpretq_s32_s64, a)
VASK_ONE(vreinterpretq_s32_u32, a)
VASK_ONE(vreinterpretq_s64_s32, a)
VASK_ONE(vreinterpretq_s64_u64, a)
VASK_ONE(vreinterpretq_u32_s32, a)
VASK_ONE(vreinterpretq_u32_s64, a)
VASK_ONE(vreinterpretq_u32_u64, a)
VASK_ONE(vreinterpretq_u64_s64, a)

#undef VASK_ONE
#undef VASK_TWO
#undef VASK_THREE
#undef VASK_SHIFT
#undef VASK_LOAD
#undef VASK_STORE
#undef VASK_SAME

}  // namespace vask
