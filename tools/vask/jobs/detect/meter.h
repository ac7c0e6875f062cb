// --meter: level and state of the input, on the terminal.
#pragma once

#include <vask/stream.h>

#include <cstddef>
#include <string>

namespace vask::command {

// A line such as "  -31.5 dB  [##########          ]  speech     voiced   0:12.3", no wider than `columns`.
std::string MeterLine(const vask_stream_measures& measures, size_t columns);

}  // namespace vask::command
