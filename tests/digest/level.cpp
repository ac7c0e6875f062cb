// The level of the library, for a program in C.
#include "dsp/level.h"

extern "C" int ForceLevelOfTheLibrary(const char* name) { return vask::ForceLevel(name) ? 1 : 0; }
