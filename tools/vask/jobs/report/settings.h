// The settings of a report, in the words and units of a reader.
#pragma once

#include <vask/stream.h>

#include <nlohmann/json.hpp>

#include "listen/listen_options.h"

namespace vask::command {

// Pairs of a name and a text, in the order in which they are shown.
nlohmann::json SettingsInWords(const ListenOptions& options, const vask_stream_setup& setup);

// Where an utterance starts: a probability or, with the energy detector, dB above its noise floor.
double StartThreshold(const vask_stream_setup& setup);

}  // namespace vask::command
