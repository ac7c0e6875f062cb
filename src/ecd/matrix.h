// Self-describing vectors and matrices of the environment-change detector, single precision.
#pragma once

#include <vask/ecd.h>

#include <cstdint>

namespace vask {

// Storage that the detector cannot do without: if there is no memory, this prints a message and ends the
// process.
void* AllocateOrExit(int32_t bytes);

fvector MakeVector(int32_t length);
void ReleaseVector(fvector& v);

fmatrix MakeMatrix(int32_t rows, int32_t columns);  // contents not initialised
void ReleaseMatrix(fmatrix& m);
void ZeroMatrix(fmatrix m);
int32_t RowsOf(fmatrix m);
int32_t ColumnsOf(fmatrix m);

}  // namespace vask
