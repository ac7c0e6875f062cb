// The setup of a stream: defaults, what is wrong with a caller's own, and the learned detector's rules in the
// units that it counts in.
#pragma once

#include <vask/stream.h>

#include <cstdint>

#include "stream/segment.h"
#include "stream/tracker.h"

namespace vask {

vask_stream_setup DefaultSetup();

// A caller's setup, perhaps of an older version, with the defaults of what it lacks. Its size is wrong where
// that is none of a version's.
vask_stream_setup Completed(const vask_stream_setup& given);

// A constant text, or null.
const char* ComplaintAbout(const vask_stream_setup& setup);

// These need a setup without complaints.
int32_t RateOf(int32_t rate);  // of the input or the audio: Hz
TrackerRules TrackerRulesOf(const vask_stream_rules& rules);
SegmentRules SegmentRulesOf(const vask_stream_setup& setup);

}  // namespace vask
