#include "media_time.h"

#include <cstdlib>

namespace vask::gst {
namespace {

constexpr GstClockTimeDiff kLargestJitter = 40 * GST_MSECOND;  // what audio sinks let pass
constexpr GstClockTimeDiff kLongestGap = 2 * GST_SECOND;

}  // namespace

void MediaTime::Restart() {
  is_known_ = false;
  origin_ = 0;
  taken_ = 0;
}

GstClockTime MediaTime::Length(int64_t samples) const {
  return gst_util_uint64_scale_int_round(static_cast<uint64_t>(samples), GST_SECOND, rate_);
}

int64_t MediaTime::Samples(GstClockTime length) const {
  return static_cast<int64_t>(
      gst_util_uint64_scale_round(length, static_cast<uint64_t>(rate_), uint64_t{GST_SECOND}));
}

GstClockTime MediaTime::At(int64_t position) const {
  if (!is_known_ || position < 0) return GST_CLOCK_TIME_NONE;
  const GstClockTimeDiff time = origin_ + static_cast<GstClockTimeDiff>(Length(position));
  return time > 0 ? static_cast<GstClockTime>(time) : 0;
}

std::optional<int64_t> MediaTime::Missing(GstClockTime time, bool is_marked) const {
  if (taken_ == 0) return 0;
  if (!is_known_ || !GST_CLOCK_TIME_IS_VALID(time))
    return is_marked ? std::nullopt : std::optional<int64_t>(0);
  const GstClockTimeDiff ahead = GST_CLOCK_DIFF(At(taken_), time);
  if (std::abs(ahead) <= kLargestJitter) return 0;
  if (ahead < 0 || ahead > kLongestGap) return std::nullopt;
  return Samples(static_cast<GstClockTime>(ahead));
}

bool MediaTime::Breaks(const GstSegment& segment) const {
  if (segment.format != segment_.format || segment.rate != segment_.rate) return true;
  if (!is_known_) return false;
  const GstClockTime next = At(taken_);
  const auto running = [&](const GstSegment& of) {
    return gst_segment_to_running_time(&of, GST_FORMAT_TIME, next);
  };
  const auto stream = [&](const GstSegment& of) {
    return gst_segment_to_stream_time(&of, GST_FORMAT_TIME, next);
  };
  return segment.format != GST_FORMAT_TIME || running(segment) != running(segment_) ||
         stream(segment) != stream(segment_);
}

void MediaTime::Take(GstClockTime time, int64_t samples) {
  if (GST_CLOCK_TIME_IS_VALID(time)) {
    const GstClockTimeDiff off = is_known_ ? GST_CLOCK_DIFF(At(taken_), time) : 0;
    if (!is_known_) origin_ = static_cast<GstClockTimeDiff>(time);
    // A time of whole ns is not quite that of a sample: only a larger difference is a drift.
    if (std::abs(off) > static_cast<GstClockTimeDiff>(Length(1))) origin_ += off;
    is_known_ = true;
  } else if (!is_known_ && is_at_start_ && segment_.format == GST_FORMAT_TIME) {
    origin_ = static_cast<GstClockTimeDiff>(segment_.start);
    is_known_ = true;
  }
  is_at_start_ = false;
  taken_ += samples;
}

GstClockTime MediaTime::StreamTime(int64_t position) const {
  if (segment_.format != GST_FORMAT_TIME) return GST_CLOCK_TIME_NONE;
  return gst_segment_to_stream_time(&segment_, GST_FORMAT_TIME, At(position));
}

GstClockTime MediaTime::RunningTime(int64_t position) const {
  if (segment_.format != GST_FORMAT_TIME) return GST_CLOCK_TIME_NONE;
  return gst_segment_to_running_time(&segment_, GST_FORMAT_TIME, At(position));
}

}  // namespace vask::gst
