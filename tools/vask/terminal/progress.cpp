#include "terminal/progress.h"

#include "format.h"
#include "terminal/errors.h"

namespace vask::command {

bool IsLong(int64_t samples) { return samples > 60LL * kRateHz; }

Progress::Progress(const std::string& file, int64_t samples)
    : file_(Printable(file)), samples_(IsLong(samples) && TerminalLine::Possible() ? samples : 0) {}

void Progress::Update(int64_t samples_done) {
  if (samples_ == 0 || !line_.Due()) return;
  line_.Show(ProgressText(static_cast<double>(samples_done) / static_cast<double>(samples_), file_));
}

}  // namespace vask::command
