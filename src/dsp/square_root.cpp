// Square roots: x = m * 2^e with e even and m in 1/4 .. 1; the root of m comes from a Q30 table.
#include "dsp/square_root.h"

#include <vask/dsp.h>

#include <bit>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/table_lookup.h"
#include "dsp/tables/square_root.h"

#if VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

// The bit length of x > 0, raised to even.
constexpr int32_t EvenLength(uint64_t x) { return (static_cast<int32_t>(std::bit_width(x)) + 1) & ~1; }

// sqrt(x) in Q30, in 64 bits.
int64_t RootQ30Plain(int64_t x) {
  if (x == 0) return 0;
  const int64_t value = MaxIfNegative(x);
  const int32_t length = EvenLength(static_cast<uint64_t>(value));
  // From 2^52 on the interpolation product inside wraps.
  return WrapShl(LookUp(kSquareRootQ30, value, length), length / 2);
}

// The same without a branch below 2^52: with m moved up to 52 bits the remainder of the interpolation always
// has 42 bits, and its product with a step of the table, at most 2^20 from 1/4 on, fits 64 bits.
int64_t RootQ30Portable(int64_t x) {
  if (static_cast<uint64_t>(x) >= uint64_t{1} << 52) return RootQ30Plain(x);
  const int32_t length = EvenLength(static_cast<uint64_t>(x) | 1);
  const int64_t m = x << (52 - length);
  const int32_t* entry = &kSquareRootQ30[static_cast<size_t>(m >> 42)];
  const int64_t step = entry[1] - entry[0], rest = m & ((int64_t{1} << 42) - 1);
  return (entry[0] + ((step * rest) >> 42)) << (length / 2);
}

VASK_PICK(int64_t, RootQ30, (int64_t x), (x), RootQ30Plain, RootQ30Portable, RootQ30Portable, RootQ30Portable)

void RootsPlain(std::span<const int64_t> x, int64_t* out) {
  for (size_t i = 0; i < x.size(); ++i) out[i] = RootQ30Plain(x[i]) >> 30;
}

void RootsPortable(std::span<const int64_t> x, int64_t* out) {
  for (size_t i = 0; i < x.size(); ++i) out[i] = RootQ30Portable(x[i]) >> 30;
}

#if VASK_HAS_AVX2
// Roots of 4 values below 2^52. The bit length of a value is its exponent as a double, which it becomes when
// 2^52 is added and subtracted again; one load fetches an entry of the table and the next; the product of
// step and remainder is formed in two parts of 21 bits.
VASK_AVX2 inline __m256i RootsOf4(__m256i x) {
  const __m256d two_to_52 = _mm256_set1_pd(0x1p52);
  const __m256i one = _mm256_set1_epi64x(1), part = _mm256_set1_epi64x((1 << 21) - 1);
  const __m256i raised = _mm256_or_si256(_mm256_or_si256(x, one), _mm256_castpd_si256(two_to_52));
  const __m256i exact = _mm256_castpd_si256(_mm256_sub_pd(_mm256_castsi256_pd(raised), two_to_52));
  // Half of the length raised to even: (exponent - 1022 + 1) / 2.
  const __m256i half =
      _mm256_srli_epi64(_mm256_sub_epi64(_mm256_srli_epi64(exact, 52), _mm256_set1_epi64x(1021)), 1);
  const __m256i m =
      _mm256_sllv_epi64(x, _mm256_sub_epi64(_mm256_set1_epi64x(52), _mm256_add_epi64(half, half)));
  const auto* table = reinterpret_cast<const long long*>(kSquareRootQ30.data());
  const __m256i pair = _mm256_i64gather_epi64(table, _mm256_srli_epi64(m, 42), sizeof(int32_t));
  const __m256i root = _mm256_and_si256(pair, _mm256_set1_epi64x(0xffffffff));
  const __m256i step = _mm256_sub_epi64(_mm256_srli_epi64(pair, 32), root);
  const __m256i high = _mm256_and_si256(_mm256_srli_epi64(m, 21), part), low = _mm256_and_si256(m, part);
  const __m256i lower = _mm256_srli_epi64(_mm256_mul_epu32(step, low), 21);
  const __m256i rise = _mm256_srli_epi64(_mm256_add_epi64(_mm256_mul_epu32(step, high), lower), 21);
  return _mm256_srlv_epi64(_mm256_add_epi64(root, rise), _mm256_sub_epi64(_mm256_set1_epi64x(30), half));
}

VASK_AVX2 void RootsAvx2(std::span<const int64_t> x, int64_t* out) {
  size_t i = 0;
  for (; i + 4 <= x.size(); i += 4) {
    const __m256i values = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(&x[i]));
    if (_mm256_testz_si256(values, _mm256_set1_epi64x(~((int64_t{1} << 52) - 1))) == 0) {
      RootsPortable(x.subspan(i, 4), out + i);
    } else {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), RootsOf4(values));
    }
  }
  RootsPortable(x.subspan(i), out + i);
}
#elif defined(__wasm__)
// Its vectors are not shifted by a number for each lane.
[[maybe_unused]] constexpr auto RootsNeon = RootsPortable;
#elif VASK_HAS_NEON
VASK_BEGIN_NEON
// The bit lengths of 4 values between 1 and 2^52.
inline uint32x4_t BitLengths(int64x2_t a, int64x2_t b) {
#if defined(__aarch64__)
  const auto exact = [](int64x2_t v) { return vreinterpretq_u32_f64(vcvtq_f64_s64(v)); };
  return vsubq_u32(vshrq_n_u32(vuzp2q_u32(exact(a), exact(b)), 20), vdupq_n_u32(1022));
#else
  const uint32x4x2_t halves = vuzpq_u32(vreinterpretq_u32_s64(a), vreinterpretq_u32_s64(b));
  const uint32x4_t in_low = vsubq_u32(vdupq_n_u32(32), vclzq_u32(halves.val[0]));
  const uint32x4_t in_high = vsubq_u32(vdupq_n_u32(64), vclzq_u32(halves.val[1]));
  return vbslq_u32(vtstq_u32(halves.val[1], halves.val[1]), in_high, in_low);
#endif
}

// Roots of 4 values below 2^52, as above; but the remainder is taken as 10 bits and the 32 below them.
inline void RootsOf4(const int64_t* x, int64_t* out) {
  const int64x2_t a = vld1q_s64(x), b = vld1q_s64(x + 2), one = vdupq_n_s64(1);
  const uint32x4_t length = BitLengths(vorrq_s64(a, one), vorrq_s64(b, one));
  const int32x4_t half = vreinterpretq_s32_u32(vshrq_n_u32(vaddq_u32(length, vdupq_n_u32(1)), 1));
  const int32x4_t up = vmlsq_n_s32(vdupq_n_s32(52), half, 2);
  const uint32x4_t ma = vreinterpretq_u32_s64(vshlq_s64(a, vmovl_s32(vget_low_s32(up))));
  const uint32x4_t mb = vreinterpretq_u32_s64(vshlq_s64(b, vmovl_high_s32(up)));
  const uint32x4_t high = vuzp2q_u32(ma, mb), low = vuzp1q_u32(ma, mb), index = vshrq_n_u32(high, 10);
  const auto pair = [&](uint32_t i) {
    return vld1_u32(reinterpret_cast<const uint32_t*>(&kSquareRootQ30[i]));
  };
  const uint32x4_t p = vcombine_u32(pair(vgetq_lane_u32(index, 0)), pair(vgetq_lane_u32(index, 1)));
  const uint32x4_t q = vcombine_u32(pair(vgetq_lane_u32(index, 2)), pair(vgetq_lane_u32(index, 3)));
  const uint32x4_t root = vuzp1q_u32(p, q), step = vsubq_u32(vuzp2q_u32(p, q), root);
  const uint64x2_t lower_a = vmull_u32(vget_low_u32(step), vget_low_u32(low));
  const uint64x2_t lower_b = vmull_high_u32(step, low);
  const uint32x4_t lower = vuzp2q_u32(vreinterpretq_u32_u64(lower_a), vreinterpretq_u32_u64(lower_b));
  const uint32x4_t rise = vmlaq_u32(lower, step, vandq_u32(high, vdupq_n_u32((1 << 10) - 1)));
  const uint32x4_t result = vshlq_u32(vsraq_n_u32(root, rise, 10), vsubq_s32(half, vdupq_n_s32(30)));
  vst1q_s64(out, vreinterpretq_s64_u64(vmovl_u32(vget_low_u32(result))));
  vst1q_s64(out + 2, vreinterpretq_s64_u64(vmovl_high_u32(result)));
}

void RootsNeon(std::span<const int64_t> x, int64_t* out) {
  int64_t bits = 0;
  for (const int64_t value : x) bits |= value;
  size_t i = 0;
  if (static_cast<uint64_t>(bits) < uint64_t{1} << 52) {
    for (; i + 4 <= x.size(); i += 4) RootsOf4(&x[i], out + i);
  }
  RootsPortable(x.subspan(i), out + i);
}
VASK_END_NEON
#endif

}  // namespace

int32_t RootQ16(int32_t x) {
  if (x < 0) return -1;
  if (x >= (1 << 30)) return kMax32;  // the root would not fit
  return static_cast<int32_t>(RootQ30(x) >> 14);
}

int64_t Root(int64_t x) { return RootQ30(x) >> 30; }
int64_t RootQ8(int64_t x) { return RootQ30(x) >> 22; }

VASK_PICK(void, Roots, (std::span<const int64_t> x, int64_t* out), (x, out), RootsPlain, RootsPortable,
          RootsAvx2, RootsNeon)

}  // namespace vask

extern "C" {

int32_t sqrt_function(int32_t x) { return vask::RootQ16(x); }
int64_t sqrt_f(int64_t x) { return vask::Root(x); }
int64_t sqrt_fQ8(int64_t x) { return vask::RootQ8(x); }

}  // extern "C"
