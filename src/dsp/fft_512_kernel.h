// The 512-point transform on vectors: included once for every machine, behind dsp/lanes.h. The butterflies
// are those of dsp/fft_algorithm.h with the same roundings; only their order differs.
//
// Point t of the 32 points from 32 * reversed4(r) on is sample 16 * reversed5(t) + r. So the stages up to 32
// points work on vectors of neighbouring samples, one column r in each lane, and no sample is moved for the
// bit reversal. In 11 of the 16 columns these 32 points are one group; in the others they are two groups
// of 16.

VASK_KERNEL void Butterfly2(Lanes* p) {
  const Lanes a = p[0], b = p[1];
  p[0] = a + b;
  p[1] = a - b;
}

// The butterflies of angle 0, and of an eighth of a turn.
VASK_KERNEL void ButterflyOfAngle0(Lanes& x1, Lanes& x3, Lanes& x4) {
  const Lanes sum = x4 + x3;
  x4 = x4 - x3;
  x3 = x1 - sum;
  x1 = x1 + sum;
}

VASK_KERNEL void ButterflyOfEighth(Lanes& x1, Lanes& x2, Lanes& x3, Lanes& x4) {
  const Lanes t1 = OverRootOfTwo(x3 + x4), t2 = OverRootOfTwo(x3 - x4);
  x4 = x2 - t1;
  x3 = -x2 - t1;
  x2 = x1 - t2;
  x1 = x1 + t2;
}

struct Factors {
  Factor cc1, ss1, cc3, ss3;
};

VASK_KERNEL void ButterflyOfAngle(Lanes (&x)[9], const Factors& w) {  // x[1] .. x[8]
  const Lanes a1 = Times(x[3], w.cc1) + Times(x[7], w.ss1), a2 = Times(x[7], w.cc1) - Times(x[3], w.ss1);
  const Lanes b1 = Times(x[4], w.cc3) + Times(x[8], w.ss3), b2 = Times(x[8], w.cc3) - Times(x[4], w.ss3);
  const Lanes sum1 = a1 + b1, sum2 = a2 + b2, difference1 = a1 - b1, difference2 = a2 - b2;
  x[8] = x[6] + sum2;
  x[3] = sum2 - x[6];
  x[4] = x[2] - difference1;
  x[7] = -x[2] - difference1;
  x[6] = x[1] - sum1;
  x[1] = x[1] + sum1;
  x[2] = x[5] + difference2;
  x[5] = x[5] - difference2;
}

// --- up to 32 points, a column in each lane

VASK_KERNEL void StageOfColumns(Lanes* p, int32_t points, const fft_tables& twiddles, int32_t slot) {
  const int32_t q = points / 4, e = q / 2;
  ButterflyOfAngle0(p[0], p[2 * q], p[3 * q]);
  if (q == 1) return;
  ButterflyOfEighth(p[e], p[q + e], p[2 * q + e], p[3 * q + e]);
  for (int32_t j = 1; j < e; ++j) {
    const int32_t at[9] = {0, j, q + j, 2 * q + j, 3 * q + j, q - j, 2 * q - j, 3 * q - j, 4 * q - j};
    Lanes x[9];
    for (int32_t k = 1; k < 9; ++k) x[k] = p[at[k]];
    ButterflyOfAngle(x, {Same(twiddles.cc1[slot][j - 1]), Same(twiddles.ss1[slot][j - 1]),
                         Same(twiddles.cc3[slot][j - 1]), Same(twiddles.ss3[slot][j - 1])});
    for (int32_t k = 1; k < 9; ++k) p[at[k]] = x[k];
  }
}

VASK_KERNEL void Columns4(Lanes* p, const fft_tables& twiddles) {
  Butterfly2(p);
  StageOfColumns(p, 4, twiddles, 0);
}

VASK_KERNEL void Columns8(Lanes* p, const fft_tables& twiddles) {
  Columns4(p, twiddles);
  Butterfly2(p + 4);
  Butterfly2(p + 6);
  StageOfColumns(p, 8, twiddles, 1);
}

VASK_KERNEL void Columns16(Lanes* p, const fft_tables& twiddles) {
  Columns8(p, twiddles);
  Columns4(p + 8, twiddles);
  Columns4(p + 12, twiddles);
  StageOfColumns(p, 16, twiddles, 2);
}

static void TransformColumns(const int32_t* samples, int32_t column, const fft_tables& twiddles, int32_t* x) {
  Lanes p[32], two[32];
  for (int32_t t = 0; t < 32; ++t) p[t] = Load(samples + 16 * kReversed5[static_cast<size_t>(t)] + column);
  const auto first = kIsOneGroup.begin() + column;
  const bool any = std::find(first, first + kLanes, -1) != first + kLanes;
  const bool all = std::find(first, first + kLanes, 0) == first + kLanes;
  Columns16(p, twiddles);
  if (!all) {
    for (int32_t t = 0; t < 32; ++t) two[t] = p[t];
    Columns16(two + 16, twiddles);
  }
  if (any) {
    Columns8(p + 16, twiddles);
    Columns8(p + 24, twiddles);
    StageOfColumns(p, 32, twiddles, 3);
  }
  if (!all) {
    const Lanes mask = Load(&*first);
    for (int32_t t = 0; t < 32; ++t) p[t] = Select(mask, p[t], two[t]);
  }
  int32_t* to[kLanes];
  for (int32_t i = 0; i < kLanes; ++i) to[i] = x + 16 * kReversed5[static_cast<size_t>(column + i)];
  for (int32_t t = 0; t < 32; t += kLanes) {
    StoreColumns(p + t, to);
    for (int32_t i = 0; i < kLanes; ++i) to[i] += kLanes;
  }
}

// --- from 64 points on, neighbouring angles in the lanes

VASK_KERNEL void ButterflyOfEighth(int32_t* x, int32_t q) {
  int32_t &x1 = x[0], &x2 = x[q], &x3 = x[2 * q], &x4 = x[3 * q];
  const auto over_root = [](int64_t a) { return static_cast<int32_t>(a * kOneQ30 / kRootOfTwoQ30); };
  const int32_t t1 = over_root(x3 + x4), t2 = over_root(x3 - x4);
  x4 = x2 - t1;
  x3 = -x2 - t1;
  x2 = x1 - t2;
  x1 = x1 + t2;
}

VASK_KERNEL void ButterflyOfAngle0(int32_t* x, int32_t q) {
  const int32_t sum = x[3 * q] + x[2 * q];
  x[3 * q] -= x[2 * q];
  x[2 * q] = x[0] - sum;
  x[0] += sum;
}

// Angles j .. j + kLanes - 1 of a group of 4 q points. Of the first block lane 0 stays as it is: angle 0 has
// a butterfly of its own.
VASK_KERNEL void ButterfliesOfAngles(int32_t* x, int32_t j, int32_t q, const Factors& w, bool is_first) {
  int32_t *up = x + j, *down = x + q - j - (kLanes - 1);
  Lanes v[9], result[9];
  for (int32_t k = 0; k < 4; ++k) {
    result[k + 1] = v[k + 1] = Load(up + k * q);
    result[k + 5] = v[k + 5] = Reversed(Load(down + k * q));
  }
  ButterflyOfAngle(result, w);
  for (int32_t k = 1; is_first && k < 9; ++k) result[k] = FirstOf(v[k], result[k]);
  for (int32_t k = 0; k < 4; ++k) {
    Store(up + k * q, result[k + 1]);
    Store(down + k * q, Reversed(result[k + 5]));
  }
}

static void TransformGroup(int32_t* x, int32_t points, const Factors& first, const int32_t* const (&w)[4]) {
  const int32_t q = points / 4;
  if (kLanes > 1) ButterfliesOfAngles(x, 0, q, first, true);
  for (int32_t j = kLanes; j < q / 2; j += kLanes) {
    const int32_t at = j - 1;
    ButterfliesOfAngles(
        x, j, q, {LoadFactor(w[0] + at), LoadFactor(w[1] + at), LoadFactor(w[2] + at), LoadFactor(w[3] + at)},
        false);
  }
  ButterflyOfAngle0(x, q);
  ButterflyOfEighth(x + q / 2, q);
}

static void Transform512(const int32_t* samples, const fft_tables& twiddles, int32_t* x) {
  for (int32_t column = 0; column < 16; column += kLanes) TransformColumns(samples, column, twiddles, x);
  for (int32_t order = 6; order <= 9; ++order) {
    const int32_t slot = order - 2, points = 1 << order;
    const int32_t* const w[4] = {twiddles.cc1[slot], twiddles.ss1[slot], twiddles.cc3[slot],
                                 twiddles.ss3[slot]};
    const Factors first = {LoadFactorBehindGap(w[0]), LoadFactorBehindGap(w[1]), LoadFactorBehindGap(w[2]),
                           LoadFactorBehindGap(w[3])};
    for (int32_t start = 0, step = 2 * points; start < 512; start = 2 * step - points, step *= 4) {
      for (int32_t i = start; i < 512; i += step) TransformGroup(x + i, points, first, w);
    }
  }
}
