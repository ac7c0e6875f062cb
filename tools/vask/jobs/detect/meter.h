// --meter: level and state of the input, on the terminal.
#pragma once

#include <vask/stream.h>

#include <string>

namespace vask::command {

// A line such as "  -31.5 dB  [##########          ]  speech     voiced   0:12.3".
std::string MeterLine(const vask_stream_measures& measures);

}  // namespace vask::command
