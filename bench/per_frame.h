// One benchmark iteration is one frame, so the printed time is the time for 10 ms of signal.
#pragma once

#include <benchmark/benchmark.h>

#include <vector>

#include "allocations.h"

namespace vask::bench {

// Runs `step` over all elements of `frames`, again and again, and reports the allocations per frame.
// Returns the total.
template <typename Element, typename Step>
uint64_t PerFrame(benchmark::State& state, const std::vector<Element>& frames, Step step) {
  uint64_t allocations = 0;
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(frames.size()))) {
    const uint64_t before = AllocationCount();
    for (const Element& frame : frames) step(frame);
    allocations += AllocationCount() - before;
  }
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
  return allocations;
}

// The same for code of this library: once set up it must not allocate, and the run fails if it does.
template <typename Element, typename Step>
void PerFrameWithoutAllocation(benchmark::State& state, const std::vector<Element>& frames, Step step) {
  if (PerFrame(state, frames, step) > 0) ReportForbiddenAllocation();
}

}  // namespace vask::bench
