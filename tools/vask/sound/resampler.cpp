#include "sound/resampler.h"

#include <array>

#include "format.h"
#include "terminal/errors.h"

namespace vask::command {

Resampler::Resampler(const std::string& name, int32_t from, int32_t to) : name_(name) {
  const soxr_io_spec_t doubles = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
  soxr_error_t error = nullptr;
  resampler_.reset(soxr_create(from, to, 1, &error, &doubles, &quality, &one_thread));
  const int32_t rate = from == kRateHz ? to : from;
  if (error != nullptr || !resampler_)
    Fail("its rate of " + std::to_string(rate) + " Hz cannot be resampled");
}

size_t Resampler::Convert(std::span<const double> in, size_t& taken, std::span<double> out) {
  size_t given = 0;
  const soxr_error_t error = soxr_process(resampler_.get(), in.empty() ? nullptr : in.data(), in.size(),
                                          &taken, out.data(), out.size(), &given);
  if (error != nullptr) Fail("cannot be resampled");
  return given;
}

void Resampler::Append(std::span<const double> in, std::vector<double>& out) {
  const bool at_end = in.empty();
  std::array<double, 4096> room;
  for (;;) {
    size_t taken = 0;
    const size_t given = Convert(in, taken, room);
    out.insert(out.end(), room.begin(), room.begin() + static_cast<std::ptrdiff_t>(given));
    in = in.subspan(taken);
    if (at_end ? given == 0 : in.empty()) return;
  }
}

void Resampler::Fail(const std::string& wrong) const {
  throw FileError(name_, wrong, "convert it to 16000 Hz");
}

}  // namespace vask::command
