/*
 * The functions of one 32-bit argument over all their arguments: a checksum of the results, and how far they
 * are from the exact function.
 *
 *   vask-domains print STEP               one line for each function, as in expected.txt
 *   vask-domains check EXPECTED.txt STEP  compare with those lines
 *
 * STEP 1 takes every argument; another takes one of so many, and the neighbours of each power of two.
 * Functions with faster forms run at every level of the machine, which must give one line.
 */
#include <vask/dsp.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "dsp/level.h"
#include "dsp/logarithm.h"
#include "dsp/square_root.h"

namespace {

constexpr int64_t kMin = INT32_MIN, kMax = INT32_MAX;
constexpr size_t kBlock = 4096;

using Arguments = std::span<const int32_t>;

template <auto function>
void Each(Arguments x, int64_t* y) {
  for (size_t i = 0; i < x.size(); ++i) y[i] = function(x[i]);
}

void LowPart(Arguments x, int64_t* y) {
  for (size_t i = 0; i < x.size(); ++i) {
    int32_t high = 0, low = 0;
    L_Extract(x[i], &high, &low);
    y[i] = low;
  }
}

void BlockOfRoots(Arguments x, int64_t* y) {
  const std::vector<int64_t> wide(x.begin(), x.end());
  vask::Roots(wide, y);
}

int64_t BitsOf(float x) { return std::bit_cast<int32_t>(x); }
void LogOfEnergy(Arguments x, int64_t* y) {
  for (size_t i = 0; i < x.size(); ++i) y[i] = BitsOf(vask::NaturalLogOfEnergy(x[i]));
}

// Results are compared with exact(x) from low to high.
struct Function {
  const char* name;
  void (*run)(Arguments x, int64_t* y);
  double (*exact)(double x);
  int64_t low, high;
  bool has_forms = false;  // for the levels of the machine
};

const Function kFunctions[] = {
    {"norm_l", Each<norm_l>,
     [](double x) { return x == 0    ? 0
                           : x == -1 ? 31
                                     : 30.0 - std::ilogb(x < 0 ? -x - 1 : x); }, kMin, kMax},
    {"extract_h", Each<extract_h>, [](double x) { return std::floor(x / 65536); }, kMin, kMax},
    {"extract_l", Each<extract_l>, [](double x) { return x - 65536 * std::floor(x / 65536 + 0.5); }, kMin,
     kMax},
    {"L_Extract", LowPart, [](double x) { return std::floor((x - 65536 * std::floor(x / 65536)) / 2); }, kMin,
     kMax},
    {"epd_abs_s", Each<epd_abs_s>, [](double x) { return std::fmin(std::abs(x), 0x1p31 - 1); }, kMin, kMax},
    {"Inv_sqrt", Each<Inv_sqrt>, [](double x) { return 0x1p30 / std::sqrt(x); }, 1, kMax},
    {"LOG2", Each<LOG2>, [](double x) { return std::log2(x) * 0x1p16; }, 1, kMax},
    {"natural_log", Each<natural_log>, [](double x) { return std::log(x) * 0x1p16; }, 1, kMax},
    {"log_10", Each<log_10>, [](double x) { return std::log10(x) * 0x1p16; }, 1, kMax},
    {"LOG2_Q30", Each<LOG2_Q30>, [](double x) { return std::log2(x * 0x1p-30) * 0x1p26; }, 1 << 20, 1 << 30},
    {"natural_log_Q30", Each<natural_log_Q30>, [](double x) { return std::log(x * 0x1p-30) * 0x1p26; },
     1 << 20, 1 << 30},
    {"Log2", Each<Log2>, [](double x) { return std::log2(x) * 0x1p15; }, 1, kMax},
    {"natural_log_mfcc", Each<natural_log_mfcc>, [](double x) { return std::log(x * 0x1p-10) * 0x1p15; }, 1,
     kMax},
    {"natural_log_of_energy", LogOfEnergy,
     [](double x) {
       const auto given = static_cast<double>(static_cast<float>(x));
       return static_cast<double>(BitsOf(static_cast<float>(std::log(given))));
     },
     1, kMax},
    {"Exponential_T", Each<Exponential_T>, [](double x) { return std::exp(x * 0x1p-16) * 0x1p16; }, 0, 45426},
    {"Exp", Each<Exp>, [](double x) { return std::exp(x * 0x1p-16) * 0x1p16; }, kMin, 10 << 16},
    {"Exp_Q6", Each<Exp_Q6>, [](double x) { return std::exp(x * 0x1p-16) * 0x1p6; }, kMin, 17 << 16},
    {"sqrt_function", Each<sqrt_function>, [](double x) { return std::sqrt(x) * 0x1p16; }, 0, (1 << 30) - 1,
     true},
    {"sqrt_f", Each<sqrt_f>, [](double x) { return std::sqrt(x); }, 0, kMax, true},
    {"sqrt_fQ8", Each<sqrt_fQ8>, [](double x) { return std::sqrt(x) * 0x1p8; }, 0, kMax, true},
    {"roots", BlockOfRoots, [](double x) { return std::sqrt(x); }, 0, kMax, true},
};

// A sum, which is the same in any order.
struct Found {
  uint64_t checksum = 0;
  double deviation = 0;
};

uint64_t Mixed(uint64_t x) {
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
  return x ^ (x >> 31);
}

void Take(const Function& f, Arguments x, Found& found) {
  int64_t y[kBlock];
  f.run(x, y);
  for (size_t i = 0; i < x.size(); ++i) {
    found.checksum += Mixed(static_cast<uint64_t>(y[i]) + static_cast<uint64_t>(x[i]) * 0x9e3779b97f4a7c15u);
    if (f.low <= x[i] && x[i] <= f.high)
      found.deviation = std::fmax(found.deviation,
                                  std::abs(static_cast<double>(y[i]) - f.exact(static_cast<double>(x[i]))));
  }
}

// Every step-th argument from `first` on.
void Run(const Function& f, int64_t first, int64_t step, Found& found) {
  std::vector<int32_t> x;
  for (int64_t at = first; at <= kMax;) {
    x.clear();
    for (; x.size() < kBlock && at <= kMax; at += step) x.push_back(static_cast<int32_t>(at));
    Take(f, x, found);
  }
}

std::vector<int32_t> NeighboursOfPowers() {
  std::vector<int32_t> x;
  for (int bit = 0; bit < 32; ++bit)
    for (int64_t by = -2; by <= 2; ++by)
      for (const int64_t power : {int64_t{1} << bit, -(int64_t{1} << bit)})
        if (power + by >= kMin && power + by <= kMax) x.push_back(static_cast<int32_t>(power + by));
  return x;
}

std::string LineOf(const Function& f, int64_t step) {
  Found found, other;
  std::thread thread(Run, std::cref(f), kMin + step, 2 * step, std::ref(other));
  Run(f, kMin, 2 * step, found);
  thread.join();
  if (step > 1) Take(f, NeighboursOfPowers(), found);
  char line[200];
  std::snprintf(line, sizeof line, "%s every %lld: %016llx, off by at most %.2g from %lld to %lld", f.name,
                static_cast<long long>(step),
                static_cast<unsigned long long>(found.checksum + other.checksum),
                std::fmax(found.deviation, other.deviation), static_cast<long long>(f.low),
                static_cast<long long>(f.high));
  return line;
}

int Usage() {
  std::fprintf(stderr, "usage: vask-domains print STEP\n       vask-domains check EXPECTED.txt STEP\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc == 4 && std::strcmp(argv[1], "check") == 0;
  if (!check && !(argc == 3 && std::strcmp(argv[1], "print") == 0)) return Usage();
  const int64_t step = std::atoll(argv[argc - 1]);
  if (step < 1 || step > kMax) return Usage();
  std::set<std::string> expected;
  if (check) {
    std::ifstream file(argv[2]);
    for (std::string line; std::getline(file, line);) expected.insert(line);
  }
  int lines = 0, different = 0;
  for (const Function& f : kFunctions) {
    for (const vask::Level level : vask::LevelsHere()) {
      if (!f.has_forms && level != vask::LevelsHere().back()) continue;
      vask::ForceLevel(level);
      const std::string line = LineOf(f, step);
      ++lines;
      if (expected.contains(line)) continue;
      std::printf("%s%s\n", check ? "not expected: " : "", line.c_str());
      std::fflush(stdout);
      expected.insert(line);  // once
      ++different;
    }
  }
  if (!check) return 0;
  std::printf("%d checksums compared, %d different\n", lines, different);
  return different > 0;
}
