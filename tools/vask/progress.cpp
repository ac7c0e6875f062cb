#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "errors.h"
#include "format.h"

namespace vask::command {
namespace {

constexpr int64_t kLongFile = 60LL * kRateHz;  // samples
constexpr int kBarWidth = 30;

}  // namespace

Progress::Progress(const std::string& file, int64_t samples) : file_(Printable(file)) {
  if (samples > kLongFile && isatty(STDERR_FILENO)) samples_ = samples;
}

void Progress::Update(int64_t samples_done) {
  if (samples_ == 0) return;
  const int percent = static_cast<int>(std::min<int64_t>(100 * samples_done / samples_, 100));
  if (percent == shown_percent_) return;
  shown_percent_ = percent;
  visible_ = true;
  const std::string bar(static_cast<size_t>(percent * kBarWidth / 100), '#');
  std::fprintf(stderr, "\r[%-*s] %3d %%  %s", kBarWidth, bar.c_str(), percent, file_.c_str());
  std::fflush(stderr);
}

void Progress::Hide() {
  if (visible_) std::fputs("\r\033[K", stderr);
  visible_ = false;
  shown_percent_ = -1;
}

}  // namespace vask::command
