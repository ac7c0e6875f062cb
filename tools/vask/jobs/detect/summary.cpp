#include "jobs/detect/summary.h"

#include <algorithm>

namespace vask::command {
namespace {

std::string Count(int64_t count, const std::string& one) {
  return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string Minutes(double seconds) { return Decimal(seconds / 60, 1) + " min"; }

}  // namespace

void Summary::Add(const Recording& recording, Source source) {
  const std::lock_guard lock(mutex_);
  ++files_;
  utterances_ += recording.utterances;
  seconds_ += recording.seconds;
  speech_ += recording.speech;
  if (source == Source::kHeard) heard_ += recording.seconds;
}

void Summary::AddFailed() {
  const std::lock_guard lock(mutex_);
  ++failed_;
}

std::string Summary::Line() const {
  const std::lock_guard lock(mutex_);
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_;
  std::string line = Count(files_, "recording") + ", ";
  if (failed_ > 0) line += std::to_string(failed_) + " failed, ";
  line += Minutes(seconds_) + ", " + Minutes(speech_) + " of speech";
  if (seconds_ > 0) line += " (" + Decimal(100 * speech_ / seconds_, 0) + " %)";
  line += ", " + Count(utterances_, "utterance");
  if (heard_ > 0) line += ", " + Decimal(heard_ / std::max(taken.count(), 1e-3), 0) + " times real time";
  return line;
}

}  // namespace vask::command
