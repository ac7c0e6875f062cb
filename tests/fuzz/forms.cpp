// Each fast form of a kernel gives the values of the plain one, on any samples.
#include "fast/kernels.h"
#include "fuzz/sound.h"
#include "support/levels.h"

static void Run(vask::fuzz::Input& input) {
  using namespace vask;
  const auto& named =
      kernels::kKernels[input.ConsumeIntegralInRange<size_t>(0, std::size(kernels::kKernels) - 1)];
  kernels::factors_seed = input.ConsumeIntegral<uint8_t>();
  fuzz::Samples samples = fuzz::Sound(input, kernels::kInput);
  samples.resize(kernels::kInput);
  kernels::Outputs plain;
  test::AtEachLevel([&](Level level) {
    kernels::Outputs outputs;
    kernels::Drive(named.kernel, samples, outputs);
    if (level == Level::kPlain) plain = outputs;
    VASK_REQUIRE(outputs == plain);
  });
}

VASK_FUZZ(Run)
