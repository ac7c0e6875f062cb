// Another sampling rate, without delay: the first sample out belongs to the time of the first one in.
#pragma once

#include <soxr.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vask::command {

class Resampler {
 public:
  // Rates in Hz. Throws FileError about the recording of that name.
  Resampler(const std::string& name, int32_t from, int32_t to);

  // Takes some of `in` and fills some of `out`; an empty `in` ends the input. Returns how many were filled.
  size_t Convert(std::span<const double> in, size_t& taken, std::span<double> out);

  // All of `in`, or with an empty one all that is still held, to the end of `out`.
  void Append(std::span<const double> in, std::vector<double>& out);

 private:
  struct Delete {
    void operator()(soxr* resampler) const { soxr_delete(resampler); }
  };

  [[noreturn]] void Fail(const std::string& wrong) const;

  std::string name_;
  std::unique_ptr<soxr, Delete> resampler_;
};

}  // namespace vask::command
