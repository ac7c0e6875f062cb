#include "listing/intervals.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vask::command {

int64_t Milliseconds(double seconds) { return std::llround(seconds * 1000); }

std::string Seconds(int64_t milliseconds) { return Decimal(static_cast<double>(milliseconds) / 1000, 3); }

std::string Timestamp(int64_t milliseconds, char point) {
  char text[40];
  std::snprintf(text, sizeof text, "%02lld:%02d:%02d%c%03d", static_cast<long long>(milliseconds / 3600000),
                static_cast<int>(milliseconds / 60000 % 60), static_cast<int>(milliseconds / 1000 % 60),
                point, static_cast<int>(milliseconds % 1000));
  return text;
}

std::string IntervalListing::Open(const Recording& recording) {
  end_ = 0;
  return OpenIntervals(recording);
}

std::string IntervalListing::Add(const Recording&, const Segment& segment) {
  if (segment.rejected && !ShowsRejected()) return "";
  // A rejected segment delivers no audio, so it has no padding.
  const bool from_span = edges_.padded_start && !segment.rejected;
  const bool to_span = edges_.padded_end && !segment.rejected;
  const int64_t start = std::max(Milliseconds(from_span ? segment.span_start : segment.start), end_);
  const int64_t end = Milliseconds(to_span ? segment.span_end : segment.end);
  if (end <= start) return "";  // the previous interval covers it
  end_ = end;
  return AddInterval({start, end, segment.number, segment.reason});
}

}  // namespace vask::command
