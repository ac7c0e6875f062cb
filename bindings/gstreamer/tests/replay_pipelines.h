// A case of the replay file through a pipeline of one of the elements.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "replay/case.h"

namespace vask::gst_test {

// Fields of vask_stream_setup that a case sets, as the file writes them.
using Fields = std::map<std::string, std::string>;

// What a pipeline answers, as lines of the file.
struct Answer {
  std::vector<std::string> lines;  // the events, or the audio
  std::string fault;               // what went wrong with the pipeline itself; empty: nothing
};

// The element with these fields in its properties, as in gst-launch; empty: it has none for one of them.
std::string ElementFor(const replay_case& c, const Fields& fields);

Answer Run(const std::string& element, const replay_case& c);

}  // namespace vask::gst_test
