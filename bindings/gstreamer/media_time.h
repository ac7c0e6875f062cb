// Where the samples of a stream are in the time of the pipeline: positions from 0, in samples, and times in
// ns.
#pragma once

#include <gst/gst.h>

#include <cstdint>
#include <optional>

namespace vask::gst {

class MediaTime {
 public:
  MediaTime() { gst_segment_init(&segment_, GST_FORMAT_TIME); }

  void SetRate(int32_t hertz) { rate_ = hertz; }
  void SetSegment(const GstSegment& segment) {
    segment_ = segment;
    is_at_start_ = true;
  }
  // The next sample is position 0 and nothing is known of its time.
  void Restart();

  // Samples between those that were taken and one of this time; nothing: it does not follow. Sources whose
  // clocks differ drift, and so a few milliseconds count as 0; what lasts up to 2 s may be filled with
  // silence. `is_marked`, as where something has been lost, decides where no time is known.
  std::optional<int64_t> Missing(GstClockTime time, bool is_marked) const;
  // Whether the segment gives the next sample another time than this one does.
  bool Breaks(const GstSegment& segment) const;
  // Samples have come, the first one at that time; GST_CLOCK_TIME_NONE: right after those before.
  void Take(GstClockTime time, int64_t samples);

  int64_t taken() const { return taken_; }
  // Time of a position: a buffer's, in the whole of the media, and of the pipeline's clock since it started.
  // GST_CLOCK_TIME_NONE for positions below 0 and outside the segment.
  GstClockTime At(int64_t position) const;
  GstClockTime StreamTime(int64_t position) const;
  GstClockTime RunningTime(int64_t position) const;
  // Samples of a length in ns, rounded to the nearest, and the other way.
  int64_t Samples(GstClockTime length) const;
  GstClockTime Length(int64_t samples) const;

 private:
  GstSegment segment_;
  int32_t rate_ = 16000;
  bool is_at_start_ = true;      // of the segment, which gives the first sample its time if it has none
  bool is_known_ = false;        // the time of position 0
  GstClockTimeDiff origin_ = 0;  // and that time: below 0 after a drift
  int64_t taken_ = 0;
};

}  // namespace vask::gst
