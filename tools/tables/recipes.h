// The numbers behind every built-in table. Only the results ship, as constants, so a last bit that differs
// between two maths libraries never reaches an output.
//
// A table is a list of rows; each row starts a new line in the file. Where a step is single precision the
// value is really rounded to float there, so this program is built without contraction of floating-point
// expressions (-ffp-contract=off).
#pragma once

#include <cstdint>
#include <vector>

namespace vask::tables {

using Row = std::vector<int32_t>;
using Rows = std::vector<Row>;

// Twiddle factors of the FFT: one row per stage, from 16 to 512 points; Q30. `multiple` is 1 or 3.
Rows TwiddleCosines(int32_t multiple);
Rows TwiddleSines(int32_t multiple);

// Windows, Q30.
Rows HanningWindow();
Rows HammingWindow();
Rows FilterWindow();

// Weights of the outer and middle ear, one per smoothed bin of 62.5 Hz; Q30.
Rows EarWeights();

// The mel filter bank, one row per band: first bin, number of bins, that many weights in Q30.
Rows MelFilters();

// The basis of the mel inverse cosine transform: one row per tap, one column per band; Q30.
Rows MelIdctBasis();

// The MFCC extractor, for 512 points at 16 kHz.
Rows LowerChannels();         // mel channel below each bin 1 ... 256
Rows LowerChannelWeights();   // share of that channel, Q30
Rows CepstrumBasis();         // one row per cepstral coefficient, one column per channel; Q30
Rows PreEmphasisResponses();  // power response of 1 - 0.97 z^-1 at bins 0 ... 256, Q29

// Interpolation tables at k/1024, k = 0 ... 1024.
Rows Logarithms();          // log2(1 + k/1024), Q30
Rows FractionLogarithms();  // log2(k/1024), Q26
Rows SquareRoots();         // sqrt(k/1024), Q30

// The 16-bit tables of the basic operators, Q15.
Rows InverseRoots();     // 1/sqrt(1 + i/16), i = 0 ... 48
Rows ShortLogarithms();  // log2(1 + i/32), i = 0 ... 32

// The resampler's low-pass filter from its middle on, 24 points per sample of the lower rate; Q24. Its sum
// over a sample's distance is 1.
Rows LowPass();

// The half-band filter before it at the highest rates: its taps at odd distances from the middle; Q16.
Rows HalfBand();

}  // namespace vask::tables
