// --profile FILE: values of the detector's profile, and options, as text or JSON.
#pragma once

#include <vask/epd.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "listen/listen_options.h"

namespace vask::command {

struct ProfileFile {
  std::vector<std::pair<int32_t epd_profile::*, int32_t>> values;
  ListenOptions options;  // those that it names are set

  void Apply(epd_profile& profile) const;
};

// Reads a JSON object, or lines "name value" (or "name = value", "name: value"), with comments after #.
// Options have the names of the command line, with _ for -. Throws FileError.
ProfileFile ReadProfileFile(const std::string& path);

}  // namespace vask::command
