// What streams tell, as structures for messages and events.
#pragma once

#include <gst/gst.h>
#include <vask/stream.hpp>

#include <cstdint>
#include <optional>

#include "media_time.h"

namespace vask::gst {

// "vask": an event, its segment's number raised by `earlier`.
GstStructure* StructureOf(const vask_stream_event& event, int32_t earlier, const MediaTime& time);

// "vask-meter": the newest frame; with the learned detector also what it hears.
GstStructure* StructureOf(const vask_stream_measures& measures,
                          const std::optional<vask_stream_hearing>& hearing, const MediaTime& time);

}  // namespace vask::gst
