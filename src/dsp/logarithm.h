// Logarithms in fixed point: a table of 1024 intervals, linear between its points.
#pragma once

#include <cstdint>

namespace vask {

int32_t Log2Q16(int32_t x);            // integer -> Q16; -1 below 1
int32_t NaturalLogQ16(int32_t x);      // integer -> Q16; 0 below 1
int32_t Log10Q16(int32_t x);           // integer -> Q16; 0 below 1
int32_t Log2OfFractionQ26(int32_t x);  // Q30 in 0..1 -> Q26; -20 below 1/1024
int32_t NaturalLogOfFractionQ26(int32_t x);
int32_t Log2Q15(int32_t x);                 // integer -> Q15, coarse: 32 intervals; 0 below 1
int32_t NaturalLogOf1024thsQ15(int32_t x);  // integer / 1024 -> Q15; ln(1/1024) below 1

// The natural logarithm over the whole domain, the same on every machine: minus infinity for 0, not a number
// below. For single-precision x the rounded result has the same bits as another library's double-precision
// logarithm, rounded: all of them were tried one by one.
double NaturalLogWide(double x);
float NaturalLog(double x);  // rounded to single precision

// The natural logarithm of a frame energy as the environment check keeps it: single precision, the value
// nearest to the logarithm, the same on every machine; minus infinity for 0.
float NaturalLogOfEnergy(int32_t energy);

}  // namespace vask
