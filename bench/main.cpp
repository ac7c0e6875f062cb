// vask-bench: times the library per 10 ms frame, with SpeexDSP in the same run, and fails if a frame
// allocates. Accepts the options of Google Benchmark, and --cpu=LEVEL as the first.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "allocations.h"
#include "benchmarks.h"
#include "signals.h"

namespace vask::bench {
namespace {

// Prints as usual and keeps each benchmark's mean CPU time per frame.
class Report : public benchmark::ConsoleReporter {
 public:
  Report() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      Time& time = times_[run.run_name.function_name];
      time.seconds += run.cpu_accumulated_time;
      time.frames += static_cast<double>(run.iterations);
    }
  }

  // The ratios between benchmarks that ran.
  void PrintRatios() const {
    for (const char* form : kForms) {
      const double plain = SecondsPerFrame(FormName(form, Level::kPlain));
      for (const Level level : LevelsHere().subspan(1)) {
        const double fast = SecondsPerFrame(FormName(form, level));
        if (plain <= 0 || fast <= 0) continue;
        std::printf("ratio %s plain : %s = %.1f\n", form, NameOf(level), plain / fast);
      }
    }
    for (int mode : kEngineModes) {
      for (const Material& material : Materials()) {
        const double ours = SecondsPerFrame(EngineName(mode, material.name));
        const double reference = SecondsPerFrame(ReferenceName(material.name));
        if (ours <= 0 || reference <= 0) continue;
        std::printf("ratio engine mode %d over %s : SpeexDSP = %.2f\n", mode, material.name.c_str(),
                    ours / reference);
      }
    }
    const double learned = SecondsPerFrame(kListOnly), engine = SecondsPerFrame(EngineName(2, "speech"));
    if (learned > 0 && engine > 0)
      std::printf("ratio learned detector : engine mode 2 over speech = %.2f\n", learned / engine);
  }

 private:
  struct Time {
    double seconds = 0, frames = 0;
  };

  double SecondsPerFrame(const std::string& name) const {
    const auto found = times_.find(name);
    return found == times_.end() || found->second.frames <= 0 ? 0
                                                              : found->second.seconds / found->second.frames;
  }

  std::map<std::string, Time> times_;
};

}  // namespace

}  // namespace vask::bench

int main(int argc, char** argv) try {
  using namespace vask::bench;
  constexpr std::string_view kCpu = "--cpu=";
  if (argc > 1 && std::string_view(argv[1]).starts_with(kCpu)) {
    if (!vask::ForceLevel(std::string_view(argv[1]).substr(kCpu.size()))) {
      throw std::runtime_error(std::string(argv[1]) + ": this machine does not have that level");
    }
    argv[1] = argv[0];
    --argc, ++argv;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  const bool counted = AllocationsAreCounted();
  RegisterStages();
  RegisterForms();
  RegisterFrontEnd();
  RegisterStreams();
  RegisterEngine();
  RegisterReference();

  Report report;
  benchmark::RunSpecifiedBenchmarks(&report);
  report.PrintRatios();
  if (!counted) std::printf("allocations: not counted on this platform\n");
  if (AnyForbiddenAllocation()) std::printf("allocations: a frame ALLOCATES where none should\n");
  return AnyForbiddenAllocation() ? 1 : 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "vask-bench: %s\n", error.what());
  return 1;
}
