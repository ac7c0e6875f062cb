// Elementary functions in double precision made of additions, products and quotients only, so that every
// machine gives the same bits: maths libraries differ in the last one. Errors are below 1.5 units in the last
// place over the ranges named. Round-to-nearest is assumed.
#pragma once

namespace vask {

double PortableExp(double x);  // |x| < 700
double PortableLog(double x);  // x > 0, normal
double PortableCos(double x);  // |x| < 1000

}  // namespace vask
