// Vectors of int32 for kernels that are compiled for several machines. The file is included once for each, in
// a namespace of its own: VASK_LANES_AVX2 or VASK_LANES_NEON says for which; otherwise a vector is one value.
// No include guard, no includes: <array>, <cstdint>, the intrinsics and dsp/cpu.h come from the file around
// it.
//
// Times(a, c) = floor(a * c / 2^30), |c| <= 2^30. OverRootOfTwo(a) = a * 2^30 / kRootOfTwoQ30 cut toward
// zero: with alpha the factor 2^30 / 1518500249, M = ceil(alpha * 2^62) exceeds alpha * 2^62 by less than 1,
// so for |a| < 2^31 the product |a| * M / 2^62 exceeds |a| * alpha by less than 2^-31. That reaches no whole
// number, since what is not whole lies at least 1 / 1518500249 below the next. M = kRootHigh * 2^31 +
// kRootLow, and floor(|a| * M / 2^62) = floor((|a| * kRootHigh + floor(|a| * kRootLow / 2^31)) / 2^31).

constexpr int64_t kRootHigh = 1518500250, kRootLow = 2096050756;

#if defined(VASK_LANES_AVX2)

constexpr int32_t kLanes = 8;
struct Lanes {
  __m256i v;
};
struct Factor {  // a Q30 factor for the even lanes, and the one for the odd lanes in their place
  __m256i even, odd;
};

VASK_KERNEL Lanes Load(const int32_t* x) { return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x))}; }
VASK_KERNEL void Store(int32_t* x, Lanes a) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(x), a.v); }
VASK_KERNEL Lanes operator+(Lanes a, Lanes b) { return {_mm256_add_epi32(a.v, b.v)}; }
VASK_KERNEL Lanes operator-(Lanes a, Lanes b) { return {_mm256_sub_epi32(a.v, b.v)}; }
VASK_KERNEL Lanes operator-(Lanes a) { return {_mm256_sub_epi32(_mm256_setzero_si256(), a.v)}; }
VASK_KERNEL Lanes Reversed(Lanes a) {
  return {_mm256_permutevar8x32_epi32(a.v, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0))};
}
VASK_KERNEL Lanes FirstOf(Lanes a, Lanes others) { return {_mm256_blend_epi32(others.v, a.v, 1)}; }
VASK_KERNEL Lanes Select(Lanes mask, Lanes a, Lanes b) { return {_mm256_blendv_epi8(b.v, a.v, mask.v)}; }

VASK_KERNEL Factor Same(int32_t c) { return {_mm256_set1_epi32(c), _mm256_set1_epi32(c)}; }
VASK_KERNEL Factor Split(__m256i c) { return {c, _mm256_srli_epi64(c, 32)}; }
VASK_KERNEL Factor LoadFactor(const int32_t* c) { return Split(Load(c).v); }
VASK_KERNEL Factor LoadFactorBehindGap(const int32_t* c) {  // 0, c[0] .. c[6]
  const __m128i low = _mm_slli_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(c)), 4);
  const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + 3));
  return Split(_mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1));
}

// The products of 64 bits shifted so that the wanted 32 stand in the lane's place.
VASK_KERNEL Lanes Interleave(__m256i even, __m256i odd) { return {_mm256_blend_epi32(even, odd, 0xaa)}; }

VASK_KERNEL Lanes Times(Lanes a, Factor c) {
  const __m256i even = _mm256_mul_epi32(a.v, c.even);
  const __m256i odd = _mm256_mul_epi32(_mm256_srli_epi64(a.v, 32), c.odd);
  return Interleave(_mm256_srli_epi64(even, 30), _mm256_slli_epi64(odd, 2));
}

VASK_KERNEL __m256i TimesRoot(__m256i a) {  // of the even lanes, still << 31
  const __m256i low = _mm256_srli_epi64(_mm256_mul_epu32(a, _mm256_set1_epi64x(kRootLow)), 31);
  return _mm256_add_epi64(_mm256_mul_epu32(a, _mm256_set1_epi64x(kRootHigh)), low);
}

VASK_KERNEL Lanes OverRootOfTwo(Lanes a) {
  const __m256i magnitude = _mm256_abs_epi32(a.v);
  const __m256i even = TimesRoot(magnitude), odd = TimesRoot(_mm256_srli_epi64(magnitude, 32));
  return {_mm256_sign_epi32(Interleave(_mm256_srli_epi64(even, 31), _mm256_slli_epi64(odd, 1)).v, a.v)};
}

// Rows of 8 values to columns: x[step * i + k] = lane i of p[k].
VASK_KERNEL void StoreColumns(const Lanes* p, int32_t* const* x) {
  __m256i pair[8], quad[8];
  for (int32_t k = 0; k < 8; k += 2) {
    pair[k] = _mm256_unpacklo_epi32(p[k].v, p[k + 1].v);
    pair[k + 1] = _mm256_unpackhi_epi32(p[k].v, p[k + 1].v);
  }
  for (int32_t k = 0; k < 8; k += 4) {
    quad[k] = _mm256_unpacklo_epi64(pair[k], pair[k + 2]);
    quad[k + 1] = _mm256_unpackhi_epi64(pair[k], pair[k + 2]);
    quad[k + 2] = _mm256_unpacklo_epi64(pair[k + 1], pair[k + 3]);
    quad[k + 3] = _mm256_unpackhi_epi64(pair[k + 1], pair[k + 3]);
  }
  for (int32_t i = 0; i < 4; ++i) {
    Store(x[i], {_mm256_permute2x128_si256(quad[i], quad[i + 4], 0x20)});
    Store(x[i + 4], {_mm256_permute2x128_si256(quad[i], quad[i + 4], 0x31)});
  }
}

#elif defined(VASK_LANES_NEON)

constexpr int32_t kLanes = 4;
struct Lanes {
  int32x4_t v;
};
struct Factor {
  int32x4_t v;
};

VASK_KERNEL Lanes Load(const int32_t* x) { return {vld1q_s32(x)}; }
VASK_KERNEL void Store(int32_t* x, Lanes a) { vst1q_s32(x, a.v); }
VASK_KERNEL Lanes operator+(Lanes a, Lanes b) { return {vaddq_s32(a.v, b.v)}; }
VASK_KERNEL Lanes operator-(Lanes a, Lanes b) { return {vsubq_s32(a.v, b.v)}; }
VASK_KERNEL Lanes operator-(Lanes a) { return {vnegq_s32(a.v)}; }
VASK_KERNEL Lanes Reversed(Lanes a) {
  const int32x4_t pairs = vrev64q_s32(a.v);
  return {vextq_s32(pairs, pairs, 2)};
}
VASK_KERNEL Lanes FirstOf(Lanes a, Lanes others) { return {vcopyq_laneq_s32(others.v, 0, a.v, 0)}; }
VASK_KERNEL Lanes Select(Lanes mask, Lanes a, Lanes b) {
  return {vbslq_s32(vreinterpretq_u32_s32(mask.v), a.v, b.v)};
}

VASK_KERNEL Factor Same(int32_t c) { return {vdupq_n_s32(c)}; }
VASK_KERNEL Factor LoadFactor(const int32_t* c) { return {vld1q_s32(c)}; }
VASK_KERNEL Factor LoadFactorBehindGap(const int32_t* c) {
  return {vextq_s32(vdupq_n_s32(0), vld1q_s32(c), 3)};
}

VASK_KERNEL Lanes Times(Lanes a, Factor c) {
  const int64x2_t low = vmull_s32(vget_low_s32(a.v), vget_low_s32(c.v)), high = vmull_high_s32(a.v, c.v);
  return {vshrn_high_n_s64(vshrn_n_s64(low, 30), high, 30)};
}

VASK_KERNEL uint32x2_t TimesRoot(uint32x2_t a) {
  const uint64x2_t low = vshrq_n_u64(vmull_n_u32(a, static_cast<uint32_t>(kRootLow)), 31);
  return vshrn_n_u64(vmlal_n_u32(low, a, static_cast<uint32_t>(kRootHigh)), 31);
}

VASK_KERNEL Lanes OverRootOfTwo(Lanes a) {
  const uint32x4_t magnitude = vreinterpretq_u32_s32(vabsq_s32(a.v));
  const int32x4_t sign = vshrq_n_s32(a.v, 31);
  const uint32x4_t root =
      vcombine_u32(TimesRoot(vget_low_u32(magnitude)), TimesRoot(vget_high_u32(magnitude)));
  return {vsubq_s32(veorq_s32(vreinterpretq_s32_u32(root), sign), sign)};
}

VASK_KERNEL void StoreColumns(const Lanes* p, int32_t* const* x) {
  const int32x4x2_t a = vtrnq_s32(p[0].v, p[1].v), b = vtrnq_s32(p[2].v, p[3].v);
  vst1q_s32(x[0], vcombine_s32(vget_low_s32(a.val[0]), vget_low_s32(b.val[0])));
  vst1q_s32(x[1], vcombine_s32(vget_low_s32(a.val[1]), vget_low_s32(b.val[1])));
  vst1q_s32(x[2], vcombine_s32(vget_high_s32(a.val[0]), vget_high_s32(b.val[0])));
  vst1q_s32(x[3], vcombine_s32(vget_high_s32(a.val[1]), vget_high_s32(b.val[1])));
}

#else

constexpr int32_t kLanes = 1;
using Lanes = int32_t;
struct Factor {
  int32_t v;
};

VASK_KERNEL Lanes Load(const int32_t* x) { return *x; }
VASK_KERNEL void Store(int32_t* x, Lanes a) { *x = a; }
VASK_KERNEL Lanes Reversed(Lanes a) { return a; }
VASK_KERNEL Lanes FirstOf(Lanes a, Lanes /*others*/) { return a; }
VASK_KERNEL Lanes Select(Lanes mask, Lanes a, Lanes b) { return mask != 0 ? a : b; }
VASK_KERNEL Factor Same(int32_t c) { return {c}; }
VASK_KERNEL Factor LoadFactor(const int32_t* c) { return {*c}; }
VASK_KERNEL Factor LoadFactorBehindGap(const int32_t* /*c*/) { return {0}; }
VASK_KERNEL Lanes Times(Lanes a, Factor c) { return static_cast<Lanes>((int64_t{a} * c.v) >> 30); }
VASK_KERNEL Lanes OverRootOfTwo(Lanes a) {
  const auto magnitude = static_cast<int64_t>(a < 0 ? -a : a);
  const auto root = static_cast<Lanes>((magnitude * kRootHigh + ((magnitude * kRootLow) >> 31)) >> 31);
  return a < 0 ? -root : root;
}
VASK_KERNEL void StoreColumns(const Lanes* p, int32_t* const* x) { *x[0] = *p; }

#endif
